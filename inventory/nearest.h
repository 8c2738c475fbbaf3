#pragma once

#include <string>
#include <vector>

namespace inventory {

/// The word of `known` that takes the fewest changed, added or removed characters to become `word`;
/// "" when that is more than a third of it.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

} // namespace inventory
