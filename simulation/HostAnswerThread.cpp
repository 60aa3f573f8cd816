#include "HostAnswerThread.h"

#include <utility>

namespace hbbtv_sim {

HostAnswerThread::HostAnswerThread(Decide decide, Fill fill, Complete complete)
    : m_decide(std::move(decide)), m_fill(std::move(fill)), m_complete(std::move(complete)),
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

void HostAnswerThread::post(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer)
{
    // Decided on the issuing thread, as the host would when it takes the request.
    const HostDecision decision = m_decide(*payload);
    const std::chrono::steady_clock::time_point due =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(decision.delayMs);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_jobs.emplace(due, Job{*payload, answer, decision});
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
        const Job job = m_jobs.begin()->second;
        m_jobs.erase(m_jobs.begin());
        lock.unlock();
        act(job);
        lock.lock();
    }
}

void HostAnswerThread::act(const Job& job)
{
    switch (job.decision.kind) {
    case HostDecision::Answer:
        m_fill(job.request, *job.answer);
        m_complete(job.request, job.request.ticket);
        break;
    case HostDecision::AnswerTwice:
        m_fill(job.request, *job.answer);
        m_complete(job.request, job.request.ticket);
        m_complete(job.request, job.request.ticket);
        break;
    case HostDecision::Never:
        break;
    case HostDecision::UnknownTicket:
        m_complete(job.request, job.request.ticket + kUnknownTicketOffset);
        break;
    }
}

} // namespace hbbtv_sim
