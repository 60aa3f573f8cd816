// How a replay's own trace is compared with the recording: what the library sent, one stream per
// kind and name, in order, without the fields that vary from run to run.
#ifndef HBBTV_SIMULATOR_TRACEDIFF_H
#define HBBTV_SIMULATOR_TRACEDIFF_H

#include <cstdint>
#include <string>
#include <vector>

#include "ScenarioFile.h"

namespace hbbtv_simulator {

struct Divergence {
    std::string stream;    // kind and name, for example "command TunerCommand_TuneTo"
    size_t index;          // which crossing of that stream, from 1
    uint64_t recordedSeq;  // 0: the recording has no such crossing
    uint64_t replayedSeq;  // 0: the replay has no such crossing
    std::string recorded;  // the fields compared, as JSON, or "nothing"
    std::string replayed;
};

// What the library sent in the replay that it did not send in the recording, and the reverse.
std::vector<Divergence> compareTraces(const std::vector<Json>& recorded, const std::vector<Json>& replayed);

} // namespace hbbtv_simulator

#endif
