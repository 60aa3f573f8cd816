// In-process records that the host hands to the wrapper or receives from it.
#ifndef HBBTV_HOST_RECORDS_H
#define HBBTV_HOST_RECORDS_H

#include <cstdint>
#include <string>
#include <vector>

namespace ZR_HBBTV_Core {

// One transport of a signalled application: a protocol and the base address that the
// application's location is appended to.
struct AITTransport {
    uint16_t protocolId;
    std::string baseUrl;
};

// One signalled application of the AIT. The field meanings are the host's; the library only
// carries them into the browser's application descriptions.
struct AITApp {
    uint8_t controlCode;
    uint8_t visibility;
    uint8_t priority;
    uint8_t serviceBound;
    uint32_t organisationId;
    uint16_t applicationId;
    std::string name;
    std::string location; // appended directly to each transport's base
    std::vector<AITTransport> transports;
    std::vector<std::string> boundaries;
};

// The signalled application list of the current service.
struct AITApps {
    std::vector<AITApp> apps;
    int count; // passed on to the browser unchanged
};

} // namespace ZR_HBBTV_Core

// A media component of the browser's own player, as the host sees it.
struct HbbtvMultimediaComponentData {
    std::string text1;
    std::string text2;
    uint32_t value1;
    bool flag;
    uint32_t value2;
    uint32_t value3;
};

#endif
