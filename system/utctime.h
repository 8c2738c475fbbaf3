#pragma once

#include <ctime>
#include <string>

namespace sys {

/// The form of times in machine files: "2026-11-23T17:01:02Z".
constexpr const char* utcForm = "%Y-%m-%dT%H:%M:%SZ";

inline std::string utcText(std::time_t moment) {
    std::tm utc{};
    char text[64] = {};
    std::strftime(text, sizeof text, utcForm, ::gmtime_r(&moment, &utc));
    return text;
}

/// Is it a moment in that form, and not the 31st of a month of 30 days?
inline bool isUtcText(const std::string& text) {
    std::tm utc{};
    return ::strptime(text.c_str(), utcForm, &utc) != nullptr && utcText(::timegm(&utc)) == text;
}

} // namespace sys
