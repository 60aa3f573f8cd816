// The lifecycle: the host runs init, launchBrowser and an application's load, then deinit while
// calls are in flight, and deletes its server after deinit. The library's killed latch allows one
// real init per process, so every cycle runs in a process of its own (this program again, with
// regions of its own, removed afterwards), and after the real cycle that process also makes a
// second wrapper, whose init is refused, and checks that it reaches nothing.
#ifndef HBBTV_SOAK_LIFECYCLE_PHASE_H
#define HBBTV_SOAK_LIFECYCLE_PHASE_H

#include <cstddef>
#include <string>

namespace hbbtv_soak {

struct LifecycleOptions {
    int cycles = 100;
    int threads = 4;       // browser threads in each cycle, beside one host thread
    unsigned int seed = 1;
    double timeLimitSeconds = 120; // a cycle that takes longer has hung
};

struct LifecycleReport {
    LifecycleOptions options;
    int passed = 0;
    int failed = 0;                // cycles whose process failed: abort, sanitizer report, hang
    size_t browserCalls = 0;       // requests and reports from the browser threads, before deinit
    size_t wrapperCalls = 0;       // from the host thread, before deinit
    size_t callsAfterDeinit = 0;   // from both, refused
    size_t hostCalls = 0;          // callbacks into the servers
    size_t requests = 0;           // handed to the middleware
    size_t completionsAfterDeinit = 0;
    size_t intoDeletedHost = 0;
    size_t afterDeinit = 0;
    size_t intoRefusedInit = 0;
    size_t neverFinished = 0;
    size_t refused = 0;
    int notLaunched = 0;           // cycles whose launchBrowser or load did not happen
    int refusedInitLaunched = 0;   // refused inits whose launchBrowser did not refuse
    double longestDeinitMs = 0;
    double longestCycleSeconds = 0;
    double seconds = 0;
};

// Runs the cycles, each as `self --lifecycle-child ...`.
LifecycleReport runLifecycle(const LifecycleOptions& options, const std::string& self);
void printLifecycle(const LifecycleReport& report);
bool lifecyclePassed(const LifecycleReport& report);

// One cycle, in the child process; its result line goes to resultFd. Returns the exit status.
int runLifecycleChild(const LifecycleOptions& options, int resultFd);

} // namespace hbbtv_soak

#endif
