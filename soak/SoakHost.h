// The soak's host: the simulated host, which also keeps the requests it never answers so that it
// can report them later, and which can stall: hold every request, as a television whose
// middleware hangs, and answer them all when it recovers.
#ifndef HBBTV_SOAK_SOAK_HOST_H
#define HBBTV_SOAK_SOAK_HOST_H

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <vector>

#include "SimulatedHost.h"
#include "StdoutTap.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_soak {

// How the host treats a request of the request phase; the requester puts it in param2, the echo
// value in param1.
enum Kind { OnTime, Slow, Twice, Garbage, Late, Never, UnknownTicket, kKinds };
extern const char* const kKindNames[kKinds];
// The request phase's command.
const int kEchoCommand = DVBMediaPlayer_OpenVideo;

// What a host answers for the commands whose answers carry more than a result, every record as full
// as the browser's operations let it be (the component lists above all); the echo for the request
// phase's command.
const std::map<int, hbbtv_sim::SimulatedHost::AnswerWriter>& fullAnswers();

class SoakHost : public hbbtv_sim::SimulatedHost {
public:
    SoakHost();

    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override;

    // The host reports every request it kept, but those the library freed meanwhile; returns how
    // many it reported.
    size_t reportHeld(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper, StdoutTap& tap);

    // From now on every request is held unanswered, its budget lowered to budgetMs as the host
    // takes it (the host's right), so that its requester gives it up soon.
    void stall(unsigned int budgetMs);
    struct Recovery {
        size_t reported = 0;
        size_t freedUnreported = 0; // freed by the library first: not touched
    };
    // Writes an answer into every held request's records and reports it finished, but those the
    // library freed meanwhile; requests are answered at once again from now on. The requesters
    // must have returned (and so given their requests up) before.
    Recovery recover(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper, StdoutTap& tap);
    // Requests held since the stall began, and of them the component lists.
    size_t stalledRequests() const { return m_stalledRequests; }
    size_t stalledComponentLists() const { return m_stalledComponentLists; }

private:
    struct Held {
        HbbtvCommandPayload* payload;
        HbbtvServiceRequestAnswer* answer;
        unsigned int ticket; // as handed over: the records may be freed by the time it is read
    };

    std::mutex m_heldMutex;
    std::vector<Held> m_held;    // never answered, or answered for an unknown ticket
    std::vector<Held> m_stalled; // held while stalled
    bool m_stalling = false;
    unsigned int m_stallBudgetMs = 0;
    std::atomic<size_t> m_stalledRequests{0};
    std::atomic<size_t> m_stalledComponentLists{0};
};

} // namespace hbbtv_soak

#endif
