#include "system/boundary.h"

#include <boost/algorithm/string/predicate.hpp>

#include <charconv>
#include <system_error>

namespace sys {

std::optional<unsigned> sgNodeNumber(std::string_view path) {
    constexpr std::string_view family = "/dev/sg";
    if (path.substr(0, family.size()) != family)
        return std::nullopt;
    unsigned number = 0;
    const char* const end = path.data() + path.size();
    const auto [rest, error] = std::from_chars(path.data() + family.size(), end, number);
    return error == std::errc() && rest == end ? std::make_optional(number) : std::nullopt;
}

bool isWalkedNode(std::string_view path) {
    const bool isIde = path.size() == 8 && path.substr(0, 7) == "/dev/hd" && path[7] >= 'a' && path[7] <= 'z';
    return isIde || sgNodeNumber(path);
}

shellCommand commandOf(const std::string& command) {
    const auto isOneFile = [](const std::string& words) {
        return words.find_first_of(" \t\n\"'\\$`*?[]{}~;&|<>()#") == std::string::npos;
    };
    const std::size_t redirection = command.find("> ");
    if (boost::starts_with(command, "modprobe "))
        return {shellCommand::modprobe, "loading the sg driver", ""};
    if (boost::starts_with(command, "hwinfo ") && redirection != std::string::npos &&
        isOneFile(command.substr(redirection + 2)))
        return {shellCommand::usbQuery, "looking for virtual USB media", command.substr(redirection + 2)};
    if (boost::starts_with(command, "rm -f ") && isOneFile(command.substr(6)))
        return {shellCommand::removal, "", command.substr(6)};
    return {};
}

} // namespace sys
