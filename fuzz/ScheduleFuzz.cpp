// A channel's schedule, appended by the host to the result vector whose address the request carries.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

namespace {

std::vector<HbbtvEPGInformation> g_events;
bool g_valid;

void appendSchedule(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    auto* const schedule = static_cast<std::vector<HbbtvEPGInformation>*>(fromWireAddress(request.resultAddress));
    schedule->insert(schedule->end(), g_events.begin(), g_events.end());
    answer.valid = g_valid;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    g_valid = input.ConsumeBool();
    g_events.clear();
    while (input.remaining_bytes() > 0 && g_events.size() < 64) {
        HbbtvEPGInformation event {};
        event.word1 = input.ConsumeIntegral<uint32_t>();
        event.word3 = input.ConsumeIntegral<uint32_t>();
        event.text1 = input.ConsumeRandomLengthString(300);
        event.text2 = input.ConsumeRandomLengthString(300);
        event.text4 = input.ConsumeRandomLengthString(40);
        event.text5 = input.ConsumeRandomLengthString(40);
        event.parentalRating = input.ConsumeIntegral<uint8_t>();
        event.value16 = input.ConsumeIntegral<uint16_t>();
        event.byte0 = input.ConsumeIntegral<uint8_t>();
        g_events.push_back(event);
    }

    NCOR::ChannelTunerData channel;
    channel.setChannelID("ccid:fuzz");
    std::vector<NCOR::ProgrammeData*> programmes;
    const bool answered = hbbtv_fuzz::serviceAnswering(ProgrammeCommand_GetAllProgrammeInfo, appendSchedule)
                              .getAllProgrammesForChannel(channel, programmes);
    check(answered == g_valid, "answered exactly when valid");
    check(programmes.size() == (g_valid ? g_events.size() : 0), "one programme per event, when valid");
    for (size_t i = 0; i < programmes.size(); ++i) {
        const NCOR::ProgrammeData& p = *programmes[i];
        const HbbtvEPGInformation& e = g_events[i];
        check(p.getName() == e.text1 && p.getDescription() == e.text2 && p.getProgrammeID() == e.text5
                && p.getGenres() == std::vector<std::string> { e.text4 } && p.getChannelID() == "ccid:fuzz",
            "texts round trip");
        check(p.getStartTime() == e.word1 && p.getDuration() == e.word3 && p.getEpisode() == e.value16
                && p.getProgrammeIDType() == e.byte0,
            "numbers round trip");
        check(p.getParentalRatings().size() == 1
                && (e.parentalRating <= 2 || p.getParentalRatings()[0]->getValue() == e.parentalRating),
            "one rating, the host's above 2");
        delete programmes[i];
    }
    return 0;
}
