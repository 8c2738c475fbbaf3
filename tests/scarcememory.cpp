#include "tests/scarcememory.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

bool active = false;
std::size_t left = 0; // allocations until one fails
bool failed = false;
scarceMemory::kind how = scarceMemory::kind::oneFails;

std::size_t alive = 0;

void release(void* memory) {
    alive -= memory == nullptr ? 0 : 1;
    std::free(memory);
}

bool fails() {
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
std::size_t scarceMemory::living() { return alive; }
bool scarceMemory::ranOut() const { return failed; }

scarceMemory::pause::pause() : before_(std::exchange(active, false)) {}
scarceMemory::pause::~pause() { active = before_; }
