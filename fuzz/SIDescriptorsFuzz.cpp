// SI descriptors, appended by the host to the result vector whose address the request carries.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

namespace {

std::vector<std::vector<unsigned char>> g_found;
bool g_valid;

void appendDescriptors(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    auto* const found = static_cast<std::vector<std::vector<unsigned char>>*>(fromWireAddress(request.resultAddress));
    found->insert(found->end(), g_found.begin(), g_found.end());
    answer.valid = g_valid;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    g_valid = input.ConsumeBool();
    const int tag = input.ConsumeIntegral<uint8_t>();
    const int extension = input.ConsumeIntegral<uint8_t>();
    const std::string programme = input.ConsumeRandomLengthString(300);
    g_found.clear();
    while (input.remaining_bytes() > 0 && g_found.size() < 64) {
        g_found.push_back(input.ConsumeBytes<unsigned char>(input.ConsumeIntegralInRange<size_t>(0, 258)));
    }

    std::vector<std::vector<unsigned char>> descriptors = { { 0x01 } };
    hbbtv_fuzz::serviceAnswering(ProgrammeCommand_GetSIDescriptors, appendDescriptors)
        .getSIDescriptors(programme, static_cast<NCOR::EIT::DescriptorTag>(tag),
            static_cast<NCOR::EIT::ExtensionDescriptorTag>(extension), descriptors);
    std::vector<std::vector<unsigned char>> expected = { { 0x01 } };
    if (g_valid) {
        expected.insert(expected.end(), g_found.begin(), g_found.end());
    }
    check(descriptors == expected, "the host's descriptors follow what the list held, in order, when valid");
    const hbbtv_sim::ReceivedRequest sent = hbbtv_fuzz::host().record().requests.at(0);
    check(sent.param1 == tag && sent.param2 == extension, "tags travel as the parameters");
    check(sent.strParam1 == programme.substr(0, std::min(programme.find('\0'), size_t(254))),
        "the programme identifier, cut to what the record keeps");
    return 0;
}
