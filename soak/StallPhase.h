// The stall: the host answers nothing for a while, with a short budget on every request it takes,
// while browser threads ask for every operation that reaches it; then it recovers and reports
// every request it held. What the library keeps for the host must stay within its bounds, the
// region must never fill (no request refused), and once every report is in, the region is back
// where it was.
#ifndef HBBTV_SOAK_STALL_PHASE_H
#define HBBTV_SOAK_STALL_PHASE_H

#include <cstddef>

#include "SimulatedBrowser.h"
#include "SoakHost.h"
#include "StdoutTap.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_soak {

struct StallOptions {
    double seconds = 20;
    int threads = 16;
    unsigned int budgetMs = 20;
};

struct StallReport {
    StallOptions options;
    size_t calls = 0;             // browser operations made during the stall
    size_t operations = 0;        // distinct operations among them
    size_t held = 0;              // requests the host took and held
    size_t heldComponentLists = 0;
    size_t neverFinished = 0;     // kept records the library freed unreported, to keep its bounds
    size_t refused = 0;           // requests refused because the region was full
    size_t maxKeptBytes = 0;      // what the library kept for the host, at most (sampled)
    size_t maxKeptRequests = 0;
    size_t highWater = 0;         // bytes of the region cut into nodes at the end
    size_t regionSize = 0;
    bool regionFull = false;      // no room was left for the largest record
    RegionUse before, peak, after;
    SoakHost::Recovery recovery;
    size_t keptBytesAfter = 0;
    size_t keptRequestsAfter = 0;
    size_t requestsAfter = 0;     // one call of each operation once the host has recovered
    size_t answeredAfter = 0;
    double recoverySeconds = 0;   // from the host's recovery until the region was back
    bool passed = false;
};

StallReport runStall(const StallOptions& options, SoakHost& host, ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper,
                     hbbtv_sim::SimulatedBrowser& browser, StdoutTap& tap);
void printStall(const StallReport& report);

} // namespace hbbtv_soak

#endif
