// The requests of a run by command: how many, how long the requester waited for them (median and
// 99th percentile, nearest rank) and how many ran out of budget before the host completed them.
#ifndef HBBTV_SIMULATOR_REQUEST_SUMMARY_H
#define HBBTV_SIMULATOR_REQUEST_SUMMARY_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace hbbtv_simulator {

// The command's name as the host knows it, or "command N" for a number without one.
std::string commandName(int command);

// The value at or below which p percent of the samples lie (nearest rank); 0 without samples.
double percentile(std::vector<double> samples, double p);

class RequestSummary {
public:
    void add(int command, double latencyMs, bool timedOut);

    size_t requests() const;
    size_t timeOuts() const;

    // The table, one line each: a header, a row per command in command order, a total.
    std::vector<std::string> table() const;

private:
    struct Samples {
        std::vector<double> latencies;
        size_t timeOuts = 0;
    };
    std::map<int, Samples> m_byCommand;
};

} // namespace hbbtv_simulator

#endif
