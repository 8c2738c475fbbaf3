#pragma once

#include <string>

namespace simulator {

/// `text` in UTF-8 with every byte as the code point of the same number: how device text stands in JSON.
std::string bytesAsCodePoints(const std::string& text);

} // namespace simulator
