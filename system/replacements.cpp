#include "system/replacements.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace sys {

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isBeyondAscii(char c) { return (static_cast<unsigned char>(c) & 0x80U) != 0; }
bool isReplaceable(char c) { return isDigit(c) || isUpper(c) || isLower(c) || isBeyondAscii(c); }

std::string hexDigits(const std::string& bytes) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0x0F];
    }
    return text;
}

/// `text`, which is in upper case, in the cases of `model`.
std::string inCaseOf(const std::string& model, std::string letters) {
    for (std::size_t i = 0; i < letters.size(); ++i) {
        if (isLower(model[i]) && isUpper(letters[i]))
            letters[i] = static_cast<char>(letters[i] - 'A' + 'a');
    }
    return letters;
}

/// Bytes in another order, and where each of them comes from.
struct view {
    std::string bytes, upperCase;
    std::vector<std::size_t> positions;
};

view viewOf(const std::string& bytes, std::vector<std::size_t> positions) {
    view seen{bytes, {}, std::move(positions)};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        seen.bytes[i] = bytes[seen.positions[i]];
    seen.upperCase = upperCase(seen.bytes);
    return seen;
}

/// The bytes as they are, and with the two bytes of each word exchanged, words beginning at even and at odd places.
std::vector<view> viewsOf(const std::string& bytes) {
    std::vector<std::size_t> plain(bytes.size());
    std::iota(plain.begin(), plain.end(), 0U);
    std::vector<view> views{viewOf(bytes, plain)};
    for (const std::size_t first : {0U, 1U}) {
        std::vector<std::size_t> swapped = plain;
        for (std::size_t i = first; i + 1 < swapped.size(); i += 2)
            std::swap(swapped[i], swapped[i + 1]);
        views.push_back(viewOf(bytes, swapped));
    }
    return views;
}

} // namespace

std::string upperCase(std::string text) {
    for (char& c : text)
        c = isLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
    return text;
}

std::string swappedPairs(std::string bytes) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

void passage::keep(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < std::min(end, closed_.size()); ++i) {
        closed_[i] = true;
        kept_.insert(i);
    }
}

void passage::clear(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < std::min(end, closed_.size()); ++i) {
        closed_[i] = true;
        result_[i] = '\0';
    }
}

void passage::overwrite(const std::vector<std::size_t>& positions, const std::string& text) {
    const auto holds = [&](bool (*kind)(char)) {
        return std::any_of(positions.begin(), positions.end(), [&](std::size_t at) { return kind(original_[at]); });
    };
    const bool anyLower = holds(isLower), anyUpper = holds(isUpper);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const std::size_t at = positions[i];
        wasRefused_ = wasRefused_ || kept_.count(at) != 0;
        if (closed_[at])
            continue;
        closed_[at] = true;
        // In hexadecimal a letter can take the place of a digit, whose case the others tell.
        const bool lower = isLower(original_[at]) || (!isUpper(original_[at]) && anyLower && !anyUpper);
        result_[at] = lower && isUpper(text[i]) ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
    }
}

replacements::replacements(std::mt19937& random, const std::string& machineText, std::vector<std::string> names)
    : random_(random), machineText_(upperCase(machineText)), names_(std::move(names)) {
    for (auto& name : names_)
        name = upperCase(name);
}

bool replacements::isTaken(const std::string& candidate) const {
    return machineText_.find(candidate) != std::string::npos ||
           std::any_of(names_.begin(), names_.end(),
                       [&](const std::string& name) { return candidate.find(name) != std::string::npos; });
}

/// Short texts leave little choice: then a replacement may stand in the machine already, as part of something else.
std::string replacements::choose(const std::string& original, const std::function<std::string()>& candidate) {
    constexpr int carefulTries = 100, tries = 1000;
    std::string chosen;
    for (int i = 0; i < tries; ++i) {
        chosen = candidate();
        if (chosen != original && used_.count(chosen) == 0 && (i >= carefulTries || !isTaken(chosen)))
            break;
    }
    used_.insert(chosen);
    return chosen;
}

char replacements::like(char original) {
    if (isDigit(original))
        return static_cast<char>('0' + below(10));
    if (isUpper(original))
        return static_cast<char>('A' + below(26));
    return isBeyondAscii(original) ? static_cast<char>(0xA0 + below(0x60)) : original;
}

void replacements::remember(table& target, const std::string& original, const std::string& replacement) {
    target.emplace(original, replacement);
    if (original.size() >= shortestSought)
        texts_.emplace(hexDigits(original), hexDigits(replacement));
}

bool replacements::add(const std::string& text) {
    const std::string original = upperCase(text);
    if (texts_.count(original) != 0 || std::none_of(text.begin(), text.end(), isReplaceable))
        return false;
    passage known(original);
    applyTo(known, false);
    const std::string chosen = choose(original, [&] {
        std::string candidate = known.result();
        for (std::size_t i = 0; i < candidate.size(); ++i)
            candidate[i] = known.isOpen(i) ? like(candidate[i]) : candidate[i];
        return candidate;
    });
    remember(texts_, original, chosen);
    if (text != original && text.size() >= shortestSought)
        texts_.emplace(hexDigits(text), hexDigits(inCaseOf(text, chosen)));
    return true;
}

bool replacements::addNumber(const std::string& number, std::size_t keptDigits) {
    const std::string digits = hexDigits(number);
    if (numbers_.count(number) != 0 || digits.find_first_not_of('0', keptDigits) == std::string::npos)
        return false;
    remember(numbers_, number, choose(number, [&] {
                 std::string candidate = number;
                 for (std::size_t i = keptDigits; i < digits.size(); ++i) {
                     const unsigned shift = i % 2 == 0 ? 4 : 0;
                     const unsigned others = static_cast<unsigned char>(candidate[i / 2]) & (0xF0U >> shift);
                     candidate[i / 2] = static_cast<char>(others | below(16) << shift);
                 }
                 return candidate;
             }));
    return true;
}

void replacements::addPart(const std::string& whole, std::size_t begin, std::size_t size) {
    const std::string part = whole.substr(begin, size);
    if (std::any_of(part.begin(), part.end(), isReplaceable))
        remember(texts_, upperCase(part), of(whole).substr(begin, size));
}

std::string replacements::of(const std::string& text) const {
    const auto found = texts_.find(upperCase(text));
    return found == texts_.end() ? text : found->second;
}

void replacements::applyTo(passage& where, bool isText) const {
    const std::vector<view> views = viewsOf(where.original());
    const auto replaceAll = [&](const table& sought, std::string view::*bytes) {
        for (const auto& [original, replacement] : sought) {
            if (original.size() < shortestSought)
                return; // and so are all that follow
            for (const auto& seen : views) {
                for (auto at = (seen.*bytes).find(original); at != std::string::npos;
                     at = (seen.*bytes).find(original, at + 1)) {
                    const auto first = seen.positions.begin() + static_cast<std::ptrdiff_t>(at);
                    where.overwrite({first, first + static_cast<std::ptrdiff_t>(original.size())}, replacement);
                }
            }
        }
    };
    if (!isText)
        replaceAll(numbers_, &view::bytes);
    replaceAll(texts_, &view::upperCase);
}

} // namespace sys
