#include <sys/stat.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "support/AssertDeath.h"

using namespace ZR_HBBTV_Core;

namespace {

off_t sizeOfShmObject(const std::string& name)
{
    struct stat info;
    if (stat(("/dev/shm" + name).c_str(), &info) != 0) {
        return -1;
    }
    return info.st_size;
}

} // namespace

TEST(BackendRegion, MappedOnceUnderThisProcesssNameWithAddressesThatFitAWireWord)
{
    EXPECT_EQ("/hbbtv" + hbbtv_test::shmSuffix(), backendRegionName());
    unsigned char* base = backendMallocInit(nullptr);
    ASSERT_NE(nullptr, base);
    unsigned int size = 0;
    EXPECT_EQ(base, backendMallocInit(&size));
    EXPECT_EQ(409600u, size);
    EXPECT_EQ(409600, sizeOfShmObject(backendRegionName()));
    EXPECT_LE(reinterpret_cast<uintptr_t>(base) + 409600 - 1, uintptr_t(UINT32_MAX));

    // Every allocation lies inside the region.
    unsigned char* block = static_cast<unsigned char*>(hbbtvBackendMalloc(11592));
    EXPECT_GE(block, base);
    EXPECT_LE(block + 11592, base + 409600);
    hbbtvBackendMfree(block);
}

TEST(ChannelListPools, TwoMappingsOfOneRegionWithTheirSizeWordRewrittenOnEveryCall)
{
    EXPECT_EQ("/hbbtvChannelList" + hbbtv_test::shmSuffix(), channelListRegionName());
    HbbtvChannelListPool* channels = hbbtvBackendChannelListPool();
    ASSERT_NE(nullptr, channels);
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(channels) % 8);
    EXPECT_EQ(1048560u, channels->areaSize);
    EXPECT_EQ(1048576, sizeOfShmObject(channelListRegionName()));
    EXPECT_LE(reinterpret_cast<uintptr_t>(channels) + 1048576 - 1, uintptr_t(UINT32_MAX));

    channels->areaSize = 5;
    EXPECT_EQ(channels, hbbtvBackendChannelListPool());
    EXPECT_EQ(1048560u, channels->areaSize);

    // The scheduling pool maps the same object again: the same bytes under another address.
    HbbtvSchedulingRecordingCollectionPool* scheduling = hbbtvBackendSchedulingRecordingCollectionPool();
    ASSERT_NE(nullptr, scheduling);
    EXPECT_NE(static_cast<void*>(channels), static_cast<void*>(scheduling));
    EXPECT_EQ(1048564u, scheduling->areaSize);
    EXPECT_EQ(1048564u, channels->areaSize);
    channels->count = 1234;
    EXPECT_EQ(1234u, reinterpret_cast<HbbtvChannelListPool*>(scheduling)->count);
}

TEST(ChannelListPools, ARegionThatCannotBeOpenedGivesNull)
{
    // A name with a further slash cannot be a shared-memory object: the pool reports and yields
    // null instead of aborting. The name is read once per process, so set it before first use.
    setenv("HBBTV_SHM_SUFFIX", "/missing/folder", 1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(nullptr, hbbtvBackendChannelListPool());
    EXPECT_EQ("error open region:/hbbtvChannelList/missing/folder\n", testing::internal::GetCapturedStdout());
    setenv("HBBTV_SHM_SUFFIX", hbbtv_test::shmSuffix().c_str(), 1);
}

TEST(BackendRegionDeathTest, RegionThatCannotBeOpenedAborts)
{
    hbbtv_test::expectAssertFail(
        [] {
            setenv("HBBTV_SHM_SUFFIX", "/missing/folder", 1);
            hbbtvBackendMalloc(8);
        },
        "./backendglue/HbbtvBackendGlue.MemoryPool.cpp", "unsigned char* ZR_HBBTV_Core::backendMallocInit(unsigned int*)",
        254);
}

TEST(ChannelListPools, FirstCallersAtOnceShareOneMapping)
{
    std::atomic<int> ready{0};
    HbbtvChannelListPool* seen[4] = {};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&, i] {
            ++ready;
            while (ready < 4) {
            }
            seen[i] = hbbtvBackendChannelListPool();
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    ASSERT_NE(nullptr, seen[0]);
    for (HbbtvChannelListPool* pool : seen) {
        EXPECT_EQ(seen[0], pool);
    }
}
