// Allocate+free in the shared region against glibc malloc+free, one thread and two threads at
// once, in interleaved rounds. One set is one allocate+free of each record size in use (payloads,
// answers), so that the figure weighs the sizes as a request does; the time is per pair and
// thread.
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "BenchTable.h"
#include "HbbtvBackendGlue.MemoryPool.h"

using namespace hbbtv_bench;

namespace {

const unsigned int kRecordSizes[] = {24, 28, 532, 536, 544, 560, 816, 1588, 11592};
const int kSizes = sizeof(kRecordSizes) / sizeof(kRecordSizes[0]);

struct RegionPairs {
    static void run(int sets)
    {
        for (int i = 0; i < sets; ++i) {
            for (unsigned int size : kRecordSizes) {
                void* p = ZR_HBBTV_Core::hbbtvBackendMalloc(size);
                asm volatile("" : : "r"(p) : "memory");
                ZR_HBBTV_Core::hbbtvBackendMfree(p);
            }
        }
    }
};

struct MallocPairs {
    static void run(int sets)
    {
        for (int i = 0; i < sets; ++i) {
            for (unsigned int size : kRecordSizes) {
                void* p = malloc(size);
                asm volatile("" : : "r"(p) : "memory");
                free(p);
            }
        }
    }
};

// Nanoseconds per pair and thread, the threads started together on fresh threads.
template <typename Pairs>
double nsPerPair(int threads, int sets)
{
    std::atomic<int> ready{0};
    std::atomic<bool> go{false};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&] {
            Pairs::run(sets / 20); // warm: the thread's shard and its nodes
            ++ready;
            while (!go.load()) {
            }
            Pairs::run(sets);
        });
    }
    while (ready.load() < threads) {
    }
    const Clock::time_point start = Clock::now();
    go = true;
    for (std::thread& worker : workers) {
        worker.join();
    }
    return microsecondsBetween(start, Clock::now()) * 1000.0 / (static_cast<double>(sets) * kSizes);
}

} // namespace

int main(int argc, char** argv)
{
    // A region of its own, so that the benchmark never shares bytes with a test or the simulator.
    const std::string suffix = ".bench" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);

    const int rounds = 7;
    const int sets = 200000;
    std::vector<double> region1, malloc1, region2, malloc2;
    for (int round = 0; round < rounds; ++round) {
        region1.push_back(nsPerPair<RegionPairs>(1, sets));
        malloc1.push_back(nsPerPair<MallocPairs>(1, sets));
        region2.push_back(nsPerPair<RegionPairs>(2, sets));
        malloc2.push_back(nsPerPair<MallocPairs>(2, sets));
    }
    const std::vector<Row> rows = {
        ratioRow("allocate+free, 1 thread", "region", region1, "malloc", malloc1, "ns", Better::Lower, 1.5),
        ratioRow("allocate+free, 2 threads at once", "region", region2, "malloc", malloc2, "ns", Better::Lower, 4.0),
    };
    printTable(rows);
    const std::string json = jsonPathFrom(argc, argv);
    if (!json.empty()) {
        writeJson(rows, json);
    }
    ZR_HBBTV_Core::backendMallocUninit();
    return 0;
}
