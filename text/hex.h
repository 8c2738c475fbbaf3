#pragma once

#include <boost/algorithm/hex.hpp>

#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace text {

/// The bytes of a container as pairs of lower-case hex digits.
template <typename Bytes>
std::string hexDigits(const Bytes& bytes) {
    std::string digits;
    boost::algorithm::hex_lower(bytes, std::back_inserter(digits));
    return digits;
}

/// The bytes that pairs of hex digits in either case stand for; none where there is anything else.
inline std::optional<std::vector<unsigned char>> bytesOfHex(const std::string& digits) {
    std::vector<unsigned char> bytes;
    try {
        boost::algorithm::unhex(digits, std::back_inserter(bytes));
    } catch (const boost::algorithm::hex_decode_error&) {
        return std::nullopt;
    }
    return bytes;
}

} // namespace text
