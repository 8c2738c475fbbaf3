#pragma once

#include <string>
#include <utility>

namespace sys {

/// The key for the pseudonyms of a recording: the content of the file `path`, or random bytes where `path` is empty.
/// Throws std::runtime_error when the file cannot be read, is empty or is larger than a key can be.
std::string pseudonymKey(const std::string& path);

/// Makes texts that stand for others and do not tell which: keyed hashes (HMAC with SHA-256) of them.
///
/// With one key, equal texts have equal pseudonyms. Different texts have different ones, except for short texts, of
/// which there are too few. Throws std::runtime_error when the library refuses to make hashes.
class pseudonyms {
public:
    explicit pseudonyms(std::string key) : key_(std::move(key)) {}

    /// The pseudonym of a text as devices send it, of the same length. The text ends at its first zero byte, and zero
    /// bytes follow. Blanks, hyphens and full stops stay, a digit or a capital becomes another one, any other byte a
    /// small letter. Blanks around a text make it no other text.
    std::string of(const std::string& text) const;

    /// The pseudonym of a number in hexadecimal: as many of these digits.
    std::string ofHexadecimal(const std::string& digits) const;

private:
    std::string randomBytes(const std::string& text) const;

    std::string key_;
};

} // namespace sys
