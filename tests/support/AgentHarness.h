// Drives the process's service agent against the host's answering thread, for agent tests.
#ifndef HBBTV_TESTS_AGENT_HARNESS_H
#define HBBTV_TESTS_AGENT_HARNESS_H

#include <atomic>
#include <functional>
#include <memory>

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "HostAnswerThread.h"

namespace hbbtv_test {

// An issuer that hands every request to a HostAnswerThread, which answers as decide says by
// writing valid, intValue1 = ticket and strValue1 = "ticket <n>", and reports completion to the
// process's agent.
class HostIssuer : public ZR_HBBTV_Core::ServiceRequestIssuer {
public:
    explicit HostIssuer(hbbtv_sim::HostAnswerThread::Decide decide);
    bool operator()(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer) override;

    std::atomic<int> issued{0};

private:
    std::unique_ptr<hbbtv_sim::HostAnswerThread> m_host;
};

// Sends one request through the process's agent with a fresh ticket and the given budget.
struct RequestOutcome {
    unsigned int ticket;
    bool valid;
    int intValue1;
    std::string text;
    double seconds;
};
RequestOutcome sendRequest(int command, uint32_t timeoutMs = 10000);

// Blocks of the shared region in use now.
size_t usedSharedNodes();

} // namespace hbbtv_test

#endif
