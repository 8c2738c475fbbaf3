#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace sys {

/// A directory of sysfs or udev, kept open: the kernel walks the long way to it once and not for each file. Files are
/// named by their way from it.
class sysfsDirectory {
public:
    explicit sysfsDirectory(const std::string& path);
    ~sysfsDirectory();
    sysfsDirectory(const sysfsDirectory&) = delete;
    sysfsDirectory& operator=(const sysfsDirectory&) = delete;

    bool isThere() const { return fd_ != -1; }

    /// The start of a file, longer than such files are; empty where it cannot be read.
    std::string contentOf(const std::string& file) const;

    /// The same without the blanks, line ends and zero bytes around it.
    std::string textOf(const std::string& file) const { return trimmed(contentOf(file)); }
    static std::string trimmed(const std::string& text);

    /// The number that a file holds, in decimal; none for anything else.
    template <typename Number>
    std::optional<Number> numberOf(const std::string& file) const {
        const std::string text = textOf(file);
        Number number = 0;
        const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        return error == std::errc() && rest == text.data() + text.size() ? std::make_optional(number) : std::nullopt;
    }

    /// What a symbolic link in it points to; "" where there is none.
    std::string targetOf(const std::string& link) const;

    /// The names in one of its directories, each with that directory in front: "block/sda".
    std::vector<std::string> entriesOf(const std::string& directory) const;

private:
    int fd_;
};

} // namespace sys
