// hbbtv_request_soak: browser threads send requests through the TV service against a simulated
// host that answers on time, slowly, twice, late, never, for unknown tickets and with garbage.
// Every request carries a value the host echoes, so that an answer that reaches the wrong
// requester is caught. At the end the host reports what it still held, and the shared region must
// be back where it started.
//
//   hbbtv_request_soak [--requests N] [--threads N] [--margin-ms N] [--seed N]
//
// Exits non-zero on any crossed answer, lost or early wake-up, a request given up later than its
// deadline plus the margin, or region blocks left in use.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendTVService.h"
#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

using namespace ZR_HBBTV_Core;
using hbbtv_sim::HostDecision;
using Clock = std::chrono::steady_clock;

namespace {

// How the host treats a request; the requester puts it in param2, the echo value in param1.
enum Kind { OnTime, Slow, Twice, Garbage, Late, Never, UnknownTicket, kKinds };
const char* const kKindNames[kKinds] = { "on time", "slow", "twice", "garbage", "late", "never", "unknown ticket" };

// Per million requests. Late, never and unknown tickets each cost their requester the 1000 ms of
// an empty budget; never and unknown tickets stay with the host until the end, so together they
// stay below what the agent keeps for the host.
const unsigned kPerMillion[kKinds] = { 955600, 30000, 5000, 8000, 1200, 100, 100 };

const int kCommand = DVBMediaPlayer_OpenVideo;

struct Options {
    unsigned long requests = 1000000;
    int threads = 16;
    double marginMs = 50;
    unsigned seed = 1;
};

Options parse(int argc, char** argv)
{
    Options options;
    // Every option takes a value.
    for (int i = 1; i < argc; i += 2) {
        const std::string arg = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        if (value == nullptr && arg != "--help") {
            fprintf(stderr, "%s needs a value\n", arg.c_str());
            exit(2);
        }
        if (arg == "--requests") {
            options.requests = strtoul(value, nullptr, 10);
        } else if (arg == "--threads") {
            options.threads = std::max(1, atoi(value));
        } else if (arg == "--margin-ms") {
            options.marginMs = atof(value);
        } else if (arg == "--seed") {
            options.seed = static_cast<unsigned>(strtoul(value, nullptr, 10));
        } else {
            printf("usage: %s [--requests N] [--threads N] [--margin-ms N] [--seed N]\n", argv[0]);
            exit(arg == "--help" ? 0 : 2);
        }
    }
    return options;
}

// The simulated host, which also keeps what it never answers, to report it when told to.
class SoakHost : public hbbtv_sim::SimulatedHost {
public:
    SoakHost()
    {
        setRecordRequests(false);
        setDecider([](const HbbtvCommandPayload& request) {
            HostDecision decision;
            switch (request.param2) {
            case Slow: decision.delayMs = 1 + static_cast<unsigned>(request.param1) % 5; break;
            case Twice: decision.kind = HostDecision::AnswerTwice; break;
            case Late: decision.delayMs = 1200 + static_cast<unsigned>(request.param1) % 800; break;
            case Never: decision.kind = HostDecision::Never; break;
            case UnknownTicket: decision.kind = HostDecision::UnknownTicket; break;
            default: break;
            }
            return decision;
        });
        setAnswerWriter([](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
            if (request.param2 == Garbage) {
                std::minstd_rand random(static_cast<unsigned>(request.param1));
                unsigned char* const bytes = reinterpret_cast<unsigned char*>(&answer);
                for (size_t i = 0; i < sizeof(answer); ++i) {
                    bytes[i] = static_cast<unsigned char>(random());
                }
                answer.valid = 1;
                return;
            }
            answer.intValue1 = request.param1;
            answer.intValue2 = static_cast<int32_t>(request.ticket);
            answer.strValue1 = ("echo " + std::to_string(request.param1)).c_str();
            answer.valid = 1;
        });
    }

    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override
    {
        const HbbtvCommandPayload* const request = static_cast<const HbbtvCommandPayload*>(payload);
        if (request->param2 == Never || request->param2 == UnknownTicket) {
            std::lock_guard<std::mutex> lock(m_heldMutex);
            m_held.push_back(const_cast<HbbtvCommandPayload*>(request));
        }
        SimulatedHost::HBBTV_ServiceRequestHandler(payload, answer);
    }

    // The host finally reports every request it kept.
    size_t reportHeld(ZR_HbbtvImplInterface* wrapper)
    {
        std::lock_guard<std::mutex> lock(m_heldMutex);
        for (HbbtvCommandPayload* payload : m_held) {
            wrapper->notifyHbbtvServiceRequestFinished(payload);
        }
        const size_t reported = m_held.size();
        m_held.clear();
        return reported;
    }

private:
    std::mutex m_heldMutex;
    std::vector<HbbtvCommandPayload*> m_held;
};

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
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(static_cast<HbbtvBackendCommand>(kCommand),
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

// Blocks of the shared region in use, read from the allocator's own summary.
size_t regionBlocksInUse()
{
    fflush(stdout);
    char path[] = "/tmp/hbbtv_soak_XXXXXX";
    const int file = mkstemp(path);
    const int saved = dup(STDOUT_FILENO);
    dup2(file, STDOUT_FILENO);
    getBackendMemAllocator()->dumpInfo();
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    size_t used = 0;
    FILE* const dump = fdopen(file, "r");
    rewind(dump);
    char line[256];
    while (fgets(line, sizeof(line), dump) != nullptr) {
        unsigned count;
        if (sscanf(line, "used list:%u", &count) == 1) {
            used += count;
        }
    }
    fclose(dump);
    unlink(path);
    return used;
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    // A region of this process's own, so that the soak never shares one with a test or simulator.
    const std::string suffix = "_soak" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 0);

    SoakHost host;
    ZR_HbbtvImplInterface* const wrapper = CreateHbbtvWrapper();
    host.setWrapper(wrapper);
    wrapper->init(&host);
    HbbtvBackendTVService* const service = HbbtvBackendTVService::instantiate(nullptr, nullptr);
    {
        // The region's first blocks and the agent exist from here on.
        std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
        std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(
            static_cast<HbbtvBackendCommand>(kCommand), 0, OnTime));
        service->sendServiceRequest(payload, answer);
    }
    const size_t blocksBefore = regionBlocksInUse();

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
    const size_t reported = host.reportHeld(wrapper);
    size_t blocksAfter = regionBlocksInUse();
    for (int i = 0; i < 100 && (blocksAfter != blocksBefore || getServiceAgent()->givenUpRequests() != 0); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        blocksAfter = regionBlocksInUse();
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
    printf("  %-34s %zu before, %zu after (%zu reported at the end)\n", "region blocks in use", blocksBefore,
        blocksAfter, reported);
    printf("  host behaviour:");
    for (int kind = 0; kind < kKinds; ++kind) {
        printf(" %s %lu%s", kKindNames[kind], counts.byKind[kind].load(), kind + 1 < kKinds ? "," : "\n");
    }
    const bool passed = counts.crossed == 0 && lost == 0 && counts.early == 0 && worstMs <= options.marginMs
        && blocksAfter == blocksBefore;
    printf("%s\n", passed ? "PASSED" : "FAILED");

    host.setWrapper(nullptr);
    DestroyHbbtvWrapper(wrapper);
    backendMallocUninit();
    return passed ? 0 : 1;
}
