// The browser's record of one broadcast channel.
#ifndef NCOR_CHANNELTUNERDATA_H
#define NCOR_CHANNELTUNERDATA_H

#include <cstdint>
#include <string>
#include <vector>

#include "ncor/NcorTypes.h"

namespace NCOR {

// Plain value record. The channel identifier (a ccid text) is derived from the channel type, the
// identifier type, the four channel numbers and the name; setters do not refresh it, so whoever
// changes one of those calls autoUpdateChannelID() afterwards.
class ChannelTunerData {
public:
    ChannelTunerData();
    ChannelTunerData(const ChannelTunerData& other);
    ChannelTunerData& operator=(const ChannelTunerData& other);
    ~ChannelTunerData();

    // Recomputes the channel identifier from the members that make up the channel's identity.
    void autoUpdateChannelID();

    int getTunerID() const { return m_tunerID; }
    void setTunerID(int value) { m_tunerID = value; }

    const std::string& getChannelID() const { return m_channelID; }
    void setChannelID(const std::string& value) { m_channelID = value; }

    Broadcast::ChannelType getChannelType() const { return m_channelType; }
    void setChannelType(Broadcast::ChannelType value) { m_channelType = value; }

    Broadcast::ChannelIDType getIdType() const { return m_idType; }
    void setIdType(Broadcast::ChannelIDType value) { m_idType = value; }

    // Delivery system descriptor.
    const std::string& getDsd() const { return m_dsd; }
    void setDsd(const std::string& value) { m_dsd = value; }

    // The channel numbers; -1 where unknown.
    int getOnid() const { return m_onid; }
    void setOnid(int value) { m_onid = value; }
    int getTsid() const { return m_tsid; }
    void setTsid(int value) { m_tsid = value; }
    int getSid() const { return m_sid; }
    void setSid(int value) { m_sid = value; }
    int getMajorChannel() const { return m_majorChannel; }
    void setMajorChannel(int value) { m_majorChannel = value; }

    int getMinorChannel() const { return m_minorChannel; }
    void setMinorChannel(int value) { m_minorChannel = value; }
    int getSourceID() const { return m_sourceID; }
    void setSourceID(int value) { m_sourceID = value; }
    int getFrequency() const { return m_frequency; }
    void setFrequency(int value) { m_frequency = value; }

    const std::string& getLongName() const { return m_longName; }
    void setLongName(const std::string& value) { m_longName = value; }
    const std::string& getName() const { return m_name; }
    void setName(const std::string& value) { m_name = value; }

    int getChannelMaxBitRate() const { return m_channelMaxBitRate; }
    void setChannelMaxBitRate(int value) { m_channelMaxBitRate = value; }
    int getChannelTTR() const { return m_channelTTR; }
    void setChannelTTR(int value) { m_channelTTR = value; }

    // Text form of the channel's address, for channels that are tuned by text rather than by
    // their numbers.
    const std::string& getIpBroadcastID() const { return m_ipBroadcastID; }
    void setIpBroadcastID(const std::string& value) { m_ipBroadcastID = value; }

    const std::vector<std::string>& getFavouriteIDs() const { return m_favouriteIDs; }
    void setFavouriteIDs(const std::vector<std::string>& value) { m_favouriteIDs = value; }
    void addFavouriteID(const std::string& value) { m_favouriteIDs.push_back(value); }

    int getServiceType() const { return m_serviceType; }
    void setServiceType(int value) { m_serviceType = value; }
    int getBouquetID() const { return m_bouquetID; }
    void setBouquetID(int value) { m_bouquetID = value; }

    const std::string& getDescription() const { return m_description; }
    void setDescription(const std::string& value) { m_description = value; }
    const std::string& getLogoURL() const { return m_logoURL; }
    void setLogoURL(const std::string& value) { m_logoURL = value; }

    const std::vector<int>& getComponentPIDs() const { return m_componentPIDs; }
    void setComponentPIDs(const std::vector<int>& value) { m_componentPIDs = value; }

    const std::string& getProviderName() const { return m_providerName; }
    void setProviderName(const std::string& value) { m_providerName = value; }
    const std::string& getNetworkName() const { return m_networkName; }
    void setNetworkName(const std::string& value) { m_networkName = value; }

    // The host's own position of the channel: index in its list, and the list.
    int getChannelIndex() const { return m_channelIndex; }
    void setChannelIndex(int value) { m_channelIndex = value; }
    int getListID() const { return m_listID; }
    void setListID(int value) { m_listID = value; }

    bool isFavourite() const { return m_flags.favourite; }
    void setFavourite(bool value) { m_flags.favourite = value; }
    bool isLocked() const { return m_flags.locked; }
    void setLocked(bool value) { m_flags.locked = value; }
    bool isManualBlock() const { return m_flags.manualBlock; }
    void setManualBlock(bool value) { m_flags.manualBlock = value; }
    bool isHidden() const { return m_flags.hidden; }
    void setHidden(bool value) { m_flags.hidden = value; }
    bool isAuthorised() const { return m_flags.authorised; }
    void setAuthorised(bool value) { m_flags.authorised = value; }

    // The five flags as one word: bit 0 favourite, 1 locked, 2 manual block, 3 hidden,
    // 4 authorised.
    std::uint16_t getFlagBits() const;

private:
    struct Flags {
        std::uint16_t favourite : 1;
        std::uint16_t locked : 1;
        std::uint16_t manualBlock : 1;
        std::uint16_t hidden : 1;
        std::uint16_t authorised : 1;
    };

    int m_tunerID;
    std::string m_channelID;
    Broadcast::ChannelType m_channelType;
    Broadcast::ChannelIDType m_idType;
    std::string m_dsd;
    int m_onid;
    int m_tsid;
    int m_sid;
    int m_majorChannel;
    int m_minorChannel;
    int m_sourceID;
    int m_frequency;
    std::string m_longName;
    std::string m_name;
    int m_channelMaxBitRate;
    int m_channelTTR;
    std::string m_ipBroadcastID;
    std::vector<std::string> m_favouriteIDs;
    int m_serviceType;
    int m_bouquetID;
    std::string m_description;
    std::string m_logoURL;
    std::vector<int> m_componentPIDs;
    std::string m_providerName;
    std::string m_networkName;
    int m_channelIndex;
    int m_listID;
    Flags m_flags;
};

} // namespace NCOR

#endif
