// Each test runs in a process of its own (see test_main.cpp), so each starts the process's agent
// afresh, with its own issuer and its own reading of LOG_HBBTV_BACKENDGLUE.
#include <cstdlib>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "plx_str_dev.h"
#include "support/AgentHarness.h"
#include "support/AssertDeath.h"

using namespace ZR_HBBTV_Core;
using hbbtv_sim::HostDecision;
using hbbtv_test::HostIssuer;
using hbbtv_test::sendRequest;

namespace {

// Answers at once, except: command 8 never, command 9 for a ticket nobody waits for, command 10
// twice, command 11 after 50 ms.
HostDecision byCommand(const HbbtvCommandPayload& payload)
{
    HostDecision decision;
    switch (payload.command) {
    case 8: decision.kind = HostDecision::Never; break;
    case 9: decision.kind = HostDecision::UnknownTicket; break;
    case 10: decision.kind = HostDecision::AnswerTwice; break;
    case 11: decision.delayMs = 50; break;
    default: break;
    }
    return decision;
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(BackendServiceAgent, TraceLinesWhenLoggingIsOn)
{
    setenv("LOG_HBBTV_BACKENDGLUE", "true", 1);
    HostIssuer host(byCommand);
    testing::internal::CaptureStdout();
    getServiceAgent()->start(&host);
    const unsigned int answered = sendRequest(TunerCommand_GetAVInfo).ticket;
    const unsigned int unknown = sendRequest(9, 10).ticket;
    const unsigned int twice = sendRequest(10).ticket;
    getServiceAgent()->response(777);
    sendRequest(DVBMediaPlayer_OpenVideo); // the agent handles the stray completion before this one
    fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();

    EXPECT_TRUE(contains(out, "STR Thread Trace: ./backendglue/HbbtvBackendGlue.ServiceAgent.cpp::423::threadFunction\n"));
    const std::string t = std::to_string(answered);
    EXPECT_TRUE(contains(out, "[BackendGlue_GetThreadService] TunerCommand_GetAVInfo, instruct():5, ticket:" + t + "\n"));
    EXPECT_TRUE(contains(out, "[BackendGlue_GetThreadService] Request Return - TunerCommand_GetAVInfo, ticket:" + t +
                                  ", result:true\n"));
    // The host's completion for a ticket nobody waits for, and the stray one: match fails, named
    // after the completion's command, which it does not have: "(null)".
    const std::string u = std::to_string(unknown + hbbtv_sim::HostAnswerThread::kUnknownTicketOffset);
    EXPECT_TRUE(contains(out, "[BackendGlue_GetThreadService] Request match fail - (null), ticket:" + u + "\n"));
    EXPECT_TRUE(contains(out, "[BackendGlue_GetThreadService] Request match fail - (null), ticket:777\n"));
    EXPECT_TRUE(contains(out, "[BackendGlue_GetThreadService] Request match fail - (null), ticket:" +
                                  std::to_string(twice) + "\n")); // the host's second answer
    EXPECT_TRUE(contains(out, "[BackendGlue_GetThreadService] Request timeout - TunerCommand_ReturnLiveIn, ticket:" +
                                  std::to_string(unknown) + "\n"));
}

TEST(BackendServiceAgent, NoTraceLinesUnlessTheSettingIsExactlyTrue)
{
    setenv("LOG_HBBTV_BACKENDGLUE", "TRUE", 1);
    HostIssuer first(byCommand);
    HostIssuer second(byCommand);
    testing::internal::CaptureStdout();
    getServiceAgent()->start(&first);
    setenv("LOG_HBBTV_BACKENDGLUE", "true", 1); // read once, at the first start only
    EXPECT_TRUE(getServiceAgent()->start(&second));
    sendRequest(TunerCommand_TuneTo);
    getServiceAgent()->response(777);
    sendRequest(TunerCommand_TuneTo);
    fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(contains(out, "STR Thread Trace"));
    EXPECT_FALSE(contains(out, "[BackendGlue_GetThreadService]"));
    // The second start kept the first issuer.
    EXPECT_EQ(2, first.issued.load());
    EXPECT_EQ(0, second.issued.load());
}

TEST(BackendServiceAgent, StandbyHoldsTheAgentUntilResume)
{
    HostIssuer host(byCommand);
    testing::internal::CaptureStdout();
    getServiceAgent()->start(&host);
    sendRequest(TunerCommand_TuneTo);
    EXPECT_EQ(1, plx_str_dev::registeredThreads());

    plx_str_dev::setSuspended(true);
    while (plx_str_dev::heldThreads() == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::thread requester([] { EXPECT_TRUE(sendRequest(TunerCommand_TuneTo).valid); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(1, host.issued.load()); // nothing reaches the host while suspended
    plx_str_dev::setSuspended(false);
    requester.join();
    EXPECT_EQ(2, host.issued.load());
    fflush(stdout);
    EXPECT_TRUE(contains(testing::internal::GetCapturedStdout(),
                         "Fixme, I am resumed ./backendglue/HbbtvBackendGlue.ServiceAgent.cpp::430::threadFunction\n"));
}

TEST(BackendServiceAgentDeathTest, StartWithoutIssuerAborts)
{
    hbbtv_test::expectAssertFail([] { getServiceAgent()->start(nullptr); },
                                 "./backendglue/HbbtvBackendGlue.ServiceAgent.cpp",
                                 "bool ZR_HBBTV_Core::BackendServiceAgent::start(ZR_HBBTV_Core::ServiceRequestIssuer*)",
                                 332);
}
