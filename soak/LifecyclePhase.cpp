#include "LifecyclePhase.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "BrowserCalls.h"
#include "LifecycleServer.h"
#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "SoakHost.h"
#include "StdoutTap.h"

extern char** environ;

namespace hbbtv_soak {

using ZR_HBBTV_Core::ZR_HbbtvImplInterface;
using Clock = std::chrono::steady_clock;

namespace {

// Every request gets at most this budget as the server takes it; late answers come after it.
const unsigned int kCycleBudgetMs = 40;
const unsigned int kRed = 398;
const char kAppUrl[] = "http://hbbtv.example.com/red-button/index.html";

// The middleware answers most requests at once, some slowly, and some late, after their requester
// gave them up and often after deinit. Records the library keeps for a late answer stay small and
// few, within what it keeps for the host, so the middleware never writes into freed records.
hbbtv_sim::HostDecision decide(const HbbtvCommandPayload& request)
{
    hbbtv_sim::HostDecision decision;
    const unsigned int draw = (request.ticket * 2654435761u) >> 16;
    const bool large = request.command == TunerCommand_GetAVInfo || request.command == DSMCC_DVBURL_GetFile
        || request.command == ProgrammeCommand_GetAllProgrammeInfo || request.command == ProgrammeCommand_GetSIDescriptors;
    if (draw % 100 < 80) {
        return decision;
    }
    if (large || draw % 100 < 94) {
        decision.delayMs = 1 + draw % 20;
    } else {
        decision.delayMs = 60 + draw % 190;
    }
    return decision;
}

// The host's own calls on the wrapper, beside the browser's.
void callWrapper(ZR_HbbtvImplInterface* wrapper, unsigned int n)
{
    ZR_HBBTV_Core::AITApps apps;
    apps.count = 0;
    switch (n % 8) {
    case 0: wrapper->keyClick(kRed); break;
    case 1: wrapper->notifyChannelChanged(1, 2, static_cast<unsigned short>(n)); break;
    case 2: wrapper->newAITNotification(1 + n % 30, apps); break;
    case 3: wrapper->notifyStreamEvent("dvb://233a.1004.1044.ffff/events", "now", "data", "trigger"); break;
    case 4: wrapper->createApplication(wrapper->prepareCreateApplication(), kAppUrl, ""); break;
    case 5: wrapper->notifyProgrammeChanged(1, 2, 3); break;
    case 6: wrapper->isBrowserReady(); break;
    default: wrapper->SetHbbTVRunningStatus(true); break;
    }
}

// Runs the browser's threads and the host's thread until stopped.
class Traffic {
public:
    Traffic(hbbtv_sim::SimulatedBrowser& browser, ZR_HbbtvImplInterface* wrapper, int threads, unsigned int seed)
    {
        const std::vector<BrowserCall>& requests = requestCalls();
        const std::vector<BrowserCall>& reports = browserReports();
        for (int t = 0; t < threads; ++t) {
            m_threads.emplace_back([this, &browser, &requests, &reports, t, seed] {
                for (unsigned int n = seed * 7919 + static_cast<unsigned int>(t) * 13; !m_stop; ++n) {
                    const BrowserCall& call = n % 3 == 0 ? reports[n / 3 % reports.size()] : requests[n % requests.size()];
                    call.call(browser, n);
                    ++m_browserCalls;
                }
            });
        }
        m_threads.emplace_back([this, wrapper, seed] {
            for (unsigned int n = seed; !m_stop; ++n) {
                callWrapper(wrapper, n);
                ++m_wrapperCalls;
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
        });
    }
    void stop()
    {
        m_stop = true;
        for (std::thread& thread : m_threads) {
            thread.join();
        }
        m_threads.clear();
    }
    ~Traffic() { stop(); }
    size_t browserCalls() const { return m_browserCalls; }
    size_t wrapperCalls() const { return m_wrapperCalls; }

private:
    std::atomic<bool> m_stop{false};
    std::atomic<size_t> m_browserCalls{0};
    std::atomic<size_t> m_wrapperCalls{0};
    std::vector<std::thread> m_threads;
};

// key=value words of a child's result line.
std::map<std::string, double> parseResult(const std::string& line)
{
    std::map<std::string, double> values;
    std::istringstream words(line);
    std::string word;
    while (words >> word) {
        const size_t equals = word.find('=');
        if (equals != std::string::npos) {
            values[word.substr(0, equals)] = atof(word.c_str() + equals + 1);
        }
    }
    return values;
}

// A failed cycle's log: from the first sanitizer or assertion report on, or else its last lines.
void printLog(const char* path)
{
    const size_t kLines = 60;
    FILE* const file = fopen(path, "r");
    if (file == nullptr) {
        return;
    }
    std::deque<std::string> shown;
    bool reportFound = false;
    char line[1024];
    while (fgets(line, sizeof(line), file) != nullptr) {
        if (!reportFound && (strstr(line, "ERROR: AddressSanitizer") != nullptr || strstr(line, "runtime error:") != nullptr
                                || strstr(line, "WARNING: ThreadSanitizer") != nullptr
                                || strstr(line, "ERROR: LeakSanitizer") != nullptr || strstr(line, "ASSERT FAIL") != nullptr)) {
            reportFound = true;
            shown.clear();
        }
        if (reportFound && shown.size() >= kLines) {
            continue;
        }
        shown.push_back(line);
        if (shown.size() > kLines) {
            shown.pop_front();
        }
    }
    fclose(file);
    for (const std::string& kept : shown) {
        printf("    | %s", kept.c_str());
    }
}

struct CycleOutcome {
    bool exited = false; // exited normally, with status 0 and a result line
    std::string result;
    std::string failure;
};

CycleOutcome runCycle(const LifecycleOptions& options, const std::string& self, int cycle)
{
    CycleOutcome outcome;
    const std::string suffix = "_soak" + std::to_string(getpid()) + "_cycle" + std::to_string(cycle);
    const std::string seed = std::to_string(options.seed * 100003u + static_cast<unsigned int>(cycle));
    const std::string threads = std::to_string(options.threads);
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (strncmp(*entry, "HBBTV_SHM_SUFFIX=", 17) != 0) {
            environment.push_back(*entry);
        }
    }
    environment.push_back("HBBTV_SHM_SUFFIX=" + suffix);
    std::vector<char*> envp;
    for (std::string& entry : environment) {
        envp.push_back(&entry[0]);
    }
    envp.push_back(nullptr);
    std::vector<std::string> arguments = { self, "--lifecycle-child", "--seed", seed, "--cycle-threads", threads };
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(&argument[0]);
    }
    argv.push_back(nullptr);

    char logPath[] = "/tmp/hbbtv_soak_cycle_XXXXXX";
    const int log = mkstemp(logPath);
    int result[2];
    if (log < 0 || pipe2(result, O_CLOEXEC) != 0) {
        outcome.failure = "cannot make the cycle's log or pipe";
        return outcome;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, log, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, log, STDERR_FILENO);
    posix_spawn_file_actions_adddup2(&actions, result[1], 3);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, self.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(result[1]);
    close(log);
    if (spawned != 0) {
        outcome.failure = std::string("cannot start the cycle: ") + strerror(spawned);
        close(result[0]);
        unlink(logPath);
        return outcome;
    }
    // The result line, until the child closes its end; a child that takes too long has hung.
    const Clock::time_point limit = Clock::now() + std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(options.timeLimitSeconds));
    bool hung = false;
    for (char buffer[512];;) {
        const long left = std::chrono::duration_cast<std::chrono::milliseconds>(limit - Clock::now()).count();
        pollfd ready{ result[0], POLLIN, 0 };
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) == 0) {
            hung = true;
            kill(child, SIGKILL);
            break;
        }
        const ssize_t got = read(result[0], buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        outcome.result.append(buffer, static_cast<size_t>(got));
    }
    close(result[0]);
    int status = 0;
    waitpid(child, &status, 0);
    // The regions are the child's alone; one that aborted has not removed its own.
    shm_unlink(("/hbbtv" + suffix).c_str());
    shm_unlink(("/hbbtvChannelList" + suffix).c_str());
    if (hung) {
        outcome.failure = "hung: killed after " + std::to_string(static_cast<int>(options.timeLimitSeconds)) + " s";
    } else if (WIFSIGNALED(status)) {
        outcome.failure = std::string("killed by signal ") + strsignal(WTERMSIG(status));
    } else if (outcome.result.empty()) {
        outcome.failure = "exit status " + std::to_string(WEXITSTATUS(status)) + " without a result";
    } else if (WEXITSTATUS(status) != 0 && parseResult(outcome.result)["ok"] == 1) {
        outcome.failure = "exit status " + std::to_string(WEXITSTATUS(status)) + " after its result";
    } else {
        outcome.exited = true;
    }
    if (!outcome.exited || parseResult(outcome.result)["ok"] != 1) {
        printf("  cycle %d (seed %s, HBBTV_SHM_SUFFIX=%s) failed: %s", cycle, seed.c_str(), suffix.c_str(),
               outcome.failure.empty() ? outcome.result.c_str() : (outcome.failure + "\n").c_str());
        printLog(logPath);
        fflush(stdout);
    }
    unlink(logPath);
    return outcome;
}

} // namespace

LifecycleReport runLifecycle(const LifecycleOptions& options, const std::string& self)
{
    LifecycleReport report;
    report.options = options;
    const Clock::time_point start = Clock::now();
    for (int cycle = 0; cycle < options.cycles; ++cycle) {
        const Clock::time_point cycleStart = Clock::now();
        const CycleOutcome outcome = runCycle(options, self, cycle);
        report.longestCycleSeconds
            = std::max(report.longestCycleSeconds, std::chrono::duration<double>(Clock::now() - cycleStart).count());
        std::map<std::string, double> r = parseResult(outcome.result);
        const bool passed = outcome.exited && r["ok"] == 1;
        report.passed += passed;
        report.failed += !passed;
        if (outcome.result.empty()) {
            continue;
        }
        report.browserCalls += static_cast<size_t>(r["browserCalls"]);
        report.wrapperCalls += static_cast<size_t>(r["wrapperCalls"]);
        report.callsAfterDeinit += static_cast<size_t>(r["callsAfterDeinit"]);
        report.hostCalls += static_cast<size_t>(r["hostCalls"]);
        report.requests += static_cast<size_t>(r["requests"]);
        report.completionsAfterDeinit += static_cast<size_t>(r["completionsAfterDeinit"]);
        report.intoDeletedHost += static_cast<size_t>(r["intoDeletedHost"]);
        report.afterDeinit += static_cast<size_t>(r["afterDeinit"]);
        report.intoRefusedInit += static_cast<size_t>(r["intoRefusedInit"]);
        report.neverFinished += static_cast<size_t>(r["neverFinished"]);
        report.refused += static_cast<size_t>(r["refused"]);
        report.notLaunched += r["launched"] != 1;
        report.refusedInitLaunched += r["refusedInitLaunched"] == 1;
        report.longestDeinitMs = std::max(report.longestDeinitMs, r["deinitMs"]);
    }
    report.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return report;
}

bool lifecyclePassed(const LifecycleReport& r)
{
    return r.failed == 0 && r.passed == r.options.cycles && r.intoDeletedHost == 0 && r.afterDeinit == 0
        && r.intoRefusedInit == 0 && r.notLaunched == 0 && r.refusedInitLaunched == 0;
}

void printLifecycle(const LifecycleReport& r)
{
    printf("\nlifecycle: %d cycles in %.1f s, each in a process of its own\n", r.options.cycles, r.seconds);
    printf("  %-34s %d (failed %d)\n", "cycles passed", r.passed, r.failed);
    printf("  %-34s %zu browser, %zu host (then %zu refused)\n", "calls before deinit", r.browserCalls,
           r.wrapperCalls, r.callsAfterDeinit);
    printf("  %-34s %zu (%zu requests)\n", "callbacks into the servers", r.hostCalls, r.requests);
    printf("  %-34s %zu\n", "completions reported after deinit", r.completionsAfterDeinit);
    printf("  %-34s %zu\n", "calls into a deleted host", r.intoDeletedHost);
    printf("  %-34s %zu\n", "calls into the host after deinit", r.afterDeinit);
    printf("  %-34s %zu (launchBrowser refused %d of %d)\n", "calls into a refused init's host", r.intoRefusedInit,
           r.options.cycles - r.refusedInitLaunched, r.options.cycles);
    printf("  %-34s %zu refused, %zu freed unreported\n", "region full / kept records", r.refused, r.neverFinished);
    printf("  %-34s %.1f ms (longest cycle %.2f s)\n", "longest deinit", r.longestDeinitMs, r.longestCycleSeconds);
}

int runLifecycleChild(const LifecycleOptions& options, int resultFd)
{
    StdoutTap tap;
    tap.setQuiet(true);
    std::minstd_rand random(options.seed);
    hbbtv_sim::SimulatedHost middleware;
    middleware.setDecider(&decide);
    for (const auto& writer : fullAnswers()) {
        middleware.setAnswerWriterFor(writer.first, writer.second);
    }
    hbbtv_sim::SimulatedBrowser browser;
    browser.publish();

    // The real cycle.
    ZR_HbbtvImplInterface* const wrapper = CreateHbbtvWrapper();
    middleware.setWrapper(wrapper);
    LifecycleServer* server = new LifecycleServer(middleware, kCycleBudgetMs);
    wrapper->init(server);
    const bool launched = wrapper->launchBrowser() && browser.registerClients()
        && wrapper->createApplication(wrapper->prepareCreateApplication(), kAppUrl, "") > 0;
    Traffic traffic(browser, wrapper, options.threads, options.seed);
    std::this_thread::sleep_for(std::chrono::milliseconds(20 + random() % 130));
    const Clock::time_point deinitStart = Clock::now();
    const size_t browserCalls = traffic.browserCalls();
    const size_t wrapperCalls = traffic.wrapperCalls();
    wrapper->deinit();
    const Clock::time_point deinitEnd = Clock::now();
    server->deinitReturned();
    delete server;
    // Calls go on meanwhile: refused, never into the deleted server.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    traffic.stop();
    // Late answers still come, after deinit.
    const size_t requests = middleware.record().requests.size();
    middleware.waitForCompletions(static_cast<unsigned int>(requests), std::chrono::seconds(5));
    size_t completionsAfterDeinit = 0;
    for (const hbbtv_sim::CompletionReport& completion : middleware.record().completions) {
        completionsAfterDeinit += completion.reportedAt > deinitEnd;
    }

    // A second wrapper: its init is refused, and so is everything after it.
    LifecycleServer* const refusedServer = new LifecycleServer(middleware, kCycleBudgetMs);
    refusedServer->expectNoCalls();
    ZR_HbbtvImplInterface* const second = CreateHbbtvWrapper();
    second->init(refusedServer);
    const bool refusedInitLaunched = second->launchBrowser();
    for (unsigned int n = 0; n < 8; ++n) {
        callWrapper(second, n);
    }
    for (const BrowserCall& call : requestCalls()) {
        call.call(browser, 0);
    }
    for (const BrowserCall& report : browserReports()) {
        report.call(browser, 0);
    }
    second->deinit();
    delete refusedServer;
    DestroyHbbtvWrapper(second);

    middleware.setWrapper(nullptr);
    DestroyHbbtvWrapper(wrapper);
    tap.sync();
    const HostCallCounts calls = hostCallCounts();
    // Records freed unreported would be written by the middleware's late answers: the cycle keeps
    // what the library holds for the host within its bounds, and checks that it did.
    const bool ok = launched && !refusedInitLaunched && calls.intoDeletedHost == 0 && calls.afterDeinit == 0
        && calls.intoRefusedInit == 0 && tap.neverFinishedCount() == 0 && tap.refusedCount() == 0;
    dprintf(resultFd,
            "ok=%d launched=%d browserCalls=%zu wrapperCalls=%zu callsAfterDeinit=%zu hostCalls=%zu requests=%zu "
            "completionsAfterDeinit=%zu intoDeletedHost=%zu afterDeinit=%zu intoRefusedInit=%zu neverFinished=%zu "
            "refused=%zu refusedInitLaunched=%d deinitMs=%.2f\n",
            ok, launched, browserCalls, wrapperCalls, traffic.browserCalls() + traffic.wrapperCalls() - browserCalls - wrapperCalls,
            calls.calls, requests,
            completionsAfterDeinit, calls.intoDeletedHost, calls.afterDeinit, calls.intoRefusedInit,
            tap.neverFinishedCount(), tap.refusedCount(), refusedInitLaunched,
            std::chrono::duration<double, std::milli>(deinitEnd - deinitStart).count());
    close(resultFd);
    tap.stop();
    return ok ? 0 : 1;
}

} // namespace hbbtv_soak
