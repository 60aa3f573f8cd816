// Host calls on other threads while the wrapper is de-initialised or initialised: a call either
// is refused or runs on the manager it took, which stays alive and, once torn down, refuses
// without reaching the browser or the host.
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "support/ForkedCase.h"
#include "support/HookedHost.h"
#include "support/Television.h"
#include "ZR_HBBTV.implIPC_p.h"

using hbbtv_sim::KeyEvent;
using hbbtv_sim::KeyReply;
using hbbtv_test::Television;
using std::chrono::milliseconds;

namespace {

const milliseconds kWait(5000);
const unsigned int kRed = 398; // reaches the browser as 403

// A host that takes its server down once deinit has returned, as any host may: every call into it
// from then on is counted. Its loading callback can be held inside, and may call deinit itself.
class DepartingHost : public hbbtv_test::HookedHost {
public:
    std::atomic<bool> gone{false};
    std::atomic<int> callsAfterGone{0};
    std::atomic<int> insideLoading{0};
    std::atomic<bool> holdLoading{false};
    std::atomic<bool> deinitFromLoading{false};
    std::atomic<int> insideRequest{0};
    std::atomic<bool> holdRequests{false};
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = nullptr;

private:
    void before(Callback callback) override
    {
        if (gone) {
            ++callsAfterGone;
        }
        if (callback == Request) {
            ++insideRequest;
            waitWhile(holdRequests);
        } else if (callback == Loading) {
            ++insideLoading;
            waitWhile(holdLoading);
            if (deinitFromLoading) {
                wrapper->deinit();
            }
        }
    }
    static void waitWhile(const std::atomic<bool>& held)
    {
        while (held) {
            std::this_thread::sleep_for(milliseconds(1));
        }
    }
    void after(Callback callback) override
    {
        if (callback == Loading) {
            --insideLoading;
        }
    }
};

typedef hbbtv_test::BasicTelevision<DepartingHost> DepartingTelevision;

bool waitFor(const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + kWait;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

} // namespace

TEST(ConcurrentLifecycle, DeinitDuringAKeysWaitLetsKeyClickAnswerAsForAKeyNeverAnswered)
{
    Television tv;
    tv.browser.service()->setKeyReply(KeyReply{false, false, 0});
    bool consumed = false;
    std::thread host([&] { consumed = tv.wrapper->keyClick(kRed); });
    // Both events are with the browser: the host thread waits for a verdict that never comes.
    EXPECT_TRUE(tv.browser.service()->waitForKeyEvents(2, kWait));
    tv.wrapper->deinit();
    host.join();
    EXPECT_TRUE(consumed);

    const std::vector<KeyEvent> events = tv.browser.service()->record().keyEvents;
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ(std::make_tuple(0, 403, 1), std::make_tuple(events[0].eventId, events[0].keyCode, events[0].pressed));
    EXPECT_EQ(std::make_tuple(1, 403, 0), std::make_tuple(events[1].eventId, events[1].keyCode, events[1].pressed));
    EXPECT_FALSE(tv.wrapper->keyClick(kRed));
    EXPECT_EQ(2u, tv.browser.service()->record().keyEvents.size());
}

TEST(ConcurrentLifecycle, ATornDownManagerRefusesWhatTheWrapperForwards)
{
    // What a host call that took the manager just before deinit finds when it runs after it.
    hbbtv_sim::SimulatedHost host;
    hbbtv_sim::SimulatedBrowser browser;
    ASSERT_TRUE(browser.publish());
    const android::sp<ZR_HBBTV_Core::ZR_HbbtvImplPrivate> manager = new ZR_HBBTV_Core::ZR_HbbtvImplPrivate(&host);
    manager->init();
    ASSERT_TRUE(manager->launchBrowser());
    ASSERT_TRUE(browser.registerClients());
    ASSERT_TRUE(manager->isAppAlive(1));
    ASSERT_STREQ("0", manager->setupEnvVar("A", "B"));
    manager->teardown();

    ZR_HBBTV_Core::AITApps apps;
    apps.count = 0;
    EXPECT_EQ(2, manager->toggleDigitalTeletext()); // the wrapper's 0
    EXPECT_FALSE(manager->newAITNotification(1, apps));
    EXPECT_FALSE(manager->launchBrowser());
    EXPECT_FALSE(manager->keyClick(kRed));
    EXPECT_EQ(0, manager->prepareCreateApplication());
    EXPECT_EQ(0, manager->createApplication(1, "http://app.example/", ""));
    EXPECT_FALSE(manager->isBrowserReady());
    EXPECT_FALSE(manager->isAppAlive(1));
    EXPECT_EQ(nullptr, manager->setupEnvVar("A", "B"));
    // No verdict is taken any more: a wait for one ends at once, not when its time is up.
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(manager->waitKeyHandled(5.0));
    EXPECT_LT(std::chrono::steady_clock::now() - start, kWait);
    hbbtv_test::callEveryOperation(manager.get());

    const hbbtv_sim::BrowserServiceRecord service = browser.service()->record();
    EXPECT_TRUE(service.keyEvents.empty());
    EXPECT_TRUE(service.createdWindows.empty());
    EXPECT_TRUE(service.browserEnv.empty());
    EXPECT_TRUE(service.componentSelections.empty());
    EXPECT_EQ(0u, service.mmResourceReleases);
    const hbbtv_sim::ChannelManagerRecord channels = browser.channelManagerClient()->record();
    EXPECT_TRUE(channels.channelChanges.empty());
    EXPECT_TRUE(channels.channelLists.empty());
    EXPECT_TRUE(channels.tunerStops.empty());
    EXPECT_TRUE(channels.tunerStates.empty());
    EXPECT_EQ(0u, channels.programmeChanges);
    EXPECT_TRUE(browser.aitSignallingClient()->record().noAITs.empty());
    EXPECT_TRUE(browser.dsmccClient()->record().streamEvents.empty());
    EXPECT_TRUE(host.record().requests.empty());
}

TEST(ConcurrentLifecycle, DeinitReturnsOnlyOnceNoCallIntoTheHostIsRunning)
{
    DepartingTelevision tv;
    tv.host.holdLoading = true;
    std::thread browser([&] { tv.browser.notifyLoadStarted(2, "http://app.example/"); });
    ASSERT_TRUE(waitFor([&] { return tv.host.insideLoading == 1; }));

    std::atomic<bool> returned{false};
    std::thread host([&] {
        tv.wrapper->deinit();
        returned = true;
        tv.host.gone = true;
    });
    // Held inside the host's callback: deinit must not return meanwhile.
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_FALSE(returned);
    tv.host.holdLoading = false;
    host.join();
    browser.join();
    EXPECT_TRUE(returned);
    EXPECT_EQ(0, tv.host.insideLoading);
    EXPECT_EQ(1u, tv.host.record().loading.size());
    // (What the browser does after deinit reaches nothing: the state-machine property.)
}

TEST(ConcurrentLifecycle, ARequestHandedOverAfterDeinitFinishesAtOnceWithoutReachingTheHost)
{
    DepartingTelevision tv;
    tv.host.holdRequests = true;
    std::thread first([&] {
        NCOR::ChannelTunerData channel;
        tv.browser.tvService()->getCurrentChannel(channel);
    });
    ASSERT_TRUE(waitFor([&] { return tv.host.insideRequest == 1; }));
    // The second passes the service before teardown and waits in the agent's queue behind the first.
    bool secondAnswered = true;
    std::chrono::steady_clock::time_point secondDone;
    std::thread second([&] {
        NCOR::ChannelTunerData channel;
        secondAnswered = tv.browser.tvService()->getCurrentChannel(channel);
        secondDone = std::chrono::steady_clock::now();
    });
    ASSERT_TRUE(waitFor([] { return ZR_HBBTV_Core::GetServiceTask::live() == 2; }));
    std::thread host([&] {
        tv.wrapper->deinit();
        tv.host.gone = true;
    });
    ASSERT_TRUE(waitFor([&] { return !tv.wrapper->isBrowserReady(); }));
    const auto released = std::chrono::steady_clock::now();
    tv.host.holdRequests = false;
    host.join();
    second.join();
    first.join();
    // Its budget is ten seconds and the agent's one more: it ended as soon as the agent got to it.
    EXPECT_LT(secondDone - released, std::chrono::seconds(2));
    EXPECT_FALSE(secondAnswered);
    EXPECT_EQ(1, tv.host.insideRequest);
    EXPECT_EQ(0, tv.host.callsAfterGone);
}

TEST(ConcurrentLifecycle, DeinitFromInsideCallbacksOnTwoThreadsReturnsOnBoth)
{
    DepartingTelevision tv;
    tv.host.wrapper = tv.wrapper;
    tv.host.holdLoading = true;
    tv.host.deinitFromLoading = true;
    std::atomic<int> returned{0};
    std::vector<std::thread> browsers;
    for (int load = 2; load < 4; ++load) {
        browsers.emplace_back([&, load] {
            tv.browser.notifyLoadStarted(load, "http://app.example/" + std::to_string(load));
            ++returned;
        });
    }
    ASSERT_TRUE(waitFor([&] { return tv.host.insideLoading == 2; }));
    tv.host.holdLoading = false;
    // Each waits for the other's call, which waits the same way: neither may wait for ever.
    EXPECT_TRUE(waitFor([&] { return returned == 2; })) << "deinit called from inside callbacks deadlocked";
    for (std::thread& thread : browsers) {
        thread.join();
    }
    EXPECT_FALSE(tv.wrapper->isBrowserReady());
}

namespace {

// One real init-deinit race, run in a process of its own (the killed latch is the process's): callers
// spread over the wrapper's operations, the browser reports windows, loads and components, and a
// request waits on the host, while one thread de-initialises and re-initialises and another
// initialises and de-initialises. Returns what went wrong, or nothing.
std::string raceOnce(int cycle)
{
    DepartingTelevision tv;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = tv.wrapper;
    std::atomic<int> started(0);
    std::atomic<bool> stop(false);
    auto caller = [&] {
        for (int pass = 0; !stop; ++pass) {
            wrapper->keyClick(kRed);
            hbbtv_test::callEveryOperation(wrapper);
            if (pass == 0) {
                ++started;
            }
        }
    };
    auto browser = [&] {
        const std::vector<MultimediaComponentData> components(1);
        for (int load = 2; !stop; ++load) {
            tv.browser.notifyNewWindow(load);
            tv.browser.notifyLoadStarted(load, "http://app.example/");
            tv.browser.notifyLoadProgress(load, 50);
            tv.browser.notifyLoadComplete(load);
            tv.browser.service()->mmClient()->notifyAudioComponentsChanged(components, load);
            tv.browser.notifyWindowClosed(load);
            if (load == 2) {
                ++started;
            }
        }
    };
    auto requester = [&] {
        NCOR::ChannelTunerData channel;
        for (int round = 0; !stop; ++round) {
            tv.browser.tvService()->getCurrentChannel(channel);
            if (round == 0) {
                ++started;
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back(caller);
    }
    threads.emplace_back(browser);
    threads.emplace_back(requester);
    while (started < 5) {
        std::this_thread::yield();
    }
    // The race starts a little later in every cycle, so that the cycles meet the others at
    // different points of their rounds.
    std::this_thread::sleep_for(std::chrono::microseconds(cycle * 97 % 1000));
    std::thread deinitFirst([&] {
        wrapper->deinit();
        tv.host.gone = true;
        wrapper->init(&tv.host);
    });
    std::thread initFirst([&] {
        wrapper->init(&tv.host);
        wrapper->deinit();
    });
    deinitFirst.join();
    initFirst.join();
    std::this_thread::sleep_for(milliseconds(5));
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::string failures;
    if (tv.host.callsAfterGone != 0) {
        failures += std::to_string(tv.host.callsAfterGone) + " calls into the host after deinit returned; ";
    }
    // The bound manager's keys went out whole: each a press with an even id, then its release.
    for (const KeyEvent& event : tv.browser.service()->record().keyEvents) {
        if (event.keyCode != 403 || event.pressed != (event.eventId % 2 == 0 ? 1 : 0)) {
            failures += "a key event " + std::to_string(event.eventId) + " out of its pair; ";
        }
    }
    wrapper->deinit();
    if (wrapper->keyClick(kRed) || wrapper->toggleDigitalTeletext() != 0 || wrapper->prepareCreateApplication() != 0 ||
        wrapper->isAppAlive(1) || wrapper->setupEnvVar("A", "B") != nullptr) {
        failures += "an operation answered after the last deinit; ";
    }
    return failures;
}

} // namespace

TEST(ConcurrentLifecycle, HostCallsRacingInitAndDeinitAreAnsweredOrRefused)
{
    for (int cycle = 0; cycle < 12; ++cycle) {
        const std::string failures = hbbtv_test::inChildProcess([cycle] {
            const std::string found = raceOnce(cycle);
            if (!found.empty()) {
                throw std::runtime_error(found);
            }
        });
        ASSERT_EQ("", failures) << "cycle " << cycle;
    }
}
