// The scenario player: one television (the glue library loaded as the host loads it, the
// simulated host and browser around it) and the steps that drive it. Each step runs on a thread
// of its own with a time limit and is checked; the trace prints one line per step with the time
// since start and the step's duration, indented detail lines (round trips, what each side saw),
// and at the end a table of the requests by command.
#ifndef HBBTV_SIMULATOR_SCENARIO_H
#define HBBTV_SIMULATOR_SCENARIO_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <utils/StrongPointer.h>

#include "GlueLibrary.h"
#include "RequestSummary.h"
#include "ScenarioFile.h"
#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "StepPlayer.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_simulator {

struct Options {
    std::string library;
    unsigned int timeoutMs = 3000;
    unsigned int hostDelayMs = 0;
    std::string scenarioFile; // empty: the built-in scenario
    std::string replayFile;   // a field trace to replay instead of a scenario
    std::string replayTrace;  // where the replay's own trace goes
};

// A channel as the browser keeps it after reading the list, with the numbers the host listed.
struct ListedChannel {
    NCOR::ChannelTunerData record;
    int ids[3];
};

class Scenario {
public:
    Scenario(const Options& options, const std::string& shmSuffix);

    // 0 when every step passed; a failed step ends the process with status 1.
    int run(const std::string& name, const std::vector<StepCall>& steps);

    // ---- For the steps ---------------------------------------------------------------------------

    void trace(const std::string& text) const;
    std::chrono::milliseconds timeout() const { return m_timeout; }
    const Options& options() const { return m_options; }

    // One call that may send requests to the host (a browser call on the TV service, or a host call
    // that leads to one), timed: its round trip and the requests the host received meanwhile.
    struct Call {
        double roundTripMs = 0;
        std::vector<hbbtv_sim::ReceivedRequest> requests;
    };
    // Makes the call, traces its round trip and each request, and counts the requests in the
    // summary: a request's latency is the part of the round trip up to the host's completion of it
    // (the call's return for the last one); a request the host did not complete before the call
    // returned ran out of budget.
    Call measure(const std::string& label, const std::function<void()>& call);
    // "" when the call sent exactly these commands, in this order.
    static std::string expectCommands(const Call& call, const std::vector<int>& commands);

    // "" when the wrapper exists; the browser's TV service, or an error.
    std::string needWrapper() const;
    std::string needTVService(android::sp<ITVService>& tvService) const;

    // The television.
    hbbtv_sim::SimulatedHost host;
    hbbtv_sim::SimulatedBrowser browser;
    hbbtv_tools::GlueLibrary library;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = nullptr;
    bool tornDown = false;
    // Plays the steps that the property tests print (made at the first of them, after boot).
    std::unique_ptr<hbbtv_sim::StepPlayer> player;
    // What the browser learnt: the channel list, the components listed by type.
    std::vector<ListedChannel> channels;
    std::map<int, std::vector<NCOR::AVComponentData>> components;

private:
    // Ends the process with status 1 when the step fails.
    void runStep(int number, const StepCall& step);
    void printSummary() const;
    void removeSharedMemory() const;

    const Options m_options;
    const std::chrono::milliseconds m_timeout;
    const std::string m_shmSuffix;
    const std::chrono::steady_clock::time_point m_start;
    // Filled by the step threads, read at the end (or by the main thread when a step is stuck).
    mutable std::mutex m_summaryMutex;
    RequestSummary m_summary;
};

// The step actions, one for each step of the vocabulary.
struct StepAction {
    const char* name;
    // The step's title in the trace.
    std::string (*title)(const Json& arguments);
    // Empty when the step passed, otherwise what went wrong.
    std::string (*run)(Scenario& scenario, const Json& arguments);
};
const std::vector<StepAction>& stepActions();
const StepAction* findStepAction(const std::string& name);

} // namespace hbbtv_simulator

#endif
