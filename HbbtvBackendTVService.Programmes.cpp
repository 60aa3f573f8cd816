// Programmes and SI: the present and following programme, a channel's whole schedule and raw SI
// descriptors, translated into the browser's programme records or byte vectors.
#include <cstdio>
#include <new>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.Util.h"
#include "HbbtvBackendTVService.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceName[] = "HbbtvBackendTVService";

} // namespace

void ProgrammeInfoTranslator::operator()(
    HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info, NCOR::ProgrammeData& programme)
{
    programme.setName(hostStoredText(info.text1, "programme name"));
    programme.setDescription(hostStoredText(info.text2, "programme description"));
    programme.setProgrammeID(hostStoredText(info.text4, "programme identifier"));
    programme.setStartTime(static_cast<double>(info.time1));
    programme.setDuration(static_cast<double>(info.time2));
}

// The present programme (param1 1) and then the following one (param1 0): at most two, in that
// order. What the vector held before is the caller's.
void HbbtvBackendTVService::getProgrammes(std::vector<NCOR::ProgrammeData*>& programmes)
{
    if (trace::on()) trace::Line("request", "getProgrammes");
    programmes.clear();
    const int which[] = { 1, 0 };
    for (int present : which) {
        std::unique_ptr<HbbtvServiceRequestProgramInfoAnswer> answer = HbbtvServiceRequestProgramInfoAnswer::create();
        std::unique_ptr<HbbtvCommandPayload> payload(
            new HbbtvCommandPayload(ProgrammeCommand_GetProgrammeInfo, present, 0));
        sendServiceRequest(payload, answer);
        if (answer->valid == 0) {
            continue;
        }
        NCOR::ProgrammeData* const programme = new (std::nothrow) NCOR::ProgrammeData();
        if (programme == nullptr) {
            HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 617);
        }
        ProgrammeInfoTranslator()(answer->programInfo, *programme);
        programmes.push_back(programme);
    }
    if (trace::on()) trace::Line("reply", "getProgrammes").arg("programmes", programmes.size());
}

// Returns whether the host answered; the programmes it listed are appended, owned by the caller.
bool HbbtvBackendTVService::getAllProgrammesForChannel(
    const NCOR::ChannelTunerData& channel, std::vector<NCOR::ProgrammeData*>& programmes)
{
    if (trace::on()) trace::Line("request", "getAllProgrammesForChannel").arg("onid", channel.getOnid()).arg("tsid", channel.getTsid()).arg("sid", channel.getSid());
    printf("\e[0;32;32m[MSG][HbbTV-APM]%s pass in\e[0m\n", "getAllProgrammesForChannel");
    SharedRegionObject<std::vector<HbbtvEPGInformation>> schedule;
    bool answered = false;
    {
        std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
        std::unique_ptr<HbbtvCommandPayloadWithStrParams> payload = HbbtvCommandPayloadWithStrParams::create(
            ProgrammeCommand_GetAllProgrammeInfo, HbbtvRecordString(), HbbtvRecordString(), 0, 0);
        payload->resultAddress = schedule.wireAddress();
        answered = sendServiceRequest(payload, answer, &schedule) && answer->valid != 0;
    }
    if (answered) {
        for (const HbbtvEPGInformation& event : *schedule) {
            std::unique_ptr<NCOR::ProgrammeData> programme(new NCOR::ProgrammeData());
            std::unique_ptr<NCOR::ParentalRatingData> rating(new NCOR::ParentalRatingData());
            programme->setStartTime(static_cast<double>(event.word1));
            programme->setDuration(static_cast<double>(event.word3));
            programme->setName(event.text1);
            programme->setChannelID(channel.getChannelID());
            programme->setDescription(event.text2);
            programme->setLongDescription(event.text3);
            programme->setEpisode(event.value16);
            programme->setProgrammeID(event.text5);
            programme->setProgrammeIDType(event.byte0);
            programme->setHasSubtitles(event.byte1);
            programme->setIsHD(event.byte2);
            programme->setAudioType(event.byte3);
            programme->addGenre(event.text4);
            // Ratings 0 to 2 mean no rating: the record keeps its default, but is there all the same.
            if (event.parentalRating > 2) {
                rating->setValue(event.parentalRating);
            }
            programme->addParentalRating(rating.release());
            programmes.push_back(programme.get());
            programme.release();
        }
    }
    printf("\e[0;32;32m[MSG][HbbTV-APM]%s pass out\e[0m\n", "getAllProgrammesForChannel");
    return answered;
}

// The host selects the descriptors; they are passed on as they come.
void HbbtvBackendTVService::getSIDescriptors(const std::string& programmeID, NCOR::EIT::DescriptorTag tag,
    NCOR::EIT::ExtensionDescriptorTag extensionTag, std::vector<std::vector<unsigned char>>& descriptors)
{
    if (trace::on()) trace::Line("request", "getSIDescriptors").arg("programmeID", programmeID).arg("tag", tag).arg("extensionTag", extensionTag);
    printf("\e[0;32;32m[MSG][HbbTV-BC]%s pass in\e[0m\n", "getSIDescriptors");
    SharedRegionObject<std::vector<std::vector<unsigned char>>> found;
    bool answered = false;
    {
        std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
        std::unique_ptr<HbbtvCommandPayloadWithStrParams> payload
            = HbbtvCommandPayloadWithStrParams::create(ProgrammeCommand_GetSIDescriptors,
                HbbtvRecordString(programmeID.c_str()), HbbtvRecordString(), tag, extensionTag);
        payload->resultAddress = found.wireAddress();
        answered = sendServiceRequest(payload, answer, &found) && answer->valid != 0;
    }
    if (answered && !found->empty()) {
        for (size_t i = 0; i < found->size(); ++i) {
            descriptors.push_back(found->at(i));
        }
    }
    printf("\e[0;32;32m[MSG][HbbTV-BC]%s pass out\e[0m\n", "getSIDescriptors");
}

} // namespace ZR_HBBTV_Core
