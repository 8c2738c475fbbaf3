#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace fuzz {

/// Ends the process, so that the fuzzer keeps the input.
inline void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// Reads one value after the other from an input; behind its end all numbers are 0 and all texts empty.
class inputReader {
public:
    inputReader(const std::uint8_t* begin, std::size_t size) : left_(begin), size_(size) {}

    template <typename Number>
    void number(Number& value) {
        const std::size_t count = std::min(size_, sizeof value);
        value = 0;
        std::memcpy(&value, left_, count);
        skip(count);
    }

    /// A text, or other bytes, behind the two bytes of its length.
    template <typename Text>
    void text(Text& value) {
        std::uint16_t length = 0;
        number(length);
        const std::size_t count = std::min<std::size_t>(size_, length);
        value.assign(left_, left_ + count);
        skip(count);
    }

private:
    void skip(std::size_t count) {
        left_ += count;
        size_ -= count;
    }

    const std::uint8_t* left_;
    std::size_t size_;
};

/// Writes what the reader reads.
class inputWriter {
public:
    template <typename Number>
    void number(const Number& value) {
        const auto* bytes = reinterpret_cast<const char*>(&value);
        written_.append(bytes, sizeof value);
    }

    template <typename Text>
    void text(const Text& value) {
        const auto length = static_cast<std::uint16_t>(value.size());
        number(length);
        written_.append(value.begin(), value.begin() + length);
    }

    const std::string& written() const { return written_; }

private:
    std::string written_;
};

/// Reads or writes a list behind the byte of its length.
template <typename Archive, typename Element, typename Transfer>
void transferList(Archive& archive, std::vector<Element>& list, Transfer transferElement) {
    auto count = static_cast<std::uint8_t>(list.size());
    archive.number(count);
    list.resize(count);
    for (auto& element : list)
        transferElement(element);
}

} // namespace fuzz
