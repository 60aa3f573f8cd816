// A host may call any wrapper operation from inside any callback the library makes, on whatever
// thread the callback comes, and the library neither deadlocks nor stalls; and what the host
// calls after deinit finishes at once.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "HbbtvBackendTVService.h"
#include "ZR_HBBTV.implIPC_p.h"
#include "support/HookedHost.h"
#include "support/Television.h"

using hbbtv_test::Television;
using hbbtv_test::callEveryOperation;
using std::chrono::milliseconds;

namespace {

const milliseconds kWait(5000);

// A host that, the first time each of its callbacks is made, calls every wrapper operation from
// inside it before it goes on as the simulated host does.
class ReentrantHost : public hbbtv_test::HookedHost {
public:
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = nullptr;
    std::function<void()> restartBrowser;
    std::atomic<bool> done[kCallbacks] = {};

private:
    void before(Callback callback) override
    {
        // As a television does: the browser is restarted before it is bound again.
        if (callback == Died && restartBrowser) {
            restartBrowser();
        }
        if (callback != Command && callback != HeartBeat && !m_started[callback].exchange(true)) {
            callEveryOperation(wrapper);
            done[callback] = true;
        }
    }
    std::atomic<bool> m_started[kCallbacks] = {};
};

// Runs what triggers a callback; a deadlock fails the test and ends the process, which could not
// be torn down with a thread stuck inside the library.
void within(const char* what, const std::function<void()>& trigger, const std::atomic<bool>& done)
{
    std::packaged_task<void()> task(trigger);
    std::future<void> finished = task.get_future();
    std::thread(std::move(task)).detach();
    const auto deadline = std::chrono::steady_clock::now() + kWait;
    while (!(finished.wait_for(milliseconds(10)) == std::future_status::ready && done)) {
        if (std::chrono::steady_clock::now() > deadline) {
            printf("stuck inside the host's %s callback\n", what);
            fflush(stdout);
            _exit(1);
        }
    }
}

} // namespace

TEST(HostReentrancy, EveryWrapperOperationFromInsideEveryCallback)
{
    hbbtv_test::BasicTelevision<ReentrantHost> tv(Television::Unbound);
    tv.host.wrapper = tv.wrapper;
    hbbtv_sim::SimulatedBrowser& browser = tv.browser;
    tv.host.restartBrowser = [&] { browser.publish(); };
    tv.bind(true);
    ReentrantHost& host = tv.host;
    const std::vector<MultimediaComponentData> components(1);

    within("request hand-over", [&] { browser.tvService()->stopVideo(); }, host.done[ReentrantHost::Request]);
    within("loading", [&] { browser.notifyLoadStarted(3, "http://app.example/"); },
        host.done[ReentrantHost::Loading]);
    within("any-app-running", [&] { browser.notifyNewWindow(5); }, host.done[ReentrantHost::AnyAppRunning]);
    within("audio components", [&] { browser.notifyAudioComponentsChanged(components, 1); },
        host.done[ReentrantHost::Audio]);
    within("subtitle components", [&] { browser.notifySubtitleComponentsChanged(components, 1); },
        host.done[ReentrantHost::Subtitles]);
    within("browser death", [&] { browser.die(); }, host.done[ReentrantHost::Died]);
}

TEST(HostReentrancy, CompletionsAndTeletextAreNotHeldUpByALaunchThatIsStillLookingUp)
{
    Television tv(Television::Unbound);
    tv.wrapper->init(&tv.host);
    // No browser is published: the launch looks up once a second for ten seconds.
    std::thread launch([&] { tv.wrapper->launchBrowser(); });
    std::this_thread::sleep_for(milliseconds(100));
    const auto start = std::chrono::steady_clock::now();
    tv.wrapper->toggleDigitalTeletext();
    HbbtvCommandPayload stray(TunerCommand_GetAVInfo);
    tv.wrapper->notifyHbbtvServiceRequestFinished(&stray);
    tv.wrapper->isBrowserReady();
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(200));
    // Published meanwhile: the launch binds it at its next look-up.
    ASSERT_TRUE(tv.browser.publish());
    launch.join();
    EXPECT_EQ(1u, tv.browser.service()->record().clientRegistrations);
}

namespace ZR_HBBTV_Core {
struct TVServiceLocks {
    static Mutex& clients() { return HbbtvBackendTVService::instantiate(nullptr, nullptr)->m_clientsMutex; }
};
} // namespace ZR_HBBTV_Core

// Whoever holds a lock (the manager's across a slow browser call, the TV service's over its
// clients, or a host callback that toggles from inside a hand-over while another thread waits for
// the agent) does not hold up the toggle.
TEST(HostReentrancy, TeletextToggleTakesNoLock)
{
    Television tv;
    tv.browser.dsmccClient()->setTeletextAnswer(1);
    ZR_HBBTV_Core::Mutex& clients = ZR_HBBTV_Core::TVServiceLocks::clients();
    ZR_HBBTV_Core::ZR_HbbtvImplPrivate::m_mutex.lock();
    clients.lock();
    std::future<int> toggled = std::async(std::launch::async, [&] { return tv.wrapper->toggleDigitalTeletext(); });
    const bool done = toggled.wait_for(kWait) == std::future_status::ready;
    clients.unlock();
    ZR_HBBTV_Core::ZR_HbbtvImplPrivate::m_mutex.unlock();
    EXPECT_TRUE(done) << "the toggle waited for a lock";
    EXPECT_EQ(2, toggled.get()); // switched on, then reset with 0
    EXPECT_EQ((std::vector<int>{1, 0}), tv.browser.dsmccClient()->record().teletextToggles);
}

// The toggle reads the carousel client without a lock while the browser registers new ones: every
// toggle reaches a client that is alive (AddressSanitizer, with HBBTV_DELAY_SEED widening the gap
// between reading the client and holding it, reports one that is freed meanwhile).
TEST(HostReentrancy, TeletextTogglesRacingNewCarouselClientsReachLiveOnes)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a client's last use and its end are ordered by libutils' reference count, which "
                    "ThreadSanitizer does not see";
#endif
    Television tv;
    ZR_HBBTV_Core::HbbtvBackendTVService* const service
        = ZR_HBBTV_Core::HbbtvBackendTVService::instantiate(nullptr, nullptr);
    std::atomic<bool> toggling{true};
    std::atomic<int> registered{0};
    std::thread browser([&] {
        while (toggling) {
            service->registerDSMCCClient(new hbbtv_sim::SimulatedDSMCCClient);
            ++registered;
        }
    });
    while (registered == 0) {
        std::this_thread::yield();
    }
    const int toggles = 500;
    int answered = 0; // by a fresh client's 0, which the host gets as 1
    for (int i = 0; i < toggles; ++i) {
        answered += tv.wrapper->toggleDigitalTeletext() == 1;
    }
    toggling = false;
    browser.join();
    EXPECT_EQ(toggles, answered);
    EXPECT_GT(registered, 1);
}

TEST(HostReentrancy, ACompletionReportedAfterDeinitStillFreesTheGivenUpRecords)
{
    Television tv;
    tv.host.setDecisionFor(DVBMediaPlayer_OpenVideo, hbbtv_sim::HostDecision{hbbtv_sim::HostDecision::Never, 0});
    ZR_HBBTV_Core::HbbtvBackendTVService* const service
        = ZR_HBBTV_Core::HbbtvBackendTVService::instantiate(nullptr, nullptr);
    // Given up before deinit: the records stay with the agent for the host.
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(DVBMediaPlayer_OpenVideo));
    payload->timeoutMs = 0;
    HbbtvCommandPayload* const handedOver = payload.get();
    ASSERT_FALSE(service->sendServiceRequest(payload, answer));
    ASSERT_EQ(1u, tv.host.record().requests.size());
    EXPECT_EQ(1u, ZR_HBBTV_Core::getServiceAgent()->givenUpRequests());

    tv.wrapper->deinit();
    // The host reports the given-up request after deinit: its records are freed.
    tv.wrapper->notifyHbbtvServiceRequestFinished(handedOver);
    for (int i = 0; i < 100 && ZR_HBBTV_Core::getServiceAgent()->givenUpRequests() != 0; ++i) {
        std::this_thread::sleep_for(milliseconds(10));
    }
    EXPECT_EQ(0u, ZR_HBBTV_Core::getServiceAgent()->givenUpRequests());
    // (The browser's requests after deinit, refused at once: EndToEnd.AfterTeardown....)
}
