// The shared-memory regions and the allocator over the main one.
//
// "/hbbtv" (409,600 bytes) holds every record the host reads, handed out by a segregated-fit
// allocator: nodes of one exact size per arena, a bump cursor for fresh memory, freed nodes kept
// for reuse in FIFO order, nothing split, merged or given back. Each node carries a head mark,
// its size and an end mark in the region, so that an overrun or a stray pointer is caught when
// the node comes back. The bookkeeping lives in this process's heap.
//
// "/hbbtvChannelList" (1,048,576 bytes) is mapped whole, once per pool kind, as one record.
//
// HBBTV_SHM_SUFFIX, when set, is appended to both names so that development processes on one
// machine never share a region; unset, the names are exactly as above.
#ifndef HBBTV_BACKENDGLUE_MEMORYPOOL_H
#define HBBTV_BACKENDGLUE_MEMORYPOOL_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>

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
        uint8_t reserved[4];

        static size_t headerSize() { return 8; }
        uint16_t* getEndMark();
        void init(unsigned short nodeSize);
        bool isPolluted();
    };

    // The nodes of one node size.
    class arena {
    public:
        explicit arena(shm_allocator& owner);

        node_tag* allocate(size_t nodeSize);
        void free(node_tag* node);
        void dumpInfo();

    private:
        std::deque<node_tag*> m_freeList;
        std::deque<node_tag*> m_usedList;
        shm_allocator& m_owner;
    };

    // The largest request whose node size still fits the 16-bit header.
    static const size_t kMaxRequest = 65518;

    shm_allocator();
    ~shm_allocator();
    shm_allocator(const shm_allocator&) = delete;
    shm_allocator& operator=(const shm_allocator&) = delete;

    void init();
    // A block of at least n bytes (at least 1), 8-aligned, or null when not initialised or when
    // the request exceeds kMaxRequest.
    void* allocate(size_t n);
    void free(void* p);
    void* _allocate(size_t nodeSize);
    void dumpInfo();

    static size_t nodeSizeFor(size_t n);

private:
    std::map<unsigned short, arena> m_arenas;
    // The map's arenas by node size / 8, for a lookup without a tree walk on every call; the map
    // stays the owner and gives the ascending order of dumpInfo.
    arena* m_arenaBySize[65536 / 8];
    bool m_initialized;
    uint32_t m_capacity;
    unsigned char* m_base;
    unsigned char* m_cursor;
    Mutex m_mutex;
};

// Maps "/hbbtv" once and returns its base; stores its size in *size when size is not null.
unsigned char* backendMallocInit(unsigned int* size);
// Removes the name "/hbbtv"; the mapping stays.
void backendMallocUninit();

shm_allocator* getBackendMemAllocator();
void* hbbtvBackendMalloc(unsigned int n);
void hbbtvBackendMfree(void* p);

// Maps "/hbbtvChannelList" once per pool kind; null when it cannot be opened or mapped.
template <typename T>
T* hbbtvBackendAuxMemoryPool();

HbbtvChannelListPool* hbbtvBackendChannelListPool();
HbbtvSchedulingRecordingCollectionPool* hbbtvBackendSchedulingRecordingCollectionPool();

// The names in use by this process, the development suffix included.
const char* backendRegionName();
const char* channelListRegionName();

} // namespace ZR_HBBTV_Core

#endif
