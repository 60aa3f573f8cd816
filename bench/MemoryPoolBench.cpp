// Allocate+free pairs in the shared region against glibc malloc+free of the same sizes, one and
// two threads, in the same run. Prints Google Benchmark's table, then one of ns per pair and the
// ratio shared region / malloc for each size and thread count.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "HbbtvBackendGlue.MemoryPool.h"

namespace {

// The sizes of the records in use: payloads, answers, the service task.
const int kRecordSizes[] = {24, 28, 532, 536, 544, 560, 816, 1588, 11592};

void sharedRegionPair(benchmark::State& state)
{
    const unsigned int size = static_cast<unsigned int>(state.range(0));
    for (auto _ : state) {
        void* p = ZR_HBBTV_Core::hbbtvBackendMalloc(size);
        benchmark::DoNotOptimize(p);
        ZR_HBBTV_Core::hbbtvBackendMfree(p);
    }
}

void mallocPair(benchmark::State& state)
{
    const size_t size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* p = malloc(size);
        benchmark::DoNotOptimize(p);
        free(p);
        benchmark::ClobberMemory();
    }
}

void recordSizes(benchmark::internal::Benchmark* b)
{
    for (int size : kRecordSizes) {
        b->Arg(size);
    }
    b->Threads(1)->Threads(2)->UseRealTime();
}

BENCHMARK(sharedRegionPair)->Apply(recordSizes);
BENCHMARK(mallocPair)->Apply(recordSizes);

// Collects ns per pair by (size/threads) for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) {
                continue;
            }
            const std::string name = run.benchmark_name();
            const std::string::size_type slash = name.find('/');
            const std::string family = name.substr(0, slash);
            const std::string key = name.substr(slash + 1);
            const double ns = run.GetAdjustedRealTime();
            (family == "sharedRegionPair" ? m_shared : m_malloc)[key] = ns;
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void printSummary() const
    {
        printf("\n%-28s %12s %12s %8s\n", "size/threads", "shared ns", "malloc ns", "ratio");
        double sharedSum[3] = {0, 0, 0}, mallocSum[3] = {0, 0, 0};
        for (const std::pair<const std::string, double>& entry : m_shared) {
            const std::map<std::string, double>::const_iterator other = m_malloc.find(entry.first);
            if (other == m_malloc.end()) {
                continue;
            }
            printf("%-28s %12.1f %12.1f %8.2f\n", entry.first.c_str(), entry.second, other->second,
                   entry.second / other->second);
            const int threads = entry.first.find("threads:2") != std::string::npos ? 2 : 1;
            sharedSum[threads] += entry.second;
            mallocSum[threads] += other->second;
        }
        for (int threads = 1; threads <= 2; ++threads) {
            if (mallocSum[threads] > 0) {
                printf("all sizes, %d thread(s): ratio of summed times %.2f\n", threads,
                       sharedSum[threads] / mallocSum[threads]);
            }
        }
    }

private:
    std::map<std::string, double> m_shared;
    std::map<std::string, double> m_malloc;
};

} // namespace

int main(int argc, char** argv)
{
    // A region of its own, so that the benchmark never shares bytes with a test or the simulator.
    const std::string suffix = ".bench" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);

    benchmark::Initialize(&argc, argv);
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printSummary();
    benchmark::Shutdown();
    return 0;
}
