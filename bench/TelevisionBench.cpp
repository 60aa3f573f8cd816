// The library whole, with the simulated host and browser, in interleaved rounds:
// - keyClick: how long after the browser's verdict arrives keyClick returns (p50, p99), against
//   a bare condition-variable hand-off between two threads;
// - scale: the cost per item of getChannelList (up to the largest lineup the channel-list region
//   holds), getAllProgrammesForChannel and getSIDescriptors, at the largest size against 100.
#include <sys/mman.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "BenchTable.h"
#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvChannelListPool.h"
#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

using namespace hbbtv_bench;

namespace {

const int kRed = 398;
const unsigned int kBrowserThinksMs = 1; // the browser's time to decide, so that keyClick is waiting

struct Television {
    hbbtv_sim::SimulatedHost host;
    hbbtv_sim::SimulatedBrowser browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = CreateHbbtvWrapper();

    bool start()
    {
        host.setWrapper(wrapper);
        wrapper->init(&host);
        return browser.publish() && wrapper->launchBrowser() && browser.registerClients() &&
               browser.tvService() != nullptr;
    }
};

// Microseconds from the release verdict's arrival to keyClick's return, one per key.
std::vector<double> keyLatencies(Television& tv, int keys)
{
    std::vector<double> latencies;
    for (int i = 0; i < keys; ++i) {
        const size_t answered = tv.browser.service()->record().keyAnswers.size();
        tv.wrapper->keyClick(kRed);
        const Clock::time_point returned = Clock::now();
        if (!tv.browser.service()->waitForKeyAnswers(answered + 2, std::chrono::seconds(2))) {
            fprintf(stderr, "television_bench: the browser did not answer key %d\n", i);
            exit(1);
        }
        const std::vector<hbbtv_sim::KeyAnswer> answers = tv.browser.service()->record().keyAnswers;
        for (const hbbtv_sim::KeyAnswer& answer : answers) {
            if (answer.eventId % 2 == 1 && &answer >= &answers[answered]) {
                latencies.push_back(microsecondsBetween(answer.sentAt, returned));
            }
        }
    }
    return latencies;
}

// The same hand-off with nothing else: one thread waits on a condition, another sets the verdict
// after the same thinking time and signals.
std::vector<double> handOffLatencies(int keys)
{
    std::vector<double> latencies;
    for (int i = 0; i < keys; ++i) {
        std::mutex mutex;
        std::condition_variable verdict;
        bool decided = false;
        Clock::time_point sentAt;
        std::thread browser([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(kBrowserThinksMs));
            std::lock_guard<std::mutex> lock(mutex);
            sentAt = Clock::now();
            decided = true;
            verdict.notify_all();
        });
        {
            std::unique_lock<std::mutex> lock(mutex);
            verdict.wait(lock, [&] { return decided; });
        }
        latencies.push_back(microsecondsBetween(sentAt, Clock::now()));
        browser.join();
    }
    return latencies;
}

std::vector<hbbtv_sim::LineupChannel> lineup(size_t count)
{
    std::vector<hbbtv_sim::LineupChannel> channels(count);
    for (size_t i = 0; i < count; ++i) {
        hbbtv_sim::LineupChannel& channel = channels[i];
        channel.channelID1 = static_cast<uint16_t>(1 + i % 60000);
        channel.channelID2 = static_cast<uint16_t>(i / 60000 + 1);
        channel.channelID3 = static_cast<uint16_t>(i);
        channel.numberA = static_cast<uint16_t>(i + 1);
        channel.name = "Channel " + std::to_string(i + 1);
    }
    return channels;
}

std::vector<HbbtvEPGInformation> schedule(size_t count)
{
    std::vector<HbbtvEPGInformation> events(count);
    for (size_t i = 0; i < count; ++i) {
        events[i] = {1, static_cast<uint32_t>(1000 + 3600 * i), 2, 3600, "Programme " + std::to_string(i),
                     "short", "long", "genre", 3, 12, "programme-" + std::to_string(i), 1, 2, 3, 4};
    }
    return events;
}

// Microseconds per item of one call with this many items, the mean of a few calls.
double channelListPerItem(Television& tv, size_t count)
{
    tv.host.setAnswerWriterFor(TunerCommand_RequestChannelsLineup, hbbtv_sim::SimulatedHost::lineupWriter(lineup(count)));
    const int calls = count >= 1000 ? 3 : 20;
    double total = 0;
    for (int i = 0; i < calls; ++i) {
        std::vector<NCOR::ChannelTunerData*> channels;
        const Clock::time_point start = Clock::now();
        tv.browser.tvService()->getChannelList(channels);
        total += microsecondsBetween(start, Clock::now());
        if (channels.size() != count) {
            fprintf(stderr, "television_bench: %zu channels listed of %zu\n", channels.size(), count);
            exit(1);
        }
        for (NCOR::ChannelTunerData* channel : channels) {
            delete channel;
        }
    }
    return total / calls / static_cast<double>(count);
}

double schedulePerItem(Television& tv, size_t count)
{
    tv.host.setAnswerWriterFor(ProgrammeCommand_GetAllProgrammeInfo, hbbtv_sim::SimulatedHost::scheduleWriter(schedule(count)));
    const int calls = count >= 1000 ? 3 : 20;
    double total = 0;
    NCOR::ChannelTunerData channel;
    channel.setChannelID("ccid:dvbt:tv:1.2.3:4:x");
    for (int i = 0; i < calls; ++i) {
        std::vector<NCOR::ProgrammeData*> programmes;
        const Clock::time_point start = Clock::now();
        tv.browser.tvService()->getAllProgrammesForChannel(channel, programmes);
        total += microsecondsBetween(start, Clock::now());
        if (programmes.size() != count) {
            fprintf(stderr, "television_bench: %zu programmes of %zu\n", programmes.size(), count);
            exit(1);
        }
        for (NCOR::ProgrammeData* programme : programmes) {
            delete programme;
        }
    }
    return total / calls / static_cast<double>(count);
}

double descriptorsPerItem(Television& tv, size_t count)
{
    tv.host.setAnswerWriterFor(ProgrammeCommand_GetSIDescriptors,
                               [count](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
                                   auto* const found = static_cast<std::vector<std::vector<unsigned char>>*>(
                                       hbbtv_sim::fromHostWireAddress(request.resultAddress));
                                   for (size_t i = 0; i < count; ++i) {
                                       found->push_back({0x4D, 0x05, 'e', 'n', 'g', 0x01, static_cast<unsigned char>(i)});
                                   }
                                   answer.valid = 1;
                               });
    const int calls = count >= 1000 ? 3 : 20;
    double total = 0;
    for (int i = 0; i < calls; ++i) {
        std::vector<std::vector<unsigned char>> descriptors;
        const Clock::time_point start = Clock::now();
        tv.browser.tvService()->getSIDescriptors("programme-1", NCOR::EIT::DESCRIPTOR_SHORT_EVENT,
                                                 NCOR::EIT::EXTENSION_TARGET_REGION, descriptors);
        total += microsecondsBetween(start, Clock::now());
        if (descriptors.size() != count) {
            fprintf(stderr, "television_bench: %zu descriptors of %zu\n", descriptors.size(), count);
            exit(1);
        }
    }
    return total / calls / static_cast<double>(count);
}

struct Scale {
    const char* operation;
    const char* items;
    std::vector<size_t> sizes;
    double (*perItem)(Television&, size_t);
    std::vector<std::vector<double>> rounds; // per size, one value per round
};

} // namespace

int main(int argc, char** argv)
{
    const std::string suffix = ".bench" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);
    // The library's console lines would drown the table: they go to the null device meanwhile.
    fflush(stdout);
    const int console = dup(1);
    if (freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }

    Television tv;
    if (!tv.start()) {
        fprintf(stderr, "television_bench: the television did not start\n");
        return 1;
    }
    tv.browser.service()->setKeyReply(hbbtv_sim::KeyReply{true, true, kBrowserThinksMs});

    const size_t largestLineup = HbbtvChannelListLayout(HbbtvChannelListPool::kAreaSize).capacity();
    std::vector<Scale> scales = {
        {"getChannelList", "channels", {10, 100, 1000, largestLineup}, channelListPerItem, {}},
        {"getAllProgrammesForChannel", "programmes", {10, 100, 1000}, schedulePerItem, {}},
        {"getSIDescriptors", "descriptors", {10, 100, 1000}, descriptorsPerItem, {}},
    };
    for (Scale& scale : scales) {
        scale.rounds.resize(scale.sizes.size());
    }

    const int rounds = 5;
    const int keys = 100;
    std::vector<double> keyP50, keyP99, handOffP50, handOffP99;
    keyLatencies(tv, 10); // warm
    for (int round = 0; round < rounds; ++round) {
        const std::vector<double> key = keyLatencies(tv, keys);
        const std::vector<double> handOff = handOffLatencies(keys);
        keyP50.push_back(percentile(key, 50) / 1000);
        keyP99.push_back(percentile(key, 99) / 1000);
        handOffP50.push_back(percentile(handOff, 50) / 1000);
        handOffP99.push_back(percentile(handOff, 99) / 1000);
        for (Scale& scale : scales) {
            for (size_t i = 0; i < scale.sizes.size(); ++i) {
                scale.rounds[i].push_back(scale.perItem(tv, scale.sizes[i]));
            }
        }
    }

    std::vector<Row> rows = {
        absoluteRow("keyClick after the verdict, p50", "keyClick", keyP50, "condition hand-off", handOffP50, "ms",
                    0.3),
        absoluteRow("keyClick after the verdict, p99", "keyClick", keyP99, "condition hand-off", handOffP99, "ms",
                    1.0),
    };
    for (const Scale& scale : scales) {
        for (size_t i = 0; i < scale.sizes.size(); ++i) {
            rows.push_back(absoluteRow(std::string(scale.operation) + " per item, " + std::to_string(scale.sizes[i]) +
                                           " " + scale.items,
                                       "per item", scale.rounds[i], "", {}, "us", 0));
        }
        const size_t largest = scale.sizes.size() - 1;
        rows.push_back(ratioRow(std::string(scale.operation) + " per item, " + std::to_string(scale.sizes[largest]) +
                                    " vs 100",
                                std::to_string(scale.sizes[largest]), scale.rounds[largest], "100", scale.rounds[1],
                                "us", Better::Lower, 1.5));
    }
    rows.push_back(absoluteRow("largest lineup the channel-list region holds", std::to_string(largestLineup),
                               {static_cast<double>(largestLineup)}, "", {}, "channels", 0));

    fflush(stdout);
    dup2(console, 1);
    printTable(rows);
    const std::string json = jsonPathFrom(argc, argv);
    if (!json.empty()) {
        writeJson(rows, json);
    }
    fflush(stdout);
    // The library's threads run until the process ends; the regions' names go here.
    ZR_HBBTV_Core::backendMallocUninit();
    shm_unlink(ZR_HBBTV_Core::channelListRegionName());
    _exit(0);
}
