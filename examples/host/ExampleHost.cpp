// A minimal host in the style of a television's middleware. It loads the HbbTV backend glue with
// dlopen, creates and initialises the wrapper with its own Hbbtv_TVServer, answers the backend
// commands it receives on a thread of its own, reports each completion through
// notifyHbbtvServiceRequestFinished, and tears everything down.
//
//   example_host [--library PATH]
//
// On a television the browser sends the requests. Built with a platform that has the TV-service
// interface (see CMakeLists.txt), a stand-in for the browser makes three requests through the
// published TV service and the host checks what arrived; otherwise the host starts, finds no
// browser and stops. Exit status 0 when everything went as expected.
#include <dlfcn.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <HbbtvBackendGlue/ZR_HbbtvImplInterface.h>

#include "BrowserStandIn.h"

using ZR_HBBTV_Core::ZR_HbbtvImplInterface;

namespace {

// The host's answer to the parental-rating question (ConfigCommand_GetParental).
const int kParentalThreshold = 12;

// What the host keeps of a request it answered.
struct AnsweredRequest {
    int command;
    int param1;
    int param2;
    unsigned int ticket;
};

class ExampleHost : public Hbbtv_TVServer {
public:
    struct Request {
        HbbtvCommandPayload* payload;
        HbbtvServiceRequestAnswer* answer;
    };

    // Answers from now on, completing each request on the wrapper.
    void start(ZR_HbbtvImplInterface* wrapper)
    {
        m_wrapper = wrapper;
        m_thread = std::thread(&ExampleHost::answerLoop, this);
    }

    // Answers what is queued, then stops; call before the wrapper is destroyed.
    void stop()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
        }
        m_changed.notify_all();
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    // Waits up to five seconds for `count` completions.
    bool waitForAnswered(size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(5), [&] { return m_answered.size() >= count; });
    }

    std::vector<AnsweredRequest> answered()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_answered;
    }

    // Hbbtv_TVServer. The library calls these on its own threads (the service agent's, binder
    // threads): take note and return; the work happens on the host's thread.
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_queue.push_back(Request{static_cast<HbbtvCommandPayload*>(payload),
                                      static_cast<HbbtvServiceRequestAnswer*>(answer)});
        }
        m_changed.notify_all();
    }
    void HBBTV_CommandHandler(void*) override { puts("[host] command"); }
    void HBBTV_HeartBeatNotification() override { puts("[host] heartbeat"); }
    void HBBTV_LoadingNotification(int progress, const char* url) override
    {
        printf("[host] loading %d%% %s\n", progress, url != nullptr ? url : "");
    }
    void HBBTV_BrowserDiedNotification() override { puts("[host] the browser died"); }
    void HBBTV_NotifyUserAppCreated(int windowId, int appId) override
    {
        printf("[host] application %d in window %d\n", appId, windowId);
    }
    void HBBTV_DelegateAction(void (*action)(void*), void* argument) override { action(argument); }
    void HBBTV_ReportIsAnyAppRunning(bool running) override
    {
        printf("[host] applications running: %s\n", running ? "yes" : "no");
    }
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>& components,
                                                         int) override
    {
        printf("[host] %zu audio components\n", components.size());
    }
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int) override
    {
        printf("[host] %zu subtitle components\n", components.size());
    }

private:
    void answerLoop()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [&] { return m_stopping || !m_queue.empty(); });
            if (m_queue.empty()) {
                return;
            }
            const Request request = m_queue.front();
            m_queue.pop_front();
            lock.unlock();
            answer(*request.payload, *request.answer);
            // Once completed, the records belong to the library again (the requester frees them).
            const AnsweredRequest kept{request.payload->command, request.payload->param1,
                                       request.payload->param2, request.payload->ticket};
            // The library may call the host while it completes a request: no lock of ours is held.
            m_wrapper->notifyHbbtvServiceRequestFinished(request.payload);
            lock.lock();
            m_answered.push_back(kept);
            m_changed.notify_all();
        }
    }

    // Fills the answer record in place; `valid` tells the library that the host knew the command.
    static void answer(const HbbtvCommandPayload& payload, HbbtvServiceRequestAnswer& answer)
    {
        printf("[host] command %d (param1 %d, param2 %d) ticket %u\n", payload.command, payload.param1,
               payload.param2, payload.ticket);
        switch (payload.command) {
        case DVBMediaPlayer_CloseVideo:
            answer.intValue1 = 0;
            answer.valid = 1;
            break;
        case DVBMediaPlayer_SetDisplayWindow:
            // param1: x << 16 | y, param2: width << 16 | height.
            printf("[host] video window %d,%d %dx%d\n", payload.param1 >> 16, payload.param1 & 0xFFFF,
                   payload.param2 >> 16, payload.param2 & 0xFFFF);
            answer.valid = 1;
            break;
        case ConfigCommand_GetParental:
            answer.intValue1 = kParentalThreshold;
            answer.valid = 1;
            break;
        default:
            answer.valid = 0; // not a command this host serves
            break;
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Request> m_queue;
    std::vector<AnsweredRequest> m_answered;
    bool m_stopping = false;
    ZR_HbbtvImplInterface* m_wrapper = nullptr;
    std::thread m_thread;
};

typedef ZR_HbbtvImplInterface* (*CreateFunction)();
typedef void (*DestroyFunction)(ZR_HbbtvImplInterface*);

bool expect(bool condition, const char* what)
{
    printf("[host] %s: %s\n", condition ? "ok" : "FAILED", what);
    return condition;
}

// The requests the stand-in browser made, as the host must have received them.
bool checkAnswered(const std::vector<AnsweredRequest>& answered)
{
    bool ok = expect(answered.size() == 3, "three requests answered");
    if (answered.size() != 3) {
        return false;
    }
    ok &= expect(answered[0].command == DVBMediaPlayer_CloseVideo, "stopVideo arrived as command 301");
    ok &= expect(answered[1].command == DVBMediaPlayer_SetDisplayWindow
                     && answered[1].param1 == (100 << 16 | 50) && answered[1].param2 == (640 << 16 | 360),
                 "setViewport arrived as command 302 with the window packed in its parameters");
    ok &= expect(answered[2].command == ConfigCommand_GetParental, "the parental threshold arrived as command 103");
    ok &= expect(answered[0].ticket != answered[1].ticket && answered[1].ticket != answered[2].ticket,
                 "each request has a ticket of its own");
    return ok;
}

} // namespace

int main(int argc, char** argv)
{
    std::string library = EXAMPLE_HOST_GLUE_LIBRARY;
    if (argc == 3 && strcmp(argv[1], "--library") == 0) {
        library = argv[2];
    } else if (argc != 1) {
        fprintf(stderr, "usage: example_host [--library PATH]\n");
        return 2;
    }
    setvbuf(stdout, nullptr, _IOLBF, 0);

    // The library stays loaded until the process ends: its service agent thread never stops.
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        fprintf(stderr, "example_host: %s\n", dlerror());
        return 1;
    }
    const CreateFunction create = reinterpret_cast<CreateFunction>(dlsym(handle, "CreateHbbtvWrapper"));
    const DestroyFunction destroy = reinterpret_cast<DestroyFunction>(dlsym(handle, "DestroyHbbtvWrapper"));
    if (create == nullptr || destroy == nullptr) {
        fprintf(stderr, "example_host: %s does not export the wrapper's factory\n", library.c_str());
        return 1;
    }
    printf("[host] loaded %s\n", library.c_str());

    ExampleHost host;
    ZR_HbbtvImplInterface* wrapper = create();
    host.start(wrapper);  // ready to answer before anything can ask
    wrapper->init(&host); // publishes the TV service and starts the library's service agent

    bool ok = expect(!wrapper->isBrowserReady(), "no browser is bound before one registers");
    wrapper->notifyChannelChanged(1, 1019, 10301);
    wrapper->setCookiesEnabledAttribute(true);

    if (browser_stand_in::available()) {
        int threshold = 0;
        ok &= expect(browser_stand_in::makeRequests(threshold), "the stand-in browser found the TV service");
        ok &= expect(host.waitForAnswered(3), "the host answered every request");
        ok &= checkAnswered(host.answered());
        ok &= expect(threshold == kParentalThreshold, "the host's answer reached the browser");
    } else {
        puts("[host] built without a browser stand-in: no requests to answer");
        ok &= expect(host.answered().empty(), "no request arrived without a browser");
    }

    // Stop answering before the wrapper goes: a completion must not reach a destroyed wrapper.
    host.stop();
    destroy(wrapper);
    puts(ok ? "[host] done" : "[host] done, with failures");
    return ok ? 0 : 1;
}
