// Configuration answers: texts, the audio-description switch and the parental threshold.
#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    hbbtv_fuzz::answerBytes.assign(data, data + size);
    HbbtvServiceRequestAnswer written;
    hbbtv_fuzz::copyInto(&written, sizeof(written), data, size);

    std::string text = "unchanged";
    hbbtv_fuzz::serviceAnswering(ConfigCommand_GetCountryID).getCountryId(text);
    const std::string expected(written.strValue1.c_str(), strnlen(written.strValue1.c_str(), HbbtvRecordString::kCapacity));
    check(text == (written.valid != 0 ? expected : "unchanged"), "the text up to its terminator, when valid");
    check(hbbtv_fuzz::fitsRecordString(text), "the text ends within its record");

    const bool enabled = hbbtv_fuzz::serviceAnswering(ConfigCommand_GetAudioDescription).getAudioDescriptionEnable();
    check(enabled == (written.valid != 0 && written.intValue1 != 0), "audio description");

    const int threshold = hbbtv_fuzz::serviceAnswering(ConfigCommand_GetParental).getParentalControlThreshold();
    check(threshold == (static_cast<unsigned>(written.intValue1) < 3u ? 3 : written.intValue1),
        "the threshold is at least 3 unless negative");
    return 0;
}
