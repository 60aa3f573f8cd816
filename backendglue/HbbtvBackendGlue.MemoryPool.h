// The shared-memory regions and the allocator over the main one.
//
// "/hbbtv" (409,600 bytes) holds every record the host reads, handed out by a segregated-fit
// allocator: nodes of one exact size per arena, a bump cursor for fresh memory, freed nodes kept
// for reuse in FIFO order, nothing split, merged or given back. Each node carries a head mark,
// its size and an end mark in the region, so that an overrun or a stray pointer is caught when
// the node comes back. The bookkeeping lives in this process's heap: per node a word with its
// size, whether it is in use and which shard keeps it, and a link to the next free node, so that
// free checks a node in constant time and no write into the region can make the allocator hand a
// node out twice.
//
// Binder threads allocate and free at the same moments, so the free lists are split into a few
// shards, each with its own lock; threads take shards in turn, so that threads running in
// parallel rarely meet on one lock. A thread takes free nodes from its own shard first, then
// from the others, and only then fresh memory, so the region grows no further than with one list.
//
// A request allocates and frees the same records over and over on one thread, so the process's
// allocator holds the node a thread freed last, one per node size, for that thread alone: taking
// it back needs no lock. The held node is the newest free node of its size, so the thread takes
// it only when its shard has no older one; a second free of the size moves the held node to the
// shard's list first. That keeps each thread's reuse first-in first-out. At most kHoldingThreads
// threads hold nodes, each at most kHeldBytes in nodes of at most kMaxHeldNode bytes, so held
// nodes never take more than 64 KB of the region. None are held once half the region is cut
// into nodes: from then on a thread gives back what it holds at its next allocate or free, and
// its held nodes go to its shard when it ends.
//
// In AddressSanitizer builds a free node's bytes are poisoned, so that any read or write of a
// freed record is reported where it happens.
//
// "/hbbtvChannelList" (1,048,576 bytes) is mapped whole, once per pool kind, as one record.
//
// HBBTV_SHM_SUFFIX, when set, is appended to both names so that development processes on one
// machine never share a region; unset, the names are exactly as above.
#ifndef HBBTV_BACKENDGLUE_MEMORYPOOL_H
#define HBBTV_BACKENDGLUE_MEMORYPOOL_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>

#include "HbbtvBackendGlue.Util.h"
#include "HbbtvChannelListPool.h"

namespace ZR_HBBTV_Core {

const unsigned int kBackendRegionSize = 409600;
const unsigned int kChannelListRegionSize = 0x100000;

class shm_allocator {
public:
    // The header of a node in the region; the caller's bytes follow it, the end mark closes it.
    struct node_tag {
        static const uint16_t kMark = 0x5A5A;

        uint16_t headMark;
        uint16_t dataSize; // node size less the header: the caller's bytes and the end mark
        // Zero. Whether a node is in use is kept in the heap, where no write into the region can
        // change it; written here on every allocate and free, it would also make the neighbouring
        // nodes of two threads share a written cache line.
        uint32_t reserved;

        static size_t headerSize() { return 8; }
        uint16_t* getEndMark();
        void init(unsigned short nodeSize);
        bool isPolluted();
    };

    static const unsigned int kShards = 4;
    static const size_t kMaxHeldNode = 12288;
    static const uint32_t kHeldBytes = 16384;
    static const unsigned int kHoldingThreads = 4;
    // Nodes are named by their offset / 8 in the heap's bookkeeping; this names none.
    static const uint16_t kNoNode = 0xFFFF;

    // The calling thread's shard and the nodes the process's allocator holds for it.
    struct ThreadNodes;

    // The nodes of one node size.
    class arena {
    public:
        arena(shm_allocator& owner, size_t nodeSize);

        // Null only when the region is exhausted and exhaustion is not fatal.
        node_tag* allocate(size_t nodeSize, bool exhaustionIsFatal);
        void free(node_tag* node);
        void dumpInfo();

    private:
        friend class shm_allocator; // gives a thread's held nodes back to the lists

        // One shard's free nodes of this size, oldest first, linked through the allocator's
        // next-free words; guarded by the shard's lock. The analysis cannot name a lock picked by
        // an index, so the functions that run under it say so instead (appendFree).
        struct alignas(64) FreeList {
            // Also read without the lock, to see whether the shard has any.
            std::atomic<uint16_t> head{kNoNode};
            uint16_t tail = kNoNode;
        };

        node_tag* takeFree(unsigned int shard, unsigned int taker);
        // Appends a free node to the shard's list: keepFree takes the shard's lock, appendFree
        // runs under it.
        void keepFree(unsigned int shard, uint16_t index);
        void appendFree(unsigned int shard, uint16_t index) HBBTV_REQUIRES(m_owner.m_shards[shard].mutex);
        node_tag* takeListedOrFresh(unsigned int home, bool& fresh, bool exhaustionIsFatal);
        bool listFree(node_tag* node);
        // The node the thread holds of this size, in use from now on; null when it holds none or
        // its shard has older free nodes of the size.
        node_tag* takeHeld(ThreadNodes& mine, unsigned int home);
        // Whether the thread may hold the node it frees now rather than list it.
        bool mayHold(ThreadNodes& mine);
        // Holds a node the thread frees, in place of the one it held of the size.
        void hold(ThreadNodes& mine, node_tag* node, std::atomic<uint16_t>& state);

        FreeList m_free[kShards];
        std::atomic<uint32_t> m_made; // nodes of this size cut from the region
        shm_allocator& m_owner;
        const size_t m_nodeSize;
    };

    // The largest request whose node size still fits the 16-bit header.
    static const size_t kMaxRequest = 65518;
    static const size_t kMaxNodeSize = 65528;

    shm_allocator();
    ~shm_allocator();
    shm_allocator(const shm_allocator&) = delete;
    shm_allocator& operator=(const shm_allocator&) = delete;

    void init() HBBTV_EXCLUDES(m_mutex);
    // A block of at least n bytes (at least 1), 8-aligned, or null when not initialised or when
    // the request exceeds kMaxRequest.
    void* allocate(size_t n);
    // As allocate, but null when the region is exhausted rather than fatal.
    void* allocateOrNull(size_t n);
    void free(void* p);
    void* _allocate(size_t nodeSize);
    // Fresh memory from the bump cursor, or null when the region has no room for the node.
    void* _allocateOrNull(size_t nodeSize);
    // Whether p points into the region's nodes.
    bool contains(const void* p) const;
    void dumpInfo() HBBTV_EXCLUDES(m_mutex);

    // Bytes of the region cut into nodes so far: the most the region has ever held at once, since
    // nothing goes back to the bump cursor.
    size_t highWater() const;

    static size_t nodeSizeFor(size_t n);

private:
    // A shard's lock guards a few dozen instructions, so it is taken with one exchange and given
    // back with one store (a mutex costs two atomic operations each way, and the allocator takes a
    // lock for every allocate and every free). A waiter spins briefly, then yields, then sleeps, so
    // that a holder preempted inside, or running at a lower priority on the same core, always gets
    // to finish.
    class HBBTV_CAPABILITY("mutex") ShardLock {
    public:
        void lock() HBBTV_ACQUIRE()
        {
            if (m_held.exchange(true, std::memory_order_acquire)) {
                lockContended();
            }
        }
        void unlock() HBBTV_RELEASE() { m_held.store(false, std::memory_order_release); }

    private:
        void lockContended();
        std::atomic<bool> m_held{false};
    };

    struct alignas(64) Shard {
        ShardLock mutex;
    };

    // The heap's word for the node at this offset from the start (one per 8 bytes, spread over
    // the table): node size / 8 in the low 13 bits (0: no node starts here), the keeping shard in
    // the next two, in use in the top bit. Written only under the keeping shard's lock.
    std::atomic<uint16_t>& stateOf(const node_tag* node);
    uint16_t indexOf(const node_tag* node) const;
    node_tag* nodeAt(uint16_t index) const;
    // The calling thread's; only the process's allocator, which outlives every thread, holds
    // nodes for threads.
    static ThreadNodes& threadNodes();
    bool startHolding(ThreadNodes& mine);
    // Lists every node the thread holds on its shard.
    void listHeld(ThreadNodes& mine);
    void* allocateNode(size_t n, bool exhaustionIsFatal);

public:
    // Gives a thread's held nodes back to its shard's lists when the thread ends.
    static void giveBackHeld(void* threadNodes);

private:
    std::map<unsigned short, arena> m_arenas HBBTV_GUARDED_BY(m_mutex);
    // The map's arenas by node size / 8, for a lookup without a lock or a tree walk; the map stays
    // the owner and gives the ascending order of dumpInfo. Entries are set once, under m_mutex.
    std::atomic<arena*> m_arenaBySize[kMaxNodeSize / 8 + 1];
    std::atomic<bool> m_initialized;
    // The region's place and size: written once by init under m_mutex, then read without it once
    // m_initialized is seen set (a publication the analysis cannot follow, so not annotated).
    uint32_t m_capacity;
    unsigned char* m_base;
    unsigned char* m_start;          // the base rounded up to 8: where the first node goes
    std::atomic<uint32_t> m_used;    // the bump cursor, as bytes from m_start
    std::unique_ptr<std::atomic<uint16_t>[]> m_nodeState;
    // Per free node, the next one on its free list (kNoNode at the tail); under the shard's lock.
    std::unique_ptr<uint16_t[]> m_nextFree;
    Mutex m_mutex;                   // init, arena creation, dumpInfo
    Shard m_shards[kShards];
};

// Maps "/hbbtv" once and returns its base; stores its size in *size when size is not null.
unsigned char* backendMallocInit(unsigned int* size);
// Removes the name "/hbbtv"; the mapping stays.
void backendMallocUninit();

shm_allocator* getBackendMemAllocator();
void* hbbtvBackendMalloc(unsigned int n);
void hbbtvBackendMfree(void* p);
// A record for the host: from the region, or, when the region is full, from the heap; such a
// record never reaches the host (its request is refused), and hbbtvBackendRecordFree frees both.
void* hbbtvBackendRecordMalloc(size_t n);
void hbbtvBackendRecordFree(void* p);
// Whether a record came from the region, where the host can be given it.
bool hbbtvBackendInRegion(const void* p);

// Maps "/hbbtvChannelList" once per pool kind; null when it cannot be opened or mapped.
template <typename T>
T* hbbtvBackendAuxMemoryPool();

HbbtvChannelListPool* hbbtvBackendChannelListPool();
HbbtvSchedulingRecordingCollectionPool* hbbtvBackendSchedulingRecordingCollectionPool();

// The names in use by this process, the development suffix included.
const char* backendRegionName();
const char* channelListRegionName();

// The file the pool's assertion lines name, whichever of its files the check sits in.
extern const char kMemoryPoolSourceFile[];
// Maps a shared object so that every byte of it has a 32-bit address: records carry addresses
// in 32-bit words. Returns MAP_FAILED when that cannot be had.
void* mapShared(int fd, size_t size);

} // namespace ZR_HBBTV_Core

#endif
