#include "TelevisionAnswers.h"

#include <cstring>

namespace hbbtv_hostcheck_plugins {

namespace {

using hbbtv_sim::SimulatedHost;

const int kPlayErrorUnknownChannel = 5;
const int kPlayErrorNone = 101;
const int kUnknownChannelNumber = 999;
const int kExtensionDescriptor = 0x7F;

SimulatedHost::AnswerWriter textWriter(const char* text, int intValue1 = 0)
{
    return [text, intValue1](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.strValue1 = text;
        answer.intValue1 = intValue1;
        answer.valid = 1;
    };
}

void writeCurrentChannel(const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer)
{
    auto& info = static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
    info.channelNumberA = 0x2B66;
    info.channelNumberB = 0x2114;
    info.channelNumberC = 0x0441;
    info.channelNumberD = 1;
    info.extraNumberE = 1;
    info.extraNumberF = 0;
    info.channelType = 0;
    info.idType = HbbtvServiceRequestChannelInfoAnswer::ID_DVB_T;
    info.invertedFlag = 0;
    info.lockFlags = 0;
    info.name = "Das Erste HD";
    answer.valid = 1;
}

void writePlayState(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    answer.intValue1 = playStateFor(static_cast<const HbbtvCommandPayloadWithChannelIDInfo&>(request).channelID3);
    answer.valid = 1;
}

// One descriptor of the tag asked for: a short event for plain tags, the extension asked for
// otherwise.
void writeDescriptors(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    auto* const found
        = static_cast<std::vector<std::vector<unsigned char>>*>(hbbtv_sim::fromHostWireAddress(request.resultAddress));
    if (found == nullptr) {
        return;
    }
    const unsigned char tag = static_cast<unsigned char>(request.param1);
    if (tag == kExtensionDescriptor) {
        found->push_back({ tag, 2, static_cast<unsigned char>(request.param2), 0x01 });
    } else {
        found->push_back({ tag, 5, 'd', 'e', 'u', 0, 0 });
    }
    answer.valid = 1;
}

std::vector<HbbtvEPGInformation> schedule()
{
    HbbtvEPGInformation news;
    news.word1 = 1764010800;
    news.word3 = 900;
    news.text1 = "Tagesschau";
    news.text2 = "Nachrichten";
    news.text4 = "news";
    news.parentalRating = 0;
    news.text5 = "crid://example.com/programme/1";
    HbbtvEPGInformation film;
    film = news;
    film.word1 = 1764011700;
    film.word3 = 5400;
    film.text1 = "Tatort";
    film.text2 = "Krimi";
    film.text4 = "drama";
    film.parentalRating = 12;
    film.text5 = "crid://example.com/programme/2";
    return { news, film };
}

} // namespace

int playStateFor(int channelID3)
{
    return channelID3 == kUnknownChannelNumber ? kPlayErrorUnknownChannel : kPlayErrorNone;
}

void setTelevisionAnswers(SimulatedHost& host)
{
    host.setAnswerWriterFor(TunerCommand_TuneTo, writePlayState);
    host.setAnswerWriterFor(TunerCommand_Bind2CurrentChannel, writePlayState);
    host.setAnswerWriterFor(TunerCommand_GetCurrentChannelInfo, writeCurrentChannel);

    std::vector<hbbtv_sim::LineupChannel> lineup(3);
    lineup[0] = hbbtv_sim::LineupChannel { 0x2B66, 0x2114, 1, 0, 3, 0, 1, 1, 0, "Das Erste HD" };
    lineup[1] = hbbtv_sim::LineupChannel { 0x2B7A, 0x2114, 2, 0, 3, 0, 2, 1, 0, "ZDF HD" };
    lineup[2] = hbbtv_sim::LineupChannel { 0x6DCA, 0x0085, 3, 1, 2, 0, 3, 1, 0, "Deutschlandfunk" };
    host.setAnswerWriterFor(TunerCommand_RequestChannelsLineup, SimulatedHost::lineupWriter(lineup));

    hbbtv_sim::HostProgramme present { 1764010800, 900, "Tagesschau", "Nachrichten", "crid://example.com/programme/1" };
    hbbtv_sim::HostProgramme following { 1764011700, 5400, "Tatort", "Krimi", "crid://example.com/programme/2" };
    host.setAnswerWriterFor(
        ProgrammeCommand_GetProgrammeInfo, SimulatedHost::presentFollowingWriter(present, following));
    host.setAnswerWriterFor(ProgrammeCommand_GetAllProgrammeInfo, SimulatedHost::scheduleWriter(schedule()));
    host.setAnswerWriterFor(ProgrammeCommand_GetSIDescriptors, writeDescriptors);

    std::map<int, std::vector<hbbtv_sim::HostComponent>> components;
    components[0] = { hbbtv_sim::HostComponent { 0, 0, 0x11, 0, 2, 27, "" } };
    components[1] = { hbbtv_sim::HostComponent { 0, 0, 0x12, 2, 0, 6, "deu" },
        hbbtv_sim::HostComponent { 0, 1, 0x13, 2, 0, 7, "eng" } };
    components[2] = { hbbtv_sim::HostComponent { 0, 0, 0x20, 0, 0, 0, "deu" } };
    host.setAnswerWriterFor(TunerCommand_GetAVInfo, SimulatedHost::componentsWriter(components));

    host.setAnswerWriterFor(DSMCC_DVBURL_GetFile, SimulatedHost::mountWriter("/mnt/carousel/1044"));
    host.setAnswerWriterFor(ConfigCommand_GetCountryID, textWriter("DEU"));
    host.setAnswerWriterFor(ConfigCommand_GetAudioLanguage, textWriter("deu"));
    host.setAnswerWriterFor(ConfigCommand_GetSubtitleLanguage, textWriter("eng"));
    host.setAnswerWriterFor(ConfigCommand_GetParental, SimulatedHost::resultWriter(12));
    host.setAnswerWriterFor(ConfigCommand_GetAudioDescription, SimulatedHost::resultWriter(1));
}

} // namespace hbbtv_hostcheck_plugins
