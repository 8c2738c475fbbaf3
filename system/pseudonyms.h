#pragma once

#include <gcrypt.h>

#include <memory>
#include <string>

namespace sys {

/// The key for the pseudonyms of a recording: the content of the file `path`, or random bytes where `path` is empty.
/// Throws std::runtime_error when the file cannot be read, is empty or is larger than a key can be.
std::string pseudonymKey(const std::string& path);

/// Makes texts that stand for others and do not tell which: keyed hashes (HMAC with SHA-256) of them.
///
/// With one key, equal texts have equal pseudonyms. Different texts have different ones, except for short texts, of
/// which there are too few.
class pseudonyms {
public:
    /// Throws std::runtime_error when the library refuses to make hashes.
    explicit pseudonyms(const std::string& key);

    /// The pseudonym of a text as devices send it, of the same length. The text ends at its first zero byte, and zero
    /// bytes follow. Blanks, hyphens and full stops stay, a digit or a capital becomes another one, any other byte a
    /// small letter. Blanks around a text make it no other text.
    std::string of(const std::string& text) const;

    /// The pseudonym of a number in hexadecimal: as many of these digits.
    std::string ofHexadecimal(const std::string& digits) const;

private:
    std::string hash(const std::string& text) const;
    std::string randomBytes(const std::string& text) const;

    std::unique_ptr<gcry_md_handle, void (*)(gcry_md_hd_t)> hash_{nullptr, gcry_md_close};
};

} // namespace sys
