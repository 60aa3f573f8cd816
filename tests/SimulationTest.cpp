// The simulated host itself, where tests of the library cannot see it: which payload each
// completion hands back, and on which thread. Its delays, unknown tickets and second answers show
// in the agent's and the request path's own tests.
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "SimulatedHost.h"

using hbbtv_sim::HostDecision;

TEST(SimulatedHost, HandsBackThePayloadItWasGivenOnItsOwnThread)
{
    hbbtv_sim::SimulatedHost host;
    HbbtvCommandPayload requests[] = {HbbtvCommandPayload(DVBMediaPlayer_OpenVideo),
                                      HbbtvCommandPayload(DVBMediaPlayer_CloseVideo)};
    alignas(8) unsigned char answers[2][sizeof(HbbtvServiceRequestAnswer)] = {};
    HbbtvServiceRequestAnswer* const first = reinterpret_cast<HbbtvServiceRequestAnswer*>(answers[0]);
    first->intValue1 = 99;
    host.setDecisionFor(DVBMediaPlayer_CloseVideo, {HostDecision::AnswerTwice, 0});

    std::mutex mutex;
    std::map<unsigned int, std::vector<std::pair<HbbtvCommandPayload*, std::thread::id>>> byTicket;
    host.setCompletionSink([&](HbbtvCommandPayload* payload) {
        std::lock_guard<std::mutex> lock(mutex);
        byTicket[payload->ticket].emplace_back(payload, std::this_thread::get_id());
    });
    for (unsigned int i = 0; i < 2; ++i) {
        requests[i].ticket = i + 1;
        host.HBBTV_ServiceRequestHandler(&requests[i], reinterpret_cast<HbbtvServiceRequestAnswer*>(answers[i]));
    }
    ASSERT_TRUE(host.waitForCompletions(3, std::chrono::milliseconds(2000)));
    std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(1u, byTicket[1].size());
    EXPECT_EQ(&requests[0], byTicket[1][0].first);
    EXPECT_NE(std::this_thread::get_id(), byTicket[1][0].second);
    EXPECT_EQ(1, first->valid);
    EXPECT_EQ(0, first->intValue1);
    // Twice: the first with the payload handed over, the second from the host's copy, since the
    // requester may be gone by then.
    ASSERT_EQ(2u, byTicket[2].size());
    EXPECT_EQ(&requests[1], byTicket[2][0].first);
    EXPECT_NE(&requests[1], byTicket[2][1].first);
}
