// AV components and media profiles through the TV service, against the simulated host.
#include <cstring>

#include <gtest/gtest.h>

#include "support/TVServiceHarness.h"

using namespace ZR_HBBTV_Core;
using hbbtv_test::countOf;

namespace {

typedef std::vector<NCOR::AVComponentData*> Components;

class TVServiceComponents : public hbbtv_test::TVServiceTest {
protected:
    // The host answers with the block that fill writes.
    void answerComponents(std::function<void(HbbtvAVComponentInfo&)> fill)
    {
        answer(TunerCommand_GetAVInfo, [fill](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
            fill(static_cast<HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo);
            answer.valid = 1;
        });
    }

    static void release(Components& components)
    {
        for (NCOR::AVComponentData* c : components) {
            delete c;
        }
        components.clear();
    }
};

void fillAudio(HbbtvAVComponentInfo::AVEntry& entry, uint32_t n, const char* language)
{
    entry.flagA = 1;
    entry.flagB = static_cast<uint8_t>(n % 2);
    entry.valueP = 0x10000 + n; // the low 16 bits are the component tag
    entry.valueQ = 0x20000 + 2 * n;
    entry.valueR = 99;
    entry.valueS = 100 + n;
    entry.language = language;
}

// A translated component in one line: type, encoding, encrypted, language, audio description,
// audio channels, component tag, aspect ratio, hearing impaired.
std::string summary(const NCOR::AVComponentData& c)
{
    return std::to_string(c.getComponentType()) + " " + std::to_string(c.getEncoding()) + " "
        + std::to_string(c.getEncrypted()) + " " + c.getLanguage() + " " + std::to_string(c.getAudioDescription()) + " "
        + std::to_string(c.getAudioChannels()) + " " + std::to_string(c.getComponentTag()) + " "
        + std::to_string(c.getAspectRatio()) + " " + std::to_string(c.getHearingImpaired());
}

// The summaries of the components, which are then freed.
std::vector<std::string> summariesOf(Components& components)
{
    std::vector<std::string> result;
    for (NCOR::AVComponentData* c : components) {
        result.push_back(summary(*c));
        delete c;
    }
    components.clear();
    return result;
}

} // namespace

TEST_F(TVServiceComponents, AudioComponentsInEntryOrder)
{
    answerComponents([](HbbtvAVComponentInfo& info) {
        info.count = 3;
        fillAudio(info.avEntries[0], 0, "deu");
        fillAudio(info.avEntries[1], 1, "eng");
        fillAudio(info.avEntries[2], 2, "fra");
        fillAudio(info.avEntries[3], 3, "not listed");
    });

    Components components;
    service().getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_AUDIO, components);
    service().getActiveAVComponents(NCOR::Broadcast::COMPONENT_TYPE_AUDIO, components);

    const std::vector<std::string> three = { "1 100 1 deu 0 0 0 0 0", "1 101 1 eng 1 2 1 0 0", "1 102 1 fra 0 4 2 0 0" };
    std::vector<std::string> expected = three;
    expected.insert(expected.end(), three.begin(), three.end());
    EXPECT_EQ(expected, summariesOf(components));
}

TEST_F(TVServiceComponents, VideoAndSubtitleComponents)
{
    answerComponents([](HbbtvAVComponentInfo& info) {
        info.count = 1;
        info.avEntries[0].flagA = 1;
        info.avEntries[0].valueR = 3;
        info.avEntries[0].valueS = 7;
        info.avEntries[0].language = "ignored";
    });
    Components components;
    service().getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_VIDEO, components);
    EXPECT_EQ(std::vector<std::string> { "0 7 1  0 0 -1 3 0" }, summariesOf(components)); // no language, no tag

    answerComponents([](HbbtvAVComponentInfo& info) { info.count = 0; });
    service().getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_VIDEO, components);
    EXPECT_TRUE(components.empty());

    answerComponents([](HbbtvAVComponentInfo& info) {
        info.count = 2;
        info.subtitleEntries[0].flagA = 1;
        info.subtitleEntries[0].flagB = 1;
        info.subtitleEntries[0].valueP = 0xFFFF;
        info.subtitleEntries[0].language = "deu";
        info.subtitleEntries[1].valueP = 5;
        info.subtitleEntries[1].language = "eng";
    });
    service().getActiveAVComponents(NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE, components);
    EXPECT_EQ((std::vector<std::string> { "2 0 1 deu 0 0 -1 0 1", "2 0 0 eng 0 0 5 0 0" }), summariesOf(components));

    // An unknown type is asked for, and nothing comes of it.
    answerComponents([](HbbtvAVComponentInfo& info) { info.count = 5; });
    service().getAVComponents(static_cast<NCOR::Broadcast::ComponentType>(3), components);
    EXPECT_TRUE(components.empty());
    EXPECT_EQ(3, requests().back().param2);
}

TEST_F(TVServiceComponents, HostileCountsAndTextsStayWithinTheAnswer)
{
    answerComponents([](HbbtvAVComponentInfo& info) {
        info.count = 1000;
        for (HbbtvAVComponentInfo::AVEntry& entry : info.avEntries) {
            memset(static_cast<void*>(&entry.language), 'a', sizeof(entry.language)); // unterminated
        }
        for (HbbtvAVComponentInfo::SubtitleEntry& entry : info.subtitleEntries) {
            memset(static_cast<void*>(&entry.language), 's', sizeof(entry.language));
        }
    });

    Components components;
    std::string output
        = stdoutOf([&] { service().getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_AUDIO, components); });
    EXPECT_EQ(16u, components.size());
    EXPECT_EQ(1u, countOf(output, "audio components: host count 1000 past the record's 16 entries, cut"));
    // A language without terminator ends with its record.
    EXPECT_EQ(std::string(256, 'a'), components[15]->getLanguage());
    release(components);

    output = stdoutOf([&] { service().getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE, components); });
    EXPECT_EQ(24u, components.size());
    EXPECT_EQ(1u, countOf(output, "subtitle components: host count 1000 past the record's 24 entries, cut"));
    EXPECT_EQ(std::string(256, 's'), components[23]->getLanguage());
    release(components);

    answerComponents([](HbbtvAVComponentInfo& info) { info.count = -5; });
    service().getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_AUDIO, components);
    EXPECT_TRUE(components.empty());
}

TEST_F(TVServiceComponents, EncodingNamesAndTheSupportedProfiles)
{
    const std::pair<std::string, int> encodings[] = { { "AVC_HD_25", 0 }, { "AVC_SD_25", 1 }, { "MPEG2_HD_25", 2 },
        { "MPEG2_SD_25", 3 }, { "AVC_HD_30", 4 }, { "AVC_SD_30", 5 }, { "MPEG1_L3", 6 }, { "HEAAC", 7 }, { "WAV", 8 },
        { "heaac", 0 }, { "", 0 } };
    for (const std::pair<std::string, int>& encoding : encodings) {
        EXPECT_EQ(encoding.second, static_cast<int>(service().transformComponentEncodingString2Enum(encoding.first)))
            << encoding.first;
    }

    // The device's profiles, exactly; asked twice, the record holds the list once.
    NCOR::AVProfileData profiles;
    profiles.addAudioProfile(NCOR::AudioProfileData("stale", "x/y"));
    service().getSupportedAVProfiles(profiles);
    service().getSupportedAVProfiles(profiles);
    std::vector<std::string> video;
    for (const NCOR::VideoProfileData& p : profiles.getVideoProfiles()) {
        video.push_back(p.getName() + " " + p.getMimeType());
    }
    std::vector<std::string> audio;
    for (const NCOR::AudioProfileData& p : profiles.getAudioProfiles()) {
        audio.push_back(p.getName() + " " + p.getMimeType());
    }
    EXPECT_EQ((std::vector<std::string> { "TS_AVC_SD_25_HEAAC video/mpeg", "TS_AVC_HD_25_HEAAC video/mpeg",
                  "MP4_AVC_SD_25_HEAAC video/mp4", "MP4_AVC_HD_25_HEAAC video/mp4", "TS_AVC_SD_25_E-AC3 video/mpeg",
                  "TS_AVC_HD_25_E-AC3 video/mpeg", "MP4_AVC_SD_25_E-AC3 video/mp4", "MP4_AVC_HD_25_E-AC3 video/mp4" }),
        video);
    EXPECT_EQ((std::vector<std::string> { "MPEG1_L3 audio/mpeg", "HEAAC audio/mp4", "WAV audio/x-wav" }), audio);
    EXPECT_TRUE(requests().empty());
}
