// Stream-event subscriptions: the browser's texts and numbers, as the host reads them.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

namespace {

// What a record string keeps of a text: up to its terminator, at most 254 characters.
std::string kept(const std::string& text)
{
    return text.substr(0, std::min(text.find('\0'), size_t(254)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string target = input.ConsumeRandomLengthString(400);
    const std::string name = input.ConsumeRandomLengthString(400);
    const bool flag = input.ConsumeBool();
    const long number = input.ConsumeIntegral<long>();
    HbbtvBackendTVService& service = hbbtv_fuzz::serviceAnswering(TunerCommand_AddStreamEvent);
    hbbtv_fuzz::serviceAnswering(TunerCommand_RemoveStreamEvent);
    service.registerStreamEvent(target, name, flag, number);
    service.unregisterStreamEvent(target, name);

    const std::vector<hbbtv_sim::ReceivedRequest> sent = hbbtv_fuzz::host().record().requests;
    check(sent.size() == 2, "one request each");
    check(sent[0].command == TunerCommand_AddStreamEvent && sent[1].command == TunerCommand_RemoveStreamEvent,
        "commands");
    check(sent[0].param1 == flag && sent[0].param2 == static_cast<int>(number), "flag and number as parameters");
    for (const hbbtv_sim::ReceivedRequest& request : sent) {
        check(request.strParam1 == kept(target) && request.strParam2 == kept(name), "texts as the record keeps them");
    }
    return 0;
}
