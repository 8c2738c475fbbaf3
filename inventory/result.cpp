#include "inventory/result.h"

#include <algorithm>

namespace inventory {

bool runResult::addMessage(message::source from, int level, const std::string& text) {
    const auto known = std::find_if(messages.begin(), messages.end(), [&](const message& each) {
        return each.from == from && each.level == level && each.text == text;
    });
    const bool isFirst = known == messages.end();
    if (isFirst)
        messages.push_back({from, level, text, 1});
    else
        ++known->count;
    return isFirst;
}

instances runResult::allInstances() const {
    instances all;
    for (const auto& query : queries)
        all.insert(all.end(), query.instances.begin(), query.instances.end());
    return all;
}

bool runResult::sawAllBesideDevices() const {
    return !error && !seen.log.failed && !seen.missesDriver() && seen.beyond.empty() && seen.unread.empty();
}

bool runResult::isComplete() const {
    return sawAllBesideDevices() &&
           std::all_of(devices.begin(), devices.end(), [](const device& each) { return each.isTrue(); });
}

} // namespace inventory
