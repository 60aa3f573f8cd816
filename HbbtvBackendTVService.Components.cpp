// AV components: the broadcast's video, audio and subtitle components as the host lists them,
// the encoding names, and the fixed list of media profiles the device plays.
#include <cstdio>
#include <new>

#include "HbbtvBackendGlue.Util.h"
#include "HbbtvBackendTVService.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceName[] = "HbbtvBackendTVService";

NCOR::AVComponentData* newComponent(const char* function, int line)
{
    NCOR::AVComponentData* const component = new (std::nothrow) NCOR::AVComponentData();
    if (component == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceName, function, line);
    }
    return component;
}

// A count from the host, bounded by the entries its record has room for.
unsigned int boundedCount(int32_t count, unsigned int capacity, const char* what)
{
    if (count <= 0) {
        return 0;
    }
    if (static_cast<uint32_t>(count) > capacity) {
        printf("\e[0;32;31m[ERR][HbbTV-???]%s: host count %d past the record's %u entries, cut\e[0m\n", what, count,
            capacity);
        return capacity;
    }
    return static_cast<unsigned int>(count);
}

// {"kind":"hostdata","name":"components"}: the entries of the answer record that the library reads
// for the type (bounded by the record), as the host wrote them.
void traceHostComponents(NCOR::Broadcast::ComponentType type, const HbbtvAVComponentInfo& info)
{
    namespace hostdata = trace::format::hostdata;
    namespace field = trace::format::componentEntry;
    trace::Line line(trace::kind::hostdata, hostdata::components);
    const bool subtitles = type == NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE;
    int32_t read = 0;
    if (type == NCOR::Broadcast::COMPONENT_TYPE_VIDEO) {
        read = info.count != 0 ? 1 : 0; // the first one, when the count is not 0
    } else if (subtitles || type == NCOR::Broadcast::COMPONENT_TYPE_AUDIO) {
        const int32_t capacity = subtitles ? HbbtvAVComponentInfo::kSubtitleEntries : HbbtvAVComponentInfo::kAVEntries;
        read = info.count <= 0 ? 0 : (info.count < capacity ? info.count : capacity);
    }
    line.arg(hostdata::componentType, type).arg(hostdata::count, read).arg(hostdata::recorded, read);
    for (int32_t k = 0; k < read; ++k) {
        line.begin(trace::format::numbered(hostdata::componentStem, static_cast<size_t>(k)).c_str());
        if (subtitles) {
            const HbbtvAVComponentInfo::SubtitleEntry& entry = info.subtitleEntries[k];
            line.arg(field::flagA, entry.flagA).arg(field::flagB, entry.flagB).arg(field::valueP, entry.valueP);
            line.arg(field::language, entry.language.terminatedString());
        } else {
            const HbbtvAVComponentInfo::AVEntry& entry = info.avEntries[k];
            line.arg(field::flagA, entry.flagA)
                .arg(field::flagB, entry.flagB)
                .arg(field::valueP, entry.valueP)
                .arg(field::valueQ, entry.valueQ)
                .arg(field::valueR, entry.valueR)
                .arg(field::valueS, entry.valueS)
                .arg(field::language, entry.language.terminatedString());
        }
        line.end();
    }
}

// The components as the browser was given them (at most a record's worth).
void traceGivenComponents(const char* request, const std::vector<NCOR::AVComponentData*>& components, size_t from)
{
    trace::Line line(trace::kind::reply, request);
    line.arg("components", components.size() - from);
    for (size_t i = from; i < components.size(); ++i) {
        const NCOR::AVComponentData& c = *components[i];
        line.begin(("c" + std::to_string(i - from)).c_str())
            .arg("type", c.getComponentType())
            .arg("encoding", c.getEncoding())
            .arg("encrypted", c.getEncrypted())
            .arg("language", c.getLanguage())
            .arg("audioDescription", c.getAudioDescription())
            .arg("audioChannels", c.getAudioChannels())
            .arg("tag", c.getComponentTag())
            .arg("aspectRatio", c.getAspectRatio())
            .arg("hearingImpaired", c.getHearingImpaired())
            .end();
    }
}

} // namespace

void AvComponentInfoTranslator::operator()(
    NCOR::Broadcast::ComponentType type, HbbtvAVComponentInfo& info, std::vector<NCOR::AVComponentData*>& components)
{
    switch (type) {
    case NCOR::Broadcast::COMPONENT_TYPE_VIDEO:
        translateVideoData(info, components);
        break;
    case NCOR::Broadcast::COMPONENT_TYPE_AUDIO:
        translateAudioData(info, components);
        break;
    case NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE:
        translateSubtitleData(info, components);
        break;
    default:
        break;
    }
}

void AvComponentInfoTranslator::translateVideoData(
    HbbtvAVComponentInfo& info, std::vector<NCOR::AVComponentData*>& components)
{
    if (info.count == 0) {
        return;
    }
    const HbbtvAVComponentInfo::AVEntry& entry = info.avEntries[0];
    NCOR::AVComponentData* const component = newComponent(__PRETTY_FUNCTION__, 647);
    component->setComponentType(NCOR::Broadcast::COMPONENT_TYPE_VIDEO);
    component->setEncoding(entry.valueS);
    component->setEncrypted(entry.flagA);
    component->setAspectRatio(entry.valueR);
    components.push_back(component);
}

void AvComponentInfoTranslator::translateAudioData(
    HbbtvAVComponentInfo& info, std::vector<NCOR::AVComponentData*>& components)
{
    const unsigned int count = boundedCount(info.count, HbbtvAVComponentInfo::kAVEntries, "audio components");
    for (unsigned int k = 0; k < count; ++k) {
        const HbbtvAVComponentInfo::AVEntry& entry = info.avEntries[k];
        NCOR::AVComponentData* const component = newComponent(__PRETTY_FUNCTION__, 711);
        component->setComponentType(NCOR::Broadcast::COMPONENT_TYPE_AUDIO);
        component->setEncoding(entry.valueS);
        component->setEncrypted(entry.flagA);
        component->setLanguage(hostTerminatedText(entry.language));
        component->setAudioDescription(entry.flagB);
        component->setAudioChannels(static_cast<uint16_t>(entry.valueQ));
        component->setComponentTag(static_cast<int16_t>(entry.valueP));
        components.push_back(component);
    }
}

void AvComponentInfoTranslator::translateSubtitleData(
    HbbtvAVComponentInfo& info, std::vector<NCOR::AVComponentData*>& components)
{
    const unsigned int count = boundedCount(info.count, HbbtvAVComponentInfo::kSubtitleEntries, "subtitle components");
    for (unsigned int k = 0; k < count; ++k) {
        const HbbtvAVComponentInfo::SubtitleEntry& entry = info.subtitleEntries[k];
        NCOR::AVComponentData* const component = newComponent(__PRETTY_FUNCTION__, 711);
        component->setComponentType(NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE);
        component->setEncrypted(entry.flagA);
        component->setLanguage(hostTerminatedText(entry.language));
        component->setHearingImpaired(entry.flagB);
        component->setComponentTag(static_cast<int16_t>(entry.valueP));
        components.push_back(component);
    }
}

// Both ask with TunerCommand_GetAVInfo: param1 0 for every component, 1 for the active ones only.
void HbbtvBackendTVService::getAVComponents(
    NCOR::Broadcast::ComponentType type, std::vector<NCOR::AVComponentData*>& components)
{
    if (trace::on()) trace::Line(trace::kind::request, "getAVComponents").arg(trace::argument::type, type);
    std::unique_ptr<HbbtvServiceRequestAVInfoAnswer> answer = HbbtvServiceRequestAVInfoAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(TunerCommand_GetAVInfo, 0, type));
    sendServiceRequest(payload, answer);
    const size_t listedBefore = components.size();
    if (answer->valid != 0) {
        if (trace::on()) traceHostComponents(type, answer->avComponentInfo);
        AvComponentInfoTranslator()(type, answer->avComponentInfo, components);
    }
    if (trace::on()) traceGivenComponents("getAVComponents", components, listedBefore);
}

void HbbtvBackendTVService::getActiveAVComponents(
    NCOR::Broadcast::ComponentType type, std::vector<NCOR::AVComponentData*>& components)
{
    if (trace::on()) trace::Line(trace::kind::request, "getActiveAVComponents").arg(trace::argument::type, type);
    std::unique_ptr<HbbtvServiceRequestAVInfoAnswer> answer = HbbtvServiceRequestAVInfoAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(TunerCommand_GetAVInfo, 1, type));
    sendServiceRequest(payload, answer);
    const size_t listedBefore = components.size();
    if (answer->valid != 0) {
        if (trace::on()) traceHostComponents(type, answer->avComponentInfo);
        AvComponentInfoTranslator()(type, answer->avComponentInfo, components);
    }
    if (trace::on()) traceGivenComponents("getActiveAVComponents", components, listedBefore);
}

// An unknown name gives the value of "AVC_HD_25": there is no separate unknown value.
HbbtvAVComponentInfo::ComponentEncoding HbbtvBackendTVService::transformComponentEncodingString2Enum(std::string name)
{
    static const std::map<std::string, HbbtvAVComponentInfo::ComponentEncoding> table
        = map_list_of<std::string, HbbtvAVComponentInfo::ComponentEncoding>(
            "AVC_HD_25", HbbtvAVComponentInfo::AVC_HD_25)("AVC_SD_25", HbbtvAVComponentInfo::AVC_SD_25)(
            "MPEG2_HD_25", HbbtvAVComponentInfo::MPEG2_HD_25)("MPEG2_SD_25", HbbtvAVComponentInfo::MPEG2_SD_25)(
            "AVC_HD_30", HbbtvAVComponentInfo::AVC_HD_30)("AVC_SD_30", HbbtvAVComponentInfo::AVC_SD_30)("MPEG1_L3",
            HbbtvAVComponentInfo::MPEG1_L3)("HEAAC", HbbtvAVComponentInfo::HEAAC)("WAV", HbbtvAVComponentInfo::WAV);
    const std::map<std::string, HbbtvAVComponentInfo::ComponentEncoding>::const_iterator found = table.find(name);
    if (found == table.end()) {
        printf(
            "\e[0;32;31m[ERR][HbbTV-???]%s %s %d\e[0m\n", kSourceName, "transformComponentEncodingString2Enum", 1402);
        printf("\e[0;32;31m[ERR][HbbTV-???]Undefine Encoding Type:%s\e[0m\n", name.c_str());
        return HbbtvAVComponentInfo::AVC_HD_25;
    }
    return found->second;
}

void HbbtvBackendTVService::getSupportedAVProfiles(NCOR::AVProfileData& profiles)
{
    profiles.clearAll();
    profiles.addVideoProfile(NCOR::VideoProfileData("TS_AVC_SD_25_HEAAC", "video/mpeg", ""));
    profiles.addVideoProfile(NCOR::VideoProfileData("TS_AVC_HD_25_HEAAC", "video/mpeg", ""));
    profiles.addVideoProfile(NCOR::VideoProfileData("MP4_AVC_SD_25_HEAAC", "video/mp4", ""));
    profiles.addVideoProfile(NCOR::VideoProfileData("MP4_AVC_HD_25_HEAAC", "video/mp4", ""));
    profiles.addVideoProfile(NCOR::VideoProfileData("TS_AVC_SD_25_E-AC3", "video/mpeg", ""));
    profiles.addVideoProfile(NCOR::VideoProfileData("TS_AVC_HD_25_E-AC3", "video/mpeg", ""));
    profiles.addVideoProfile(NCOR::VideoProfileData("MP4_AVC_SD_25_E-AC3", "video/mp4", ""));
    profiles.addVideoProfile(NCOR::VideoProfileData("MP4_AVC_HD_25_E-AC3", "video/mp4", ""));
    profiles.addAudioProfile(NCOR::AudioProfileData("MPEG1_L3", "audio/mpeg"));
    profiles.addAudioProfile(NCOR::AudioProfileData("HEAAC", "audio/mp4"));
    profiles.addAudioProfile(NCOR::AudioProfileData("WAV", "audio/x-wav"));
}

} // namespace ZR_HBBTV_Core
