#include "Allocations.h"

#include <stdlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <span>

namespace {

struct Allocation {
    const void* pointer;
    size_t size;
    bool isArray;
    bool isHeld;
};

thread_local bool watching = false;
thread_local bool failingArrays = false;
thread_local std::array<Allocation, 1000> log;
thread_local size_t logged = 0;

std::span<Allocation> allocations() {
    return std::span(log).first(logged);
}

void* allocate(size_t size, bool isArray) {
    if (isArray && failingArrays) throw std::bad_alloc();
    void* const pointer = malloc(std::max<size_t>(size, 1));
    if (pointer == nullptr) abort();
    if (watching && logged < log.size()) log[logged++] = {pointer, size, isArray, true};
    return pointer;
}

void release(void* pointer) {
    if (watching && pointer != nullptr) {
        for (Allocation& allocation : allocations()) {
            if (allocation.pointer == pointer) allocation.isHeld = false;
        }
    }
    free(pointer);
}

}  // namespace

Allocations::Allocations() {
    logged = 0;
    watching = true;
}

Allocations::~Allocations() {
    failingArrays = false;
    watching = false;
}

void Allocations::failArrays() {
    failingArrays = true;
}

std::vector<size_t> Allocations::arraySizes() const {
    std::vector<size_t> sizes;
    for (const Allocation& allocation : allocations()) {
        if (allocation.isArray) sizes.push_back(allocation.size);
    }
    return sizes;
}

int Allocations::heldArrays() const {
    return static_cast<int>(
        std::ranges::count_if(allocations(), [](auto& a) { return a.isArray && a.isHeld; }));
}

int Allocations::heldByThisThread() const {
    return static_cast<int>(std::ranges::count_if(allocations(), [](auto& a) { return a.isHeld; }));
}

bool Allocations::wasArray(const void* pointer) const {
    return std::ranges::any_of(allocations(),
                               [&](auto& a) { return a.isArray && a.pointer == pointer; });
}

void* operator new(size_t size) {
    return allocate(size, false);
}

void* operator new[](size_t size) {
    return allocate(size, true);
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
