#include "TraceDecoding.h"

#include <algorithm>
#include <cstdlib>

namespace hbbtv_simulator {

namespace tf = HbbtvTraceFormat;

std::string textOf(const Json& object, const char* key)
{
    return object.contains(key) && object[key].is_string() ? object[key].get<std::string>() : std::string();
}

void writeRecordedAnswer(const Json& recorded, HbbtvServiceRequestAnswer& answer)
{
    answer.flag = number<uint8_t>(recorded, tf::answer::flag);
    answer.intValue1 = number<int32_t>(recorded, tf::answer::int1);
    answer.intValue2 = number<int32_t>(recorded, tf::answer::int2);
    answer.strValue1 = textOf(recorded, tf::answer::str1).c_str();
    answer.strValue2 = textOf(recorded, tf::answer::str2).c_str();
    if (recorded.contains(tf::answer::refused)) {
        static_cast<HbbtvServiceRequestDvbResourceMountAnswer&>(answer).refused
            = number<uint32_t>(recorded, tf::answer::refused);
    }
    if (recorded.contains(tf::answer::lineupWord)) {
        static_cast<HbbtvServiceRequestChannelsLineupAnswer&>(answer).lineupWord
            = number<uint32_t>(recorded, tf::answer::lineupWord);
    }
    if (recorded.contains(tf::answer::channel)) {
        namespace field = tf::channelInfo;
        const Json& c = recorded[tf::answer::channel];
        HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo& info
            = static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
        info.channelNumberA = number<uint16_t>(c, field::numberA);
        info.channelNumberB = number<uint16_t>(c, field::numberB);
        info.channelNumberC = number<uint16_t>(c, field::numberC);
        info.channelNumberD = number<uint16_t>(c, field::numberD);
        info.extraNumberE = number<uint16_t>(c, field::extraE);
        info.extraNumberF = number<uint16_t>(c, field::extraF);
        info.channelType = number<uint32_t>(c, field::type);
        info.idType = number<uint32_t>(c, field::idType);
        info.invertedFlag = number<uint8_t>(c, field::inverted);
        info.lockFlags = number<uint8_t>(c, field::lock);
        info.name = textOf(c, field::name).c_str();
    }
    if (recorded.contains(tf::answer::programme)) {
        namespace field = tf::programmeInfo;
        const Json& p = recorded[tf::answer::programme];
        HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info
            = static_cast<HbbtvServiceRequestProgramInfoAnswer&>(answer).programInfo;
        info.time1 = number<uint32_t>(p, field::time1);
        info.time2 = number<uint32_t>(p, field::time2);
        info.text1 = textOf(p, field::text1).c_str();
        info.text2 = textOf(p, field::text2).c_str();
        info.text3 = textOf(p, field::text3).c_str();
        info.text4 = textOf(p, field::text4).c_str();
    }
    if (recorded.contains(tf::answer::componentCount)) {
        static_cast<HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo.count
            = number<int32_t>(recorded, tf::answer::componentCount);
    }
    answer.valid = number<uint8_t>(recorded, tf::answer::valid);
}

std::vector<hbbtv_sim::LineupChannel> lineupFrom(const Json& line)
{
    namespace field = tf::lineupEntry;
    std::vector<hbbtv_sim::LineupChannel> channels;
    const size_t recorded = number<size_t>(line, tf::hostdata::recorded);
    for (size_t i = 0; i < recorded; ++i) {
        const Json& c = line.value(tf::numbered(tf::hostdata::channelStem, i), Json::object());
        hbbtv_sim::LineupChannel channel;
        channel.channelID1 = number<uint16_t>(c, field::id1);
        channel.channelID2 = number<uint16_t>(c, field::id2);
        channel.channelID3 = number<uint16_t>(c, field::id3);
        channel.channelType = number<uint16_t>(c, field::type);
        channel.idType = number<uint16_t>(c, field::idType);
        channel.flagA = number<uint16_t>(c, field::flagA);
        channel.numberA = number<uint16_t>(c, field::numberA);
        channel.numberB = number<uint16_t>(c, field::numberB);
        channel.flagB = number<uint32_t>(c, field::flagB);
        channel.name = textOf(c, field::name);
        channels.push_back(channel);
    }
    return channels;
}

std::vector<HbbtvEPGInformation> scheduleFrom(const Json& line)
{
    namespace field = tf::scheduleEntry;
    std::vector<HbbtvEPGInformation> events;
    const size_t recorded = number<size_t>(line, tf::hostdata::recorded);
    for (size_t i = 0; i < recorded; ++i) {
        const Json& e = line.value(tf::numbered(tf::hostdata::programmeStem, i), Json::object());
        HbbtvEPGInformation event{};
        event.word0 = number<uint32_t>(e, field::word0);
        event.word1 = number<uint32_t>(e, field::word1);
        event.word2 = number<uint32_t>(e, field::word2);
        event.word3 = number<uint32_t>(e, field::word3);
        event.text1 = textOf(e, field::text1);
        event.text2 = textOf(e, field::text2);
        event.text3 = textOf(e, field::text3);
        event.text4 = textOf(e, field::text4);
        event.parentalRating = number<uint8_t>(e, field::rating);
        event.value16 = number<uint16_t>(e, field::value16);
        event.text5 = textOf(e, field::text5);
        event.byte0 = number<uint8_t>(e, field::byte0);
        event.byte1 = number<uint8_t>(e, field::byte1);
        event.byte2 = number<uint8_t>(e, field::byte2);
        event.byte3 = number<uint8_t>(e, field::byte3);
        events.push_back(event);
    }
    return events;
}

std::vector<std::vector<unsigned char>> descriptorsFrom(const Json& line)
{
    std::vector<std::vector<unsigned char>> descriptors;
    const size_t recorded = number<size_t>(line, tf::hostdata::recorded);
    for (size_t i = 0; i < recorded; ++i) {
        const std::string hex = textOf(line, tf::numbered(tf::hostdata::descriptorStem, i).c_str());
        std::vector<unsigned char> bytes;
        for (size_t k = 0; k + 1 < hex.size(); k += 2) {
            bytes.push_back(static_cast<unsigned char>(strtoul(hex.substr(k, 2).c_str(), nullptr, 16)));
        }
        descriptors.push_back(bytes);
    }
    return descriptors;
}

void writeRecordedComponents(const Json& line, HbbtvServiceRequestAnswer& answer)
{
    namespace field = tf::componentEntry;
    HbbtvAVComponentInfo& info = static_cast<HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo;
    const bool subtitles = number<int>(line, tf::hostdata::componentType) == NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE;
    const size_t capacity = subtitles ? HbbtvAVComponentInfo::kSubtitleEntries : HbbtvAVComponentInfo::kAVEntries;
    const size_t recorded = std::min(number<size_t>(line, tf::hostdata::recorded), capacity);
    for (size_t k = 0; k < recorded; ++k) {
        const Json& c = line.value(tf::numbered(tf::hostdata::componentStem, k), Json::object());
        if (subtitles) {
            HbbtvAVComponentInfo::SubtitleEntry& entry = info.subtitleEntries[k];
            entry.flagA = number<uint8_t>(c, field::flagA);
            entry.flagB = number<uint8_t>(c, field::flagB);
            entry.valueP = number<uint32_t>(c, field::valueP);
            entry.language = textOf(c, field::language).c_str();
        } else {
            HbbtvAVComponentInfo::AVEntry& entry = info.avEntries[k];
            entry.flagA = number<uint8_t>(c, field::flagA);
            entry.flagB = number<uint8_t>(c, field::flagB);
            entry.valueP = number<uint32_t>(c, field::valueP);
            entry.valueQ = number<uint32_t>(c, field::valueQ);
            entry.valueR = number<uint32_t>(c, field::valueR);
            entry.valueS = number<uint32_t>(c, field::valueS);
            entry.language = textOf(c, field::language).c_str();
        }
    }
}

NCOR::ChannelTunerData channelFrom(const Json& line)
{
    NCOR::ChannelTunerData channel;
    channel.setIdType(static_cast<NCOR::Broadcast::ChannelIDType>(number<int>(line, tf::channel::idType)));
    channel.setOnid(number<int>(line, tf::channel::onid));
    channel.setTsid(number<int>(line, tf::channel::tsid));
    channel.setSid(number<int>(line, tf::channel::sid));
    channel.setMajorChannel(number<int>(line, tf::channel::major));
    channel.setIpBroadcastID(textOf(line, tf::channel::ipBroadcastID));
    channel.setChannelID(textOf(line, tf::channel::ccid));
    return channel;
}

ZR_HBBTV_Core::AITApps aitFrom(const Json& line)
{
    namespace field = tf::aitApp;
    ZR_HBBTV_Core::AITApps apps;
    apps.count = number<int>(line, tf::ait::count);
    const size_t count = number<size_t>(line, tf::ait::apps);
    for (size_t i = 0; i < count; ++i) {
        const Json& a = line.value(tf::numbered(tf::ait::appStem, i), Json::object());
        ZR_HBBTV_Core::AITApp app{};
        app.applicationId = number<uint16_t>(a, field::id);
        app.organisationId = number<uint32_t>(a, field::organisation);
        app.controlCode = number<uint8_t>(a, field::control);
        app.visibility = number<uint8_t>(a, field::visibility);
        app.priority = number<uint8_t>(a, field::priority);
        app.serviceBound = number<uint8_t>(a, field::serviceBound);
        app.name = textOf(a, field::name);
        app.location = textOf(a, field::location);
        for (size_t t = 0; t < number<size_t>(a, field::transports); ++t) {
            app.transports.push_back(
                ZR_HBBTV_Core::AITTransport{number<uint16_t>(a, tf::numbered(field::protocolStem, t).c_str()),
                                            textOf(a, tf::numbered(field::baseStem, t).c_str())});
        }
        for (size_t b = 0; b < number<size_t>(a, field::boundaries); ++b) {
            app.boundaries.push_back(textOf(a, tf::numbered(field::boundaryStem, b).c_str()));
        }
        apps.apps.push_back(app);
    }
    return apps;
}

} // namespace hbbtv_simulator
