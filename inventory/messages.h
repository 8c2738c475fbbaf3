#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace inventory {

/// A message of the plug-in's log, or a remark of the program.
struct message {
    enum source { plugin, program };

    source from;
    int level; ///< of the log; of a remark 0
    std::string text;
    std::size_t count; ///< how often it came
};

/// The messages of a run, equal ones once, in the order in which they came first.
class messageList {
public:
    /// Takes a message; true when it is the first of its kind.
    bool add(message::source from, int level, const std::string& text) {
        const auto [place, isNew] = places_.try_emplace({from, level, text}, list_.size());
        if (isNew)
            list_.push_back({from, level, text, 1});
        else
            ++list_[place->second].count;
        return isNew;
    }

    const std::vector<message>& all() const { return list_; }

private:
    std::map<std::tuple<message::source, int, std::string>, std::size_t> places_;
    std::vector<message> list_;
};

} // namespace inventory
