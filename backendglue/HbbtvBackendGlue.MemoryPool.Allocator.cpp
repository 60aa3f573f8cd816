// The allocator over "/hbbtv": nodes, arenas, the shards' free lists and the nodes held for
// threads (HbbtvBackendGlue.MemoryPool.h describes the design).
#include "HbbtvBackendGlue.MemoryPool.h"

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <tuple>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define HBBTV_POISON_FREE_NODES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HBBTV_POISON_FREE_NODES 1
#endif
#endif
#ifdef HBBTV_POISON_FREE_NODES
#include <sanitizer/asan_interface.h>
#endif

namespace ZR_HBBTV_Core {

namespace {

// The one allocator that holds nodes for threads; it is never destroyed.
std::atomic<shm_allocator*> g_processAllocator(nullptr);
// Set to a thread's ThreadNodes once it holds a node; created with the process's allocator.
pthread_key_t g_heldKey;
// Threads that hold nodes now, at most kHoldingThreads.
std::atomic<unsigned int> g_holdingThreads(0);

shm_allocator* createProcessAllocator()
{
    // Never destroyed: host threads and the service agent may still allocate while the process
    // runs its exit handlers. Only the region's name goes at exit, as the destructor would do.
    shm_allocator* allocator = new shm_allocator();
    // Without the key threads hold no nodes: every free goes to a list.
    if (pthread_key_create(&g_heldKey, shm_allocator::giveBackHeld) == 0) {
        g_processAllocator.store(allocator, std::memory_order_release);
    }
    atexit(backendMallocUninit);
    return allocator;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Nodes and arenas.

namespace {

const uint16_t kSizeBits = 0x1FFF;
const unsigned int kShardShift = 13;
const uint16_t kInUseBit = 0x8000;

// Neighbouring nodes often belong to different threads, and their bookkeeping words are written
// on every allocate and free: the words are spread over the tables so that no two nodes within
// 512 bytes of each other share a cache line of them (two threads at once ran at a quarter of
// their speed without this).
size_t spread(uint16_t index)
{
    static_assert(kBackendRegionSize / 8 % 64 == 0, "the spread is a permutation of the indexes");
    const size_t stride = kBackendRegionSize / 8 / 64;
    return (index % 64) * stride + index / 64;
}

uint16_t nodeState(size_t nodeSize, unsigned int shard, bool inUse)
{
    return static_cast<uint16_t>(nodeSize / 8 | shard << kShardShift | (inUse ? kInUseBit : 0));
}

unsigned int shardOf(uint16_t state)
{
    return (state >> kShardShift) & (shm_allocator::kShards - 1);
}

// The caller's bytes and the end mark of a node; the header stays readable.
void poisonNode(shm_allocator::node_tag* node)
{
#ifdef HBBTV_POISON_FREE_NODES
    ASAN_POISON_MEMORY_REGION(reinterpret_cast<unsigned char*>(node) + shm_allocator::node_tag::headerSize(),
                              node->dataSize);
#else
    (void)node;
#endif
}

void unpoisonNode(shm_allocator::node_tag* node)
{
#ifdef HBBTV_POISON_FREE_NODES
    ASAN_UNPOISON_MEMORY_REGION(reinterpret_cast<unsigned char*>(node) + shm_allocator::node_tag::headerSize(),
                                node->dataSize);
#else
    (void)node;
#endif
}

} // namespace

// Constant-initialised, so that reaching it costs no guard. A thread that holds nodes is
// registered under g_heldKey, whose destructor gives the nodes back when the thread ends.
struct shm_allocator::ThreadNodes {
    // Threads take shards in turn, so that two threads started one after the other never share
    // one; a thread keeps its shard for life, so its own frees come back to it in order.
    unsigned int shard()
    {
        if (shardPlusOne == 0) {
            static std::atomic<unsigned int> next(0);
            shardPlusOne = next.fetch_add(1, std::memory_order_relaxed) % kShards + 1;
        }
        return shardPlusOne - 1;
    }

    unsigned int shardPlusOne; // 0 until the thread first allocates
    shm_allocator* owner;      // the allocator whose nodes the thread holds, once it holds any
    bool ended;                // the thread has ended: frees from later exit handlers are listed
    bool refused;              // kHoldingThreads other threads held nodes when this one asked
    uint32_t heldBytes;
    // By node size / 8: the held node's index + 1, or 0.
    uint16_t held[kMaxHeldNode / 8 + 1];
};

uint16_t* shm_allocator::node_tag::getEndMark()
{
    return reinterpret_cast<uint16_t*>(reinterpret_cast<unsigned char*>(this) + headerSize() + dataSize - 2);
}

void shm_allocator::node_tag::init(unsigned short nodeSize)
{
    headMark = kMark;
    dataSize = static_cast<uint16_t>(nodeSize - headerSize());
    reserved = 0;
    *getEndMark() = kMark;
}

// The allocator reads the end mark of free nodes too, whose bytes are poisoned for everyone else.
__attribute__((no_sanitize_address)) bool shm_allocator::node_tag::isPolluted()
{
    return headMark != kMark || *getEndMark() != headMark;
}

shm_allocator::arena::arena(shm_allocator& owner, size_t nodeSize) : m_made(0), m_owner(owner), m_nodeSize(nodeSize)
{
}

// Takes the oldest free node of the shard, in use from now on and kept by the taker's shard;
// null if the shard has none.
shm_allocator::node_tag* shm_allocator::arena::takeFree(unsigned int shard, unsigned int taker)
{
    Locker<ShardLock> lock(m_owner.m_shards[shard].mutex);
    FreeList& list = m_free[shard];
    const uint16_t index = list.head.load(std::memory_order_relaxed);
    if (index == kNoNode) {
        return nullptr;
    }
    node_tag* const node = m_owner.nodeAt(index);
    const uint16_t next = m_owner.m_nextFree[spread(index)];
    list.head.store(next, std::memory_order_relaxed);
    if (next == kNoNode) {
        list.tail = kNoNode;
    }
    m_owner.stateOf(node).store(nodeState(m_nodeSize, taker, true), std::memory_order_release);
    return node;
}

void shm_allocator::arena::keepFree(unsigned int shard, uint16_t index)
{
    Locker<ShardLock> lock(m_owner.m_shards[shard].mutex);
    appendFree(shard, index);
}

void shm_allocator::arena::appendFree(unsigned int shard, uint16_t index)
{
    FreeList& list = m_free[shard];
    m_owner.m_nextFree[spread(index)] = kNoNode;
    if (list.tail == kNoNode) {
        list.head.store(index, std::memory_order_relaxed);
    } else {
        m_owner.m_nextFree[spread(list.tail)] = index;
    }
    list.tail = index;
}

shm_allocator::node_tag* shm_allocator::arena::takeHeld(ThreadNodes& mine, unsigned int home)
{
    if (m_nodeSize > kMaxHeldNode || mine.owner != &m_owner) {
        return nullptr;
    }
    uint16_t& held = mine.held[m_nodeSize / 8];
    if (held == 0 || m_free[home].head.load(std::memory_order_relaxed) != kNoNode) {
        return nullptr;
    }
    node_tag* const node = m_owner.nodeAt(static_cast<uint16_t>(held - 1));
    held = 0;
    mine.heldBytes -= static_cast<uint32_t>(m_nodeSize);
    m_owner.stateOf(node).store(nodeState(m_nodeSize, home, true), std::memory_order_release);
    return node;
}

bool shm_allocator::arena::mayHold(ThreadNodes& mine)
{
    if (m_nodeSize > kMaxHeldNode) {
        return false;
    }
    // Only while half the region is still uncut, so that held nodes can never be what exhausts it;
    // past that, what the thread holds goes back to the lists, where every thread finds it.
    if (m_owner.m_used.load(std::memory_order_relaxed) >= m_owner.m_capacity / 2) {
        if (mine.heldBytes != 0 && mine.owner == &m_owner) {
            m_owner.listHeld(mine);
        }
        return false;
    }
    if (mine.owner != &m_owner && !m_owner.startHolding(mine)) {
        return false;
    }
    return mine.held[m_nodeSize / 8] != 0 || mine.heldBytes + m_nodeSize <= kHeldBytes;
}

void shm_allocator::arena::hold(ThreadNodes& mine, node_tag* node, std::atomic<uint16_t>& state)
{
    const unsigned int home = mine.shard();
    uint16_t& held = mine.held[m_nodeSize / 8];
    // The node held until now was freed earlier: it joins the shard's list ahead of this one.
    if (held != 0) {
        keepFree(home, static_cast<uint16_t>(held - 1));
    } else {
        mine.heldBytes += static_cast<uint32_t>(m_nodeSize);
    }
    state.store(nodeState(m_nodeSize, home, false), std::memory_order_release);
    poisonNode(node);
    held = static_cast<uint16_t>(m_owner.indexOf(node) + 1);
}

// A free node anywhere is reused before the region grows: the taker's shard first, then the
// others. Kept out of line, so that taking a held node stays short.
__attribute__((noinline)) shm_allocator::node_tag* shm_allocator::arena::takeListedOrFresh(unsigned int home,
                                                                                          bool& fresh,
                                                                                          bool exhaustionIsFatal)
{
    for (unsigned int i = 0; i < kShards; ++i) {
        node_tag* const node = takeFree((home + i) % kShards, home);
        if (node != nullptr) {
            fresh = false;
            return node;
        }
    }
    node_tag* const node = static_cast<node_tag*>(exhaustionIsFatal ? m_owner._allocate(m_nodeSize)
                                                                     : m_owner._allocateOrNull(m_nodeSize));
    if (node == nullptr) {
        return nullptr;
    }
    node->init(static_cast<unsigned short>(m_nodeSize));
    m_made.fetch_add(1, std::memory_order_relaxed);
    {
        Locker<ShardLock> lock(m_owner.m_shards[home].mutex);
        m_owner.stateOf(node).store(nodeState(m_nodeSize, home, true), std::memory_order_release);
    }
    fresh = true;
    return node;
}

inline __attribute__((always_inline)) shm_allocator::node_tag* shm_allocator::arena::allocate(size_t nodeSize,
                                                                                                bool exhaustionIsFatal)
{
    // Named as the allocation path has always been named in its assertion lines.
    static const char function[] = "ZR_HBBTV_Core::shm_allocator::node_tag* ZR_HBBTV_Core::shm_allocator::arena::allocate(size_t)";
    if (nodeSize % 8 != 0 || nodeSize != m_nodeSize) {
        HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, function, 64);
    }
    ThreadNodes& mine = threadNodes();
    const unsigned int home = mine.shard();
    bool fresh = false;
    node_tag* node = takeHeld(mine, home);
    if (node == nullptr) {
        node = takeListedOrFresh(home, fresh, exhaustionIsFatal);
        if (node == nullptr) {
            return nullptr;
        }
    }
    // A reused node's header and end mark are reused as they stand; the caller's bytes are not
    // cleared.
    if (node->isPolluted()) {
        HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, function, fresh ? 81 : 71);
    }
    unpoisonNode(node);
    return node;
}

// Puts a node on the free list of the shard that keeps it; false if it was not in use.
__attribute__((noinline)) bool shm_allocator::arena::listFree(node_tag* node)
{
    std::atomic<uint16_t>& state = m_owner.stateOf(node);
    for (;;) {
        const uint16_t seen = state.load(std::memory_order_acquire);
        const unsigned int shard = shardOf(seen);
        Locker<ShardLock> lock(m_owner.m_shards[shard].mutex);
        if (state.load(std::memory_order_acquire) != seen) {
            continue; // handed to another shard meanwhile
        }
        if ((seen & kInUseBit) == 0 || (seen & kSizeBits) != m_nodeSize / 8) {
            return false;
        }
        state.store(nodeState(m_nodeSize, shard, false), std::memory_order_release);
        poisonNode(node);
        appendFree(shard, m_owner.indexOf(node));
        return true;
    }
}

inline __attribute__((always_inline)) void shm_allocator::arena::free(node_tag* node)
{
    // Not in use by this process's own word: freed already, never handed out, or of another size
    // than its header now says. Only the heap decides, so that no write into the region can make
    // one node free twice.
    ThreadNodes& mine = threadNodes();
    if (mayHold(mine)) {
        std::atomic<uint16_t>& state = m_owner.stateOf(node);
        const uint16_t seen = state.load(std::memory_order_acquire);
        if ((seen & kInUseBit) == 0 || (seen & kSizeBits) != m_nodeSize / 8) {
            HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 93);
        }
        hold(mine, node, state);
    } else if (!listFree(node)) {
        HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 93);
    }
}

void shm_allocator::arena::dumpInfo()
{
    // The marks of free nodes are read as a consistency pass; the results are deliberately not
    // reported.
    for (unsigned int shard = 0; shard < kShards; ++shard) {
        Locker<ShardLock> lock(m_owner.m_shards[shard].mutex);
        for (uint16_t index = m_free[shard].head.load(std::memory_order_relaxed); index != kNoNode;
             index = m_owner.m_nextFree[spread(index)]) {
            (void)m_owner.nodeAt(index)->isPolluted();
        }
    }
    // Counted from the heap's words, so that the nodes threads hold count as free.
    size_t freeNodes = 0;
    const size_t nodes = m_owner.m_used.load(std::memory_order_acquire) / 8;
    for (size_t index = 0; index < nodes; ++index) {
        const uint16_t state = m_owner.m_nodeState[spread(static_cast<uint16_t>(index))].load(std::memory_order_acquire);
        freeNodes += (state & kSizeBits) == m_nodeSize / 8 && (state & kInUseBit) == 0;
    }
    printf("free list:%u\n", static_cast<unsigned>(freeNodes));
    printf("used list:%u\n", static_cast<unsigned>(m_made.load(std::memory_order_relaxed) - freeNodes));
}

// ---------------------------------------------------------------------------------------------
// The allocator.

shm_allocator::shm_allocator()
    : m_arenaBySize(), m_initialized(false), m_capacity(0), m_base(nullptr), m_start(nullptr), m_used(0)
{
    init();
}

shm_allocator::~shm_allocator()
{
    backendMallocUninit();
}

void shm_allocator::init()
{
    Locker<Mutex> lock(m_mutex);
    if (m_initialized.load(std::memory_order_relaxed)) {
        return;
    }
    m_base = backendMallocInit(&m_capacity);
    const uintptr_t base = reinterpret_cast<uintptr_t>(m_base);
    m_start = m_base + (((base + 7) & ~static_cast<uintptr_t>(7)) - base);
    m_capacity -= static_cast<uint32_t>(m_start - m_base);
    // Sized for the whole region, whatever the alignment took off, so that every spread index
    // falls inside.
    m_nodeState.reset(new std::atomic<uint16_t>[kBackendRegionSize / 8]());
    m_nextFree.reset(new uint16_t[kBackendRegionSize / 8]());
    m_initialized.store(true, std::memory_order_release);
}

std::atomic<uint16_t>& shm_allocator::stateOf(const node_tag* node)
{
    return m_nodeState[spread(indexOf(node))];
}

void shm_allocator::ShardLock::lockContended()
{
    unsigned int waits = 0;
    do {
        while (m_held.load(std::memory_order_relaxed)) {
            if (waits < 100) {
#if defined(__x86_64__) || defined(__i386__)
                __builtin_ia32_pause();
#elif defined(__arm__) || defined(__aarch64__)
                asm volatile("yield");
#endif
            } else if (waits < 200) {
                sched_yield();
            } else {
                const struct timespec pause = {0, 50000};
                nanosleep(&pause, nullptr);
            }
            ++waits;
        }
    } while (m_held.exchange(true, std::memory_order_acquire));
}

static_assert(kBackendRegionSize / 8 < shm_allocator::kNoNode, "every node of the region has an index");

uint16_t shm_allocator::indexOf(const node_tag* node) const
{
    return static_cast<uint16_t>(static_cast<size_t>(reinterpret_cast<const unsigned char*>(node) - m_start) / 8);
}

shm_allocator::node_tag* shm_allocator::nodeAt(uint16_t index) const
{
    return reinterpret_cast<node_tag*>(m_start + static_cast<size_t>(index) * 8);
}

shm_allocator::ThreadNodes& shm_allocator::threadNodes()
{
    thread_local ThreadNodes nodes = {};
    return nodes;
}

__attribute__((noinline)) bool shm_allocator::startHolding(ThreadNodes& mine)
{
    if (mine.ended || mine.refused || mine.owner != nullptr ||
        this != g_processAllocator.load(std::memory_order_acquire)) {
        return false;
    }
    if (g_holdingThreads.fetch_add(1, std::memory_order_relaxed) >= kHoldingThreads) {
        g_holdingThreads.fetch_sub(1, std::memory_order_relaxed);
        mine.refused = true;
        return false;
    }
    if (pthread_setspecific(g_heldKey, &mine) != 0) {
        g_holdingThreads.fetch_sub(1, std::memory_order_relaxed);
        mine.refused = true;
        return false;
    }
    mine.owner = this;
    return true;
}

__attribute__((noinline)) void shm_allocator::listHeld(ThreadNodes& mine)
{
    for (size_t size = 8; size <= kMaxHeldNode; size += 8) {
        if (mine.held[size / 8] != 0) {
            m_arenaBySize[size / 8].load(std::memory_order_acquire)->keepFree(
                mine.shard(), static_cast<uint16_t>(mine.held[size / 8] - 1));
            mine.held[size / 8] = 0;
        }
    }
    mine.heldBytes = 0;
}

void shm_allocator::giveBackHeld(void* threadNodes)
{
    ThreadNodes& mine = *static_cast<ThreadNodes*>(threadNodes);
    shm_allocator* const owner = mine.owner;
    mine.owner = nullptr;
    mine.ended = true;
    if (owner != nullptr) {
        owner->listHeld(mine);
        g_holdingThreads.fetch_sub(1, std::memory_order_relaxed);
    }
}

size_t shm_allocator::nodeSizeFor(size_t n)
{
    const size_t m = n == 0 ? 1 : n;
    return (m + 8 + 9) & ~static_cast<size_t>(7);
}

size_t shm_allocator::highWater() const
{
    return m_used.load(std::memory_order_relaxed);
}

void* shm_allocator::allocate(size_t n)
{
    return allocateNode(n, true);
}

void* shm_allocator::allocateOrNull(size_t n)
{
    return allocateNode(n, false);
}

inline __attribute__((always_inline)) void* shm_allocator::allocateNode(size_t n, bool exhaustionIsFatal)
{
    if (n > kMaxRequest) {
        printf("[HbbtvBackendGlue.MemoryPool]: refused a request of %lu bytes, more than a node holds\n",
               static_cast<unsigned long>(n));
        return nullptr;
    }
    if (!m_initialized.load(std::memory_order_acquire)) {
        return nullptr;
    }
    const size_t nodeSize = nodeSizeFor(n);
    arena* sized = m_arenaBySize[nodeSize / 8].load(std::memory_order_acquire);
    if (sized == nullptr) {
        Locker<Mutex> lock(m_mutex);
        sized = m_arenaBySize[nodeSize / 8].load(std::memory_order_relaxed);
        if (sized == nullptr) {
            const unsigned short key = static_cast<unsigned short>(nodeSize);
            sized = &m_arenas
                         .emplace(std::piecewise_construct, std::forward_as_tuple(key),
                                  std::forward_as_tuple(*this, nodeSize))
                         .first->second;
            m_arenaBySize[nodeSize / 8].store(sized, std::memory_order_release);
        }
    }
    node_tag* const node = sized->allocate(nodeSize, exhaustionIsFatal);
    return node != nullptr ? reinterpret_cast<unsigned char*>(node) + node_tag::headerSize() : nullptr;
}

bool shm_allocator::contains(const void* p) const
{
    const unsigned char* const bytes = static_cast<const unsigned char*>(p);
    return m_initialized.load(std::memory_order_acquire) && bytes >= m_start && bytes < m_start + m_capacity;
}

void shm_allocator::free(void* p)
{
    if (p == nullptr || !m_initialized.load(std::memory_order_acquire)) {
        return;
    }
    unsigned char* const bytes = static_cast<unsigned char*>(p);
    node_tag* const node = reinterpret_cast<node_tag*>(bytes - node_tag::headerSize());
    // A pointer that never came from allocate() is refused before its marks are read, so that
    // the check itself stays inside the allocated part of the region.
    unsigned char* const cursor = m_start + m_used.load(std::memory_order_acquire);
    const bool inRegion = bytes >= m_start + node_tag::headerSize() && bytes < cursor &&
                          (bytes - m_start) % 8 == 0 && node->dataSize >= 2 &&
                          static_cast<size_t>(cursor - bytes) >= node->dataSize;
    if (!inRegion || node->isPolluted()) {
        HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 173);
    }
    // The size comes from the region, where anything may have been written: it is bounded before
    // it indexes the table.
    const size_t nodeSize = node->dataSize + node_tag::headerSize();
    arena* const sized =
        nodeSize % 8 == 0 && nodeSize <= kMaxNodeSize ? m_arenaBySize[nodeSize / 8].load(std::memory_order_acquire)
                                                      : nullptr;
    if (sized == nullptr) {
        HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 177);
    }
    sized->free(node);
}

void* shm_allocator::_allocate(size_t nodeSize)
{
    if (!m_initialized.load(std::memory_order_acquire)) {
        HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 185);
    }
    void* const node = _allocateOrNull(nodeSize);
    // Exhaustion is fatal on this path: there is no null return.
    if (node == nullptr) {
        HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 186);
    }
    return node;
}

void* shm_allocator::_allocateOrNull(size_t nodeSize)
{
    uint32_t used = m_used.load(std::memory_order_relaxed);
    do {
        if (nodeSize > m_capacity - used) {
            return nullptr;
        }
    } while (!m_used.compare_exchange_weak(used, static_cast<uint32_t>(used + nodeSize), std::memory_order_acq_rel,
                                           std::memory_order_relaxed));
    return m_start + used;
}

void shm_allocator::dumpInfo()
{
    Locker<Mutex> lock(m_mutex);
    printf("capacity:%u, left:%u\n", m_capacity + static_cast<unsigned>(m_start - m_base),
           static_cast<unsigned>(m_capacity - m_used.load(std::memory_order_relaxed)));
    for (std::pair<const unsigned short, arena>& entry : m_arenas) {
        printf("\tnode size:%u\n", static_cast<unsigned>(entry.first));
        entry.second.dumpInfo();
    }
}

shm_allocator* getBackendMemAllocator()
{
    static shm_allocator* const allocator = createProcessAllocator();
    return allocator;
}

} // namespace ZR_HBBTV_Core
