#pragma once

#include <boost/endian/conversion.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace fuzz {

/// Ends the process with an exception, so that the fuzzer keeps the input.
inline void require(bool holds, const char* what) {
    if (!holds)
        throw std::logic_error(what);
}

/// Reads values from an input one after the other, or writes an input from which they can be read. Past the end of an
/// input all numbers are 0 and all texts and lists empty.
class archive {
public:
    archive() = default; ///< writes
    archive(const std::uint8_t* input, std::size_t size) : bytes_(input, input + size), reads_(true) {}

    template <typename... Numbers>
    void numbers(Numbers&... values) {
        (number(values), ...);
    }

    /// A text, or other bytes, after two bytes with its length.
    template <typename Text>
    void text(Text& value) {
        auto length = static_cast<std::uint16_t>(value.size());
        numbers(length);
        value.resize(reads_ ? std::min<std::size_t>(length, bytes_.size() - at_) : length);
        transfer(reinterpret_cast<char*>(value.data()), value.size());
    }

    /// A list, after one byte with its length.
    template <typename Element, typename Transfer>
    void list(std::vector<Element>& elements, Transfer transferElement) {
        auto length = static_cast<std::uint8_t>(elements.size());
        numbers(length);
        elements.resize(length);
        std::for_each(elements.begin(), elements.end(), transferElement);
    }

    const std::string& bytes() const { return bytes_; }

private:
    /// Low byte first, so that an input means the same run on machines of either byte order.
    template <typename Number>
    void number(Number& value) {
        Number bytes = boost::endian::native_to_little(value);
        transfer(reinterpret_cast<char*>(&bytes), sizeof bytes);
        value = boost::endian::little_to_native(bytes);
    }

    void transfer(char* value, std::size_t size) {
        if (!reads_)
            bytes_.append(value, size);
        else
            std::fill(value + bytes_.copy(value, size, at_), value + size, '\0');
        at_ = std::min(at_ + size, bytes_.size());
    }

    std::string bytes_;
    std::size_t at_ = 0;
    bool reads_ = false;
};

} // namespace fuzz
