#include "SimulatedBrowser.h"

#include <binder/IServiceManager.h>
#include <utils/String16.h>

#include "LoopbackBinder.h"

namespace hbbtv_sim {

// ---- Windows ------------------------------------------------------------------------------------

SimulatedWindow::SimulatedWindow(int id, const std::string& url, const android::wp<SimulatedBrowserService>& browser)
    : m_id(id), m_url(url), m_browser(browser)
{
}

void SimulatedWindow::close()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back("close");
    }
    if (const android::sp<SimulatedBrowserService> browser = m_browser.promote()) {
        browser->windowClosed(m_id);
    }
}

int SimulatedWindow::getId()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.push_back("getId");
    return m_id;
}

std::vector<std::string> SimulatedWindow::calls() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

// ---- The browser service ------------------------------------------------------------------------

SimulatedBrowserService::SimulatedBrowserService() = default;

void SimulatedBrowserService::sendKeyEvent(int eventId, int keyCode, int pressed, int arg4, int arg5)
{
    const KeyEvent event{eventId, keyCode, pressed, arg4, arg5};
    KeyReplier replier;
    KeyReply reply;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_record.keyEvents.push_back(event);
        m_changed.notify_all();
        replier = m_keyReplier;
        const auto it = m_keyReplyFor.find(keyCode);
        reply = it != m_keyReplyFor.end() ? it->second : m_keyReply;
    }
    if (replier) {
        reply = replier(event);
    }
    if (!reply.answer) {
        return;
    }
    // The glue holds its lock across this call and takes it again for the answer: the answer
    // can only come from elsewhere, later.
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping) {
            return;
        }
        m_pendingAnswers.emplace(std::chrono::steady_clock::now() + std::chrono::milliseconds(reply.delayMs),
                                 PendingAnswer{eventId, reply.consumed});
    }
    m_wake.notify_all();
}

void SimulatedBrowserService::registerClient(const android::sp<IYXTClient>& client)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_client = client;
    ++m_record.clientRegistrations;
    m_changed.notify_all();
}

void SimulatedBrowserService::registerMMClient(const android::sp<IYXTMMClient>& client)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_mmClient = client;
    ++m_record.mmClientRegistrations;
    m_changed.notify_all();
}

android::sp<IWindow> SimulatedBrowserService::createWindow(const std::string& url, int x, int y, int width,
                                                           int height, const YXTWindowSettings& settings)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const int id = m_nextWindowId++;
    const android::sp<SimulatedWindow> window = new SimulatedWindow(id, url, this);
    m_windows[id] = window;
    m_record.createdWindows.push_back(CreatedWindow{id, url, x, y, width, height, settings});
    m_record.openWindows.clear();
    for (const auto& entry : m_windows) {
        m_record.openWindows.push_back(entry.first);
    }
    m_changed.notify_all();
    return window;
}

android::KeyedVector<int, android::sp<IWindow>> SimulatedBrowserService::getAllWindows()
{
    android::KeyedVector<int, android::sp<IWindow>> windows;
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& entry : m_windows) {
        windows.add(entry.first, entry.second);
    }
    return windows;
}

android::sp<IWindow> SimulatedBrowserService::getWindow(int windowId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_windows.find(windowId);
    return it != m_windows.end() ? it->second : nullptr;
}

void SimulatedBrowserService::setBrowserEnv(const std::string& name, const std::string& value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.browserEnv.emplace_back(name, value);
    m_changed.notify_all();
}

void SimulatedBrowserService::selectAudioComponent(const MultimediaComponentData& component, uint32_t value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.componentSelections.push_back(ComponentSelection{true, component, value});
    m_changed.notify_all();
}

void SimulatedBrowserService::selectSubtitleComponent(const MultimediaComponentData& component, uint32_t value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.componentSelections.push_back(ComponentSelection{false, component, value});
    m_changed.notify_all();
}

void SimulatedBrowserService::releaseMMResource()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_record.mmResourceReleases;
    m_changed.notify_all();
}

void SimulatedBrowserService::setKeyReply(KeyReply reply)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_keyReply = reply;
}

void SimulatedBrowserService::setKeyReplyFor(int keyCode, KeyReply reply)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_keyReplyFor[keyCode] = reply;
}

void SimulatedBrowserService::setKeyReplier(KeyReplier replier)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_keyReplier = std::move(replier);
}

android::sp<SimulatedWindow> SimulatedBrowserService::addWindow(int windowId, const std::string& url)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const android::sp<SimulatedWindow> window = new SimulatedWindow(windowId, url, this);
    m_windows[windowId] = window;
    m_record.openWindows.clear();
    for (const auto& entry : m_windows) {
        m_record.openWindows.push_back(entry.first);
    }
    return window;
}

void SimulatedBrowserService::setNextWindowId(int windowId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_nextWindowId = windowId;
}

android::sp<IYXTClient> SimulatedBrowserService::client() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_client;
}

android::sp<IYXTMMClient> SimulatedBrowserService::mmClient() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_mmClient;
}

BrowserServiceRecord SimulatedBrowserService::record() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_record;
}

template <typename Reached>
bool SimulatedBrowserService::waitFor(Reached reached, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [&] { return reached(m_record); });
}

bool SimulatedBrowserService::waitForKeyEvents(size_t count, std::chrono::milliseconds timeout) const
{
    return waitFor([count](const BrowserServiceRecord& r) { return r.keyEvents.size() >= count; }, timeout);
}

bool SimulatedBrowserService::waitForKeyAnswers(size_t count, std::chrono::milliseconds timeout) const
{
    return waitFor([count](const BrowserServiceRecord& r) { return r.keyAnswers.size() >= count; }, timeout);
}

void SimulatedBrowserService::forgetPeer()
{
    // Released after the lock: the last reference to a glue object runs its destructor.
    android::sp<IYXTClient> client;
    android::sp<IYXTMMClient> mmClient;
    std::map<int, android::sp<SimulatedWindow>> windows;
    std::lock_guard<std::mutex> lock(m_mutex);
    client = std::move(m_client);
    mmClient = std::move(m_mmClient);
    windows.swap(m_windows);
    m_record.openWindows.clear();
    m_pendingAnswers.clear();
}

void SimulatedBrowserService::shutdown()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    forgetPeer();
}

void SimulatedBrowserService::windowClosed(int windowId)
{
    android::sp<SimulatedWindow> closed; // released after the lock
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_windows.find(windowId);
    if (it == m_windows.end()) {
        return;
    }
    closed = it->second;
    m_windows.erase(it);
    m_record.closedWindows.push_back(windowId);
    m_record.openWindows.clear();
    for (const auto& entry : m_windows) {
        m_record.openWindows.push_back(entry.first);
    }
    m_changed.notify_all();
}

void SimulatedBrowserService::runKeyAnswers()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_pendingAnswers.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const std::chrono::steady_clock::time_point due = m_pendingAnswers.begin()->first;
        if (std::chrono::steady_clock::now() < due) {
            m_wake.wait_until(lock, due);
            continue;
        }
        const PendingAnswer pending = m_pendingAnswers.begin()->second;
        m_pendingAnswers.erase(m_pendingAnswers.begin());
        android::sp<IYXTClient> client = m_client;
        if (client == nullptr) {
            continue;
        }
        lock.unlock();
        const KeyAnswer answer{pending.eventId, pending.consumed, std::this_thread::get_id(),
                               std::chrono::steady_clock::now()};
        client->notifyKeyEventConsumed(pending.eventId, pending.consumed);
        client.clear();
        lock.lock();
        m_record.keyAnswers.push_back(answer);
        m_changed.notify_all();
    }
}

// ---- Clients ------------------------------------------------------------------------------------

void SimulatedAITSignallingClient::signalNewAIT(unsigned int aitVersion,
                                                std::vector<NCOR::AITApplicationDescriptorData*>& apps, int count)
{
    AITSignallingRecord::NewAIT ait;
    ait.aitVersion = aitVersion;
    ait.count = count;
    for (NCOR::AITApplicationDescriptorData* app : apps) {
        if (app != nullptr) {
            ait.applications.push_back(*app);
            delete app;
        }
    }
    apps.clear();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.newAITs.push_back(std::move(ait));
}

void SimulatedAITSignallingClient::signalNoAIT(unsigned short value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.noAITs.push_back(value);
}

AITSignallingRecord SimulatedAITSignallingClient::record() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_record;
}

void SimulatedChannelManagerClient::channelListChanged(std::vector<NCOR::ChannelTunerData*>& channels)
{
    std::vector<NCOR::ChannelTunerData> copies;
    for (const NCOR::ChannelTunerData* channel : channels) {
        if (channel != nullptr) {
            copies.push_back(*channel);
        }
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.channelLists.push_back(std::move(copies));
}

void SimulatedChannelManagerClient::channelChanged(const NCOR::ChannelTunerData& channel, int state)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.channelChanges.emplace_back(channel, state);
}

void SimulatedChannelManagerClient::tunerStopped(int state)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.tunerStops.push_back(state);
}

void SimulatedChannelManagerClient::programmeChanged()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_record.programmeChanges;
}

void SimulatedChannelManagerClient::channelModified(const NCOR::ChannelTunerData& channel)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.channelModifications.push_back(channel);
}

void SimulatedChannelManagerClient::accessToBroadcastResources(bool granted)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.broadcastAccess.push_back(granted);
}

void SimulatedChannelManagerClient::tunerStateChanged(int state)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.tunerStates.push_back(state);
}

ChannelManagerRecord SimulatedChannelManagerClient::record() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_record;
}

void SimulatedDSMCCClient::streamEvent(const StreamEventData& event)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.streamEvents.push_back(event);
}

int SimulatedDSMCCClient::toggleTeletext(int on)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.teletextToggles.push_back(on);
    return m_teletextAnswer;
}

void SimulatedDSMCCClient::setTeletextAnswer(int answer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_teletextAnswer = answer;
}

DSMCCRecord SimulatedDSMCCClient::record() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_record;
}

void SimulatedTvConfigurationClient::configurationChanged()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_changes;
}

unsigned int SimulatedTvConfigurationClient::configurationChanges() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_changes;
}

void SimulatedRecordingManagerClient::recordingStateChanged(const std::string& recordingId, int state)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_states.emplace_back(recordingId, state);
}

std::vector<std::pair<std::string, int>> SimulatedRecordingManagerClient::recordingStates() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_states;
}

// ---- The browser process ------------------------------------------------------------------------

const char* const SimulatedBrowser::kServiceName = "com.kalto.YXTService";
const char* const SimulatedBrowser::kTVServiceName = "kalto.TVService";

SimulatedBrowser::SimulatedBrowser()
    : m_service(new SimulatedBrowserService), m_aitSignallingClient(new SimulatedAITSignallingClient),
      m_channelManagerClient(new SimulatedChannelManagerClient), m_dsmccClient(new SimulatedDSMCCClient),
      m_tvConfigurationClient(new SimulatedTvConfigurationClient),
      m_recordingManagerClient(new SimulatedRecordingManagerClient)
{
    // The thread uses the service through this object's reference, which outlives the thread.
    SimulatedBrowserService* const service = m_service.get();
    m_keyThread = std::thread([service] { service->runKeyAnswers(); });
}

SimulatedBrowser::~SimulatedBrowser()
{
    m_service->shutdown();
    m_keyThread.join();
}

bool SimulatedBrowser::publish()
{
    return android::defaultServiceManager()->addService(android::String16(kServiceName), m_service) ==
           android::NO_ERROR;
}

bool SimulatedBrowser::registerClients()
{
    const android::sp<android::IBinder> binder =
        android::defaultServiceManager()->checkService(android::String16(kTVServiceName));
    const android::sp<ITVService> tvService = ITVService::asInterface(binder);
    if (tvService == nullptr) {
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_tvService = tvService;
    }
    tvService->registerAITSignallingClient(m_aitSignallingClient);
    tvService->registerChannelManagerClient(m_channelManagerClient);
    tvService->registerDSMCCClient(m_dsmccClient);
    tvService->registerRecordingManagerClient(m_recordingManagerClient);
    tvService->registerTvConfigurationClient(m_tvConfigurationClient);
    return true;
}

android::sp<ITVService> SimulatedBrowser::tvService() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_tvService;
}

bool SimulatedBrowser::die()
{
    m_service->forgetPeer();
    android::sp<ITVService> tvService;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        tvService = std::move(m_tvService);
    }
    tvService.clear();
    return loopback_binder::killService(android::String16(kServiceName));
}

template <typename Call>
bool SimulatedBrowser::toClient(Call call)
{
    const android::sp<IYXTClient> client = m_service->client();
    if (client == nullptr) {
        return false;
    }
    call(client);
    return true;
}

template <typename Call>
bool SimulatedBrowser::toMMClient(Call call)
{
    const android::sp<IYXTMMClient> client = m_service->mmClient();
    if (client == nullptr) {
        return false;
    }
    call(client);
    return true;
}

bool SimulatedBrowser::notifyNewWindow(int windowId)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyNewWindow(windowId); });
}

bool SimulatedBrowser::notifyWindowClosed(int windowId)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyWindowClosed(windowId); });
}

bool SimulatedBrowser::notifyLoadStarted(int loadId, const std::string& url)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyLoadStarted(loadId, url); });
}

bool SimulatedBrowser::notifyLoadProgress(int loadId, int percent)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyLoadProgress(loadId, percent); });
}

bool SimulatedBrowser::notifyLoadComplete(int loadId)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyLoadComplete(loadId); });
}

bool SimulatedBrowser::notifyLoadFailed(int loadId, const std::string& url, int error)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyLoadFailed(loadId, url, error); });
}

bool SimulatedBrowser::notifyInitialLayoutCompleted(int loadId)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyInitialLayoutCompleted(loadId); });
}

bool SimulatedBrowser::notifyWindowPainted(int windowId, int x, int y, int width, int height)
{
    return toClient([&](const android::sp<IYXTClient>& c) { c->notifyWindowPainted(windowId, x, y, width, height); });
}

bool SimulatedBrowser::notifyAudioComponentsChanged(const std::vector<MultimediaComponentData>& components, int value)
{
    return toMMClient(
        [&](const android::sp<IYXTMMClient>& c) { c->notifyAudioComponentsChanged(components, value); });
}

bool SimulatedBrowser::notifySubtitleComponentsChanged(const std::vector<MultimediaComponentData>& components,
                                                       int value)
{
    return toMMClient(
        [&](const android::sp<IYXTMMClient>& c) { c->notifySubtitleComponentsChanged(components, value); });
}

} // namespace hbbtv_sim
