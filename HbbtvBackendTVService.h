// The TV service ("kalto.TVService"): the browser's requests for broadcast services, each turned
// into a numbered backend command that the host answers through the service agent.
#ifndef HBBTV_BACKEND_TV_SERVICE_H
#define HBBTV_BACKEND_TV_SERVICE_H

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <utils/String16.h>
#include <utils/Vector.h>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.ServiceAgent.h"
#include "HbbtvBackendGlue.TraceRecords.h"
#include "HbbtvBackendRecords.h"
#include "HbbtvHostRecords.h"
#include "IAITSignallingClient.h"
#include "IChannelManagerClient.h"
#include "IDSMCCClient.h"
#include "IRecordingManagerClient.h"
#include "ITVService.h"
#include "ITvConfigurationClient.h"
#include "ncor/AITApplicationDescriptorData.h"
#include "ZR_HbbtvImplInterface.h"

namespace ZR_HBBTV_Core {

// The host's report of a tune attempt.
enum HbbtvTunerState {
    HbbtvTunerState_CannotTune = 1,
    HbbtvTunerState_CannotChangeChannel = 12,
    HbbtvTunerState_Tuned = 101,
};

// Chained initialiser for the translation tables:
//   static const std::map<K, V> table = map_list_of<K, V>(k1, v1)(k2, v2);
template <typename K, typename V>
class map_list_of {
public:
    map_list_of(const K& key, const V& value) { m_map[key] = value; }
    map_list_of& operator()(const K& key, const V& value)
    {
        m_map[key] = value;
        return *this;
    }
    operator std::map<K, V>() const { return m_map; }

private:
    std::map<K, V> m_map;
};

// A host text read as far as its stored length says. A length past what the text can hold is cut
// to the 254 characters that the string keeps, with one log line naming what was read.
std::string hostStoredText(const HbbtvRecordString& text, const char* what);
// A host text up to its terminator, never past its record.
std::string hostTerminatedText(const HbbtvRecordString& text);

// The three lines of an operation that is not implemented: pass in, the error with its line, pass out.
void logNotImplemented(const char* operation, int line);

// The host's channel record into the browser's; the transport stream id is left as it was.
class TranslateChannelData {
public:
    static NCOR::Broadcast::ChannelIDType HbbtvIDType2InteralIDType(
        HbbtvServiceRequestChannelInfoAnswer::HbbtvIDType type);
    // The same for a word as the host wrote it; a value outside the table is analogue.
    static NCOR::Broadcast::ChannelIDType hostIDType(uint32_t value);
    void operator()(HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo& info, NCOR::ChannelTunerData& channel);
};

// The present or following programme as the host reports it.
class ProgrammeInfoTranslator {
public:
    void operator()(HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info, NCOR::ProgrammeData& programme);
};

// The host's component block into browser records, appended to the caller's vector, which owns them.
class AvComponentInfoTranslator {
public:
    void operator()(NCOR::Broadcast::ComponentType type, HbbtvAVComponentInfo& info,
                    std::vector<NCOR::AVComponentData*>& components);
    void translateVideoData(HbbtvAVComponentInfo& info, std::vector<NCOR::AVComponentData*>& components);
    void translateAudioData(HbbtvAVComponentInfo& info, std::vector<NCOR::AVComponentData*>& components);
    void translateSubtitleData(HbbtvAVComponentInfo& info, std::vector<NCOR::AVComponentData*>& components);
};

// The service identifier of a dvb: URL: the hexadecimal text between its second and third dot
// (dots at position 0 do not count).
class FindServiceIdFromDvbUrl {
public:
    bool operator()(const std::string& url, unsigned int& serviceId);
};

// A result object that the host fills in place through a payload's address word (a schedule, a
// list of descriptors). It lives in the shared region, since on a 64-bit build only that region is
// sure to lie below 4 GiB; its elements stay on the heap.
class SharedRegionResult {
public:
    virtual ~SharedRegionResult() {}
    // Gives the object up, with what destroys it, to whoever keeps it for the host from now on.
    virtual HostHeldRecord handOver() = 0;
    // Whether the object lies in the region (it comes from the heap when the region is full).
    virtual bool inRegion() const = 0;
};

template <typename T> class SharedRegionObject : public SharedRegionResult {
public:
    SharedRegionObject();
    ~SharedRegionObject() override;
    SharedRegionObject(const SharedRegionObject&) = delete;
    SharedRegionObject& operator=(const SharedRegionObject&) = delete;

    T& operator*() { return *m_object; }
    T* operator->() { return m_object; }
    // 0 for an object the region had no room for: its request is refused anyway.
    uint32_t wireAddress() const { return inRegion() ? toWireAddress(m_object) : 0; }
    HostHeldRecord handOver() override;
    bool inRegion() const override { return hbbtvBackendInRegion(m_object); }

private:
    static void destroy(void* object);
    T* m_object;
};

// A client reference that is read without any lock. An sp is not copied atomically (a copy that
// races a replacement may take its reference on an object the replacement has just freed), so the
// slot keeps a plain pointer and a strong reference of its own on what it points to. A reader
// counts itself in before it loads the pointer and out once its copy holds a reference. A
// replacement swaps the pointer, then waits until it sees no reader counted in before it lets go
// of the old object: a reader that loaded the old pointer was counted in before the swap, so by
// then it holds a reference of its own. Readers never wait; a replacement waits at most for a
// reader's copy.
template <typename T> class LockFreeClient {
public:
    LockFreeClient() : m_client(nullptr), m_readers(0) {}
    ~LockFreeClient() { set(nullptr); }
    LockFreeClient(const LockFreeClient&) = delete;
    LockFreeClient& operator=(const LockFreeClient&) = delete;

    android::sp<T> get() const
    {
        m_readers.fetch_add(1);
        T* const loaded = m_client.load();
        injectDelay("lock-free-client");
        android::sp<T> client(loaded);
        m_readers.fetch_sub(1);
        return client;
    }

    void set(const android::sp<T>& client)
    {
        T* const next = client.get();
        if (next != nullptr) {
            next->incStrong(this);
        }
        T* const old = m_client.exchange(next);
        while (m_readers.load() != 0) {
            sched_yield();
        }
        if (old != nullptr) {
            old->decStrong(this);
        }
    }

private:
    std::atomic<T*> m_client;
    mutable std::atomic<unsigned int> m_readers;
};

class HbbtvBackendTVService : public BnTVService {
    // Lets a test hold the clients' lock and see what waits for it.
    friend struct TVServiceLocks;

public:
    // Creates, starts and publishes the single instance on the first call; later calls return it.
    static HbbtvBackendTVService* instantiate(Hbbtv_TVServer* server, HbbtvBackendClientRegister* clientRegister);

    HbbtvBackendTVService(Hbbtv_TVServer* server, HbbtvBackendClientRegister* clientRegister);
    ~HbbtvBackendTVService() override;

    // The owner's teardown: from here on requests are refused at once and the clients released.
    // The object itself stays, published, until its last reference goes.
    void teardown() HBBTV_EXCLUDES(m_clientsMutex);

    // The request path.
    // The next ticket: 32-bit, never 0, and never the same for two requests in flight.
    unsigned int ticket();
    // Sends the request and waits; true when the host answered it (the answer may still say not
    // valid). When the request is given up the host may still write its records, so they go to
    // the agent, which keeps them until the host reports them finished: the payload comes back
    // null and the answer as a fresh one, not valid. The result object, if any, goes with them.
    template <typename Payload, typename Answer>
    bool sendServiceRequest(std::unique_ptr<Payload>& payload, std::unique_ptr<Answer>& answer,
                            SharedRegionResult* result = nullptr);
    void serviceRequestFinished(unsigned int ticket);
    void SetHbbTVRunningStatus(bool running);
    bool GetHbbTVRunningStatus();
    bool CheckIfAITClientExisted();
    bool CheckIfDSMCCClientExisted();
    // The browser's carousel client, read without any lock: the teletext toggle reaches it here,
    // so that no thread holding a lock (a slow browser call under the manager's, the agent's
    // thread inside a hand-over) holds the toggle up.
    android::sp<IDSMCCClient> dsmccClient() const { return m_dsmccClient.get(); }
    bool CheckIfCMClientExisted();

    // ITVService, in its slot order.
    void registerAITSignallingClient(const android::sp<IAITSignallingClient>& client) override;
    void registerChannelManagerClient(const android::sp<IChannelManagerClient>& client) override;
    void registerDSMCCClient(const android::sp<IDSMCCClient>& client) override;
    void registerTvConfigurationClient(const android::sp<ITvConfigurationClient>& client) override;
    bool requestOCResourceMount(const std::string& url, std::string& mountPoint) override;
    void suspendBroadcastService() override;
    void resumeBroadcastService() override;
    bool isBroadcastServiceSuspended() override;
    void registerStreamEvent(const std::string& target, const std::string& eventName) override;
    void registerStreamEvent(const std::string& target, const std::string& eventName, bool flag, long number) override;
    void unregisterStreamEvent(const std::string& target, const std::string& eventName) override;
    void unregisterAllStreamEvents() override;
    bool getCurrentChannel(NCOR::ChannelTunerData& channel) override;
    bool getChannelList(std::vector<NCOR::ChannelTunerData*>& channels) override;
    bool canResolveURI(const std::string& uri) override;
    void setViewport(bool fullScreen, int x, int y, int width, int height) override;
    NCOR::Broadcast::PlayStateError bindToCurrentChannel(const NCOR::ChannelTunerData& channel) override;
    NCOR::Broadcast::PlayStateError tune(const NCOR::ChannelTunerData& channel) override;
    void stopVideo() override;
    void releaseVideo() override;
    void getProgrammes(std::vector<NCOR::ProgrammeData*>& programmes) override;
    void getSIDescriptors(const std::string& programmeID, NCOR::EIT::DescriptorTag tag,
                          NCOR::EIT::ExtensionDescriptorTag extensionTag,
                          std::vector<std::vector<unsigned char>>& descriptors) override;
    bool getAllProgrammesForChannel(const NCOR::ChannelTunerData& channel,
                                    std::vector<NCOR::ProgrammeData*>& programmes) override;
    void getAVComponents(NCOR::Broadcast::ComponentType type, std::vector<NCOR::AVComponentData*>& components) override;
    void getActiveAVComponents(NCOR::Broadcast::ComponentType type,
                               std::vector<NCOR::AVComponentData*>& components) override;
    void selectAVComponent(const NCOR::AVComponentData& component) override;
    void unselectAVComponent(const NCOR::AVComponentData& component) override;
    bool isTrickPlaySupported() override;
    bool getAudioDescriptionEnable() override;
    void getPreferredAudioLanguage(std::string& language) override;
    void setPreferredAudioLanguage(const std::string& language) override;
    void getPreferredSubtitleLanguage(std::string& language) override;
    void setPreferredSubtitleLanguage(const std::string& language) override;
    void getCountryId(std::string& country) override;
    void setCountryId(const std::string& country) override;
    unsigned int getRegionId() override;
    void setRegionId(unsigned int region) override;
    NCOR::Broadcast::PVRPolicy getPvrPolicy() override;
    void setPvrPolicy(NCOR::Broadcast::PVRPolicy policy) override;
    unsigned int getPvrSaveEpisodes() override;
    void setPvrSaveEpisodes(unsigned int episodes) override;
    unsigned int getPvrSaveDays() override;
    void setPvrSaveDays(unsigned int days) override;
    int getPvrStartPadding() override;
    void setPvrStartPadding(int seconds) override;
    int getPvrEndPadding() override;
    void setPvrEndPadding(int seconds) override;
    NCOR::Broadcast::RecordingState scheduleRecording(const NCOR::RecordingData& recording) override;
    void removeRecording(const NCOR::ScheduledRecordingData& recording) override;
    void updateScheduledRecording(const NCOR::ScheduledRecordingData& recording) override;
    NCOR::Broadcast::RecordingState startRecording(const NCOR::RecordingData& recording) override;
    NCOR::Broadcast::RecordingState stopRecording(const NCOR::RecordingData& recording) override;
    void getRecordings(std::vector<NCOR::RecordingData*>& recordings) override;
    void getScheduledRecordings(std::vector<NCOR::ScheduledRecordingData*>& recordings) override;
    bool getParentalControlPINEnable() override;
    bool verifyParentalControlPIN(const std::string& pin) override;
    int getParentalControlThreshold() override;
    void getModelName(std::string& name) override;
    void getSoftwareVersion(std::string& version) override;
    void getHardwareVersion(std::string& version) override;
    void getSerialNumber(std::string& number) override;
    bool pvrSupported() override;
    void getSupportedAVProfiles(NCOR::AVProfileData& profiles) override;
    void getSupportedParentalSchemes(std::vector<std::string>& schemes) override;
    void getSupportedChannelIDType(std::vector<NCOR::Broadcast::ChannelIDType>& types) override;
    int extraSDVideoDecodes() override;
    int extraHDVideoDecodes() override;
    void leaveLiveIn() override;
    void returnLiveIn() override;
    bool reminderSupported() override;
    bool canScheduleReminders() override;
    NCOR::Broadcast::ReminderState scheduleReminder(const NCOR::ReminderData& reminder) override;
    void removeReminder(const NCOR::ScheduledReminderData& reminder) override;
    void getScheduledReminders(std::vector<NCOR::ScheduledReminderData*>& reminders) override;

    // BBinder.
    android::status_t dump(int fd, const android::Vector<android::String16>& args) override;

    // The service's own further operations (not part of the binder interface).
    virtual bool canSupportChannelType(NCOR::Broadcast::ChannelIDType type);
    virtual void tunerInit();
    virtual void openVideo();
    virtual bool canScheduleRecordings();
    virtual bool downloadSupported();
    virtual void notifyChannelModified(const NCOR::ChannelTunerData& channel);
    virtual void notifyAccessToBroadcastResources(bool granted);
    virtual void notifyChannelAdded(const NCOR::ChannelTunerData& channel);
    virtual void notifyChannelRemoved(const NCOR::ChannelTunerData& channel);
    virtual void notifySelectedComponentChanged(NCOR::Broadcast::ComponentType type);
    virtual bool canHandleDigitalTeletext();
    virtual void notifyConfigurationChanged();
    virtual void notifyRecordingStateChanged(const NCOR::RecordingData& recording, NCOR::Broadcast::PVRState state);

    // The host's signalled applications as the browser's descriptions: one per application and
    // transport, in order, owned by the receiver. The first argument is not used.
    static std::vector<NCOR::AITApplicationDescriptorData*> AITApp2AITDescription(unsigned short,
                                                                                  const AITApps& apps);

    // Called by the application manager when a browser application starts loading.
    void notifyStartNewApp(const char* url);

    // Channel translation kept beside TranslateChannelData (no operation calls these two).
    NCOR::ChannelTunerData transformHbbtvChannelInfo2ChannelTunerData(
        HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo info);
    NCOR::Broadcast::PlayStateError transformHbbtvTunerState2PlayStateError(HbbtvTunerState state);
    HbbtvAVComponentInfo::ComponentEncoding transformComponentEncodingString2Enum(std::string name);

    // One configuration text from the host; out is left alone when the host does not answer.
    void getConfigurationID(HbbtvBackendCommand command, std::string& out);
    // The decimal value of the digits; ok is cleared (never set) unless the text is four digits.
    int StringToInt(std::string text, bool& ok);
    // The service identifier of a dvb: URL with a path, or -1.
    int extractServiceIDformURL(std::string url);

    // The owned copy of a channel handed in for tuning.
    void CopyDataToChannelTunerData(const NCOR::ChannelTunerData& channel);
    NCOR::ChannelTunerData GetChannelTunerDataInstance();
    void DestroyChannelTunerData();
    bool CheckTuneChannelType();

private:
    // Draws the ticket (also into ticket) and passes the request to the agent; refused at once
    // after teardown, and when a record had to come from the heap because the region is full.
    BackendRequestResult sendToAgent(HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer,
                                     const SharedRegionResult* result, unsigned int& ticket);
    // Sends a plain command record with up to two integers and a plain answer, and waits.
    // Returns the answer for reading (freed when it goes).
    std::unique_ptr<HbbtvServiceRequestAnswer> sendPlainCommand(HbbtvBackendCommand command, int param1 = 0,
                                                                int param2 = 0);
    android::sp<IChannelManagerClient> channelManagerClient() HBBTV_EXCLUDES(m_clientsMutex);
    // Selects or unselects a component; both records stay until after the host's pause.
    void switchComponent(HbbtvBackendCommand command, const NCOR::AVComponentData& component);
    // Sends a command record with two texts and two integers and a plain answer, and waits.
    std::unique_ptr<HbbtvServiceRequestAnswer> sendStringCommand(HbbtvBackendCommand command, const std::string& text1,
                                                                 const std::string& text2, int param1 = 0,
                                                                 int param2 = 0);

    std::atomic<uint32_t> m_ticket;
    Hbbtv_TVServer* m_tvServer;
    HbbtvBackendClientRegister* m_clientRegister;
    android::sp<IAITSignallingClient> m_aitSignallingClient HBBTV_GUARDED_BY(m_clientsMutex);
    // Set under m_clientsMutex, like the others, so that none is set after teardown.
    LockFreeClient<IDSMCCClient> m_dsmccClient;
    android::sp<IChannelManagerClient> m_channelManagerClient HBBTV_GUARDED_BY(m_clientsMutex);
    android::sp<ITvConfigurationClient> m_tvConfigurationClient HBBTV_GUARDED_BY(m_clientsMutex);
    android::sp<IRecordingManagerClient> m_recordingManagerClient HBBTV_GUARDED_BY(m_clientsMutex);
    std::vector<int> m_reserved;
    // The two recursive pthread mutexes are taken through the vendor's plx_scope_lock and are not
    // annotated: the analysis models no recursive lock (a nested take would read as a double lock)
    // and cannot see inside the vendor's guard. This one serialises the tuning, window and new-app
    // requests and guards no field; m_hbbtvStatusMutex guards m_hbbtvRunning.
    pthread_mutex_t m_tvSericeMutex;
    std::string m_reservedText1;
    std::string m_reservedText2;
    std::string m_reservedText3;
    uint32_t m_reservedWords[6];
    bool m_hbbtvRunning;
    pthread_mutex_t m_hbbtvStatusMutex;
    NCOR::ChannelTunerData* m_ChannelTunerDataObj;

    Mutex m_clientsMutex;
    std::atomic<bool> m_tornDown;     // set by teardown: requests refused from then on
};

template <typename Payload, typename Answer>
bool HbbtvBackendTVService::sendServiceRequest(std::unique_ptr<Payload>& payload, std::unique_ptr<Answer>& answer,
                                               SharedRegionResult* result)
{
    unsigned int ticket = 0;
    const BackendRequestResult outcome = sendToAgent(payload.get(), answer.get(), result, ticket);
    if (trace::on()) trace::requestEnded(*payload, *answer, outcome);
    if (outcome != RequestGivenUp) {
        return outcome == RequestAnswered;
    }
    injectDelay("hold-records");
    // Kept by the ticket the request was made with: the host may have written another into the
    // payload, and its late answer must still find these records alive.
    const HostHeldRecord records[] = {
        hostHeldRecord(payload.release()),
        hostHeldRecord(answer.release()),
        result != nullptr ? result->handOver() : HostHeldRecord{nullptr, nullptr, 0},
    };
    getServiceAgent()->holdGivenUpRecords(ticket, records, 3);
    answer.reset(new Answer());
    return false;
}

template <typename T> SharedRegionObject<T>::SharedRegionObject()
{
    static_assert(alignof(T) <= 8, "the shared region hands out 8-aligned blocks");
    void* const block = hbbtvBackendRecordMalloc(sizeof(T));
    if (block == nullptr) {
        HbbtvBackendGlue_AssertFail("HbbtvBackendTVService", __PRETTY_FUNCTION__, __LINE__);
    }
    m_object = new (block) T();
}

template <typename T> SharedRegionObject<T>::~SharedRegionObject()
{
    if (m_object != nullptr) {
        destroy(m_object);
    }
}

template <typename T> HostHeldRecord SharedRegionObject<T>::handOver()
{
    T* const object = m_object;
    m_object = nullptr;
    return HostHeldRecord{object, &SharedRegionObject<T>::destroy, shm_allocator::nodeSizeFor(sizeof(T))};
}

template <typename T> void SharedRegionObject<T>::destroy(void* object)
{
    static_cast<T*>(object)->~T();
    hbbtvBackendRecordFree(object);
}

} // namespace ZR_HBBTV_Core

#endif
