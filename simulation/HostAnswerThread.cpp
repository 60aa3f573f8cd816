#include "HostAnswerThread.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace hbbtv_sim {

HostAnswerThread::HostAnswerThread(Decide decide, Fill fill, Complete complete)
    : HostAnswerThread(std::move(decide), std::move(fill),
                       Report([complete](HbbtvCommandPayload* payload) { complete(*payload, payload->ticket); }))
{
}

HostAnswerThread::HostAnswerThread(Decide decide, Fill fill, Report report)
    : m_decide(std::move(decide)), m_fill(std::move(fill)), m_report(std::move(report)),
      m_thread(&HostAnswerThread::run, this)
{
}

HostAnswerThread::~HostAnswerThread()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void HostAnswerThread::post(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer,
                            size_t payloadBytes)
{
    // Decided on the issuing thread, as the host would when it takes the request.
    const HostDecision decision = m_decide(*payload);
    const std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now();
    // The wrapper takes the payload back as a plain pointer: the host returns what it was given.
    Job job{const_cast<HbbtvCommandPayload*>(payload), PayloadCopy(), answer, decision};
    memcpy(job.request.bytes, payload,
           std::max(sizeof(HbbtvCommandPayload), std::min(payloadBytes, kMaxPayloadBytes)));
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_jobs.emplace(now + std::chrono::milliseconds(decision.delayMs), job);
    }
    m_wake.notify_one();
}

void HostAnswerThread::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_jobs.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const std::chrono::steady_clock::time_point due = m_jobs.begin()->first;
        if (std::chrono::steady_clock::now() < due) {
            m_wake.wait_until(lock, due);
            continue;
        }
        Job job = m_jobs.begin()->second;
        m_jobs.erase(m_jobs.begin());
        lock.unlock();
        act(job);
        lock.lock();
    }
}

void HostAnswerThread::act(Job& job)
{
    HbbtvCommandPayload& copy = job.request.payload();
    // A late answer goes into the records it was handed, as a slow host's would: the library keeps
    // a given-up request's records until this completion arrives.
    switch (job.decision.kind) {
    case HostDecision::Answer:
        m_fill(copy, *job.answer);
        m_report(job.handedOver);
        break;
    case HostDecision::AnswerTwice:
        m_fill(copy, *job.answer);
        m_report(job.handedOver);
        // The first completion may already have woken the requester, which then frees its records.
        m_report(&copy);
        break;
    case HostDecision::Never:
        break;
    case HostDecision::UnknownTicket:
        copy.ticket += kUnknownTicketOffset;
        m_report(&copy);
        break;
    }
}

} // namespace hbbtv_sim
