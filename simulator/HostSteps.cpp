// The steps on the host's side: boot and the binding of the browser, the application signalling
// and windows, page loading, keys, stream events, HbbTV's running status, the browser's death and
// the teardown.
#include <dlfcn.h>

#include <cstdio>
#include <thread>

#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include "StepSupport.h"

namespace hbbtv_simulator {

namespace {

using hbbtv_sim::SimulatedBrowser;
using Clock = std::chrono::steady_clock;

// ---- Boot and binding ---------------------------------------------------------------------------

std::string runBoot(Scenario& s, const Json&)
{
    if (s.library.handle != nullptr || s.tornDown) {
        return "the television booted already (the library is initialised once per process)";
    }
    const std::string failed = hbbtv_tools::loadGlueLibrary(s.options().library, s.library);
    if (!failed.empty()) {
        return failed;
    }
    Dl_info loaded;
    if (dladdr(reinterpret_cast<void*>(s.library.create), &loaded) != 0 && loaded.dli_fname != nullptr) {
        s.trace(std::string("    loaded ") + loaded.dli_fname);
    }
    s.wrapper = s.library.create();
    if (s.wrapper == nullptr) {
        return "CreateHbbtvWrapper returned null";
    }
    s.host.setWrapper(s.wrapper);
    s.wrapper->init(&s.host);
    if (android::defaultServiceManager()->checkService(android::String16(SimulatedBrowser::kTVServiceName))
        == nullptr) {
        return "kalto.TVService is not in the service manager after init";
    }
    if (s.wrapper->isBrowserReady()) {
        return "isBrowserReady is true before any browser exists";
    }
    s.trace("    library loaded, wrapper created and initialised; kalto.TVService published");
    return "";
}

std::string runPublishBrowser(Scenario& s, const Json&)
{
    return s.browser.publish() ? "" : "the service manager refused the browser's service";
}

std::string runLaunchBrowser(Scenario& s, const Json&)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    if (android::defaultServiceManager()->checkService(android::String16(SimulatedBrowser::kServiceName)) == nullptr) {
        return "the browser has not published its service (publish_browser comes first): launchBrowser would look "
               "for it for ten seconds";
    }
    const hbbtv_sim::BrowserServiceRecord before = s.browser.service()->record();
    if (!s.wrapper->launchBrowser()) {
        return "launchBrowser returned false";
    }
    const hbbtv_sim::BrowserServiceRecord after = s.browser.service()->record();
    if (after.clientRegistrations != before.clientRegistrations + 1
        || after.mmClientRegistrations != before.mmClientRegistrations + 1) {
        return text("the browser saw ", after.clientRegistrations - before.clientRegistrations, " client and ",
            after.mmClientRegistrations - before.mmClientRegistrations, " media client registrations, expected 1 each");
    }
    s.trace(text("    the glue registered its client and media client with the browser (binding ",
        after.clientRegistrations, ")"));
    return "";
}

std::string runRegisterClients(Scenario& s, const Json&)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    if (!s.browser.registerClients()) {
        return "kalto.TVService is not in the service manager";
    }
    const Clock::time_point begin = Clock::now();
    const Clock::time_point deadline = begin + s.timeout();
    while (!s.wrapper->isBrowserReady()) {
        if (Clock::now() >= deadline) {
            return text("isBrowserReady stayed false for ", s.timeout().count(), " ms");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    s.trace("    AIT signalling, channel manager, DSM-CC, recording and configuration clients registered; "
            "isBrowserReady true");
    return "";
}

// ---- Applications -------------------------------------------------------------------------------

std::string titleNewAit(const Json& a)
{
    return text("host passes AIT version ", a.at("version").get<long long>(), " with ", a.at("applications").size(),
        " application", a.at("applications").size() == 1 ? "" : "s");
}

std::string runNewAit(Scenario& s, const Json& a)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    ZR_HBBTV_Core::AITApps apps;
    std::vector<std::string> expectedUrls;
    std::vector<int> expectedIds;
    for (const Json& app : a.at("applications")) {
        ZR_HBBTV_Core::AITApp entry;
        entry.controlCode = app.at("control").get<uint8_t>();
        entry.visibility = 3;
        entry.priority = 1;
        entry.serviceBound = 1;
        entry.organisationId = app.at("organisation").get<uint32_t>();
        entry.applicationId = app.at("id").get<uint16_t>();
        entry.name = app.at("name").get<std::string>();
        entry.location = app.at("location").get<std::string>();
        for (const Json& base : app.at("transports")) {
            const std::string url = base.get<std::string>();
            entry.transports.push_back(
                ZR_HBBTV_Core::AITTransport { static_cast<uint16_t>(url.compare(0, 4, "dvb:") == 0 ? 1 : 3), url });
            expectedUrls.push_back(url + entry.location);
            expectedIds.push_back(entry.applicationId);
        }
        apps.apps.push_back(entry);
    }
    apps.count = static_cast<int>(apps.apps.size());
    const unsigned int version = a.at("version").get<unsigned int>();

    const size_t before = s.browser.aitSignallingClient()->record().newAITs.size();
    if (!s.wrapper->newAITNotification(version, apps)) {
        return "newAITNotification returned false (no AIT signalling client registered)";
    }
    const hbbtv_sim::AITSignallingRecord record = s.browser.aitSignallingClient()->record();
    if (record.newAITs.size() != before + 1) {
        return "the browser's AIT signalling client received no new AIT";
    }
    const hbbtv_sim::AITSignallingRecord::NewAIT& ait = record.newAITs.back();
    if (ait.aitVersion != version || ait.count != apps.count) {
        return text("the browser received AIT version ", ait.aitVersion, " count ", ait.count, ", expected ", version,
            " and ", apps.count);
    }
    std::vector<std::string> urls;
    for (const NCOR::AITApplicationDescriptorData& application : ait.applications) {
        urls.push_back(application.getUrl());
    }
    if (urls != expectedUrls) {
        return "the browser received the applications [" + joined(urls) + "], expected [" + joined(expectedUrls) + "]";
    }
    for (size_t i = 0; i < ait.applications.size(); ++i) {
        if (ait.applications[i].getAppId() != expectedIds[i]) {
            return text("application ", i + 1, " reached the browser with id ", ait.applications[i].getAppId(),
                ", expected ", expectedIds[i]);
        }
    }
    s.trace(text("    the browser's AIT client got ", urls.size(), " application descriptions: ", joined(urls)));
    return "";
}

std::string runOpenApplication(Scenario& s, const Json& a)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    const std::string url = a.at("url").get<std::string>();
    const size_t windowsBefore = s.browser.service()->record().createdWindows.size();
    const size_t runningBefore = s.host.record().anyAppRunning.size();
    const int appId = s.wrapper->prepareCreateApplication();
    if (appId <= 0) {
        return text("prepareCreateApplication returned ", appId);
    }
    const int created = s.wrapper->createApplication(appId, url, a.at("extra").get<std::string>());
    if (created != appId) {
        return text("createApplication(", appId, ", ...) returned ", created,
            created == -1 ? " (no browser bound: launch_browser comes first)" : "");
    }
    const std::vector<hbbtv_sim::CreatedWindow> windows = s.browser.service()->record().createdWindows;
    if (windows.size() != windowsBefore + 1 || windows.back().url != url) {
        return "the browser was not asked for a window showing " + url;
    }
    const int windowId = windows.back().id;
    // The browser reports the window it opened, as its event loop does once the window exists.
    if (!s.browser.notifyNewWindow(windowId)) {
        return "the browser has no client of the glue to report its window to";
    }
    if (!s.host.waitForAnyAppRunning(runningBefore + 1, s.timeout()) || !s.host.record().anyAppRunning.back()) {
        return "the host did not hear that an application runs";
    }
    s.trace(text("    application ", appId, " shows ", url, " in browser window ", windowId,
        "; the host hears that an application runs"));
    return "";
}

std::string titlePageLoad(const Json& a)
{
    const size_t reports = a.at("progress").size();
    return text("browser loads the page (load ", a.at("load").get<int>(), ", ", reports, " progress report",
        reports == 1 ? "" : "s", ")");
}

std::string runPageLoad(Scenario& s, const Json& a)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    const int load = a.at("load").get<int>();
    const std::string url = a.at("url").get<std::string>();
    const size_t loadingBefore = s.host.record().loading.size();

    bool reported = false;
    const Scenario::Call call
        = s.measure(text("notifyLoadStarted(", load, ")"), [&] { reported = s.browser.notifyLoadStarted(load, url); });
    if (!reported) {
        return "the browser has no client of the glue to report the load to";
    }
    // The load start announces the application to the TV service, which tells the host (an
    // address too long for the host's record is not sent).
    const bool announced = url.size() <= 255;
    const std::string commands = Scenario::expectCommands(
        call, announced ? std::vector<int> { TunerCommand_StartNewApplication } : std::vector<int> {});
    if (!commands.empty()) {
        return commands;
    }
    if (announced && call.requests[0].strParam1 != asRecorded(url)) {
        return "the host was told of the application " + quoted(call.requests[0].strParam1);
    }
    std::vector<int> expected = { 0 };
    bool done = false;
    for (const Json& progress : a.at("progress")) {
        const int percent = progress.get<int>();
        s.browser.notifyLoadProgress(load, percent);
        if (!done) {
            done = percent > 99;
            expected.push_back(done ? 100 : percent);
        }
    }
    s.browser.notifyLoadComplete(load);
    if (!done) {
        expected.push_back(100);
    }
    const std::vector<hbbtv_sim::LoadingReport> loading = s.host.record().loading;
    std::vector<std::string> heard;
    bool sameAddress = true;
    for (size_t i = loadingBefore; i < loading.size(); ++i) {
        heard.push_back(std::to_string(loading[i].progress));
        sameAddress = sameAddress && loading[i].hasUrl && loading[i].url == url;
    }
    std::vector<std::string> wanted;
    for (int percent : expected) {
        wanted.push_back(std::to_string(percent));
    }
    if (heard != wanted || !sameAddress) {
        return "the host heard loading [" + joined(heard) + "]" + (sameAddress ? "" : " (not all for " + url + ")")
            + ", expected [" + joined(wanted) + "] for " + url;
    }
    s.trace("    the host heard loading " + joined(heard) + " % of " + url
        + (announced ? "; the host was told of the new application" : ""));
    return "";
}

// ---- Keys and events ----------------------------------------------------------------------------

std::string titlePressKey(const Json& a)
{
    return "host offers key " + keyLabel(a.at("key")) + ": the browser "
        + (a.at("consumed").get<bool>() ? "consumes it" : "leaves it");
}

std::string runPressKey(Scenario& s, const Json& a)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    const int key = nativeKeyCode(a.at("key"));
    const bool consumed = a.at("consumed").get<bool>();
    const android::sp<hbbtv_sim::SimulatedBrowserService>& browser = s.browser.service();
    browser->setKeyReply(hbbtv_sim::KeyReply { true, consumed, 0 });
    const size_t before = browser->record().keyEvents.size();
    const Clock::time_point begin = Clock::now();
    const bool result = s.wrapper->keyClick(static_cast<unsigned int>(key));
    const double waited = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    const std::vector<hbbtv_sim::KeyEvent> events = browser->record().keyEvents;
    if (events.size() == before) {
        return text("the browser received no key event: HbbTV does not take key ", keyLabel(a.at("key")),
            " (or no browser is bound); keyClick returned ", result);
    }
    if (events.size() != before + 2 || events[before].pressed != 1 || events[before + 1].pressed != 0
        || events[before].keyCode != events[before + 1].keyCode
        || events[before + 1].eventId != events[before].eventId + 1) {
        return text("the browser received ", events.size() - before, " key events, expected a press and a release");
    }
    if (result != consumed) {
        return text("keyClick returned ", result, " after ", waited, " ms, the browser's verdict was ", consumed);
    }
    char line[200];
    snprintf(line, sizeof(line),
        "    the browser got key code %d (events %d and %d), keyClick returned %s after %.3f ms",
        events[before].keyCode, events[before].eventId, events[before + 1].eventId, result ? "true" : "false", waited);
    s.trace(line);
    return "";
}

std::string titleStreamEvent(const Json& a)
{
    return "host delivers stream event " + quoted(a.at("name").get<std::string>()) + " ("
        + a.at("kind").get<std::string>() + ")";
}

std::string runStreamEvent(Scenario& s, const Json& a)
{
    android::sp<ITVService> tv;
    const std::string missing = s.needTVService(tv); // the glue needs the browser's DSM-CC client by then
    if (!missing.empty()) {
        return missing;
    }
    const std::string url = a.at("url").get<std::string>();
    const std::string name = a.at("name").get<std::string>();
    const std::string data = a.at("data").get<std::string>();
    const std::string kind = a.at("kind").get<std::string>();
    const size_t before = s.browser.dsmccClient()->record().streamEvents.size();
    s.wrapper->notifyStreamEvent(url, name, data, kind);
    const std::vector<StreamEventData> events = s.browser.dsmccClient()->record().streamEvents;
    if (events.size() != before + 1) {
        return "the browser's DSM-CC client received no stream event";
    }
    const StreamEventData& got = events.back();
    const int notTrigger = kind == "trigger" ? 0 : 1;
    if (got.url != url || got.name != name || got.data != data || got.notTrigger != notTrigger) {
        return text("the DSM-CC client got ", quoted(got.url), ", ", quoted(got.name), ", ", quoted(got.data),
            ", not-trigger ", got.notTrigger, "; expected not-trigger ", notTrigger);
    }
    s.trace(text("    the browser's DSM-CC client got ", quoted(name), " on ", url, " with ", quoted(data),
        notTrigger != 0 ? " (not a trigger)" : " (a trigger)"));
    return "";
}

std::string titleHbbtvRunning(const Json& a)
{
    return std::string("host sets HbbTV running: ") + (a.at("running").get<bool>() ? "true" : "false");
}

std::string runHbbtvRunning(Scenario& s, const Json& a)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    s.wrapper->SetHbbTVRunningStatus(a.at("running").get<bool>());
    return "";
}

// ---- The end ------------------------------------------------------------------------------------

std::string runBrowserDies(Scenario& s, const Json&)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    const unsigned int before = s.host.record().browserDied;
    if (!s.browser.die()) {
        return "the browser service was not published";
    }
    return s.host.waitForBrowserDied(before + 1, s.timeout()) ? "" : "the host heard no HBBTV_BrowserDiedNotification";
}

std::string runTeardown(Scenario& s, const Json&)
{
    const std::string missing = s.needWrapper();
    if (!missing.empty()) {
        return missing;
    }
    // No completion may reach the wrapper once it is gone.
    s.host.setWrapper(nullptr);
    s.library.destroy(s.wrapper);
    s.wrapper = nullptr;
    s.tornDown = true;
    return "";
}

const char kBootTitle[] = "boot: dlopen, CreateHbbtvWrapper, init";
const char kPublishTitle[] = "browser publishes com.kalto.YXTService";
const char kLaunchTitle[] = "host calls launchBrowser: the glue binds to the browser";
const char kRegisterTitle[] = "browser registers its clients; isBrowserReady turns true";
const char kOpenTitle[] = "host opens an application window";
const char kDiesTitle[] = "browser dies: the host hears HBBTV_BrowserDiedNotification";
const char kTeardownTitle[] = "teardown: DestroyHbbtvWrapper";

} // namespace

const std::vector<StepAction>& hostStepActions()
{
    static const std::vector<StepAction> actions = {
        { "boot", fixedTitle<kBootTitle>, runBoot },
        { "publish_browser", fixedTitle<kPublishTitle>, runPublishBrowser },
        { "launch_browser", fixedTitle<kLaunchTitle>, runLaunchBrowser },
        { "register_clients", fixedTitle<kRegisterTitle>, runRegisterClients },
        { "new_ait", titleNewAit, runNewAit },
        { "open_application", fixedTitle<kOpenTitle>, runOpenApplication },
        { "page_load", titlePageLoad, runPageLoad },
        { "press_key", titlePressKey, runPressKey },
        { "stream_event", titleStreamEvent, runStreamEvent },
        { "hbbtv_running", titleHbbtvRunning, runHbbtvRunning },
        { "browser_dies", fixedTitle<kDiesTitle>, runBrowserDies },
        { "teardown", fixedTitle<kTeardownTitle>, runTeardown },
    };
    return actions;
}

const std::vector<StepAction>& stepActions()
{
    static const std::vector<StepAction> actions = [] {
        std::vector<StepAction> all = hostStepActions();
        all.insert(all.end(), broadcastStepActions().begin(), broadcastStepActions().end());
        all.insert(all.end(), playedStepActions().begin(), playedStepActions().end());
        return all;
    }();
    return actions;
}

const StepAction* findStepAction(const std::string& name)
{
    for (const StepAction& action : stepActions()) {
        if (name == action.name) {
            return &action;
        }
    }
    return nullptr;
}

} // namespace hbbtv_simulator
