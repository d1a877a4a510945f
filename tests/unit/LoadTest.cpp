// What the library keeps while it is loaded, and what of it is left when it was unloaded.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string.h>
#include <wardline/CloudConfig.h>
#include <wardline/DeviceInfo.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/Allocations.h"

namespace {

// How much a string of that text allocates. Nothing else that is loaded allocates as much.
const size_t kMonitorPathBytes = stringBytes(strlen("/data/syslog/monitor/stabevent"));

TEST(Load, SetsTheMonitorPathUpAndUnloadDestroysIt) {
    Allocations allocations;

    void* const library = dlopen(LIBWARDLINE, RTLD_NOW);
    ASSERT_NE(nullptr, library) << dlerror();
    EXPECT_EQ(1, allocations.heldOfSize(kMonitorPathBytes));

    EXPECT_EQ(0, dlclose(library));
    EXPECT_EQ(nullptr, dlopen(LIBWARDLINE, RTLD_NOW | RTLD_NOLOAD));
    EXPECT_EQ(0, allocations.heldOfSize(kMonitorPathBytes));
}

TEST(Load, SetsTheDeviceInformationUpEmptyAndUnloadDestroysItLastFieldFirst) {
    const size_t lengths[] = {1000, 1100, 1200, 1300, 1400, 1500, 1600, 1700};
    std::vector<size_t> sizes;
    for (const size_t length : lengths)
        sizes.push_back(stringBytes(length));
    std::vector<size_t> freed;
    freed.reserve(8);
    Allocations allocations;
    void* const library = dlopen(LIBWARDLINE, RTLD_NOW);
    ASSERT_NE(nullptr, library) << dlerror();

    const auto* const isCached =
        static_cast<const bool*>(dlsym(library, "_ZN7android18isDeviceInfoCachedE"));
    auto* const info =
        static_cast<android::DeviceInfo*>(dlsym(library, "_ZN7android16cachedDeviceInfoE"));
    ASSERT_NE(nullptr, isCached);
    ASSERT_NE(nullptr, info);
    std::string* const texts[] = {&info->brand,      &info->product,  &info->device,
                                  &info->release,    &info->build_id, &info->incremental,
                                  &info->build_type, &info->tags};

    EXPECT_FALSE(*isCached);
    for (size_t i = 0; i < 8; ++i) {
        EXPECT_EQ("", *texts[i]);
        texts[i]->assign(lengths[i], 'x');
        EXPECT_EQ(1, allocations.heldOfSize(sizes[i]));
    }

    EXPECT_EQ(0, dlclose(library));
    for (const size_t bytes : allocations.freed()) {
        if (std::ranges::find(sizes, bytes) != sizes.end()) freed.push_back(bytes);
    }
    std::ranges::reverse(sizes);
    EXPECT_EQ(sizes, freed);
}

TEST(Load, SetsTheConfigurationUpEmptyAndUnloadDestroysTheSubscribersBeforeIt) {
    constexpr size_t kSubscriberBytes = sizeof(void*);
    constexpr size_t kNameLength = 1000;
    const size_t kNameBytes = stringBytes(kNameLength);
    const std::filesystem::path directory = "/data/syslog/settings";
    using GetCloudConfig = android::__StabCloudConfig(void (*)(android::__StabCloudConfig&));
    Allocations allocations;
    void* const library = dlopen(LIBWARDLINE, RTLD_NOW);
    ASSERT_NE(nullptr, library) << dlerror();
    auto* const getCloudConfig = reinterpret_cast<GetCloudConfig*>(
        dlsym(library, "_ZN7android14getCloudConfigEPFvRNS_17__StabCloudConfigEE"));
    auto* const flag = static_cast<std::once_flag*>(dlsym(library, "_ZN7android4flagE"));
    ASSERT_NE(nullptr, getCloudConfig);
    ASSERT_NE(nullptr, flag);
    std::call_once(*flag, [] {});  // No thread may run in a library that is unloaded.

    EXPECT_EQ(0u, getCloudConfig(nullptr).version);
    std::filesystem::create_directories(directory);
    std::ofstream(directory / "stab_cloud_config.json")
        << R"({"processesConfig": {"processes": [{"name": ")" << std::string(kNameLength, 'x')
        << R"("}]}})";
    EXPECT_EQ(1u, getCloudConfig([](auto&) {}).processesConfig.processes.size());
    EXPECT_EQ(1, allocations.heldOfSize(kNameBytes));
    EXPECT_EQ(1, allocations.heldOfSize(kSubscriberBytes));

    const size_t freedBefore = allocations.freed().size();
    EXPECT_EQ(0, dlclose(library));
    const auto freed = allocations.freed().subspan(freedBefore);
    const auto subscribers = std::ranges::find(freed, kSubscriberBytes);
    const auto name = std::ranges::find(freed, kNameBytes);
    EXPECT_NE(freed.end(), name);
    EXPECT_LT(subscribers, name);
}

}  // namespace
