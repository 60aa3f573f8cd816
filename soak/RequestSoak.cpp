// hbbtv_request_soak: the request path and the host's lifecycle under load, in three phases.
//
// Requests: browser threads send requests through the TV service against a simulated host that
// answers on time, slowly, twice, late, never, for unknown tickets and with garbage. Every request
// carries a value the host echoes, so that an answer that reaches the wrong requester is caught.
// At the end the host reports what it still held, and the shared region must be back where it
// started.
//
// Stall: the host answers nothing for a while as browser threads ask for every operation that
// reaches it, then reports everything it held (see StallPhase.h).
//
// Lifecycle: init, launchBrowser, load and deinit with calls in flight, the host's server deleted
// after every deinit, each cycle in a process of its own (see LifecyclePhase.h).
//
//   hbbtv_request_soak [--requests N] [--threads N] [--margin-ms N] [--seed N]
//                      [--stall-s S] [--stall-budget-ms N] [--cycles N] [--cycle-threads N]
//
// Exits non-zero on any crossed answer, lost or early wake-up, a request given up later than its
// deadline plus the margin, region blocks left in use after the requests or the stall, what is
// kept for the host past its bounds, a refusal while the region had room, a call into a deleted
// host or into a host after its deinit returned, or a cycle whose process failed (an abort or a
// sanitizer report). --stall-s 0 and --cycles 0 leave those phases out.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "CommandLine.h"
#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendTVService.h"
#include "LifecyclePhase.h"
#include "SimulatedBrowser.h"
#include "SoakHost.h"
#include "StallPhase.h"
#include "StdoutTap.h"
#include "ZR_HbbtvImplInterface.h"

using namespace ZR_HBBTV_Core;
using namespace hbbtv_soak;
using Clock = std::chrono::steady_clock;

namespace {

// Per million requests. Late, never and unknown tickets each cost their requester the 1000 ms of
// an empty budget; never and unknown tickets stay with the host until the end (unless the library
// frees them first, to keep what it keeps for the host within its bounds).
const unsigned kPerMillion[kKinds] = { 955600, 30000, 5000, 8000, 1200, 100, 100 };

struct Options {
    unsigned long requests = 1000000;
    int threads = 16;
    double marginMs = 50;
    unsigned seed = 1;
    StallOptions stall;
    LifecycleOptions lifecycle;
    bool lifecycleChild = false;
};

void usage(const char* program, int status)
{
    printf("usage: %s [--requests N] [--threads N] [--margin-ms N] [--seed N]\n"
           "       [--stall-s S] [--stall-budget-ms N] [--cycles N] [--cycle-threads N]\n",
           program);
    exit(status);
}

Options parse(int argc, char** argv)
{
    Options options;
    // Every option takes a value but --help and --lifecycle-child.
    int i = 1;
    while (i < argc) {
        const std::string arg = argv[i++];
        if (arg == "--help") {
            usage(argv[0], 0);
        }
        if (arg == "--lifecycle-child") {
            options.lifecycleChild = true;
            continue;
        }
        const char* value = i < argc ? argv[i++] : nullptr;
        if (value == nullptr) {
            fprintf(stderr, "%s needs a value\n", arg.c_str());
            exit(2);
        }
        if (arg == "--requests") {
            options.requests = strtoul(value, nullptr, 10);
        } else if (arg == "--threads") {
            options.threads = std::max(1, atoi(value));
            options.stall.threads = options.threads;
        } else if (arg == "--margin-ms") {
            options.marginMs = atof(value);
        } else if (arg == "--seed") {
            options.seed = static_cast<unsigned>(strtoul(value, nullptr, 10));
            options.lifecycle.seed = options.seed;
        } else if (arg == "--stall-s") {
            options.stall.seconds = std::max(0.0, atof(value));
        } else if (arg == "--stall-budget-ms") {
            options.stall.budgetMs = static_cast<unsigned>(strtoul(value, nullptr, 10));
        } else if (arg == "--cycles") {
            options.lifecycle.cycles = std::max(0, atoi(value));
        } else if (arg == "--cycle-threads") {
            options.lifecycle.threads = std::max(1, atoi(value));
        } else {
            usage(argv[0], 2);
        }
    }
    return options;
}

struct Counts {
    std::atomic<unsigned long> sent{0}, answered{0}, givenUp{0}, crossed{0}, early{0}, garbage{0};
    std::atomic<unsigned long> byKind[kKinds] = {};
    std::atomic<long> worstLatenessUs{0};
    std::atomic<unsigned long> returned{0};
};

void noteLateness(Counts& counts, long us)
{
    long seen = counts.worstLatenessUs.load();
    while (us > seen && !counts.worstLatenessUs.compare_exchange_weak(seen, us)) {
    }
}

Kind drawKind(std::mt19937& random)
{
    unsigned draw = random() % 1000000;
    for (int kind = 0; kind < kKinds; ++kind) {
        if (draw < kPerMillion[kind]) {
            return static_cast<Kind>(kind);
        }
        draw -= kPerMillion[kind];
    }
    return OnTime;
}

void sendOne(HbbtvBackendTVService& service, Kind kind, int echo, Counts& counts)
{
    const bool answerExpected = kind == OnTime || kind == Slow || kind == Twice || kind == Garbage;
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(static_cast<HbbtvBackendCommand>(kEchoCommand),
        echo, kind));
    // Requests the host will not answer in time get an empty budget: given up after the agent's
    // 1000 ms.
    payload->timeoutMs = answerExpected ? HbbtvCommandPayload::kDefaultTimeoutMs : 0;
    const double budgetSeconds = payload->timeoutMs / 1000.0 + 1.0;
    const Clock::time_point start = Clock::now();
    const bool answered = service.sendServiceRequest(payload, answer);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    ++counts.byKind[kind];
    ++counts.returned;
    if (answered) {
        ++counts.answered;
        if (kind == Garbage) {
            ++counts.garbage;
        } else if (answer->valid == 0) {
            ++counts.early; // woken before the host had answered
        } else if (answer->intValue1 != echo || answer->strValue1.terminatedString() != "echo " + std::to_string(echo)) {
            ++counts.crossed;
        }
        if (!answerExpected) {
            ++counts.crossed; // a request the host never answered came back answered
        }
    } else {
        ++counts.givenUp;
        if (answerExpected) {
            ++counts.early; // an answered request must not be given up
        }
        noteLateness(counts, static_cast<long>((seconds - budgetSeconds) * 1e6));
    }
}

// The request phase; returns whether it passed.
bool runRequests(const Options& options, SoakHost& host, ZR_HbbtvImplInterface* wrapper, StdoutTap& tap)
{
    HbbtvBackendTVService* const service = HbbtvBackendTVService::instantiate(nullptr, nullptr);
    {
        // The region's first blocks and the agent exist from here on.
        std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
        std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(
            static_cast<HbbtvBackendCommand>(kEchoCommand), 0, OnTime));
        service->sendServiceRequest(payload, answer);
    }
    const size_t blocksBefore = tap.regionUse().blocks;

    Counts counts;
    std::atomic<unsigned long> next{0};
    std::atomic<bool> finished{false};
    const Clock::time_point start = Clock::now();
    // Lost wake-ups show as a requester that never returns: the watchdog ends the run.
    std::thread watchdog([&] {
        unsigned long last = 0;
        Clock::time_point lastProgress = Clock::now();
        while (!finished) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            const unsigned long now = counts.returned;
            if (now != last) {
                last = now;
                lastProgress = Clock::now();
            } else if (Clock::now() - lastProgress > std::chrono::seconds(30)) {
                printf("LOST: no requester returned for 30 s; %lu of %lu returned\n", now, next.load());
                fflush(stdout);
                _exit(1);
            }
        }
    });
    std::vector<std::thread> browsers;
    for (int t = 0; t < options.threads; ++t) {
        browsers.emplace_back([&, t] {
            std::mt19937 random(options.seed * 1000 + static_cast<unsigned>(t));
            for (;;) {
                const unsigned long index = next++;
                if (index >= options.requests) {
                    return;
                }
                ++counts.sent;
                // Unique per request: the host echoes it back.
                sendOne(*service, drawKind(random), static_cast<int>(index + 1), counts);
            }
        });
    }
    for (std::thread& browser : browsers) {
        browser.join();
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();

    // The host reports what it kept; late answers still on their way arrive meanwhile.
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
    const size_t reported = host.reportHeld(wrapper, tap);
    size_t blocksAfter = tap.regionUse().blocks;
    for (int i = 0; i < 100 && (blocksAfter != blocksBefore || getServiceAgent()->givenUpRequests() != 0); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        blocksAfter = tap.regionUse().blocks;
    }
    finished = true;
    watchdog.join();
    const unsigned long lost = counts.sent - counts.returned;
    const double worstMs = counts.worstLatenessUs / 1000.0;

    printf("\nrequest soak: %lu requests from %d threads in %.1f s (%.0f per second)\n", counts.sent.load(),
        options.threads, seconds, counts.sent / seconds);
    printf("  %-34s %lu\n", "answered", counts.answered.load());
    printf("  %-34s %lu\n", "  of them garbage (not checked)", counts.garbage.load());
    printf("  %-34s %lu\n", "given up (timed out)", counts.givenUp.load());
    printf("  %-34s %lu\n", "crossed", counts.crossed.load());
    printf("  %-34s %lu\n", "lost", lost);
    printf("  %-34s %lu\n", "double or early wake-ups", counts.early.load());
    printf("  %-34s %.1f ms (margin %.0f ms)\n", "worst lateness past deadline", worstMs, options.marginMs);
    printf("  %-34s %zu before, %zu after (%zu reported at the end, %zu freed unreported)\n", "region blocks in use",
        blocksBefore, blocksAfter, reported, tap.neverFinishedCount());
    printf("  host behaviour:");
    for (int kind = 0; kind < kKinds; ++kind) {
        printf(" %s %lu%s", kKindNames[kind], counts.byKind[kind].load(), kind + 1 < kKinds ? "," : "\n");
    }
    return counts.crossed == 0 && lost == 0 && counts.early == 0 && worstMs <= options.marginMs
        && blocksAfter == blocksBefore;
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    if (options.lifecycleChild) {
        return runLifecycleChild(options.lifecycle, 3);
    }
    const Clock::time_point start = Clock::now();
    // A region of this process's own, so that the soak never shares one with a test or simulator.
    const std::string suffix = "_soak" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 0);

    bool passed = true;
    {
        StdoutTap tap;
        SoakHost host;
        hbbtv_sim::SimulatedBrowser browser;
        ZR_HbbtvImplInterface* const wrapper = CreateHbbtvWrapper();
        host.setWrapper(wrapper);
        wrapper->init(&host);
        if (options.requests > 0) {
            passed = runRequests(options, host, wrapper, tap) && passed;
        }
        if (options.stall.seconds > 0) {
            browser.publish();
            wrapper->launchBrowser();
            browser.registerClients();
            const StallReport stall = runStall(options.stall, host, wrapper, browser, tap);
            printStall(stall);
            passed = stall.passed && passed;
        }
        host.setWrapper(nullptr);
        DestroyHbbtvWrapper(wrapper);
        backendMallocUninit();
        shm_unlink(channelListRegionName());
        fflush(stdout);
    }
    if (options.lifecycle.cycles > 0) {
        const LifecycleReport lifecycle = runLifecycle(options.lifecycle, hbbtv_tools::ownExecutable());
        printLifecycle(lifecycle);
        passed = lifecyclePassed(lifecycle) && passed;
    }
    printf("\nsoak: %.1f s in all\n%s\n", std::chrono::duration<double>(Clock::now() - start).count(),
        passed ? "PASSED" : "FAILED");
    return passed ? 0 : 1;
}
