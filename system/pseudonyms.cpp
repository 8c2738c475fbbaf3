#include "system/pseudonyms.h"

#include "system/machinefile.h"

#include <boost/algorithm/string.hpp>
#include <gcrypt.h>
#include <sys/random.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace sys {

namespace {

constexpr std::size_t randomKeySize = 32, largestKey = 65536;

/// One of `characters`, which `random` chooses.
char chosen(const char* characters, char random) {
    return characters[static_cast<unsigned char>(random) % std::strlen(characters)];
}

/// A character of the same kind as `original`, which `random` chooses.
char likeness(char original, char random) {
    if (original == ' ' || original == '-' || original == '.')
        return original;
    if (original >= '0' && original <= '9')
        return chosen("0123456789", random);
    return chosen(original >= 'A' && original <= 'Z' ? "ABCDEFGHIJKLMNOPQRSTUVWXYZ" : "abcdefghijklmnopqrstuvwxyz",
                  random);
}

/// The keyed hash (HMAC with SHA-256) of a text. The library takes the key as the first part of what it hashes.
std::string hash(std::string key, std::string text) {
    gcry_check_version(nullptr); // makes the library ready
    const gcry_buffer_t parts[] = {{key.size(), 0, key.size(), key.data()}, {text.size(), 0, text.size(), text.data()}};
    std::string made(gcry_md_get_algo_dlen(GCRY_MD_SHA256), '\0');
    if (const auto error = gcry_md_hash_buffers(GCRY_MD_SHA256, GCRY_MD_FLAG_HMAC, made.data(), parts, 2))
        throw std::runtime_error(std::string("no pseudonyms can be made: ") + gcry_strerror(error));
    return made;
}

} // namespace

std::string pseudonymKey(const std::string& path) {
    if (path.empty()) {
        std::string random(randomKeySize, '\0');
        if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size()))
            throw std::runtime_error(std::string("no random key: ") + std::strerror(errno));
        return random;
    }
    const std::string key = contentUpTo(path, largestKey);
    if (key.empty())
        throw std::runtime_error(path + ": expected a key, found an empty file");
    return hash({}, key); // a large key as it is would be hashed again for each text
}

std::string pseudonyms::of(const std::string& text) const {
    std::string made = text.substr(0, text.find('\0'));
    const std::string random = randomBytes(boost::trim_copy_if(made, [](char c) { return c == ' '; }));
    const std::size_t begin = made.find_first_not_of(' ');
    for (std::size_t i = 0; i < random.size(); ++i)
        made[begin + i] = likeness(made[begin + i], random[i]);
    made.resize(text.size());
    return made;
}

std::string pseudonyms::ofHexadecimal(const std::string& digits) const {
    std::string made = randomBytes(digits);
    for (char& digit : made)
        digit = chosen("0123456789abcdef", digit);
    return made;
}

/// As many bytes as `text` has, which follow from it and the key. Beyond the first hash each is that of the one before.
std::string pseudonyms::randomBytes(const std::string& text) const {
    std::string made;
    for (std::string block = hash(key_, text); made.size() < text.size(); block = hash(key_, block))
        made += block;
    return made.substr(0, text.size());
}

} // namespace sys
