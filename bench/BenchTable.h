// The benchmarks' common result table. Every figure compares a subject with a baseline measured
// in the same process, in interleaved rounds (subject, baseline, subject, ...), so that drift in
// the machine's speed reaches both alike; a row carries the median of the per-round ratios with
// their range, and whether the target is met. Each benchmark writes its rows as JSON; bench_report
// prints the rows of all of them as one table and writes them to one JSON file.
#ifndef HBBTV_BENCH_TABLE_H
#define HBBTV_BENCH_TABLE_H

#include <chrono>
#include <string>
#include <vector>

#include "Statistics.h"

namespace hbbtv_bench {

struct Row {
    std::string figure;
    std::string subject;  // what was measured, with its median value
    std::string baseline; // what it is compared with, with its median value
    double ratio = 0;     // median of the per-round ratios subject / baseline
    double ratioMin = 0;
    double ratioMax = 0;
    int rounds = 0;
    std::string target;   // for example "<= 1.5x", "<= 0.3 ms", or "-" for a figure without one
    std::string met;      // "yes", "no" or "-"
};

enum class Better { Lower, Higher };

using hbbtv_tools::percentile;
using hbbtv_tools::residentKiB;

double median(std::vector<double> values);

// A figure judged on the ratio subject / baseline: met when the median ratio is within limit.
Row ratioRow(const std::string& figure, const std::string& subjectName, const std::vector<double>& subject,
             const std::string& baselineName, const std::vector<double>& baseline, const std::string& unit,
             Better better, double limit);
// A figure judged on the subject's own value (for example a latency in ms); the ratio against the
// baseline is shown for information.
Row absoluteRow(const std::string& figure, const std::string& subjectName, const std::vector<double>& subject,
                const std::string& baselineName, const std::vector<double>& baseline, const std::string& unit,
                double limit);

void printTable(const std::vector<Row>& rows);
void writeJson(const std::vector<Row>& rows, const std::string& path);
std::vector<Row> readJson(const std::string& path);

// "--json FILE" from the arguments, or "" when not given.
std::string jsonPathFrom(int argc, char** argv);

typedef std::chrono::steady_clock Clock;
inline double microsecondsBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::micro>(to - from).count();
}

} // namespace hbbtv_bench

#endif
