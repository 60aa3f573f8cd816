#include "TraceReplay.h"

#include "HbbtvTraceFormat.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "ReplayHost.h"
#include "ReplayPlayer.h"

namespace hbbtv_simulator {

namespace tf = HbbtvTraceFormat;

std::vector<Json> readTrace(const std::string& path)
{
    std::ifstream in(path);
    if (!in) {
        throw ScenarioError("cannot read the trace " + path);
    }
    std::vector<Json> lines;
    std::string text;
    unsigned number = 0;
    while (std::getline(in, text)) {
        ++number;
        // A recording whose process died ends in zero bytes, perhaps after a line cut short:
        // nothing before a zero byte is a whole line.
        const size_t zero = text.find_last_of('\0');
        if (zero != std::string::npos) {
            text.erase(0, zero + 1);
        }
        Json line = Json::parse(text, nullptr, false);
        if (zero != std::string::npos && (text.empty() || line.is_discarded())) {
            continue;
        }
        if (line.is_discarded() || !line.is_object() || !line[tf::line::kind].is_string()) {
            throw ScenarioError(path + ":" + std::to_string(number) + " is not a trace line");
        }
        if (line.contains(tf::line::seq)) { // drop counts carry none and are left out
            lines.push_back(std::move(line));
        }
    }
    // The file is appended to: numbers that start again begin the next recording; the last counts.
    size_t lastStart = 0;
    for (size_t i = 1; i < lines.size(); ++i) {
        const Json& seq = lines[i][tf::line::seq];
        const Json& previous = lines[i - 1][tf::line::seq];
        if (!seq.is_number_unsigned() || !previous.is_number_unsigned()) {
            throw ScenarioError(path + ": a line without a sequence number");
        }
        if (seq.get<uint64_t>() <= previous.get<uint64_t>()) {
            lastStart = i;
        }
    }
    if (lastStart != 0) {
        printf("[replay] %s holds several recordings; the last one is taken\n", path.c_str());
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lastStart));
    }
    return lines;
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

    void* const library = dlopen(options.library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        fprintf(stderr, "hbbtv_simulator: dlopen: %s\n", dlerror());
        return 2;
    }
    const CreateWrapperFunction create = reinterpret_cast<CreateWrapperFunction>(dlsym(library, "CreateHbbtvWrapper"));
    const DestroyWrapperFunction destroy
        = reinterpret_cast<DestroyWrapperFunction>(dlsym(library, "DestroyHbbtvWrapper"));
    if (create == nullptr || destroy == nullptr) {
        fprintf(stderr, "hbbtv_simulator: the library lacks CreateHbbtvWrapper or DestroyHbbtvWrapper\n");
        return 2;
    }
    ReplayHost host(recorded);
    hbbtv_sim::SimulatedBrowser browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = create();
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
    destroy(wrapper);
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
