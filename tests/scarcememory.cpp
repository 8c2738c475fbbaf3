#include "tests/scarcememory.h"

#include <cstdlib>
#include <new>

namespace {

std::size_t tried = 0, firstToFail = 0;
bool failsAlone = true;
std::size_t alive = 0;

[[gnu::noinline]] void release(void* memory) { // or the compiler warns that it frees what new returned
    alive -= memory == nullptr ? 0 : 1;
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size, const std::nothrow_t& /*null on failure*/) noexcept {
    void* const memory = scarceMemory::fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
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

scarceMemory::scarceMemory(std::size_t number, bool alone) {
    tried = 0;
    firstToFail = number;
    failsAlone = alone;
    active_ = true;
}

bool scarceMemory::fails() {
    if (!active_)
        return false;
    ++tried;
    return failsAlone ? tried == firstToFail + 1 : tried > firstToFail;
}

bool scarceMemory::ranOut() { return tried > firstToFail; }
std::size_t scarceMemory::living() { return alive; }
