// The two dvb: URL parsers: any text, and URLs made from four numbers, which must give the third.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    hbbtv_fuzz::useOwnSharedMemory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const android::sp<HbbtvBackendTVService> service = new HbbtvBackendTVService(nullptr, nullptr);
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        const std::string url = input.ConsumeRemainingBytesAsString();
        unsigned int id = 0x5A5A;
        const bool found = FindServiceIdFromDvbUrl()(url, id);
        check(found == (std::count(url.begin() + (url.empty() ? 0 : 1), url.end(), '.') >= 3),
            "found exactly when three dots follow the first character");
        service->extractServiceIDformURL(url);
        return 0;
    }
    unsigned int numbers[4];
    for (unsigned int& n : numbers) {
        n = input.ConsumeIntegral<uint16_t>();
    }
    std::string path = input.ConsumeRemainingBytesAsString();
    path.erase(std::remove(path.begin(), path.end(), '.'), path.end());
    path.erase(std::remove(path.begin(), path.end(), '/'), path.end());
    char authority[64];
    snprintf(authority, sizeof(authority), "dvb://%x.%x.%x.%x", numbers[0], numbers[1], numbers[2], numbers[3]);
    unsigned int id = 0;
    check(FindServiceIdFromDvbUrl()(authority + path, id) && id == numbers[2], "the URL's service identifier");
    check(service->extractServiceIDformURL(std::string(authority) + "/" + path) == static_cast<int>(numbers[2]),
        "the service identifier of a URL with a path");
    return 0;
}
