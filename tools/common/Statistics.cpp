#include "Statistics.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace hbbtv_tools {

double percentile(std::vector<double> samples, double p)
{
    if (samples.empty()) {
        return 0.0;
    }
    std::sort(samples.begin(), samples.end());
    const double rank = std::ceil(p / 100.0 * static_cast<double>(samples.size()));
    const size_t index = rank < 1.0 ? 0 : static_cast<size_t>(rank) - 1;
    return samples[std::min(index, samples.size() - 1)];
}

long residentKiB()
{
    long pages = 0;
    long resident = 0;
    FILE* statm = fopen("/proc/self/statm", "r");
    if (statm == nullptr) {
        return 0;
    }
    if (fscanf(statm, "%ld %ld", &pages, &resident) != 2) {
        resident = 0;
    }
    fclose(statm);
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace hbbtv_tools
