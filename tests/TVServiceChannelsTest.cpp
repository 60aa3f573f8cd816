// Tuning and channels through the TV service, against the simulated host.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "SimulatedBrowser.h"
#include "support/TVServiceHarness.h"

using namespace ZR_HBBTV_Core;
using hbbtv_sim::ReceivedRequest;
using hbbtv_test::countOf;

namespace {

typedef HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo HostChannelInfo;

class TVServiceChannels : public hbbtv_test::TVServiceTest {
protected:
    static NCOR::ChannelTunerData channel(int sid, int onid, int major, const std::string& text = std::string())
    {
        NCOR::ChannelTunerData result;
        result.setSid(sid);
        result.setOnid(onid);
        result.setMajorChannel(major);
        result.setIpBroadcastID(text);
        return result;
    }

    // The channel-list pool as the host finds it from the request.
    struct HostPool {
        explicit HostPool(const HbbtvCommandPayload& request)
            : pool(static_cast<HbbtvChannelListPool*>(
                fromWireAddress(static_cast<const HbbtvCommandPayloadWithLineupPool&>(request).poolAddress)))
            , layout(pool->areaSize)
            , table(reinterpret_cast<unsigned char*>(pool) + layout.entriesOffset())
            , strings(reinterpret_cast<char*>(pool) + layout.stringsOffset())
            , stringsSize(static_cast<uint32_t>(layout.stringsSize()))
        {
        }
        HbbtvChannelListPool* pool;
        HbbtvChannelListLayout layout;
        unsigned char* table;
        char* strings;
        uint32_t stringsSize;
    };

    // The host writes count and the entries, with their names one after the other.
    void answerLineup(uint32_t count, const std::vector<std::pair<HbbtvChannelListEntry, std::string>>& entries)
    {
        answer(TunerCommand_RequestChannelsLineup,
            [count, entries](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
                HostPool host(request);
                uint32_t nameAt = 0;
                for (size_t i = 0; i < entries.size(); ++i) {
                    HbbtvChannelListEntry entry = entries[i].first;
                    entry.nameOffset = nameAt;
                    memcpy(host.strings + nameAt, entries[i].second.c_str(), entries[i].second.size() + 1);
                    nameAt += static_cast<uint32_t>(entries[i].second.size() + 1);
                    memcpy(host.table + sizeof(entry) * i, &entry, sizeof(entry));
                }
                host.pool->count = count;
                answer.valid = 1;
            });
    }
};

// A translated channel in one line: its identifier (made of the channel type, the identifier type,
// onid, tsid, sid, the major channel number and the name), its flags and its place in the list.
std::string summary(const NCOR::ChannelTunerData& c)
{
    NCOR::ChannelTunerData refreshed = c;
    refreshed.autoUpdateChannelID();
    return c.getChannelID() + (refreshed.getChannelID() != c.getChannelID() ? " (stale)" : "")
        + (c.isAuthorised() ? " authorised" : "") + (c.isLocked() ? " locked" : "") + " index "
        + std::to_string(c.getChannelIndex()) + " list " + std::to_string(c.getListID());
}

} // namespace

TEST_F(TVServiceChannels, TuneNamesTheChannelByNumbersUnlessOnlyItsTextIsKnown)
{
    answerInt(TunerCommand_TuneTo, NCOR::Broadcast::PLAY_ERROR_NONE);

    EXPECT_EQ(NCOR::Broadcast::PLAY_ERROR_NONE, service().tune(channel(28006, 8468, 1)));
    service().tune(channel(-1, -1, 7, "dvb://1.2.3"));
    service().tune(channel(-1, 5, 7, "dvb://1.2.3")); // a known onid is enough for the numbers
    service().tune(channel(-1, -1, 9)); // so is a missing text
    service().tune(channel(-1, -1, 3, std::string(300, 't')));

    // By text, sid, onid, major channel number, text.
    const std::tuple<unsigned int, int, int, int, std::string> expected[]
        = { { 0, 28006, 8468, 1, "" }, { 1, 8191, 8191, 7, "dvb://1.2.3" }, { 0, -1, 5, 7, "" }, { 0, -1, -1, 9, "" },
              { 1, 8191, 8191, 3, std::string(254, 't') } };
    const std::vector<ReceivedRequest> sent = requests();
    ASSERT_EQ(5u, sent.size());
    for (size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(TunerCommand_TuneTo, sent[i].command);
        EXPECT_EQ(hbbtv_sim::PayloadRecord::WithChannelIDInfo, sent[i].record);
        EXPECT_EQ(expected[i],
            std::make_tuple(
                sent[i].byString, sent[i].channelID1, sent[i].channelID2, sent[i].channelID3, sent[i].strParam1))
            << "tune " << i;
    }
}

TEST_F(TVServiceChannels, BindReleaseAndNewApplicationNeverOverlapAWindowChange)
{
    NCOR::Broadcast::PlayStateError result = NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    const std::pair<int, std::function<void()>> held[] = {
        { TunerCommand_Bind2CurrentChannel,
            [&] { result = service().bindToCurrentChannel(channel(-1, -1, 4, "dvb://1.2.3")); } },
        { VideoBroadcastElementEvent_ReleaseVideoControl, [&] { service().releaseVideo(); } },
        { TunerCommand_StartNewApplication, [&] { service().notifyStartNewApp("http://app.example/"); } },
    };
    for (const auto& operation : held) {
        answer(operation.first, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
            answer.valid = 1;
            answer.intValue1 = NCOR::Broadcast::PLAY_ERROR_CANNOT_CHANGE_CHANNEL;
        });
        host().clearRecord();
        std::thread binder(operation.second);
        ASSERT_TRUE(host().waitForRequests(1, std::chrono::seconds(5)));
        // Taken while the operation waits for the host: must wait for it to finish.
        service().setViewport(false, 1, 2, 3, 4);
        binder.join();

        const std::vector<ReceivedRequest> sent = requests();
        ASSERT_EQ(2u, sent.size());
        EXPECT_EQ(operation.first, sent[0].command);
        EXPECT_EQ(DVBMediaPlayer_SetDisplayWindow, sent[1].command);
        EXPECT_GE(sent[1].receivedAt - sent[0].receivedAt, std::chrono::milliseconds(140)) << operation.first;
        if (operation.first == TunerCommand_Bind2CurrentChannel) { // always by numbers
            EXPECT_EQ(std::make_tuple(0u, -1, -1, 4),
                std::make_tuple(sent[0].byString, sent[0].channelID1, sent[0].channelID2, sent[0].channelID3));
        }
    }
    EXPECT_EQ(NCOR::Broadcast::PLAY_ERROR_CANNOT_CHANGE_CHANNEL, result);
}

TEST_F(TVServiceChannels, CurrentChannelIsTranslatedFromTheHostRecord)
{
    answer(TunerCommand_GetCurrentChannelInfo, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        HostChannelInfo& info = static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
        // Numbers A to F, channel type, identifier type, inverted flag, lock flags, padding, name.
        info = HostChannelInfo { 28006, 8468, 769, 1, 5, 2, 7, 13, 1, 1, {}, "abc" };
        memcpy(static_cast<void*>(&info.name), "abcdef", 7); // the text holds six characters, the length says three
        answer.valid = 1;
    });

    NCOR::ChannelTunerData current;
    current.setTsid(42);
    current.setAuthorised(true);
    ASSERT_TRUE(service().getCurrentChannel(current));

    EXPECT_EQ(
        "ccid:iptvuri:other:8468.42.28006:1:abc locked index 5 list 2", summary(current)); // tsid not the host's C
    ASSERT_EQ(1u, requests().size());
    EXPECT_EQ(TunerCommand_GetCurrentChannelInfo, requests()[0].command);
}

TEST_F(TVServiceChannels, ChannelListIsReadFromThePool)
{
    answerLineup(3,
        { { HbbtvChannelListEntry { 28006, 8468, 1, 0, 3, 0, 11, 12, 1, 0 }, "Das Erste" },
            { HbbtvChannelListEntry { 10301, 1, 2, 7, 8, 1, 0, 0, 0, 0 }, "Radio" },
            { HbbtvChannelListEntry { 3, 4, 5, 1, 14, 0, 0, 0, 0, 0 }, std::string(300, 'n') } });

    std::vector<NCOR::ChannelTunerData*> channels;
    ASSERT_TRUE(service().getChannelList(channels));

    HbbtvChannelListPool* const pool = hbbtvBackendChannelListPool();
    ASSERT_EQ(1u, requests().size());
    EXPECT_EQ(TunerCommand_RequestChannelsLineup, requests()[0].command);
    EXPECT_EQ(toWireAddress(pool), requests()[0].poolAddress);
    EXPECT_EQ(toWireAddress(pool) + 384, pool->entriesAddress);
    EXPECT_EQ(pool->entriesAddress + pool->areaSize / 2, pool->stringsAddress);

    ASSERT_EQ(3u, channels.size());
    EXPECT_EQ("ccid:dvbt:tv:8468.-1.28006:1:Das Erste authorised locked index 11 list 12", summary(*channels[0]));
    EXPECT_EQ("ccid:isdbc:other:1.-1.10301:2:Radio index 0 list 0", summary(*channels[1]));
    EXPECT_EQ(
        "ccid:analog:radio:4.-1.3:5:" + std::string(254, 'n') + " authorised index 0 list 0", summary(*channels[2]));
    for (NCOR::ChannelTunerData* c : channels) {
        delete c;
    }

    // An empty lineup is a valid answer that adds nothing.
    answerLineup(0, {});
    std::vector<NCOR::ChannelTunerData*> none;
    EXPECT_TRUE(service().getChannelList(none));
    EXPECT_TRUE(none.empty());
}

TEST_F(TVServiceChannels, HostileLineupIsReadOnlyWithinThePool)
{
    // A count beyond the entry table, an offset past the string area, and a name running into the
    // end of the region without a terminator.
    answer(
        TunerCommand_RequestChannelsLineup, [](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            HostPool host(request);
            memset(host.table, 0, host.layout.entriesSize());
            const HbbtvChannelListEntry entries[]
                = { { 1, 2, 3, 0, 3, 0, 0, 0, 0, 0x7FFFFFFF }, { 1, 2, 3, 0, 3, 0, 0, 0, 0, host.stringsSize - 3 } };
            memcpy(host.table, entries, sizeof(entries));
            memset(host.strings + host.stringsSize - 3, 'z', 3);
            host.pool->count = 0xFFFFFFFFu;
            answer.valid = 1;
        });

    std::vector<NCOR::ChannelTunerData*> channels;
    bool listed = false;
    const std::string output = stdoutOf([&] { listed = service().getChannelList(channels); });

    EXPECT_TRUE(listed);
    HbbtvChannelListPool* const pool = hbbtvBackendChannelListPool();
    EXPECT_EQ((pool->areaSize / 2) / sizeof(HbbtvChannelListEntry), channels.size());
    ASSERT_GE(channels.size(), 2u);
    EXPECT_EQ("", channels[0]->getName());
    EXPECT_EQ("zzz", channels[1]->getName());
    EXPECT_EQ(1u, countOf(output, "host count 4294967295 past the pool's"));
    EXPECT_EQ(1u, countOf(output, "name offset 2147483647 outside the string area"));
    for (NCOR::ChannelTunerData* c : channels) {
        delete c;
    }
}

TEST_F(TVServiceChannels, ConstantAnswers)
{
    service().suspendBroadcastService();
    EXPECT_FALSE(service().isBroadcastServiceSuspended());

    // The DVB types are appended to what the list held; any type is taken as supported.
    std::vector<NCOR::Broadcast::ChannelIDType> types = { NCOR::Broadcast::ID_ANALOG };
    service().getSupportedChannelIDType(types);
    const std::vector<int> numbers(types.begin(), types.end());
    EXPECT_EQ((std::vector<int> { 0, 10, 11, 12, 13, 14, 15, 16 }), numbers);
    EXPECT_TRUE(service().canSupportChannelType(NCOR::Broadcast::ID_ATSC_T));
}

TEST_F(TVServiceChannels, IdentifierTypesAndTunerStatesMapInFullAndOtherTypesAreAnalogue)
{
    // Host identifier types 0 to 13, then 14 and 0xFFFF, which no table holds (read as numbers,
    // never as enumeration values), and the browser's types they become, as numbers; the same
    // wherever the host writes the type.
    const uint32_t hostType[] = { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 0xFFFF };
    const int browserType[] = { 0, 10, 11, 12, 13, 14, 15, 16, 20, 21, 22, 30, 40, 41, 0, 0 };
    std::vector<std::pair<HbbtvChannelListEntry, std::string>> lineup;
    for (uint32_t type : hostType) {
        lineup.push_back({ HbbtvChannelListEntry { 5, 6, 7, 0, static_cast<uint16_t>(type), 0, 0, 0, 0, 0 }, "c" });
    }
    answerLineup(16, lineup);
    std::vector<NCOR::ChannelTunerData*> channels;
    ASSERT_TRUE(service().getChannelList(channels));
    ASSERT_EQ(16u, channels.size());
    for (size_t i = 0; i < 16; ++i) {
        HostChannelInfo info {};
        info.idType = hostType[i];
        EXPECT_EQ(browserType[i], TranslateChannelData::hostIDType(hostType[i])) << hostType[i];
        stdoutOf([&] { EXPECT_EQ(browserType[i], service().transformHbbtvChannelInfo2ChannelTunerData(info).getIdType()); });
        EXPECT_EQ(browserType[i], channels[i]->getIdType()) << "lineup " << hostType[i];
        delete channels[i];
    }
    answer(TunerCommand_GetCurrentChannelInfo, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        HostChannelInfo& info = static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
        info = HostChannelInfo { 1, 2, 3, 4, 0, 0, 0, 0xFFFFFFFFu, 0, 0, {}, "x" };
        answer.valid = 1;
    });
    NCOR::ChannelTunerData current;
    ASSERT_TRUE(service().getCurrentChannel(current));
    EXPECT_EQ("ccid:analog:tv:2.-1.1:4:x authorised index 0 list 0", summary(current));

    // An unknown type is analogue silently here, with a complaint in the record's translation.
    std::string output = stdoutOf([] {
        EXPECT_EQ(NCOR::Broadcast::ID_ANALOG,
            TranslateChannelData::HbbtvIDType2InteralIDType(
                static_cast<HbbtvServiceRequestChannelInfoAnswer::HbbtvIDType>(14)));
    });
    EXPECT_EQ("", output);
    const HostChannelInfo info { 10, 20, 30, 40, 0, 0, 1, 14, 1, 1, {}, "Locked" };
    NCOR::ChannelTunerData translated;
    output = stdoutOf([&] { translated = service().transformHbbtvChannelInfo2ChannelTunerData(info); });
    EXPECT_EQ("ccid:analog:radio:20.30.10:40:Locked locked index 0 list 0", summary(translated)); // not authorised
    EXPECT_EQ("\e[31m<<***** Channel 40 IsLocked ***** HbbtvBackendTVService "
              "transformHbbtvChannelInfo2ChannelTunerData >>1361 \e[m\r\n"
              "\e[0;32;31m[ERR][HbbTV-???]HbbtvBackendTVService transformHbbtvChannelInfo2ChannelTunerData 1370\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-???]Undefine HbbtvIDType Type\e[0m\n",
        output);

    const std::pair<int, int> states[] = { { 1, 1 }, { 12, 10 }, { 101, 101 } };
    for (const std::pair<int, int>& state : states) {
        EXPECT_EQ(state.second,
            service().transformHbbtvTunerState2PlayStateError(static_cast<HbbtvTunerState>(state.first)));
    }
    output = stdoutOf([&] {
        EXPECT_EQ(NCOR::Broadcast::PLAY_ERROR_UNDEFINED,
            service().transformHbbtvTunerState2PlayStateError(static_cast<HbbtvTunerState>(0)));
    });
    EXPECT_EQ("\e[0;32;31m[ERR][HbbTV-???]HbbtvBackendTVService transformHbbtvTunerState2PlayStateError 1428\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-???]Undefine HbbtvTunerState Type\e[0m\n",
        output);
}

TEST_F(TVServiceChannels, ChannelManagerNotificationsReachTheRegisteredClient)
{
    const android::sp<hbbtv_sim::SimulatedChannelManagerClient> client = new hbbtv_sim::SimulatedChannelManagerClient;
    service().registerChannelManagerClient(client);
    const std::string output = stdoutOf([&] {
        service().notifyChannelModified(channel(77, 2, 3));
        service().notifyAccessToBroadcastResources(false);
    });
    ASSERT_EQ(1u, client->record().channelModifications.size());
    EXPECT_EQ(77, client->record().channelModifications[0].getSid());
    EXPECT_EQ(std::vector<bool> { false }, client->record().broadcastAccess);
    EXPECT_EQ(1u, countOf(output, "[MSG][HbbTV-APM]notifyChannelModified pass out"));
    EXPECT_EQ(1u, countOf(output, "[MSG][HbbTV-APM]notifyAccessToBroadcastResources pass out"));
    EXPECT_TRUE(requests().empty());
}

TEST_F(TVServiceChannels, OwnedChannelCopyLivesUntilDestroyed)
{
    EXPECT_FALSE(service().CheckTuneChannelType());
    NCOR::ChannelTunerData original = channel(5, 6, 7, "text");
    original.setLocked(true);
    service().CopyDataToChannelTunerData(original);
    original.setSid(99);
    EXPECT_TRUE(service().CheckTuneChannelType());

    NCOR::ChannelTunerData copy;
    const std::string output = stdoutOf([&] { copy = service().GetChannelTunerDataInstance(); });
    EXPECT_EQ("HBBTV : GetChannelTunerDataInstance, 354\n", output);
    EXPECT_EQ(5, copy.getSid());
    EXPECT_EQ("text", copy.getIpBroadcastID());
    EXPECT_TRUE(copy.isLocked());

    service().DestroyChannelTunerData();
    EXPECT_FALSE(service().CheckTuneChannelType());
    service().DestroyChannelTunerData(); // nothing left: harmless

    EXPECT_DEATH(service().GetChannelTunerDataInstance(),
        "HbbtvBackendTVService:355: .*GetChannelTunerDataInstance\\(\\): Assertion `m_ChannelTunerDataObj' failed");
}

