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

instances runResult::allInstances() const {
    instances all;
    for (const auto& query : queries)
        all.insert(all.end(), query.instances.begin(), query.instances.end());
    return all;
}

const device* runResult::deviceAt(const std::string& node) const {
    const auto found =
        std::find_if(devices.begin(), devices.end(), [&node](const device& each) { return each.node == node; });
    return found == devices.end() ? nullptr : &*found;
}

bool runResult::sawAllBesideDevices() const {
    return !error && !seen.log.failed && !seen.missesDriver() && seen.beyond.empty() && seen.unread.empty();
}

bool runResult::isComplete() const {
    return sawAllBesideDevices() &&
           std::all_of(devices.begin(), devices.end(), [](const device& each) { return each.isTrue(); });
}

} // namespace inventory
