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

// The fields of the channel a request names, in its trace line.
namespace channelField = trace::format::channel;

const char kSourceName[] = "HbbtvBackendTVService";
// The programmes of a schedule that a trace line carries, the host's and the browser's; the counts
// say how many there were.
const size_t kTracedProgrammes = 32;

// {"kind":"hostdata","name":"schedule"}: the events as the host wrote them into the result vector.
void traceHostSchedule(const std::vector<HbbtvEPGInformation>& schedule)
{
    namespace hostdata = trace::format::hostdata;
    namespace field = trace::format::scheduleEntry;
    trace::Line line(trace::kind::hostdata, hostdata::schedule);
    const size_t recorded = schedule.size() < kTracedProgrammes ? schedule.size() : kTracedProgrammes;
    line.arg(hostdata::count, schedule.size()).arg(hostdata::recorded, recorded);
    for (size_t i = 0; i < recorded; ++i) {
        const HbbtvEPGInformation& event = schedule[i];
        line.begin(trace::format::numbered(hostdata::programmeStem, i).c_str())
            .arg(field::word0, event.word0)
            .arg(field::word1, event.word1)
            .arg(field::word2, event.word2)
            .arg(field::word3, event.word3)
            .arg(field::text1, event.text1)
            .arg(field::text2, event.text2)
            .arg(field::text3, event.text3)
            .arg(field::text4, event.text4)
            .arg(field::rating, event.parentalRating)
            .arg(field::value16, event.value16)
            .arg(field::text5, event.text5)
            .arg(field::byte0, event.byte0)
            .arg(field::byte1, event.byte1)
            .arg(field::byte2, event.byte2)
            .arg(field::byte3, event.byte3)
            .end();
    }
}

// The SI descriptors that a trace line carries, the host's and the browser's: the leading ones up
// to this many, each at most a descriptor's own size (tag, length and 255 bytes); the counts say
// how many there were.
const size_t kTracedDescriptors = 32;
const size_t kTracedDescriptorBytes = 257;

void traceDescriptors(trace::Line& line, const std::vector<std::vector<unsigned char>>& descriptors, size_t from)
{
    size_t recorded = 0;
    while (from + recorded < descriptors.size() && recorded < kTracedDescriptors
           && descriptors[from + recorded].size() <= kTracedDescriptorBytes) {
        ++recorded;
    }
    namespace hostdata = trace::format::hostdata;
    line.arg(hostdata::count, descriptors.size() - from).arg(hostdata::recorded, recorded);
    for (size_t i = 0; i < recorded; ++i) {
        const std::vector<unsigned char>& descriptor = descriptors[from + i];
        line.bytes(trace::format::numbered(hostdata::descriptorStem, i).c_str(), descriptor.data(), descriptor.size());
    }
}

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
    if (trace::on()) trace::Line(trace::kind::request, "getProgrammes");
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
    if (trace::on()) trace::Line(trace::kind::reply, "getProgrammes").arg("programmes", programmes.size());
}

// Returns whether the host answered; the programmes it listed are appended, owned by the caller.
bool HbbtvBackendTVService::getAllProgrammesForChannel(
    const NCOR::ChannelTunerData& channel, std::vector<NCOR::ProgrammeData*>& programmes)
{
    if (trace::on()) trace::Line(trace::kind::request, "getAllProgrammesForChannel").arg(channelField::onid, channel.getOnid()).arg(channelField::tsid, channel.getTsid()).arg(channelField::sid, channel.getSid()).arg(channelField::ccid, channel.getChannelID());
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
    const size_t listedBefore = programmes.size();
    if (answered && trace::on()) {
        traceHostSchedule(*schedule);
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
    if (trace::on()) {
        trace::Line line(trace::kind::reply, "getAllProgrammesForChannel");
        line.arg("answered", answered).arg("programmes", programmes.size() - listedBefore);
        for (size_t i = listedBefore; i < programmes.size() && i - listedBefore < kTracedProgrammes; ++i) {
            const NCOR::ProgrammeData& programme = *programmes[i];
            const std::vector<NCOR::ParentalRatingData*>& ratings = programme.getParentalRatings();
            line.begin(("p" + std::to_string(i - listedBefore)).c_str())
                .arg("start", programme.getStartTime())
                .arg("duration", programme.getDuration())
                .arg("name", programme.getName())
                .arg("programmeID", programme.getProgrammeID())
                .arg("idType", programme.getProgrammeIDType())
                .arg("channelID", programme.getChannelID())
                .arg("episode", programme.getEpisode())
                .arg("genre", programme.getGenres().empty() ? std::string() : programme.getGenres().front())
                .arg("rating", ratings.empty() || ratings.front() == nullptr ? 0 : ratings.front()->getValue())
                .end();
        }
    }
    printf("\e[0;32;32m[MSG][HbbTV-APM]%s pass out\e[0m\n", "getAllProgrammesForChannel");
    return answered;
}

// The host selects the descriptors; they are passed on as they come.
void HbbtvBackendTVService::getSIDescriptors(const std::string& programmeID, NCOR::EIT::DescriptorTag tag,
    NCOR::EIT::ExtensionDescriptorTag extensionTag, std::vector<std::vector<unsigned char>>& descriptors)
{
    if (trace::on()) trace::Line(trace::kind::request, "getSIDescriptors").arg(trace::argument::programmeID, programmeID).arg(trace::argument::tag, tag).arg(trace::argument::extensionTag, extensionTag);
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
    if (answered && trace::on()) {
        // {"kind":"hostdata","name":"siDescriptors"}: the descriptors as the host wrote them.
        trace::Line line(trace::kind::hostdata, trace::format::hostdata::siDescriptors);
        traceDescriptors(line, *found, 0);
    }
    const size_t listedBefore = descriptors.size();
    if (answered && !found->empty()) {
        for (size_t i = 0; i < found->size(); ++i) {
            descriptors.push_back(found->at(i));
        }
    }
    if (trace::on()) {
        trace::Line line(trace::kind::reply, "getSIDescriptors");
        line.arg("answered", answered);
        traceDescriptors(line, descriptors, listedBefore);
    }
    printf("\e[0;32;32m[MSG][HbbTV-BC]%s pass out\e[0m\n", "getSIDescriptors");
}

} // namespace ZR_HBBTV_Core
