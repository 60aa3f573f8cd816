// What the tools measure and print: percentiles of times, and the process's resident size.
#ifndef HBBTV_TOOLS_STATISTICS_H
#define HBBTV_TOOLS_STATISTICS_H

#include <vector>

namespace hbbtv_tools {

// The value at or below which p percent of the samples lie (nearest rank); 0 without samples.
double percentile(std::vector<double> samples, double p);

// The process's resident size in KiB (0 when /proc cannot tell).
long residentKiB();

} // namespace hbbtv_tools

#endif
