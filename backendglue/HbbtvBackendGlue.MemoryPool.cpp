#include "HbbtvBackendGlue.MemoryPool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <tuple>
#include <utility>

namespace ZR_HBBTV_Core {

namespace {

const char kSourceFile[] = "./backendglue/HbbtvBackendGlue.MemoryPool.cpp";

std::string regionNameWithSuffix(const char* name)
{
    const char* suffix = getenv("HBBTV_SHM_SUFFIX");
    return suffix != nullptr ? std::string(name) + suffix : std::string(name);
}

// Maps a shared object so that every byte of it has a 32-bit address: records carry addresses
// in 32-bit words. Returns MAP_FAILED when that cannot be had.
void* mapShared(int fd, size_t size)
{
    int flags = MAP_SHARED;
    void* hint = nullptr;
#if defined(__x86_64__)
    flags |= MAP_32BIT;
#elif UINTPTR_MAX > 0xFFFFFFFFu
    hint = reinterpret_cast<void*>(static_cast<uintptr_t>(0x40000000));
#endif
    void* p = mmap(hint, size, PROT_READ | PROT_WRITE, flags, fd, 0);
    if (p != MAP_FAILED && reinterpret_cast<uintptr_t>(p) + (size - 1) > UINT32_MAX) {
        munmap(p, size);
        return MAP_FAILED;
    }
    return p;
}

unsigned char* g_backendRegion = nullptr; // set under the allocator's mutex (see init)

template <typename T>
struct AuxPool {
    // Published once, after the mapping is complete; the first callers map under the lock, so
    // that two of them at once map the region only once.
    static std::atomic<T*> pool;
    static std::atomic<int32_t> unalignedOffset;
    static Mutex mapping;
};
template <typename T>
std::atomic<T*> AuxPool<T>::pool(nullptr);
template <typename T>
std::atomic<int32_t> AuxPool<T>::unalignedOffset(0);
template <typename T>
Mutex AuxPool<T>::mapping;

shm_allocator* createProcessAllocator()
{
    // Never destroyed: host threads and the service agent may still allocate while the process
    // runs its exit handlers. Only the region's name goes at exit, as the destructor would do.
    shm_allocator* allocator = new shm_allocator();
    atexit(backendMallocUninit);
    return allocator;
}

} // namespace

const char* backendRegionName()
{
    static const std::string name = regionNameWithSuffix("/hbbtv");
    return name.c_str();
}

const char* channelListRegionName()
{
    static const std::string name = regionNameWithSuffix("/hbbtvChannelList");
    return name.c_str();
}

// ---------------------------------------------------------------------------------------------
// Nodes and arenas.

uint16_t* shm_allocator::node_tag::getEndMark()
{
    return reinterpret_cast<uint16_t*>(reinterpret_cast<unsigned char*>(this) + headerSize() + dataSize - 2);
}

void shm_allocator::node_tag::init(unsigned short nodeSize)
{
    headMark = kMark;
    dataSize = static_cast<uint16_t>(nodeSize - headerSize());
    *getEndMark() = kMark;
}

bool shm_allocator::node_tag::isPolluted()
{
    return headMark != kMark || *getEndMark() != headMark;
}

shm_allocator::arena::arena(shm_allocator& owner) : m_owner(owner)
{
}

shm_allocator::node_tag* shm_allocator::arena::allocate(size_t nodeSize)
{
    if (nodeSize % 8 != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 64);
    }
    node_tag* node;
    if (!m_freeList.empty()) {
        node = m_freeList.front();
        m_freeList.pop_front();
        if (node->isPolluted()) {
            HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 71);
        }
    } else {
        node = static_cast<node_tag*>(m_owner._allocate(nodeSize));
        node->init(static_cast<unsigned short>(nodeSize));
        if (node->isPolluted()) {
            HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 81);
        }
    }
    m_usedList.push_back(node);
    return node;
}

void shm_allocator::arena::free(node_tag* node)
{
    // A node is in the used list at most once; the latest allocations sit at the back, which is
    // where frees usually find them.
    if (!m_usedList.empty() && m_usedList.back() == node) {
        m_usedList.pop_back();
    } else {
        const std::deque<node_tag*>::reverse_iterator used = std::find(m_usedList.rbegin(), m_usedList.rend(), node);
        if (used == m_usedList.rend()) {
            HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 93);
        }
        m_usedList.erase(std::next(used).base());
    }
    if (std::find(m_freeList.begin(), m_freeList.end(), node) != m_freeList.end()) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 100);
    }
    m_freeList.push_back(node);
}

void shm_allocator::arena::dumpInfo()
{
    // The marks are read as a consistency pass; the results are deliberately not reported.
    printf("free list:%u\n", static_cast<unsigned>(m_freeList.size()));
    for (node_tag* node : m_freeList) {
        (void)node->isPolluted();
    }
    printf("used list:%u\n", static_cast<unsigned>(m_usedList.size()));
    for (node_tag* node : m_usedList) {
        (void)node->isPolluted();
    }
}

// ---------------------------------------------------------------------------------------------
// The allocator.

shm_allocator::shm_allocator()
    : m_arenaBySize(), m_initialized(false), m_capacity(0), m_base(nullptr), m_cursor(nullptr)
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
    if (m_initialized) {
        return;
    }
    m_base = backendMallocInit(&m_capacity);
    const uintptr_t base = reinterpret_cast<uintptr_t>(m_base);
    m_cursor = m_base + (((base + 7) & ~static_cast<uintptr_t>(7)) - base);
    m_initialized = true;
}

size_t shm_allocator::nodeSizeFor(size_t n)
{
    const size_t m = n == 0 ? 1 : n;
    return (m + 8 + 9) & ~static_cast<size_t>(7);
}

void* shm_allocator::allocate(size_t n)
{
    if (n > kMaxRequest) {
        printf("[HbbtvBackendGlue.MemoryPool]: refused a request of %lu bytes, more than a node holds\n",
               static_cast<unsigned long>(n));
        return nullptr;
    }
    Locker<Mutex> lock(m_mutex);
    if (!m_initialized) {
        return nullptr;
    }
    const size_t nodeSize = nodeSizeFor(n);
    arena* sized = m_arenaBySize[nodeSize / 8];
    if (sized == nullptr) {
        const unsigned short key = static_cast<unsigned short>(nodeSize);
        sized = &m_arenas.emplace(std::piecewise_construct, std::forward_as_tuple(key), std::forward_as_tuple(*this))
                     .first->second;
        m_arenaBySize[nodeSize / 8] = sized;
    }
    return reinterpret_cast<unsigned char*>(sized->allocate(nodeSize)) + node_tag::headerSize();
}

void shm_allocator::free(void* p)
{
    Locker<Mutex> lock(m_mutex);
    if (p == nullptr || !m_initialized) {
        return;
    }
    unsigned char* const bytes = static_cast<unsigned char*>(p);
    node_tag* const node = reinterpret_cast<node_tag*>(bytes - node_tag::headerSize());
    // A pointer that never came from allocate() is refused before its marks are read, so that
    // the check itself stays inside the allocated part of the region.
    const bool inRegion = bytes >= m_base + node_tag::headerSize() && bytes < m_cursor &&
                          (bytes - m_base) % 8 == 0 && node->dataSize >= 2 &&
                          static_cast<size_t>(m_cursor - bytes) >= node->dataSize;
    if (!inRegion || node->isPolluted()) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 173);
    }
    const size_t nodeSize = node->dataSize + node_tag::headerSize();
    arena* const sized = nodeSize % 8 == 0 ? m_arenaBySize[nodeSize / 8] : nullptr;
    if (sized == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 177);
    }
    sized->free(node);
}

void* shm_allocator::_allocate(size_t nodeSize)
{
    if (!m_initialized) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 185);
    }
    // Exhaustion is fatal by design: there is no null return on this path.
    if (nodeSize > static_cast<size_t>(m_base + m_capacity - m_cursor)) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 186);
    }
    unsigned char* const node = m_cursor;
    m_cursor += nodeSize;
    return node;
}

void shm_allocator::dumpInfo()
{
    Locker<Mutex> lock(m_mutex);
    printf("capacity:%u, left:%u\n", m_capacity, static_cast<unsigned>(m_base + m_capacity - m_cursor));
    for (std::pair<const unsigned short, arena>& entry : m_arenas) {
        printf("\tnode size:%u\n", static_cast<unsigned>(entry.first));
        entry.second.dumpInfo();
    }
}

// ---------------------------------------------------------------------------------------------
// Regions.

unsigned char* backendMallocInit(unsigned int* size)
{
    if (g_backendRegion == nullptr) {
        const int fd = shm_open(backendRegionName(), O_RDWR | O_CREAT, 0600);
        if (fd < 0) {
            puts("error open region");
            HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 254);
        }
        const int truncated = ftruncate(fd, kBackendRegionSize);
        (void)truncated; // an object another process already sized keeps its size
        void* const region = mapShared(fd, kBackendRegionSize);
        if (region == MAP_FAILED) {
            puts("error map");
            HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 262);
        }
        close(fd);
        g_backendRegion = static_cast<unsigned char*>(region);
    }
    if (size != nullptr) {
        *size = kBackendRegionSize;
    }
    return g_backendRegion;
}

void backendMallocUninit()
{
    shm_unlink(backendRegionName());
}

shm_allocator* getBackendMemAllocator()
{
    static shm_allocator* const allocator = createProcessAllocator();
    return allocator;
}

void* hbbtvBackendMalloc(unsigned int n)
{
    return getBackendMemAllocator()->allocate(n);
}

void hbbtvBackendMfree(void* p)
{
    getBackendMemAllocator()->free(p);
}

template <typename T>
T* mapAuxMemoryPool();

template <typename T>
T* hbbtvBackendAuxMemoryPool()
{
    T* pool = AuxPool<T>::pool.load(std::memory_order_acquire);
    if (pool == nullptr) {
        pool = mapAuxMemoryPool<T>();
    }
    if (pool == nullptr) {
        return nullptr;
    }
    // Rewritten on every call; an atomic store, since callers may race here by design.
    const uint32_t areaSize =
        T::kAreaSize - static_cast<uint32_t>(AuxPool<T>::unalignedOffset.load(std::memory_order_relaxed));
    __atomic_store_n(&pool->areaSize, areaSize, __ATOMIC_RELAXED);
    return pool;
}

template <typename T>
T* mapAuxMemoryPool()
{
    Locker<Mutex> lock(AuxPool<T>::mapping);
    T* pool = AuxPool<T>::pool.load(std::memory_order_relaxed);
    if (pool == nullptr) {
        const int fd = shm_open(channelListRegionName(), O_RDWR | O_CREAT, 0600);
        if (fd < 0) {
            printf("error open region:%s\n", channelListRegionName());
            return nullptr;
        }
        const int truncated = ftruncate(fd, kChannelListRegionSize);
        (void)truncated;
        void* const region = mapShared(fd, kChannelListRegionSize);
        close(fd);
        if (region == MAP_FAILED) {
            puts("[HbbtvBackendGlue.MemoryPool]: error map");
            return nullptr;
        }
        const uintptr_t address = reinterpret_cast<uintptr_t>(region);
        const uintptr_t aligned = (address + 7) & ~static_cast<uintptr_t>(7);
        if (aligned != address) {
            AuxPool<T>::unalignedOffset.store(static_cast<int32_t>(aligned - address), std::memory_order_relaxed);
        }
        if (AuxPool<T>::unalignedOffset.load(std::memory_order_relaxed) < 0) {
            HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 319);
        }
        pool = reinterpret_cast<T*>(aligned);
        AuxPool<T>::pool.store(pool, std::memory_order_release);
    }
    return pool;
}

template HbbtvChannelListPool* hbbtvBackendAuxMemoryPool<HbbtvChannelListPool>();
template HbbtvSchedulingRecordingCollectionPool* hbbtvBackendAuxMemoryPool<HbbtvSchedulingRecordingCollectionPool>();

HbbtvChannelListPool* hbbtvBackendChannelListPool()
{
    return hbbtvBackendAuxMemoryPool<HbbtvChannelListPool>();
}

HbbtvSchedulingRecordingCollectionPool* hbbtvBackendSchedulingRecordingCollectionPool()
{
    return hbbtvBackendAuxMemoryPool<HbbtvSchedulingRecordingCollectionPool>();
}

} // namespace ZR_HBBTV_Core
