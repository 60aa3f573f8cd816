#include "Scenario.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <thread>

#include "CommandName.h"
#include "Statistics.h"

namespace hbbtv_simulator {

using hbbtv_tools::commandName;
using hbbtv_tools::residentKiB;

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

} // namespace

Scenario::Scenario(const Options& options, const std::string& shmSuffix)
    : m_options(options)
    , m_timeout(options.timeoutMs)
    , m_shmSuffix(shmSuffix)
    , m_start(Clock::now())
{
}

void Scenario::trace(const std::string& text) const
{
    printf("[sim %10.3f ms] %s\n", millisecondsBetween(m_start, Clock::now()), text.c_str());
}

Scenario::Call Scenario::measure(const std::string& label, const std::function<void()>& call)
{
    const size_t before = host.record().requests.size();
    const Clock::time_point begin = Clock::now();
    call();
    const Clock::time_point end = Clock::now();
    const hbbtv_sim::HostRecord record = host.record();

    Call result;
    result.roundTripMs = millisecondsBetween(begin, end);
    result.requests.assign(
        record.requests.begin() + static_cast<std::ptrdiff_t>(std::min(before, record.requests.size())),
        record.requests.end());
    char line[512];
    snprintf(line, sizeof(line), "    round trip of %s: %.3f ms, %zu request%s", label.c_str(), result.roundTripMs,
        result.requests.size(), result.requests.size() == 1 ? "" : "s");
    trace(line);

    // The round trip is cut at each completion: the requests of one call follow each other.
    Clock::time_point from = begin;
    for (size_t i = 0; i < result.requests.size(); ++i) {
        const hbbtv_sim::ReceivedRequest& request = result.requests[i];
        const hbbtv_sim::CompletionReport* completion = nullptr;
        for (const hbbtv_sim::CompletionReport& report : record.completions) {
            if (report.ticket == request.ticket && report.reportedAt >= request.receivedAt
                && report.reportedAt <= end) {
                completion = &report;
                break;
            }
        }
        const bool last = i + 1 == result.requests.size();
        Clock::time_point until = end;
        if (!last) {
            until = completion != nullptr ? completion->reportedAt : result.requests[i + 1].receivedAt;
        }
        const double latency = millisecondsBetween(from, until);
        from = until;
        {
            std::lock_guard<std::mutex> lock(m_summaryMutex);
            m_summary.add(request.command, latency, completion == nullptr);
        }
        snprintf(line, sizeof(line), "      %s (%d), param1 %d, param2 %d, ticket %u, budget %u ms: %.3f ms%s",
            commandName(request.command).c_str(), request.command, request.param1, request.param2, request.ticket,
            request.timeoutMs, latency, completion == nullptr ? ", TIMED OUT" : "");
        trace(line);
    }
    return result;
}

std::string Scenario::expectCommands(const Call& call, const std::vector<int>& commands)
{
    std::string sent;
    for (const hbbtv_sim::ReceivedRequest& request : call.requests) {
        sent += (sent.empty() ? "" : ", ") + commandName(request.command);
    }
    std::string expected;
    for (int command : commands) {
        expected += (expected.empty() ? "" : ", ") + commandName(command);
    }
    bool same = call.requests.size() == commands.size();
    for (size_t i = 0; same && i < commands.size(); ++i) {
        same = call.requests[i].command == commands[i];
    }
    if (same) {
        return "";
    }
    return "the host received [" + sent + "], expected [" + expected + "]";
}

std::string Scenario::needWrapper() const
{
    if (tornDown) {
        return "the wrapper was torn down already";
    }
    return wrapper != nullptr ? "" : "no wrapper yet: the scenario must boot first";
}

std::string Scenario::needTVService(android::sp<ITVService>& tvService) const
{
    const std::string missing = needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    tvService = browser.tvService();
    return tvService != nullptr ? "" : "the browser holds no TV service: it must register its clients first";
}

void Scenario::runStep(int number, const StepCall& step)
{
    const StepAction* const action = findStepAction(step.name);
    const std::string title = action != nullptr ? action->title(step.arguments) : step.name;
    // Each step runs on a thread of its own, so that a step stuck inside the library (a lock
    // never released, an answer never taken) still ends the run with a clear message.
    const Clock::time_point begin = Clock::now();
    const std::shared_ptr<std::promise<std::string>> result = std::make_shared<std::promise<std::string>>();
    std::future<std::string> outcome = result->get_future();
    const Json arguments = step.arguments;
    std::thread worker([this, result, action, arguments] {
        result->set_value(action != nullptr ? action->run(*this, arguments) : "the simulator has no such step");
    });
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
    snprintf(line, sizeof(line), "%2d. %-62s %s (%.3f ms)", number, title.c_str(), error.empty() ? "ok    " : "FAILED",
        duration);
    trace(line);
    if (error.empty()) {
        return;
    }
    trace("    " + error);
    printSummary();
    printf("hbbtv_simulator: scenario FAILED at step %d (%s): %s\n", number, title.c_str(), error.c_str());
    fflush(stdout);
    removeSharedMemory();
    // The library is in a state no host would leave it in (and a thread may still be inside it):
    // end here rather than tear down in an order nothing was built for.
    std::_Exit(1);
}

void Scenario::printSummary() const
{
    std::lock_guard<std::mutex> lock(m_summaryMutex);
    for (const std::string& line : m_summary.table()) {
        trace(line);
    }
}

void Scenario::removeSharedMemory() const
{
    shm_unlink(("/hbbtv" + m_shmSuffix).c_str());
    shm_unlink(("/hbbtvChannelList" + m_shmSuffix).c_str());
}

int Scenario::run(const std::string& name, const std::vector<StepCall>& steps)
{
    trace("library " + m_options.library);
    trace("scenario " + name + ", " + std::to_string(steps.size()) + " steps");
    trace("shared memory /hbbtv" + m_shmSuffix + " and /hbbtvChannelList" + m_shmSuffix + ", step time-out "
        + std::to_string(m_timeout.count()) + " ms, host answers "
        + (m_options.hostDelayMs == 0 ? std::string("at once") : std::to_string(m_options.hostDelayMs) + " ms late"));
    hbbtv_sim::HostDecision answer;
    answer.delayMs = m_options.hostDelayMs;
    host.setDecision(answer);

    long residentAfterStart = residentKiB();
    for (size_t i = 0; i < steps.size(); ++i) {
        runStep(static_cast<int>(i) + 1, steps[i]);
        if (i == 0) {
            residentAfterStart = residentKiB(); // the first step starts the television
        }
    }
    {
        const size_t regionSize = 409600;
        std::lock_guard<std::mutex> lock(m_summaryMutex);
        m_summary.setMemory(residentAfterStart, residentKiB(), regionHighWater("/hbbtv" + m_shmSuffix, regionSize),
            regionSize);
    }
    // The library stays loaded: its service agent thread runs until the process ends.
    removeSharedMemory();
    printSummary();
    size_t requests = 0;
    size_t timeOuts = 0;
    {
        std::lock_guard<std::mutex> lock(m_summaryMutex);
        requests = m_summary.requests();
        timeOuts = m_summary.timeOuts();
    }
    trace("scenario passed: " + std::to_string(steps.size()) + (steps.size() == 1 ? " step, " : " steps, ")
        + std::to_string(requests) + (requests == 1 ? " request, " : " requests, ") + std::to_string(timeOuts)
        + " timed out");
    return 0;
}

} // namespace hbbtv_simulator
