// The four-digit text conversion: its value and its flag against their definition.
#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const android::sp<HbbtvBackendTVService> service = new HbbtvBackendTVService(nullptr, nullptr);
    const std::string text(reinterpret_cast<const char*>(data), size);
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
        check(service->StringToInt(text, ok) == static_cast<int>(value), "the digits' value, wrapping");
        check(ok == (before && digitsOnly && text.size() == 4), "ok is only ever cleared, and kept for four digits");
    }
    return 0;
}
