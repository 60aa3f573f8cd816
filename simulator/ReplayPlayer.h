// The player of a replay: it makes the recorded host calls, browser requests and browser callbacks
// again, in the recorded order, against the loaded library.
#ifndef HBBTV_SIMULATOR_REPLAYPLAYER_H
#define HBBTV_SIMULATOR_REPLAYPLAYER_H

#include <string>

#include "ReplayHost.h"
#include "ScenarioFile.h"
#include "SimulatedBrowser.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_simulator {

class ReplayPlayer {
public:
    ReplayPlayer(ReplayHost& host, hbbtv_sim::SimulatedBrowser& browser, ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper);

    // False when the line names a call the replay does not know (reported, and skipped).
    bool play(const Json& line);

    bool deinitPlayed() const { return m_deinit; }

private:
    bool hostCall(const std::string& name, const Json& l);
    bool request(const std::string& name, const Json& l);
    bool browserCall(const std::string& name, const Json& l);

    ReplayHost& m_host;
    hbbtv_sim::SimulatedBrowser& m_browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* m_wrapper;
    bool m_browserDead = false;
    bool m_deinit = false;
};

} // namespace hbbtv_simulator

#endif
