// Tuning and channels through the TV service, against the simulated host.
#include <chrono>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.MemoryPool.h"
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

    // Writes the lineup into the pool as the host does: entries after the header, names in the
    // second half of the data area.
    struct LineupEntry {
        HbbtvChannelListEntry entry;
        std::string name;
    };
    void answerLineup(uint32_t count, const std::vector<LineupEntry>& entries)
    {
        answer(TunerCommand_RequestChannelsLineup,
            [count, entries](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
                const auto& lineup = static_cast<const HbbtvCommandPayloadWithLineupPool&>(request);
                auto* const pool = static_cast<HbbtvChannelListPool*>(fromWireAddress(lineup.poolAddress));
                unsigned char* const table = reinterpret_cast<unsigned char*>(pool) + sizeof(HbbtvChannelListPool);
                char* const strings = reinterpret_cast<char*>(table + pool->areaSize / 2);
                uint32_t nameAt = 0;
                for (size_t i = 0; i < entries.size(); ++i) {
                    HbbtvChannelListEntry entry = entries[i].entry;
                    if (entry.nameOffset == 0) {
                        entry.nameOffset = nameAt;
                        memcpy(strings + nameAt, entries[i].name.c_str(), entries[i].name.size() + 1);
                        nameAt += static_cast<uint32_t>(entries[i].name.size() + 1);
                    }
                    memcpy(table + sizeof(entry) * i, &entry, sizeof(entry));
                }
                pool->count = count;
                answer.valid = 1;
            });
    }
};

HbbtvChannelListEntry entryOf(uint16_t id1, uint16_t id2, uint16_t id3, uint16_t type, uint16_t idType, uint16_t flagA,
    uint16_t numberA, uint16_t numberB, uint32_t flagB)
{
    HbbtvChannelListEntry entry;
    entry.channelID1 = id1;
    entry.channelID2 = id2;
    entry.channelID3 = id3;
    entry.channelType = type;
    entry.idType = idType;
    entry.flagA = flagA;
    entry.numberA = numberA;
    entry.numberB = numberB;
    entry.flagB = flagB;
    entry.nameOffset = 0;
    return entry;
}

} // namespace

TEST_F(TVServiceChannels, TuneNamesTheChannelByNumbersUnlessOnlyItsTextIsKnown)
{
    answer(TunerCommand_TuneTo, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.valid = 1;
        answer.intValue1 = NCOR::Broadcast::PLAY_ERROR_NONE;
    });

    EXPECT_EQ(NCOR::Broadcast::PLAY_ERROR_NONE, service().tune(channel(28006, 8468, 1)));
    service().tune(channel(-1, -1, 7, "dvb://1.2.3"));
    service().tune(channel(-1, 5, 7, "dvb://1.2.3"));
    service().tune(channel(-1, -1, 9));
    service().tune(channel(-1, -1, 3, std::string(300, 't')));

    const std::vector<ReceivedRequest> sent = requests();
    ASSERT_EQ(5u, sent.size());
    for (const ReceivedRequest& request : sent) {
        EXPECT_EQ(TunerCommand_TuneTo, request.command);
        EXPECT_EQ(hbbtv_sim::PayloadRecord::WithChannelIDInfo, request.record);
    }
    // sid, onid, major channel number
    EXPECT_EQ(0u, sent[0].byString);
    EXPECT_EQ(28006, sent[0].channelID1);
    EXPECT_EQ(8468, sent[0].channelID2);
    EXPECT_EQ(1, sent[0].channelID3);
    EXPECT_EQ("", sent[0].strParam1);

    EXPECT_EQ(1u, sent[1].byString);
    EXPECT_EQ("dvb://1.2.3", sent[1].strParam1);
    EXPECT_EQ(8191, sent[1].channelID1);
    EXPECT_EQ(8191, sent[1].channelID2);
    EXPECT_EQ(7, sent[1].channelID3);

    // A known onid is enough for the numeric form; so is a missing text.
    EXPECT_EQ(0u, sent[2].byString);
    EXPECT_EQ(-1, sent[2].channelID1);
    EXPECT_EQ(5, sent[2].channelID2);
    EXPECT_EQ(0u, sent[3].byString);
    EXPECT_EQ(-1, sent[3].channelID1);
    EXPECT_EQ(-1, sent[3].channelID2);
    EXPECT_EQ(9, sent[3].channelID3);

    EXPECT_EQ(1u, sent[4].byString);
    EXPECT_EQ(std::string(254, 't'), sent[4].strParam1);
}

TEST_F(TVServiceChannels, BindSendsNumbersAlwaysAndNeverOverlapsAWindowChange)
{
    answer(TunerCommand_Bind2CurrentChannel, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        answer.valid = 1;
        answer.intValue1 = NCOR::Broadcast::PLAY_ERROR_CANNOT_CHANGE_CHANNEL;
    });

    NCOR::Broadcast::PlayStateError result = NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    std::thread binder([&] { result = service().bindToCurrentChannel(channel(-1, -1, 4, "dvb://1.2.3")); });
    ASSERT_TRUE(host().waitForRequests(1, std::chrono::seconds(5)));
    // Taken while the bind waits for the host: must wait for the bind to finish.
    service().setViewport(false, 1, 2, 3, 4);
    binder.join();

    EXPECT_EQ(NCOR::Broadcast::PLAY_ERROR_CANNOT_CHANGE_CHANNEL, result);
    const std::vector<ReceivedRequest> sent = requests();
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ(TunerCommand_Bind2CurrentChannel, sent[0].command);
    EXPECT_EQ(0u, sent[0].byString);
    EXPECT_EQ(-1, sent[0].channelID1);
    EXPECT_EQ(-1, sent[0].channelID2);
    EXPECT_EQ(4, sent[0].channelID3);
    EXPECT_EQ(DVBMediaPlayer_SetDisplayWindow, sent[1].command);
    EXPECT_GE(sent[1].receivedAt - sent[0].receivedAt, std::chrono::milliseconds(140));
}

TEST_F(TVServiceChannels, CurrentChannelIsTranslatedFromTheHostRecord)
{
    answer(TunerCommand_GetCurrentChannelInfo, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        HostChannelInfo& info = static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
        info.channelNumberA = 28006;
        info.channelNumberB = 8468;
        info.channelNumberC = 769;
        info.channelNumberD = 1;
        info.extraNumberE = 5;
        info.extraNumberF = 2;
        info.channelType = 7;
        info.idType = 13;
        info.invertedFlag = 1;
        info.lockFlags = 1;
        info.name = "abc";
        memcpy(static_cast<void*>(&info.name), "abcdef", 7); // the text holds six characters, the length says three
        answer.valid = 1;
    });

    NCOR::ChannelTunerData current;
    current.setTsid(42);
    current.setAuthorised(true);
    ASSERT_TRUE(service().getCurrentChannel(current));

    EXPECT_EQ(NCOR::Broadcast::TYPE_OTHER, current.getChannelType());
    EXPECT_EQ(8468, current.getOnid());
    EXPECT_EQ(42, current.getTsid()); // not the host's C
    EXPECT_EQ(28006, current.getSid());
    EXPECT_EQ(1, current.getMajorChannel());
    EXPECT_EQ(NCOR::Broadcast::ID_IPTV_URI, current.getIdType());
    EXPECT_EQ("abc", current.getName());
    EXPECT_FALSE(current.isAuthorised());
    EXPECT_TRUE(current.isLocked());
    EXPECT_EQ(5, current.getChannelIndex());
    EXPECT_EQ(2, current.getListID());
    EXPECT_EQ("ccid:iptvuri:other:8468.42.28006:1:abc", current.getChannelID());
    ASSERT_EQ(1u, requests().size());
    EXPECT_EQ(TunerCommand_GetCurrentChannelInfo, requests()[0].command);
}

TEST_F(TVServiceChannels, ChannelListIsReadFromThePool)
{
    std::vector<LineupEntry> lineup = {
        { entryOf(28006, 8468, 1, 0, 3, 0, 11, 12, 1), "Das Erste" },
        { entryOf(10301, 1, 2, 7, 8, 1, 0, 0, 0), "Radio" },
        { entryOf(3, 4, 5, 1, 14, 0, 0, 0, 0), std::string(300, 'n') },
    };
    answerLineup(3, lineup);

    std::vector<NCOR::ChannelTunerData*> channels;
    ASSERT_TRUE(service().getChannelList(channels));

    HbbtvChannelListPool* const pool = hbbtvBackendChannelListPool();
    ASSERT_EQ(1u, requests().size());
    EXPECT_EQ(TunerCommand_RequestChannelsLineup, requests()[0].command);
    EXPECT_EQ(toWireAddress(pool), requests()[0].poolAddress);
    EXPECT_EQ(toWireAddress(pool) + 384, pool->entriesAddress);
    EXPECT_EQ(pool->entriesAddress + pool->areaSize / 2, pool->stringsAddress);

    ASSERT_EQ(3u, channels.size());
    const NCOR::ChannelTunerData& first = *channels[0];
    EXPECT_EQ(28006, first.getSid());
    EXPECT_EQ(8468, first.getOnid());
    EXPECT_EQ(1, first.getMajorChannel());
    EXPECT_EQ(NCOR::Broadcast::TYPE_TV, first.getChannelType());
    EXPECT_EQ(NCOR::Broadcast::ID_DVB_T, first.getIdType());
    EXPECT_TRUE(first.isAuthorised()); // flagA 0
    EXPECT_TRUE(first.isLocked()); // flagB 1
    EXPECT_EQ(11, first.getChannelIndex());
    EXPECT_EQ(12, first.getListID());
    EXPECT_EQ("Das Erste", first.getName());
    EXPECT_EQ("ccid:dvbt:tv:8468.-1.28006:1:Das Erste", first.getChannelID());

    EXPECT_EQ(NCOR::Broadcast::TYPE_OTHER, channels[1]->getChannelType());
    EXPECT_EQ(NCOR::Broadcast::ID_ISDB_C, channels[1]->getIdType());
    EXPECT_FALSE(channels[1]->isAuthorised());
    EXPECT_FALSE(channels[1]->isLocked());
    EXPECT_EQ("Radio", channels[1]->getName());

    EXPECT_EQ(NCOR::Broadcast::TYPE_RADIO, channels[2]->getChannelType());
    EXPECT_EQ(NCOR::Broadcast::ID_ANALOG, channels[2]->getIdType());
    EXPECT_EQ(std::string(254, 'n'), channels[2]->getName());
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
    HbbtvChannelListEntry outside = entryOf(1, 2, 3, 0, 3, 0, 0, 0, 0);
    outside.nameOffset = 0x7FFFFFFF;
    answer(TunerCommand_RequestChannelsLineup,
        [outside](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            const auto& lineup = static_cast<const HbbtvCommandPayloadWithLineupPool&>(request);
            auto* const pool = static_cast<HbbtvChannelListPool*>(fromWireAddress(lineup.poolAddress));
            unsigned char* const table = reinterpret_cast<unsigned char*>(pool) + sizeof(HbbtvChannelListPool);
            char* const strings = reinterpret_cast<char*>(table + pool->areaSize / 2);
            unsigned char* const end = reinterpret_cast<unsigned char*>(pool) + 16 + pool->areaSize;
            const uint32_t stringsSize = static_cast<uint32_t>(end - reinterpret_cast<unsigned char*>(strings));
            memset(table, 0, pool->areaSize / 2);
            memcpy(table, &outside, sizeof(outside));
            HbbtvChannelListEntry atEnd = outside;
            atEnd.nameOffset = stringsSize - 3;
            memcpy(table + sizeof(atEnd), &atEnd, sizeof(atEnd));
            memset(strings + stringsSize - 3, 'z', 3);
            pool->count = 0xFFFFFFFFu;
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

TEST_F(TVServiceChannels, UnansweredChannelRequestsGiveTheirFailureValues)
{
    neverAnswer(TunerCommand_TuneTo);
    neverAnswer(TunerCommand_Bind2CurrentChannel);
    neverAnswer(TunerCommand_GetCurrentChannelInfo);
    neverAnswer(TunerCommand_RequestChannelsLineup);

    NCOR::Broadcast::PlayStateError tuned = NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    NCOR::Broadcast::PlayStateError bound = NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    bool gotCurrent = true;
    bool gotList = true;
    NCOR::ChannelTunerData current = channel(1, 2, 3);
    current.setName("kept");
    NCOR::ChannelTunerData listed;
    std::vector<NCOR::ChannelTunerData*> channels = { &listed };

    std::vector<std::thread> calls;
    calls.emplace_back([&] { tuned = service().tune(channel(1, 2, 3)); });
    calls.emplace_back([&] { bound = service().bindToCurrentChannel(channel(1, 2, 3)); });
    calls.emplace_back([&] { gotCurrent = service().getCurrentChannel(current); });
    calls.emplace_back([&] { gotList = service().getChannelList(channels); });
    for (std::thread& call : calls) {
        call.join();
    }

    EXPECT_EQ(0, tuned); // the answer's untouched first integer
    EXPECT_EQ(0, bound);
    EXPECT_FALSE(gotCurrent);
    EXPECT_EQ("kept", current.getName());
    EXPECT_EQ(1, current.getSid());
    EXPECT_FALSE(gotList);
    ASSERT_EQ(1u, channels.size());
    EXPECT_EQ(&listed, channels[0]);
    EXPECT_EQ(4u, requests().size());
}

TEST_F(TVServiceChannels, TunerCommandsAndConstantAnswers)
{
    service().suspendBroadcastService();
    EXPECT_FALSE(service().isBroadcastServiceSuspended());
    service().resumeBroadcastService();
    service().leaveLiveIn();
    service().returnLiveIn();
    const std::vector<int> expected
        = { TunerCommand_SuspendTuner, TunerCommand_ResumeTuner, TunerCommand_ExitLiveIn, TunerCommand_ReturnLiveIn };
    EXPECT_EQ(expected, commands());

    std::vector<NCOR::Broadcast::ChannelIDType> types = { NCOR::Broadcast::ID_ANALOG };
    service().getSupportedChannelIDType(types);
    const std::vector<NCOR::Broadcast::ChannelIDType> supported = {
        NCOR::Broadcast::ID_ANALOG,
        NCOR::Broadcast::ID_DVB_C,
        NCOR::Broadcast::ID_DVB_S,
        NCOR::Broadcast::ID_DVB_T,
        NCOR::Broadcast::ID_DVB_SI_DIRECT,
        NCOR::Broadcast::ID_DVB_C2,
        NCOR::Broadcast::ID_DVB_S2,
        NCOR::Broadcast::ID_DVB_T2,
    };
    EXPECT_EQ(supported, types);
    EXPECT_TRUE(service().canSupportChannelType(NCOR::Broadcast::ID_ATSC_T));
}

TEST_F(TVServiceChannels, TranslatorsMapIdentifierTypesAndTunerStates)
{
    EXPECT_EQ(NCOR::Broadcast::ID_IPTV_URI,
        TranslateChannelData::HbbtvIDType2InteralIDType(
            static_cast<HbbtvServiceRequestChannelInfoAnswer::HbbtvIDType>(13)));
    EXPECT_EQ(NCOR::Broadcast::ID_ISDB_C,
        TranslateChannelData::HbbtvIDType2InteralIDType(
            static_cast<HbbtvServiceRequestChannelInfoAnswer::HbbtvIDType>(8)));
    std::string output = stdoutOf([] {
        EXPECT_EQ(NCOR::Broadcast::ID_ANALOG,
            TranslateChannelData::HbbtvIDType2InteralIDType(
                static_cast<HbbtvServiceRequestChannelInfoAnswer::HbbtvIDType>(14)));
    });
    EXPECT_EQ("", output);

    HostChannelInfo info;
    memset(static_cast<void*>(&info), 0, sizeof(info));
    info.channelNumberA = 10;
    info.channelNumberB = 20;
    info.channelNumberC = 30;
    info.channelNumberD = 40;
    info.channelType = 1;
    info.idType = 14;
    info.invertedFlag = 1;
    info.lockFlags = 1;
    info.name = "Locked";
    NCOR::ChannelTunerData translated;
    output = stdoutOf([&] { translated = service().transformHbbtvChannelInfo2ChannelTunerData(info); });
    EXPECT_EQ(20, translated.getOnid());
    EXPECT_EQ(30, translated.getTsid());
    EXPECT_EQ(10, translated.getSid());
    EXPECT_EQ(40, translated.getMajorChannel());
    EXPECT_EQ(NCOR::Broadcast::TYPE_RADIO, translated.getChannelType());
    EXPECT_EQ(NCOR::Broadcast::ID_ANALOG, translated.getIdType());
    EXPECT_TRUE(translated.isLocked());
    EXPECT_FALSE(translated.isAuthorised()); // left at its default, whatever the host's flag
    EXPECT_EQ("ccid:analog:radio:20.30.10:40:Locked", translated.getChannelID());
    EXPECT_EQ("\e[31m<<***** Channel 40 IsLocked ***** HbbtvBackendTVService "
              "transformHbbtvChannelInfo2ChannelTunerData >>1361 \e[m\r\n"
              "\e[0;32;31m[ERR][HbbTV-???]HbbtvBackendTVService transformHbbtvChannelInfo2ChannelTunerData 1370\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-???]Undefine HbbtvIDType Type\e[0m\n",
        output);

    EXPECT_EQ(NCOR::Broadcast::PLAY_ERROR_CANNOT_CHANGE_CHANNEL,
        service().transformHbbtvTunerState2PlayStateError(HbbtvTunerState_CannotChangeChannel));
    EXPECT_EQ(
        NCOR::Broadcast::PLAY_ERROR_NONE, service().transformHbbtvTunerState2PlayStateError(HbbtvTunerState_Tuned));
    output = stdoutOf([&] {
        EXPECT_EQ(NCOR::Broadcast::PLAY_ERROR_UNDEFINED,
            service().transformHbbtvTunerState2PlayStateError(static_cast<HbbtvTunerState>(0)));
    });
    EXPECT_EQ("\e[0;32;31m[ERR][HbbTV-???]HbbtvBackendTVService transformHbbtvTunerState2PlayStateError 1428\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-???]Undefine HbbtvTunerState Type\e[0m\n",
        output);
}

TEST_F(TVServiceChannels, ChannelManagerNotificationsNeedTheClient)
{
    class ChannelManager : public BnChannelManagerClient {
    public:
        void channelListChanged(std::vector<NCOR::ChannelTunerData*>&) override { }
        void channelChanged(const NCOR::ChannelTunerData&, int) override { }
        void tunerStopped(int) override { }
        void programmeChanged() override { }
        void channelModified(const NCOR::ChannelTunerData& channel) override { modified.push_back(channel.getSid()); }
        void accessToBroadcastResources(bool granted) override { access.push_back(granted); }
        void tunerStateChanged(int) override { }
        std::vector<int> modified;
        std::vector<bool> access;
    };

    std::string output = stdoutOf([&] {
        service().notifyChannelModified(channel(1, 2, 3));
        service().notifyAccessToBroadcastResources(true);
    });
    EXPECT_EQ("\e[0;32;32m[MSG][HbbTV-APM]notifyChannelModified pass in\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-SYS]HbbtvBackendTVService notifyChannelModified 1876\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-SYS]m_channelManagerClient is null point\e[0m\n"
              "\e[0;32;32m[MSG][HbbTV-APM]notifyAccessToBroadcastResources pass in\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-SYS]HbbtvBackendTVService notifyAccessToBroadcastResources 1892\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-SYS]m_channelManagerClient is null point\e[0m\n",
        output);

    const android::sp<ChannelManager> client = new ChannelManager;
    service().registerChannelManagerClient(client);
    output = stdoutOf([&] {
        service().notifyChannelModified(channel(77, 2, 3));
        service().notifyAccessToBroadcastResources(false);
    });
    EXPECT_EQ(std::vector<int> { 77 }, client->modified);
    EXPECT_EQ(std::vector<bool> { false }, client->access);
    EXPECT_EQ(1u, countOf(output, "[MSG][HbbTV-APM]notifyChannelModified pass out"));
    EXPECT_EQ(1u, countOf(output, "[MSG][HbbTV-APM]notifyAccessToBroadcastResources pass out"));

    output = stdoutOf([&] {
        service().notifyChannelAdded(channel(1, 2, 3));
        service().notifyChannelRemoved(channel(1, 2, 3));
    });
    EXPECT_EQ(1u, countOf(output, "[ERR][HbbTV-Not implement]HbbtvBackendTVService notifyChannelAdded 1906"));
    EXPECT_EQ(1u, countOf(output, "[ERR][HbbTV-Not implement]HbbtvBackendTVService notifyChannelRemoved 1913"));
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
