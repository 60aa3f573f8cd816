// The simulated browser process: its binder service "com.kalto.YXTService" and the client
// objects it registers with the television's TV service, all recording every call they receive.
// Key events are answered on a thread of the browser's own, as the real browser answers from its
// event loop; window and load reports and media component reports are sent when a test says so.
//
// Binder objects here are owned through android::sp only. The glue keeps references to them
// after the browser has died or is gone; they stay safe to call, and a browser that has died or
// shut down no longer calls back.
#ifndef HBBTV_SIM_SIMULATED_BROWSER_H
#define HBBTV_SIM_SIMULATED_BROWSER_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <utils/StrongPointer.h>

#include "IAITSignallingClient.h"
#include "IChannelManagerClient.h"
#include "IDSMCCClient.h"
#include "IRecordingManagerClient.h"
#include "ITVService.h"
#include "ITvConfigurationClient.h"
#include "IWindow.h"
#include "IYXTClient.h"
#include "IYXTMMClient.h"
#include "IYXTService.h"
#include "ncor/NcorRecords.h"

namespace hbbtv_sim {

class SimulatedBrowserService;

// ---- The browser service -----------------------------------------------------------------------

struct KeyEvent {
    int eventId = 0;
    int keyCode = 0;
    int pressed = 0;
    int arg4 = 0;
    int arg5 = 0;
};

// How the browser answers one key event: whether at all, the verdict, and how long after the
// event arrived.
struct KeyReply {
    bool answer = true;
    bool consumed = true;
    unsigned int delayMs = 0;
};

struct KeyAnswer {
    int eventId = 0;
    bool consumed = false;
    std::thread::id thread;
    std::chrono::steady_clock::time_point sentAt;
};

struct CreatedWindow {
    int id = 0;
    std::string url;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    YXTWindowSettings settings;
};

struct ComponentSelection {
    bool audio = true; // false: subtitles
    MultimediaComponentData component;
    uint32_t value = 0;
};

// Everything the glue asked of the browser service, in arrival order.
struct BrowserServiceRecord {
    unsigned int clientRegistrations = 0;
    unsigned int mmClientRegistrations = 0;
    std::vector<KeyEvent> keyEvents;
    std::vector<KeyAnswer> keyAnswers; // recorded once the glue has taken the answer
    std::vector<CreatedWindow> createdWindows;
    std::vector<int> closedWindows;
    std::vector<int> openWindows; // ascending
    std::vector<std::pair<std::string, std::string>> browserEnv;
    std::vector<ComponentSelection> componentSelections;
    unsigned int mmResourceReleases = 0;
};

class SimulatedWindow : public BnWindow {
public:
    SimulatedWindow(int id, const std::string& url, const android::wp<SimulatedBrowserService>& browser);

    void close() override;
    int getId() override;

    const std::string& url() const { return m_url; }
    // Every call the glue made on this window, by name ("close", "getId"), in order.
    std::vector<std::string> calls() const;

private:
    const int m_id;
    const std::string m_url;
    const android::wp<SimulatedBrowserService> m_browser;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_calls;
};

class SimulatedBrowserService : public BnYXTService {
public:
    typedef std::function<KeyReply(const KeyEvent&)> KeyReplier;

    SimulatedBrowserService();

    // IYXTService
    void sendKeyEvent(int eventId, int keyCode, int pressed, int arg4, int arg5) override;
    void registerClient(const android::sp<IYXTClient>& client) override;
    void registerMMClient(const android::sp<IYXTMMClient>& client) override;
    android::sp<IWindow> createWindow(const std::string& url, int x, int y, int width, int height,
                                      const YXTWindowSettings& settings) override;
    android::KeyedVector<int, android::sp<IWindow>> getAllWindows() override;
    android::sp<IWindow> getWindow(int windowId) override;
    void setBrowserEnv(const std::string& name, const std::string& value) override;
    void selectAudioComponent(const MultimediaComponentData& component, uint32_t value) override;
    void selectSubtitleComponent(const MultimediaComponentData& component, uint32_t value) override;
    void releaseMMResource() override;

    // Key answers: a replier, if set, decides each event; otherwise the reply for its key code,
    // otherwise the general one (consumed, at once). Answers go out from runKeyAnswers on the
    // browser's own thread, never inside sendKeyEvent.
    void setKeyReply(KeyReply reply);
    void setKeyReplyFor(int keyCode, KeyReply reply);
    void setKeyReplier(KeyReplier replier);

    // A window the browser opened by itself (its first window is 1); windows created for the glue
    // are numbered from setNextWindowId, 2 unless set.
    android::sp<SimulatedWindow> addWindow(int windowId, const std::string& url);
    void setNextWindowId(int windowId);

    // The client the glue registered, null until then.
    android::sp<IYXTClient> client() const;
    android::sp<IYXTMMClient> mmClient() const;

    BrowserServiceRecord record() const;
    bool waitForKeyEvents(size_t count, std::chrono::milliseconds timeout) const;
    bool waitForKeyAnswers(size_t count, std::chrono::milliseconds timeout) const;

    // Sends key answers as they fall due, until shutdown. Its thread must end before the last
    // reference to the service goes (SimulatedBrowser owns it so).
    void runKeyAnswers();
    // What a dying process loses: the glue's clients, its windows and unsent key answers. The
    // record stays.
    void forgetPeer();
    // Ends runKeyAnswers for good and forgets the peer.
    void shutdown();

    // From a window of this browser.
    void windowClosed(int windowId);

private:
    struct PendingAnswer {
        int eventId;
        bool consumed;
    };

    template <typename Reached>
    bool waitFor(Reached reached, std::chrono::milliseconds timeout) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::condition_variable m_wake;
    BrowserServiceRecord m_record;
    android::sp<IYXTClient> m_client;
    android::sp<IYXTMMClient> m_mmClient;
    std::map<int, android::sp<SimulatedWindow>> m_windows;
    int m_nextWindowId = 2;
    KeyReply m_keyReply;
    std::map<int, KeyReply> m_keyReplyFor;
    KeyReplier m_keyReplier;
    std::multimap<std::chrono::steady_clock::time_point, PendingAnswer> m_pendingAnswers;
    bool m_stopping = false;
};

// ---- The browser's clients, registered through the TV service -----------------------------------

struct AITSignallingRecord {
    struct NewAIT {
        unsigned int aitVersion = 0;
        std::vector<NCOR::AITApplicationDescriptorData> applications;
        int count = 0;
    };
    std::vector<NewAIT> newAITs;
    std::vector<unsigned short> noAITs;
};

class SimulatedAITSignallingClient : public BnAITSignallingClient {
public:
    // Takes the records over, as the receiver does, and frees them.
    void signalNewAIT(unsigned int aitVersion, std::vector<NCOR::AITApplicationDescriptorData*>& apps,
                      int count) override;
    void signalNoAIT(unsigned short value) override;
    AITSignallingRecord record() const;

private:
    mutable std::mutex m_mutex;
    AITSignallingRecord m_record;
};

struct ChannelManagerRecord {
    std::vector<std::vector<NCOR::ChannelTunerData>> channelLists;
    std::vector<std::pair<NCOR::ChannelTunerData, int>> channelChanges;
    std::vector<int> tunerStops;
    unsigned int programmeChanges = 0;
    std::vector<NCOR::ChannelTunerData> channelModifications;
    std::vector<bool> broadcastAccess;
    std::vector<int> tunerStates;
};

class SimulatedChannelManagerClient : public BnChannelManagerClient {
public:
    // Copies the channels; the sender keeps and frees them.
    void channelListChanged(std::vector<NCOR::ChannelTunerData*>& channels) override;
    void channelChanged(const NCOR::ChannelTunerData& channel, int state) override;
    void tunerStopped(int state) override;
    void programmeChanged() override;
    void channelModified(const NCOR::ChannelTunerData& channel) override;
    void accessToBroadcastResources(bool granted) override;
    void tunerStateChanged(int state) override;
    ChannelManagerRecord record() const;

private:
    mutable std::mutex m_mutex;
    ChannelManagerRecord m_record;
};

struct DSMCCRecord {
    std::vector<StreamEventData> streamEvents;
    std::vector<int> teletextToggles;
};

class SimulatedDSMCCClient : public BnDSMCCClient {
public:
    void streamEvent(const StreamEventData& event) override;
    // Answers with the value set by setTeletextAnswer (0 unless set).
    int toggleTeletext(int on) override;
    void setTeletextAnswer(int answer);
    DSMCCRecord record() const;

private:
    mutable std::mutex m_mutex;
    DSMCCRecord m_record;
    int m_teletextAnswer = 0;
};

class SimulatedTvConfigurationClient : public BnTvConfigurationClient {
public:
    void configurationChanged() override;
    unsigned int configurationChanges() const;

private:
    mutable std::mutex m_mutex;
    unsigned int m_changes = 0;
};

class SimulatedRecordingManagerClient : public BnRecordingManagerClient {
public:
    void recordingStateChanged(const std::string& recordingId, int state) override;
    std::vector<std::pair<std::string, int>> recordingStates() const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::string, int>> m_states;
};

// ---- The browser process ------------------------------------------------------------------------

class SimulatedBrowser {
public:
    static const char* const kServiceName;   // published by the browser
    static const char* const kTVServiceName; // published by the glue

    SimulatedBrowser();
    // Shuts the service down (no more answers or reports); the binder objects live on for as long
    // as the glue holds them.
    ~SimulatedBrowser();
    SimulatedBrowser(const SimulatedBrowser&) = delete;
    SimulatedBrowser& operator=(const SimulatedBrowser&) = delete;

    // Adds the browser service to the service manager (again after a death).
    bool publish();
    // Looks the TV service up and registers the five clients through it; false when the TV
    // service is not published.
    bool registerClients();
    android::sp<ITVService> tvService() const;
    // The process dies: it forgets the glue's objects, and everyone linked to its service hears
    // binderDied (on this thread). False when the service was not published.
    bool die();

    const android::sp<SimulatedBrowserService>& service() const { return m_service; }
    const android::sp<SimulatedAITSignallingClient>& aitSignallingClient() const { return m_aitSignallingClient; }
    const android::sp<SimulatedChannelManagerClient>& channelManagerClient() const { return m_channelManagerClient; }
    const android::sp<SimulatedDSMCCClient>& dsmccClient() const { return m_dsmccClient; }
    const android::sp<SimulatedTvConfigurationClient>& tvConfigurationClient() const
    {
        return m_tvConfigurationClient;
    }
    const android::sp<SimulatedRecordingManagerClient>& recordingManagerClient() const
    {
        return m_recordingManagerClient;
    }

    // Reports to the glue through the client it registered, on the calling thread (a binder
    // thread of the browser's side); false when no client is registered.
    bool notifyNewWindow(int windowId);
    bool notifyWindowClosed(int windowId);
    bool notifyLoadStarted(int loadId, const std::string& url);
    bool notifyLoadProgress(int loadId, int percent);
    bool notifyLoadComplete(int loadId);
    bool notifyLoadFailed(int loadId, const std::string& url, int error);
    bool notifyInitialLayoutCompleted(int loadId);
    bool notifyWindowPainted(int windowId, int x, int y, int width, int height);
    bool notifyAudioComponentsChanged(const std::vector<MultimediaComponentData>& components, int value);
    bool notifySubtitleComponentsChanged(const std::vector<MultimediaComponentData>& components, int value);

private:
    template <typename Call>
    bool toClient(Call call);
    template <typename Call>
    bool toMMClient(Call call);

    android::sp<SimulatedBrowserService> m_service;
    android::sp<SimulatedAITSignallingClient> m_aitSignallingClient;
    android::sp<SimulatedChannelManagerClient> m_channelManagerClient;
    android::sp<SimulatedDSMCCClient> m_dsmccClient;
    android::sp<SimulatedTvConfigurationClient> m_tvConfigurationClient;
    android::sp<SimulatedRecordingManagerClient> m_recordingManagerClient;
    mutable std::mutex m_mutex;
    android::sp<ITVService> m_tvService;
    std::thread m_keyThread; // runs the service's key answers while this object lives
};

} // namespace hbbtv_sim

#endif
