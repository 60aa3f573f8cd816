#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "support/AgentHarness.h"

using namespace ZR_HBBTV_Core;
using hbbtv_sim::HostDecision;

TEST(BackendServiceAgentStress, EveryRequesterWokenOnceWithItsOwnAnswer)
{
    // The host's behaviour is drawn per request from the payload's param1, which each requester
    // sets at random: mostly at once, some late, some twice. Two more threads send requests that
    // the host never answers, or answers for another ticket.
    hbbtv_test::HostIssuer host([](const HbbtvCommandPayload& payload) {
        HostDecision decision;
        const int draw = payload.param1;
        if (draw < 0) {
            decision.kind = draw == -1 ? HostDecision::Never : HostDecision::UnknownTicket;
        } else if (draw < 80) {
            decision.kind = HostDecision::AnswerTwice;
        } else if (draw < 200) {
            decision.delayMs = static_cast<unsigned int>(draw % 4);
        }
        return decision;
    });
    getServiceAgent()->start(&host);
    const size_t usedBefore = hbbtv_test::usedSharedNodes();

    const int kThreads = 16;
    const int kRequestsPerThread = 200;
    std::atomic<unsigned int> nextTicket{1};
    std::atomic<int> returned{0}, wrongAnswers{0}, givenUp{0};
    std::vector<std::thread> requesters;
    auto send = [&](int draw) {
        std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
        std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(TunerCommand_TuneTo, draw));
        payload->ticket = nextTicket++;
        // Requests the host will not answer get a small budget, so that the run stays short.
        payload->timeoutMs = draw < 0 ? 10 : 10000;
        getServiceAgent()->request(payload.get(), answer.get());
        ++returned;
        if (draw < 0) {
            givenUp += answer->valid == 0;
            wrongAnswers += answer->valid != 0;
        } else {
            wrongAnswers += answer->valid == 0 || answer->intValue1 != static_cast<int32_t>(payload->ticket);
        }
    };
    for (int t = 0; t < kThreads; ++t) {
        requesters.emplace_back([&, t] {
            std::mt19937 random(static_cast<unsigned int>(t + 1));
            for (int i = 0; i < kRequestsPerThread; ++i) {
                send(static_cast<int>(random() % 1000));
            }
        });
    }
    for (int t = 0; t < 2; ++t) {
        requesters.emplace_back([&] {
            send(-1);
            send(-2);
        });
    }
    for (std::thread& requester : requesters) {
        requester.join();
    }
    const int total = kThreads * kRequestsPerThread + 4;
    EXPECT_EQ(total, returned.load());
    EXPECT_EQ(0, wrongAnswers.load());
    EXPECT_EQ(total, host.issued.load());
    EXPECT_EQ(4, givenUp.load());

    // Late completions (second answers, answers for other tickets) may still be on their way; once
    // the agent has handled them, no task and no completion marker is left, and the records of
    // the given-up requests are back in the region.
    size_t usedAfter = 0;
    size_t tasksAfter = 0;
    for (int i = 0; i < 100; ++i) {
        hbbtv_test::sendRequest(TunerCommand_TuneTo);
        usedAfter = hbbtv_test::usedSharedNodes();
        tasksAfter = GetServiceTask::live();
        if (usedAfter == usedBefore && tasksAfter == 0) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(usedBefore, usedAfter);
    EXPECT_EQ(0u, tasksAfter);
}
