// The records of the region "/hbbtvChannelList", where the host writes the channel lineup: a wire
// format shared with the host, checked at compile time like the records of "/hbbtv".
#ifndef HBBTV_CHANNEL_LIST_POOL_H
#define HBBTV_CHANNEL_LIST_POOL_H

#include <cstddef>
#include <cstdint>

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

// Where the parts of a channel-list pool lie, from its area size alone (the pool's first word,
// which the library rewrites on every access; the host only reads it). The data area follows the
// four header words and runs for areaSize bytes; the entry table starts after the header and takes
// the first half of the data area, the names take the rest of it. Offsets count from the pool's
// first byte.
struct HbbtvChannelListLayout {
    explicit HbbtvChannelListLayout(uint32_t areaSize_)
        : areaSize(areaSize_)
    {
    }

    size_t size() const { return 4 * sizeof(uint32_t) + areaSize; }
    size_t entriesOffset() const { return sizeof(HbbtvChannelListPool); }
    size_t entriesSize() const { return areaSize / 2; }
    // The most entries the table holds.
    uint32_t capacity() const { return static_cast<uint32_t>(entriesSize() / sizeof(HbbtvChannelListEntry)); }
    size_t stringsOffset() const { return entriesOffset() + entriesSize(); }
    // From the string area's start to the end of the pool (none in an area too small for the header).
    size_t stringsSize() const { return size() > stringsOffset() ? size() - stringsOffset() : 0; }

    // The length of the name at nameOffset in a string area of stringsSize bytes: up to its NUL,
    // at most limit characters and never past the area's end, wherever the offset points. False,
    // with nothing read, when the offset lies outside the area.
    static bool nameLength(const char* strings, size_t stringsSize, uint32_t nameOffset, size_t limit, size_t* length)
    {
        if (nameOffset >= stringsSize) {
            return false;
        }
        const size_t room = stringsSize - nameOffset;
        const size_t most = room < limit ? room : limit;
        size_t n = 0;
        while (n < most && __atomic_load_n(&strings[nameOffset + n], __ATOMIC_RELAXED) != '\0') {
            ++n;
        }
        *length = n;
        return true;
    }

    // The host may rewrite the pool for one request while another request reads it, so both sides
    // copy its entries, names and count a byte at a time with relaxed atomics: a torn copy is the
    // worst a busy host can cause, never a data race.
    static void copyShared(void* to, const void* from, size_t size)
    {
        unsigned char* const out = static_cast<unsigned char*>(to);
        const unsigned char* const in = static_cast<const unsigned char*>(from);
        for (size_t i = 0; i < size; ++i) {
            __atomic_store_n(&out[i], __atomic_load_n(&in[i], __ATOMIC_RELAXED), __ATOMIC_RELAXED);
        }
    }

    uint32_t areaSize;
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

#endif
