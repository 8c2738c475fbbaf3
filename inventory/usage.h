#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace inventory {

/// The command line is wrong, and its text says how.
struct usageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The words with commas between them.
std::string joined(const std::vector<std::string>& words);

/// The text in lower-case ASCII letters.
std::string inLowerCase(std::string text);

/// " (did you mean ...?)" with the word of `known` that takes the fewest changed, added or removed characters to become
/// `word`, in whatever case; "" when that is more than a third of it.
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

} // namespace inventory
