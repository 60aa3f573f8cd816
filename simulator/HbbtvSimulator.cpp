// hbbtv_simulator: a host program for the glue library. It loads the library the way the
// television's middleware does (dlopen, then the two exported entry points), plays a scenario
// with the simulated host and browser, and prints one line per step with the time since start
// and the step's own duration, and the round trip of every request.
//
// The library's own console lines appear between the trace lines; every trace line starts with
// "[sim". Exit status 0: every step passed; 1: a step failed or did not finish in time; 2: usage.
#include <dlfcn.h>
#include <getopt.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

namespace {

using Clock = std::chrono::steady_clock;
using hbbtv_sim::SimulatedBrowser;
using hbbtv_sim::SimulatedHost;
using ZR_HBBTV_Core::ZR_HbbtvImplInterface;

typedef ZR_HbbtvImplInterface* (*CreateWrapperFunction)();
typedef void (*DestroyWrapperFunction)(ZR_HbbtvImplInterface*);

double millisecondsBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

struct Options {
    std::string library = HBBTV_GLUE_LIBRARY;
    unsigned int timeoutMs = 3000;
    unsigned int hostDelayMs = 0;
};

void usage(FILE* out)
{
    fprintf(out,
            "usage: hbbtv_simulator [--library PATH] [--timeout-ms N] [--host-delay-ms N]\n"
            "  Loads the HbbTV backend glue library as a host does and plays the built-in scenario:\n"
            "  boot, browser binding, two requests, browser death and rebind, teardown.\n"
            "  --library PATH      the library to load (default: %s)\n"
            "  --timeout-ms N      how long each step may take (default: 3000)\n"
            "  --host-delay-ms N   how late the host answers each request (default: 0)\n",
            HBBTV_GLUE_LIBRARY);
}

bool parseMilliseconds(const char* text, unsigned long lowest, unsigned int& value)
{
    char* end = nullptr;
    const unsigned long parsed = strtoul(text, &end, 10);
    if (end == text || *end != '\0' || parsed < lowest || parsed > 600000) {
        return false;
    }
    value = static_cast<unsigned int>(parsed);
    return true;
}

// Returns 0 to go on, -1 to end with status 0 (help), otherwise the exit status.
int parseOptions(int argc, char** argv, Options& options)
{
    static const option kOptions[] = {
        {"library", required_argument, nullptr, 'l'},
        {"timeout-ms", required_argument, nullptr, 't'},
        {"host-delay-ms", required_argument, nullptr, 'd'},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0},
    };
    int choice;
    while ((choice = getopt_long(argc, argv, "l:t:d:h", kOptions, nullptr)) != -1) {
        switch (choice) {
        case 'l':
            options.library = optarg;
            break;
        case 't':
            if (!parseMilliseconds(optarg, 1, options.timeoutMs)) {
                fprintf(stderr, "hbbtv_simulator: --timeout-ms wants a number of milliseconds from 1 to 600000\n");
                return 2;
            }
            break;
        case 'd':
            if (!parseMilliseconds(optarg, 0, options.hostDelayMs)) {
                fprintf(stderr, "hbbtv_simulator: --host-delay-ms wants a number of milliseconds from 0 to 600000\n");
                return 2;
            }
            break;
        case 'h':
            usage(stdout);
            return -1;
        default:
            usage(stderr);
            return 2;
        }
    }
    if (optind != argc) {
        usage(stderr);
        return 2;
    }
    return 0;
}

class Scenario {
public:
    Scenario(const Options& options, const std::string& shmSuffix)
        : m_options(options), m_timeout(options.timeoutMs), m_shmSuffix(shmSuffix), m_start(Clock::now())
    {
    }

    // 0 when every step passed; a failed step ends the process.
    int run();

private:
    struct Step {
        std::string title;
        // Empty when the step passed, otherwise what went wrong.
        std::function<std::string()> body;
    };

    // Ends the process with status 1 when the step fails.
    void runStep(int number, const Step& step);
    void trace(const std::string& text) const;
    // Calls the operation as the browser does and reports the round trip; checks what the host
    // received.
    std::string request(const std::string& call, const std::function<void(ITVService&)>& operation, int command,
                        int param1, int param2);
    std::string waitUntilBrowserReady();
    void removeSharedMemory() const;

    const Options m_options;
    const std::chrono::milliseconds m_timeout;
    const std::string m_shmSuffix;
    const Clock::time_point m_start;

    void* m_library = nullptr;
    CreateWrapperFunction m_create = nullptr;
    DestroyWrapperFunction m_destroy = nullptr;
    ZR_HbbtvImplInterface* m_wrapper = nullptr;
    SimulatedHost m_host;
    SimulatedBrowser m_browser;
    std::vector<std::string> m_roundTrips;
};

void Scenario::trace(const std::string& text) const
{
    printf("[sim %10.3f ms] %s\n", millisecondsBetween(m_start, Clock::now()), text.c_str());
}

void Scenario::runStep(int number, const Step& step)
{
    // Each step runs on a thread of its own, so that a step stuck inside the library (a lock
    // never released, an answer never taken) still ends the run with a clear message.
    const Clock::time_point begin = Clock::now();
    const std::shared_ptr<std::promise<std::string>> result = std::make_shared<std::promise<std::string>>();
    std::future<std::string> outcome = result->get_future();
    const std::function<std::string()> body = step.body;
    std::thread worker([result, body] { result->set_value(body()); });
    // A little more than the step's own waits, so that they report first.
    const std::chrono::milliseconds limit = m_timeout + std::chrono::milliseconds(1000);
    std::string error;
    if (outcome.wait_for(limit) == std::future_status::ready) {
        worker.join();
        error = outcome.get();
    } else {
        worker.detach();
        error = "still running after " + std::to_string(limit.count()) + " ms: blocked in a call";
    }
    const double duration = millisecondsBetween(begin, Clock::now());
    char line[512];
    snprintf(line, sizeof(line), "%2d. %-62s %s (%.3f ms)", number, step.title.c_str(),
             error.empty() ? "ok    " : "FAILED", duration);
    trace(line);
    if (error.empty()) {
        return;
    }
    trace("    " + error);
    printf("hbbtv_simulator: scenario FAILED at step %d (%s): %s\n", number, step.title.c_str(), error.c_str());
    fflush(stdout);
    removeSharedMemory();
    // The library is in a state no host would leave it in (and a thread may still be inside it):
    // end here rather than tear down in an order nothing was built for.
    std::_Exit(1);
}

std::string Scenario::request(const std::string& call, const std::function<void(ITVService&)>& operation,
                              int command, int param1, int param2)
{
    const android::sp<ITVService> tvService = m_browser.tvService();
    if (tvService == nullptr) {
        return "the browser holds no TV service";
    }
    const size_t before = m_host.record().requests.size();
    const Clock::time_point begin = Clock::now();
    operation(*tvService);
    const double roundTrip = millisecondsBetween(begin, Clock::now());
    if (!m_host.waitForRequests(before + 1, m_timeout)) {
        return call + " returned but the host received no request";
    }
    const hbbtv_sim::ReceivedRequest received = m_host.record().requests.at(before);
    std::ostringstream description;
    description << "command " << received.command << ", param1 " << received.param1 << ", param2 "
                << received.param2 << ", ticket " << received.ticket << ", budget " << received.timeoutMs << " ms";
    if (received.command != command || received.param1 != param1 || received.param2 != param2) {
        std::ostringstream expected;
        expected << "the host received " << description.str() << "; expected command " << command << ", param1 "
                 << param1 << ", param2 " << param2;
        return expected.str();
    }
    if (received.ticket == 0) {
        return "the request carried ticket 0";
    }
    char line[256];
    snprintf(line, sizeof(line), "    round trip of %s: %.3f ms (%s)", call.c_str(), roundTrip,
             description.str().c_str());
    trace(line);
    snprintf(line, sizeof(line), "%s %.3f ms", call.c_str(), roundTrip);
    m_roundTrips.push_back(line);
    return "";
}

std::string Scenario::waitUntilBrowserReady()
{
    const Clock::time_point deadline = Clock::now() + m_timeout;
    while (!m_wrapper->isBrowserReady()) {
        if (Clock::now() >= deadline) {
            return "isBrowserReady stayed false for " + std::to_string(m_timeout.count()) + " ms";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return "";
}

void Scenario::removeSharedMemory() const
{
    shm_unlink(("/hbbtv" + m_shmSuffix).c_str());
    shm_unlink(("/hbbtvChannelList" + m_shmSuffix).c_str());
}

int Scenario::run()
{
    trace("library " + m_options.library);
    trace("shared memory /hbbtv" + m_shmSuffix + " and /hbbtvChannelList" + m_shmSuffix + ", step time-out " +
          std::to_string(m_timeout.count()) + " ms, host answers " +
          (m_options.hostDelayMs == 0 ? std::string("at once") : std::to_string(m_options.hostDelayMs) + " ms late"));
    hbbtv_sim::HostDecision answer;
    answer.delayMs = m_options.hostDelayMs;
    m_host.setDecision(answer);

    const std::vector<Step> steps = {
        {"load the library: dlopen, dlsym of the two entry points",
         [this]() -> std::string {
             m_library = dlopen(m_options.library.c_str(), RTLD_NOW | RTLD_LOCAL);
             if (m_library == nullptr) {
                 return std::string("dlopen: ") + dlerror();
             }
             m_create = reinterpret_cast<CreateWrapperFunction>(dlsym(m_library, "CreateHbbtvWrapper"));
             m_destroy = reinterpret_cast<DestroyWrapperFunction>(dlsym(m_library, "DestroyHbbtvWrapper"));
             if (m_create == nullptr || m_destroy == nullptr) {
                 return "the library does not export CreateHbbtvWrapper and DestroyHbbtvWrapper";
             }
             return "";
         }},
        {"boot: CreateHbbtvWrapper",
         [this]() -> std::string {
             m_wrapper = m_create();
             return m_wrapper != nullptr ? "" : "CreateHbbtvWrapper returned null";
         }},
        {"boot: init with the simulated host, kalto.TVService published",
         [this]() -> std::string {
             m_host.setWrapper(m_wrapper);
             m_wrapper->init(&m_host);
             const android::sp<android::IBinder> tvService = android::defaultServiceManager()->checkService(
                 android::String16(SimulatedBrowser::kTVServiceName));
             if (tvService == nullptr) {
                 return "kalto.TVService is not in the service manager after init";
             }
             return m_wrapper->isBrowserReady() ? "isBrowserReady is true before any browser exists" : "";
         }},
        {"browser publishes com.kalto.YXTService",
         [this]() -> std::string { return m_browser.publish() ? "" : "the service manager refused the service"; }},
        {"host calls launchBrowser: the glue binds to the browser",
         [this]() -> std::string {
             if (!m_wrapper->launchBrowser()) {
                 return "launchBrowser returned false";
             }
             const hbbtv_sim::BrowserServiceRecord record = m_browser.service()->record();
             if (record.clientRegistrations != 1 || record.mmClientRegistrations != 1) {
                 return "the browser saw " + std::to_string(record.clientRegistrations) + " client and " +
                        std::to_string(record.mmClientRegistrations) + " media client registrations, expected 1 each";
             }
             return "";
         }},
        {"browser registers its five clients through kalto.TVService",
         [this]() -> std::string { return m_browser.registerClients() ? "" : "kalto.TVService not found"; }},
        {"isBrowserReady turns true", [this]() -> std::string { return waitUntilBrowserReady(); }},
        {"request: the browser calls stopVideo()",
         [this]() -> std::string {
             return request("stopVideo()", [](ITVService& tv) { tv.stopVideo(); }, DVBMediaPlayer_CloseVideo, 0, 0);
         }},
        {"request: setViewport(false, 100, 50, 640, 360)",
         [this]() -> std::string {
             return request("setViewport(false, 100, 50, 640, 360)",
                            [](ITVService& tv) { tv.setViewport(false, 100, 50, 640, 360); },
                            DVBMediaPlayer_SetDisplayWindow, (100 << 16) | 50, (640 << 16) | 360);
         }},
        {"browser dies: the host hears HBBTV_BrowserDiedNotification",
         [this]() -> std::string {
             if (!m_browser.die()) {
                 return "the browser service was not published";
             }
             return m_host.waitForBrowserDied(1, m_timeout) ? "" : "no HBBTV_BrowserDiedNotification";
         }},
        {"rebind: the browser publishes again",
         [this]() -> std::string { return m_browser.publish() ? "" : "the service manager refused the service"; }},
        {"rebind: host calls launchBrowser again",
         [this]() -> std::string {
             if (!m_wrapper->launchBrowser()) {
                 return "launchBrowser returned false";
             }
             const hbbtv_sim::BrowserServiceRecord record = m_browser.service()->record();
             return record.clientRegistrations == 2 ? ""
                                                     : "the glue did not register its client with the new browser";
         }},
        {"rebind: the browser registers again, isBrowserReady true",
         [this]() -> std::string {
             if (!m_browser.registerClients()) {
                 return "kalto.TVService not found";
             }
             return waitUntilBrowserReady();
         }},
        {"request after the rebind: stopVideo()",
         [this]() -> std::string {
             return request("stopVideo() after the rebind", [](ITVService& tv) { tv.stopVideo(); },
                            DVBMediaPlayer_CloseVideo, 0, 0);
         }},
        {"teardown: DestroyHbbtvWrapper",
         [this]() -> std::string {
             // No completion may reach the wrapper once it is gone.
             m_host.setWrapper(nullptr);
             m_destroy(m_wrapper);
             m_wrapper = nullptr;
             return "";
         }},
    };

    for (size_t i = 0; i < steps.size(); ++i) {
        runStep(static_cast<int>(i) + 1, steps[i]);
    }
    // The library stays loaded: its service agent thread runs until the process ends.
    removeSharedMemory();
    const hbbtv_sim::HostRecord record = m_host.record();
    std::string roundTrips;
    for (const std::string& roundTrip : m_roundTrips) {
        roundTrips += (roundTrips.empty() ? "" : ", ") + roundTrip;
    }
    trace("scenario passed: " + std::to_string(steps.size()) + " steps, " + std::to_string(record.requests.size()) +
          " requests answered (" + roundTrips + ")");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    const int parsed = parseOptions(argc, argv, options);
    if (parsed != 0) {
        return parsed < 0 ? 0 : parsed;
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);
    // Before anything maps shared memory: regions of our own, apart from tests and other runs.
    const std::string suffix = ".sim" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);

    Scenario scenario(options, suffix);
    return scenario.run();
}
