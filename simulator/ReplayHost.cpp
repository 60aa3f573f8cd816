#include "ReplayHost.h"

#include "TraceDecoding.h"

namespace hbbtv_simulator {

namespace tf = HbbtvTraceFormat;

ReplayHost::ReplayHost(const std::vector<Json>& recorded)
{
    // Host data is recorded by the requester right after the request's answer line: it goes
    // with the last answer of its command on that thread.
    std::map<std::pair<int64_t, int>, size_t> lastAnswer; // by thread and command: its number + 1
    for (const Json& line : recorded) {
        if (line[tf::line::kind] == tf::kind::answer) {
            const int command = number<int>(line, tf::command::number);
            m_answers[command].push_back(line);
            lastAnswer[{number<int64_t>(line, tf::line::thread), command}] = m_answers[command].size();
        } else if (line[tf::line::kind] == tf::kind::hostdata) {
            for (const HostData& data : kHostData) {
                const auto answer = lastAnswer.find({number<int64_t>(line, tf::line::thread), data.command});
                if (line[tf::line::name] == data.name && answer != lastAnswer.end()) {
                    m_answers[data.command][answer->second - 1][tf::kind::hostdata] = line;
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
        writeRecordedAnswer(recorded.value(tf::command::answer, Json::object()), answer);
        if (recorded.contains(tf::kind::hostdata) && answer.valid) {
            const Json& data = recorded[tf::kind::hostdata];
            const Json& name = data[tf::line::name];
            if (name == tf::hostdata::lineup) {
                lineupWriter(lineupFrom(data))(request, answer);
            } else if (name == tf::hostdata::schedule) {
                scheduleWriter(scheduleFrom(data))(request, answer);
            } else if (name == tf::hostdata::siDescriptors) {
                siDescriptorsWriter(descriptorsFrom(data))(request, answer);
            } else if (name == tf::hostdata::components) {
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
        if (!recorded.is_null() && recorded.value(tf::command::outcome, "") == tf::outcome::givenUp) {
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
