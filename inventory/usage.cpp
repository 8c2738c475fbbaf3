#include "inventory/usage.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace inventory {

namespace {

/// Levenshtein distance.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char wanted : a) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (wanted == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const auto& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

std::string inLowerCase(std::string text) {
    for (char& c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& known) {
    std::string nearest;
    std::size_t least = word.size() / 3 + 1;
    for (const auto& candidate : known) {
        const std::size_t changes = distance(inLowerCase(word), inLowerCase(candidate));
        if (changes < least) {
            least = changes;
            nearest = candidate;
        }
    }
    return nearest.empty() ? "" : " (did you mean " + nearest + "?)";
}

} // namespace inventory
