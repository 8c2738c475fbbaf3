#include "plugin/texthelpers.h"

#include "device/hostlog.h"
#include "plugin/scsidev_linux.h"

#include <boost/lexical_cast.hpp>
#include <boost/tokenizer.hpp>

#include <algorithm>
#include <utility>

Tsubstring::Tsubstring(std::string pattern) : pattern_(std::move(pattern)) {}
bool Tsubstring::operator()(std::string text) const { return text.find(pattern_) != std::string::npos; }

std::vector<std::string> TScsidevPluginCallbacks::SplitBySeperator(std::string text, std::string separators) {
    const boost::char_separator<char> dropped(separators.c_str());
    const boost::tokenizer<boost::char_separator<char>> tokens(text, dropped);
    return {tokens.begin(), tokens.end()};
}

std::string TScsidevPluginCallbacks::ColonFilter(std::string text) {
    return text.substr(text.find(':') + 1); // where there is no colon, npos + 1 is 0
}

int TScsidevPluginCallbacks::getOptProperty(std::string line) {
    std::string number = ColonFilter(line);
    number.erase(std::remove(number.begin(), number.end(), '\t'), number.end());
    try {
        return boost::lexical_cast<int>(number);
    } catch (const boost::bad_lexical_cast&) {
        hostLog(malformedInput, "Parse error in cdromInfo...");
        hostLog(malformedInput, line);
        return 0;
    }
}
