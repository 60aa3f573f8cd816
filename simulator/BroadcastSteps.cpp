// The broadcast services the browser asks the TV service for: the channel list and tuning,
// programmes and schedules, components, object-carousel files and the video window. The host's
// side of each is an answer writer of the simulated host.
#include <algorithm>
#include <cstdio>

#include "StepSupport.h"

namespace hbbtv_simulator {

namespace {

using hbbtv_sim::ReceivedRequest;
using hbbtv_sim::SimulatedHost;

int componentType(const Json& arguments)
{
    return arguments.at("type") == "audio" ? NCOR::Broadcast::COMPONENT_TYPE_AUDIO
                                           : NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE;
}

// The channel the step's "channel" argument names, from the list the browser read; an error
// text when there is none.
std::string needChannel(const Scenario& scenario, const Json& arguments, const ListedChannel*& found)
{
    const std::string name = arguments.at("channel").get<std::string>();
    for (const ListedChannel& channel : scenario.channels) {
        if (channel.record.getName() == name) {
            found = &channel;
            return std::string();
        }
    }
    return "no channel " + quoted(name) + " in the list the browser read (read_channel_list comes first)";
}

// Owns the records a TV-service call hands to the caller.
template <typename Record> struct Owned {
    std::vector<Record*> records;
    ~Owned()
    {
        for (Record* record : records) {
            delete record;
        }
    }
};

// ---- Channels and programmes --------------------------------------------------------------------

std::string titleReadChannelList(const Json& a)
{
    return text("browser reads the channel list (", a.at("channels").size(), " channels in the pool)");
}

std::string runReadChannelList(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    std::vector<hbbtv_sim::LineupChannel> lineup;
    for (const Json& channel : a.at("channels")) {
        hbbtv_sim::LineupChannel entry;
        entry.channelID1 = channel.at("ids")[0].get<uint16_t>();
        entry.channelID2 = channel.at("ids")[1].get<uint16_t>();
        entry.channelID3 = channel.at("ids")[2].get<uint16_t>();
        entry.channelType = channel.at("radio").get<bool>() ? 1 : 0;
        entry.idType = channel.at("idType").get<uint16_t>();
        entry.name = channel.at("name").get<std::string>();
        lineup.push_back(entry);
    }
    s.host.setAnswerWriterFor(TunerCommand_RequestChannelsLineup, SimulatedHost::lineupWriter(lineup));

    Owned<NCOR::ChannelTunerData> list;
    bool read = false;
    const Scenario::Call call = s.measure("getChannelList()", [&] { read = tv->getChannelList(list.records); });
    const std::string commands = Scenario::expectCommands(call, { TunerCommand_RequestChannelsLineup });
    if (!commands.empty()) {
        return commands;
    }
    if (!read) {
        return "getChannelList returned false";
    }
    if (list.records.size() != lineup.size()) {
        return text("the browser got ", list.records.size(), " channels, the host listed ", lineup.size());
    }
    s.channels.clear();
    std::vector<std::string> names;
    for (size_t i = 0; i < lineup.size(); ++i) {
        const NCOR::ChannelTunerData& record = *list.records[i];
        if (record.getName() != asRecorded(lineup[i].name)) {
            return text("channel ", i + 1, " reached the browser as ", quoted(record.getName()), ", expected ",
                quoted(lineup[i].name));
        }
        const NCOR::Broadcast::ChannelType type
            = lineup[i].channelType == 1 ? NCOR::Broadcast::TYPE_RADIO : NCOR::Broadcast::TYPE_TV;
        if (record.getChannelType() != type) {
            return text(
                "channel ", quoted(record.getName()), " has type ", record.getChannelType(), ", expected ", type);
        }
        s.channels.push_back(
            ListedChannel { record, { lineup[i].channelID1, lineup[i].channelID2, lineup[i].channelID3 } });
        names.push_back(record.getName());
    }
    s.trace(text("    the browser got ", names.size(), " channels: ", joined(names)));
    return "";
}

std::string titleTune(const Json& a)
{
    return "browser tunes to " + quoted(a.at("channel").get<std::string>());
}

std::string runTune(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const ListedChannel* channel = nullptr;
    const std::string unknown = needChannel(s, a, channel);
    if (!unknown.empty()) {
        return unknown;
    }
    s.host.setAnswerWriterFor(TunerCommand_TuneTo, SimulatedHost::resultWriter(NCOR::Broadcast::PLAY_ERROR_NONE));
    NCOR::Broadcast::PlayStateError result = NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    const Scenario::Call call = s.measure("tune(" + channel->record.getName() + ")", [&] { result = tv->tune(channel->record); });
    const std::string commands = Scenario::expectCommands(call, { TunerCommand_TuneTo });
    if (!commands.empty()) {
        return commands;
    }
    const ReceivedRequest& request = call.requests[0];
    if (request.byString != 0 || request.channelID1 != channel->ids[0] || request.channelID2 != channel->ids[1]
        || request.channelID3 != channel->ids[2]) {
        return text("the host was asked for channel ", request.channelID1, "/", request.channelID2, "/",
            request.channelID3, (request.byString != 0 ? " by text " + quoted(request.strParam1) : ""), ", listed as ",
            channel->ids[0], "/", channel->ids[1], "/", channel->ids[2]);
    }
    if (result != NCOR::Broadcast::PLAY_ERROR_NONE) {
        return text("tune returned play state ", result, ", the host answered ", NCOR::Broadcast::PLAY_ERROR_NONE);
    }
    s.trace(text("    the host tuned to ", channel->ids[0], "/", channel->ids[1], "/", channel->ids[2],
        "; the browser got play state ", result, " (no error)"));
    return "";
}

hbbtv_sim::HostProgramme hostProgramme(const Json& p)
{
    hbbtv_sim::HostProgramme programme;
    programme.start = p.at("start").get<uint32_t>();
    programme.duration = p.at("duration").get<uint32_t>();
    programme.name = p.at("name").get<std::string>();
    programme.description = p.at("description").get<std::string>();
    programme.programmeId = p.at("id").get<std::string>();
    return programme;
}

// "" when the browser's programme shows what the host gave.
std::string sameProgramme(const NCOR::ProgrammeData& got, const std::string& name, uint32_t start, uint32_t duration)
{
    if (got.getName() != asRecorded(name) || got.getStartTime() != start || got.getDuration() != duration) {
        return text("the browser got ", quoted(got.getName()), " at ", got.getStartTime(), " for ", got.getDuration(),
            " s, the host gave ", quoted(name), " at ", start, " for ", duration, " s");
    }
    return "";
}

std::string runReadProgrammes(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const hbbtv_sim::HostProgramme present = hostProgramme(a.at("present"));
    const hbbtv_sim::HostProgramme following = hostProgramme(a.at("following"));
    s.host.setAnswerWriterFor(
        ProgrammeCommand_GetProgrammeInfo, SimulatedHost::presentFollowingWriter(present, following));
    Owned<NCOR::ProgrammeData> programmes;
    const Scenario::Call call = s.measure("getProgrammes()", [&] { tv->getProgrammes(programmes.records); });
    const std::string commands
        = Scenario::expectCommands(call, { ProgrammeCommand_GetProgrammeInfo, ProgrammeCommand_GetProgrammeInfo });
    if (!commands.empty()) {
        return commands;
    }
    if (call.requests[0].param1 != 1 || call.requests[1].param1 != 0) {
        return text("the host was asked with param1 ", call.requests[0].param1, " then ", call.requests[1].param1,
            ", expected 1 (present) then 0 (following)");
    }
    if (programmes.records.size() != 2) {
        return text("the browser got ", programmes.records.size(), " programmes, expected 2");
    }
    std::string wrong = sameProgramme(*programmes.records[0], present.name, present.start, present.duration);
    if (wrong.empty()) {
        wrong = sameProgramme(*programmes.records[1], following.name, following.start, following.duration);
    }
    if (!wrong.empty()) {
        return wrong;
    }
    s.trace(text("    now ", quoted(present.name), " (", present.duration, " s), next ", quoted(following.name), " (",
        following.duration, " s)"));
    return "";
}

std::string titleReadSchedule(const Json& a)
{
    return text("browser reads the schedule of ", quoted(a.at("channel").get<std::string>()), " (",
        a.at("programmes").size(), " programmes)");
}

std::string runReadSchedule(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const ListedChannel* channel = nullptr;
    const std::string unknown = needChannel(s, a, channel);
    if (!unknown.empty()) {
        return unknown;
    }
    std::vector<HbbtvEPGInformation> events;
    for (const Json& p : a.at("programmes")) {
        HbbtvEPGInformation event {};
        event.word1 = p.at("start").get<uint32_t>();
        event.word3 = p.at("duration").get<uint32_t>();
        event.text1 = p.at("name").get<std::string>();
        event.text2 = p.at("description").get<std::string>();
        event.text4 = p.at("genre").get<std::string>();
        event.parentalRating = p.at("rating").get<uint8_t>();
        events.push_back(event);
    }
    s.host.setAnswerWriterFor(ProgrammeCommand_GetAllProgrammeInfo, SimulatedHost::scheduleWriter(events));
    Owned<NCOR::ProgrammeData> programmes;
    bool read = false;
    const Scenario::Call call = s.measure("getAllProgrammesForChannel(" + channel->record.getName() + ")",
        [&] { read = tv->getAllProgrammesForChannel(channel->record, programmes.records); });
    const std::string commands = Scenario::expectCommands(call, { ProgrammeCommand_GetAllProgrammeInfo });
    if (!commands.empty()) {
        return commands;
    }
    if (call.requests[0].resultAddress == 0) {
        return "the request carried no result vector for the host to fill";
    }
    if (!read || programmes.records.size() != events.size()) {
        return text("getAllProgrammesForChannel returned ", read, " with ", programmes.records.size(),
            " programmes, the host gave ", events.size());
    }
    std::vector<std::string> names;
    for (size_t i = 0; i < events.size(); ++i) {
        const NCOR::ProgrammeData& got = *programmes.records[i];
        const std::string wrong = sameProgramme(got, events[i].text1, events[i].word1, events[i].word3);
        if (!wrong.empty()) {
            return text("programme ", i + 1, ": ", wrong);
        }
        if (got.getChannelID() != channel->record.getChannelID()) {
            return text("programme ", i + 1, " names channel ", quoted(got.getChannelID()), ", expected ",
                quoted(channel->record.getChannelID()));
        }
        const int rating = events[i].parentalRating;
        if (got.getParentalRatings().size() != 1 || (rating > 2 && got.getParentalRatings()[0]->getValue() != rating)) {
            return text("programme ", i + 1, " reached the browser without its parental rating ", rating);
        }
        names.push_back(got.getName() + (rating > 2 ? text(" (rated ", rating, ")") : std::string()));
    }
    s.trace("    the host filled the vector in place: " + joined(names) + " on " + channel->record.getChannelID());
    return "";
}

std::string titleReadSIDescriptors(const Json& a)
{
    return text("browser reads the SI descriptors of ", a.at("programme").get<std::string>(), " with tag ",
        a.at("tag").get<int>(), " (", a.at("descriptors").size(), ")");
}

// The host answers with the descriptors (tag, length, the text's bytes); the browser must get them
// byte for byte.
std::string runReadSIDescriptors(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    std::vector<std::vector<unsigned char>> answered;
    for (const Json& d : a.at("descriptors")) {
        const std::string payload = d.at("text").get<std::string>();
        if (payload.size() > 255) {
            return text("a descriptor's payload holds at most 255 bytes, not ", payload.size());
        }
        std::vector<unsigned char> descriptor = { d.at("tag").get<unsigned char>(),
            static_cast<unsigned char>(payload.size()) };
        descriptor.insert(descriptor.end(), payload.begin(), payload.end());
        answered.push_back(descriptor);
    }
    s.host.setAnswerWriterFor(ProgrammeCommand_GetSIDescriptors, SimulatedHost::siDescriptorsWriter(answered));
    const int tag = a.at("tag").get<int>();
    std::vector<std::vector<unsigned char>> descriptors;
    const Scenario::Call call = s.measure(text("getSIDescriptors(", a.at("programme").get<std::string>(), ")"), [&] {
        tv->getSIDescriptors(a.at("programme").get<std::string>(), static_cast<NCOR::EIT::DescriptorTag>(tag),
            static_cast<NCOR::EIT::ExtensionDescriptorTag>(0), descriptors);
    });
    const std::string commands = Scenario::expectCommands(call, { ProgrammeCommand_GetSIDescriptors });
    if (!commands.empty()) {
        return commands;
    }
    if (call.requests[0].param1 != tag || call.requests[0].resultAddress == 0) {
        return text("the host was asked for tag ", call.requests[0].param1, " with result vector ",
            call.requests[0].resultAddress != 0, "; expected tag ", tag, " with one");
    }
    if (descriptors != answered) {
        return text("the browser got ", descriptors.size(), " descriptors, not the ", answered.size(),
            " the host gave byte for byte");
    }
    s.trace(text("    the host filled the vector in place: ", descriptors.size(), " descriptors"));
    return "";
}

// ---- Components ---------------------------------------------------------------------------------

std::string titleListComponents(const Json& a)
{
    return text("browser lists the ", a.at("type").get<std::string>(), " components (", a.at("components").size(), ")");
}

std::string runListComponents(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const int type = componentType(a);
    std::vector<hbbtv_sim::HostComponent> listed;
    for (const Json& c : a.at("components")) {
        hbbtv_sim::HostComponent component;
        component.flagA = 0;
        component.valueP = c.at("tag").get<uint32_t>();
        component.valueQ = 2;
        component.language = c.at("language").get<std::string>();
        listed.push_back(component);
    }
    s.host.setAnswerWriterFor(TunerCommand_GetAVInfo, SimulatedHost::componentsWriter({ { type, listed } }));
    Owned<NCOR::AVComponentData> components;
    const Scenario::Call call = s.measure(text("getAVComponents(", a.at("type").get<std::string>(), ")"),
        [&] { tv->getAVComponents(static_cast<NCOR::Broadcast::ComponentType>(type), components.records); });
    const std::string commands = Scenario::expectCommands(call, { TunerCommand_GetAVInfo });
    if (!commands.empty()) {
        return commands;
    }
    if (call.requests[0].param1 != 0 || call.requests[0].param2 != type) {
        return text("the host was asked for param1 ", call.requests[0].param1, ", type ", call.requests[0].param2,
            "; expected all (0) of type ", type);
    }
    const size_t capacity = type == NCOR::Broadcast::COMPONENT_TYPE_AUDIO ? HbbtvAVComponentInfo::kAVEntries
                                                                          : HbbtvAVComponentInfo::kSubtitleEntries;
    const size_t count = std::min(listed.size(), capacity);
    if (components.records.size() != count) {
        return text("the browser got ", components.records.size(), " components, the host listed ", count);
    }
    std::vector<NCOR::AVComponentData>& kept = s.components[type];
    kept.clear();
    std::vector<std::string> seen;
    for (size_t i = 0; i < count; ++i) {
        const NCOR::AVComponentData& got = *components.records[i];
        const int16_t tag = static_cast<int16_t>(listed[i].valueP);
        if (got.getComponentType() != type || got.getLanguage() != asRecorded(listed[i].language)
            || got.getComponentTag() != tag) {
            return text("component ", i + 1, " reached the browser as type ", got.getComponentType(), ", language ",
                quoted(got.getLanguage()), ", tag ", got.getComponentTag(), "; expected type ", type, ", ",
                quoted(listed[i].language), ", tag ", tag);
        }
        kept.push_back(got);
        seen.push_back(text(got.getLanguage(), " (tag ", got.getComponentTag(), ")"));
    }
    s.trace("    the browser got " + joined(seen));
    return "";
}

std::string titleSelectComponent(const Json& a)
{
    return text("browser selects the ", a.at("type").get<std::string>(), " component ",
        quoted(a.at("language").get<std::string>()));
}

std::string runSelectComponent(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const int type = componentType(a);
    const std::string language = a.at("language").get<std::string>();
    const NCOR::AVComponentData* chosen = nullptr;
    for (const NCOR::AVComponentData& component : s.components[type]) {
        if (component.getLanguage() == language) {
            chosen = &component;
            break;
        }
    }
    if (chosen == nullptr) {
        return "the browser listed no " + a.at("type").get<std::string>() + " component in " + quoted(language)
            + " (list_components comes first)";
    }
    const Scenario::Call call
        = s.measure("selectAVComponent(" + language + ")", [&] { tv->selectAVComponent(*chosen); });
    const std::string commands = Scenario::expectCommands(call, { TunerCommand_SelectAVComponent });
    if (!commands.empty()) {
        return commands;
    }
    if (call.requests[0].param1 != type || call.requests[0].param2 != chosen->getComponentTag()) {
        return text("the host was asked for type ", call.requests[0].param1, ", tag ", call.requests[0].param2,
            "; expected type ", type, ", tag ", chosen->getComponentTag());
    }
    s.trace(text("    the host selected ", language, " (type ", type, ", tag ", chosen->getComponentTag(), ")"));
    return "";
}

// ---- Object carousel ----------------------------------------------------------------------------

std::string runMountCarouselFile(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const std::string url = a.at("url").get<std::string>();
    const std::string expected = a.at("mountPoint").get<std::string>();
    s.host.setAnswerWriterFor(DSMCC_DVBURL_GetFile, SimulatedHost::mountWriter(expected));
    std::string mountPoint;
    bool mounted = false;
    const Scenario::Call call
        = s.measure("requestOCResourceMount()", [&] { mounted = tv->requestOCResourceMount(url, mountPoint); });
    if (!mounted && call.requests.empty()) {
        return "requestOCResourceMount refused without asking the host (HbbTV must run: hbbtv_running comes first; "
               "a dvb: address names a service by its third dot)";
    }
    const std::string commands = Scenario::expectCommands(call, { DSMCC_DVBURL_GetFile });
    if (!commands.empty()) {
        return commands;
    }
    const ReceivedRequest& request = call.requests[0];
    if (request.strParam1 != asRecorded(url)) {
        return "the host was asked for " + quoted(request.strParam1);
    }
    if (!a.at("serviceId").is_null() && request.param1 != static_cast<int>(a.at("serviceId").get<uint32_t>())) {
        return text(
            "the host was asked for service ", request.param1, ", expected ", a.at("serviceId").get<uint32_t>());
    }
    if (!mounted || mountPoint != asRecorded(expected)) {
        return text("requestOCResourceMount returned ", mounted, " with mount point ", quoted(mountPoint),
            ", the host answered ", quoted(expected));
    }
    char service[32];
    snprintf(service, sizeof(service), "0x%x", static_cast<unsigned int>(request.param1));
    s.trace("    the host mounted service " + std::string(service) + "'s carousel at " + mountPoint);
    return "";
}

// ---- Video --------------------------------------------------------------------------------------

std::string titleSetViewport(const Json& a)
{
    if (a.at("fullScreen").get<bool>()) {
        return "browser sets the viewport: full screen";
    }
    return text("browser sets the viewport: ", a.at("width").get<int>(), " x ", a.at("height").get<int>(), " at ",
        a.at("x").get<int>(), ", ", a.at("y").get<int>());
}

std::string runSetViewport(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const bool fullScreen = a.at("fullScreen").get<bool>();
    const int x = a.at("x").get<int>();
    const int y = a.at("y").get<int>();
    const int width = a.at("width").get<int>();
    const int height = a.at("height").get<int>();
    // The host's window words: x and y, width and height, each pair in one word; full screen is
    // 1280 x 720 at the origin.
    const int param1 = fullScreen ? 0 : static_cast<int>((static_cast<uint32_t>(x) << 16) | static_cast<uint32_t>(y));
    const int param2 = fullScreen
        ? static_cast<int>((1280u << 16) | 720u)
        : static_cast<int>((static_cast<uint32_t>(width) << 16) | static_cast<uint32_t>(height));
    const Scenario::Call call = s.measure(
        text("setViewport(", fullScreen ? "true" : "false", ", ", x, ", ", y, ", ", width, ", ", height, ")"),
        [&] { tv->setViewport(fullScreen, x, y, width, height); });
    const std::string commands = Scenario::expectCommands(call, { DVBMediaPlayer_SetDisplayWindow });
    if (!commands.empty()) {
        return commands;
    }
    if (call.requests[0].param1 != param1 || call.requests[0].param2 != param2) {
        return text("the host was given window words ", call.requests[0].param1, ", ", call.requests[0].param2,
            "; expected ", param1, ", ", param2);
    }
    return "";
}

std::string runStopVideo(Scenario& s, const Json&)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv);
    if (!missing.empty()) {
        return missing;
    }
    const Scenario::Call call = s.measure("stopVideo()", [&] { tv->stopVideo(); });
    return Scenario::expectCommands(call, { DVBMediaPlayer_CloseVideo });
}

const char kProgrammesTitle[] = "browser reads the present and following programmes";
const char kMountTitle[] = "browser mounts an object-carousel file";
const char kStopTitle[] = "browser stops the broadcast video";

} // namespace

const std::vector<StepAction>& broadcastStepActions()
{
    static const std::vector<StepAction> actions = {
        { "read_channel_list", titleReadChannelList, runReadChannelList },
        { "tune", titleTune, runTune },
        { "read_programmes", fixedTitle<kProgrammesTitle>, runReadProgrammes },
        { "read_schedule", titleReadSchedule, runReadSchedule },
        { "read_si_descriptors", titleReadSIDescriptors, runReadSIDescriptors },
        { "list_components", titleListComponents, runListComponents },
        { "select_component", titleSelectComponent, runSelectComponent },
        { "mount_carousel_file", fixedTitle<kMountTitle>, runMountCarouselFile },
        { "set_viewport", titleSetViewport, runSetViewport },
        { "stop_video", fixedTitle<kStopTitle>, runStopVideo },
    };
    return actions;
}

} // namespace hbbtv_simulator
