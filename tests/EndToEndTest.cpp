// The library end to end as a television runs it: the host creates the wrapper through the
// exported factory, the simulated browser publishes its service and registers its clients
// through the TV service, requests travel from the browser to the host and back, the browser dies
// and is bound again, and the host tears everything down.
#include <android/log.h>

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendTVService.h"
#include "support/AssertDeath.h"
#include "support/Television.h"

using hbbtv_test::Television;

namespace {

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

TEST(EndToEnd, BindingAndRequestsRoundTrip)
{
    Television tv(Television::Unbound);
    tv.wrapper->init(&tv.host);
    hbbtv_sim::SimulatedHost otherHost;
    tv.wrapper->init(&otherHost); // ignored: the first server stays
    EXPECT_FALSE(tv.wrapper->isBrowserReady());

    ASSERT_TRUE(tv.browser.publish());
    EXPECT_TRUE(tv.wrapper->launchBrowser());
    EXPECT_EQ(1u, tv.browser.service()->record().clientRegistrations);
    EXPECT_EQ(1u, tv.browser.service()->record().mmClientRegistrations);
    EXPECT_FALSE(tv.wrapper->isBrowserReady()); // bound, but no AIT client yet
    ASSERT_TRUE(tv.browser.registerClients());
    EXPECT_TRUE(tv.wrapper->isBrowserReady());

    // A request reaches the first host only (what comes back is the request property's).
    tv.browser.tvService()->stopVideo();
    EXPECT_EQ(1u, tv.host.record().requests.size());
    EXPECT_TRUE(otherHost.record().requests.empty());
}

TEST(EndToEnd, AfterTeardownClientsAreReleasedNothingPassesAndOperationsRefuse)
{
    Television tv;
    const android::sp<ITVService> service = tv.browser.tvService();
    const android::sp<IYXTClient> client = tv.browser.service()->client();
    ASSERT_NE(nullptr, client);
    // Clients that only the library holds: once it lets them go, they are gone.
    std::vector<android::wp<android::RefBase>> released;
    {
        const android::sp<IAITSignallingClient> a = new hbbtv_sim::SimulatedAITSignallingClient;
        const android::sp<IChannelManagerClient> c = new hbbtv_sim::SimulatedChannelManagerClient;
        const android::sp<IDSMCCClient> d = new hbbtv_sim::SimulatedDSMCCClient;
        const android::sp<ITvConfigurationClient> t = new hbbtv_sim::SimulatedTvConfigurationClient;
        service->registerAITSignallingClient(a);
        service->registerChannelManagerClient(c);
        service->registerDSMCCClient(d);
        service->registerTvConfigurationClient(t);
        released = { a.get(), c.get(), d.get(), t.get() };
    }
    tv.wrapper->SetHbbTVRunningStatus(true);
    const hbbtv_sim::BrowserServiceRecord before = tv.browser.service()->record();
    tv.destroyWrapper();
    for (const android::wp<android::RefBase>& client : released) {
        EXPECT_EQ(nullptr, client.promote());
    }

    // The browser still holds the TV service and the manager's clients: every call is refused at
    // once with its failure value, and nothing reaches the host or the browser. (The browser's
    // reports, its death and the configuration requests after teardown are the properties'.)
    const auto start = std::chrono::steady_clock::now();
    NCOR::ChannelTunerData channel;
    std::vector<NCOR::ChannelTunerData*> list;
    std::vector<NCOR::ProgrammeData*> programmes;
    std::string text = "kept";
    EXPECT_EQ(0, static_cast<int>(service->tune(channel)));
    EXPECT_FALSE(service->getCurrentChannel(channel));
    EXPECT_FALSE(service->getChannelList(list));
    EXPECT_FALSE(service->requestOCResourceMount("dvb://1.2.3.4/", text));
    EXPECT_FALSE(service->getAllProgrammesForChannel(channel, programmes));
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED, service->scheduleRecording(NCOR::RecordingData()));
    service->getProgrammes(programmes);
    EXPECT_EQ("kept", text);
    EXPECT_TRUE(list.empty() && programmes.empty());
    service->registerAITSignallingClient(tv.browser.aitSignallingClient());
    client->notifyKeyEventConsumed(1, true);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_TRUE(tv.host.record().requests.empty());
    EXPECT_EQ(before.keyEvents.size(), tv.browser.service()->record().keyEvents.size());
    EXPECT_TRUE(tv.browser.aitSignallingClient()->record().newAITs.empty());
    // A wrapper initialised again refuses: the state-machine property.
}

TEST(EndToEnd, NullClientsAndAnUnboundBrowserAreRefusedNotFollowed)
{
    Television tv(Television::Unbound);
    tv.wrapper->init(&tv.host);
    EXPECT_FALSE(tv.wrapper->keyClick(398)); // no browser bound: at once, without waiting
    ASSERT_TRUE(tv.browser.publish());
    ASSERT_TRUE(tv.wrapper->launchBrowser());
    ASSERT_TRUE(tv.browser.registerClients());
    ASSERT_TRUE(tv.wrapper->isBrowserReady());

    const android::sp<ITVService> service = tv.browser.tvService();
    service->registerAITSignallingClient(nullptr);
    service->registerChannelManagerClient(nullptr);
    service->registerDSMCCClient(nullptr);
    service->registerTvConfigurationClient(nullptr);
    EXPECT_FALSE(tv.wrapper->isBrowserReady());
    ZR_HBBTV_Core::AITApps apps;
    apps.count = 0;
    EXPECT_FALSE(tv.wrapper->newAITNotification(1, apps));
    tv.wrapper->notifyChannelChanged(1, 2, 3);
    tv.wrapper->tunerStopped(true);
    tv.wrapper->notifyStreamEvent("dvb://1.2.3", "event", "data", "trigger");
    tv.wrapper->notifyChannelListChanged();
    EXPECT_EQ(0, tv.wrapper->toggleDigitalTeletext()); // no teletext client: "not handled"
    EXPECT_TRUE(tv.browser.channelManagerClient()->record().channelChanges.empty());
    EXPECT_TRUE(tv.browser.dsmccClient()->record().streamEvents.empty());
}

TEST(EndToEnd, KeyClickWaitsForTheBrowsersVerdict)
{
    Television tv;
    const int red = 398;
    tv.browser.service()->setKeyReply(hbbtv_sim::KeyReply{true, false, 5});
    // Neither event consumed: the host handles the key. Each click returns once its verdict is
    // in; five that waited out the 0.3 s each would take 1.5 s.
    const auto verdicts = std::chrono::steady_clock::now();
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(tv.wrapper->keyClick(red));
    }
    EXPECT_LT(secondsSince(verdicts), 1.0);
    tv.browser.service()->setKeyReply(hbbtv_sim::KeyReply{true, true, 5});
    EXPECT_TRUE(tv.wrapper->keyClick(red));
    // A verdict that comes long after the wait began is still the one returned.
    tv.browser.service()->setKeyReply(hbbtv_sim::KeyReply{true, false, 60});
    EXPECT_FALSE(tv.wrapper->keyClick(red));

    // No answer within about 0.3 s counts as consumed. (A key HbbTV does not handle, refused at
    // once without an event, is the state-machine property's.)
    tv.browser.service()->setKeyReply(hbbtv_sim::KeyReply{false, false, 0});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(tv.wrapper->keyClick(red));
    EXPECT_GE(secondsSince(start), 0.3);
}

TEST(EndToEnd, DefaultBodiesAnswerThroughTheService)
{
    static std::vector<std::string> lines;
    __android_log_set_logger([](const __android_logger_data*, const char* message) {
        if (std::string(message).rfind("NOT IMPLEMENTED", 0) == 0) {
            lines.push_back(message);
        }
    });
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    Television tv; // the browser's registration of its recording client reaches a default body too
    ASSERT_EQ(1u, lines.size());
    lines.clear();
    const android::sp<ITVService> service = tv.browser.tvService();
    service->registerRecordingManagerClient(tv.browser.recordingManagerClient());
    EXPECT_EQ(100, static_cast<int>(service->bindToCurrentInput()));
    ASSERT_EQ(2u, lines.size()); // the lines themselves are the TV-service library's
    EXPECT_NE(std::string::npos, lines[0].find("ITVService::registerRecordingManagerClient("));
    EXPECT_NE(std::string::npos, lines[1].find("ITVService::bindToCurrentInput()"));
    EXPECT_TRUE(tv.host.record().requests.empty());
}

TEST(EndToEndSlow, LaunchBrowserGivesUpAfterElevenLookups)
{
    // The one test that runs the binding protocol's ten one-second sleeps as they are.
    Television tv(Television::Unbound);
    tv.wrapper->init(&tv.host);
    const auto start = std::chrono::steady_clock::now();
    const std::string out = hbbtv_test::stdoutOf([&] { EXPECT_TRUE(tv.wrapper->launchBrowser()); });
    const double elapsed = secondsSince(start);
    EXPECT_GE(elapsed, 10.0);
    EXPECT_LT(elapsed, 20.0);
    EXPECT_NE(std::string::npos, out.find("com.kalto.YXTService not published,...\n"));
    EXPECT_FALSE(tv.wrapper->isBrowserReady());
}
