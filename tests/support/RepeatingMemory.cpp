#include "RepeatingMemory.h"

#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace {

constexpr size_t kBlock = size_t{1} << 22;

struct Mapping {
    void* start;
    size_t size;
};
thread_local std::array<Mapping, 8> mappings;

Mapping* find(const void* start) {
    Mapping* const found = std::ranges::find(mappings, start, &Mapping::start);
    return found == mappings.end() ? nullptr : found;
}

}  // namespace

void* mapRepeating(size_t size) {
    const size_t whole = (size + kBlock - 1) / kBlock * kBlock;
    const int block = memfd_create("block", 0);
    Mapping* const entry = find(nullptr);
    void* const start = mmap(nullptr, whole, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (entry == nullptr || start == MAP_FAILED || ftruncate(block, kBlock) != 0) abort();
    for (size_t offset = 0; offset < whole; offset += kBlock) {
        void* const at = static_cast<char*>(start) + offset;
        if (mmap(at, kBlock, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, block, 0) != at)
            abort();
    }
    close(block);
    *entry = {start, whole};
    return start;
}

bool unmapRepeating(void* start) {
    Mapping* const mapping = start == nullptr ? nullptr : find(start);
    if (mapping == nullptr) return false;
    munmap(mapping->start, mapping->size);
    *mapping = {};
    return true;
}
