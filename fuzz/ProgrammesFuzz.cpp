// The present and following programme records the host writes into the answer.
#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    hbbtv_fuzz::answerBytes.assign(data, data + size);
    std::vector<NCOR::ProgrammeData*> programmes;
    hbbtv_fuzz::serviceAnswering(ProgrammeCommand_GetProgrammeInfo).getProgrammes(programmes);

    HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo info;
    const size_t at = std::min(sizeof(HbbtvServiceRequestAnswer), size); // the record follows the base answer
    hbbtv_fuzz::copyInto(&info, sizeof(info), data + at, size - at);
    check(programmes.size() == (size > 0 && data[0] != 0 ? 2u : 0u), "present and following, when valid");
    for (NCOR::ProgrammeData* programme : programmes) {
        // Texts are taken as long as the host says, terminators and all, but never past the record.
        check(programme->getName().size() <= 254 && programme->getDescription().size() <= 254
                && programme->getProgrammeID().size() <= 254,
            "texts are at most 254 characters");
        check(programme->getName() == info.text1.storedLengthString().substr(0, 254), "the name as stored");
        check(programme->getStartTime() == info.time1 && programme->getDuration() == info.time2, "times");
        delete programme;
    }
    return 0;
}
