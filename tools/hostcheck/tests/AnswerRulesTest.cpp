// The rules on records a host could leave behind, and the guard bytes around the checker's records.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "AnswerRules.h"
#include "GuardedBlock.h"
#include "HbbtvChannelListPool.h"

using namespace hbbtv_hostcheck;

namespace {

// A zeroed record of the given type, as the checker hands it over (texts empty, counts zero).
template <typename T> struct Zeroed {
    alignas(T) unsigned char bytes[sizeof(T)] = {};
    T& get() { return *reinterpret_cast<T*>(bytes); }
};

Findings answerFindings(int command, int param2, HbbtvServiceRequestAnswer& answer)
{
    Zeroed<HbbtvCommandPayload> request;
    request.get().command = command;
    request.get().param2 = param2;
    Findings findings;
    checkAnswer(request.get(), answer, findings);
    return findings;
}

std::string rules(const Findings& findings)
{
    std::string names;
    for (const Finding& finding : findings) {
        names += (names.empty() ? "" : ",") + finding.rule;
    }
    return names;
}

} // namespace

TEST(AnswerRules, ValidFlagTextsAndIdentifiers)
{
    Zeroed<HbbtvServiceRequestAnswer> answer;
    EXPECT_EQ("valid", rules(answerFindings(ConfigCommand_GetCountryID, 0, answer.get())));
    // A void command may come back without an answer.
    EXPECT_EQ("", rules(answerFindings(DVBMediaPlayer_CloseVideo, 0, answer.get())));

    answer.get().valid = 1;
    answer.get().strValue1 = "DEU";
    EXPECT_EQ("", rules(answerFindings(ConfigCommand_GetCountryID, 0, answer.get())));
    answer.get().strValue1 = "Deutschland";
    const Findings identifier = answerFindings(ConfigCommand_GetCountryID, 0, answer.get());
    ASSERT_EQ("enumeration", rules(identifier));
    EXPECT_NE(std::string::npos, identifier[0].text.find("strValue1 (country) is \"Deutschland\""));

    memset(static_cast<void*>(&answer.get().strValue2), 'x', HbbtvRecordString::kCapacity);
    const Findings unterminated = answerFindings(DVBMediaPlayer_CloseVideo, 0, answer.get());
    ASSERT_EQ("unterminated-text", rules(unterminated));
    EXPECT_NE(std::string::npos, unterminated[0].text.find("strValue2 has no NUL within its 256 bytes"));

    Zeroed<HbbtvServiceRequestAnswer> odd;
    odd.get().valid = 2;
    EXPECT_EQ("valid", rules(answerFindings(TunerCommand_SuspendTuner, 0, odd.get())));
}

TEST(AnswerRules, CountsWithinTheComponentRecord)
{
    Zeroed<HbbtvServiceRequestAVInfoAnswer> answer;
    HbbtvAVComponentInfo& info = answer.get().avComponentInfo;
    answer.get().valid = 1;
    info.count = 16;
    EXPECT_EQ("", rules(answerFindings(TunerCommand_GetAVInfo, 1, answer.get())));
    info.count = 17;
    const Findings audio = answerFindings(TunerCommand_GetAVInfo, 1, answer.get());
    ASSERT_EQ("count", rules(audio));
    EXPECT_NE(std::string::npos, audio[0].text.find("avComponentInfo.count is 17 for audio components"));
    info.count = 24;
    EXPECT_EQ("", rules(answerFindings(TunerCommand_GetAVInfo, 2, answer.get())));
    info.count = 25;
    EXPECT_EQ("count", rules(answerFindings(TunerCommand_GetAVInfo, 2, answer.get())));
    info.count = -1;
    EXPECT_EQ("count", rules(answerFindings(TunerCommand_GetAVInfo, 1, answer.get())));
    info.count = 1;
    EXPECT_EQ("count", rules(answerFindings(TunerCommand_GetAVInfo, 3, answer.get())));
    // A language past the terminator in an entry that is listed, not in one that is not.
    info.count = 2;
    memset(static_cast<void*>(&info.subtitleEntries[2].language), 'e', HbbtvRecordString::kCapacity);
    EXPECT_EQ("", rules(answerFindings(TunerCommand_GetAVInfo, 2, answer.get())));
    memset(static_cast<void*>(&info.subtitleEntries[1].language), 'e', HbbtvRecordString::kCapacity);
    const Findings subtitle = answerFindings(TunerCommand_GetAVInfo, 2, answer.get());
    ASSERT_EQ("unterminated-text", rules(subtitle));
    EXPECT_NE(std::string::npos, subtitle[0].text.find("subtitleEntries[1].language"));
}

TEST(AnswerRules, EnumerationsInRange)
{
    Zeroed<HbbtvServiceRequestChannelInfoAnswer> channel;
    channel.get().valid = 1;
    channel.get().channelInfo.idType = 13;
    EXPECT_EQ("", rules(answerFindings(TunerCommand_GetCurrentChannelInfo, 0, channel.get())));
    channel.get().channelInfo.idType = 14;
    const Findings idType = answerFindings(TunerCommand_GetCurrentChannelInfo, 0, channel.get());
    ASSERT_EQ("enumeration", rules(idType));
    EXPECT_NE(std::string::npos, idType[0].text.find("channelInfo.idType is 14"));

    Zeroed<HbbtvServiceRequestAnswer> tune;
    tune.get().valid = 1;
    const int playStates[] = { 0, 12, 100, 101 };
    for (int state : playStates) {
        tune.get().intValue1 = state;
        EXPECT_EQ("", rules(answerFindings(TunerCommand_TuneTo, 0, tune.get()))) << state;
    }
    const int notPlayStates[] = { -1, 13, 99, 102 };
    for (int state : notPlayStates) {
        tune.get().intValue1 = state;
        EXPECT_EQ("enumeration", rules(answerFindings(TunerCommand_TuneTo, 0, tune.get()))) << state;
    }
    tune.get().intValue1 = 5;
    EXPECT_EQ("enumeration", rules(answerFindings(PVRCommand_ScheduleRecording, 0, tune.get())));
    tune.get().intValue1 = 2;
    EXPECT_EQ("enumeration", rules(answerFindings(ConfigCommand_GetAudioDescription, 0, tune.get())));
    tune.get().intValue1 = 19;
    EXPECT_EQ("enumeration", rules(answerFindings(ConfigCommand_GetParental, 0, tune.get())));
}

TEST(AnswerRules, ChannelListPool)
{
    const uint32_t areaSize = 4096;
    std::vector<unsigned char> pool(16 + areaSize, 0);
    const PoolHandedOver handedOver { areaSize, 0x1000 + 384, 0x1000 + 384 + areaSize / 2, 0x1000 };
    HbbtvChannelListPool header = {};
    header.areaSize = areaSize;
    header.entriesAddress = handedOver.entriesAddress;
    header.stringsAddress = handedOver.stringsAddress;
    header.count = 1;
    memcpy(pool.data(), &header, sizeof(header));
    HbbtvChannelListEntry entry = {};
    entry.idType = 3;
    entry.nameOffset = 0;
    memcpy(pool.data() + 384, &entry, sizeof(entry));
    memcpy(pool.data() + 384 + areaSize / 2, "ZDF", 4);
    const auto check = [&] {
        Findings findings;
        checkLineupPool(pool.data(), pool.size(), handedOver, findings);
        return findings;
    };
    EXPECT_EQ("", rules(check()));

    const uint32_t capacity = (areaSize / 2) / 24;
    memcpy(pool.data() + 4, &capacity, 4);
    EXPECT_EQ("", rules(check())); // zeroed entries name the first string
    const uint32_t tooMany = capacity + 1;
    memcpy(pool.data() + 4, &tooMany, 4);
    const Findings count = check();
    ASSERT_EQ("count", rules(count));
    EXPECT_NE(std::string::npos, count[0].text.find("pool.count is 86: the entry table holds at most 85"));
    memcpy(pool.data() + 4, &header.count, 4);

    entry.nameOffset = 4000;
    memcpy(pool.data() + 384, &entry, sizeof(entry));
    EXPECT_EQ("pool", rules(check()));
    entry.nameOffset = static_cast<uint32_t>(pool.size() - 384 - areaSize / 2 - 2);
    memcpy(pool.data() + 384, &entry, sizeof(entry));
    memset(pool.data() + pool.size() - 2, 'Z', 2);
    EXPECT_EQ("unterminated-text", rules(check()));
    entry.nameOffset = 0;
    entry.idType = 14;
    memcpy(pool.data() + 384, &entry, sizeof(entry));
    EXPECT_EQ("enumeration", rules(check()));
    entry.idType = 3;
    memcpy(pool.data() + 384, &entry, sizeof(entry));

    const uint32_t otherSize = 8;
    memcpy(pool.data(), &otherSize, 4);
    EXPECT_EQ("pool", rules(check()));
    memcpy(pool.data(), &areaSize, 4);
    const uint32_t elsewhere = 0x900000;
    memcpy(pool.data() + 8, &elsewhere, 4);
    const Findings address = check();
    ASSERT_EQ("pool", rules(address));
    EXPECT_NE(std::string::npos, address[0].text.find("pool.entriesAddress was set to 0x00900000"));
}

TEST(AnswerRules, PayloadAndResultVectors)
{
    Zeroed<HbbtvCommandPayloadWithStrParams> handed;
    handed.get().command = ProgrammeCommand_GetSIDescriptors;
    handed.get().ticket = 7;
    Zeroed<HbbtvCommandPayloadWithStrParams> now = handed;
    Findings findings;
    checkPayloadUnchanged(ProgrammeCommand_GetSIDescriptors, handed.bytes, now.bytes, sizeof(now.bytes), findings);
    EXPECT_TRUE(findings.empty());
    now.get().ticket = 8;
    checkPayloadUnchanged(ProgrammeCommand_GetSIDescriptors, handed.bytes, now.bytes, sizeof(now.bytes), findings);
    ASSERT_EQ("payload-changed", rules(findings));
    EXPECT_NE(std::string::npos, findings[0].text.find("payload field ticket (byte 12) was changed from 0x07 to 0x08"));
    EXPECT_EQ("strParam2", payloadFieldAt(ProgrammeCommand_GetSIDescriptors, 300));
    EXPECT_EQ("channelID3", payloadFieldAt(TunerCommand_TuneTo, 556));
    EXPECT_EQ("poolAddress", payloadFieldAt(TunerCommand_RequestChannelsLineup, 24));

    const auto descriptorRules = [](std::vector<std::vector<unsigned char>> descriptors, int tag, int extension) {
        Findings out;
        checkDescriptors(descriptors, tag, extension, out);
        return rules(out);
    };
    EXPECT_EQ("", descriptorRules({ { 0x4D, 2, 1, 2 } }, 0x4D, 0));
    EXPECT_EQ("result", descriptorRules({ { 0x4D, 3, 1, 2 } }, 0x4D, 0));
    EXPECT_EQ("result", descriptorRules({ { 0x4E, 2, 1, 2 } }, 0x4D, 0));
    EXPECT_EQ("", descriptorRules({ { 0x7F, 2, 0x06, 1 } }, 0x7F, 0x06));
    EXPECT_EQ("result", descriptorRules({ { 0x7F, 2, 0x08, 1 } }, 0x7F, 0x06));

    std::vector<HbbtvEPGInformation> schedule(2);
    schedule[1].parentalRating = 18;
    Findings scheduleFindings;
    checkSchedule(schedule, scheduleFindings);
    EXPECT_TRUE(scheduleFindings.empty());
    schedule[1].parentalRating = 19;
    checkSchedule(schedule, scheduleFindings);
    EXPECT_EQ("enumeration", rules(scheduleFindings));
}

TEST(GuardedBlock, GuardsCatchWritesOutsideTheRecordBelowFourGiB)
{
    GuardedBlock block(532);
    ASSERT_NE(nullptr, block.data());
    EXPECT_LE(reinterpret_cast<uintptr_t>(block.data()) + 532, static_cast<uintptr_t>(UINT32_MAX));
    EXPECT_EQ(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(block.data())), block.wireAddress());
    long at = 0;
    memset(block.data(), 0xFF, 532);
    EXPECT_TRUE(block.guardsIntact(at));
    block.data()[532] = 0;
    EXPECT_FALSE(block.guardsIntact(at));
    EXPECT_EQ(532, at);
    block.data()[532] = GuardedBlock::kGuardPattern;
    block.data()[-3] = 0;
    EXPECT_FALSE(block.guardsIntact(at));
    EXPECT_EQ(-3, at);
}
