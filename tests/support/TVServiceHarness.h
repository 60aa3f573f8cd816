// Drives the process's TV service against the simulated host: the host answers every request on
// its own thread (valid, intValue1 0, unless a test gives a command its own answer writer) and
// reports completion straight to the service. Requests a test leaves unanswered get a budget of a
// millisecond on hand-over, so that they run out at the agent's next idle cycle.
#ifndef HBBTV_TESTS_TV_SERVICE_HARNESS_H
#define HBBTV_TESTS_TV_SERVICE_HARNESS_H

#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendTVService.h"
#include "SimulatedHost.h"

namespace hbbtv_test {

class TVServiceTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    ZR_HBBTV_Core::HbbtvBackendTVService& service() { return *m_service; }
    hbbtv_sim::SimulatedHost& host();

    // The host fills answers of this command with writer (run on the host's thread).
    void answer(int command, hbbtv_sim::SimulatedHost::AnswerWriter writer);
    // The host never answers this command; its requests run out of budget at once.
    void neverAnswer(int command);

    std::vector<hbbtv_sim::ReceivedRequest> requests();
    std::vector<int> commands();

    // Everything the call printed on standard output.
    static std::string stdoutOf(const std::function<void()>& call);

private:
    ZR_HBBTV_Core::HbbtvBackendTVService* m_service = nullptr;
    std::vector<int> m_writersSet;
};

// Counts the occurrences of text in output.
size_t countOf(const std::string& output, const std::string& text);

} // namespace hbbtv_test

#endif
