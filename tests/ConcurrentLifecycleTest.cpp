// Host calls on other threads while the wrapper is de-initialised or initialised: a call either
// is refused or runs on the manager it took, which stays alive and, once torn down, refuses
// without reaching the browser or the host.
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "support/Television.h"
#include "ZR_HBBTV.implIPC_p.h"

using hbbtv_sim::KeyEvent;
using hbbtv_sim::KeyReply;
using hbbtv_test::Television;
using std::chrono::milliseconds;

namespace {

const milliseconds kWait(5000);
const unsigned int kRed = 398; // reaches the browser as 403

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
    const HbbtvMultimediaComponentData component{"en", "audio", 1, false, 2, 3};
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
    manager->notifyChannelChanged(1, 2, 3);
    manager->notifyProgrammeChanged(1, 2, 3);
    manager->notifySignalLost();
    manager->notifyTunerPlundered();
    manager->tunerStopped(true);
    manager->noAITNotification(0);
    manager->notifyStreamEvent("dvb://1.2.3", "event", "data", "trigger");
    manager->notifyChannelListChanged();
    manager->notifyTimezoneChanged("UTC");
    manager->notifyLocaleChanged("en");
    manager->closeUserCreatedApps();
    manager->killCurrentApp();
    manager->selectMMAudioComponent(component);
    manager->selectMMSubtitleComponent(component);
    manager->forceReleaseMMResource();
    manager->setCookiesEnabledAttribute(true);
    manager->SetHbbTVRunningStatus(true);

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

TEST(ConcurrentLifecycle, HostCallsRacingInitAndDeinitAreAnsweredOrRefused)
{
    Television tv;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = tv.wrapper;
    const int kCycles = 2000;
    const int kMaxPasses = 10000;
    std::atomic<int> callersStarted(0);
    std::atomic<int> cyclersDone(0);

    // Each pass calls a spread of operations: on the bound manager at first, then on whatever
    // the cycles leave.
    auto caller = [&] {
        ZR_HBBTV_Core::AITApps apps;
        apps.count = 0;
        const HbbtvMultimediaComponentData component{"en", "audio", 1, false, 2, 3};
        for (int pass = 0; pass < kMaxPasses && cyclersDone < 2; ++pass) {
            wrapper->keyClick(kRed);
            wrapper->toggleDigitalTeletext();
            wrapper->notifyChannelChanged(1, 2, 3);
            wrapper->newAITNotification(1, apps);
            wrapper->tunerStopped(false);
            const int app = wrapper->prepareCreateApplication();
            wrapper->createApplication(app, "http://app.example/", "");
            wrapper->closeUserCreatedApps();
            wrapper->notifyStreamEvent("dvb://1.2.3", "event", "data", "trigger");
            wrapper->setCookiesEnabledAttribute(pass % 2 == 0);
            wrapper->isBrowserReady();
            wrapper->notifyLocaleChanged("en");
            wrapper->SetHbbTVRunningStatus(true);
            wrapper->isAppAlive(app);
            wrapper->setupEnvVar("A", "B");
            wrapper->notifyChannelListChanged();
            wrapper->selectMMAudioComponent(component);
            wrapper->forceReleaseMMResource();
            wrapper->notifySignalLost();
            if (pass == 0) {
                ++callersStarted;
            }
        }
    };
    // Two threads cycle init and deinit in opposite phase, so that an init also meets a deinit.
    // They start once every caller has made a pass on the bound manager.
    auto cycler = [&](bool deinitFirst) {
        while (callersStarted < 3) {
            std::this_thread::yield();
        }
        for (int cycle = 0; cycle < kCycles; ++cycle) {
            if (deinitFirst) {
                wrapper->deinit();
                wrapper->init(&tv.host);
            } else {
                wrapper->init(&tv.host);
                wrapper->deinit();
            }
        }
        ++cyclersDone;
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back(caller);
    }
    threads.emplace_back(cycler, true);
    threads.emplace_back(cycler, false);
    for (std::thread& thread : threads) {
        thread.join();
    }
    // The bound manager's keys went out whole: each a press with an even id, then its release.
    const std::vector<KeyEvent> events = tv.browser.service()->record().keyEvents;
    EXPECT_GE(events.size(), 6u);
    for (const KeyEvent& event : events) {
        EXPECT_EQ(std::make_tuple(403, event.eventId % 2 == 0 ? 1 : 0), std::make_tuple(event.keyCode, event.pressed));
    }

    wrapper->deinit();
    EXPECT_FALSE(wrapper->keyClick(kRed));
    EXPECT_EQ(0, wrapper->toggleDigitalTeletext());
    EXPECT_EQ(0, wrapper->prepareCreateApplication());
    EXPECT_FALSE(wrapper->isAppAlive(1));
    EXPECT_EQ(nullptr, wrapper->setupEnvVar("A", "B"));
}
