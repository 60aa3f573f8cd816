// The simulator's scenario file reader: any file gives steps or a ScenarioError, and the steps it
// gives read back as themselves.
#include <sys/mman.h>
#include <unistd.h>

#include "ScenarioFile.h"

using namespace hbbtv_simulator;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const int fd = memfd_create("scenario", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(fd);
    if (ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) {
        abort();
    }
    std::vector<StepCall> steps;
    try {
        steps = readScenarioFile(path);
    } catch (const ScenarioError&) {
        return 0;
    }
    Json again = Json::array();
    for (const StepCall& step : steps) {
        Json written = step.arguments;
        written["step"] = step.name;
        again.push_back(written);
    }
    if (parseScenario(again, "again") != steps) {
        fprintf(stderr, "property does not hold: checked steps read back as themselves\n");
        abort();
    }
    return 0;
}
