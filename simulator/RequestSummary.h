// The requests of a run by command: how many, how long the requester waited for them (median and
// 99th percentile, nearest rank) and how many ran out of budget before the host completed them.
#ifndef HBBTV_SIMULATOR_REQUEST_SUMMARY_H
#define HBBTV_SIMULATOR_REQUEST_SUMMARY_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace hbbtv_simulator {

// How far the nodes of an allocator region reach from its start, read from the region's own node
// headers as any process that maps it can (head mark 0x5A5A, data size, end mark 0x5A5A, nodes
// back to back from the start): the region's high-water, since nodes never go back.
size_t nodeChainLength(const unsigned char* region, size_t size);
// The same for a shared-memory object by name; 0 when it cannot be mapped.
size_t regionHighWater(const std::string& name, size_t size);

class RequestSummary {
public:
    void add(int command, double latencyMs, bool timedOut);

    size_t requests() const;
    size_t timeOuts() const;

    // Memory figures for the end of the table.
    void setMemory(long residentAfterStartKiB, long residentAtEndKiB, size_t regionHighWater, size_t regionSize);

    // The table, one line each: a header, a row per command in command order, a total, and the
    // memory figures once set.
    std::vector<std::string> table() const;

private:
    struct Samples {
        std::vector<double> latencies;
        size_t timeOuts = 0;
    };
    std::map<int, Samples> m_byCommand;
    bool m_hasMemory = false;
    long m_residentAfterStartKiB = 0;
    long m_residentAtEndKiB = 0;
    size_t m_regionHighWater = 0;
    size_t m_regionSize = 0;
};

} // namespace hbbtv_simulator

#endif
