// Plays single operations of the host and the browser on a television (the simulated host and
// browser around a wrapper) and tells what reached each side meanwhile. The property tests drive
// the library through it and compare what arrived with their model; the simulator plays the same
// steps from a scenario file, where each step carries what must arrive under "expect". So a
// sequence that a property found plays again as a scenario, step for step.
#ifndef HBBTV_SIM_STEP_PLAYER_H
#define HBBTV_SIM_STEP_PLAYER_H

#include <deque>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_sim {

class StepPlayer {
public:
    typedef ZR_HBBTV_Core::ZR_HbbtvImplInterface* (*CreateWrapper)();
    typedef void (*DestroyWrapper)(ZR_HBBTV_Core::ZR_HbbtvImplInterface*);

    // How the host treats a request (the request step's "host", named in the scenario vocabulary):
    // on_time, late (after kLateMs), twice, never, too_late (after the budget it lowered), garbage
    // (random bytes, valid set), short_budget (lowered, answered within it), rewritten_ticket
    // (reported under a ticket word it rewrote).
    static const unsigned int kLateMs = 50;
    static const unsigned int kGiveUpBudgetMs = 20; // never, too_late, rewritten_ticket
    static const unsigned int kTooLateMs = 400;
    static const unsigned int kShortBudgetMs = 1000; // short_budget, answered after kLateMs

    // From here on the player decides how the host answers (the host's decider and answer writer
    // are its own). wrapper is the host's current wrapper, which deinit and init_again replace.
    StepPlayer(SimulatedHost& host, SimulatedBrowser& browser, ZR_HBBTV_Core::ZR_HbbtvImplInterface*& wrapper,
               CreateWrapper create, DestroyWrapper destroy);
    // Waits for the requests still in flight.
    ~StepPlayer();
    StepPlayer(const StepPlayer&) = delete;
    StepPlayer& operator=(const StepPlayer&) = delete;

    // Plays one step with checked arguments and returns what reached the host and the browser
    // during it, by kind, with the step's "result" where it has one (key_click's is keyClick's
    // value and whether it returned within 200 ms of the browser's verdict). Kinds where nothing
    // arrived are left out: a step that must reach nobody gives {}.
    nlohmann::json play(const std::string& step, const nlohmann::json& arguments);

    // "" when what arrived is what was expected, otherwise both.
    static std::string compare(const nlohmann::json& expected, const nlohmann::json& arrived);

private:
    struct Snapshot {
        HostRecord host;
        BrowserServiceRecord browser;
        AITSignallingRecord ait;
        ChannelManagerRecord channels;
        DSMCCRecord dsmcc;
    };
    struct Pending {
        std::string behaviour;
        int value;
    };
    // What the host's decider and answer writer read, on the agent's and the host's threads. Shared
    // with them: a late answer may still be written after the player is gone.
    struct HostSide {
        std::mutex mutex;
        std::deque<Pending> next;              // behaviours of requests not yet handed over, in order
        std::map<unsigned int, Pending> byTicket; // and of those handed over

        HostDecision decide(const HbbtvCommandPayload& request);
        void write(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer);
    };

    Snapshot snapshot() const;
    static nlohmann::json arrived(const Snapshot& before, const Snapshot& after);
    nlohmann::json act(const std::string& step, const nlohmann::json& a);
    nlohmann::json startRequest(const nlohmann::json& a);
    nlohmann::json awaitRequest(int id);

    SimulatedHost& m_host;
    SimulatedBrowser& m_browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface*& m_wrapper;
    const CreateWrapper m_create;
    const DestroyWrapper m_destroy;

    const std::shared_ptr<HostSide> m_hostSide;
    std::map<int, std::shared_future<nlohmann::json>> m_requests; // by the step's id
    std::map<int, std::string> m_behaviourOf;
};

} // namespace hbbtv_sim

#endif
