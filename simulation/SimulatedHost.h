// The simulated host: the television middleware as the glue library sees it through
// Hbbtv_TVServer. It answers every backend request on a thread of its own (at once with a valid
// answer unless told otherwise), reports completion to the wrapper, and records everything the
// library tells it, with waits for tests.
//
// It uses the boundary headers only: the simulator loads the library with dlopen, and a second
// copy of the library in the process would bring a second shared-memory allocator.
#ifndef HBBTV_SIM_SIMULATED_HOST_H
#define HBBTV_SIM_SIMULATED_HOST_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "HbbtvBackendCommandCatalogue.h"
#include "HostAnswerThread.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_sim {

// Which record a command travels in, and how big its answer record is: the host knows both
// from the command number alone (HbbtvBackendCommandCatalogue.h).
typedef HbbtvPayloadRecord PayloadRecord;
PayloadRecord payloadRecordOf(int command);
size_t payloadRecordSize(int command);
size_t answerRecordSize(int command);

// A request as the host received it, read according to its command's record.
struct ReceivedRequest {
    PayloadRecord record = PayloadRecord::Base;
    int command = 0;
    int param1 = 0;
    int param2 = 0;
    unsigned int ticket = 0;
    unsigned int timeoutMs = 0;
    unsigned int resultAddress = 0;
    std::string strParam1; // WithStrParams and WithChannelIDInfo
    std::string strParam2;
    unsigned int byString = 0; // WithChannelIDInfo
    int channelID1 = 0;
    int channelID2 = 0;
    int channelID3 = 0;
    unsigned int poolAddress = 0; // WithLineupPool
    std::chrono::steady_clock::time_point receivedAt;
};
ReceivedRequest readRequest(const HbbtvCommandPayload& payload);

struct LoadingReport {
    int progress = 0;
    bool hasUrl = false; // the library may report a load without an address
    std::string url;
};

struct ComponentReport {
    bool audio = true; // false: subtitles
    std::vector<HbbtvMultimediaComponentData> components;
    int value = 0;
};

// One completion the host reported, recorded just before it reaches the wrapper (or the sink),
// so that a requester woken by it always finds it in the record.
struct CompletionReport {
    unsigned int ticket = 0;
    std::chrono::steady_clock::time_point reportedAt;
};

struct DelegatedAction {
    void (*action)(void*) = nullptr;
    void* argument = nullptr;
};

// Everything the library told the host, in arrival order.
struct HostRecord {
    std::vector<ReceivedRequest> requests;
    unsigned int completionsReported = 0;
    std::vector<CompletionReport> completions;
    unsigned int browserDied = 0;
    std::vector<LoadingReport> loading;
    std::vector<bool> anyAppRunning;
    unsigned int heartbeats = 0;
    std::vector<void*> commands;
    std::vector<std::pair<int, int>> userAppCreated; // (window id, application id)
    std::vector<DelegatedAction> delegatedActions;
    std::vector<ComponentReport> components;
};

// A channel of the host's lineup, as the host writes it into the channel-list pool: three channel
// numbers, its type (0 TV, 1 radio, other), the host's identifier type, two flags, two further
// numbers and its name.
struct LineupChannel {
    uint16_t channelID1 = 0;
    uint16_t channelID2 = 0;
    uint16_t channelID3 = 0;
    uint16_t channelType = 0;
    uint16_t idType = 0;
    uint16_t flagA = 0;
    uint16_t numberA = 0;
    uint16_t numberB = 0;
    uint32_t flagB = 0;
    std::string name;
};

// A present or following programme as the host describes it.
struct HostProgramme {
    uint32_t start = 0;
    uint32_t duration = 0;
    std::string name;
    std::string description;
    std::string programmeId;
};

// One broadcast component in the host's own record (the meaning of the values is the host's).
struct HostComponent {
    uint8_t flagA = 0;
    uint8_t flagB = 0;
    uint32_t valueP = 0; // audio and subtitles: the component tag in the low 16 bits
    uint32_t valueQ = 0;
    uint32_t valueR = 0;
    uint32_t valueS = 0;
    std::string language;
};

// A pointer in this process from a 32-bit address word of a wire record.
void* fromHostWireAddress(uint32_t address);

class SimulatedHost : public Hbbtv_TVServer {
public:
    typedef HostAnswerThread::Decide Decide;
    // Writes the answer record of one request; the request is the host's copy of the payload as
    // it was handed over, in its full record (cast it by its command).
    typedef std::function<void(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)> AnswerWriter;
    typedef std::function<void(HbbtvCommandPayload* payload)> CompletionSink;

    explicit SimulatedHost(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = nullptr);
    // Stops the answering thread; requests not yet answered are dropped.
    ~SimulatedHost();
    SimulatedHost(const SimulatedHost&) = delete;
    SimulatedHost& operator=(const SimulatedHost&) = delete;

    // Where completions go. Setting another wrapper (or null, before the wrapper is destroyed)
    // waits for a completion under way.
    void setWrapper(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper);
    // Takes the completions instead of the wrapper (for tests without a wrapper); null: the wrapper.
    void setCompletionSink(CompletionSink sink);

    // How requests are answered. A decider, if set, decides each request; otherwise the decision
    // for its command, otherwise the general one (at once, once).
    void setDecision(HostDecision decision);
    void setDecisionFor(int command, HostDecision decision);
    void setDecider(Decide decide);

    // What goes into the answer record: the writer for the command, otherwise the general one
    // (writeDefaultAnswer unless set). In garbage mode random bytes fill the whole answer record
    // of the command instead, with valid set; the seed makes a run repeatable.
    void setAnswerWriter(AnswerWriter writer);
    void setAnswerWriterFor(int command, AnswerWriter writer);
    void setGarbageAnswers(bool on, uint32_t seed = 1);
    // valid = 1, intValue1 = 0.
    static void writeDefaultAnswer(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer);

    // Writers of the answers a television gives, marking each answer valid once written; set them
    // with setAnswerWriterFor.
    // Any command: intValue1 holds the result (a tune's play state, for example).
    static AnswerWriter resultWriter(int intValue1);
    // TunerCommand_RequestChannelsLineup: the lineup goes into the channel-list pool whose address
    // the request carries (count at offset 4, 24-byte entries from offset 384, names in the
    // string area half a data area further on).
    static AnswerWriter lineupWriter(std::vector<LineupChannel> channels);
    // ProgrammeCommand_GetProgrammeInfo: the present programme for param1 1, the following one
    // otherwise.
    static AnswerWriter presentFollowingWriter(HostProgramme present, HostProgramme following);
    // ProgrammeCommand_GetAllProgrammeInfo: appends the events to the in-process vector whose
    // address the request carries in resultAddress.
    static AnswerWriter scheduleWriter(std::vector<HbbtvEPGInformation> events);
    // ProgrammeCommand_GetSIDescriptors: appends the descriptors to the in-process vector whose
    // address the request carries in resultAddress.
    static AnswerWriter siDescriptorsWriter(std::vector<std::vector<unsigned char>> descriptors);
    // TunerCommand_GetAVInfo: the components of the type asked for in param2 (0 video: the first
    // one only, 1 audio, 2 subtitles), as many as the record holds; none for a type not given.
    static AnswerWriter componentsWriter(std::map<int, std::vector<HostComponent>> componentsByType);
    // DSMCC_DVBURL_GetFile: the mount point in strValue1.
    static AnswerWriter mountWriter(std::string mountPoint);

    // Hbbtv_TVServer
    void HBBTV_CommandHandler(void* command) override;
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override;
    void HBBTV_HeartBeatNotification() override;
    void HBBTV_LoadingNotification(int progress, const char* url) override;
    void HBBTV_BrowserDiedNotification() override;
    void HBBTV_NotifyUserAppCreated(int windowId, int appId) override;
    void HBBTV_DelegateAction(void (*action)(void*), void* argument) override;
    void HBBTV_ReportIsAnyAppRunning(bool running) override;
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>& components,
                                                         int value) override;
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) override;

    // Whether requests go into the record (on by default); a long run turns it off.
    void setRecordRequests(bool on);

    // A copy of the record so far.
    HostRecord record() const;
    void clearRecord();

    // Each waits until the count is reached (true) or the time-out has passed (false).
    bool waitForRequests(size_t count, std::chrono::milliseconds timeout) const;
    bool waitForCompletions(unsigned int count, std::chrono::milliseconds timeout) const;
    bool waitForBrowserDied(unsigned int count, std::chrono::milliseconds timeout) const;
    bool waitForLoading(size_t count, std::chrono::milliseconds timeout) const;
    bool waitForAnyAppRunning(size_t count, std::chrono::milliseconds timeout) const;

private:
    HostDecision decide(const HbbtvCommandPayload& request);
    void fill(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer);
    void report(HbbtvCommandPayload* payload);
    template <typename Reached>
    bool waitFor(Reached reached, std::chrono::milliseconds timeout) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    HostRecord m_record;
    HostDecision m_decision;
    std::map<int, HostDecision> m_decisionFor;
    Decide m_decider;
    // Shared, so that an answer takes the writer out from under the lock without copying what it
    // captured (a whole lineup or schedule).
    std::shared_ptr<const AnswerWriter> m_writer;
    std::map<int, std::shared_ptr<const AnswerWriter>> m_writerFor;
    bool m_garbage = false;
    bool m_recordRequests = true;
    std::mt19937 m_random;

    // Held across a completion, never together with m_mutex: the library takes its own lock
    // inside the wrapper and may call the host's recording operations under it.
    std::mutex m_completionMutex;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* m_wrapper;
    CompletionSink m_sink;

    // Last: its thread calls back into everything above, and stops first.
    std::unique_ptr<HostAnswerThread> m_answers;
};

} // namespace hbbtv_sim

#endif
