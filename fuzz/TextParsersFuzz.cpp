// The browser's texts the service parses itself: the two dvb: URL service-id parsers (any text;
// and URLs made of four numbers, which must give the third) and the four-digit conversion.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

namespace {

void parseUrl(HbbtvBackendTVService& service, FuzzedDataProvider& input)
{
    if (input.ConsumeBool()) {
        const std::string url = input.ConsumeRemainingBytesAsString();
        unsigned int id = 0;
        check(FindServiceIdFromDvbUrl()(url, id) == (std::count(url.begin() + (url.empty() ? 0 : 1), url.end(), '.') >= 3),
            "found exactly when three dots follow the first character");
        service.extractServiceIDformURL(url);
        return;
    }
    unsigned int numbers[4];
    for (unsigned int& n : numbers) {
        n = input.ConsumeIntegral<uint16_t>();
    }
    std::string path = input.ConsumeRemainingBytesAsString();
    path.erase(std::remove_if(path.begin(), path.end(), [](char c) { return c == '.' || c == '/'; }), path.end());
    char authority[64];
    snprintf(authority, sizeof(authority), "dvb://%x.%x.%x.%x", numbers[0], numbers[1], numbers[2], numbers[3]);
    unsigned int id = 0;
    check(FindServiceIdFromDvbUrl()(authority + path, id) && id == numbers[2], "the URL's service identifier");
    check(service.extractServiceIDformURL(std::string(authority) + "/" + path) == static_cast<int>(numbers[2]),
        "the service identifier of a URL with a path");
}

void convertDigits(HbbtvBackendTVService& service, const std::string& text)
{
    uint32_t value = 0;
    bool digitsOnly = true;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            value = value * 10 + static_cast<uint32_t>(c - '0');
        } else {
            digitsOnly = false;
        }
    }
    for (const bool before : { true, false }) {
        bool ok = before;
        check(service.StringToInt(text, ok) == static_cast<int>(value), "the digits' value, wrapping");
        check(ok == (before && digitsOnly && text.size() == 4), "ok is only ever cleared, and kept for four digits");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const android::sp<HbbtvBackendTVService> service = new HbbtvBackendTVService(nullptr, nullptr);
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        parseUrl(*service, input);
    } else {
        convertDigits(*service, input.ConsumeRemainingBytesAsString());
    }
    return 0;
}
