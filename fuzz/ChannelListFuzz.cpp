// The channel lineup the host writes into the channel-list pool: header words, entry table and
// string area, all from the input.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"
#include "HbbtvBackendGlue.MemoryPool.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

namespace {

std::vector<uint8_t> g_header, g_table, g_strings;

// The pool's entry table and string area as the host finds them.
unsigned char* tableOf(HbbtvChannelListPool* pool)
{
    return reinterpret_cast<unsigned char*>(pool) + HbbtvChannelListLayout(pool->areaSize).entriesOffset();
}

char* stringsOf(HbbtvChannelListPool* pool)
{
    return reinterpret_cast<char*>(pool) + HbbtvChannelListLayout(pool->areaSize).stringsOffset();
}

void writeLineup(const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer)
{
    HbbtvChannelListPool* const pool = hbbtvBackendChannelListPool();
    hbbtv_fuzz::copyInto(tableOf(pool), g_table.size(), g_table.data(), g_table.size());
    hbbtv_fuzz::copyInto(stringsOf(pool), g_strings.size(), g_strings.data(), g_strings.size());
    hbbtv_fuzz::copyInto(pool, g_header.size(), g_header.data(), g_header.size());
    // A full table (a count past the pool's, which the unit tests cover) takes tens of
    // milliseconds to translate: counts stay a little past the entries written.
    pool->count %= 96;
    answer.valid = 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    g_header = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 16));
    g_table = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 24 * 64));
    g_strings = input.ConsumeRemainingBytes<uint8_t>();

    std::vector<NCOR::ChannelTunerData*> channels;
    HbbtvBackendTVService& service = hbbtv_fuzz::serviceAnswering(TunerCommand_RequestChannelsLineup, writeLineup);
    check(service.getChannelList(channels), "a valid lineup is read");

    HbbtvChannelListPool* const pool = hbbtvBackendChannelListPool();
    const HbbtvChannelListLayout layout(pool->areaSize);
    const unsigned char* const table = tableOf(pool);
    const char* const strings = stringsOf(pool);
    const size_t stringsSize = layout.stringsSize();
    const uint32_t capacity = layout.capacity();
    check(channels.size() == std::min(pool->count, capacity), "as many channels as counted, at most the table's");
    for (size_t i = 0; i < channels.size(); ++i) {
        HbbtvChannelListEntry entry;
        memcpy(&entry, table + sizeof(entry) * i, sizeof(entry));
        const std::string& name = channels[i]->getName();
        check(name.size() <= 254 && name.find('\0') == std::string::npos, "a name is at most 254 characters");
        check(entry.nameOffset < stringsSize ? memcmp(strings + entry.nameOffset, name.data(), name.size()) == 0
                                              : name.empty(),
            "a name is the text at its offset, or empty outside the string area");
        check(channels[i]->getSid() == entry.channelID1 && channels[i]->getOnid() == entry.channelID2
                && channels[i]->getMajorChannel() == entry.channelID3,
            "channel numbers");
        delete channels[i];
    }
    // The next input starts from a clean pool.
    memset(tableOf(pool), 0, g_table.size());
    memset(stringsOf(pool), 0, g_strings.size());
    pool->count = 0;
    return 0;
}
