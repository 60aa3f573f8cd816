#include "ReplayHost.h"

#include "TraceDecoding.h"

namespace hbbtv_simulator {

ReplayHost::ReplayHost(const std::vector<Json>& recorded)
{
    // Host data is recorded by the requester right after the request's answer line: it goes
    // with the last answer of its command on that thread.
    std::map<std::pair<int64_t, int>, size_t> lastAnswer; // by thread and command: its number + 1
    for (const Json& line : recorded) {
        if (line["kind"] == "answer") {
            const int command = number<int>(line, "command");
            m_answers[command].push_back(line);
            lastAnswer[{number<int64_t>(line, "th"), command}] = m_answers[command].size();
        } else if (line["kind"] == "hostdata") {
            for (const HostData& data : kHostData) {
                const auto answer = lastAnswer.find({number<int64_t>(line, "th"), data.command});
                if (line["name"] == data.name && answer != lastAnswer.end()) {
                    m_answers[data.command][answer->second - 1]["hostdata"] = line;
                    lastAnswer.erase(answer);
                }
            }
        }
    }
    setAnswerWriter([this](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
        Json recorded;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const std::map<unsigned, Json>::iterator found = m_byTicket.find(request.ticket);
            if (found == m_byTicket.end()) {
                writeDefaultAnswer(request, answer); // a command the recording does not have
                return;
            }
            recorded = found->second;
            m_byTicket.erase(found);
        }
        writeRecordedAnswer(recorded.value("answer", Json::object()), answer);
        if (recorded.contains("hostdata") && answer.valid) {
            const Json& data = recorded["hostdata"];
            if (data["name"] == "lineup") {
                lineupWriter(lineupFrom(data))(request, answer);
            } else if (data["name"] == "schedule") {
                scheduleWriter(scheduleFrom(data))(request, answer);
            } else if (data["name"] == "siDescriptors") {
                siDescriptorsWriter(descriptorsFrom(data))(request, answer);
            } else if (data["name"] == "components") {
                writeRecordedComponents(data, answer);
            }
        }
    });
}

void ReplayHost::HBBTV_ServiceRequestHandler(void* payload, void* answer)
{
    HbbtvCommandPayload* const request = static_cast<HbbtvCommandPayload*>(payload);
    Json recorded;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::deque<Json>& queue = m_answers[request->command];
        if (!queue.empty()) {
            recorded = queue.front();
            queue.pop_front();
        }
        if (!recorded.is_null() && recorded.value("outcome", "") == "given up") {
            request->timeoutMs = 1;
            return;
        }
        if (!recorded.is_null()) {
            m_byTicket[request->ticket] = recorded;
        }
    }
    SimulatedHost::HBBTV_ServiceRequestHandler(payload, answer);
}

} // namespace hbbtv_simulator
