#include "SoakHost.h"

#include <map>
#include <random>
#include <string>

namespace hbbtv_soak {

using hbbtv_sim::HostDecision;
using hbbtv_sim::SimulatedHost;

const char* const kKindNames[kKinds] = { "on time", "slow", "twice", "garbage", "late", "never", "unknown ticket" };

namespace {

void echo(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    if (request.param2 == Garbage) {
        std::minstd_rand random(static_cast<unsigned>(request.param1));
        unsigned char* const bytes = reinterpret_cast<unsigned char*>(&answer);
        for (size_t i = 0; i < sizeof(answer); ++i) {
            bytes[i] = static_cast<unsigned char>(random());
        }
        answer.valid = 1;
        return;
    }
    answer.intValue1 = request.param1;
    answer.intValue2 = static_cast<int32_t>(request.ticket);
    answer.strValue1 = ("echo " + std::to_string(request.param1)).c_str();
    answer.valid = 1;
}

void descriptors(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    auto* const found
        = static_cast<std::vector<std::vector<unsigned char>>*>(hbbtv_sim::fromHostWireAddress(request.resultAddress));
    if (found != nullptr) {
        found->push_back({ 0x4D, 5, 'd', 'e', 'u', 1, 'x' });
    }
    answer.valid = 1;
}

} // namespace

const std::map<int, SimulatedHost::AnswerWriter>& fullAnswers()
{
    static const std::map<int, SimulatedHost::AnswerWriter> writers = [] {
        std::vector<hbbtv_sim::HostComponent> audio(HbbtvAVComponentInfo::kAVEntries);
        std::vector<hbbtv_sim::HostComponent> subtitles(HbbtvAVComponentInfo::kSubtitleEntries);
        for (size_t i = 0; i < audio.size(); ++i) {
            audio[i].valueP = 0x10 + static_cast<uint32_t>(i);
            audio[i].language = i % 2 == 0 ? "deu" : "eng";
        }
        for (size_t i = 0; i < subtitles.size(); ++i) {
            subtitles[i].valueP = 0x30 + static_cast<uint32_t>(i);
            subtitles[i].language = i % 2 == 0 ? "deu" : "eng";
        }
        std::vector<hbbtv_sim::LineupChannel> lineup(8);
        for (size_t i = 0; i < lineup.size(); ++i) {
            lineup[i].channelID1 = static_cast<uint16_t>(0x2B66 + i);
            lineup[i].channelID2 = 0x2114;
            lineup[i].channelID3 = static_cast<uint16_t>(1 + i);
            lineup[i].idType = 12;
            lineup[i].name = "Channel " + std::to_string(i + 1);
        }
        std::vector<HbbtvEPGInformation> schedule(3);
        for (size_t i = 0; i < schedule.size(); ++i) {
            schedule[i].word1 = 1700000000 + 1800 * static_cast<uint32_t>(i);
            schedule[i].word3 = 1800;
            schedule[i].text1 = "Programme " + std::to_string(i + 1);
        }
        const hbbtv_sim::HostProgramme present{ 1700000000, 1800, "News", "The day's news", "crid://example.com/1" };
        const hbbtv_sim::HostProgramme following{ 1700001800, 3600, "Film", "A film", "crid://example.com/2" };
        return std::map<int, SimulatedHost::AnswerWriter>{
            { TunerCommand_GetAVInfo, SimulatedHost::componentsWriter({ { 0, { audio[0] } }, { 1, audio }, { 2, subtitles } }) },
            { TunerCommand_RequestChannelsLineup, SimulatedHost::lineupWriter(lineup) },
            { ProgrammeCommand_GetAllProgrammeInfo, SimulatedHost::scheduleWriter(schedule) },
            { ProgrammeCommand_GetProgrammeInfo, SimulatedHost::presentFollowingWriter(present, following) },
            { ProgrammeCommand_GetSIDescriptors, &descriptors },
            { DSMCC_DVBURL_GetFile, SimulatedHost::mountWriter("/mnt/carousel/233a.1004.1044") },
            { kEchoCommand, &echo },
        };
    }();
    return writers;
}

SoakHost::SoakHost()
{
    setRecordRequests(false);
    setDecider([](const HbbtvCommandPayload& request) {
        HostDecision decision;
        if (request.command != kEchoCommand) {
            return decision;
        }
        switch (request.param2) {
        case Slow: decision.delayMs = 1 + static_cast<unsigned>(request.param1) % 5; break;
        case Twice: decision.kind = HostDecision::AnswerTwice; break;
        case Late: decision.delayMs = 1200 + static_cast<unsigned>(request.param1) % 800; break;
        case Never: decision.kind = HostDecision::Never; break;
        case UnknownTicket: decision.kind = HostDecision::UnknownTicket; break;
        default: break;
        }
        return decision;
    });
    for (const auto& writer : fullAnswers()) {
        setAnswerWriterFor(writer.first, writer.second);
    }
}

void SoakHost::HBBTV_ServiceRequestHandler(void* payload, void* answer)
{
    HbbtvCommandPayload* const request = static_cast<HbbtvCommandPayload*>(payload);
    {
        std::lock_guard<std::mutex> lock(m_heldMutex);
        if (m_stalling) {
            if (request->timeoutMs > m_stallBudgetMs) {
                request->timeoutMs = m_stallBudgetMs;
            }
            m_stalled.push_back(Held{ request, static_cast<HbbtvServiceRequestAnswer*>(answer), request->ticket });
            ++m_stalledRequests;
            m_stalledComponentLists += request->command == TunerCommand_GetAVInfo;
            return;
        }
        if (request->command == kEchoCommand && (request->param2 == Never || request->param2 == UnknownTicket)) {
            m_held.push_back(Held{ request, static_cast<HbbtvServiceRequestAnswer*>(answer), request->ticket });
        }
    }
    SimulatedHost::HBBTV_ServiceRequestHandler(payload, answer);
}

size_t SoakHost::reportHeld(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper, StdoutTap& tap)
{
    tap.sync(); // every "Request never finished" line printed so far has been read
    std::lock_guard<std::mutex> lock(m_heldMutex);
    size_t reported = 0;
    for (const Held& held : m_held) {
        if (!tap.neverFinished(held.ticket)) {
            wrapper->notifyHbbtvServiceRequestFinished(held.payload);
            ++reported;
        }
    }
    m_held.clear();
    return reported;
}

void SoakHost::stall(unsigned int budgetMs)
{
    std::lock_guard<std::mutex> lock(m_heldMutex);
    m_stalling = true;
    m_stallBudgetMs = budgetMs;
    m_stalledRequests = 0;
    m_stalledComponentLists = 0;
}

SoakHost::Recovery SoakHost::recover(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper, StdoutTap& tap)
{
    std::vector<Held> stalled;
    {
        std::lock_guard<std::mutex> lock(m_heldMutex);
        m_stalling = false;
        stalled.swap(m_stalled);
    }
    tap.sync();
    Recovery recovery;
    for (const Held& held : stalled) {
        if (tap.neverFinished(held.ticket)) {
            ++recovery.freedUnreported;
            continue;
        }
        const auto writer = fullAnswers().find(held.payload->command);
        if (writer != fullAnswers().end()) {
            writer->second(*held.payload, *held.answer);
        } else {
            writeDefaultAnswer(*held.payload, *held.answer);
        }
        wrapper->notifyHbbtvServiceRequestFinished(held.payload);
        ++recovery.reported;
    }
    return recovery;
}

} // namespace hbbtv_soak
