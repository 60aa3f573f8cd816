// The browser-side data records: the derived channel identifier, the hand-written copies of the
// channel record, owned ratings of programmes, and clearing the profile lists.
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ncor/NcorRecords.h"

using NCOR::ChannelTunerData;
namespace Broadcast = NCOR::Broadcast;

namespace {

ChannelTunerData namedChannel()
{
    ChannelTunerData channel;
    channel.setChannelType(Broadcast::TYPE_RADIO);
    channel.setIdType(Broadcast::ID_DVB_T);
    channel.setOnid(8468);
    channel.setTsid(769);
    channel.setSid(28006);
    channel.setMajorChannel(1);
    channel.setName("Das Erste");
    return channel;
}

// Every member different from the default and from its neighbours.
ChannelTunerData fullChannel(int base, bool flags)
{
    ChannelTunerData channel;
    channel.setTunerID(base + 1);
    channel.setChannelType(Broadcast::TYPE_OTHER);
    channel.setIdType(Broadcast::ID_DVB_S2);
    channel.setDsd("dsd" + std::to_string(base));
    channel.setOnid(base + 2);
    channel.setTsid(base + 3);
    channel.setSid(base + 4);
    channel.setMajorChannel(base + 5);
    channel.setMinorChannel(base + 6);
    channel.setSourceID(base + 7);
    channel.setFrequency(base + 8);
    channel.setLongName("long" + std::to_string(base));
    channel.setName("name" + std::to_string(base));
    channel.setChannelMaxBitRate(base + 9);
    channel.setChannelTTR(base + 10);
    channel.setIpBroadcastID("ip" + std::to_string(base));
    channel.setFavouriteIDs({ "fav" + std::to_string(base), "fav2" });
    channel.setServiceType(base + 11);
    channel.setBouquetID(base + 12);
    channel.setDescription("description" + std::to_string(base));
    channel.setLogoURL("logo" + std::to_string(base));
    channel.setComponentPIDs({ base + 13, base + 14 });
    channel.setProviderName("provider" + std::to_string(base));
    channel.setNetworkName("network" + std::to_string(base));
    channel.setChannelIndex(base + 15);
    channel.setListID(base + 16);
    channel.setFavourite(flags);
    channel.setLocked(!flags);
    channel.setManualBlock(flags);
    channel.setHidden(!flags);
    channel.setAuthorised(flags);
    channel.autoUpdateChannelID();
    return channel;
}

void expectSameChannel(const ChannelTunerData& expected, const ChannelTunerData& actual)
{
    EXPECT_EQ(expected.getTunerID(), actual.getTunerID());
    EXPECT_EQ(expected.getChannelID(), actual.getChannelID());
    EXPECT_EQ(expected.getChannelType(), actual.getChannelType());
    EXPECT_EQ(expected.getIdType(), actual.getIdType());
    EXPECT_EQ(expected.getDsd(), actual.getDsd());
    EXPECT_EQ(expected.getOnid(), actual.getOnid());
    EXPECT_EQ(expected.getTsid(), actual.getTsid());
    EXPECT_EQ(expected.getSid(), actual.getSid());
    EXPECT_EQ(expected.getMajorChannel(), actual.getMajorChannel());
    EXPECT_EQ(expected.getMinorChannel(), actual.getMinorChannel());
    EXPECT_EQ(expected.getSourceID(), actual.getSourceID());
    EXPECT_EQ(expected.getFrequency(), actual.getFrequency());
    EXPECT_EQ(expected.getLongName(), actual.getLongName());
    EXPECT_EQ(expected.getName(), actual.getName());
    EXPECT_EQ(expected.getChannelMaxBitRate(), actual.getChannelMaxBitRate());
    EXPECT_EQ(expected.getChannelTTR(), actual.getChannelTTR());
    EXPECT_EQ(expected.getIpBroadcastID(), actual.getIpBroadcastID());
    EXPECT_EQ(expected.getFavouriteIDs(), actual.getFavouriteIDs());
    EXPECT_EQ(expected.getServiceType(), actual.getServiceType());
    EXPECT_EQ(expected.getBouquetID(), actual.getBouquetID());
    EXPECT_EQ(expected.getDescription(), actual.getDescription());
    EXPECT_EQ(expected.getLogoURL(), actual.getLogoURL());
    EXPECT_EQ(expected.getComponentPIDs(), actual.getComponentPIDs());
    EXPECT_EQ(expected.getProviderName(), actual.getProviderName());
    EXPECT_EQ(expected.getNetworkName(), actual.getNetworkName());
    EXPECT_EQ(expected.getChannelIndex(), actual.getChannelIndex());
    EXPECT_EQ(expected.getListID(), actual.getListID());
    EXPECT_EQ(expected.getFlagBits(), actual.getFlagBits());
}

} // namespace

TEST(ChannelTunerDataTest, ChannelIDFollowsTheIdentityMembersWhenUpdated)
{
    ChannelTunerData channel = namedChannel();
    EXPECT_EQ("", channel.getChannelID()) << "setters leave the identifier to autoUpdateChannelID";
    channel.autoUpdateChannelID();
    const std::string id = channel.getChannelID();
    EXPECT_FALSE(id.empty());

    using Change = void (*)(ChannelTunerData&);
    const Change identityChanges[] = {
        [](ChannelTunerData& c) { c.setChannelType(Broadcast::TYPE_TV); },
        [](ChannelTunerData& c) { c.setIdType(Broadcast::ID_DVB_C); },
        [](ChannelTunerData& c) { c.setOnid(1); },
        [](ChannelTunerData& c) { c.setTsid(1); },
        [](ChannelTunerData& c) { c.setSid(1); },
        [](ChannelTunerData& c) { c.setMajorChannel(2); },
        [](ChannelTunerData& c) { c.setName("ZDF"); },
    };
    for (size_t i = 0; i < sizeof(identityChanges) / sizeof(identityChanges[0]); ++i) {
        ChannelTunerData changed = channel;
        identityChanges[i](changed);
        EXPECT_EQ(id, changed.getChannelID()) << "change " << i << " before the update";
        changed.autoUpdateChannelID();
        EXPECT_NE(id, changed.getChannelID()) << "change " << i;
    }

    ChannelTunerData other = channel;
    other.setFrequency(474000);
    other.setLongName("Das Erste HD");
    other.setLocked(true);
    other.autoUpdateChannelID();
    EXPECT_EQ(id, other.getChannelID());
}

TEST(ChannelTunerDataTest, CopiesCarryEveryMemberAndEachFlag)
{
    // The two originals set complementary flags, so that each flag is copied both ways.
    const ChannelTunerData original = fullChannel(100, true);
    const ChannelTunerData complement = fullChannel(200, false);
    EXPECT_EQ(0x15, original.getFlagBits());
    EXPECT_EQ(0x0A, complement.getFlagBits());

    expectSameChannel(original, ChannelTunerData(original));
    expectSameChannel(complement, ChannelTunerData(complement));

    ChannelTunerData assigned = complement;
    assigned = original;
    expectSameChannel(original, assigned);
    assigned = complement;
    expectSameChannel(complement, assigned);
    assigned = original;
    expectSameChannel(original, assigned);

    ChannelTunerData& alias = assigned;
    assigned = alias;
    expectSameChannel(original, assigned);

    // Bit 1 is the lock and bit 4 the authorisation, which the host's inverted flag feeds.
    ChannelTunerData flags;
    flags.setLocked(true);
    EXPECT_EQ(0x02, ChannelTunerData(flags).getFlagBits());
    flags.setLocked(false);
    flags.setAuthorised(true);
    ChannelTunerData copied;
    copied = flags;
    EXPECT_EQ(0x10, copied.getFlagBits());
}

TEST(ProgrammeDataTest, CopiesOwnRatingsOfTheirOwn)
{
    auto original = std::make_unique<NCOR::ProgrammeData>();
    auto* rating = new NCOR::ParentalRatingData;
    rating->setValue(12);
    original->addParentalRating(rating);
    original->addParentalRating(nullptr);

    NCOR::ProgrammeData copied(*original);
    NCOR::ProgrammeData assigned;
    assigned.addParentalRating(new NCOR::ParentalRatingData);
    assigned = *original;
    original.reset();

    for (const NCOR::ProgrammeData* programme : { &copied, &assigned }) {
        ASSERT_EQ(1u, programme->getParentalRatings().size());
        EXPECT_NE(rating, programme->getParentalRatings()[0]);
        EXPECT_EQ(12, programme->getParentalRatings()[0]->getValue());
    }
    EXPECT_EQ(NCOR::ParentalRatingData::DEFAULT_VALUE, NCOR::ParentalRatingData().getValue());
}

TEST(AVProfileDataTest, ClearAllEmptiesBothListsSoRefillingDoesNotAccumulate)
{
    NCOR::AVProfileData profiles;
    for (int round = 0; round < 2; ++round) {
        profiles.clearAll();
        profiles.addVideoProfile(NCOR::VideoProfileData("TS_AVC_SD_25_HEAAC", "video/mpeg"));
        profiles.addVideoProfile(NCOR::VideoProfileData("MP4_AVC_HD_25_HEAAC", "video/mp4"));
        profiles.addAudioProfile(NCOR::AudioProfileData("HEAAC", "audio/mp4"));
    }
    ASSERT_EQ(2u, profiles.getVideoProfiles().size());
    ASSERT_EQ(1u, profiles.getAudioProfiles().size());
    EXPECT_EQ("MP4_AVC_HD_25_HEAAC", profiles.getVideoProfiles()[1].getName());
    EXPECT_EQ("video/mp4", profiles.getVideoProfiles()[1].getMimeType());
    EXPECT_EQ("", profiles.getVideoProfiles()[1].getDrmSystemID());

    profiles.clearAll();
    EXPECT_TRUE(profiles.getVideoProfiles().empty());
    EXPECT_TRUE(profiles.getAudioProfiles().empty());
}
