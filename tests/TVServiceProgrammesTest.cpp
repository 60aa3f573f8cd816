// Programmes and SI descriptors through the TV service, against the simulated host.
#include <gtest/gtest.h>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "support/TVServiceHarness.h"

using namespace ZR_HBBTV_Core;
using hbbtv_test::countOf;

namespace {

class TVServiceProgrammes : public hbbtv_test::TVServiceTest {
protected:
    // Whether the address word points into the main shared region.
    static bool inSharedRegion(uint32_t address)
    {
        unsigned int size = 0;
        const unsigned char* const base = backendMallocInit(&size);
        const unsigned char* const p = static_cast<const unsigned char*>(fromWireAddress(address));
        return p >= base && p < base + size;
    }
};

void writeProgramme(HbbtvServiceRequestAnswer& answer, uint32_t start, const char* name)
{
    HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info
        = static_cast<HbbtvServiceRequestProgramInfoAnswer&>(answer).programInfo;
    info.time1 = start;
    info.time2 = 1800;
    info.text1 = name;
    info.text2 = "description";
    info.text3 = "not read";
    info.text4 = "crid://1";
    answer.valid = 1;
}

} // namespace

TEST_F(TVServiceProgrammes, PresentThenFollowingProgrammeWithOverlongTextsCut)
{
    answer(
        ProgrammeCommand_GetProgrammeInfo, [](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            writeProgramme(answer, request.param1 == 1 ? 1000u : 2800u, request.param1 == 1 ? "Now" : "Next");
        });

    NCOR::ProgrammeData stale;
    std::vector<NCOR::ProgrammeData*> programmes = { &stale }; // dropped, not freed
    service().getProgrammes(programmes);

    ASSERT_EQ(2u, programmes.size());
    EXPECT_EQ("Now", programmes[0]->getName());
    EXPECT_EQ(1000.0, programmes[0]->getStartTime());
    EXPECT_EQ(1800.0, programmes[0]->getDuration());
    EXPECT_EQ("description", programmes[0]->getDescription());
    EXPECT_EQ("crid://1", programmes[0]->getProgrammeID());
    EXPECT_EQ("", programmes[0]->getLongDescription());
    EXPECT_EQ("Next", programmes[1]->getName());
    EXPECT_EQ(2800.0, programmes[1]->getStartTime());
    for (NCOR::ProgrammeData* p : programmes) {
        delete p;
    }

    // Only the following programme answered: one record, from the second request. Its texts say
    // they are longer than their records: cut, with a complaint.
    answer(
        ProgrammeCommand_GetProgrammeInfo, [](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            if (request.param1 == 0) {
                writeProgramme(answer, 0xFFFFFFFFu, "Next");
                auto& info = static_cast<HbbtvServiceRequestProgramInfoAnswer&>(answer).programInfo;
                info.text1 = std::string(400, 'L').c_str(); // the text keeps 254, the length says 400
                memset(static_cast<void*>(&info.text2), 'D', sizeof(info.text2)); // no terminator, huge length
            }
        });
    const std::string output = stdoutOf([&] { service().getProgrammes(programmes); });
    ASSERT_EQ(1u, programmes.size());
    EXPECT_EQ(4294967295.0, programmes[0]->getStartTime());
    EXPECT_EQ(std::string(254, 'L'), programmes[0]->getName());
    EXPECT_EQ(std::string(254, 'D'), programmes[0]->getDescription());
    EXPECT_EQ(1u, countOf(output, "programme name: host text length 400 past the record's 254 characters, cut"));
    EXPECT_EQ(1u, countOf(output, "programme description: host text length"));
    delete programmes[0];
}

TEST_F(TVServiceProgrammes, WholeScheduleIsFilledInPlaceByTheHost)
{
    bool resultInSharedRegion = false;
    answer(ProgrammeCommand_GetAllProgrammeInfo,
        [&resultInSharedRegion](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            resultInSharedRegion = inSharedRegion(request.resultAddress);
            auto* const schedule
                = static_cast<std::vector<HbbtvEPGInformation>*>(fromWireAddress(request.resultAddress));
            // Words 0 to 3, texts 1 to 4, rating, a 16-bit value, text 5, bytes 0 to 3.
            schedule->push_back(
                { 1, 1000, 2, 3600, "first", "short", "long", "genre", 2, 12, "programme-first", 1, 2, 3, 4 });
            schedule->push_back(
                { 1, 4600, 2, 3600, "second", "short", "long", "genre", 3, 12, "programme-second", 1, 2, 3, 4 });
            answer.valid = 1;
        });

    NCOR::ChannelTunerData channel;
    channel.setChannelID("ccid:dvbt:tv:1.2.3:4:x");
    NCOR::ProgrammeData* const kept = new NCOR::ProgrammeData;
    std::vector<NCOR::ProgrammeData*> programmes = { kept };
    EXPECT_TRUE(service().getAllProgrammesForChannel(channel, programmes));
    EXPECT_TRUE(resultInSharedRegion);

    ASSERT_EQ(3u, programmes.size());
    EXPECT_EQ(kept, programmes[0]);
    const NCOR::ProgrammeData& first = *programmes[1];
    EXPECT_EQ(1000.0, first.getStartTime());
    EXPECT_EQ(3600.0, first.getDuration());
    EXPECT_EQ("first", first.getName());
    EXPECT_EQ("ccid:dvbt:tv:1.2.3:4:x", first.getChannelID());
    EXPECT_EQ("short", first.getDescription());
    EXPECT_EQ("long", first.getLongDescription());
    EXPECT_EQ(12, first.getEpisode());
    EXPECT_EQ("programme-first", first.getProgrammeID());
    EXPECT_EQ(1, first.getProgrammeIDType());
    EXPECT_EQ(2, first.getHasSubtitles());
    EXPECT_EQ(3, first.getIsHD());
    EXPECT_EQ(4, first.getAudioType());
    EXPECT_EQ(std::vector<std::string> { "genre" }, first.getGenres());
    // Rating 2 means none: the record is there, at its default.
    ASSERT_EQ(1u, first.getParentalRatings().size());
    EXPECT_EQ(NCOR::ParentalRatingData::DEFAULT_VALUE, first.getParentalRatings()[0]->getValue());
    ASSERT_EQ(1u, programmes[2]->getParentalRatings().size());
    EXPECT_EQ(3, programmes[2]->getParentalRatings()[0]->getValue());
    for (NCOR::ProgrammeData* p : programmes) {
        delete p;
    }
}

TEST_F(TVServiceProgrammes, SIDescriptorsArePassedOnInOrder)
{
    answer(
        ProgrammeCommand_GetSIDescriptors, [](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            auto* const found
                = static_cast<std::vector<std::vector<unsigned char>>*>(fromWireAddress(request.resultAddress));
            found->push_back({ 0x4D, 0x01, 0xAA });
            found->push_back({});
            found->push_back({ 0x54, 0x00 });
            answer.valid = 1;
        });

    std::vector<std::vector<unsigned char>> descriptors = { { 0x01 } };
    service().getSIDescriptors(
        std::string(300, 'p'), NCOR::EIT::DESCRIPTOR_SHORT_EVENT, NCOR::EIT::EXTENSION_TARGET_REGION, descriptors);
    const std::vector<std::vector<unsigned char>> expected = { { 0x01 }, { 0x4D, 0x01, 0xAA }, {}, { 0x54, 0x00 } };
    EXPECT_EQ(expected, descriptors);
    EXPECT_EQ(std::string(254, 'p'), requests().at(0).strParam1);
}

