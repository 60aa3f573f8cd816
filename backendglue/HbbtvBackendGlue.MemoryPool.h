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

// The channel-list pool: the host writes the channel lineup here (header; entries follow).
struct HbbtvChannelListPool {
    static const uint32_t kAreaSize = 0xFFFF0;

    uint32_t areaSize;       // rewritten on every access: kAreaSize less the alignment skip
    uint32_t count;          // channel entries, written by the host
    uint32_t entriesAddress; // where the entries start in this process's mapping
    uint32_t stringsAddress; // where the name strings start in this process's mapping
    uint8_t unused[368];
};

// One channel of the lineup (24 bytes), at entriesAddress + 24 * i.
struct HbbtvChannelListEntry {
    uint16_t channelID1;
    uint16_t channelID2;
    uint16_t channelID3;
    uint16_t channelType;
    uint16_t idType;
    uint16_t flagA;
    uint16_t numberA;
    uint16_t numberB;
    uint32_t flagB;
    uint32_t nameOffset; // into the string area
};

// The scheduling and recording pool: the same region under a mapping of its own.
struct HbbtvSchedulingRecordingCollectionPool {
    static const uint32_t kAreaSize = 0xFFFF4;

    uint32_t areaSize; // rewritten on every access: kAreaSize less the alignment skip
};

static_assert(sizeof(HbbtvChannelListPool) == 384, "channel-list pool header size");
static_assert(offsetof(HbbtvChannelListPool, count) == 4, "count offset");
static_assert(offsetof(HbbtvChannelListPool, entriesAddress) == 8, "entries address offset");
static_assert(offsetof(HbbtvChannelListPool, stringsAddress) == 12, "strings address offset");
static_assert(sizeof(HbbtvChannelListEntry) == 24, "channel entry size");
static_assert(offsetof(HbbtvChannelListEntry, channelID2) == 2, "channelID2 offset");
static_assert(offsetof(HbbtvChannelListEntry, channelID3) == 4, "channelID3 offset");
static_assert(offsetof(HbbtvChannelListEntry, channelType) == 6, "channel type offset");
static_assert(offsetof(HbbtvChannelListEntry, idType) == 8, "id type offset");
static_assert(offsetof(HbbtvChannelListEntry, flagA) == 10, "flag A offset");
static_assert(offsetof(HbbtvChannelListEntry, numberA) == 12, "number A offset");
static_assert(offsetof(HbbtvChannelListEntry, numberB) == 14, "number B offset");
static_assert(offsetof(HbbtvChannelListEntry, flagB) == 16, "flag B offset");
static_assert(offsetof(HbbtvChannelListEntry, nameOffset) == 20, "name offset offset");

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
