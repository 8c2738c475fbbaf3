#include "inventory/result.h"

#include <algorithm>

namespace inventory {

bool messageList::add(message::source from, int level, const std::string& text) {
    const auto [place, isNew] = places_.try_emplace({from, level, text}, list_.size());
    if (isNew)
        list_.push_back({from, level, text, 0});
    ++list_[place->second].count;
    return isNew;
}

std::size_t runResult::instanceCount() const {
    std::size_t count = 0;
    for (const auto& query : queries)
        count += query.instances.size();
    return count;
}

bool runResult::isComplete() const {
    constexpr int failure = 0; // the log's level of a step that failed
    const auto& all = messages.all();
    const bool stepFailed = std::any_of(all.begin(), all.end(), [](const message& each) {
        return each.from == message::plugin && each.level == failure;
    });
    return !error && !stepFailed && seen.driverStatus == 0 && seen.nodes.refused.empty() && seen.nodes.silent.empty() &&
           seen.beyond.empty() && seen.unread.empty();
}

} // namespace inventory
