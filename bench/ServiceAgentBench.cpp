// Round trip of one request through the service agent, with a host that answers at once on its
// own thread, against a minimal relay built here with the same hops (requester -> relay thread ->
// host thread -> relay thread -> requester, condition-variable queues and a semaphore). Prints
// p50 and p99 of one requester's round trips and the ratio of the p50s, then throughput with 1, 4
// and 16 requesters.
#include <semaphore.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.ServiceAgent.h"
#include "HostAnswerThread.h"

using namespace ZR_HBBTV_Core;

namespace {

typedef std::chrono::steady_clock Clock;

template <typename T>
class BlockingQueue {
public:
    void push(T item)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_items.push_back(item);
        }
        m_ready.notify_one();
    }
    T pop()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ready.wait(lock, [this] { return !m_items.empty(); });
        T item = m_items.front();
        m_items.pop_front();
        return item;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<T> m_items;
};

// The minimal relay: the same hops as the agent, nothing else.
class Relay {
public:
    struct Request {
        sem_t done;
        bool answered = false;
    };

    Relay() : m_relayThread([this] { relay(); }), m_hostThread([this] { host(); })
    {
        m_relayThread.detach();
        m_hostThread.detach();
    }

    void request(Request& request)
    {
        m_toRelay.push(Message{false, &request});
        while (sem_wait(&request.done) != 0) {
        }
    }

private:
    struct Message {
        bool completion;
        Request* request;
    };

    void relay()
    {
        for (;;) {
            const Message message = m_toRelay.pop();
            if (message.completion) {
                sem_post(&message.request->done);
            } else {
                m_toHost.push(message.request);
            }
        }
    }
    void host()
    {
        for (;;) {
            Request* request = m_toHost.pop();
            request->answered = true;
            m_toRelay.push(Message{true, request});
        }
    }

    BlockingQueue<Message> m_toRelay;
    BlockingQueue<Request*> m_toHost;
    std::thread m_relayThread;
    std::thread m_hostThread;
};

class AgentIssuer : public ServiceRequestIssuer {
public:
    AgentIssuer()
        : m_host([](const HbbtvCommandPayload&) { return hbbtv_sim::HostDecision(); },
                 [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) { answer.valid = 1; },
                 [](const HbbtvCommandPayload&, unsigned int ticket) { getServiceAgent()->response(ticket); })
    {
    }
    bool operator()(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer) override
    {
        m_host.post(payload, answer);
        return true;
    }

private:
    hbbtv_sim::HostAnswerThread m_host;
};

std::atomic<unsigned int> g_tickets{0};

// One requester's reusable records for the agent path.
struct AgentRequester {
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload{new HbbtvCommandPayload(DVBMediaPlayer_OpenVideo)};

    void roundTrip()
    {
        payload->ticket = ++g_tickets;
        payload->timeoutMs = HbbtvCommandPayload::kDefaultTimeoutMs;
        answer->valid = 0;
        getServiceAgent()->request(payload.get(), answer.get());
        if (!answer->valid) {
            fprintf(stderr, "request %u not answered\n", payload->ticket);
            abort();
        }
    }
};

struct RelayRequester {
    Relay* relay;
    Relay::Request request;

    explicit RelayRequester(Relay* r) : relay(r) { sem_init(&request.done, 0, 0); }
    ~RelayRequester() { sem_destroy(&request.done); }
    void roundTrip()
    {
        request.answered = false;
        relay->request(request);
    }
};

template <typename Requester>
void measure(Requester& requester, int count, std::vector<double>& microseconds)
{
    for (int i = 0; i < count; ++i) {
        const Clock::time_point start = Clock::now();
        requester.roundTrip();
        microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
}

double percentile(const std::vector<double>& sorted, double p)
{
    return sorted[static_cast<size_t>(p * static_cast<double>(sorted.size() - 1))];
}

// Requests per second with this many requesters, each running for the given time.
template <typename MakeRequester>
double throughput(int threads, double seconds, MakeRequester make)
{
    std::atomic<long> done{0};
    std::vector<std::thread> workers;
    const Clock::time_point end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                                      std::chrono::duration<double>(seconds));
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&] {
            auto requester = make();
            long count = 0;
            while (Clock::now() < end) {
                requester->roundTrip();
                ++count;
            }
            done += count;
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    return static_cast<double>(done.load()) / seconds;
}

} // namespace

int main(int argc, char** argv)
{
    const int count = argc > 1 ? atoi(argv[1]) : 20000;
    const double seconds = argc > 2 ? atof(argv[2]) : 1.0;
    const std::string suffix = ".bench" + std::to_string(getpid());
    setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);

    // Both run until the process ends, like the agent itself.
    AgentIssuer* issuer = new AgentIssuer();
    getServiceAgent()->start(issuer);
    Relay* relay = new Relay();

    AgentRequester agentRequester;
    RelayRequester relayRequester(relay);
    // Rounds alternate between the two, so that drift in the machine's speed reaches both alike.
    std::vector<double> agent, minimal, warmUp;
    measure(agentRequester, 1000, warmUp);
    measure(relayRequester, 1000, warmUp);
    const int rounds = 20;
    for (int round = 0; round < rounds; ++round) {
        measure(agentRequester, count / rounds, agent);
        measure(relayRequester, count / rounds, minimal);
    }
    std::sort(agent.begin(), agent.end());
    std::sort(minimal.begin(), minimal.end());

    printf("round trip of one request, %d requests, microseconds\n", count);
    printf("%-14s %10s %10s\n", "", "p50", "p99");
    printf("%-14s %10.1f %10.1f\n", "agent", percentile(agent, 0.5), percentile(agent, 0.99));
    printf("%-14s %10.1f %10.1f\n", "minimal relay", percentile(minimal, 0.5), percentile(minimal, 0.99));
    printf("p50 ratio agent / relay: %.2f\n\n", percentile(agent, 0.5) / percentile(minimal, 0.5));

    printf("throughput, requests per second over %.1f s\n", seconds);
    printf("%-10s %14s %14s\n", "requesters", "agent", "minimal relay");
    for (int threads : {1, 4, 16}) {
        const double a = throughput(threads, seconds, [] { return std::make_unique<AgentRequester>(); });
        const double r = throughput(threads, seconds, [relay] { return std::make_unique<RelayRequester>(relay); });
        printf("%-10d %14.0f %14.0f\n", threads, a, r);
    }
    fflush(stdout);
    // The agent's, the host's and the relay's threads are never stopped, so exit handlers are
    // skipped; the region's name goes here instead.
    backendMallocUninit();
    _exit(0);
}
