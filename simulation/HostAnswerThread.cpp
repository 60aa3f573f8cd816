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
    if (decision.budgetMs != 0) {
        const_cast<HbbtvCommandPayload*>(payload)->timeoutMs = decision.budgetMs;
    }
    const std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now();
    // The wrapper takes the payload back as a plain pointer: the host returns what it was given.
    Job job{const_cast<HbbtvCommandPayload*>(payload), PayloadCopy(), answer, decision};
    memcpy(job.request.bytes, payload,
           std::max(sizeof(HbbtvCommandPayload), std::min(payloadBytes, kMaxPayloadBytes)));
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (decision.delayMs == 0) {
            m_now.emplace_back(now, job);
        } else {
            m_later.emplace(now + std::chrono::milliseconds(decision.delayMs), job);
        }
    }
    m_wake.notify_one();
}

void HostAnswerThread::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        // Whichever job is due first: the oldest immediate one, or the earliest delayed one once
        // its time has come.
        const bool takeLater = !m_later.empty() && (m_now.empty() || m_later.begin()->first < m_now.front().first);
        if (!takeLater && m_now.empty()) {
            m_wake.wait(lock);
            continue;
        }
        if (takeLater && std::chrono::steady_clock::now() < m_later.begin()->first) {
            m_wake.wait_until(lock, m_later.begin()->first);
            continue;
        }
        Job job;
        if (takeLater) {
            job = m_later.begin()->second;
            m_later.erase(m_later.begin());
        } else {
            job = m_now.front().second;
            m_now.pop_front();
        }
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
