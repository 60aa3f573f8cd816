#include "support/TVServiceHarness.h"

#include <cstdio>
#include <mutex>
#include <set>

#include "NullClientRegister.h"

namespace hbbtv_test {

namespace {

// The simulated host, except that a request of a command that it is not to answer has its budget
// cut on hand-over (on the agent's thread, before the agent counts it).
class BudgetingServer : public hbbtv_sim::SimulatedHost {
public:
    bool isUnanswered(int command)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_unanswered.count(command) != 0;
    }
    void setUnanswered(int command)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_unanswered.insert(command);
    }
    void clearUnanswered()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_unanswered.clear();
    }

    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override
    {
        HbbtvCommandPayload* const request = static_cast<HbbtvCommandPayload*>(payload);
        if (isUnanswered(request->command)) {
            request->timeoutMs = 1;
        }
        SimulatedHost::HBBTV_ServiceRequestHandler(payload, answer);
    }

private:
    std::mutex m_mutex;
    std::set<int> m_unanswered;
};

// Both live as long as the process: the service and the agent's issuer keep pointing at them.
BudgetingServer& server()
{
    static BudgetingServer* const instance = new BudgetingServer;
    return *instance;
}

hbbtv_sim::NullClientRegister& clientRegister()
{
    static hbbtv_sim::NullClientRegister* const instance = new hbbtv_sim::NullClientRegister;
    return *instance;
}

} // namespace

void TVServiceTest::SetUp()
{
    server().clearUnanswered();
    server().clearRecord();
    server().setDecider([](const HbbtvCommandPayload& request) {
        hbbtv_sim::HostDecision decision;
        if (server().isUnanswered(request.command)) {
            decision.kind = hbbtv_sim::HostDecision::Never;
        }
        return decision;
    });
    m_service = ZR_HBBTV_Core::HbbtvBackendTVService::instantiate(&server(), &clientRegister());
    ZR_HBBTV_Core::HbbtvBackendTVService* const service = m_service;
    server().setCompletionSink(
        [service](HbbtvCommandPayload* payload) { service->serviceRequestFinished(payload->ticket); });
    m_service->SetHbbTVRunningStatus(true);
    // One round trip: the agent thread has started (and printed its start line) before the test
    // captures any output.
    m_service->openVideo();
    fflush(stdout);
    server().clearRecord();
}

void TVServiceTest::TearDown()
{
    for (int command : m_writersSet) {
        server().setAnswerWriterFor(command, nullptr);
    }
    m_writersSet.clear();
    server().clearUnanswered();
    m_service->SetHbbTVRunningStatus(false);
}

hbbtv_sim::SimulatedHost& TVServiceTest::host()
{
    return server();
}

void TVServiceTest::answer(int command, hbbtv_sim::SimulatedHost::AnswerWriter writer)
{
    m_writersSet.push_back(command);
    server().setAnswerWriterFor(command, std::move(writer));
}

void TVServiceTest::answerInt(int command, int value)
{
    answer(command, [value](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.valid = 1;
        answer.intValue1 = value;
    });
}

void TVServiceTest::neverAnswer(int command)
{
    server().setUnanswered(command);
}

std::vector<hbbtv_sim::ReceivedRequest> TVServiceTest::requests()
{
    return server().record().requests;
}

std::vector<Wire> TVServiceTest::wires()
{
    std::vector<Wire> result;
    for (const hbbtv_sim::ReceivedRequest& r : requests()) {
        result.emplace_back(r.command, r.param1, r.param2, r.strParam1, r.strParam2);
    }
    return result;
}

} // namespace hbbtv_test
