#pragma once

#include <cstddef>

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
