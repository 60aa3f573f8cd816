// Drives the process's TV service against the simulated host: the host answers every request on
// its own thread (valid, intValue1 0, unless a test gives a command its own answer writer) and
// reports completion straight to the service. Requests a test leaves unanswered get a budget of a
// millisecond on hand-over, so that they run out at once.
#ifndef HBBTV_TESTS_TV_SERVICE_HARNESS_H
#define HBBTV_TESTS_TV_SERVICE_HARNESS_H

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendTVService.h"
#include "SimulatedHost.h"
#include "support/AssertDeath.h"

namespace hbbtv_test {

// A request as the host read it: command, param1, param2 and the two texts.
typedef std::tuple<int, int, int, std::string, std::string> Wire;

class TVServiceTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    ZR_HBBTV_Core::HbbtvBackendTVService& service() { return *m_service; }
    hbbtv_sim::SimulatedHost& host();

    // The host fills answers of this command with writer (run on the host's thread).
    void answer(int command, hbbtv_sim::SimulatedHost::AnswerWriter writer);
    // The host answers this command validly, with value in intValue1.
    void answerInt(int command, int value);
    // The host never answers this command; its requests run out of budget at once.
    void neverAnswer(int command);

    std::vector<hbbtv_sim::ReceivedRequest> requests();
    // The requests as the host read them.
    std::vector<Wire> wires();

    static std::string stdoutOf(const std::function<void()>& call) { return hbbtv_test::stdoutOf(call); }

private:
    ZR_HBBTV_Core::HbbtvBackendTVService* m_service = nullptr;
    std::vector<int> m_writersSet;
};

} // namespace hbbtv_test

#endif
