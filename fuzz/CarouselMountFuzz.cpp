// A carousel mount: the browser's dvb: URL, then the host's answer.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string url = input.ConsumeRandomLengthString(300);
    hbbtv_fuzz::answerBytes = input.ConsumeRemainingBytes<uint8_t>();
    hbbtv_fuzz::answerBytes.resize(sizeof(HbbtvServiceRequestDvbResourceMountAnswer));
    HbbtvServiceRequestDvbResourceMountAnswer& written
        = *reinterpret_cast<HbbtvServiceRequestDvbResourceMountAnswer*>(hbbtv_fuzz::answerBytes.data());
    if (written.valid == 0) {
        written.refused = 1; // an answer without a mount point is retried a second later: not here
    }

    std::string mountPoint = "unchanged";
    unsigned int serviceId = 0;
    const bool parsed = FindServiceIdFromDvbUrl()(url, serviceId);
    const bool mounted = hbbtv_fuzz::serviceAnswering(DSMCC_DVBURL_GetFile).requestOCResourceMount(url, mountPoint);
    check(mounted == (parsed && written.valid != 0), "mounted when the URL names a service and the host answers");
    check(hbbtv_fuzz::fitsRecordString(mountPoint), "the mount point ends within its record");
    const std::vector<hbbtv_sim::ReceivedRequest> sent = hbbtv_fuzz::host().record().requests;
    check(sent.size() == (parsed ? 1u : 0u), "asked once, and only for a URL that names a service");
    if (parsed) {
        check(static_cast<unsigned int>(sent[0].param1) == serviceId, "the service identifier travels in param1");
    }
    return 0;
}
