#include "StepPlayer.h"

#include <algorithm>
#include <chrono>
#include <random>

namespace hbbtv_sim {

using nlohmann::json;
using ZR_HBBTV_Core::ZR_HbbtvImplInterface;

namespace {

const std::chrono::seconds kStuck(5);
const std::chrono::milliseconds kPromptKey(200);
const unsigned int kKeyAnswerMs = 5;

// The part of a record that came after the first `from` entries.
template <typename T> std::vector<T> since(const std::vector<T>& all, size_t from)
{
    return std::vector<T>(all.begin() + static_cast<std::ptrdiff_t>(std::min(from, all.size())), all.end());
}

void put(json& into, const char* kind, const json& value)
{
    if (!value.empty() && !(value.is_number() && value.get<long long>() == 0)) {
        into[kind] = value;
    }
}

HbbtvMultimediaComponentData hostComponent(int value)
{
    return HbbtvMultimediaComponentData{"deu", "", 0, false, 0, static_cast<uint32_t>(value)};
}

ZR_HBBTV_Core::AITApps aitWith(int applications)
{
    ZR_HBBTV_Core::AITApps apps;
    for (int i = 1; i <= applications; ++i) {
        ZR_HBBTV_Core::AITApp app;
        app.controlCode = 1;
        app.applicationId = static_cast<uint16_t>(i);
        app.organisationId = 1;
        app.name = "app";
        app.location = "app" + std::to_string(i) + ".html";
        app.transports.push_back(ZR_HBBTV_Core::AITTransport{3, "http://a.example/"});
        apps.apps.push_back(app);
    }
    apps.count = applications;
    return apps;
}

} // namespace

StepPlayer::StepPlayer(SimulatedHost& host, SimulatedBrowser& browser, ZR_HbbtvImplInterface*& wrapper,
                       CreateWrapper create, DestroyWrapper destroy)
    : m_host(host), m_browser(browser), m_wrapper(wrapper), m_create(create), m_destroy(destroy),
      m_hostSide(std::make_shared<HostSide>())
{
    const std::shared_ptr<HostSide> hostSide = m_hostSide;
    m_host.setDecider([hostSide](const HbbtvCommandPayload& request) { return hostSide->decide(request); });
    m_host.setAnswerWriter([hostSide](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
        hostSide->write(request, answer);
    });
}

StepPlayer::~StepPlayer()
{
    for (auto& request : m_requests) {
        request.second.wait();
    }
    m_host.setDecider(nullptr);
    m_host.setAnswerWriter(nullptr);
}

json StepPlayer::play(const std::string& step, const json& arguments)
{
    const Snapshot before = snapshot();
    const json result = act(step, arguments);
    json what = arrived(before, snapshot());
    if (!result.is_null()) {
        what["result"] = result;
    }
    return what;
}

std::string StepPlayer::compare(const json& expected, const json& arrived)
{
    if (expected == arrived) {
        return "";
    }
    return "expected " + expected.dump() + ", arrived " + arrived.dump();
}

StepPlayer::Snapshot StepPlayer::snapshot() const
{
    return Snapshot{m_host.record(), m_browser.service()->record(), m_browser.aitSignallingClient()->record(),
                    m_browser.channelManagerClient()->record(), m_browser.dsmccClient()->record()};
}

json StepPlayer::arrived(const Snapshot& before, const Snapshot& after)
{
    json what = json::object();
    json loading = json::array();
    for (const LoadingReport& report : since(after.host.loading, before.host.loading.size())) {
        loading.push_back({report.progress, report.hasUrl ? json(report.url) : json()});
    }
    put(what, "loading", loading);
    put(what, "running", since(after.host.anyAppRunning, before.host.anyAppRunning.size()));
    put(what, "died", after.host.browserDied - before.host.browserDied);
    json requests = json::array();
    for (const ReceivedRequest& request : since(after.host.requests, before.host.requests.size())) {
        requests.push_back(request.command);
    }
    put(what, "requests", requests);
    json components = json::array();
    for (const ComponentReport& report : since(after.host.components, before.host.components.size())) {
        components.push_back({report.audio, report.components.size(), report.value});
    }
    put(what, "components", components);
    put(what, "userApps", since(after.host.userAppCreated, before.host.userAppCreated.size()));

    json keys = json::array();
    for (const KeyEvent& event : since(after.browser.keyEvents, before.browser.keyEvents.size())) {
        keys.push_back({event.keyCode, event.pressed});
    }
    put(what, "keys", keys);
    json windows = json::array();
    for (const CreatedWindow& window : since(after.browser.createdWindows, before.browser.createdWindows.size())) {
        windows.push_back(window.url);
    }
    put(what, "windows", windows);
    put(what, "closed", since(after.browser.closedWindows, before.browser.closedWindows.size()));
    put(what, "env", since(after.browser.browserEnv, before.browser.browserEnv.size()));
    json selections = json::array();
    for (const ComponentSelection& selection :
         since(after.browser.componentSelections, before.browser.componentSelections.size())) {
        selections.push_back({selection.audio, selection.value});
    }
    put(what, "selections", selections);
    put(what, "registrations", after.browser.clientRegistrations - before.browser.clientRegistrations);

    json ait = json::array();
    for (const AITSignallingRecord::NewAIT& signalled : since(after.ait.newAITs, before.ait.newAITs.size())) {
        ait.push_back({signalled.aitVersion, signalled.count, signalled.applications.size()});
    }
    put(what, "ait", ait);
    put(what, "noAit", since(after.ait.noAITs, before.ait.noAITs.size()));
    json channels = json::array();
    for (const auto& change : since(after.channels.channelChanges, before.channels.channelChanges.size())) {
        channels.push_back({change.first.getOnid(), change.first.getSid(), change.first.getMajorChannel(), change.second});
    }
    put(what, "channels", channels);
    put(what, "programmes", after.channels.programmeChanges - before.channels.programmeChanges);
    put(what, "teletext", since(after.dsmcc.teletextToggles, before.dsmcc.teletextToggles.size()));
    return what;
}

json StepPlayer::act(const std::string& step, const json& a)
{
    // Browser side.
    if (step == "window_opened") {
        m_browser.notifyNewWindow(a.at("window").get<int>());
    } else if (step == "window_closed") {
        m_browser.notifyWindowClosed(a.at("window").get<int>());
    } else if (step == "load_started") {
        m_browser.notifyLoadStarted(a.at("load").get<int>(), a.at("url").get<std::string>());
    } else if (step == "load_progress") {
        m_browser.notifyLoadProgress(a.at("load").get<int>(), a.at("percent").get<int>());
    } else if (step == "load_complete") {
        m_browser.notifyLoadComplete(a.at("load").get<int>());
    } else if (step == "load_failed") {
        m_browser.notifyLoadFailed(a.at("load").get<int>(), a.at("url").get<std::string>(), a.at("error").get<int>());
    } else if (step == "layout_completed") {
        m_browser.notifyInitialLayoutCompleted(a.at("load").get<int>());
    } else if (step == "media_components") {
        const std::vector<MultimediaComponentData> components(a.at("count").get<size_t>());
        const int value = a.at("value").get<int>();
        if (a.at("audio").get<bool>()) {
            m_browser.notifyAudioComponentsChanged(components, value);
        } else {
            m_browser.notifySubtitleComponentsChanged(components, value);
        }
    } else if (step == "browser_death") {
        m_browser.die();
    } else if (step == "rebind") {
        // The browser's process is started again: it publishes its service, the host binds to it,
        // and the browser registers its clients.
        m_browser.publish();
        const bool bound = m_wrapper != nullptr && m_wrapper->launchBrowser();
        m_browser.registerClients();
        return bound;
    } else if (step == "request") {
        return startRequest(a);
    } else if (step == "await_request") {
        return awaitRequest(a.at("id").get<int>());
    } else if (step == "init_again") {
        // The host creates a new wrapper and initialises it: the library refuses from then on.
        m_wrapper = m_create();
        m_host.setWrapper(m_wrapper);
        m_wrapper->init(&m_host);
        return json{m_wrapper->launchBrowser(), m_wrapper->isBrowserReady(), m_wrapper->prepareCreateApplication()};
    } else if (m_wrapper == nullptr) {
        return "no wrapper"; // the host calls nothing on a wrapper it destroyed
    // Host side.
    } else if (step == "key_click") {
        const bool press = a.at("press").get<bool>();
        const bool release = a.at("release").get<bool>();
        // The browser answers after a few milliseconds, when keyClick waits already: the verdict
        // must wake it, well before the 0.3 s that a key never answered costs. Timed from the
        // release's answer, so that a slow start of the call (an emulator's) does not count.
        m_browser.service()->setKeyReplier([press, release](const KeyEvent& event) {
            return KeyReply{true, event.pressed == 1 ? press : release, kKeyAnswerMs};
        });
        const BrowserServiceRecord before = m_browser.service()->record();
        const bool consumed = m_wrapper->keyClick(a.at("key").get<unsigned int>());
        const auto returned = std::chrono::steady_clock::now();
        bool woken = true;
        if (m_browser.service()->record().keyEvents.size() != before.keyEvents.size()) {
            woken = m_browser.service()->waitForKeyAnswers(before.keyAnswers.size() + 2, kStuck)
                && returned - m_browser.service()->record().keyAnswers.back().sentAt < kPromptKey;
        }
        return json{consumed, woken};
    } else if (step == "ait") {
        return m_wrapper->newAITNotification(a.at("version").get<unsigned int>(), aitWith(a.at("applications").get<int>()));
    } else if (step == "no_ait") {
        m_wrapper->noAITNotification(a.at("value").get<unsigned short>());
    } else if (step == "prepare_application") {
        return m_wrapper->prepareCreateApplication();
    } else if (step == "create_application") {
        return m_wrapper->createApplication(a.at("app").get<int>(), a.at("url").get<std::string>(), "");
    } else if (step == "close_user_apps") {
        m_wrapper->closeUserCreatedApps();
    } else if (step == "channel_changed") {
        m_wrapper->notifyChannelChanged(a.at("onid").get<unsigned short>(), a.at("sid").get<unsigned short>(),
                                        a.at("major").get<unsigned short>());
    } else if (step == "programme_changed") {
        m_wrapper->notifyProgrammeChanged(1, 2, 3);
    } else if (step == "locale") {
        m_wrapper->notifyLocaleChanged(a.at("value").get<std::string>().c_str());
    } else if (step == "timezone") {
        m_wrapper->notifyTimezoneChanged(a.at("value").get<std::string>().c_str());
    } else if (step == "teletext") {
        m_browser.dsmccClient()->setTeletextAnswer(a.at("answer").get<int>());
        return m_wrapper->toggleDigitalTeletext();
    } else if (step == "select_media") {
        if (a.at("audio").get<bool>()) {
            m_wrapper->selectMMAudioComponent(hostComponent(a.at("value").get<int>()));
        } else {
            m_wrapper->selectMMSubtitleComponent(hostComponent(a.at("value").get<int>()));
        }
    } else if (step == "deinit") {
        m_host.setWrapper(nullptr); // a host stops reporting to a wrapper it destroys
        m_destroy(m_wrapper);
        m_wrapper = nullptr;
    }
    return json();
}

// ---- Requests -----------------------------------------------------------------------------------

HostDecision StepPlayer::HostSide::decide(const HbbtvCommandPayload& request)
{
    Pending pending{"on_time", 0};
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (!next.empty()) {
            pending = next.front();
            next.pop_front();
        }
        byTicket[request.ticket] = pending;
    }
    const std::string& b = pending.behaviour;
    HostDecision decision;
    if (b == "late") {
        decision.delayMs = kLateMs;
    } else if (b == "twice") {
        decision.kind = HostDecision::AnswerTwice;
    } else if (b == "never") {
        decision = HostDecision{HostDecision::Never, 0, kGiveUpBudgetMs};
    } else if (b == "too_late") {
        decision = HostDecision{HostDecision::Answer, kTooLateMs, kGiveUpBudgetMs};
    } else if (b == "short_budget") {
        decision = HostDecision{HostDecision::Answer, kLateMs, kShortBudgetMs};
    } else if (b == "rewritten_ticket") {
        decision = HostDecision{HostDecision::UnknownTicket, 0, kGiveUpBudgetMs};
    }
    return decision;
}

void StepPlayer::HostSide::write(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    Pending pending{"on_time", 0};
    {
        std::lock_guard<std::mutex> lock(mutex);
        const auto found = byTicket.find(request.ticket);
        if (found != byTicket.end()) {
            pending = found->second;
        }
    }
    if (pending.behaviour == "garbage") {
        std::mt19937 random(static_cast<uint32_t>(pending.value));
        unsigned char* const bytes = reinterpret_cast<unsigned char*>(&answer);
        for (size_t i = 0; i < answerRecordSize(request.command); ++i) {
            bytes[i] = static_cast<unsigned char>(random());
        }
        answer.valid = 1;
        return;
    }
    answer.valid = 1;
    answer.intValue1 = pending.value;
    answer.strValue1 = ("c" + std::to_string(pending.value)).c_str();
}

json StepPlayer::startRequest(const json& a)
{
    const int id = a.at("id").get<int>();
    const std::string kind = a.at("kind").get<std::string>();
    const std::string behaviour = a.at("host").get<std::string>();
    if (m_requests.count(id) != 0) {
        return "request " + std::to_string(id) + " was made already";
    }
    const android::sp<ITVService> service = m_browser.tvService();
    if (service == nullptr) {
        return "the browser holds no TV service";
    }
    {
        std::lock_guard<std::mutex> lock(m_hostSide->mutex);
        m_hostSide->next.push_back(Pending{behaviour, a.at("value").get<int>()});
    }
    const size_t handedOver = m_host.record().requests.size();
    // On a thread of its own, as the browser's binder threads call: the step ends once the host has
    // the request (or the library refused it), and await_request collects what the browser got.
    std::shared_future<json> result = std::async(std::launch::async, [service, kind]() -> json {
        if (kind == "parental") {
            return service->getParentalControlThreshold();
        }
        if (kind == "audio_description") {
            return service->getAudioDescriptionEnable();
        }
        if (kind == "country") {
            std::string country = "none";
            service->getCountryId(country);
            return country;
        }
        service->stopVideo();
        return json();
    }).share();
    m_requests[id] = result;
    m_behaviourOf[id] = behaviour;
    const auto giveUpAt = std::chrono::steady_clock::now() + kStuck;
    while (m_host.record().requests.size() == handedOver) {
        if (result.wait_for(std::chrono::milliseconds(1)) == std::future_status::ready) {
            if (m_host.record().requests.size() != handedOver) {
                break; // answered within the millisecond: the host records a request before it answers
            }
            // Refused before the host saw it: its behaviour goes unused.
            std::lock_guard<std::mutex> lock(m_hostSide->mutex);
            if (!m_hostSide->next.empty()) {
                m_hostSide->next.pop_back();
            }
            m_behaviourOf[id] = "refused";
            break;
        }
        if (std::chrono::steady_clock::now() > giveUpAt) {
            return "the host never received the request";
        }
    }
    return json();
}

json StepPlayer::awaitRequest(int id)
{
    const auto found = m_requests.find(id);
    if (found == m_requests.end()) {
        return "no request " + std::to_string(id);
    }
    if (found->second.wait_for(kStuck) != std::future_status::ready) {
        return "stuck";
    }
    // What a host's random bytes make of an answer is not predicted: that the request came back
    // is what counts.
    return m_behaviourOf[id] == "garbage" ? json("garbage") : found->second.get();
}

} // namespace hbbtv_sim
