#include "Allocations.h"

#include <stdint.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <span>
#include <string>

#include "RepeatingMemory.h"

namespace {

constexpr size_t kHuge = size_t{1} << 30;

struct Allocation {
    const void* pointer;
    size_t size;
    bool isHeld;
};

thread_local bool watching = false;
thread_local size_t failingSize = SIZE_MAX;
thread_local std::array<Allocation, 1000> log;
thread_local size_t logged = 0;
thread_local std::array<size_t, log.size()> freedSizes;
thread_local size_t freedCount = 0;

std::span<Allocation> allocations() {
    return std::span(log).first(logged);
}

void* allocate(size_t size) {
    if (size == failingSize) throw std::bad_alloc();
    void* const pointer = size < kHuge ? malloc(std::max<size_t>(size, 1)) : mapRepeating(size);
    if (pointer == nullptr) abort();
    if (watching) {
        if (logged == log.size()) abort();
        log[logged++] = {pointer, size, true};
    }
    return pointer;
}

void release(void* pointer) {
    if (watching && pointer != nullptr) {
        for (Allocation& allocation : allocations()) {
            if (allocation.pointer != pointer || !allocation.isHeld) continue;
            allocation.isHeld = false;
            freedSizes[freedCount++] = allocation.size;
        }
    }
    if (!unmapRepeating(pointer)) free(pointer);
}

}  // namespace

size_t stringBytes(size_t length) {
    return std::string(length, 'x').capacity() + 1;
}

Allocations::Allocations() {
    logged = 0;
    freedCount = 0;
    watching = true;
}

Allocations::~Allocations() {
    failingSize = SIZE_MAX;
    watching = false;
}

size_t Allocations::sizeOf(const void* pointer) const {
    // An address may have been used more than once; the latest counts.
    const auto all = allocations();
    const auto found =
        std::find_if(all.rbegin(), all.rend(), [&](auto& a) { return a.pointer == pointer; });
    return found == all.rend() ? 0 : found->size;
}

bool Allocations::isHeld(const void* pointer) const {
    return std::ranges::any_of(allocations(),
                               [&](auto& a) { return a.pointer == pointer && a.isHeld; });
}

int Allocations::heldOfSize(size_t size) const {
    return static_cast<int>(
        std::ranges::count_if(allocations(), [&](auto& a) { return a.size == size && a.isHeld; }));
}

int Allocations::held() const {
    return static_cast<int>(std::ranges::count_if(allocations(), &Allocation::isHeld));
}

std::span<const size_t> Allocations::freed() const {
    return std::span(freedSizes).first(freedCount);
}

void Allocations::fail(size_t size) {
    failingSize = size;
}

void* operator new(size_t size) {
    return allocate(size);
}

void* operator new[](size_t size) {
    return allocate(size);
}

void operator delete(void* pointer) noexcept {
    release(pointer);
}

void operator delete[](void* pointer) noexcept {
    release(pointer);
}

void operator delete(void* pointer, size_t) noexcept {
    release(pointer);
}

void operator delete[](void* pointer, size_t) noexcept {
    release(pointer);
}
