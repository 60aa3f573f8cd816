// The host of a replay: it answers every command with the answer the host gave in the recording,
// with the data it wrote beside it, and leaves unanswered what the recording left unanswered.
#ifndef HBBTV_SIMULATOR_REPLAYHOST_H
#define HBBTV_SIMULATOR_REPLAYHOST_H

#include <deque>
#include <map>
#include <mutex>
#include <vector>

#include "ScenarioFile.h"
#include "SimulatedHost.h"

namespace hbbtv_simulator {

class ReplayHost : public hbbtv_sim::SimulatedHost {
public:
    explicit ReplayHost(const std::vector<Json>& recorded);

    // Takes the next recorded answer to this command. A request the host never answered in the
    // recording is not answered now either, and its budget is lowered to 1 ms (the host may
    // shorten a request's life), so that the replay does not wait for it.
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override;

private:
    std::mutex m_mutex;
    std::map<int, std::deque<Json>> m_answers;
    std::map<unsigned, Json> m_byTicket;
};

} // namespace hbbtv_simulator

#endif
