#include "tests/scarcememory.h"

#include <execinfo.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

bool active = false;
std::size_t left = 0; // allocations until one fails
bool failed = false;
scarceMemory::kind how = scarceMemory::kind::oneFails;

using callers = std::vector<void*>;
std::vector<callers>* places = nullptr; // those of the allocations so far, where they are wanted

void notePlace() {
    const scarceMemory::pause memory;
    callers frames(64); // deeper than any query
    frames.resize(static_cast<std::size_t>(::backtrace(frames.data(), static_cast<int>(frames.size()))));
    places->push_back(frames);
}

std::size_t alive = 0;

[[gnu::noinline]] void release(void* memory) { // or the compiler warns that it frees what new returned
    alive -= memory == nullptr ? 0 : 1;
    std::free(memory);
}

bool fails() {
    if (active && places != nullptr)
        notePlace();
    if (!active || (failed && how == scarceMemory::kind::oneFails))
        return false;
    failed = failed || left == 0;
    left -= failed ? 0 : 1;
    return failed;
}

} // namespace

void* operator new(std::size_t size, const std::nothrow_t& /*null on failure*/) noexcept {
    void* const memory = fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
    alive += memory == nullptr ? 0 : 1;
    return memory;
}
void* operator new(std::size_t size) {
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { release(memory); }

scarceMemory::scarceMemory(std::size_t number, kind failing) {
    left = number;
    how = failing;
    failed = false;
    active = true;
}
scarceMemory::~scarceMemory() { active = false; }

std::vector<std::size_t> scarceMemory::allocationsWorthFailing(const std::function<void()>& call) {
    std::vector<callers> all;
    places = &all;
    {
        const scarceMemory noneFails(SIZE_MAX, kind::oneFails);
        call();
    }
    places = nullptr;
    std::vector<std::size_t> numbers;
    for (auto at = all.begin(); at != all.end(); ++at)
        if (std::find(all.begin(), at, *at) == at || std::find(at + 1, all.end(), *at) == all.end())
            numbers.push_back(static_cast<std::size_t>(at - all.begin()));
    return numbers;
}

std::size_t scarceMemory::living() { return alive; }
bool scarceMemory::ranOut() const { return failed; }

scarceMemory::pause::pause() : before_(std::exchange(active, false)) {}
scarceMemory::pause::~pause() { active = before_; }
