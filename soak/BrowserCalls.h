// Every browser operation of the TV service that reaches the host, made as the browser makes it
// (through the simulated browser's view of the service), and the browser's reports to the glue.
#ifndef HBBTV_SOAK_BROWSER_CALLS_H
#define HBBTV_SOAK_BROWSER_CALLS_H

#include <vector>

#include "SimulatedBrowser.h"

namespace hbbtv_soak {

struct BrowserCall {
    const char* name;
    // n numbers the call, for arguments that vary.
    void (*call)(hbbtv_sim::SimulatedBrowser& browser, unsigned int n);
};

// One entry per operation; the carousel mount (which retries for up to forty seconds while the
// host leaves it unanswered) is the last.
const std::vector<BrowserCall>& requestCalls();
bool isCarouselMount(const BrowserCall& call);

// The browser's reports: windows opened and closed, a page's load from start to complete, and its
// player's component lists. Each reaches the host as a callback.
const std::vector<BrowserCall>& browserReports();

} // namespace hbbtv_soak

#endif
