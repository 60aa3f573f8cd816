#include "RequestSummary.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "CommandName.h"
#include "Statistics.h"

namespace hbbtv_simulator {

using hbbtv_tools::commandName;
using hbbtv_tools::percentile;

size_t nodeChainLength(const unsigned char* region, size_t size)
{
    const uint16_t mark = 0x5A5A;
    size_t at = 0;
    while (at + 8 <= size) {
        uint16_t header[2];
        memcpy(header, region + at, sizeof(header));
        const size_t nodeSize = header[1] + size_t(8);
        if (header[0] != mark || header[1] < 2 || nodeSize % 8 != 0 || at + nodeSize > size) {
            break;
        }
        uint16_t endMark;
        memcpy(&endMark, region + at + nodeSize - 2, sizeof(endMark));
        if (endMark != mark) {
            break;
        }
        at += nodeSize;
    }
    return at;
}

size_t regionHighWater(const std::string& name, size_t size)
{
    const int fd = shm_open(name.c_str(), O_RDONLY, 0);
    if (fd < 0) {
        return 0;
    }
    void* const region = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    if (region == MAP_FAILED) {
        return 0;
    }
    const size_t length = nodeChainLength(static_cast<const unsigned char*>(region), size);
    munmap(region, size);
    return length;
}

void RequestSummary::setMemory(long residentAfterStartKiB, long residentAtEndKiB, size_t regionHighWater,
    size_t regionSize)
{
    m_hasMemory = true;
    m_residentAfterStartKiB = residentAfterStartKiB;
    m_residentAtEndKiB = residentAtEndKiB;
    m_regionHighWater = regionHighWater;
    m_regionSize = regionSize;
}

void RequestSummary::add(int command, double latencyMs, bool timedOut)
{
    Samples& samples = m_byCommand[command];
    samples.latencies.push_back(latencyMs);
    if (timedOut) {
        ++samples.timeOuts;
    }
}

size_t RequestSummary::requests() const
{
    size_t count = 0;
    for (const auto& entry : m_byCommand) {
        count += entry.second.latencies.size();
    }
    return count;
}

size_t RequestSummary::timeOuts() const
{
    size_t count = 0;
    for (const auto& entry : m_byCommand) {
        count += entry.second.timeOuts;
    }
    return count;
}

namespace {

std::string row(const std::string& name, size_t count, double p50, double p99, size_t timeOuts)
{
    char line[160];
    snprintf(line, sizeof(line), "%-48s %6zu %10.3f %10.3f %10zu", name.c_str(), count, p50, p99, timeOuts);
    return line;
}

} // namespace

std::vector<std::string> RequestSummary::table() const
{
    std::vector<std::string> lines;
    char header[160];
    snprintf(header, sizeof(header), "%-48s %6s %10s %10s %10s", "requests by command", "count", "p50 ms", "p99 ms",
        "time-outs");
    lines.push_back(header);
    std::vector<double> all;
    for (const auto& entry : m_byCommand) {
        const Samples& samples = entry.second;
        lines.push_back(row(commandName(entry.first), samples.latencies.size(), percentile(samples.latencies, 50),
            percentile(samples.latencies, 99), samples.timeOuts));
        all.insert(all.end(), samples.latencies.begin(), samples.latencies.end());
    }
    lines.push_back(row("all requests", all.size(), percentile(all, 50), percentile(all, 99), timeOuts()));
    if (m_hasMemory) {
        char line[160];
        snprintf(line, sizeof(line), "resident size: %ld KiB after start, %ld KiB at the end", m_residentAfterStartKiB,
            m_residentAtEndKiB);
        lines.push_back(line);
        snprintf(line, sizeof(line), "/hbbtv high-water: %zu of %zu bytes", m_regionHighWater, m_regionSize);
        lines.push_back(line);
    }
    return lines;
}

} // namespace hbbtv_simulator
