// The application manager's operations through the wrapper, with the simulated host and browser:
// AIT and applications, keys, windows and page loads, broadcast events, media components.
#include <chrono>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include "HbbtvBackendTVService.h"
#include "support/AssertDeath.h"
#include "support/Television.h"
#include "ZR_HBBTV.implIPC_p.h"

using hbbtv_sim::KeyEvent;
using hbbtv_sim::KeyReply;
using hbbtv_test::stdoutOf;
using hbbtv_test::Television;
using std::chrono::milliseconds;

namespace {

const milliseconds kWait(5000);

ZR_HBBTV_Core::AITApp application(uint32_t organisation, uint16_t id, const std::string& location,
                                  std::vector<ZR_HBBTV_Core::AITTransport> transports)
{
    ZR_HBBTV_Core::AITApp app;
    app.controlCode = 1;
    app.visibility = 3;
    app.priority = 5;
    app.serviceBound = 1;
    app.organisationId = organisation;
    app.applicationId = id;
    app.name = "app";
    app.location = location;
    app.transports = std::move(transports);
    app.boundaries = {"http://a.example/"};
    return app;
}

// The six fields both sides share, in their order.
template <typename Component>
std::tuple<std::string, std::string, uint32_t, bool, uint32_t, uint32_t> shared(const Component& c)
{
    return std::make_tuple(c.text1, c.text2, c.value1, c.flag, c.value2, c.value3);
}

// A browser whose windows cannot be created.
class NoWindowBrowserService : public hbbtv_sim::SimulatedBrowserService {
public:
    android::sp<IWindow> createWindow(const std::string&, int, int, int, int, const YXTWindowSettings&) override
    {
        return nullptr;
    }
};

} // namespace

TEST(AppManager, AitBecomesOneDescriptionPerApplicationAndTransport)
{
    Television tv;
    ZR_HBBTV_Core::AITApps apps;
    apps.apps.push_back(application(0x10, 7, "index.html", {{3, "http://a.example/"}, {1, "dvb://1.2.3.4/"}}));
    apps.apps.push_back(application(0x11, 8, "x.html", {{3, "http://b.example/"}}));
    apps.apps.push_back(application(0x12, 9, "none.html", {})); // no transport, no description
    apps.count = 42;
    EXPECT_TRUE(tv.wrapper->newAITNotification(9, apps));

    const hbbtv_sim::AITSignallingRecord record = tv.browser.aitSignallingClient()->record();
    ASSERT_EQ(1u, record.newAITs.size());
    EXPECT_EQ(9u, record.newAITs[0].aitVersion);
    EXPECT_EQ(42, record.newAITs[0].count);
    const std::vector<NCOR::AITApplicationDescriptorData>& descriptions = record.newAITs[0].applications;
    ASSERT_EQ(3u, descriptions.size());
    // Each one's address, organisation, application and protocol; the first one's other fields.
    std::vector<std::tuple<std::string, uint32_t, int, uint32_t>> keys;
    for (const NCOR::AITApplicationDescriptorData& d : descriptions) {
        keys.emplace_back(d.getUrl(), d.getOrgId(), d.getAppId(), d.getProtocolId());
    }
    EXPECT_EQ((decltype(keys){{"http://a.example/index.html", 0x10, 7, 3}, {"dvb://1.2.3.4/index.html", 0x10, 7, 1},
                              {"http://b.example/x.html", 0x11, 8, 3}}),
              keys);
    const NCOR::AITApplicationDescriptorData& d = descriptions[0];
    EXPECT_EQ((std::vector<uint32_t>{1, 3, 5, 0, 0x10201, 1}),
              (std::vector<uint32_t>{d.getControlCode(), d.getVisibility(), d.getPriority(), d.getProfile(),
                                     d.getVersion(), d.getServiceBound()}));
    EXPECT_EQ(std::vector<std::string>{"http://a.example/"}, d.getBoundaries());

    // Called directly, the translation ignores its first argument: the same records, in order.
    std::vector<NCOR::AITApplicationDescriptorData*> direct
        = ZR_HBBTV_Core::HbbtvBackendTVService::AITApp2AITDescription(0xFFFF, apps);
    ASSERT_EQ(3u, direct.size());
    for (size_t i = 0; i < direct.size(); ++i) {
        EXPECT_EQ(std::make_tuple(descriptions[i].getUrl(), descriptions[i].getOrgId(), descriptions[i].getAppId()),
                  std::make_tuple(direct[i]->getUrl(), direct[i]->getOrgId(), direct[i]->getAppId()));
        delete direct[i];
    }
}

TEST(AppManager, UserApplicationWindowsAndTheirSettings)
{
    Television tv;
    // Application ids, windows created and closed for them: the state-machine property.
    for (int i = 0; i < 3; ++i) {
        tv.wrapper->prepareCreateApplication();
    }
    EXPECT_EQ(2, tv.wrapper->createApplication(2, "http://app/", "extra"));
    const std::vector<hbbtv_sim::CreatedWindow> created = tv.browser.service()->record().createdWindows;
    ASSERT_EQ(1u, created.size());
    EXPECT_EQ("http://app/", created[0].url);
    EXPECT_EQ(-1, created[0].x);
    EXPECT_EQ(-1, created[0].height);
    const YXTWindowSettings& settings = created[0].settings;
    EXPECT_EQ((std::vector<int>{1, 1, 1, 0, 1, 1}), (std::vector<int>{settings.flag1, settings.flag2, settings.flag3,
                                                                      settings.flag4, settings.flag5, settings.flag6}));
    EXPECT_FLOAT_EQ(1.0f, settings.scale);
    EXPECT_EQ("extra", settings.extra);

    // (killCurrentApp, which spares the broadcast application's window 1: Trace.RecordingAdds....)
    EXPECT_TRUE(tv.wrapper->isAppAlive(12345));
}

TEST(AppManager, UserAppCreatedUpdatesOnlyAnExistingEntry)
{
    // The manager as the TV service's server, without the wrapper: this call comes from inside.
    hbbtv_sim::SimulatedHost host;
    hbbtv_sim::SimulatedBrowser browser;
    ASSERT_TRUE(browser.publish());
    const android::sp<ZR_HBBTV_Core::ZR_HbbtvImplPrivate> manager = new ZR_HBBTV_Core::ZR_HbbtvImplPrivate(&host);
    ASSERT_TRUE(manager->launchBrowser());
    browser.service()->addWindow(5, "http://five/");
    browser.service()->addWindow(6, "http://six/");
    const int app = manager->prepareCreateApplication();
    manager->HBBTV_NotifyUserAppCreated(5, app);
    manager->HBBTV_NotifyUserAppCreated(6, app + 100); // no such entry: nothing is added
    manager->closeUserCreatedApps();
    EXPECT_EQ(std::vector<int>{6}, browser.service()->record().openWindows);
    manager->teardown();
}

TEST(AppManager, AnswerWithANegativeOddEventIdCountsAsAPress)
{
    hbbtv_sim::SimulatedHost host;
    hbbtv_sim::SimulatedBrowser browser;
    ASSERT_TRUE(browser.publish());
    browser.service()->setKeyReply(KeyReply{false, false, 0}); // the test answers itself
    const android::sp<ZR_HBBTV_Core::ZR_HbbtvImplPrivate> manager = new ZR_HBBTV_Core::ZR_HbbtvImplPrivate(&host);
    ASSERT_TRUE(manager->launchBrowser());
    {
        ZR_HBBTV_Core::Locker<ZR_HBBTV_Core::Mutex> lock(ZR_HBBTV_Core::ZR_HbbtvImplPrivate::m_mutex);
        ZR_HBBTV_Core::ZR_HbbtvImplPrivate::_keyID = 0xFFFFFFFEu; // the ids have come round to -2 and -1
    }
    ASSERT_TRUE(manager->keyClick(398));
    const std::vector<KeyEvent> events = browser.service()->record().keyEvents;
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ(std::make_pair(-2, -1), std::make_pair(events[0].eventId, events[1].eventId));
    // -1 % 2 is -1: a press answer, stored and kept, so the key is still pending and a second
    // answer finds its entry.
    const std::string out = stdoutOf([&] {
        manager->notifyKeyEventConsumed(-1, false);
        manager->notifyKeyEventConsumed(-1, false);
    });
    EXPECT_EQ("", out);
    EXPECT_FALSE(manager->IsKeyHandled());
    manager->teardown();
}

TEST(AppManager, APressAnsweredAfterItsReleaseFindsTheKeyDecided)
{
    // (Either event consumed, answered in order: the state-machine property.) The release is
    // answered first, not consumed: that decides; the press's late answer finds its entry gone.
    Television tv;
    tv.browser.service()->setKeyReplier([](const KeyEvent& event) {
        return KeyReply{true, event.pressed == 1, event.pressed == 1 ? 100u : 0u};
    });
    const std::string out = stdoutOf([&] {
        EXPECT_FALSE(tv.wrapper->keyClick(398));
        ASSERT_TRUE(tv.browser.service()->waitForKeyAnswers(2, kWait));
    });
    const std::vector<hbbtv_sim::KeyEvent> events = tv.browser.service()->record().keyEvents;
    ASSERT_EQ(2u, events.size());
    EXPECT_NE(std::string::npos, out.find("Browser cant realize this key : " + std::to_string(events[0].eventId)));
}

TEST(AppManager, EachHostKeyReachesTheBrowserAsItsCodePressedThenReleased)
{
    Television tv;
    // The remote control's native codes and the codes HbbTV applications see.
    const std::pair<unsigned int, int> keys[] = { { 398, 403 }, { 399, 404 }, { 400, 405 }, { 401, 406 },
        { 103, 38 }, { 108, 40 }, { 105, 37 }, { 106, 39 }, { 28, 13 }, { 352, 13 }, { 158, 461 }, { 11, 48 },
        { 2, 49 }, { 3, 50 }, { 4, 51 }, { 5, 52 }, { 6, 53 }, { 7, 54 }, { 8, 55 }, { 9, 56 }, { 10, 57 },
        { 207, 415 }, { 119, 19 }, { 128, 413 }, { 208, 417 }, { 168, 412 }, { 388, 459 } };
    for (const std::pair<unsigned int, int>& key : keys) {
        EXPECT_TRUE(tv.wrapper->keyClick(key.first)) << key.first;
    }
    const std::vector<KeyEvent> events = tv.browser.service()->record().keyEvents;
    ASSERT_EQ(2 * (sizeof(keys) / sizeof(keys[0])), events.size());
    for (size_t i = 0; i < events.size(); ++i) {
        const KeyEvent& e = events[i];
        EXPECT_EQ(std::make_tuple(keys[i / 2].second, i % 2 == 0 ? 1 : 0, 0, 0),
            std::make_tuple(e.keyCode, e.pressed, e.arg4, e.arg5))
            << "key " << keys[i / 2].first;
        EXPECT_EQ(events[0].eventId + static_cast<int>(i), e.eventId);
    }
    EXPECT_EQ(0, events[0].eventId % 2);
}

TEST(AppManager, BroadcastEventsReachTheBrowsersClients)
{
    Television tv;
    // Channel and programme changes, locale and time zone: the state-machine property.
    tv.wrapper->notifyTunerPlundered();
    tv.wrapper->notifySignalLost();
    // With a channel manager to hear it, a stopped tuner leaves the open windows alone.
    tv.browser.service()->addWindow(1, "http://one/");
    tv.browser.notifyNewWindow(1);
    tv.wrapper->tunerStopped(true);
    tv.wrapper->tunerStopped(false);
    EXPECT_EQ(std::vector<int>{1}, tv.browser.service()->record().openWindows);
    // A changed list is read from the host through the TV service and handed over whole.
    hbbtv_sim::LineupChannel first, second;
    first.channelID3 = 28106;
    first.name = "Das Erste";
    second.channelID3 = 28011;
    second.name = "ZDF";
    tv.host.setAnswerWriterFor(TunerCommand_RequestChannelsLineup,
                               hbbtv_sim::SimulatedHost::lineupWriter({first, second}));
    tv.wrapper->notifyChannelListChanged();
    const hbbtv_sim::ChannelManagerRecord channels = tv.browser.channelManagerClient()->record();
    ASSERT_EQ(1u, channels.channelLists.size());
    ASSERT_EQ(2u, channels.channelLists[0].size());
    EXPECT_EQ("Das Erste", channels.channelLists[0][0].getName());
    EXPECT_EQ("ZDF", channels.channelLists[0][1].getName());
    EXPECT_EQ((std::vector<int>{11, 1}), channels.tunerStates);
    EXPECT_EQ((std::vector<int>{101, 101}), channels.tunerStops);

    tv.wrapper->notifyStreamEvent("dvb://1.2.3", "event", "data", "trigger");
    tv.wrapper->notifyStreamEvent("dvb://1.2.3", "event", "data", "");
    const std::vector<StreamEventData> events = tv.browser.dsmccClient()->record().streamEvents;
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ("dvb://1.2.3", events[0].url);
    EXPECT_EQ(0, events[0].notTrigger);
    EXPECT_EQ(1, events[1].notTrigger);

    tv.wrapper->notifyLocaleChanged(nullptr);
    EXPECT_TRUE(tv.browser.service()->record().browserEnv.empty());
}

TEST(AppManager, MediaComponentsCrossBothWaysWithTheirSixSharedFields)
{
    Television tv;
    MultimediaComponentData first; // the kind word and the trailing flag stay on the browser's side
    first.kind = 9;
    first.text1 = "deu";
    first.text2 = "Stereo";
    first.value1 = 1;
    first.flag = true;
    first.value2 = 0xFFFFFFFEu;
    first.value3 = 3;
    first.trailingFlag = true;
    MultimediaComponentData second;
    second.text1 = "eng";
    second.value3 = 7;
    ASSERT_TRUE(tv.browser.notifyAudioComponentsChanged({first, second}, 42));
    ASSERT_TRUE(tv.browser.notifySubtitleComponentsChanged({}, -5)); // an empty list still reaches the host
    const std::vector<hbbtv_sim::ComponentReport> reports = tv.host.record().components;
    ASSERT_EQ(2u, reports.size());
    EXPECT_EQ(std::make_tuple(true, 42), std::make_tuple(reports[0].audio, reports[0].value));
    ASSERT_EQ(2u, reports[0].components.size());
    EXPECT_EQ(shared(first), shared(reports[0].components[0]));
    EXPECT_EQ(shared(second), shared(reports[0].components[1]));
    EXPECT_EQ(std::make_tuple(false, -5, size_t(0)),
              std::make_tuple(reports[1].audio, reports[1].value, reports[1].components.size()));

    // The host's choice goes back with kind 1, no trailing flag, its own second value (not the
    // preset one) and its third value again as the second argument.
    const HbbtvMultimediaComponentData audio{"fra", "AD", 4, true, 5, 6};
    const HbbtvMultimediaComponentData subtitle{"ita", "", 0, false, 0, 8};
    tv.wrapper->selectMMAudioComponent(audio);
    tv.wrapper->selectMMSubtitleComponent(subtitle);
    tv.wrapper->forceReleaseMMResource();
    const hbbtv_sim::BrowserServiceRecord browser = tv.browser.service()->record();
    ASSERT_EQ(2u, browser.componentSelections.size());
    const HbbtvMultimediaComponentData* const chosen[] = {&audio, &subtitle};
    for (size_t i = 0; i < 2; ++i) {
        const hbbtv_sim::ComponentSelection& selection = browser.componentSelections[i];
        EXPECT_EQ(i == 0, selection.audio);
        EXPECT_EQ(shared(*chosen[i]), shared(selection.component));
        EXPECT_EQ(std::make_tuple(1, false, chosen[i]->value3),
                  std::make_tuple(selection.component.kind, selection.component.trailingFlag, selection.value));
    }
    EXPECT_EQ(1u, browser.mmResourceReleases);
}

TEST(AppManager, EachLoadAnnouncesItsAddressAndReports100Once)
{
    Television tv;
    tv.browser.notifyLoadStarted(2, "http://a.example/");
    tv.browser.notifyInitialLayoutCompleted(2);
    tv.browser.notifyLoadComplete(2); // done by the layout already
    tv.browser.notifyLoadStarted(3, "http://b.example/");
    tv.browser.notifyLoadComplete(3);
    tv.browser.notifyLoadComplete(3);
    tv.browser.notifyLoadProgress(3, 100);
    tv.browser.notifyLoadStarted(3, "http://b.example/again"); // a reload of a known id starts over
    tv.browser.notifyLoadProgress(3, 60);
    tv.browser.notifyLoadComplete(3);

    std::vector<std::pair<int, std::string>> reports;
    for (const hbbtv_sim::LoadingReport& report : tv.host.record().loading) {
        reports.emplace_back(report.progress, report.url);
    }
    EXPECT_EQ((std::vector<std::pair<int, std::string>>{{0, "http://a.example/"}, {100, "http://a.example/"},
                                                         {0, "http://b.example/"}, {100, "http://b.example/"},
                                                         {0, "http://b.example/again"}, {60, "http://b.example/again"},
                                                         {100, "http://b.example/again"}}),
              reports);
    // Every start goes to the host as a new application, with its address.
    std::vector<std::tuple<int, std::string, std::string>> requests;
    for (const hbbtv_sim::ReceivedRequest& request : tv.host.record().requests) {
        requests.emplace_back(request.command, request.strParam1, request.strParam2);
    }
    EXPECT_EQ((std::vector<std::tuple<int, std::string, std::string>>{{12, "http://a.example/", ""},
                                                                      {12, "http://b.example/", ""},
                                                                      {12, "http://b.example/again", ""}}),
              requests);
}

// The manager's fixed console lines, one table for all; first the assertions, each in a child
// process that has no TV service yet.
TEST(AppManagerDeathTest, FixedConsoleLines)
{
    hbbtv_test::expectAssertFail([] { ZR_HBBTV_Core::HbbtvBackendTVService::instantiate(nullptr, nullptr); },
                                 "HbbtvBackendTVService",
                                 "ZR_HBBTV_Core::IssueSrviceRequest::IssueSrviceRequest(Hbbtv_TVServer*)", 29);
    hbbtv_test::expectAssertFail(
        [] {
            android::defaultServiceManager()->addService(android::String16(hbbtv_sim::SimulatedBrowser::kServiceName),
                                                         new NoWindowBrowserService);
            hbbtv_sim::SimulatedHost host;
            const android::sp<ZR_HBBTV_Core::ZR_HbbtvImplPrivate> manager
                = new ZR_HBBTV_Core::ZR_HbbtvImplPrivate(&host);
            manager->launchBrowser();
            manager->createApplication(manager->prepareCreateApplication(), "http://app/", "");
        },
        "ZR_HBBTV.implIPC_p",
        "int ZR_HBBTV_Core::ZR_HbbtvImplPrivate::createApplication(int, const string&, const string&)", 241);

    Television tv(Television::BoundWithoutClients);
    const std::string noChannelManager = "[ZR_HBBTV]: m_channelManagerClient is null\n";
    // Without a channel manager, a stopped tuner closes the windows the browser still has.
    stdoutOf([&] {
        tv.browser.service()->addWindow(1, "http://one/");
        tv.browser.service()->addWindow(3, "http://three/");
        tv.browser.notifyNewWindow(1);
        tv.browser.notifyNewWindow(8); // the browser no longer has it
    });
    const std::pair<std::function<void()>, std::string> lines[] = {
        { [&] { tv.wrapper->noAITNotification(1); }, noChannelManager },
        { [&] { tv.wrapper->notifyChannelChanged(1, 2, 3); }, noChannelManager },
        { [&] { tv.wrapper->notifyProgrammeChanged(1, 2, 3); }, noChannelManager },
        { [&] { tv.wrapper->notifyTunerPlundered(); },
          "[ZR_HBBTV]: notifyTunerPlundered(): m_channelManagerClient is null\n" },
        { [&] { tv.wrapper->notifySignalLost(); }, "[ZR_HBBTV]: notifySignalLost(): m_channelManagerClient is null\n" },
        { [&] { tv.browser.notifyNewWindow(3); },
          "[YXTClient]: virtual void ZR_HBBTV_Core::ZR_HbbtvImplPrivate::notifyNewWindow(int),322\n" },
        { [&] { tv.wrapper->tunerStopped(false); },
          noChannelManager + "[ZR_HBBTV]: request close window: 1\n[ZR_HBBTV]: request close window: 3\n" },
        { [&] { tv.browser.die(); }, "hbbtvBrowser is died!\n" },
    };
    for (const auto& line : lines) {
        EXPECT_EQ(line.second, stdoutOf(line.first));
    }
    EXPECT_TRUE(tv.browser.service()->record().openWindows.empty());
}
