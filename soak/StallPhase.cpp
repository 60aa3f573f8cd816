#include "StallPhase.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <set>
#include <thread>
#include <vector>

#include "BrowserCalls.h"
#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.ServiceAgent.h"

namespace hbbtv_soak {

using ZR_HBBTV_Core::BackendServiceAgent;
using ZR_HBBTV_Core::getServiceAgent;
using Clock = std::chrono::steady_clock;

namespace {

// The largest record a request asks of the region: the component list's answer.
size_t largestNode()
{
    return ZR_HBBTV_Core::shm_allocator::nodeSizeFor(sizeof(HbbtvServiceRequestAVInfoAnswer));
}

void note(size_t& most, size_t seen)
{
    most = std::max(most, seen);
}

} // namespace

StallReport runStall(const StallOptions& options, SoakHost& host, ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper,
                     hbbtv_sim::SimulatedBrowser& browser, StdoutTap& tap)
{
    StallReport report;
    report.options = options;
    report.regionSize = ZR_HBBTV_Core::kBackendRegionSize;
    report.before = tap.regionUse();
    const size_t neverFinishedBefore = tap.neverFinishedCount();
    const size_t refusedBefore = tap.refusedCount();
    const std::vector<BrowserCall>& calls = requestCalls();

    tap.setQuiet(true);
    wrapper->SetHbbTVRunningStatus(true); // the carousel mount asks the host only while HbbTV runs
    host.stall(options.budgetMs);
    std::atomic<bool> stop(false);
    std::atomic<size_t> made(0);
    std::atomic<bool> mounting(false);
    std::vector<std::atomic<bool>> called(calls.size());
    std::vector<std::thread> browsers;
    for (int t = 0; t < options.threads; ++t) {
        browsers.emplace_back([&, t] {
            // Each thread starts elsewhere in the list, so that all operations are in flight at once.
            for (size_t n = static_cast<size_t>(t) * calls.size() / static_cast<size_t>(options.threads); !stop; ++n) {
                const BrowserCall& call = calls[n % calls.size()];
                // The mount repeats its attempt every second for forty seconds: one thread at a time.
                const bool mount = isCarouselMount(call);
                if (mount && mounting.exchange(true)) {
                    continue;
                }
                call.call(browser, static_cast<unsigned int>(n));
                if (mount) {
                    mounting = false;
                }
                called[n % calls.size()] = true;
                ++made;
            }
        });
    }
    std::atomic<bool> sampling(true);
    std::thread sampler([&] {
        while (sampling) {
            const RegionUse use = tap.regionUse();
            note(report.peak.blocks, use.blocks);
            note(report.peak.bytes, use.bytes);
            note(report.maxKeptBytes, getServiceAgent()->givenUpBytes());
            note(report.maxKeptRequests, getServiceAgent()->givenUpRequests());
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    });
    std::this_thread::sleep_for(std::chrono::duration<double>(options.seconds));
    stop = true;
    wrapper->SetHbbTVRunningStatus(false); // a mount under way stops at its next attempt
    for (std::thread& thread : browsers) {
        thread.join();
    }
    sampling = false;
    sampler.join();
    report.calls = made;
    report.operations = static_cast<size_t>(std::count(called.begin(), called.end(), true));
    report.held = host.stalledRequests();
    report.heldComponentLists = host.stalledComponentLists();

    // Every requester has given its request up: the host recovers and reports what it held.
    const Clock::time_point recovered = Clock::now();
    report.recovery = host.recover(wrapper, tap);
    for (int i = 0; i < 150 && (getServiceAgent()->givenUpRequests() != 0 || getServiceAgent()->givenUpBytes() != 0); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    report.keptBytesAfter = getServiceAgent()->givenUpBytes();
    report.keptRequestsAfter = getServiceAgent()->givenUpRequests();

    // The recovered host answers every operation again.
    wrapper->SetHbbTVRunningStatus(true);
    host.clearRecord();
    host.setRecordRequests(true);
    for (size_t n = 0; n < calls.size(); ++n) {
        calls[n].call(browser, static_cast<unsigned int>(n));
    }
    host.waitForCompletions(static_cast<unsigned int>(host.record().requests.size()), std::chrono::seconds(5));
    const hbbtv_sim::HostRecord record = host.record();
    report.requestsAfter = record.requests.size();
    report.answeredAfter = record.completionsReported;
    host.setRecordRequests(false);
    host.clearRecord();
    wrapper->SetHbbTVRunningStatus(false);

    report.after = tap.regionUse();
    for (int i = 0; i < 150 && report.after.blocks != report.before.blocks; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        report.after = tap.regionUse();
    }
    report.recoverySeconds = std::chrono::duration<double>(Clock::now() - recovered).count();
    report.highWater = ZR_HBBTV_Core::getBackendMemAllocator()->highWater();
    report.neverFinished = tap.neverFinishedCount() - neverFinishedBefore;
    report.refused = tap.refusedCount() - refusedBefore;
    tap.setQuiet(false);

    // A refusal keeps the middleware alive when the region is full, but with what the library keeps
    // for the host bounded, 16 threads never fill it: any refusal fails the phase.
    report.regionFull = report.regionSize - report.highWater < largestNode();
    report.passed = report.refused == 0 && report.peak.bytes < report.regionSize
        && report.maxKeptBytes <= BackendServiceAgent::kMaxGivenUpBytes
        && report.maxKeptRequests <= BackendServiceAgent::kMaxGivenUpRequests && report.keptBytesAfter == 0
        && report.keptRequestsAfter == 0 && report.after.blocks == report.before.blocks
        && report.answeredAfter == report.requestsAfter && report.operations == calls.size();
    return report;
}

void printStall(const StallReport& r)
{
    printf("\nstall: %.1f s of a host that answers nothing, %d threads, budgets lowered to %u ms\n", r.options.seconds,
           r.options.threads, r.options.budgetMs);
    printf("  %-34s %zu (%zu operations)\n", "browser calls", r.calls, r.operations);
    printf("  %-34s %zu (%zu component lists)\n", "requests held by the host", r.held, r.heldComponentLists);
    printf("  %-34s %zu%s\n", "refused, region full", r.refused,
           r.refused == 0 ? "" : r.regionFull ? " (the region was full)" : " (while the region had room)");
    printf("  %-34s %zu\n", "freed unreported (never finished)", r.neverFinished);
    printf("  %-34s %zu bytes, %zu requests (bounds %zu, %zu)\n", "kept for the host at most", r.maxKeptBytes,
           r.maxKeptRequests, BackendServiceAgent::kMaxGivenUpBytes, BackendServiceAgent::kMaxGivenUpRequests);
    printf("  %-34s %zu bytes in %zu blocks at most; %zu of %zu bytes cut\n", "region in use", r.peak.bytes,
           r.peak.blocks, r.highWater, r.regionSize);
    printf("  %-34s %zu reported, %zu already freed\n", "held requests at recovery", r.recovery.reported,
           r.recovery.freedUnreported);
    printf("  %-34s %zu bytes, %zu requests\n", "kept for the host after", r.keptBytesAfter, r.keptRequestsAfter);
    printf("  %-34s %zu of %zu requests\n", "answered after recovery", r.answeredAfter, r.requestsAfter);
    printf("  %-34s %zu before, %zu after (back in %.1f s)\n", "region blocks in use", r.before.blocks,
           r.after.blocks, r.recoverySeconds);
}

} // namespace hbbtv_soak
