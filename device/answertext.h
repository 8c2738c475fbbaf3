#pragma once

#include <cstddef>
#include <string>

/// The text in the `size` bytes at `bytes`, up to the first zero byte.
std::string fixedText(const unsigned char* bytes, std::size_t size);

/// All `size` bytes at `bytes`, with the two bytes of every 16-bit word exchanged: ATA devices send texts this way.
/// `size` is even.
std::string swappedText(const unsigned char* bytes, std::size_t size);

/// `text` up to its first zero byte.
std::string upToZero(const std::string& text);
