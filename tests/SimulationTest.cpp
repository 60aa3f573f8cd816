// The simulated host itself, as far as tests of the library build on it: its answer decisions, on
// a thread of its own.
#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "SimulatedHost.h"

using hbbtv_sim::HostDecision;
using hbbtv_sim::SimulatedHost;
using std::chrono::milliseconds;

namespace {

using Clock = std::chrono::steady_clock;

struct AnswerBuffer {
    alignas(8) unsigned char bytes[sizeof(HbbtvServiceRequestAnswer)] = {};
    HbbtvServiceRequestAnswer* answer() { return reinterpret_cast<HbbtvServiceRequestAnswer*>(bytes); }
    bool untouched() const
    {
        return std::all_of(bytes, bytes + sizeof(bytes), [](unsigned char b) { return b == 0; });
    }
};

// What the host reported, as the wrapper would see it.
struct Completion {
    HbbtvCommandPayload* payload;
    std::thread::id thread;
    Clock::duration after; // the hand-over
};

} // namespace

TEST(SimulatedHost, AnswersOnItsOwnThreadAsDecided)
{
    SimulatedHost host;
    const HostDecision decisions[] = { { HostDecision::Answer, 80 }, { HostDecision::AnswerTwice, 0 },
        { HostDecision::Answer, 60 }, { HostDecision::UnknownTicket, 0 }, { HostDecision::Never, 0 } };
    HbbtvCommandPayload requests[] = { HbbtvCommandPayload(DVBMediaPlayer_OpenVideo),
        HbbtvCommandPayload(DVBMediaPlayer_CloseVideo), HbbtvCommandPayload(DVBMediaPlayer_SetDisplayWindow),
        HbbtvCommandPayload(TunerCommand_ExitLiveIn), HbbtvCommandPayload(TunerCommand_ReturnLiveIn) };
    AnswerBuffer answers[5];
    requests[2].timeoutMs = 20; // answered after its budget
    answers[0].answer()->intValue1 = 99;

    std::mutex mutex;
    std::map<unsigned int, std::vector<Completion>> byTicket;
    const Clock::time_point handedOver = Clock::now();
    host.setCompletionSink([&](HbbtvCommandPayload* payload) {
        std::lock_guard<std::mutex> lock(mutex);
        byTicket[payload->ticket].push_back({ payload, std::this_thread::get_id(), Clock::now() - handedOver });
    });
    for (unsigned int i = 0; i < 5; ++i) {
        host.setDecisionFor(requests[i].command, decisions[i]);
        requests[i].ticket = i + 1;
        host.HBBTV_ServiceRequestHandler(&requests[i], answers[i].answer());
    }
    ASSERT_TRUE(host.waitForCompletions(5, milliseconds(2000)));
    EXPECT_FALSE(host.waitForCompletions(6, milliseconds(100)));
    EXPECT_EQ(5u, host.record().requests.size());
    std::lock_guard<std::mutex> lock(mutex);
    std::map<unsigned int, std::vector<Completion>>& got = byTicket;

    // Late: once, on the host's thread, with the payload handed over, and the answer written.
    ASSERT_EQ(1u, got[1].size());
    EXPECT_NE(std::this_thread::get_id(), got[1][0].thread);
    EXPECT_EQ(&requests[0], got[1][0].payload);
    EXPECT_GE(got[1][0].after, milliseconds(80));
    EXPECT_EQ(1, answers[0].answer()->valid);
    EXPECT_EQ(0, answers[0].answer()->intValue1);
    // Twice: the first completion with the payload handed over, the second from the host's copy,
    // since the requester may be gone by then.
    ASSERT_EQ(2u, got[2].size());
    EXPECT_EQ(&requests[1], got[2][0].payload);
    EXPECT_NE(&requests[1], got[2][1].payload);
    EXPECT_EQ(1, answers[1].answer()->valid);
    // After the budget: a slow host still answers into the records it was handed.
    ASSERT_EQ(1u, got[3].size());
    EXPECT_EQ(&requests[2], got[3][0].payload);
    EXPECT_EQ(1, answers[2].answer()->valid);
    // An unknown ticket, from a copy: the requester's record is left alone.
    ASSERT_EQ(1u, got[4 + hbbtv_sim::HostAnswerThread::kUnknownTicketOffset].size());
    EXPECT_NE(&requests[3], got[4 + hbbtv_sim::HostAnswerThread::kUnknownTicketOffset][0].payload);
    EXPECT_EQ(4u, requests[3].ticket);
    EXPECT_TRUE(answers[3].untouched());
    // Never.
    EXPECT_EQ(0u, got.count(4) + got.count(5));
    EXPECT_TRUE(answers[4].untouched());
}
