#include "system/boundary.h"

namespace sys {

shellCommand commandOf(const std::string& command) {
    const auto startsWith = [&command](const char* name) {
        return command.rfind(name, 0) == 0;
    };
    const auto isOneFile = [](const std::string& words) {
        return words.find_first_of(" \t\n\"'\\$`*?[]{}~;&|<>()#") == std::string::npos;
    };
    const std::size_t redirection = command.find("> ");
    if (startsWith("modprobe "))
        return {shellCommand::modprobe, "loading the sg driver", ""};
    if (startsWith("hwinfo ") && redirection != std::string::npos && isOneFile(command.substr(redirection + 2)))
        return {shellCommand::usbQuery, "looking for virtual USB media", command.substr(redirection + 2)};
    if (startsWith("rm -f ") && isOneFile(command.substr(6)))
        return {shellCommand::removal, "", command.substr(6)};
    return {};
}

} // namespace sys
