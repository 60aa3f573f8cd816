#include "SimulatedHost.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "HbbtvChannelListPool.h"

namespace hbbtv_sim {

void* fromHostWireAddress(uint32_t address)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(address));
}

PayloadRecord payloadRecordOf(int command)
{
    const HbbtvBackendCommandInfo* const info = hbbtvBackendCommandInfo(command);
    return info != nullptr ? info->payload : PayloadRecord::Base;
}

size_t payloadRecordSize(int command)
{
    switch (payloadRecordOf(command)) {
    case PayloadRecord::WithStrParams:
        return sizeof(HbbtvCommandPayloadWithStrParams);
    case PayloadRecord::WithChannelIDInfo:
        return sizeof(HbbtvCommandPayloadWithChannelIDInfo);
    case PayloadRecord::WithLineupPool:
        return sizeof(HbbtvCommandPayloadWithLineupPool);
    case PayloadRecord::Base:
        break;
    }
    return sizeof(HbbtvCommandPayload);
}

size_t answerRecordSize(int command)
{
    const HbbtvBackendCommandInfo* const info = hbbtvBackendCommandInfo(command);
    switch (info != nullptr ? info->answer : HbbtvAnswerRecord::Base) {
    case HbbtvAnswerRecord::AVInfo:
        return sizeof(HbbtvServiceRequestAVInfoAnswer);
    case HbbtvAnswerRecord::ChannelInfo:
        return sizeof(HbbtvServiceRequestChannelInfoAnswer);
    case HbbtvAnswerRecord::ChannelsLineup:
        return sizeof(HbbtvServiceRequestChannelsLineupAnswer);
    case HbbtvAnswerRecord::DvbResourceMount:
        return sizeof(HbbtvServiceRequestDvbResourceMountAnswer);
    case HbbtvAnswerRecord::ProgramInfo:
        return sizeof(HbbtvServiceRequestProgramInfoAnswer);
    case HbbtvAnswerRecord::Base:
        break;
    }
    return sizeof(HbbtvServiceRequestAnswer);
}

ReceivedRequest readRequest(const HbbtvCommandPayload& payload)
{
    ReceivedRequest request;
    request.record = payloadRecordOf(payload.command);
    request.command = payload.command;
    request.param1 = payload.param1;
    request.param2 = payload.param2;
    request.ticket = payload.ticket;
    request.timeoutMs = payload.timeoutMs;
    request.resultAddress = payload.resultAddress;
    request.receivedAt = std::chrono::steady_clock::now();
    if (request.record == PayloadRecord::WithStrParams || request.record == PayloadRecord::WithChannelIDInfo) {
        const auto& strings = static_cast<const HbbtvCommandPayloadWithStrParams&>(payload);
        request.strParam1 = strings.strParam1.terminatedString();
        request.strParam2 = strings.strParam2.terminatedString();
    }
    if (request.record == PayloadRecord::WithChannelIDInfo) {
        const auto& channel = static_cast<const HbbtvCommandPayloadWithChannelIDInfo&>(payload);
        request.byString = channel.byString;
        request.channelID1 = channel.channelID1;
        request.channelID2 = channel.channelID2;
        request.channelID3 = channel.channelID3;
    }
    if (request.record == PayloadRecord::WithLineupPool) {
        request.poolAddress = static_cast<const HbbtvCommandPayloadWithLineupPool&>(payload).poolAddress;
    }
    return request;
}

SimulatedHost::SimulatedHost(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper)
    : m_writer(std::make_shared<const AnswerWriter>(&SimulatedHost::writeDefaultAnswer)), m_random(1), m_wrapper(wrapper)
{
    m_answers.reset(new HostAnswerThread(
        [this](const HbbtvCommandPayload& request) { return decide(request); },
        [this](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) { fill(request, answer); },
        HostAnswerThread::Report([this](HbbtvCommandPayload* payload) { report(payload); })));
}

SimulatedHost::~SimulatedHost()
{
    m_answers.reset();
}

void SimulatedHost::setWrapper(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper)
{
    std::lock_guard<std::mutex> lock(m_completionMutex);
    m_wrapper = wrapper;
}

void SimulatedHost::setCompletionSink(CompletionSink sink)
{
    std::lock_guard<std::mutex> lock(m_completionMutex);
    m_sink = std::move(sink);
}

void SimulatedHost::setDecision(HostDecision decision)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_decision = decision;
}

void SimulatedHost::setDecisionFor(int command, HostDecision decision)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_decisionFor[command] = decision;
}

void SimulatedHost::setDecider(Decide decide)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_decider = std::move(decide);
}

void SimulatedHost::setAnswerWriter(AnswerWriter writer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_writer = std::make_shared<const AnswerWriter>(writer ? std::move(writer)
                                                           : AnswerWriter(&SimulatedHost::writeDefaultAnswer));
}

void SimulatedHost::setAnswerWriterFor(int command, AnswerWriter writer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (writer) {
        m_writerFor[command] = std::make_shared<const AnswerWriter>(std::move(writer));
    } else {
        m_writerFor.erase(command);
    }
}

void SimulatedHost::setGarbageAnswers(bool on, uint32_t seed)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_garbage = on;
    m_random.seed(seed);
}

void SimulatedHost::writeDefaultAnswer(const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer)
{
    answer.valid = 1;
    answer.intValue1 = 0;
}

SimulatedHost::AnswerWriter SimulatedHost::resultWriter(int intValue1)
{
    return [intValue1](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.valid = 1;
        answer.intValue1 = intValue1;
    };
}

SimulatedHost::AnswerWriter SimulatedHost::lineupWriter(std::vector<LineupChannel> channels)
{
    return [channels](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
        if (payloadRecordOf(request.command) != PayloadRecord::WithLineupPool) {
            return;
        }
        const auto& lineup = static_cast<const HbbtvCommandPayloadWithLineupPool&>(request);
        unsigned char* const pool = static_cast<unsigned char*>(fromHostWireAddress(lineup.poolAddress));
        if (pool == nullptr) {
            return;
        }
        // The library rewrites the size word at every request for the pool, atomically, while other
        // requests may be with the host.
        const uint32_t areaSize = __atomic_load_n(reinterpret_cast<const uint32_t*>(pool), __ATOMIC_RELAXED);
        const HbbtvChannelListLayout layout(areaSize);
        if (areaSize < 4 * layout.entriesOffset()) {
            return; // not a pool this host knows
        }
        unsigned char* const entries = pool + layout.entriesOffset();
        char* const strings = reinterpret_cast<char*>(pool + layout.stringsOffset());
        const size_t entriesSize = layout.entriesSize();
        const size_t stringsSize = layout.stringsSize();
        uint32_t count = 0;
        size_t nameAt = 0;
        for (const LineupChannel& channel : channels) {
            const size_t nameBytes = channel.name.size() + 1;
            if ((count + 1) * sizeof(HbbtvChannelListEntry) > entriesSize || nameAt + nameBytes > stringsSize) {
                break; // what does not fit is not listed
            }
            const HbbtvChannelListEntry entry
                = { channel.channelID1, channel.channelID2, channel.channelID3, channel.channelType, channel.idType,
                      channel.flagA, channel.numberA, channel.numberB, channel.flagB, static_cast<uint32_t>(nameAt) };
            HbbtvChannelListLayout::copyShared(strings + nameAt, channel.name.c_str(), nameBytes);
            HbbtvChannelListLayout::copyShared(entries + sizeof(entry) * count, &entry, sizeof(entry));
            nameAt += nameBytes;
            ++count;
        }
        __atomic_store_n(&reinterpret_cast<HbbtvChannelListPool*>(pool)->count, count, __ATOMIC_RELAXED);
        answer.valid = 1;
    };
}

SimulatedHost::AnswerWriter SimulatedHost::presentFollowingWriter(HostProgramme present, HostProgramme following)
{
    return [present, following](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
        const HostProgramme& programme = request.param1 == 1 ? present : following;
        HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info =
            static_cast<HbbtvServiceRequestProgramInfoAnswer&>(answer).programInfo;
        info.time1 = programme.start;
        info.time2 = programme.duration;
        info.text1 = programme.name.c_str();
        info.text2 = programme.description.c_str();
        info.text4 = programme.programmeId.c_str();
        answer.valid = 1;
    };
}

SimulatedHost::AnswerWriter SimulatedHost::scheduleWriter(std::vector<HbbtvEPGInformation> events)
{
    return [events](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
        auto* const schedule =
            static_cast<std::vector<HbbtvEPGInformation>*>(fromHostWireAddress(request.resultAddress));
        if (schedule == nullptr) {
            return;
        }
        schedule->insert(schedule->end(), events.begin(), events.end());
        answer.valid = 1;
    };
}

SimulatedHost::AnswerWriter SimulatedHost::siDescriptorsWriter(std::vector<std::vector<unsigned char>> descriptors)
{
    return [descriptors](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
        auto* const found =
            static_cast<std::vector<std::vector<unsigned char>>*>(fromHostWireAddress(request.resultAddress));
        if (found == nullptr) {
            return;
        }
        found->insert(found->end(), descriptors.begin(), descriptors.end());
        answer.valid = 1;
    };
}

SimulatedHost::AnswerWriter SimulatedHost::componentsWriter(std::map<int, std::vector<HostComponent>> componentsByType)
{
    return [componentsByType](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
        HbbtvAVComponentInfo& info = static_cast<HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo;
        const auto found = componentsByType.find(request.param2);
        const std::vector<HostComponent> none;
        const std::vector<HostComponent>& components = found != componentsByType.end() ? found->second : none;
        const auto fillAV = [](HbbtvAVComponentInfo::AVEntry& entry, const HostComponent& c) {
            entry.flagA = c.flagA;
            entry.flagB = c.flagB;
            entry.valueP = c.valueP;
            entry.valueQ = c.valueQ;
            entry.valueR = c.valueR;
            entry.valueS = c.valueS;
            entry.language = c.language.c_str();
        };
        if (request.param2 == 0) {
            info.count = components.empty() ? 0 : 1;
            if (!components.empty()) {
                fillAV(info.avEntries[0], components.front());
            }
        } else if (request.param2 == 1) {
            const size_t capacity = HbbtvAVComponentInfo::kAVEntries;
            const size_t count = std::min(components.size(), capacity);
            for (size_t k = 0; k < count; ++k) {
                fillAV(info.avEntries[k], components[k]);
            }
            info.count = static_cast<int32_t>(count);
        } else if (request.param2 == 2) {
            const size_t capacity = HbbtvAVComponentInfo::kSubtitleEntries;
            const size_t count = std::min(components.size(), capacity);
            for (size_t k = 0; k < count; ++k) {
                HbbtvAVComponentInfo::SubtitleEntry& entry = info.subtitleEntries[k];
                entry.flagA = components[k].flagA;
                entry.flagB = components[k].flagB;
                entry.valueP = components[k].valueP;
                entry.language = components[k].language.c_str();
            }
            info.count = static_cast<int32_t>(count);
        } else {
            info.count = 0;
        }
        answer.valid = 1;
    };
}

SimulatedHost::AnswerWriter SimulatedHost::mountWriter(std::string mountPoint)
{
    return [mountPoint](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.strValue1 = mountPoint.c_str();
        answer.valid = 1;
    };
}

HostDecision SimulatedHost::decide(const HbbtvCommandPayload& request)
{
    Decide decider;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_decider) {
            const auto it = m_decisionFor.find(request.command);
            return it != m_decisionFor.end() ? it->second : m_decision;
        }
        decider = m_decider;
    }
    return decider(request);
}

void SimulatedHost::fill(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    std::shared_ptr<const AnswerWriter> writer;
    std::vector<unsigned char> noise;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_garbage) {
            noise.resize(answerRecordSize(request.command));
            for (unsigned char& byte : noise) {
                byte = static_cast<unsigned char>(m_random());
            }
        } else {
            const auto it = m_writerFor.find(request.command);
            writer = it != m_writerFor.end() ? it->second : m_writer;
        }
    }
    if (!noise.empty()) {
        memcpy(reinterpret_cast<unsigned char*>(&answer), noise.data(), noise.size());
        answer.valid = 1;
        return;
    }
    (*writer)(request, answer);
}

void SimulatedHost::report(HbbtvCommandPayload* payload)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_record.completions.push_back(CompletionReport{payload->ticket, std::chrono::steady_clock::now()});
    }
    {
        std::lock_guard<std::mutex> lock(m_completionMutex);
        if (m_sink) {
            m_sink(payload);
        } else if (m_wrapper != nullptr) {
            m_wrapper->notifyHbbtvServiceRequestFinished(payload);
        }
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_record.completionsReported;
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_CommandHandler(void* command)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.commands.push_back(command);
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_ServiceRequestHandler(void* payload, void* answer)
{
    if (payload == nullptr || answer == nullptr) {
        return;
    }
    const HbbtvCommandPayload* request = static_cast<const HbbtvCommandPayload*>(payload);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_recordRequests) {
            m_record.requests.push_back(readRequest(*request));
            m_changed.notify_all();
        }
    }
    m_answers->post(request, static_cast<HbbtvServiceRequestAnswer*>(answer), payloadRecordSize(request->command));
}

void SimulatedHost::setRecordRequests(bool on)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_recordRequests = on;
}

void SimulatedHost::HBBTV_HeartBeatNotification()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_record.heartbeats;
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_LoadingNotification(int progress, const char* url)
{
    LoadingReport report;
    report.progress = progress;
    report.hasUrl = url != nullptr;
    report.url = url != nullptr ? url : "";
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.loading.push_back(report);
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_BrowserDiedNotification()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_record.browserDied;
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_NotifyUserAppCreated(int windowId, int appId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.userAppCreated.emplace_back(windowId, appId);
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_DelegateAction(void (*action)(void*), void* argument)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.delegatedActions.push_back(DelegatedAction{action, argument});
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_ReportIsAnyAppRunning(bool running)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.anyAppRunning.push_back(running);
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_NotifyMultimediaAudioComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>& components, int value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.components.push_back(ComponentReport{true, components, value});
    m_changed.notify_all();
}

void SimulatedHost::HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>& components, int value)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record.components.push_back(ComponentReport{false, components, value});
    m_changed.notify_all();
}

HostRecord SimulatedHost::record() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_record;
}

void SimulatedHost::clearRecord()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_record = HostRecord();
}

template <typename Reached>
bool SimulatedHost::waitFor(Reached reached, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, timeout, [&] { return reached(m_record); });
}

bool SimulatedHost::waitForRequests(size_t count, std::chrono::milliseconds timeout) const
{
    return waitFor([count](const HostRecord& r) { return r.requests.size() >= count; }, timeout);
}

bool SimulatedHost::waitForCompletions(unsigned int count, std::chrono::milliseconds timeout) const
{
    return waitFor([count](const HostRecord& r) { return r.completionsReported >= count; }, timeout);
}

bool SimulatedHost::waitForBrowserDied(unsigned int count, std::chrono::milliseconds timeout) const
{
    return waitFor([count](const HostRecord& r) { return r.browserDied >= count; }, timeout);
}

bool SimulatedHost::waitForLoading(size_t count, std::chrono::milliseconds timeout) const
{
    return waitFor([count](const HostRecord& r) { return r.loading.size() >= count; }, timeout);
}

bool SimulatedHost::waitForAnyAppRunning(size_t count, std::chrono::milliseconds timeout) const
{
    return waitFor([count](const HostRecord& r) { return r.anyAppRunning.size() >= count; }, timeout);
}

} // namespace hbbtv_sim
