#include "TraceReplay.h"

#include "HbbtvTraceFormat.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "ReplayHost.h"
#include "ReplayPlayer.h"
#include "TraceFile.h"

namespace hbbtv_simulator {

namespace tf = HbbtvTraceFormat;

std::vector<Json> readTrace(const std::string& path)
{
    hbbtv_tools::TraceFile file;
    if (!hbbtv_tools::readTraceFile(path, file)) {
        throw ScenarioError("cannot read the trace " + path);
    }
    // A replay of part of a recording would report differences the library did not make.
    if (!file.badLines.empty()) {
        throw ScenarioError(file.badLines.front());
    }
    if (hbbtv_tools::keepLastRecording(file.lines) > 1) {
        printf("[replay] %s holds several recordings; the last one is taken\n", path.c_str());
    }
    // Drop counts carry no number and are no crossing to play.
    file.lines.erase(std::remove_if(file.lines.begin(), file.lines.end(),
                                    [](const Json& line) { return !line.contains(tf::line::seq); }),
                     file.lines.end());
    return file.lines;
}

int replay(const Options& options, const std::string& tracePath, const std::string& replayTrace,
           const std::string& shmSuffix)
{
    std::vector<Json> recorded;
    try {
        recorded = readTrace(tracePath);
    } catch (const ScenarioError& error) {
        fprintf(stderr, "hbbtv_simulator: %s\n", error.what());
        return 2;
    }
    if (recorded.empty() || recorded.front()[tf::line::kind] != tf::kind::host
        || recorded.front()[tf::line::name] != "init") {
        fprintf(stderr, "hbbtv_simulator: %s does not start with the host's init; record from boot\n",
                tracePath.c_str());
        return 2;
    }
    printf("[replay] %s: %zu lines, library %s\n", tracePath.c_str(), recorded.size(), options.library.c_str());
    remove(replayTrace.c_str());
    remove((replayTrace + ".1").c_str());
    setenv("HBBTV_TRACE", replayTrace.c_str(), 1); // read by the library at init
    setenv("HBBTV_TRACE_MAX_MB", "1024", 1);

    hbbtv_tools::GlueLibrary library;
    const std::string failed = hbbtv_tools::loadGlueLibrary(options.library, library);
    if (!failed.empty()) {
        fprintf(stderr, "hbbtv_simulator: %s\n", failed.c_str());
        return 2;
    }
    ReplayHost host(recorded);
    hbbtv_sim::SimulatedBrowser browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = library.create();
    host.setWrapper(wrapper);
    browser.publish(); // the browser runs before the host binds it
    ReplayPlayer player(host, browser, wrapper);
    unsigned unknown = 0;
    for (const Json& line : recorded) {
        if (!player.play(line)) {
            ++unknown;
            printf("[replay] seq %llu: cannot replay %s %s; skipped\n",
                   static_cast<unsigned long long>(line[tf::line::seq].get<uint64_t>()),
                   line.value(tf::line::kind, "").c_str(), line[tf::line::name].dump().c_str());
        }
    }
    if (!player.deinitPlayed()) {
        wrapper->deinit(); // writes the replay's trace out
    }
    host.setWrapper(nullptr); // a host stops reporting to a wrapper it destroys
    library.destroy(wrapper);
    shm_unlink(("/hbbtv" + shmSuffix).c_str());
    shm_unlink(("/hbbtvChannelList" + shmSuffix).c_str());

    std::vector<Json> replayed;
    try {
        replayed = readTrace(replayTrace);
    } catch (const ScenarioError& error) {
        fprintf(stderr, "hbbtv_simulator: the replay's own trace: %s\n", error.what());
        return 2;
    }
    const std::vector<Divergence> divergences = compareTraces(recorded, replayed);
    for (const Divergence& d : divergences) {
        printf("[replay] DIVERGENCE %s #%zu (recorded seq %llu, replayed seq %llu)\n  recorded: %s\n  replayed: %s\n",
               d.stream.c_str(), d.index, static_cast<unsigned long long>(d.recordedSeq),
               static_cast<unsigned long long>(d.replayedSeq), d.recorded.c_str(), d.replayed.c_str());
    }
    printf("[replay] %zu recorded lines, %zu replayed, %u not replayable, %zu divergence%s; the replay's trace: %s\n",
           recorded.size(), replayed.size(), unknown, divergences.size(), divergences.size() == 1 ? "" : "s",
           replayTrace.c_str());
    fflush(stdout);
    // The library's threads run until the process ends, as in a scenario: no teardown here.
    return divergences.empty() ? 0 : 1;
}

} // namespace hbbtv_simulator
