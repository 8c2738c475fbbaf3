#pragma once

#include <cstddef>
#include <utility>

/// While it lives, an allocation of this process fails: the one behind `number` others, or that and all later ones.
class scarceMemory {
public:
    scarceMemory(std::size_t number, bool alone);
    ~scarceMemory() { active_ = false; }
    scarceMemory(const scarceMemory&) = delete;
    scarceMemory& operator=(const scarceMemory&) = delete;

    /// Did one fail while the latest of these lived?
    static bool ranOut();

    /// How many allocations are alive now.
    static std::size_t living();

    /// While it lives, none fails nor counts.
    class pause {
    public:
        pause() : before_(std::exchange(active_, false)) {}
        ~pause() { active_ = before_; }
        pause(const pause&) = delete;
        pause& operator=(const pause&) = delete;

    private:
        bool before_;
    };

    /// Does the allocation that is made now fail?
    static bool fails();

private:
    static inline bool active_ = false;
};
