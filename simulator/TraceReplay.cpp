#include "TraceReplay.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <mutex>

#include "HbbtvBackendRecords.h"

namespace hbbtv_simulator {

namespace {

// What the library decides, by kind: these streams are compared. Host calls, browser requests
// and browser callbacks are what the replay itself makes; the answers the host gave are fed back.
const char* const kComparedKinds[] = {"command", "answer", "event", "key", "callback", "reply", "binder"};

// The fields that vary from run to run whatever the library does.
Json comparedFields(const Json& line)
{
    Json fields = line;
    for (const char* key : {"t", "th", "seq", "ticket", "us"}) {
        fields.erase(key);
    }
    if (line["kind"] == "answer") {
        fields.erase("answer"); // the host's, fed back from the recording
    }
    return fields;
}

// Data the host writes outside the answer's plain fields: the channel list in its pool, a schedule
// and SI descriptors in a result vector, the component tables of the answer record. The recording
// carries the first entries of each, in a line of its own: the replay gives them back, and
// compares what the library made of them only when every one of the recording was recorded whole.
struct HostData {
    const char* name;       // of the {"kind":"hostdata"} line
    int command;            // the command whose answer it belongs to
    const char* replies[2]; // the streams that show what the library made of it
};
const HostData kHostData[] = {
    {"lineup", TunerCommand_RequestChannelsLineup, {"reply getChannelList", nullptr}},
    {"schedule", ProgrammeCommand_GetAllProgrammeInfo, {"reply getAllProgrammesForChannel", nullptr}},
    {"siDescriptors", ProgrammeCommand_GetSIDescriptors, {"reply getSIDescriptors", nullptr}},
    {"components", TunerCommand_GetAVInfo, {"reply getAVComponents", "reply getActiveAVComponents"}},
};
const char* const kUnreproducible[] = {"event channelListChanged"};

std::string streamOf(const Json& line);

bool compared(const Json& line, const std::set<std::string>& partlyRecorded)
{
    const std::string kind = line.value("kind", "");
    const std::string stream = streamOf(line);
    return std::find(std::begin(kComparedKinds), std::end(kComparedKinds), kind) != std::end(kComparedKinds)
           && std::find(std::begin(kUnreproducible), std::end(kUnreproducible), stream) == std::end(kUnreproducible)
           && partlyRecorded.count(stream) == 0;
}

// The replies whose host data the recording does not carry whole, for every answer.
std::set<std::string> partlyRecordedReplies(const std::vector<Json>& recorded)
{
    std::set<std::string> partly;
    for (const HostData& data : kHostData) {
        size_t answered = 0;
        size_t whole = 0;
        for (const Json& line : recorded) {
            if (line["kind"] == "answer" && line.value("command", -1) == data.command
                && line.value("outcome", "") == "answered"
                && line.value("answer", Json::object()).value("valid", 0) != 0) {
                ++answered;
            } else if (line["kind"] == "hostdata" && line["name"] == data.name
                       && line.value("recorded", -1) == line.value("count", -2)) {
                ++whole;
            }
        }
        if (answered != whole) {
            for (const char* reply : data.replies) {
                if (reply != nullptr) {
                    partly.insert(reply);
                }
            }
        }
    }
    return partly;
}

std::string streamOf(const Json& line)
{
    const Json& name = line["name"];
    return line.value("kind", "") + " " + (name.is_string() ? name.get<std::string>() : name.dump());
}

// ---- The host of the replay: answers from the recording ------------------------------------------

template <typename T> T number(const Json& object, const char* key)
{
    const Json& value = object.contains(key) ? object[key] : Json();
    return value.is_number() ? value.get<T>() : T();
}

std::string textOf(const Json& object, const char* key)
{
    return object.contains(key) && object[key].is_string() ? object[key].get<std::string>() : std::string();
}

// Writes the recorded answer fields into the answer record of the same type.
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

// The component entries into the answer record; its count came with the answer's fields.
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

class ReplayHost : public hbbtv_sim::SimulatedHost {
public:
    explicit ReplayHost(const std::vector<Json>& recorded)
    {
        // Host data is recorded by the requester right after the request's answer line: it goes
        // with the last answer of its command on that thread.
        std::map<std::pair<int64_t, int>, size_t> lastAnswer; // by thread and command: its number + 1
        for (const Json& line : recorded) {
            if (line["kind"] == "answer") {
                const int command = number<int>(line, "command");
                m_answers[command].push_back(line);
                lastAnswer[{number<int64_t>(line, "th"), command}] = m_answers[command].size();
            } else if (line["kind"] == "hostdata") {
                for (const HostData& data : kHostData) {
                    const auto answer = lastAnswer.find({number<int64_t>(line, "th"), data.command});
                    if (line["name"] == data.name && answer != lastAnswer.end()) {
                        m_answers[data.command][answer->second - 1]["hostdata"] = line;
                        lastAnswer.erase(answer);
                    }
                }
            }
        }
        setAnswerWriter([this](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            Json recorded;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                const std::map<unsigned, Json>::iterator found = m_byTicket.find(request.ticket);
                if (found == m_byTicket.end()) {
                    writeDefaultAnswer(request, answer); // a command the recording does not have
                    return;
                }
                recorded = found->second;
                m_byTicket.erase(found);
            }
            writeRecordedAnswer(recorded.value("answer", Json::object()), answer);
            if (recorded.contains("hostdata") && answer.valid) {
                const Json& data = recorded["hostdata"];
                if (data["name"] == "lineup") {
                    lineupWriter(lineupFrom(data))(request, answer);
                } else if (data["name"] == "schedule") {
                    scheduleWriter(scheduleFrom(data))(request, answer);
                } else if (data["name"] == "siDescriptors") {
                    siDescriptorsWriter(descriptorsFrom(data))(request, answer);
                } else if (data["name"] == "components") {
                    writeRecordedComponents(data, answer);
                }
            }
        });
    }

    // Takes the next recorded answer to this command. A request the host never answered in the
    // recording is not answered now either, and its budget is lowered to 1 ms (the host may
    // shorten a request's life), so that the replay does not wait for it.
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override
    {
        HbbtvCommandPayload* const request = static_cast<HbbtvCommandPayload*>(payload);
        Json recorded;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            std::deque<Json>& queue = m_answers[request->command];
            if (!queue.empty()) {
                recorded = queue.front();
                queue.pop_front();
            }
            if (!recorded.is_null() && recorded.value("outcome", "") == "given up") {
                request->timeoutMs = 1;
                return;
            }
            if (!recorded.is_null()) {
                m_byTicket[request->ticket] = recorded;
            }
        }
        SimulatedHost::HBBTV_ServiceRequestHandler(payload, answer);
    }

private:
    std::mutex m_mutex;
    std::map<int, std::deque<Json>> m_answers;
    std::map<unsigned, Json> m_byTicket;
};

// ---- Driving the library -------------------------------------------------------------------------

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

class Player {
public:
    Player(ReplayHost& host, hbbtv_sim::SimulatedBrowser& browser, ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper)
        : m_host(host), m_browser(browser), m_wrapper(wrapper)
    {
    }

    // False when the line names a call the replay does not know (reported, and skipped).
    bool play(const Json& line)
    {
        const std::string kind = line.value("kind", "");
        const std::string name = line["name"].is_string() ? line["name"].get<std::string>() : "";
        if (kind == "host") {
            return hostCall(name, line);
        }
        if (kind == "request") {
            return request(name, line);
        }
        if (kind == "browser") {
            return browserCall(name, line);
        }
        if (kind == "binder" && name == "died") {
            m_browser.die();
            m_browserDead = true;
        }
        return true;
    }

    bool deinitPlayed() const { return m_deinit; }

private:
    bool hostCall(const std::string& name, const Json& l)
    {
        ZR_HBBTV_Core::ZR_HbbtvImplInterface* const w = m_wrapper;
        const auto u16 = [&l](const char* key) { return number<unsigned short>(l, key); };
        static const std::map<std::string, std::function<void(Player&, const Json&)>> calls = {
            {"init", [](Player& p, const Json&) { p.m_wrapper->init(&p.m_host); }},
            {"deinit", [](Player& p, const Json&) { p.m_wrapper->deinit(); p.m_deinit = true; }},
            {"launchBrowser", [](Player& p, const Json&) {
                 if (p.m_browserDead) {
                     p.m_browser.publish(); // a restarted browser publishes its service again
                     p.m_browserDead = false;
                 }
                 p.m_wrapper->launchBrowser();
             }},
        };
        const auto found = calls.find(name);
        if (found != calls.end()) {
            found->second(*this, l);
            return true;
        }
        if (name == "keyClick") w->keyClick(number<unsigned>(l, "key"));
        else if (name == "newAITNotification") w->newAITNotification(number<unsigned>(l, "version"), aitFrom(l));
        else if (name == "noAITNotification") w->noAITNotification(u16("value"));
        else if (name == "createApplication") w->createApplication(number<int>(l, "appId"), textOf(l, "url"), textOf(l, "extra"));
        else if (name == "prepareCreateApplication") w->prepareCreateApplication();
        else if (name == "closeUserCreatedApps") w->closeUserCreatedApps();
        else if (name == "notifyStreamEvent") w->notifyStreamEvent(textOf(l, "url"), textOf(l, "eventName"), textOf(l, "data"), textOf(l, "eventKind"));
        else if (name == "isBrowserReady") w->isBrowserReady();
        else if (name == "SetHbbTVRunningStatus") w->SetHbbTVRunningStatus(l.value("running", false));
        else if (name == "notifyChannelChanged") w->notifyChannelChanged(u16("a"), u16("b"), u16("c"));
        else if (name == "notifyProgrammeChanged") w->notifyProgrammeChanged(u16("a"), u16("b"), u16("c"));
        else if (name == "notifyParentalRatingChange") w->notifyParentalRatingChange(u16("a"), u16("b"), u16("c"), number<int>(l, "d"));
        else if (name == "tunerStopped") w->tunerStopped(l.value("stopped", false));
        else if (name == "notifyBroadbandAccessAvailable") w->notifyBroadbandAccessAvailable(l.value("available", false));
        else if (name == "setCookiesEnabledAttribute") w->setCookiesEnabledAttribute(l.value("enabled", false));
        else if (name == "sendCookiesEnabledAttribute") w->sendCookiesEnabledAttribute();
        else if (name == "notifyTimezoneChanged") w->notifyTimezoneChanged(textOf(l, "timezone").c_str());
        else if (name == "notifyLocaleChanged") w->notifyLocaleChanged(textOf(l, "locale").c_str());
        else if (name == "isAppAlive") w->isAppAlive(number<int>(l, "appId"));
        else if (name == "killCurrentApp") w->killCurrentApp();
        else if (name == "notifyChannelListChanged") w->notifyChannelListChanged();
        else if (name == "forceReleaseMMResource") w->forceReleaseMMResource();
        else if (name == "notifySignalLost") w->notifySignalLost();
        else if (name == "notifyTunerPlundered") w->notifyTunerPlundered();
        else if (name == "toggleDigitalTeletext") w->toggleDigitalTeletext();
        else if (name == "notifyHbbtvServiceRequestFinished") {} // the replay's host completes its own
        else if (name == "selectMMAudioComponent" || name == "selectMMSubtitleComponent") {
            HbbtvMultimediaComponentData component{};
            component.text1 = textOf(l, "text1");
            component.text2 = textOf(l, "text2");
            component.value1 = number<uint32_t>(l, "value1");
            component.flag = l.value("flag", false);
            name == "selectMMAudioComponent" ? w->selectMMAudioComponent(component) : w->selectMMSubtitleComponent(component);
        } else return false;
        return true;
    }

    bool request(const std::string& name, const Json& l)
    {
        if (name == "registerAITSignallingClient") {
            return m_browser.registerClients(); // the browser registers its clients together
        }
        if (name.rfind("register", 0) == 0 && name.find("Client") != std::string::npos) {
            return true;
        }
        const android::sp<ITVService> s = m_browser.tvService();
        if (s == nullptr) {
            return false;
        }
        std::string text;
        if (name == "tune") s->tune(channelFrom(l));
        else if (name == "bindToCurrentChannel") s->bindToCurrentChannel(channelFrom(l));
        else if (name == "getCurrentChannel") { NCOR::ChannelTunerData channel; s->getCurrentChannel(channel); }
        else if (name == "getChannelList") {
            std::vector<NCOR::ChannelTunerData*> channels;
            s->getChannelList(channels);
            for (NCOR::ChannelTunerData* channel : channels) delete channel;
        } else if (name == "getProgrammes") {
            std::vector<NCOR::ProgrammeData*> programmes;
            s->getProgrammes(programmes);
            for (NCOR::ProgrammeData* programme : programmes) delete programme;
        } else if (name == "getAllProgrammesForChannel") {
            std::vector<NCOR::ProgrammeData*> programmes;
            s->getAllProgrammesForChannel(channelFrom(l), programmes);
            for (NCOR::ProgrammeData* programme : programmes) delete programme;
        } else if (name == "getSIDescriptors") {
            std::vector<std::vector<unsigned char>> descriptors;
            s->getSIDescriptors(textOf(l, "programmeID"), static_cast<NCOR::EIT::DescriptorTag>(number<int>(l, "tag")),
                                static_cast<NCOR::EIT::ExtensionDescriptorTag>(number<int>(l, "extensionTag")), descriptors);
        } else if (name == "getAVComponents" || name == "getActiveAVComponents") {
            std::vector<NCOR::AVComponentData*> components;
            const auto type = static_cast<NCOR::Broadcast::ComponentType>(number<int>(l, "type"));
            name == "getAVComponents" ? s->getAVComponents(type, components) : s->getActiveAVComponents(type, components);
            for (NCOR::AVComponentData* component : components) delete component;
        } else if (name == "selectAVComponent" || name == "unselectAVComponent") {
            NCOR::AVComponentData component;
            component.setComponentType(static_cast<NCOR::Broadcast::ComponentType>(number<int>(l, "type")));
            component.setComponentTag(number<int16_t>(l, "tag"));
            name == "selectAVComponent" ? s->selectAVComponent(component) : s->unselectAVComponent(component);
        } else if (name == "setViewport") {
            s->setViewport(l.value("fullScreen", false), number<int>(l, "x"), number<int>(l, "y"), number<int>(l, "width"),
                           number<int>(l, "height"));
        } else if (name == "stopVideo") s->stopVideo();
        else if (name == "releaseVideo") s->releaseVideo();
        else if (name == "requestOCResourceMount") s->requestOCResourceMount(textOf(l, "url"), text);
        else if (name == "registerStreamEvent") s->registerStreamEvent(textOf(l, "target"), textOf(l, "event"));
        else if (name == "unregisterStreamEvent") s->unregisterStreamEvent(textOf(l, "target"), textOf(l, "event"));
        else if (name == "suspendBroadcastService") s->suspendBroadcastService();
        else if (name == "resumeBroadcastService") s->resumeBroadcastService();
        else if (name == "leaveLiveIn") s->leaveLiveIn();
        else if (name == "returnLiveIn") s->returnLiveIn();
        else if (name == "getCountryId") s->getCountryId(text);
        else if (name == "getPreferredSubtitleLanguage") s->getPreferredSubtitleLanguage(text);
        else if (name == "getPreferredAudioLanguage") s->getPreferredAudioLanguage(text);
        else if (name == "getModelName") s->getModelName(text);
        else if (name == "getSoftwareVersion") s->getSoftwareVersion(text);
        else if (name == "getHardwareVersion") s->getHardwareVersion(text);
        else if (name == "getSerialNumber") s->getSerialNumber(text);
        else if (name == "getAudioDescriptionEnable") s->getAudioDescriptionEnable();
        else if (name == "getParentalControlThreshold") s->getParentalControlThreshold();
        else return false;
        return true;
    }

    bool browserCall(const std::string& name, const Json& l)
    {
        if (name == "notifyNewWindow") m_browser.notifyNewWindow(number<int>(l, "windowId"));
        else if (name == "notifyWindowClosed") m_browser.notifyWindowClosed(number<int>(l, "windowId"));
        else if (name == "notifyLoadStarted") m_browser.notifyLoadStarted(number<int>(l, "loadId"), textOf(l, "url"));
        else if (name == "notifyLoadProgress") m_browser.notifyLoadProgress(number<int>(l, "loadId"), number<int>(l, "percent"));
        else if (name == "notifyLoadComplete") m_browser.notifyLoadComplete(number<int>(l, "loadId"));
        else if (name == "notifyLoadFailed") m_browser.notifyLoadFailed(number<int>(l, "loadId"), textOf(l, "url"), number<int>(l, "error"));
        else if (name == "notifyInitialLayoutCompleted") m_browser.notifyInitialLayoutCompleted(number<int>(l, "loadId"));
        else if (name == "notifyKeyEventConsumed") {} // the simulated browser answers keys itself
        else return false;
        return true;
    }

    ReplayHost& m_host;
    hbbtv_sim::SimulatedBrowser& m_browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* m_wrapper;
    bool m_browserDead = false;
    bool m_deinit = false;
};

} // namespace

std::vector<Json> readTrace(const std::string& path)
{
    std::ifstream in(path);
    if (!in) {
        throw ScenarioError("cannot read the trace " + path);
    }
    std::vector<Json> lines;
    std::string text;
    unsigned number = 0;
    while (std::getline(in, text)) {
        ++number;
        // A recording whose process died ends in zero bytes, perhaps after a line cut short:
        // nothing before a zero byte is a whole line.
        const size_t zero = text.find_last_of('\0');
        if (zero != std::string::npos) {
            text.erase(0, zero + 1);
        }
        Json line = Json::parse(text, nullptr, false);
        if (zero != std::string::npos && (text.empty() || line.is_discarded())) {
            continue;
        }
        if (line.is_discarded() || !line.is_object() || !line["kind"].is_string()) {
            throw ScenarioError(path + ":" + std::to_string(number) + " is not a trace line");
        }
        if (line.contains("seq")) { // drop counts carry none and are left out
            lines.push_back(std::move(line));
        }
    }
    // The file is appended to: numbers that start again begin the next recording; the last counts.
    size_t lastStart = 0;
    for (size_t i = 1; i < lines.size(); ++i) {
        if (!lines[i]["seq"].is_number_unsigned() || !lines[i - 1]["seq"].is_number_unsigned()) {
            throw ScenarioError(path + ": a line without a sequence number");
        }
        if (lines[i]["seq"].get<uint64_t>() <= lines[i - 1]["seq"].get<uint64_t>()) {
            lastStart = i;
        }
    }
    if (lastStart != 0) {
        printf("[replay] %s holds several recordings; the last one is taken\n", path.c_str());
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lastStart));
    }
    return lines;
}

std::vector<Divergence> compareTraces(const std::vector<Json>& recorded, const std::vector<Json>& replayed)
{
    // One stream per kind and name: crossings of different names may interleave differently when
    // they come from different threads, those of one name may not.
    std::map<std::string, std::vector<const Json*>> before, after;
    const std::set<std::string> partlyRecorded = partlyRecordedReplies(recorded);
    for (const Json& line : recorded) {
        if (compared(line, partlyRecorded)) before[streamOf(line)].push_back(&line);
    }
    for (const Json& line : replayed) {
        if (compared(line, partlyRecorded)) after[streamOf(line)].push_back(&line);
    }
    std::vector<std::string> streams;
    for (const auto& s : before) streams.push_back(s.first);
    for (const auto& s : after) {
        if (before.count(s.first) == 0) streams.push_back(s.first);
    }
    std::vector<Divergence> divergences;
    for (const std::string& stream : streams) {
        const std::vector<const Json*>& a = before[stream];
        const std::vector<const Json*>& b = after[stream];
        for (size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
            const Json left = i < a.size() ? comparedFields(*a[i]) : Json();
            const Json right = i < b.size() ? comparedFields(*b[i]) : Json();
            if (left == right) {
                continue;
            }
            divergences.push_back(Divergence{stream, i + 1, i < a.size() ? (*a[i])["seq"].get<uint64_t>() : 0,
                                             i < b.size() ? (*b[i])["seq"].get<uint64_t>() : 0,
                                             left.is_null() ? "nothing" : left.dump(), right.is_null() ? "nothing" : right.dump()});
        }
    }
    std::sort(divergences.begin(), divergences.end(), [](const Divergence& x, const Divergence& y) {
        const uint64_t a = x.recordedSeq != 0 ? x.recordedSeq : UINT64_MAX;
        const uint64_t b = y.recordedSeq != 0 ? y.recordedSeq : UINT64_MAX;
        return a != b ? a < b : x.replayedSeq < y.replayedSeq;
    });
    return divergences;
}

int replay(const Options& options, const std::string& tracePath, const std::string& replayTrace,
           const std::string& shmSuffix)
{
    std::vector<Json> recorded;
    try {
        recorded = readTrace(tracePath);
    } catch (const ScenarioError& error) {
        fprintf(stderr, "hbbtv_simulator: %s\n", error.what());
        return 2;
    }
    if (recorded.empty() || recorded.front()["kind"] != "host" || recorded.front()["name"] != "init") {
        fprintf(stderr, "hbbtv_simulator: %s does not start with the host's init; record from boot\n",
                tracePath.c_str());
        return 2;
    }
    printf("[replay] %s: %zu lines, library %s\n", tracePath.c_str(), recorded.size(), options.library.c_str());
    remove(replayTrace.c_str());
    remove((replayTrace + ".1").c_str());
    setenv("HBBTV_TRACE", replayTrace.c_str(), 1); // read by the library at init
    setenv("HBBTV_TRACE_MAX_MB", "1024", 1);

    void* const library = dlopen(options.library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        fprintf(stderr, "hbbtv_simulator: dlopen: %s\n", dlerror());
        return 2;
    }
    const CreateWrapperFunction create = reinterpret_cast<CreateWrapperFunction>(dlsym(library, "CreateHbbtvWrapper"));
    const DestroyWrapperFunction destroy
        = reinterpret_cast<DestroyWrapperFunction>(dlsym(library, "DestroyHbbtvWrapper"));
    if (create == nullptr || destroy == nullptr) {
        fprintf(stderr, "hbbtv_simulator: the library lacks CreateHbbtvWrapper or DestroyHbbtvWrapper\n");
        return 2;
    }
    ReplayHost host(recorded);
    hbbtv_sim::SimulatedBrowser browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = create();
    host.setWrapper(wrapper);
    browser.publish(); // the browser runs before the host binds it
    Player player(host, browser, wrapper);
    unsigned unknown = 0;
    for (const Json& line : recorded) {
        if (!player.play(line)) {
            ++unknown;
            printf("[replay] seq %llu: cannot replay %s %s; skipped\n",
                   static_cast<unsigned long long>(line["seq"].get<uint64_t>()), line.value("kind", "").c_str(),
                   line["name"].dump().c_str());
        }
    }
    if (!player.deinitPlayed()) {
        wrapper->deinit(); // writes the replay's trace out
    }
    host.setWrapper(nullptr); // a host stops reporting to a wrapper it destroys
    destroy(wrapper);
    shm_unlink(("/hbbtv" + shmSuffix).c_str());
    shm_unlink(("/hbbtvChannelList" + shmSuffix).c_str());

    std::vector<Json> replayed;
    try {
        replayed = readTrace(replayTrace);
    } catch (const ScenarioError& error) {
        fprintf(stderr, "hbbtv_simulator: the replay's own trace: %s\n", error.what());
        return 2;
    }
    const std::vector<Divergence> divergences = compareTraces(recorded, replayed);
    for (const Divergence& d : divergences) {
        printf("[replay] DIVERGENCE %s #%zu (recorded seq %llu, replayed seq %llu)\n  recorded: %s\n  replayed: %s\n",
               d.stream.c_str(), d.index, static_cast<unsigned long long>(d.recordedSeq),
               static_cast<unsigned long long>(d.replayedSeq), d.recorded.c_str(), d.replayed.c_str());
    }
    printf("[replay] %zu recorded lines, %zu replayed, %u not replayable, %zu divergence%s; the replay's trace: %s\n",
           recorded.size(), replayed.size(), unknown, divergences.size(), divergences.size() == 1 ? "" : "s",
           replayTrace.c_str());
    fflush(stdout);
    // The library's threads run until the process ends, as in a scenario: no teardown here.
    return divergences.empty() ? 0 : 1;
}

} // namespace hbbtv_simulator
