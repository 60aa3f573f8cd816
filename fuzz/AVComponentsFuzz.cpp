// The component block the host writes into the answer, read for each component type.
#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    // The first byte chooses the type and the list, the rest is the answer record.
    const int type = data[0] % 5;
    hbbtv_fuzz::answerBytes.assign(data + 1, data + size);
    HbbtvBackendTVService& service = hbbtv_fuzz::serviceAnswering(TunerCommand_GetAVInfo);
    std::vector<NCOR::AVComponentData*> components;
    const NCOR::Broadcast::ComponentType asked = static_cast<NCOR::Broadcast::ComponentType>(type);
    if (data[0] & 0x80) {
        service.getActiveAVComponents(asked, components);
    } else {
        service.getAVComponents(asked, components);
    }
    const size_t limit = type == NCOR::Broadcast::COMPONENT_TYPE_VIDEO ? 1
        : type == NCOR::Broadcast::COMPONENT_TYPE_AUDIO                ? HbbtvAVComponentInfo::kAVEntries
        : type == NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE             ? HbbtvAVComponentInfo::kSubtitleEntries
                                                                       : 0;
    check(components.size() <= limit, "no more components than the record has entries");
    check(data[1] != 0 || components.empty(), "nothing from an answer that is not valid");
    for (NCOR::AVComponentData* component : components) {
        check(component->getComponentType() == asked, "components of the type asked for");
        check(hbbtv_fuzz::fitsRecordString(component->getLanguage()), "a language ends within its record");
        delete component;
    }
    return 0;
}
