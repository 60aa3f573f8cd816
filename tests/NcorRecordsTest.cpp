// The browser-side data records: the derived channel identifier, the hand-written copies of the
// channel record, and clearing the profile lists.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ncor/NcorRecords.h"

using NCOR::ChannelTunerData;
namespace Broadcast = NCOR::Broadcast;

namespace {

using C = ChannelTunerData;
template <typename T> struct Member {
    void (C::*set)(T);
    T (C::*get)() const;
};
const Member<int> kIntMembers[] = { { &C::setTunerID, &C::getTunerID }, { &C::setOnid, &C::getOnid },
    { &C::setTsid, &C::getTsid }, { &C::setSid, &C::getSid }, { &C::setMajorChannel, &C::getMajorChannel },
    { &C::setMinorChannel, &C::getMinorChannel }, { &C::setSourceID, &C::getSourceID },
    { &C::setFrequency, &C::getFrequency }, { &C::setChannelMaxBitRate, &C::getChannelMaxBitRate },
    { &C::setChannelTTR, &C::getChannelTTR }, { &C::setServiceType, &C::getServiceType },
    { &C::setBouquetID, &C::getBouquetID }, { &C::setChannelIndex, &C::getChannelIndex },
    { &C::setListID, &C::getListID } };
const Member<const std::string&> kTextMembers[] = { { &C::setChannelID, &C::getChannelID }, { &C::setDsd, &C::getDsd },
    { &C::setLongName, &C::getLongName }, { &C::setName, &C::getName }, { &C::setIpBroadcastID, &C::getIpBroadcastID },
    { &C::setDescription, &C::getDescription }, { &C::setLogoURL, &C::getLogoURL },
    { &C::setProviderName, &C::getProviderName }, { &C::setNetworkName, &C::getNetworkName } };

// Every member different from the default and from the other channel's.
ChannelTunerData fullChannel(int base, bool flags)
{
    ChannelTunerData channel;
    int value = base;
    for (const auto& member : kIntMembers) {
        (channel.*member.set)(++value);
    }
    for (const auto& member : kTextMembers) {
        (channel.*member.set)("text" + std::to_string(++value));
    }
    channel.setChannelType(flags ? Broadcast::TYPE_OTHER : Broadcast::TYPE_RADIO);
    channel.setIdType(flags ? Broadcast::ID_DVB_S2 : Broadcast::ID_DVB_C);
    channel.setFavouriteIDs({ "fav" + std::to_string(base), "fav2" });
    channel.setComponentPIDs({ base + 13, base + 14 });
    channel.setFavourite(flags);
    channel.setLocked(!flags);
    channel.setManualBlock(flags);
    channel.setHidden(!flags);
    channel.setAuthorised(flags);
    return channel;
}

void expectSameChannel(const ChannelTunerData& expected, const ChannelTunerData& actual)
{
    for (const auto& member : kIntMembers) {
        EXPECT_EQ((expected.*member.get)(), (actual.*member.get)()) << "number member " << &member - kIntMembers;
    }
    for (const auto& member : kTextMembers) {
        EXPECT_EQ((expected.*member.get)(), (actual.*member.get)());
    }
    EXPECT_EQ(expected.getChannelType(), actual.getChannelType());
    EXPECT_EQ(expected.getIdType(), actual.getIdType());
    EXPECT_EQ(expected.getFavouriteIDs(), actual.getFavouriteIDs());
    EXPECT_EQ(expected.getComponentPIDs(), actual.getComponentPIDs());
    EXPECT_EQ(expected.getFlagBits(), actual.getFlagBits());
}

} // namespace

TEST(ChannelTunerDataTest, ChannelIDIsMadeOfTheIdentityMembersWhenUpdated)
{
    // Every member has a value of its own, so that the identifier shows which members make it up.
    ChannelTunerData channel = fullChannel(100, true);
    EXPECT_EQ("text115", channel.getChannelID()) << "setters leave the identifier to autoUpdateChannelID";
    channel.autoUpdateChannelID();
    EXPECT_EQ("ccid:dvbs2:other:102.103.104:105:text118", channel.getChannelID());
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
    ChannelTunerData& alias = assigned;
    assigned = alias;
    expectSameChannel(complement, assigned);
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
    profiles.clearAll();
    EXPECT_TRUE(profiles.getVideoProfiles().empty());
    EXPECT_TRUE(profiles.getAudioProfiles().empty());
}
