// The field trace: its JSON survives any text, a television's crossings come out as lines with
// their exact fields, lines past the window drop and are counted, a capped file rotates, and the
// lines are in the file when the process is killed, crashes or fails the library's assertion.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "HbbtvBackendGlue.Trace.h"
#include "HbbtvBackendGlue.TraceJson.h"
#include "HbbtvBackendRecords.h"
#include "HbbtvBackendCommandCatalogue.h"
#include "HbbtvBackendTVService.h"
#include "HbbtvTraceFormat.h"
#include "ReplayHost.h"
#include "ReplayPlayer.h"
#include "TraceReplay.h"
#include "ZR_HBBTV_KeyMapping.h"
#include "support/Television.h"

using nlohmann::json;
using ZR_HBBTV_Core::TraceJson;
namespace trace = ZR_HBBTV_Core::trace;

namespace {

std::string tracePath(const char* name)
{
    const char* dir = getenv("TMPDIR");
    std::string path = std::string(dir != nullptr ? dir : "/tmp") + "/hbbtv-trace-" + name + "-" +
                       std::to_string(getpid()) + ".jsonl";
    remove(path.c_str());
    remove((path + ".1").c_str());
    return path;
}

std::vector<json> readLines(const std::string& path)
{
    std::vector<json> lines;
    std::ifstream in(path);
    std::string text;
    while (std::getline(in, text)) {
        lines.push_back(json::parse(text)); // throws, and fails the test, on a line that is not JSON
    }
    return lines;
}

std::string contentOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

// Runs body in a child process that records to path; its standard output goes nowhere.
pid_t recordInChild(const std::string& path, const std::function<void()>& body)
{
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        trace::Settings settings;
        settings.path = path;
        if (!trace::start(settings)) {
            _exit(3);
        }
        body();
        _exit(0);
    }
    return child;
}

// The signal that ended the child, or -1 when it ended otherwise.
int signalThatEnded(pid_t child)
{
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFSIGNALED(status)) {
        return -1;
    }
    return WTERMSIG(status);
}

// The lines of one kind and name.
std::vector<json> find(const std::vector<json>& lines, const std::string& kind, const std::string& name)
{
    std::vector<json> found;
    for (const json& line : lines) {
        if (line["kind"] == kind && line["name"] == name) {
            found.push_back(line);
        }
    }
    return found;
}

} // namespace

TEST(Trace, JsonEscapesAwkwardTextAndReadsBack)
{
    const std::string valid[] = {
        "plain",
        "quote \" backslash \\ slash /",
        std::string("controls \x01\x02\b\f\n\r\t\x1f\x7f end"),
        std::string("nul \0 inside", 12),
        "UTF-8: caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x93\xBA",
        "",
    };
    for (const std::string& text : valid) {
        std::string out;
        TraceJson writer(out);
        writer.beginObject();
        writer.key("k\"ey");
        writer.value(text);
        writer.endObject();
        const json parsed = json::parse(out);
        EXPECT_EQ(text, parsed["k\"ey"].get<std::string>()) << out;
    }

    // Bytes that are no UTF-8 (a lone continuation, a cut sequence, an overlong slash, a
    // surrogate, past U+10FFFF) each become U+FFFD; the valid text around them stays.
    const std::string invalid = std::string("a\x80" "b\xC3" "c\xC0\xAF" "d\xED\xA0\x80" "e\xF4\x90\x80\x80" "f\xFF");
    std::string out;
    TraceJson::appendString(out, invalid.data(), invalid.size());
    const std::string r = "\xEF\xBF\xBD";
    EXPECT_EQ("a" + r + "b" + r + "c" + r + r + "d" + r + r + r + "e" + r + r + r + r + "f" + r,
              json::parse(out).get<std::string>());

    std::string numbers;
    TraceJson writer(numbers);
    writer.beginObject();
    writer.key("min");
    writer.value(static_cast<int64_t>(INT64_MIN));
    writer.key("max");
    writer.value(static_cast<uint64_t>(UINT64_MAX));
    writer.key("nan");
    writer.value(std::numeric_limits<double>::quiet_NaN());
    writer.key("null");
    writer.value(static_cast<const char*>(nullptr));
    writer.endObject();
    EXPECT_EQ(json::parse(R"({"min":-9223372036854775808,"max":18446744073709551615,"nan":null,"null":null})"),
              json::parse(numbers));
}

TEST(Trace, TelevisionCrossingsComeOutWithTheirFields)
{
    const std::string path = tracePath("tv");
    trace::Settings settings;
    settings.path = path;
    ASSERT_TRUE(trace::start(settings));
    {
        hbbtv_test::Television tv;
        const android::sp<ITVService> service = tv.browser.tvService();
        NCOR::ChannelTunerData channel;
        channel.setIdType(NCOR::Broadcast::ID_DVB_T);
        channel.setOnid(8468);
        channel.setTsid(1);
        channel.setSid(28106);
        service->tune(channel);
        tv.wrapper->keyClick(398); // red
        // Recording adds no call to the browser: killCurrentApp names the window it closes by the
        // id it already has.
        const android::sp<hbbtv_sim::SimulatedWindow> broadcast = tv.browser.service()->addWindow(1, "http://a/");
        const android::sp<hbbtv_sim::SimulatedWindow> app = tv.browser.service()->addWindow(6, "http://b/");
        tv.wrapper->killCurrentApp();
        EXPECT_EQ(std::vector<std::string>{"close"}, app->calls());
        EXPECT_TRUE(broadcast->calls().empty());

        // A request that the host never answers, with a small budget.
        tv.host.setDecisionFor(DVBMediaPlayer_OpenVideo, hbbtv_sim::HostDecision{hbbtv_sim::HostDecision::Never, 0});
        ZR_HBBTV_Core::HbbtvBackendTVService* direct = ZR_HBBTV_Core::HbbtvBackendTVService::instantiate(nullptr, nullptr);
        std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
        std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(DVBMediaPlayer_OpenVideo, 3, 4));
        payload->timeoutMs = 20;
        direct->sendServiceRequest(payload, answer);

        ASSERT_TRUE(tv.browser.die());
        ASSERT_TRUE(tv.host.waitForBrowserDied(1, std::chrono::milliseconds(5000)));
    }
    trace::stop();
    const std::vector<json> lines = readLines(path);
    ASSERT_FALSE(lines.empty());

    // Every line: time, thread, kind, name, and numbers 1, 2, 3... in file order.
    uint64_t previousTime = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(i + 1, lines[i]["seq"].get<uint64_t>());
        EXPECT_TRUE(lines[i]["th"].is_number_integer());
        EXPECT_TRUE(lines[i]["t"].is_number_unsigned());
        EXPECT_GE(lines[i]["t"].get<uint64_t>() + 5000, previousTime); // stamped before numbering
        previousTime = lines[i]["t"].get<uint64_t>();
    }
    EXPECT_EQ(1u, find(lines, "host", "init").size());
    EXPECT_EQ(1u, find(lines, "binder", "bound").size());
    EXPECT_EQ(1u, find(lines, "binder", "died").size());
    EXPECT_EQ(1u, find(lines, "callback", "HBBTV_BrowserDiedNotification").size());
    EXPECT_EQ(1u, find(lines, "request", "registerAITSignallingClient").size());

    const unsigned ticket = find(lines, "command", "TunerCommand_TuneTo").at(0)["ticket"];
    const std::vector<json> completed = find(lines, "completed", "TunerCommand_TuneTo");
    ASSERT_EQ(1u, completed.size());
    EXPECT_EQ(ticket, completed[0]["ticket"]);
    EXPECT_EQ(true, completed[0]["valid"]);
    EXPECT_TRUE(completed[0]["us"].is_number_unsigned());
    const std::vector<json> finished = find(lines, "host", "notifyHbbtvServiceRequestFinished");
    ASSERT_FALSE(finished.empty());
    EXPECT_EQ(ticket, finished[0]["ticket"]);

    const std::vector<json> keys = find(lines, "key", "sendKeyEvent");
    ASSERT_EQ(2u, keys.size());
    EXPECT_EQ(1, keys[0]["down"]);
    EXPECT_EQ(0, keys[1]["down"]);
    EXPECT_EQ(keys[0]["id"].get<unsigned>() + 1, keys[1]["id"].get<unsigned>());
    EXPECT_EQ(keys[0]["code"], keys[1]["code"]);

    const std::vector<json> closed = find(lines, "event", "closeWindow");
    ASSERT_EQ(1u, closed.size());
    EXPECT_EQ(6, closed[0]["windowId"]);

    const std::vector<json> timeout = find(lines, "timeout", "DVBMediaPlayer_OpenVideo");
    ASSERT_EQ(1u, timeout.size());
    EXPECT_GE(timeout[0]["us"].get<uint64_t>(), 1000000u); // 20 ms and the agent's 1000
    const std::vector<json> givenUp = find(lines, "answer", "DVBMediaPlayer_OpenVideo");
    ASSERT_EQ(1u, givenUp.size());
    EXPECT_EQ("given up", givenUp[0]["outcome"]);
    EXPECT_EQ(3, givenUp[0]["payload"]["param1"]);
    EXPECT_FALSE(givenUp[0].contains("answer"));
    remove(path.c_str());
}

TEST(Trace, LinesPastTheWindowAreDroppedAndCounted)
{
    const std::string path = tracePath("drops");
    trace::Settings settings;
    settings.path = path;
    settings.windowBytes = 1; // two pages: far less than the burst, so the writer falls behind
    ASSERT_TRUE(trace::start(settings));
    // Bursts until the writer falls behind: a slow build (ThreadSanitizer) may keep up with one.
    uint64_t sent = 0;
    for (int burst = 0; burst < 20 && trace::droppedLines() == 0; ++burst) {
        for (int i = 0; i < 2000; ++i) {
            trace::Line("test", "burst").arg("i", sent++);
        }
    }
    trace::stop();
    const std::vector<json> lines = readLines(path);
    uint64_t written = 0;
    uint64_t droppedCounted = 0;
    for (const json& line : lines) {
        if (line["kind"] == "dropped") {
            droppedCounted += line["count"].get<uint64_t>();
        } else {
            ++written;
            EXPECT_EQ(written, line["seq"].get<uint64_t>()); // a dropped line takes no number
        }
    }
    EXPECT_EQ(trace::droppedLines(), droppedCounted);
    EXPECT_EQ(sent, written + droppedCounted);
    remove(path.c_str());
    if (droppedCounted == 0) {
        GTEST_SKIP() << "the writer kept up with every burst";
    }
}

TEST(Trace, CappedFileRotatesToOnePreviousFile)
{
    const std::string path = tracePath("rotate");
    trace::Settings settings;
    settings.path = path;
    settings.maxBytes = 4000;
    ASSERT_TRUE(trace::start(settings));
    const int kLines = 300; // about 100 bytes each: several rotations
    for (int i = 0; i < kLines; ++i) {
        trace::Line("test", "rotate").arg("i", i);
        trace::flush(); // the writer moves the file in time, as it does at a television's pace
    }
    trace::stop();
    const std::vector<json> previous = readLines(path + ".1");
    const std::vector<json> current = readLines(path);
    ASSERT_FALSE(previous.empty());
    ASSERT_FALSE(current.empty());
    std::ifstream a(path, std::ios::ate), b(path + ".1", std::ios::ate);
    EXPECT_LE(static_cast<long>(a.tellg()), 4000);
    EXPECT_LE(static_cast<long>(b.tellg()), 4000);
    // The moved file grew from nothing to near the cap before it moved (no earlier than a
    // sixteenth of the cap and a line before it): a new file does not inherit the old one's size.
    EXPECT_GE(static_cast<long>(b.tellg()), 4000 - 4000 / 16 - 120);
    // The newest lines are in the file, the ones just before them in FILE.1, without a gap.
    EXPECT_EQ(static_cast<uint64_t>(kLines), current.back()["seq"].get<uint64_t>());
    EXPECT_EQ(previous.back()["seq"].get<uint64_t>() + 1, current.front()["seq"].get<uint64_t>());
    EXPECT_LT(current.size() + previous.size(), static_cast<size_t>(kLines)); // older lines are gone
    EXPECT_EQ(kLines - 1, current.back()["i"]);
    remove(path.c_str());
    remove((path + ".1").c_str());
}

TEST(Trace, LinesAreInTheFileWhenTheProcessIsKilledOrCrashes)
{
    const std::string path = tracePath("killed");
    for (const int signal : {SIGKILL, SIGSEGV}) {
        remove(path.c_str());
        int recorded[2];
        ASSERT_EQ(0, pipe(recorded));
        const pid_t child = recordInChild(path, [&] {
            for (int i = 0; i < 100; ++i) {
                trace::Line("test", "before").arg("i", i);
            }
            trace::Line("test", "last").arg("signal", signal);
            if (signal == SIGKILL) {
                (void)!write(recorded[1], "k", 1);
                for (;;) {
                    pause(); // the watchdog's kill comes 1 ms after the last line
                }
            }
            std::signal(SIGSEGV, SIG_DFL);
            usleep(1000);
            raise(SIGSEGV);
        });
        ASSERT_NE(-1, child);
        close(recorded[1]);
        if (signal == SIGKILL) {
            char byte = 0;
            ASSERT_EQ(1, read(recorded[0], &byte, 1));
            usleep(1000);
            kill(child, SIGKILL);
        }
        close(recorded[0]);
        ASSERT_EQ(signal, signalThatEnded(child));

        // Whole lines, then only the zero bytes of the window that was mapped ahead of them.
        const std::string content = contentOf(path);
        const size_t end = content.rfind('\n') + 1;
        EXPECT_GT(content.size(), end);
        EXPECT_EQ(std::string::npos, content.find_first_not_of('\0', end));
        std::istringstream text(content.substr(0, end));
        std::vector<json> lines;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(json::parse(line));
        }
        ASSERT_EQ(101u, lines.size()) << signal;
        EXPECT_EQ("last", lines.back()["name"]);
        EXPECT_EQ(signal, lines.back()["signal"]);
        EXPECT_EQ(101u, lines.back()["seq"].get<uint64_t>());
    }

    // A recording that starts on such a file, with a line cut short before the zero bytes, goes on
    // after the last whole line, and stop leaves only whole lines.
    const size_t end = contentOf(path).rfind('\n') + 1;
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(static_cast<std::streamoff>(end));
        file << "{\"t\":12,\"th\":3,\"ki";
    }
    trace::Settings settings;
    settings.path = path;
    ASSERT_TRUE(trace::start(settings));
    trace::Line("test", "after");
    trace::stop();
    const std::vector<json> lines = readLines(path);
    ASSERT_EQ(102u, lines.size());
    EXPECT_EQ("last", lines[100]["name"]);
    EXPECT_EQ("after", lines[101]["name"]);
    EXPECT_EQ(1u, lines[101]["seq"].get<uint64_t>());
    EXPECT_EQ(end + lines[101].dump().size() + 1, contentOf(path).size());
    remove(path.c_str());
}

TEST(Trace, LibraryAssertionKeepsTheLinesBeforeIt)
{
    const std::string path = tracePath("assert");
    const pid_t child = recordInChild(path, [] {
        trace::Line("test", "before").arg("i", 7);
        getOperatorNewDel()->OperatorArrayDel(nullptr); // the library's assertion, then abort
    });
    ASSERT_NE(-1, child);
    ASSERT_EQ(SIGABRT, signalThatEnded(child));
    // The child's shared-memory regions carry this process's names, removed when it ends.
    const std::vector<json> lines = readLines(path); // cut at the last line: no zero bytes
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("before", lines[0]["name"]);
    EXPECT_EQ(7, lines[0]["i"]);
    EXPECT_EQ("assert", lines[1]["kind"]);
    EXPECT_EQ("fail", lines[1]["name"]);
    EXPECT_EQ("./backendglue/HbbtvBackendGlue.DataType.cpp", lines[1]["file"]);
    // As the compiler spells it: g++ writes "void*", clang "void *".
    std::string function = lines[1]["function"];
    function.erase(std::remove(function.begin(), function.end(), ' '), function.end());
    EXPECT_EQ("voidClassOperatorNewDelete::OperatorArrayDel(void*)", function);
    EXPECT_EQ(53, lines[1]["line"]);
    EXPECT_EQ(2u, lines[1]["seq"].get<uint64_t>());
    remove(path.c_str());
}

namespace {

namespace tf = HbbtvTraceFormat;

// Every plain field of the command's answer record, each with a value of its own, so that a
// field the replay reads back under another name than the recorder wrote shows as a difference.
void writeEveryAnswerField(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    const int32_t base = request.command * 100;
    const std::string name = convertBackendCommandToString(request.command);
    answer.valid = 1;
    answer.flag = 2;
    answer.intValue1 = base + 3;
    answer.intValue2 = base + 4;
    answer.strValue1 = ("first of " + name).c_str();
    answer.strValue2 = ("second of " + name).c_str();
    switch (hbbtvBackendCommandInfo(request.command)->answer) {
    case HbbtvAnswerRecord::DvbResourceMount:
        static_cast<HbbtvServiceRequestDvbResourceMountAnswer&>(answer).refused = 5;
        break;
    case HbbtvAnswerRecord::ChannelsLineup:
        static_cast<HbbtvServiceRequestChannelsLineupAnswer&>(answer).lineupWord = 6;
        break;
    case HbbtvAnswerRecord::ChannelInfo: {
        HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo& info =
            static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
        info = {11, 12, 13, 14, 15, 16, 1, 2, 1, 1, {0, 0}, "Das Erste HD"};
        break;
    }
    case HbbtvAnswerRecord::ProgramInfo: {
        HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info =
            static_cast<HbbtvServiceRequestProgramInfoAnswer&>(answer).programInfo;
        info.time1 = 1700000000u + static_cast<uint32_t>(request.param1);
        info.time2 = 5400;
        info.text1 = "Tagesschau";
        info.text2 = "News";
        info.text3 = "third";
        info.text4 = "crid://ard.de/1";
        break;
    }
    case HbbtvAnswerRecord::AVInfo: // the entries and their count come from the components writer
    case HbbtvAnswerRecord::Base:
        break;
    }
}

// The fields of a line that the recorder writes from what crossed, as "/path" -> value; time,
// thread, number and ticket differ between runs.
json recordedFields(const json& line)
{
    json fields = line.flatten();
    for (const char* key : {tf::line::time, tf::line::thread, tf::line::seq, tf::command::ticket}) {
        fields.erase(std::string("/") + key);
    }
    return fields;
}

} // namespace

// Every record the recorder writes (the answer records of each kind, the host's data beside them,
// the channel of a request, the host's AIT) is read back by the replay's decoder into the values
// it had: the replay of the recording records each again field for field.
TEST(Trace, ReplayReadsBackEveryRecordTheRecorderWrites)
{
    const std::string recordedPath = tracePath("round-trip");
    const pid_t recording = recordInChild(recordedPath, [] {
        hbbtv_test::Television tv;
        std::vector<hbbtv_sim::LineupChannel> lineup(2);
        lineup[0] = {28106, 8468, 1, 0, 12, 1, 1, 3, 1, "Das Erste HD"};
        lineup[1] = {28107, 8468, 2, 1, 12, 0, 2, 3, 0, "Deutschlandfunk"};
        const HbbtvEPGInformation programme = {1, 1700000000u, 3, 4, "Tagesschau", "News", "t3", "crid://ard.de/1",
                                               12, 16, "t5", 5, 6, 7, 8};
        const std::map<int, std::vector<hbbtv_sim::HostComponent>> components = {
            {NCOR::Broadcast::COMPONENT_TYPE_AUDIO, {{1, 2, 0x1003, 4, 5, 6, "deu"}, {0, 1, 0x1004, 7, 8, 9, "eng"}}},
            {NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE, {{1, 1, 0x2001, 0, 0, 0, "fra"}}}};
        const std::map<int, hbbtv_sim::SimulatedHost::AnswerWriter> data = {
            {TunerCommand_RequestChannelsLineup, hbbtv_sim::SimulatedHost::lineupWriter(lineup)},
            {ProgrammeCommand_GetAllProgrammeInfo, hbbtv_sim::SimulatedHost::scheduleWriter({programme})},
            {ProgrammeCommand_GetSIDescriptors,
             hbbtv_sim::SimulatedHost::siDescriptorsWriter({{0x4D, 3, 'd', 'e', 'u'}, {0x54, 1, 0x20}})},
            {TunerCommand_GetAVInfo, hbbtv_sim::SimulatedHost::componentsWriter(components)}};
        tv.host.setAnswerWriter([data](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            const auto found = data.find(request.command);
            if (found != data.end()) {
                found->second(request, answer);
            }
            writeEveryAnswerField(request, answer);
        });
        ZR_HBBTV_Core::AITApps ait;
        ait.count = 2;
        ait.apps.push_back({1, 2, 3, 1, 0x17, 0x2001, "Red button", "index.html",
                            {{3, "http://hbbtv.ard.de/"}, {1, "dvb://1.2.3/"}}, {"ard.de", "hbbtv.ard.de"}});
        tv.wrapper->newAITNotification(7, ait);
        tv.wrapper->SetHbbTVRunningStatus(true);
        tv.wrapper->keyClick(398); // red
        tv.wrapper->notifyStreamEvent("dvb://1.2.3", "quiz", "da\"ta", "trigger");
        const android::sp<ITVService> service = tv.browser.tvService();
        NCOR::ChannelTunerData channel;
        channel.setIdType(NCOR::Broadcast::ID_DVB_T);
        channel.setOnid(8468);
        channel.setTsid(1025);
        channel.setSid(28106);
        channel.setMajorChannel(1);
        channel.setIpBroadcastID("ip-1");
        channel.setChannelID("ccid:dvbt.1");
        service->tune(channel);
        service->getCurrentChannel(channel);
        std::string mountPoint;
        service->requestOCResourceMount("dvb://1.2.3/index.html", mountPoint);
        std::vector<NCOR::ChannelTunerData*> channels;
        service->getChannelList(channels);
        std::vector<NCOR::ProgrammeData*> programmes;
        service->getProgrammes(programmes);
        service->getAllProgrammesForChannel(channel, programmes);
        std::vector<std::vector<unsigned char>> descriptors;
        service->getSIDescriptors("crid://ard.de/1", NCOR::EIT::DESCRIPTOR_SHORT_EVENT,
                                  NCOR::EIT::ExtensionDescriptorTag(), descriptors);
        std::vector<NCOR::AVComponentData*> audio, subtitles;
        service->getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_AUDIO, audio);
        service->getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE, subtitles);
    });
    int status = -1;
    ASSERT_EQ(recording, waitpid(recording, &status, 0));
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    const std::vector<json> recorded = hbbtv_simulator::readTrace(recordedPath);

    const std::string replayedPath = tracePath("round-trip-replayed");
    const pid_t replaying = recordInChild(replayedPath, [&recorded] {
        hbbtv_simulator::ReplayHost host(recorded);
        hbbtv_sim::SimulatedBrowser browser;
        ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = CreateHbbtvWrapper();
        host.setWrapper(wrapper);
        browser.publish();
        hbbtv_simulator::ReplayPlayer player(host, browser, wrapper);
        for (const json& line : recorded) {
            player.play(line);
        }
        host.setWrapper(nullptr);
        DestroyHbbtvWrapper(wrapper);
    });
    ASSERT_EQ(replaying, waitpid(replaying, &status, 0));
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    const std::vector<json> replayed = hbbtv_simulator::readTrace(replayedPath);

    // Each record's line, with one value as the host or the browser gave it.
    const struct {
        const char* kind;
        const char* name;
        size_t lines;
        const char* field;
        json value;
    } kRecords[] = {
        {tf::kind::answer, "TunerCommand_TuneTo", 1, "/answer/int1", 603},
        {tf::kind::answer, "TunerCommand_TuneTo", 1, "/outcome", "answered"},
        {tf::kind::answer, "TunerCommand_TuneTo", 1, "/payload/channelID1", 28106},
        {tf::kind::answer, "TunerCommand_TuneTo", 1, "/payload/channelID2", 8468},
        {tf::kind::command, "TunerCommand_TuneTo", 1, "/command", 6},
        {tf::kind::command, "TunerCommand_TuneTo", 1, "/budgetMs", 11000}, // the default and the agent's 1000
        {tf::kind::answer, "DSMCC_DVBURL_GetFile", 1, "/answer/refused", 5},
        {tf::kind::answer, "TunerCommand_RequestChannelsLineup", 1, "/answer/lineupWord", 6},
        {tf::kind::answer, "TunerCommand_GetCurrentChannelInfo", 1, "/answer/channel/name", "Das Erste HD"},
        {tf::kind::answer, "ProgrammeCommand_GetProgrammeInfo", 2, "/answer/programme/text4", "crid://ard.de/1"},
        {tf::kind::answer, "TunerCommand_GetAVInfo", 2, "/answer/count", 2},
        {tf::kind::hostdata, tf::hostdata::lineup, 1, "/ch1/name", "Deutschlandfunk"},
        {tf::kind::hostdata, tf::hostdata::schedule, 1, "/e0/byte3", 8},
        {tf::kind::hostdata, tf::hostdata::siDescriptors, 1, "/d1", "540120"},
        {tf::kind::hostdata, tf::hostdata::components, 2, "/c1/valueS", 9},
        {tf::kind::request, "tune", 1, "/ipBroadcastID", "ip-1"},
        {tf::kind::request, "tune", 1, "/onid", 8468},
        {tf::kind::request, "tune", 1, "/sid", 28106},
        {tf::kind::request, "getAllProgrammesForChannel", 1, "/tsid", 1025},
        {tf::kind::host, "newAITNotification", 1, "/app0/base1", "dvb://1.2.3/"},
        {tf::kind::host, "keyClick", 1, "/key", 398},
        {tf::kind::key, "sendKeyEvent", 2, "/code", ZR_HBBTV_KeyMapping::zuk2InterfaceKey(398)},
        {tf::kind::event, "streamEvent", 1, "/eventName", "quiz"},
        {tf::kind::event, "streamEvent", 1, "/data", "da\"ta"},
        {tf::kind::event, "streamEvent", 1, "/notTrigger", 0},
    };
    for (const auto& record : kRecords) {
        const std::string what = std::string(record.kind) + " " + record.name;
        const std::vector<json> before = find(recorded, record.kind, record.name);
        const std::vector<json> after = find(replayed, record.kind, record.name);
        ASSERT_EQ(record.lines, before.size()) << what;
        ASSERT_EQ(record.lines, after.size()) << what;
        EXPECT_EQ(record.value, before[0].flatten().value(record.field, json())) << what << " " << record.field;
        for (size_t i = 0; i < record.lines; ++i) {
            const json was = recordedFields(before[i]);
            const json again = recordedFields(after[i]);
            for (auto field = was.begin(); field != was.end(); ++field) {
                EXPECT_EQ(field.value(), again.value(field.key(), json())) << what << " " << field.key();
            }
            EXPECT_EQ(was.size(), again.size()) << what << ": " << again.dump();
        }
    }
    remove(recordedPath.c_str());
    remove(replayedPath.c_str());
}
