// The simulator's scenario language (reading, checking, the built-in scenario and its example
// file) and its request summary.
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "HbbtvBackendCommand.h"
#include "RequestSummary.h"
#include "Scenario.h"
#include "ScenarioFile.h"
#include "Statistics.h"

using namespace hbbtv_simulator;
using hbbtv_tools::percentile;
using hbbtv_tools::residentKiB;

namespace {

// The message of the error that checking the scenario gives, or "" when it passes.
std::string errorOf(const std::string& scenarioText)
{
    try {
        parseScenario(Json::parse(scenarioText), "test.json");
    } catch (const ScenarioError& error) {
        return error.what();
    }
    return "";
}

// The message of the error that reading a file with the given text gives, or "" when it passes.
std::string fileErrorOf(const std::string& content, const std::string& path = "/tmp/hbbtv_scenario_" +
                                                                             std::to_string(getpid()) + ".json")
{
    std::ofstream(path) << content;
    std::string error;
    try {
        readScenarioFile(path);
    } catch (const ScenarioError& thrown) {
        error = thrown.what();
    }
    unlink(path.c_str());
    return error;
}

} // namespace

TEST(ScenarioLanguage, BuiltInScenarioIsTheExampleFileAndPlaysEveryStep)
{
    const std::vector<StepCall> file = readScenarioFile(HBBTV_SCENARIO_DIR "/evening.json");
    const std::vector<StepCall> builtIn = builtInScenario();
    EXPECT_EQ(builtIn, file);
    std::vector<std::string> names;
    for (const StepCall& step : builtIn) {
        names.push_back(step.name);
    }
    for (const StepSpec& spec : stepVocabulary()) {
        EXPECT_NE(nullptr, findStepAction(spec.name)) << spec.name;
        // The single steps that the property tests play (those with "expect") have scenarios of
        // their own under tests/scenarios.
        const bool single = std::any_of(spec.arguments.begin(), spec.arguments.end(),
                                        [](const ArgumentSpec& argument) { return argument.name == "expect"; });
        EXPECT_TRUE(single || std::find(names.begin(), names.end(), spec.name) != names.end())
            << spec.name << " is never played";
    }
    EXPECT_EQ(stepVocabulary().size(), stepActions().size());
    EXPECT_EQ("boot", names.front());
    EXPECT_EQ("teardown", names.back());
}

TEST(ScenarioLanguage, DefaultsAreFilledIn)
{
    const std::vector<StepCall> steps
        = parseScenario(Json::parse(R"([{"step": "stream_event", "url": "dvb://1.2.3.4/e", "name": "go"},
                         {"step": "mount_carousel_file", "url": "dvb://1.2.3.4/f", "mountPoint": "/m"},
                         {"step": "press_key", "key": 398, "consumed": false}])"),
            "test.json");
    ASSERT_EQ(3u, steps.size());
    EXPECT_EQ(
        Json::parse(R"({"url": "dvb://1.2.3.4/e", "name": "go", "data": "", "kind": "trigger"})"), steps[0].arguments);
    EXPECT_TRUE(steps[1].arguments.at("serviceId").is_null());
    // Checked steps, written out again (absent optionals as null), read back as themselves.
    Json again = Json::array();
    for (const StepCall& step : steps) {
        Json written = step.arguments;
        written["step"] = step.name;
        again.push_back(written);
    }
    EXPECT_EQ(steps, parseScenario(again, "again"));
    EXPECT_EQ(398, nativeKeyCode(steps[2].arguments.at("key")));
    EXPECT_EQ(398, nativeKeyCode("red"));
    EXPECT_EQ("red (398)", keyLabel("red"));
    EXPECT_EQ(10, nativeKeyCode("9"));
}

TEST(ScenarioLanguage, BadScenariosAreRefusedSayingWhereAndWhy)
{
    const struct {
        const char* scenario;
        const char* error; // after "test.json: "
    } kRefused[] = {
        {R"([{"step": "boot"}, {"step": "tuen", "channel": "ZDF"}])",
         "step 2: unknown step \"tuen\" (did you mean \"tune\"?)"},
        {R"([{"step": "tune", "chanel": "ZDF"}])", "step 1 (tune): unknown argument \"chanel\" (did you mean \"channel\"?)"},
        {R"([{"step": "boot", "fast": true}])", "step 1 (boot): unknown argument \"fast\" (it takes none)"},
        {R"([{"step": "tune"}])", "step 1 (tune): missing argument \"channel\" (the channel's name)"},
        {R"([{"step": "tune", "channel": 5}])", "step 1 (tune): argument \"channel\": expected a string, found number 5"},
        {R"([{"step": "set_viewport", "x": 70000, "y": 0, "width": 1, "height": 1}])",
         "step 1 (set_viewport): argument \"x\": 70000 is out of range 0..65535"},
        {R"([{"step": "set_viewport", "x": 1.5, "y": 0, "width": 1, "height": 1}])",
         "step 1 (set_viewport): argument \"x\": expected a whole number in 0..65535, found number 1.5"},
        {R"([{"step": "read_channel_list", "channels": [{"name": "a", "ids": [1, 2, 3]}, {"name": "b", "ids": [1, 2, 65536]}]}])",
         "step 1 (read_channel_list): argument \"channels\"[1]: argument \"ids\"[2]: 65536 is out of range 0..65535"},
        {R"([{"step": "read_channel_list", "channels": [{"name": "a", "ids": [1, 2]}]}])",
         "step 1 (read_channel_list): argument \"channels\"[0]: argument \"ids\": expected a list of 3 whole numbers, "
         "found array [1,2]"},
        {R"([{"step": "list_components", "type": "video", "components": []}])",
         "step 1 (list_components): argument \"type\": expected \"audio\" or \"subtitle\", found string \"video\""},
        {R"([{"step": "press_key", "key": "rd", "consumed": true}])",
         "step 1 (press_key): argument \"key\": unknown key \"rd\" (did you mean \"red\"?)"},
        {R"([{"step": "page_load", "load": 1, "url": "http://a/"}])",
         "step 1 (page_load): argument \"load\": 1 is out of range 2..2147483647"},
        {R"([{"step": "hbbtv_running", "running": "yes"}])",
         "step 1 (hbbtv_running): argument \"running\": expected true or false, found string \"yes\""},
        {R"({"step": "boot"})", "a scenario is a JSON list of steps, found object {\"step\":\"boot\"}"},
        {R"(["boot"])", "step 1: a step is an object with its name under \"step\" and its arguments, found string \"boot\""},
        {R"([{"channel": "ZDF"}])", "step 1: no step name (a string under \"step\")"},
    };
    for (const auto& refused : kRefused) {
        EXPECT_EQ(std::string("test.json: ") + refused.error, errorOf(refused.scenario));
    }
    EXPECT_NE(std::string::npos, errorOf(R"([{"step": "dance"}])").find("unknown step \"dance\" (known: boot, "));
    EXPECT_EQ("", errorOf("[]"));
}

TEST(ScenarioLanguage, FilesThatCannotBeReadOrParsed)
{
    EXPECT_EQ("/nonexistent/evening.json: cannot be read: No such file or directory",
        fileErrorOf("", "/nonexistent/evening.json"));
    const std::string path = "/tmp/hbbtv_scenario_" + std::to_string(getpid()) + ".json";
    const std::string error = fileErrorOf("[\n  {\"step\": \"boot\"},\n  {\"step\": \"tune\" \"channel\": \"ZDF\"}\n]\n");
    EXPECT_EQ(0u, error.find(path + ": not valid JSON: parse error at line 3, column 27:")) << error;
    EXPECT_EQ(path + ": not valid JSON: number overflow parsing '8e684'", fileErrorOf("[{\"step\": \"boot\", \"x\": 8e684}]"));
    EXPECT_EQ("", fileErrorOf("// the shortest evening\n[{\"step\": \"boot\"}, /* then */ {\"step\": \"teardown\"}]\n"));
}

TEST(RequestSummaryTest, PercentilesByNearestRank)
{
    std::vector<double> hundred;
    for (int i = 100; i >= 1; --i) {
        hundred.push_back(i);
    }
    EXPECT_EQ((std::vector<double>{50, 99, 100}),
              (std::vector<double>{percentile(hundred, 50), percentile(hundred, 99), percentile(hundred, 100)}));
    EXPECT_EQ((std::vector<double>{2, 3, 7, 0}), (std::vector<double>{percentile({3, 1, 2}, 50),
                                                   percentile({3, 1, 2}, 99), percentile({7}, 99), percentile({}, 50)}));
}

TEST(RequestSummaryTest, MemoryFiguresFromTheRegionsOwnHeaders)
{
    // Three nodes back to back (16, 24 and 16 bytes), then a corrupted head mark: the chain ends
    // where the marks stop.
    std::vector<unsigned char> region(128, 0);
    const auto node = [&region](size_t at, uint16_t nodeSize) {
        const uint16_t header[2] = { 0x5A5A, static_cast<uint16_t>(nodeSize - 8) };
        memcpy(&region[at], header, sizeof(header));
        memcpy(&region[at + nodeSize - 2], header, 2);
    };
    node(0, 16);
    node(16, 24);
    node(40, 16);
    node(56, 16);
    region[56] = 0;
    EXPECT_EQ(56u, nodeChainLength(region.data(), region.size()));
    EXPECT_EQ(40u, nodeChainLength(region.data(), 55)); // a node past the end does not count
    region[40 + 14] = 0;                                // an end mark overwritten
    EXPECT_EQ(40u, nodeChainLength(region.data(), region.size()));
    EXPECT_EQ(0u, regionHighWater("/hbbtv.no-such-region", 409600));
    EXPECT_GT(residentKiB(), 0);

    RequestSummary summary;
    summary.add(TunerCommand_TuneTo, 1.0, false);
    summary.setMemory(1000, 1200, 4096, 409600);
    const std::vector<std::string> table = summary.table();
    ASSERT_EQ(5u, table.size());
    EXPECT_EQ("resident size: 1000 KiB after start, 1200 KiB at the end", table[3]);
    EXPECT_EQ("/hbbtv high-water: 4096 of 409600 bytes", table[4]);
}

TEST(ScenarioCalls, ExpectedCommandsInOrder)
{
    Scenario::Call call;
    hbbtv_sim::ReceivedRequest request;
    request.command = ProgrammeCommand_GetProgrammeInfo;
    call.requests = { request, request };
    const int info = ProgrammeCommand_GetProgrammeInfo;
    EXPECT_EQ("", Scenario::expectCommands(call, { info, info }));
    EXPECT_EQ("the host received [ProgrammeCommand_GetProgrammeInfo, ProgrammeCommand_GetProgrammeInfo], expected "
              "[ProgrammeCommand_GetProgrammeInfo]",
        Scenario::expectCommands(call, { info }));
    // Commands the library's log leaves unnamed still have their names here; a number that is no
    // command is shown as a number.
    EXPECT_EQ("the host received [], expected [TunerCommand_RemoveStreamEvent, command 1009]",
        Scenario::expectCommands(Scenario::Call(), { TunerCommand_RemoveStreamEvent, 1009 }));
}
