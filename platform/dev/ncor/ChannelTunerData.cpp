#include "ncor/ChannelTunerData.h"

namespace NCOR {

namespace {

std::string idTypeScheme(Broadcast::ChannelIDType type)
{
    switch (type) {
    case Broadcast::ID_ANALOG:
        return "analog";
    case Broadcast::ID_DVB_C:
        return "dvbc";
    case Broadcast::ID_DVB_S:
        return "dvbs";
    case Broadcast::ID_DVB_T:
        return "dvbt";
    case Broadcast::ID_DVB_SI_DIRECT:
        return "dvbsi";
    case Broadcast::ID_DVB_C2:
        return "dvbc2";
    case Broadcast::ID_DVB_S2:
        return "dvbs2";
    case Broadcast::ID_DVB_T2:
        return "dvbt2";
    case Broadcast::ID_ISDB_C:
        return "isdbc";
    case Broadcast::ID_ISDB_S:
        return "isdbs";
    case Broadcast::ID_ISDB_T:
        return "isdbt";
    case Broadcast::ID_ATSC_T:
        return "atsct";
    case Broadcast::ID_IPTV_SDS:
        return "iptvsds";
    case Broadcast::ID_IPTV_URI:
        return "iptvuri";
    }
    return "id" + std::to_string(static_cast<int>(type));
}

std::string channelTypeName(Broadcast::ChannelType type)
{
    switch (type) {
    case Broadcast::TYPE_TV:
        return "tv";
    case Broadcast::TYPE_RADIO:
        return "radio";
    case Broadcast::TYPE_OTHER:
        return "other";
    }
    return "type" + std::to_string(static_cast<int>(type));
}

} // namespace

ChannelTunerData::ChannelTunerData()
    : m_tunerID(-1)
    , m_channelType(Broadcast::TYPE_TV)
    , m_idType(Broadcast::ID_ANALOG)
    , m_onid(-1)
    , m_tsid(-1)
    , m_sid(-1)
    , m_majorChannel(-1)
    , m_minorChannel(-1)
    , m_sourceID(-1)
    , m_frequency(0)
    , m_channelMaxBitRate(0)
    , m_channelTTR(0)
    , m_serviceType(0)
    , m_bouquetID(0)
    , m_channelIndex(-1)
    , m_listID(-1)
    , m_flags()
{
}

ChannelTunerData::ChannelTunerData(const ChannelTunerData& other)
    : m_tunerID(other.m_tunerID)
    , m_channelID(other.m_channelID)
    , m_channelType(other.m_channelType)
    , m_idType(other.m_idType)
    , m_dsd(other.m_dsd)
    , m_onid(other.m_onid)
    , m_tsid(other.m_tsid)
    , m_sid(other.m_sid)
    , m_majorChannel(other.m_majorChannel)
    , m_minorChannel(other.m_minorChannel)
    , m_sourceID(other.m_sourceID)
    , m_frequency(other.m_frequency)
    , m_longName(other.m_longName)
    , m_name(other.m_name)
    , m_channelMaxBitRate(other.m_channelMaxBitRate)
    , m_channelTTR(other.m_channelTTR)
    , m_ipBroadcastID(other.m_ipBroadcastID)
    , m_favouriteIDs(other.m_favouriteIDs)
    , m_serviceType(other.m_serviceType)
    , m_bouquetID(other.m_bouquetID)
    , m_description(other.m_description)
    , m_logoURL(other.m_logoURL)
    , m_componentPIDs(other.m_componentPIDs)
    , m_providerName(other.m_providerName)
    , m_networkName(other.m_networkName)
    , m_channelIndex(other.m_channelIndex)
    , m_listID(other.m_listID)
    , m_flags()
{
    m_flags.favourite = other.m_flags.favourite;
    m_flags.locked = other.m_flags.locked;
    m_flags.manualBlock = other.m_flags.manualBlock;
    m_flags.hidden = other.m_flags.hidden;
    m_flags.authorised = other.m_flags.authorised;
}

ChannelTunerData& ChannelTunerData::operator=(const ChannelTunerData& other)
{
    m_tunerID = other.m_tunerID;
    m_channelID = other.m_channelID;
    m_channelType = other.m_channelType;
    m_idType = other.m_idType;
    m_dsd = other.m_dsd;
    m_onid = other.m_onid;
    m_tsid = other.m_tsid;
    m_sid = other.m_sid;
    m_majorChannel = other.m_majorChannel;
    m_minorChannel = other.m_minorChannel;
    m_sourceID = other.m_sourceID;
    m_frequency = other.m_frequency;
    m_longName = other.m_longName;
    m_name = other.m_name;
    m_channelMaxBitRate = other.m_channelMaxBitRate;
    m_channelTTR = other.m_channelTTR;
    m_ipBroadcastID = other.m_ipBroadcastID;
    m_favouriteIDs = other.m_favouriteIDs;
    m_serviceType = other.m_serviceType;
    m_bouquetID = other.m_bouquetID;
    m_description = other.m_description;
    m_logoURL = other.m_logoURL;
    m_componentPIDs = other.m_componentPIDs;
    m_providerName = other.m_providerName;
    m_networkName = other.m_networkName;
    m_channelIndex = other.m_channelIndex;
    m_listID = other.m_listID;
    m_flags.favourite = other.m_flags.favourite;
    m_flags.locked = other.m_flags.locked;
    m_flags.manualBlock = other.m_flags.manualBlock;
    m_flags.hidden = other.m_flags.hidden;
    m_flags.authorised = other.m_flags.authorised;
    return *this;
}

ChannelTunerData::~ChannelTunerData() = default;

// "ccid:<scheme>:<type>:<onid>.<tsid>.<sid>:<major>:<name>", for example
// "ccid:dvbt:tv:8468.769.28006:1:Das Erste".
void ChannelTunerData::autoUpdateChannelID()
{
    m_channelID = "ccid:" + idTypeScheme(m_idType) + ":" + channelTypeName(m_channelType) + ":" + std::to_string(m_onid)
        + "." + std::to_string(m_tsid) + "." + std::to_string(m_sid) + ":" + std::to_string(m_majorChannel) + ":"
        + m_name;
}

std::uint16_t ChannelTunerData::getFlagBits() const
{
    return static_cast<std::uint16_t>(m_flags.favourite | m_flags.locked << 1 | m_flags.manualBlock << 2
        | m_flags.hidden << 3 | m_flags.authorised << 4);
}

} // namespace NCOR
