// hbbtv_simulator: a host program for the glue library. It loads the library the way the
// television's middleware does (dlopen, then the two exported entry points) and plays a scenario
// with the simulated host and browser: the built-in evening in front of the television, or a
// scenario file. It prints one line per step with the time since start and the step's own
// duration, the round trip of every request, and a table of the requests by command.
//
// The library's own console lines appear between the trace lines; every trace line starts with
// "[sim". Exit status 0: every step passed; 1: a step failed or did not finish in time; 2: usage
// or a scenario file that cannot be played.
#include <getopt.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "CommandLine.h"
#include "Scenario.h"
#include "TraceReplay.h"

namespace {

using hbbtv_simulator::Options;

void usage(FILE* out)
{
    fprintf(out,
        "usage: hbbtv_simulator [--scenario FILE] [--library PATH] [--timeout-ms N] [--host-delay-ms N]\n"
        "       hbbtv_simulator --replay TRACE [--replay-trace FILE] [--library PATH]\n"
        "       hbbtv_simulator --list-steps | --print-scenario | --version\n"
        "  Loads the HbbTV backend glue library as a host does and plays a scenario: by default the\n"
        "  built-in evening in front of the television (boot, binding, AIT and an application, page load,\n"
        "  channel list, tuning, programmes, SI descriptors, components, keys, a stream event, a carousel\n"
        "  file, the viewport, the browser's death and rebinding, teardown).\n"
        "  --scenario FILE     play the steps of a JSON scenario file instead\n"
        "  --replay TRACE      play a field trace (recorded with HBBTV_TRACE=FILE) against the library: the\n"
        "                      host's calls again, each command answered as recorded, the browser's requests\n"
        "                      repeated; prints every divergence and exits 1 when there is one\n"
        "  --replay-trace FILE where the replay's own trace goes (default: TRACE.replay)\n"
        "  --list-steps        print the steps a scenario file may use, with their arguments\n"
        "  --print-scenario    print the built-in scenario as a scenario file\n"
        "  --library PATH      the library to load (default: %s)\n"
        "  --timeout-ms N      how long each step may take (default: 3000)\n"
        "  --host-delay-ms N   how late the host answers each request (default: 0)\n"
        "  --version           print the version (the simulator's and the library's it was built with)\n",
        hbbtv_tools::defaultGlueLibrary().c_str());
}

enum class Mode { Play, ListSteps, PrintScenario, Version, Replay };

// Returns 0 to go on, -1 to end with status 0 (help), otherwise the exit status.
int parseOptions(int argc, char** argv, Options& options, Mode& mode)
{
    static const option kOptions[] = {
        { "scenario", required_argument, nullptr, 's' },
        { "list-steps", no_argument, nullptr, 'L' },
        { "print-scenario", no_argument, nullptr, 'P' },
        { "library", required_argument, nullptr, 'l' },
        { "timeout-ms", required_argument, nullptr, 't' },
        { "host-delay-ms", required_argument, nullptr, 'd' },
        { "replay", required_argument, nullptr, 'R' },
        { "replay-trace", required_argument, nullptr, 'T' },
        { "help", no_argument, nullptr, 'h' },
        { "version", no_argument, nullptr, 'V' },
        { nullptr, 0, nullptr, 0 },
    };
    int choice;
    while ((choice = getopt_long(argc, argv, "s:l:t:d:h", kOptions, nullptr)) != -1) {
        switch (choice) {
        case 's':
            options.scenarioFile = optarg;
            break;
        case 'R':
            mode = Mode::Replay;
            options.replayFile = optarg;
            break;
        case 'T':
            options.replayTrace = optarg;
            break;
        case 'L':
            mode = Mode::ListSteps;
            break;
        case 'P':
            mode = Mode::PrintScenario;
            break;
        case 'l':
            options.library = optarg;
            break;
        case 't':
            if (!hbbtv_tools::parseNumber(optarg, 1, 600000, options.timeoutMs)) {
                fprintf(stderr, "hbbtv_simulator: --timeout-ms wants a number of milliseconds from 1 to 600000\n");
                return 2;
            }
            break;
        case 'd':
            if (!hbbtv_tools::parseNumber(optarg, 0, 600000, options.hostDelayMs)) {
                fprintf(stderr, "hbbtv_simulator: --host-delay-ms wants a number of milliseconds from 0 to 600000\n");
                return 2;
            }
            break;
        case 'h':
            usage(stdout);
            return -1;
        case 'V':
            mode = Mode::Version;
            break;
        default:
            usage(stderr);
            return 2;
        }
    }
    if (optind != argc) {
        usage(stderr);
        return 2;
    }
    return 0;
}

// Every step of the language must have an action, and every action a step.
bool vocabularyIsComplete()
{
    bool complete = true;
    for (const hbbtv_simulator::StepSpec& spec : hbbtv_simulator::stepVocabulary()) {
        if (hbbtv_simulator::findStepAction(spec.name) == nullptr) {
            fprintf(stderr, "hbbtv_simulator: the step %s has no action\n", spec.name.c_str());
            complete = false;
        }
    }
    for (const hbbtv_simulator::StepAction& action : hbbtv_simulator::stepActions()) {
        if (hbbtv_simulator::findStepSpec(action.name) == nullptr) {
            fprintf(stderr, "hbbtv_simulator: the action %s is not in the vocabulary\n", action.name);
            complete = false;
        }
    }
    return complete;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    options.library = hbbtv_tools::defaultGlueLibrary();
    Mode mode = Mode::Play;
    const int parsed = parseOptions(argc, argv, options, mode);
    if (parsed != 0) {
        return parsed < 0 ? 0 : parsed;
    }
    if (mode == Mode::Version) {
        printf("hbbtv_simulator %s\n", HBBTV_VERSION);
        return 0;
    }
    if (!vocabularyIsComplete()) {
        return 2;
    }
    if (mode == Mode::ListSteps) {
        hbbtv_simulator::printStepVocabulary(stdout);
        return 0;
    }
    if (mode == Mode::PrintScenario) {
        printf("%s\n", hbbtv_simulator::builtInScenarioJson().dump(2).c_str());
        return 0;
    }

    if (mode == Mode::Replay) {
        setvbuf(stdout, nullptr, _IOLBF, 0);
        const std::string suffix = ".replay" + std::to_string(getpid());
        setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);
        const std::string own = options.replayTrace.empty() ? options.replayFile + ".replay" : options.replayTrace;
        return hbbtv_simulator::replay(options, options.replayFile, own, suffix);
    }

    std::vector<hbbtv_simulator::StepCall> steps;
    std::string name = "built-in: an evening in front of the television";
    try {
        if (options.scenarioFile.empty()) {
            steps = hbbtv_simulator::builtInScenario();
        } else {
            steps = hbbtv_simulator::readScenarioFile(options.scenarioFile);
            name = options.scenarioFile;
        }
    } catch (const hbbtv_simulator::ScenarioError& error) {
        fprintf(stderr, "hbbtv_simulator: %s\n", error.what());
        return 2;
    }

    setvbuf(stdout, nullptr, _IOLBF, 0);
    // Before anything maps shared memory: regions of our own, apart from tests and other runs.
    const std::string suffix = ".sim" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);

    hbbtv_simulator::Scenario scenario(options, suffix);
    return scenario.run(name, steps);
}
