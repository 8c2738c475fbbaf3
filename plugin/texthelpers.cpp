#include "plugin/texthelpers.h"

#include "device/hostlog.h"
#include "plugin/scsidev_linux.h"

#include <boost/lexical_cast.hpp>
#include <boost/tokenizer.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

/// Position of the first colon; -1 when there is none, so that behindColon then gives the whole text.
int colonPosition(const std::string& text) { return static_cast<int>(text.find(':')); }

/// Never true: a colon that is found stands before the text's end. The comparison is kept as it always was, so that a
/// text without a colon counts as a whole and is not refused.
bool endsBeforeColon(const std::string& text) { return colonPosition(text) == static_cast<int>(text.length()); }

std::string behindColon(const std::string& text) {
    return text.substr(static_cast<std::size_t>(colonPosition(text)) + 1);
}

int reportParseError(const std::string& line) {
    hostLog(malformedInput, "Parse error in cdromInfo...");
    hostLog(malformedInput, line);
    return 0;
}

} // namespace

Tsubstring::Tsubstring(std::string pattern) : pattern_(std::move(pattern)) {}
bool Tsubstring::operator()(std::string text) const { return text.find(pattern_) != std::string::npos; }

std::vector<std::string> TScsidevPluginCallbacks::SplitBySeperator(std::string text, std::string separators) {
    const boost::char_separator<char> dropped(separators.c_str());
    const boost::tokenizer<boost::char_separator<char>> tokens(text, dropped);
    return {tokens.begin(), tokens.end()};
}

std::string TScsidevPluginCallbacks::ColonFilter(std::string text) {
    return endsBeforeColon(text) ? "" : behindColon(text);
}

int TScsidevPluginCallbacks::getOptProperty(std::string line) {
    if (endsBeforeColon(line))
        return reportParseError(line);
    std::string number = behindColon(line);
    number.erase(std::remove(number.begin(), number.end(), '\t'), number.end());
    try {
        return boost::lexical_cast<int>(number);
    } catch (const boost::bad_lexical_cast&) {
        return reportParseError(line);
    }
}
