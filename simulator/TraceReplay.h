// Replay of a field trace: the library loaded as the host loads it, the host's calls made again in
// the recorded order, every command answered with the answer the host gave in the recording, the
// browser's requests and callbacks repeated. The library records the replay itself; what it sent
// (commands and their payloads, events, keys, host callbacks, replies to the browser) is then
// compared with the recording, one stream per kind and name, and every difference reported.
#ifndef HBBTV_SIMULATOR_TRACEREPLAY_H
#define HBBTV_SIMULATOR_TRACEREPLAY_H

#include <string>
#include <vector>

#include "Scenario.h"
#include "ScenarioFile.h"
#include "TraceDiff.h"

namespace hbbtv_simulator {

// The lines of the trace's last recording (the file is appended to), in file order, without the
// zero bytes and the line cut short that a killed recording leaves at its end; ScenarioError when
// the file cannot be read or holds another line that is not a trace line.
std::vector<Json> readTrace(const std::string& path);

// Plays the trace; 0 without divergence, 1 with, 2 when the trace cannot be played. The replay's
// own trace goes to replayTrace (kept for a look with hbbtv-trace).
int replay(const Options& options, const std::string& tracePath, const std::string& replayTrace,
           const std::string& shmSuffix);

} // namespace hbbtv_simulator

#endif
