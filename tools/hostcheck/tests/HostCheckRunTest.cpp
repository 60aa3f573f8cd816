// The program end to end: the simulated television passes every operation; the faulty host, one
// fault at a time, fails with the finding that names the fault. Each run is a process of its own,
// as the library is initialised once per process.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

extern char** environ;

namespace {

struct CheckerRun {
    int status = -1;
    double seconds = 0;
    std::string output;
    nlohmann::json report;
};

std::string temporaryPath(const std::string& what)
{
    const char* const directory = getenv("TMPDIR");
    return std::string(directory != nullptr ? directory : "/tmp") + "/hbbtv-host-check-test." + std::to_string(getpid())
        + "." + what;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Runs the program (through the emulator when cross-built) with the arguments and a JSON report.
CheckerRun runChecker(std::vector<std::string> arguments)
{
    const std::string jsonPath = temporaryPath("json");
    const std::string outputPath = temporaryPath("out");
    std::vector<std::string> command;
    const char* const launcher = getenv("HBBTV_HOST_CHECK_LAUNCHER");
    std::istringstream words(launcher != nullptr ? launcher : "");
    for (std::string word; words >> word;) {
        command.push_back(word);
    }
    command.push_back(HBBTV_HOST_CHECK);
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back("--json");
    command.push_back(jsonPath);
    std::vector<char*> argv;
    for (std::string& word : command) {
        argv.push_back(&word[0]);
    }
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    CheckerRun run;
    pid_t child = 0;
    remove(jsonPath.c_str());
    const auto start = std::chrono::steady_clock::now();
    if (posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
        int status = 0;
        waitpid(child, &status, 0);
        run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    posix_spawn_file_actions_destroy(&actions);
    run.output = readFile(outputPath);
    const std::string json = readFile(jsonPath);
    if (!json.empty()) {
        run.report = nlohmann::json::parse(json, nullptr, false);
    }
    remove(jsonPath.c_str());
    remove(outputPath.c_str());
    return run;
}

const nlohmann::json* row(const CheckerRun& run, const std::string& name)
{
    if (!run.report.is_object()) {
        return nullptr;
    }
    for (const nlohmann::json& operation : run.report["operations"]) {
        if (operation["name"] == name) {
            return &operation;
        }
    }
    return nullptr;
}

struct FaultCase {
    const char* fault;
    const char* only;
    const char* rule;
    const char* text;
};

std::ostream& operator<<(std::ostream& out, const FaultCase& c)
{
    return out << c.fault;
}

// A short budget keeps a silent host to a fraction of a second; long enough for a loaded machine.
const char kBudget[] = "500";
// Under an emulator, or on a loaded machine, the first call into fresh code takes tens of
// milliseconds; the faulty host's slow callback takes 600.
const char kCallbackLimit[] = "200";

} // namespace

TEST(HostCheckRun, SimulatedTelevisionPassesEveryOperation)
{
    const CheckerRun run = runChecker({ "--host", HBBTV_HOST_SIMULATED, "--repeat", "2", "--budget-ms", "3000",
        "--callback-limit-ms", kCallbackLimit });
    ASSERT_EQ(0, run.status) << run.output;
    ASSERT_TRUE(run.report.is_object()) << run.output;
    EXPECT_TRUE(run.report["passed"].get<bool>());
    EXPECT_NE(std::string::npos, run.output.find("verdict: PASS"));
    // Every operation reached the host, twice over, with the number of requests it sends.
    const struct {
        const char* name;
        size_t requests;
    } expected[] = { { "tune", 8 }, { "tuner-control", 8 }, { "current-channel", 2 }, { "channel-list", 2 },
        { "programmes", 4 }, { "schedule", 2 }, { "si-descriptors", 6 }, { "components", 14 },
        { "component-selection", 6 }, { "video", 10 }, { "configuration", 10 }, { "stream-events", 8 },
        { "carousel", 2 }, { "recordings", 14 }, { "reminders", 10 }, { "teardown", 1 } };
    for (const auto& operation : expected) {
        const nlohmann::json* const found = row(run, operation.name);
        ASSERT_NE(nullptr, found) << operation.name;
        EXPECT_EQ(operation.requests, (*found)["requests"].get<size_t>()) << operation.name;
        EXPECT_EQ(0u, (*found)["failed"].get<size_t>()) << operation.name << ": " << (*found)["findings"].dump();
    }
    // Per run: two application starts, each a request and two loading callbacks; ten callbacks.
    EXPECT_EQ(12u, (*row(run, "new-application"))["requests"].get<size_t>());
    EXPECT_EQ(20u, (*row(run, "callbacks"))["requests"].get<size_t>());
}

TEST(HostCheckRun, UsageAndLoadingErrorsEndWithStatusTwo)
{
    EXPECT_EQ(2, runChecker({ "--host", HBBTV_HOST_SIMULATED, "--only", "teleport" }).status);
    EXPECT_EQ(2, runChecker({}).status);
    const CheckerRun noFault = runChecker({ "--host", HBBTV_HOST_FAULTY, "--host-arg", "gremlins", "--only", "video" });
    EXPECT_EQ(2, noFault.status);
    EXPECT_NE(std::string::npos, noFault.output.find("faulty host: no fault \"gremlins\"")) << noFault.output;
    EXPECT_EQ(2, runChecker({ "--host", "/nonexistent/plugin.so" }).status);
}

class HostCheckFault : public testing::TestWithParam<FaultCase> { };

TEST_P(HostCheckFault, IsReportedWithItsFinding)
{
    const FaultCase& c = GetParam();
    const CheckerRun run = runChecker({ "--host", HBBTV_HOST_FAULTY, "--host-arg", c.fault, "--only", c.only,
        "--budget-ms", kBudget, "--callback-limit-ms", kCallbackLimit });
    ASSERT_EQ(1, run.status) << run.output;
    ASSERT_TRUE(run.report.is_object()) << run.output;
    EXPECT_FALSE(run.report["passed"].get<bool>());
    EXPECT_NE(std::string::npos, run.output.find("verdict: FAIL"));
    const std::string faultyRow = std::string(c.rule) == "after-deinit" ? "teardown" : c.only;
    const nlohmann::json* const found = row(run, faultyRow);
    ASSERT_NE(nullptr, found) << run.output;
    ASSERT_LE(1u, (*found)["failed"].get<size_t>());
    const nlohmann::json& first = (*found)["findings"][0];
    EXPECT_EQ(c.rule, first["rule"].get<std::string>()) << first.dump();
    EXPECT_NE(std::string::npos, first["text"].get<std::string>().find(c.text)) << first.dump();
    // A host that leaves a request unanswered costs the checker's budget, not the library's own
    // time-out of ten seconds and more: the checker gave the library its request back.
    EXPECT_LT(run.seconds, 9.5);
    // The fault is the only thing wrong: every other row passed.
    for (const nlohmann::json& operation : run.report["operations"]) {
        if (operation["name"] != faultyRow) {
            EXPECT_EQ(0u, operation["failed"].get<size_t>()) << operation.dump();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, HostCheckFault,
    testing::Values(FaultCase { "late", "current-channel", "late", "past the budget of 500 ms" },
        FaultCase { "twice", "current-channel", "twice", "completion reported a second time" },
        FaultCase { "never", "current-channel", "never", "no completion within the budget of 500 ms" },
        FaultCase { "wrong-payload", "current-channel", "wrong-payload", "another pointer" },
        FaultCase { "count", "components", "count", "avComponentInfo.count is 17 for audio components" },
        FaultCase { "unterminated", "configuration", "unterminated-text",
            "ConfigCommand_GetCountryID (ticket 1): strValue1 has no NUL within its 256 bytes" },
        FaultCase { "enumeration", "current-channel", "enumeration", "channelInfo.idType is 42" },
        FaultCase { "overflow", "configuration", "guard", "past the end of the answer record: byte 532" },
        FaultCase { "slow-callback", "callbacks", "slow-callback", "HBBTV_CommandHandler returned after" },
        FaultCase { "after-deinit", "current-channel", "after-deinit", "isBrowserReady on the wrapper" }),
    [](const testing::TestParamInfo<FaultCase>& info) {
        std::string name = info.param.fault;
        for (char& c : name) {
            c = c == '-' ? '_' : c;
        }
        return name;
    });
