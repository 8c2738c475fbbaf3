#pragma once

#include <string>
#include <vector>

namespace inventory {

/// Reads a query: class names with commas between them. A class can be called by its name or its short name, in any
/// case. Returns the names of the classes in the same order. Throws std::runtime_error for an unknown class and an
/// empty name.
std::vector<std::string> parseQuery(const std::string& query);

/// One query for each class that can have instances.
std::vector<std::vector<std::string>> defaultQueries();

/// The classes that have short names, a line for each: "  SHORT  NAME", the names one below the other.
std::string shortNameLines();

/// " (did you mean ...?)" with the word of `known` that takes the fewest changed, added or removed characters to become
/// `word`, in whatever case; "" when that is more than a third of it.
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

} // namespace inventory
