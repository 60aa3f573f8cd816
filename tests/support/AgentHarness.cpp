#include "support/AgentHarness.h"

#include <cstdio>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.MemoryPool.h"

using namespace ZR_HBBTV_Core;

namespace hbbtv_test {

HostIssuer::HostIssuer(hbbtv_sim::HostAnswerThread::Decide decide)
    : m_host(new hbbtv_sim::HostAnswerThread(
          std::move(decide),
          [](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
              answer.valid = 1;
              answer.intValue1 = static_cast<int32_t>(request.ticket);
              answer.strValue1 = ("ticket " + std::to_string(request.ticket)).c_str();
          },
          [](const HbbtvCommandPayload&, unsigned int ticket) { getServiceAgent()->response(ticket); }))
{
}

bool HostIssuer::operator()(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer)
{
    ++issued;
    m_host->post(payload, answer);
    return true;
}

RequestOutcome sendRequest(int command, uint32_t timeoutMs)
{
    static std::atomic<unsigned int> tickets{0};
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(static_cast<HbbtvBackendCommand>(command)));
    payload->ticket = ++tickets;
    payload->timeoutMs = timeoutMs;
    const double start = currentTime();
    const BackendRequestResult result = getServiceAgent()->request(payload.get(), answer.get());
    const double seconds = currentTime() - start;
    const unsigned int ticket = payload->ticket;
    if (result == RequestGivenUp) {
        const HostHeldRecord records[] = { ZR_HBBTV_Core::hostHeldRecord(payload.release()),
                                           ZR_HBBTV_Core::hostHeldRecord(answer.release()) };
        getServiceAgent()->holdGivenUpRecords(ticket, records, 2);
        return RequestOutcome{ticket, false, 0, "", seconds};
    }
    return RequestOutcome{ticket, answer->valid != 0, answer->intValue1, answer->strValue1.c_str(), seconds};
}

size_t usedSharedNodes()
{
    fflush(stdout);
    testing::internal::CaptureStdout();
    getBackendMemAllocator()->dumpInfo();
    fflush(stdout);
    std::istringstream dump(testing::internal::GetCapturedStdout());
    size_t used = 0;
    std::string line;
    while (std::getline(dump, line)) {
        unsigned int count;
        if (sscanf(line.c_str(), "used list:%u", &count) == 1) {
            used += count;
        }
    }
    return used;
}

} // namespace hbbtv_test
