#include "TraceDecoding.h"

#include <algorithm>
#include <cstdlib>

namespace hbbtv_simulator {

std::string textOf(const Json& object, const char* key)
{
    return object.contains(key) && object[key].is_string() ? object[key].get<std::string>() : std::string();
}

void writeRecordedAnswer(const Json& recorded, HbbtvServiceRequestAnswer& answer)
{
    answer.flag = number<uint8_t>(recorded, "flag");
    answer.intValue1 = number<int32_t>(recorded, "int1");
    answer.intValue2 = number<int32_t>(recorded, "int2");
    answer.strValue1 = textOf(recorded, "str1").c_str();
    answer.strValue2 = textOf(recorded, "str2").c_str();
    if (recorded.contains("refused")) {
        static_cast<HbbtvServiceRequestDvbResourceMountAnswer&>(answer).refused = number<uint32_t>(recorded, "refused");
    }
    if (recorded.contains("lineupWord")) {
        static_cast<HbbtvServiceRequestChannelsLineupAnswer&>(answer).lineupWord
            = number<uint32_t>(recorded, "lineupWord");
    }
    if (recorded.contains("channel")) {
        const Json& c = recorded["channel"];
        HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo& info
            = static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
        info.channelNumberA = number<uint16_t>(c, "a");
        info.channelNumberB = number<uint16_t>(c, "b");
        info.channelNumberC = number<uint16_t>(c, "c");
        info.channelNumberD = number<uint16_t>(c, "d");
        info.extraNumberE = number<uint16_t>(c, "e");
        info.extraNumberF = number<uint16_t>(c, "f");
        info.channelType = number<uint32_t>(c, "type");
        info.idType = number<uint32_t>(c, "idType");
        info.invertedFlag = number<uint8_t>(c, "inverted");
        info.lockFlags = number<uint8_t>(c, "lock");
        info.name = textOf(c, "name").c_str();
    }
    if (recorded.contains("programme")) {
        const Json& p = recorded["programme"];
        HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info
            = static_cast<HbbtvServiceRequestProgramInfoAnswer&>(answer).programInfo;
        info.time1 = number<uint32_t>(p, "time1");
        info.time2 = number<uint32_t>(p, "time2");
        info.text1 = textOf(p, "text1").c_str();
        info.text2 = textOf(p, "text2").c_str();
        info.text3 = textOf(p, "text3").c_str();
        info.text4 = textOf(p, "text4").c_str();
    }
    if (recorded.contains("count")) {
        static_cast<HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo.count = number<int32_t>(recorded, "count");
    }
    answer.valid = number<uint8_t>(recorded, "valid");
}

std::vector<hbbtv_sim::LineupChannel> lineupFrom(const Json& line)
{
    std::vector<hbbtv_sim::LineupChannel> channels;
    const size_t recorded = number<size_t>(line, "recorded");
    for (size_t i = 0; i < recorded; ++i) {
        const Json& c = line.value("ch" + std::to_string(i), Json::object());
        hbbtv_sim::LineupChannel channel;
        channel.channelID1 = number<uint16_t>(c, "id1");
        channel.channelID2 = number<uint16_t>(c, "id2");
        channel.channelID3 = number<uint16_t>(c, "id3");
        channel.channelType = number<uint16_t>(c, "type");
        channel.idType = number<uint16_t>(c, "idType");
        channel.flagA = number<uint16_t>(c, "flagA");
        channel.numberA = number<uint16_t>(c, "numberA");
        channel.numberB = number<uint16_t>(c, "numberB");
        channel.flagB = number<uint32_t>(c, "flagB");
        channel.name = textOf(c, "name");
        channels.push_back(channel);
    }
    return channels;
}

std::vector<HbbtvEPGInformation> scheduleFrom(const Json& line)
{
    std::vector<HbbtvEPGInformation> events;
    const size_t recorded = number<size_t>(line, "recorded");
    for (size_t i = 0; i < recorded; ++i) {
        const Json& e = line.value("e" + std::to_string(i), Json::object());
        HbbtvEPGInformation event{};
        event.word0 = number<uint32_t>(e, "word0");
        event.word1 = number<uint32_t>(e, "word1");
        event.word2 = number<uint32_t>(e, "word2");
        event.word3 = number<uint32_t>(e, "word3");
        event.text1 = textOf(e, "text1");
        event.text2 = textOf(e, "text2");
        event.text3 = textOf(e, "text3");
        event.text4 = textOf(e, "text4");
        event.parentalRating = number<uint8_t>(e, "rating");
        event.value16 = number<uint16_t>(e, "value16");
        event.text5 = textOf(e, "text5");
        event.byte0 = number<uint8_t>(e, "byte0");
        event.byte1 = number<uint8_t>(e, "byte1");
        event.byte2 = number<uint8_t>(e, "byte2");
        event.byte3 = number<uint8_t>(e, "byte3");
        events.push_back(event);
    }
    return events;
}

std::vector<std::vector<unsigned char>> descriptorsFrom(const Json& line)
{
    std::vector<std::vector<unsigned char>> descriptors;
    const size_t recorded = number<size_t>(line, "recorded");
    for (size_t i = 0; i < recorded; ++i) {
        const std::string hex = textOf(line, ("d" + std::to_string(i)).c_str());
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
    HbbtvAVComponentInfo& info = static_cast<HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo;
    const bool subtitles = number<int>(line, "type") == NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE;
    const size_t capacity = subtitles ? HbbtvAVComponentInfo::kSubtitleEntries : HbbtvAVComponentInfo::kAVEntries;
    const size_t recorded = std::min(number<size_t>(line, "recorded"), capacity);
    for (size_t k = 0; k < recorded; ++k) {
        const Json& c = line.value("c" + std::to_string(k), Json::object());
        if (subtitles) {
            HbbtvAVComponentInfo::SubtitleEntry& entry = info.subtitleEntries[k];
            entry.flagA = number<uint8_t>(c, "flagA");
            entry.flagB = number<uint8_t>(c, "flagB");
            entry.valueP = number<uint32_t>(c, "valueP");
            entry.language = textOf(c, "language").c_str();
        } else {
            HbbtvAVComponentInfo::AVEntry& entry = info.avEntries[k];
            entry.flagA = number<uint8_t>(c, "flagA");
            entry.flagB = number<uint8_t>(c, "flagB");
            entry.valueP = number<uint32_t>(c, "valueP");
            entry.valueQ = number<uint32_t>(c, "valueQ");
            entry.valueR = number<uint32_t>(c, "valueR");
            entry.valueS = number<uint32_t>(c, "valueS");
            entry.language = textOf(c, "language").c_str();
        }
    }
}

NCOR::ChannelTunerData channelFrom(const Json& line)
{
    NCOR::ChannelTunerData channel;
    channel.setIdType(static_cast<NCOR::Broadcast::ChannelIDType>(number<int>(line, "idType")));
    channel.setOnid(number<int>(line, "onid"));
    channel.setTsid(number<int>(line, "tsid"));
    channel.setSid(number<int>(line, "sid"));
    channel.setMajorChannel(number<int>(line, "major"));
    channel.setIpBroadcastID(textOf(line, "ipBroadcastID"));
    channel.setChannelID(textOf(line, "ccid"));
    return channel;
}

ZR_HBBTV_Core::AITApps aitFrom(const Json& line)
{
    ZR_HBBTV_Core::AITApps apps;
    apps.count = number<int>(line, "count");
    const size_t count = number<size_t>(line, "apps");
    for (size_t i = 0; i < count; ++i) {
        const Json& a = line.value("app" + std::to_string(i), Json::object());
        ZR_HBBTV_Core::AITApp app{};
        app.applicationId = number<uint16_t>(a, "id");
        app.organisationId = number<uint32_t>(a, "org");
        app.controlCode = number<uint8_t>(a, "control");
        app.visibility = number<uint8_t>(a, "visibility");
        app.priority = number<uint8_t>(a, "priority");
        app.serviceBound = number<uint8_t>(a, "serviceBound");
        app.name = textOf(a, "name");
        app.location = textOf(a, "location");
        for (size_t t = 0; t < number<size_t>(a, "transports"); ++t) {
            const std::string index = std::to_string(t);
            app.transports.push_back(
                ZR_HBBTV_Core::AITTransport{number<uint16_t>(a, ("protocol" + index).c_str()), textOf(a, ("base" + index).c_str())});
        }
        for (size_t b = 0; b < number<size_t>(a, "boundaries"); ++b) {
            app.boundaries.push_back(textOf(a, ("boundary" + std::to_string(b)).c_str()));
        }
        apps.apps.push_back(app);
    }
    return apps;
}

} // namespace hbbtv_simulator
