#include "device/deviceanswers.h"

#include <utility>

std::string upToZero(const std::string& text) { return text.substr(0, text.find('\0')); }

std::string swappedText(const unsigned char* bytes, std::size_t size) {
    std::string text(bytes, bytes + size);
    for (std::size_t i = 0; i + 1 < size; i += 2)
        std::swap(text[i], text[i + 1]);
    return text;
}
