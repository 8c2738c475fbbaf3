#include "system/anonymize.h"

#include "system/answerlayout.h"
#include "system/replacements.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace sys {

namespace {

constexpr const char* driveNameKey = "drive name:";

bool isAlphanumeric(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

range clipped(range wanted, const std::string& text) {
    return {std::min(wanted.begin, text.size()), std::min(wanted.end, text.size())};
}

/// The texts in a part of `text`: they end at zero bytes and have no outer blanks.
std::vector<range> textsIn(const std::string& text, range part) {
    std::vector<range> found;
    const auto [begin, end] = clipped(part, text);
    for (std::size_t first = begin; first < end;) {
        const std::size_t last = std::min(text.find('\0', first), end);
        range inner{first, last};
        while (inner.begin < inner.end && text[inner.begin] == ' ')
            ++inner.begin;
        while (inner.begin < inner.end && text[inner.end - 1] == ' ')
            --inner.end;
        if (inner.begin < inner.end)
            found.push_back(inner);
        first = last + 1;
    }
    return found;
}

std::string textAt(const std::string& text, range part) { return text.substr(part.begin, part.end - part.begin); }

/// Calls `visit` with a node's path, the bytes of an answer and their layout, for all answers that are bytes and for
/// its wwid.
template <typename Visit>
void eachAnswerBytes(machineAnswers& target, Visit visit) {
    for (auto& [path, node] : target.nodes) {
        const auto change = [&visit, &place = path](bytes& data, const answerLayout& layout) {
            std::string text(data.begin(), data.end());
            visit(place, text, layout);
            data.assign(text.begin(), text.end());
        };
        const auto changeAll = [](auto& answers, auto changeOne) {
            auto list = answers.all();
            for (auto& answer : list)
                changeOne(answer);
            answers = list;
        };
        const bytes inquiry = node.inquiry.empty() ? bytes() : node.inquiry.all().back().data;
        visit(path, node.knownAs.wwid, layoutOfWwid(node.knownAs.wwid, inquiry));
        changeAll(node.inquiry, [&](scsiAnswer& answer) {
            change(answer.data, layoutOfInquiry());
            change(answer.sense, layoutOfSense());
        });
        changeAll(node.serialPage, [&](scsiAnswer& answer) {
            change(answer.data, layoutOfSerialPage(answer, inquiry));
            change(answer.sense, layoutOfSense());
        });
        changeAll(node.identify, [&](driveAnswer& answer) { change(answer.data, layoutOfIdentify(answer.data)); });
    }
}

/// All that the machine answers with, so that nothing in it is taken for a replacement.
std::string allTextOf(machineAnswers original) {
    std::string all = original.name + '\n' + original.usbListing + '\n' + original.opticalTable.value_or("") + '\n';
    for (const auto& names : original.virtualDevices) {
        for (const auto& name : names)
            all += name + '\n';
    }
    eachAnswerBytes(original, [&all](const auto&, const std::string& text, const auto&) {
        all += text + '\n' + swappedPairs(text) + '\n';
    });
    return all;
}

std::vector<std::string> nodePathsOf(const machineAnswers& original) {
    std::vector<std::string> paths;
    for (const auto& [path, node] : original.nodes)
        paths.push_back(path);
    return paths;
}

/// The names in the table of optical drives, without directories.
std::vector<std::string> driveNamesOf(const machineAnswers& original) {
    std::vector<std::string> names;
    std::istringstream lines(original.opticalTable.value_or(""));
    for (std::string line; std::getline(lines, line);) {
        if (line.find(driveNameKey) == std::string::npos)
            continue;
        std::istringstream columns(line.substr(line.find(':') + 1));
        for (std::string name; std::getline(columns, name, '\t');)
            names.push_back(name.substr(name.rfind('/') + 1));
    }
    names.erase(std::remove(names.begin(), names.end(), ""), names.end());
    return names;
}

/// Keeps the products of devices in the USB listing: by them the plug-in knows virtual media.
answerLayout layoutOfUsbListing(const machineAnswers& original) {
    answerLayout layout;
    layout.isText = true;
    const std::string& listing = original.usbListing;
    for (const auto& [path, node] : original.nodes) {
        for (const auto& answer : node.inquiry.all()) {
            const std::string quoted = '"' + productOf(answer.data) + '"';
            for (auto at = listing.find(quoted); at != std::string::npos; at = listing.find(quoted, at + 1))
                layout.kept.push_back({at, at + quoted.size()});
        }
    }
    return layout;
}

/// Keeps the lines that have a key: the kernel has written them, and the plug-in reads them.
answerLayout layoutOfOpticalTable(const std::string& table) {
    answerLayout layout;
    layout.isText = true;
    for (std::size_t begin = 0; begin < table.size();) {
        const std::size_t end = std::min(table.find('\n', begin), table.size());
        if (table.find(':', begin) < end)
            layout.kept.push_back({begin, end});
        begin = end + 1;
    }
    return layout;
}

/// Keeps the words of a virtual device's text that hold one of `names`: by them the plug-in knows the device.
answerLayout layoutOfVirtualDevice(const std::string& text, const std::vector<std::string>& names) {
    std::vector<bool> isKept(text.size() + 1, false);
    isKept.back() = true;
    for (const auto& name : names) {
        for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
            range word{at, at + name.size()};
            while (word.begin > 0 && isAlphanumeric(text[word.begin - 1]))
                --word.begin;
            while (word.end < text.size() && isAlphanumeric(text[word.end]))
                ++word.end;
            const std::string directory = "/dev/";
            if (word.begin >= directory.size() &&
                text.compare(word.begin - directory.size(), directory.size(), directory) == 0)
                word.begin -= directory.size();
            std::fill(isKept.begin() + static_cast<std::ptrdiff_t>(word.begin),
                      isKept.begin() + static_cast<std::ptrdiff_t>(word.end), true);
        }
    }
    answerLayout layout;
    layout.isText = true;
    for (std::size_t begin = 0; begin < text.size();) {
        const bool kept = isKept[begin];
        std::size_t end = begin;
        while (end < text.size() && isKept[end] == kept)
            ++end;
        (kept ? layout.kept : layout.identifying).push_back({begin, end});
        begin = end;
    }
    return layout;
}

/// Which of `names` stand in `text`: the devices of these names are left out.
std::vector<bool> foundIn(const std::string& text, const std::vector<std::string>& names) {
    std::vector<bool> found;
    for (const auto& name : names)
        found.push_back(text.find(name) != std::string::npos);
    return found;
}

struct shorterFirst {
    bool operator()(const std::string& left, const std::string& right) const {
        return left.size() != right.size() ? left.size() < right.size() : left < right;
    }
};

class anonymizer {
public:
    anonymizer(const machineAnswers& original, std::mt19937& random)
        : original_(original),
          namesOfKind_{nodePathsOf(original), driveNamesOf(original)},
          replacements_(random, allTextOf(original), allNames()) {
        made_.result = original;
    }

    anonymousMachine run() {
        collect();
        machineAnswers& result = made_.result;
        eachAnswerBytes(result, [this](const std::string& path, std::string& text, const answerLayout& layout) {
            text = rewritten(path, text, layout);
        });
        result.name = rewritten("the host name", result.name, wholeText(result.name));
        made_.hostName = result.name != original_.name;
        result.usbListing = rewritten("the USB listing", result.usbListing, layoutOfUsbListing(original_));
        if (result.opticalTable)
            result.opticalTable =
                rewritten("the optical-drive table", *result.opticalTable, layoutOfOpticalTable(*result.opticalTable));
        for (const int kind : {0, 1})
            rewriteVirtualDevices(result.virtualDevices[kind], namesOfKind_[kind]);
        return std::move(made_);
    }

private:
    static answerLayout wholeText(const std::string& text) {
        answerLayout layout;
        layout.identifying = {{0, text.size()}};
        return layout;
    }

    std::vector<std::string> allNames() const {
        std::vector<std::string> names = namesOfKind_[0];
        names.insert(names.end(), namesOfKind_[1].begin(), namesOfKind_[1].end());
        return names;
    }

    // World wide names come first: a serial number can be one, written as a text. Other texts come before those that
    // contain them, if they are shorter.
    void collect() {
        std::map<std::string, std::size_t*, shorterFirst> counters;
        std::size_t others = 0;
        eachAnswerBytes(made_.result, [&](const auto&, const std::string& text, const answerLayout& layout) {
            made_.worldWideNames += replacements_.addNumber(layout.worldWideName, layout.keptDigits);
            collectTexts(text, layout, made_.serialNumbers, counters);
        });
        for (const int kind : {0, 1}) {
            for (const auto& text : original_.virtualDevices[kind])
                collectTexts(text, layoutOfVirtualDevice(text, namesOfKind_[kind]), others, counters);
        }
        addHostName(original_.name);
        for (const auto& [text, counter] : counters)
            *counter += replacements_.add(text);
    }

    /// The host's own name and its domain are texts of their own.
    void addHostName(const std::string& name) {
        for (const range found : textsIn(name, {0, name.size()})) {
            const std::string text = textAt(name, found);
            replacements_.add(text);
            if (const std::size_t dot = text.find('.'); dot != std::string::npos) {
                replacements_.addPart(text, 0, dot);
                replacements_.addPart(text, dot + 1, text.size());
            }
        }
    }

    static void collectTexts(const std::string& bytes, const answerLayout& layout, std::size_t& counter,
                             std::map<std::string, std::size_t*, shorterFirst>& counters) {
        const std::string text = layout.isSwapped ? swappedPairs(bytes) : bytes;
        for (const range part : layout.identifying) {
            for (const range found : textsIn(text, part))
                counters.emplace(textAt(text, found), &counter);
        }
    }

    std::string rewritten(const std::string& place, const std::string& bytes, const answerLayout& layout) {
        passage changed(bytes);
        for (const range part : layout.cleared)
            changed.clear(part.begin, part.end);
        for (const range part : layout.kept)
            changed.keep(part.begin, part.end);
        const std::string text = layout.isSwapped ? swappedPairs(bytes) : bytes;
        for (const range part : layout.identifying) {
            for (const range found : textsIn(text, part)) {
                std::vector<std::size_t> positions;
                for (std::size_t i = found.begin; i < found.end; ++i)
                    positions.push_back(layout.isSwapped ? std::min(i ^ 1U, bytes.size() - 1) : i);
                changed.overwrite(positions, replacements_.of(textAt(text, found)));
            }
        }
        replacements_.applyTo(changed, layout.isText);
        if (changed.wasRefused())
            made_.keptAt.insert(place);
        std::string result = changed.result();
        if (layout.mayHaveChecksum)
            correctChecksum(bytes, result);
        return result;
    }

    /// A text that would stand for other devices than before stays as it is.
    void rewriteVirtualDevices(std::vector<std::string>& texts, const std::vector<std::string>& names) {
        for (auto& text : texts) {
            const std::string changed =
                rewritten("the names of virtual devices", text, layoutOfVirtualDevice(text, names));
            const bool isKept = changed == text || foundIn(changed, names) != foundIn(text, names);
            ++(isKept ? made_.keptVirtualDevices : made_.virtualDevices);
            text = isKept ? text : changed;
        }
    }

    const machineAnswers& original_;
    const std::vector<std::string> namesOfKind_[2]; // what the texts of virtual devices are compared with
    replacements replacements_;
    anonymousMachine made_;
};

} // namespace

anonymousMachine anonymize(const machineAnswers& original, std::mt19937& random) {
    return anonymizer(original, random).run();
}

} // namespace sys
