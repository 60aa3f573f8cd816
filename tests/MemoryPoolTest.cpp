#include <algorithm>
#include <cstring>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "support/AssertDeath.h"

using namespace ZR_HBBTV_Core;

namespace {

const char kPoolFile[] = "./backendglue/HbbtvBackendGlue.MemoryPool.cpp";
const char kArenaAllocate[] =
    "ZR_HBBTV_Core::shm_allocator::node_tag* ZR_HBBTV_Core::shm_allocator::arena::allocate(size_t)";
const char kArenaFree[] =
    "void ZR_HBBTV_Core::shm_allocator::arena::free(ZR_HBBTV_Core::shm_allocator::node_tag*)";
const char kAllocatorFree[] = "void ZR_HBBTV_Core::shm_allocator::free(void*)";
const char kBumpAllocate[] = "void* ZR_HBBTV_Core::shm_allocator::_allocate(size_t)";

uint16_t wordAt(const void* p, long offset)
{
    uint16_t word;
    memcpy(&word, static_cast<const unsigned char*>(p) + offset, sizeof(word));
    return word;
}

unsigned char* allocateBytes(unsigned int n)
{
    return static_cast<unsigned char*>(hbbtvBackendMalloc(n));
}

} // namespace

TEST(ShmAllocator, NodeSizesAndMarks)
{
    // Requests round up to node sizes: the caller's bytes, 8 of header, 2 of end mark.
    EXPECT_EQ(16u, shm_allocator::nodeSizeFor(6));
    EXPECT_EQ(24u, shm_allocator::nodeSizeFor(7));
    EXPECT_EQ(65528u, shm_allocator::nodeSizeFor(shm_allocator::kMaxRequest));

    for (unsigned int n : {0u, 1u}) {
        unsigned char* p = allocateBytes(n);
        ASSERT_NE(nullptr, p);
        EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(p) % 8);
        EXPECT_EQ(0x5A5A, wordAt(p, -8));
        EXPECT_EQ(8, wordAt(p, -6));
        EXPECT_EQ(0x5A5A, wordAt(p, 6)); // the last two bytes of the 16-byte node
        hbbtvBackendMfree(p);
    }
}

TEST(ShmAllocator, ReusesFreedNodesOfTheSameSizeFirstInFirstOut)
{
    // With nodes of several sizes freed in an interleaved order, each size hands its own nodes
    // back in the order they were freed, whatever happened to the other sizes in between.
    std::vector<unsigned char*> small, large;
    for (int i = 0; i < 4; ++i) {
        small.push_back(allocateBytes(100));
        large.push_back(allocateBytes(532));
    }
    const int order[] = {2, 0, 3, 1};
    for (int i : order) {
        hbbtvBackendMfree(large[i]);
        hbbtvBackendMfree(small[i]);
    }
    for (int i : order) {
        EXPECT_EQ(small[i], allocateBytes(97)); // 97 and 100 share a node size
    }
    unsigned char* freshSmall = allocateBytes(100);
    for (int i : order) {
        EXPECT_EQ(large[i], allocateBytes(532));
    }
    for (unsigned char* p : small) {
        EXPECT_NE(p, freshSmall);
    }
}

TEST(ShmAllocator, RefusesRequestsLargerThanANode)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(nullptr, hbbtvBackendMalloc(shm_allocator::kMaxRequest + 1));
    EXPECT_EQ(nullptr, hbbtvBackendMalloc(UINT32_MAX));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStdout().find("refused a request of 65519 bytes"));

    unsigned char* largest = allocateBytes(shm_allocator::kMaxRequest);
    ASSERT_NE(nullptr, largest);
    EXPECT_EQ(65520, wordAt(largest, -6));
    memset(largest, 0xEE, shm_allocator::kMaxRequest);
    hbbtvBackendMfree(largest);
}

TEST(ShmAllocatorDeathTest, CorruptionAndMisuseAbort)
{
    // Overwriting the end mark, just past the usable bytes.
    hbbtv_test::expectAssertFail(
        [] {
            unsigned char* p = allocateBytes(6);
            p[6] = 0;
            p[7] = 0;
            hbbtvBackendMfree(p);
        },
        kPoolFile, kAllocatorFree, 173);
    // Overwriting the head mark.
    hbbtv_test::expectAssertFail(
        [] {
            unsigned char* p = allocateBytes(40);
            p[-8] = 0;
            hbbtvBackendMfree(p);
        },
        kPoolFile, kAllocatorFree, 173);
    // Pointers that never came from the allocator: inside a block, and outside the region.
    hbbtv_test::expectAssertFail([] { hbbtvBackendMfree(allocateBytes(64) + 16); }, kPoolFile, kAllocatorFree, 173);
    hbbtv_test::expectAssertFail(
        [] {
            static unsigned char heapLike[64];
            hbbtvBackendMfree(heapLike + 8);
        },
        kPoolFile, kAllocatorFree, 173);
    // A well-formed node of a size that no arena holds.
    hbbtv_test::expectAssertFail(
        [] {
            unsigned char* outer = allocateBytes(200);
            shm_allocator::node_tag* fake = reinterpret_cast<shm_allocator::node_tag*>(outer + 16);
            fake->init(48);
            hbbtvBackendMfree(outer + 24);
        },
        kPoolFile, kAllocatorFree, 177);
    // Freeing twice: the second free finds the node no longer in use.
    hbbtv_test::expectAssertFail(
        [] {
            unsigned char* p = allocateBytes(20);
            hbbtvBackendMfree(p);
            hbbtvBackendMfree(p);
        },
        kPoolFile, kArenaFree, 93);
    // Whatever the region's bytes say, a freed node is not freed twice: the heap's own word for it
    // decides.
    hbbtv_test::expectAssertFail(
        [] {
            unsigned char* p = allocateBytes(20);
            hbbtvBackendMfree(p);
            memset(p - 4, 0xFF, 4);
            hbbtvBackendMfree(p);
        },
        kPoolFile, kArenaFree, 93);
    // A header rewritten to the largest size the 16-bit field holds, with an end mark where that
    // size puts it: refused as a size no arena holds, not looked up past the arena table.
    hbbtv_test::expectAssertFail(
        [] {
            unsigned char* outer = allocateBytes(shm_allocator::kMaxRequest);
            unsigned char* next = allocateBytes(100);
            ASSERT_EQ(outer + 65528, next);
            const uint16_t header[2] = {0x5A5A, 65528};
            memcpy(outer, header, sizeof(header));
            memcpy(outer + 8 + 65528 - 2, header, 2);
            hbbtvBackendMfree(outer + 8);
        },
        kPoolFile, kAllocatorFree, 177);
    // A freed node whose marks were overwritten is caught when it is handed out again.
    hbbtv_test::expectAssertFail(
        [] {
            unsigned char* p = allocateBytes(30);
            hbbtvBackendMfree(p);
            p[-7] = 0;
            allocateBytes(30);
        },
        kPoolFile, kArenaAllocate, 71);
    // Exhaustion of the region is fatal, not a null result.
    hbbtv_test::expectAssertFail(
        [] {
            for (;;) {
                allocateBytes(60000);
            }
        },
        kPoolFile, kBumpAllocate, 186);
}

TEST(ShmAllocator, HighWaterCountsTheRegionCutIntoNodes)
{
    shm_allocator* allocator = getBackendMemAllocator();
    const size_t start = allocator->highWater();
    unsigned char* a = allocateBytes(6);   // 16
    unsigned char* b = allocateBytes(532); // 544
    EXPECT_EQ(start + 16 + 544, allocator->highWater());
    for (int i = 0; i < 100; ++i) {
        hbbtvBackendMfree(a);
        hbbtvBackendMfree(b);
        a = allocateBytes(6);
        b = allocateBytes(532);
    }
    EXPECT_EQ(start + 16 + 544, allocator->highWater());

    // A node another thread freed is reused before the region grows, and frees by several
    // threads at once leave every node usable exactly once.
    std::vector<unsigned char*> freedElsewhere;
    std::thread([&] {
        for (int i = 0; i < 4; ++i) {
            freedElsewhere.push_back(allocateBytes(532));
        }
        for (unsigned char* p : freedElsewhere) {
            hbbtvBackendMfree(p);
        }
    }).join();
    const size_t before = allocator->highWater();
    std::vector<unsigned char*> taken;
    for (int i = 0; i < 4; ++i) {
        taken.push_back(allocateBytes(532));
    }
    EXPECT_EQ(before, allocator->highWater());
    std::sort(taken.begin(), taken.end());
    std::sort(freedElsewhere.begin(), freedElsewhere.end());
    EXPECT_EQ(freedElsewhere, taken);
    std::vector<std::future<void>> frees;
    for (unsigned char* p : taken) {
        frees.push_back(std::async(std::launch::async, [p] { hbbtvBackendMfree(p); }));
    }
    for (std::future<void>& f : frees) {
        f.get();
    }
    testing::internal::CaptureStdout();
    allocator->dumpInfo();
    const std::string dump = testing::internal::GetCapturedStdout();
    EXPECT_EQ("capacity:409600, left:406864\n\tnode size:16\nfree list:0\nused list:1\n\tnode size:544\nfree list:4\n"
              "used list:1\n",
              dump); // what is left after five 544-byte nodes and one of 16
}

namespace {

// A thread that allocates n bytes, frees them and stays alive until end() is called.
class FreeOnAnotherThread {
public:
    explicit FreeOnAnotherThread(unsigned int n)
        : m_ended(m_end.get_future().share()), m_thread([this, n, ended = m_ended] {
              unsigned char* p = allocateBytes(n);
              hbbtvBackendMfree(p);
              m_freed.set_value(p);
              ended.wait();
          })
    {
    }
    ~FreeOnAnotherThread() { end(); }
    unsigned char* freed() { return m_freedFuture.get(); }
    void end()
    {
        if (m_thread.joinable()) {
            m_end.set_value();
            m_thread.join();
        }
    }

private:
    std::promise<unsigned char*> m_freed;
    std::future<unsigned char*> m_freedFuture = m_freed.get_future();
    std::promise<void> m_end;
    std::shared_future<void> m_ended;
    std::thread m_thread;
};

} // namespace

TEST(ShmAllocator, ANodeFreedLastWaitsForItsThreadWhileHalfTheRegionIsUncut)
{
    shm_allocator* allocator = getBackendMemAllocator();
    if (allocator->highWater() >= kBackendRegionSize / 2) {
        GTEST_SKIP() << "half the region is cut already";
    }
    // Another thread's last free of a size is held for it: this thread cuts a fresh node meanwhile,
    // and gets the held one once that thread has ended.
    FreeOnAnotherThread other(300);
    unsigned char* const held = other.freed();
    EXPECT_NE(held, allocateBytes(300));
    other.end();
    EXPECT_EQ(held, allocateBytes(300));

    // Once half the region is cut into nodes, a free is listed at once, where every thread finds it.
    std::vector<unsigned char*> filler;
    while (allocator->highWater() < kBackendRegionSize / 2) {
        filler.push_back(allocateBytes(8000));
    }
    FreeOnAnotherThread another(400);
    unsigned char* const listed = another.freed();
    EXPECT_EQ(listed, allocateBytes(400));
    another.end();
    for (unsigned char* p : filler) {
        hbbtvBackendMfree(p);
    }
}

#if defined(__SANITIZE_ADDRESS__)
#define HBBTV_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HBBTV_TEST_ASAN 1
#endif
#endif

TEST(ShmAllocatorDeathTest, FreedRecordsAreOutOfBoundsForAddressSanitizer)
{
#ifdef HBBTV_TEST_ASAN
    // A record handed out again is usable in full, end mark included.
    unsigned char* p = allocateBytes(30);
    hbbtvBackendMfree(p);
    unsigned char* again = allocateBytes(30);
    ASSERT_EQ(p, again);
    memset(again, 1, 30);
    hbbtvBackendMfree(again);
    // Any byte of a freed record, its end mark included, is reported when written or read.
    EXPECT_DEATH(p[0] = 1, "use-after-poison");
    EXPECT_DEATH(p[31] = 1, "use-after-poison"); // the end mark
    EXPECT_DEATH(printf("%d\n", p[17]), "use-after-poison");
#else
    GTEST_SKIP() << "AddressSanitizer builds only";
#endif
}
