// hbbtv-host-check: tells a vendor, before field tests, whether its host keeps the library's host
// contract. It loads the glue library as the television does (dlopen, CreateHbbtvWrapper, init),
// loads the vendor's host from a plugin, plays the browser's side with the simulated browser, and
// drives every browser operation that reaches the host while checking each request the host
// answers and each synchronous callback it takes.
//
// Exit status: 0 when everything passed, 1 when the host broke the contract, 2 for usage errors or
// a library or plugin that cannot be loaded.
#include <dlfcn.h>
#include <getopt.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "CheckingHost.h"
#include "CommandLine.h"
#include "GlueLibrary.h"
#include "HbbtvHostCheckPlugin.h"
#include "Operations.h"
#include "Report.h"
#include "SimulatedBrowser.h"

namespace {

using namespace hbbtv_hostcheck;

struct Options {
    std::string library;
    std::string host;
    std::string hostArgument;
    std::vector<std::string> only;
    unsigned int repeat = 1;
    unsigned int budgetMs = 0;
    unsigned int callbackLimitMs = kCallbackLimitMs;
    std::string jsonFile;
    std::string junitFile;
};

// How long calls into the wrapper are watched for once deinit has run.
const std::chrono::milliseconds kAfterDeinitWatch(150);
// A quiet moment before teardown, so that a completion reported twice is counted with its request
// rather than as a call after deinit.
const std::chrono::milliseconds kSettle(200);

void usage(FILE* out)
{
    fprintf(out,
        "usage: hbbtv-host-check --host PLUGIN.so [--host-arg TEXT] [--only OPS] [--repeat N] [--budget-ms N]\n"
        "                        [--json FILE] [--junit FILE] [--library PATH]\n"
        "       hbbtv-host-check --list\n"
        "  Checks a host (Hbbtv_TVServer) built as a plugin against the library's host contract: loads the\n"
        "  library as the television does, plays the browser, drives every operation that reaches the host\n"
        "  and checks each answer and callback. Exit status 0 only when everything passed.\n"
        "  --host PLUGIN.so  the host plugin (exports %s)\n"
        "  --host-arg TEXT   passed to the plugin as context->argument\n"
        "  --only OPS        comma-separated operations to run (--list shows them); default: all\n"
        "  --repeat N        run the operations N times, to catch intermittent faults (default 1)\n"
        "  --budget-ms N     every request's budget (timeoutMs as the host sees it); default: the library's\n"
        "  --callback-limit-ms N  how long a synchronous callback may take (default %u; more under an emulator)\n"
        "  --json FILE       write the report as JSON too\n"
        "  --junit FILE      write the report as JUnit XML too: a test suite per operation, a test case per rule\n"
        "  --library PATH    the library to check against (default: %s)\n",
        kHbbtvHostCheckEntryPoint, kCallbackLimitMs, hbbtv_tools::defaultGlueLibrary().c_str());
}

std::vector<std::string> split(const std::string& text)
{
    std::vector<std::string> parts;
    std::stringstream in(text);
    std::string part;
    while (std::getline(in, part, ',')) {
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    return parts;
}

// Returns 0 to go on, -1 to end with status 0, otherwise the exit status.
int parseOptions(int argc, char** argv, Options& options)
{
    static const option kOptions[] = {
        { "host", required_argument, nullptr, 'H' },
        { "host-arg", required_argument, nullptr, 'a' },
        { "only", required_argument, nullptr, 'o' },
        { "repeat", required_argument, nullptr, 'r' },
        { "budget-ms", required_argument, nullptr, 'b' },
        { "callback-limit-ms", required_argument, nullptr, 'c' },
        { "json", required_argument, nullptr, 'j' },
        { "junit", required_argument, nullptr, 'u' },
        { "library", required_argument, nullptr, 'l' },
        { "list", no_argument, nullptr, 'L' },
        { "help", no_argument, nullptr, 'h' },
        { nullptr, 0, nullptr, 0 },
    };
    int choice;
    while ((choice = getopt_long(argc, argv, "h", kOptions, nullptr)) != -1) {
        switch (choice) {
        case 'H':
            options.host = optarg;
            break;
        case 'a':
            options.hostArgument = optarg;
            break;
        case 'o':
            options.only = split(optarg);
            for (const std::string& name : options.only) {
                if (findOperation(name) == nullptr) {
                    fprintf(stderr, "hbbtv-host-check: no operation \"%s\" (--list shows them)\n", name.c_str());
                    return 2;
                }
            }
            break;
        case 'r':
            if (!hbbtv_tools::parseNumber(optarg, 1, 10000, options.repeat)) {
                fprintf(stderr, "hbbtv-host-check: --repeat wants a number from 1 to 10000\n");
                return 2;
            }
            break;
        case 'b':
            if (!hbbtv_tools::parseNumber(optarg, 1, 600000, options.budgetMs)) {
                fprintf(stderr, "hbbtv-host-check: --budget-ms wants milliseconds from 1 to 600000\n");
                return 2;
            }
            break;
        case 'c':
            if (!hbbtv_tools::parseNumber(optarg, 1, 600000, options.callbackLimitMs)) {
                fprintf(stderr, "hbbtv-host-check: --callback-limit-ms wants milliseconds from 1 to 600000\n");
                return 2;
            }
            break;
        case 'j':
            options.jsonFile = optarg;
            break;
        case 'u':
            options.junitFile = optarg;
            break;
        case 'l':
            options.library = optarg;
            break;
        case 'L':
            for (const Operation& operation : operations()) {
                printf("%-20s %s\n", operation.name, operation.description);
            }
            return -1;
        case 'h':
            usage(stdout);
            return -1;
        default:
            usage(stderr);
            return 2;
        }
    }
    if (optind != argc || options.host.empty()) {
        if (options.host.empty()) {
            fprintf(stderr, "hbbtv-host-check: --host names the host plugin to check\n");
        }
        usage(stderr);
        return 2;
    }
    return 0;
}

void logFromHost(const char* line)
{
    printf("[host] %s\n", line != nullptr ? line : "");
}

void removeSharedMemory(const std::string& suffix)
{
    shm_unlink(("/hbbtv" + suffix).c_str());
    shm_unlink(("/hbbtvChannelList" + suffix).c_str());
}

bool writeFile(const std::string& path, const std::string& text)
{
    std::ofstream out(path);
    out << text;
    if (!out) {
        fprintf(stderr, "hbbtv-host-check: cannot write %s\n", path.c_str());
        return false;
    }
    return true;
}

int fail(const std::string& suffix, const std::string& message)
{
    fprintf(stderr, "hbbtv-host-check: %s\n", message.c_str());
    removeSharedMemory(suffix);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    options.library = hbbtv_tools::defaultGlueLibrary();
    const int parsed = parseOptions(argc, argv, options);
    if (parsed != 0) {
        return parsed < 0 ? 0 : parsed;
    }
    std::vector<std::string> selected = options.only;
    if (selected.empty()) {
        for (const Operation& operation : operations()) {
            selected.push_back(operation.name);
        }
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);
    // Regions of our own, apart from tests, the simulator and other checks on this machine.
    const std::string suffix = ".check" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);

    hbbtv_tools::GlueLibrary library;
    const std::string failed = hbbtv_tools::loadGlueLibrary(options.library, library);
    if (!failed.empty()) {
        return fail(suffix, "cannot load the library: " + failed);
    }
    void* const plugin = dlopen(options.host.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (plugin == nullptr) {
        return fail(suffix, std::string("cannot load the host plugin: ") + dlerror());
    }
    const auto createHost
        = reinterpret_cast<HbbtvHostCheckCreateHostFunction>(dlsym(plugin, kHbbtvHostCheckEntryPoint));
    if (createHost == nullptr) {
        return fail(suffix, options.host + " does not export " + kHbbtvHostCheckEntryPoint);
    }

    printf("hbbtv-host-check: library %s\n", options.library.c_str());
    printf("hbbtv-host-check: host %s%s%s\n", options.host.c_str(), options.hostArgument.empty() ? "" : " ",
        options.hostArgument.c_str());
    printf("hbbtv-host-check: budget %s, %u run%s\n",
        options.budgetMs != 0 ? (std::to_string(options.budgetMs) + " ms per request").c_str()
                              : "each payload's own timeoutMs",
        options.repeat, options.repeat == 1 ? "" : "s");

    CheckingHost checker(options.budgetMs, options.callbackLimitMs);
    HbbtvHostCheckContext context = { checker.completionWrapper(), logFromHost, options.hostArgument.c_str(), nullptr };
    Hbbtv_TVServer* const host = createHost(&context);
    if (host == nullptr) {
        return fail(suffix, std::string("the plugin made no host (") + kHbbtvHostCheckEntryPoint + " returned null)");
    }
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = library.create();
    checker.setHost(host);
    checker.setOperation("start-up");
    wrapper->init(&checker);
    checker.setLibraryWrapper(wrapper);

    hbbtv_sim::SimulatedBrowser browser;
    if (!browser.publish() || !wrapper->launchBrowser() || !browser.registerClients()) {
        return fail(suffix, "the library did not bind to the simulated browser");
    }
    const auto readyBy = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!wrapper->isBrowserReady()) {
        if (std::chrono::steady_clock::now() > readyBy) {
            return fail(suffix, "isBrowserReady stayed false");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    Television tv { checker, browser, wrapper };
    std::map<std::string, double> seconds;
    const auto since = [](std::chrono::steady_clock::time_point start) {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    for (unsigned int run = 0; run < options.repeat; ++run) {
        for (const std::string& name : selected) {
            checker.setOperation(name);
            const auto start = std::chrono::steady_clock::now();
            findOperation(name)->run(tv);
            seconds[name] += since(start);
        }
    }

    // Late answers still under way are waited for (up to one budget) and stray ones for a moment,
    // then the wrapper goes as the television takes it down, and the host must be silent from then on.
    checker.setOperation("teardown");
    const auto teardownStart = std::chrono::steady_clock::now();
    checker.waitForLateCompletions(std::chrono::milliseconds(options.budgetMs != 0 ? options.budgetMs : 1000));
    std::this_thread::sleep_for(kSettle);
    checker.markDeinit();
    library.destroy(wrapper);
    std::this_thread::sleep_for(kAfterDeinitWatch);
    if (context.destroyHost != nullptr) {
        context.destroyHost(host);
        checker.releaseGivenUp();
    }
    checker.setHost(nullptr);
    seconds["teardown"] = since(teardownStart);

    Report report = buildReport(selected, checker.requests(), checker.callbacks(), checker.afterDeinit());
    for (OperationRow& row : report.rows) {
        row.seconds = seconds[row.name];
    }
    printf("\n");
    printReport(stdout, report);
    if (!options.jsonFile.empty()) {
        nlohmann::json json = reportJson(report);
        json["library"] = options.library;
        json["host"] = options.host;
        json["hostArgument"] = options.hostArgument;
        json["budgetMs"] = options.budgetMs;
        json["callbackLimitMs"] = options.callbackLimitMs;
        json["repeat"] = options.repeat;
        // A finding may quote a host's text that is not UTF-8.
        const std::string text = json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
        if (!writeFile(options.jsonFile, text + "\n")) {
            removeSharedMemory(suffix);
            return 2;
        }
    }
    if (!options.junitFile.empty() && !writeFile(options.junitFile, junitReport(report))) {
        removeSharedMemory(suffix);
        return 2;
    }
    removeSharedMemory(suffix);
    return report.passed() ? 0 : 1;
}
