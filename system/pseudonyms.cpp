#include "system/pseudonyms.h"

#include <sys/random.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace sys {

namespace {

constexpr std::size_t randomKeySize = 32, largestKey = 65536;

std::string randomKey() {
    std::string key(randomKeySize, '\0');
    if (::getrandom(key.data(), key.size(), 0) != static_cast<ssize_t>(key.size()))
        throw std::runtime_error(std::string("no random key: ") + std::strerror(errno));
    return key;
}

/// One of `characters`, which `random` chooses.
char chosen(const char* characters, char random) {
    return characters[static_cast<unsigned char>(random) % std::strlen(characters)];
}

/// A character of the same kind as `original`, which `random` chooses.
char likeness(char original, char random) {
    if (std::strchr(" -.", original) != nullptr) // the terminating zero byte among them
        return original;
    if (original >= '0' && original <= '9')
        return chosen("0123456789", random);
    return chosen(original >= 'A' && original <= 'Z' ? "ABCDEFGHIJKLMNOPQRSTUVWXYZ" : "abcdefghijklmnopqrstuvwxyz",
                  random);
}

} // namespace

std::string pseudonymKey(const std::string& path) {
    if (path.empty())
        return randomKey();
    std::string key(largestKey + 1, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(key.data(), static_cast<std::streamsize>(key.size()));
    if (!file.is_open() || file.bad())
        throw std::runtime_error(path + ": cannot be read: " + std::strerror(errno));
    key.resize(static_cast<std::size_t>(file.gcount()));
    if (key.empty())
        throw std::runtime_error(path + ": expected a key, found an empty file");
    if (key.size() > largestKey)
        throw std::runtime_error(path + ": larger than the " + std::to_string(largestKey) +
                                 " bytes that a key may have");
    return key;
}

pseudonyms::pseudonyms(const std::string& key) {
    gcry_check_version(nullptr); // makes the library ready
    gcry_md_hd_t opened = nullptr;
    gcry_error_t error = gcry_md_open(&opened, GCRY_MD_SHA256, GCRY_MD_FLAG_HMAC);
    hash_.reset(opened);
    if (error == 0)
        error = gcry_md_setkey(opened, key.data(), key.size());
    if (error != 0)
        throw std::runtime_error(std::string("no pseudonyms can be made: ") + gcry_strerror(error));
}

std::string pseudonyms::of(const std::string& text) const {
    std::string made(text.size(), '\0');
    const std::string read = text.substr(0, text.find('\0'));
    const std::size_t begin = read.find_first_not_of(' ');
    const std::string inner =
        begin == std::string::npos ? "" : read.substr(begin, read.find_last_not_of(' ') + 1 - begin);
    const std::string random = randomBytes(inner);
    for (std::size_t i = 0; i < read.size(); ++i)
        made[i] = i >= begin && i < begin + inner.size() ? likeness(read[i], random[i - begin]) : ' ';
    return made;
}

std::string pseudonyms::ofHexadecimal(const std::string& digits) const {
    std::string made = randomBytes(digits);
    for (char& digit : made)
        digit = chosen("0123456789abcdef", digit);
    return made;
}

std::string pseudonyms::hash(const std::string& text) const {
    gcry_md_reset(hash_.get()); // keeps the key
    gcry_md_write(hash_.get(), text.data(), text.size());
    return {reinterpret_cast<const char*>(gcry_md_read(hash_.get(), GCRY_MD_SHA256)),
            gcry_md_get_algo_dlen(GCRY_MD_SHA256)};
}

/// As many bytes as `text` has, which follow from it and the key. Beyond the first hash each is that of the one before.
std::string pseudonyms::randomBytes(const std::string& text) const {
    std::string bytes;
    for (std::string block = hash(text); bytes.size() < text.size(); block = hash(block))
        bytes += block;
    return bytes.substr(0, text.size());
}

} // namespace sys
