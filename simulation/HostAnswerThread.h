// The simulated host's answering side: requests handed to the host are answered on a thread of
// the host's own, each as a decision says (at once, late, twice, never, or for a ticket nobody
// waits for), by filling the answer record and reporting completion by ticket.
#ifndef HBBTV_SIM_HOST_ANSWER_THREAD_H
#define HBBTV_SIM_HOST_ANSWER_THREAD_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "HbbtvBackendRecords.h"

namespace hbbtv_sim {

struct HostDecision {
    enum Kind {
        Answer,        // fill the answer, report completion once
        AnswerTwice,   // fill the answer, report completion twice
        Never,         // do nothing: the request runs out of budget
        UnknownTicket, // report completion for a ticket nobody waits for, fill nothing
    };
    Kind kind = Answer;
    unsigned int delayMs = 0; // how long after the hand-over the host acts
    // When not 0, the host lowers the request's budget (timeoutMs) to this while it takes the
    // request, as a host that has less time to give does.
    unsigned int budgetMs = 0;
};

class HostAnswerThread {
public:
    typedef std::function<HostDecision(const HbbtvCommandPayload&)> Decide;
    // Gets a copy of the request as it was handed over, as many bytes as post was told.
    typedef std::function<void(const HbbtvCommandPayload&, HbbtvServiceRequestAnswer&)> Fill;
    typedef std::function<void(const HbbtvCommandPayload&, unsigned int ticket)> Complete;
    // Reports completion as the host does towards the wrapper: with the payload it was handed for
    // the first completion, late or not, and with a copy for a second completion or an unknown
    // ticket.
    typedef std::function<void(HbbtvCommandPayload*)> Report;

    HostAnswerThread(Decide decide, Fill fill, Complete complete);
    HostAnswerThread(Decide decide, Fill fill, Report report);
    // Stops the thread; requests not yet acted on are dropped.
    ~HostAnswerThread();
    HostAnswerThread(const HostAnswerThread&) = delete;
    HostAnswerThread& operator=(const HostAnswerThread&) = delete;

    // Takes a request from the issuer and returns at once. payloadBytes is the size of the
    // payload's record (a derived record carries strings or channel numbers after the base).
    void post(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer,
              size_t payloadBytes = sizeof(HbbtvCommandPayload));

    static const unsigned int kUnknownTicketOffset = 0x40000000;
    // The largest payload record there is.
    static constexpr size_t kMaxPayloadBytes = sizeof(HbbtvCommandPayloadWithChannelIDInfo);

private:
    // The request is copied when it is handed over: the fill reads the request as it was, and a
    // second completion must not read a payload that its requester may already have released.
    struct PayloadCopy {
        alignas(HbbtvCommandPayloadWithChannelIDInfo) unsigned char bytes[kMaxPayloadBytes];
        HbbtvCommandPayload& payload() { return *reinterpret_cast<HbbtvCommandPayload*>(bytes); }
    };
    struct Job {
        HbbtvCommandPayload* handedOver;
        PayloadCopy request;
        HbbtvServiceRequestAnswer* answer;
        HostDecision decision;
    };

    void run();
    void act(Job& job);

    Decide m_decide;
    Fill m_fill;
    Report m_report;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    // Jobs due at their hand-over, in order, and those the decision delays, by due time; the
    // first keeps the common case free of a heap allocation per request.
    std::deque<std::pair<std::chrono::steady_clock::time_point, Job>> m_now;
    std::multimap<std::chrono::steady_clock::time_point, Job> m_later;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace hbbtv_sim

#endif
