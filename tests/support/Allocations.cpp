#include "tests/support/Allocations.hpp"

#include <cstdlib>
#include <limits>
#include <malloc.h>
#include <new>

namespace {

constexpr std::size_t plenty = std::numeric_limits<std::size_t>::max();

std::size_t bytes = 0;
std::size_t left = plenty;
bool lastsOn = false;
bool failed = false;

void* allocate(std::size_t size) {
    if (left == 0) {
        failed = true;
        left = lastsOn ? 0 : plenty;
        throw std::bad_alloc();
    }
    left -= left != plenty ? 1 : 0;
    void* const memory = std::malloc(size > 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    bytes += malloc_usable_size(memory);
    return memory;
}

void release(void* memory) noexcept {
    bytes -= memory != nullptr ? malloc_usable_size(memory) : 0;
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { release(memory); }

namespace Allocations {

std::size_t held() { return bytes; }

Shortage::Shortage(std::size_t after, Lasts lasts) {
    left = after;
    lastsOn = lasts == on;
    failed = false;
}

bool Shortage::end() {
    left = plenty;
    return failed;
}

} // namespace Allocations
