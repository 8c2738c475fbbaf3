#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace sys {

/// Bytes in which texts are replaced. What is looked for is looked for in the bytes as they were.
class passage {
public:
    explicit passage(const std::string& text) : original_(text), result_(text), closed_(text.size(), false) {}

    const std::string& original() const { return original_; }
    const std::string& result() const { return result_; }

    /// Leaves the bytes from `begin` to before `end` as they are, whatever is replaced around them.
    void keep(std::size_t begin, std::size_t end);

    /// Makes the bytes from `begin` to before `end` zero.
    void clear(std::size_t begin, std::size_t end);

    /// Puts the letters and digits of `text` where the bytes at `positions` are, unless these are kept or have been
    /// replaced before. Letters take the case of what they replace.
    void overwrite(const std::vector<std::size_t>& positions, const std::string& text);

    /// Is the byte neither kept nor replaced yet?
    bool isOpen(std::size_t at) const { return !closed_[at]; }

    /// Has a text not been replaced, or only in part, because its bytes are kept?
    bool wasRefused() const { return wasRefused_; }

private:
    std::string original_, result_;
    std::vector<bool> closed_;
    std::set<std::size_t> kept_;
    bool wasRefused_ = false;
};

/// Texts that identify, each with the one that takes its place: of the same length, with a digit for a digit, a letter
/// for a letter and a byte above 0x7F for another one; all else stays. Upper and lower case are the same text.
class replacements {
public:
    /// Shorter texts are not looked for: they stand everywhere.
    static constexpr std::size_t shortestSought = 5;

    /// No replacement is a part of `machineText`, nor contains one of `names`, as long as there is a choice.
    replacements(std::mt19937& random, const std::string& machineText, std::vector<std::string> names);

    /// Finds a replacement for `text`, unless there is one; parts of it that were added before are replaced as they are
    /// elsewhere. False: there was one, or nothing in it can be replaced.
    bool add(const std::string& text);

    /// The same for a number of the bytes `number`, of which the first `keptDigits` hexadecimal digits stay.
    bool addNumber(const std::string& number, std::size_t keptDigits);

    /// The part of `whole`, which has been added, from `begin` on is a text of its own: replaced likewise elsewhere.
    void addPart(const std::string& whole, std::size_t begin, std::size_t size);

    /// What takes the place of `text`; itself where nothing does.
    std::string of(const std::string& text) const;

    /// Replaces in `where` all that was added: as text, in hexadecimal digits, and both with the two bytes of each word
    /// exchanged; in other than text, the bytes of numbers too. Longer texts come first.
    void applyTo(passage& where, bool isText) const;

private:
    struct longerFirst {
        bool operator()(const std::string& left, const std::string& right) const {
            return left.size() != right.size() ? left.size() > right.size() : left < right;
        }
    };
    using table = std::map<std::string, std::string, longerFirst>;

    std::string choose(const std::string& original, const std::function<std::string()>& candidate);
    bool isTaken(const std::string& candidate) const;
    void remember(table& target, const std::string& original, const std::string& replacement);
    unsigned below(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_); }
    char like(char original);

    std::mt19937& random_;
    std::string machineText_; // in upper case
    std::vector<std::string> names_;
    std::set<std::string> used_;
    table texts_;   // in upper case
    table numbers_; // bytes
};

/// `text` with its letters in upper case, those of ASCII only.
std::string upperCase(std::string text);

/// `bytes` with the two of each word exchanged.
std::string swappedPairs(std::string bytes);

} // namespace sys
