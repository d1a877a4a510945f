// What the library keeps while it is loaded, and what of it is left when it was unloaded.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "support/Allocations.h"

namespace {

// How much a string of that text allocates. Nothing else that is loaded allocates as much.
constexpr size_t kMonitorPathBytes = sizeof("/data/syslog/monitor/stabevent");

TEST(Load, SetsTheMonitorPathUpAndUnloadDestroysIt) {
    Allocations allocations;

    void* const library = dlopen(LIBWARDLINE, RTLD_NOW);
    ASSERT_NE(nullptr, library) << dlerror();
    EXPECT_EQ(1, allocations.heldOfSize(kMonitorPathBytes));

    EXPECT_EQ(0, dlclose(library));
    EXPECT_EQ(nullptr, dlopen(LIBWARDLINE, RTLD_NOW | RTLD_NOLOAD));
    EXPECT_EQ(0, allocations.heldOfSize(kMonitorPathBytes));
}

}  // namespace
