#pragma once

#include <cstddef>
#include <functional>
#include <vector>

/// While it lives, an allocation of this process fails: the one behind `number` others, or that and all later ones.
class scarceMemory {
public:
    enum class kind { oneFails, allFail };

    scarceMemory(std::size_t number, kind failing);
    ~scarceMemory();
    scarceMemory(const scarceMemory&) = delete;
    scarceMemory& operator=(const scarceMemory&) = delete;

    /// How many allocations are alive now.
    static std::size_t living();

    /// Which allocations of `call` to fail where each would take too long: of each place in the code, callers
    /// included, the first and the last.
    static std::vector<std::size_t> allocationsWorthFailing(const std::function<void()>& call);

    /// Did one fail?
    bool ranOut() const;

    /// While it lives, none fails nor counts.
    class pause {
    public:
        pause();
        ~pause();
        pause(const pause&) = delete;
        pause& operator=(const pause&) = delete;

    private:
        bool before_;
    };
};
