#pragma once

#include <string>

/// Tells whether a text contains the pattern anywhere; an empty pattern is in every text.
class Tsubstring {
public:
    explicit Tsubstring(std::string pattern);
    bool operator()(std::string text) const;

private:
    std::string pattern_;
};
