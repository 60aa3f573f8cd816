// The host's signalled application list, on its way to the browser's AIT receiver.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"
#include "ZR_HBBTV.implIPC_p.h"
#include "ncor/AITApplicationDescriptorData.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

namespace {

class Receiver : public BnAITSignallingClient {
public:
    void signalNewAIT(unsigned int, std::vector<NCOR::AITApplicationDescriptorData*>& apps, int count) override
    {
        heard.clear();
        for (NCOR::AITApplicationDescriptorData* app : apps) {
            heard.push_back(*app);
            delete app;
        }
        heardCount = count;
    }
    void signalNoAIT(unsigned short) override { }
    std::vector<NCOR::AITApplicationDescriptorData> heard;
    int heardCount = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const android::sp<ZR_HbbtvImplPrivate> manager = new ZR_HbbtvImplPrivate(&hbbtv_fuzz::host());
    static const android::sp<Receiver> receiver = [] {
        const android::sp<Receiver> created = new Receiver;
        manager->registerAITSignallingClient(created);
        return created;
    }();
    FuzzedDataProvider input(data, size);
    AITApps apps;
    apps.count = input.ConsumeIntegral<int>();
    while (input.remaining_bytes() > 0 && apps.apps.size() < 16) {
        AITApp app {};
        app.controlCode = input.ConsumeIntegral<uint8_t>();
        app.organisationId = input.ConsumeIntegral<uint32_t>();
        app.applicationId = input.ConsumeIntegral<uint16_t>();
        app.name = input.ConsumeRandomLengthString(64);
        app.location = input.ConsumeRandomLengthString(300);
        const size_t transports = input.ConsumeIntegralInRange<size_t>(0, 3);
        for (size_t t = 0; t < transports; ++t) {
            app.transports.push_back({ input.ConsumeIntegral<uint16_t>(), input.ConsumeRandomLengthString(300) });
        }
        app.boundaries.push_back(input.ConsumeRandomLengthString(64));
        apps.apps.push_back(app);
    }
    receiver->heard.clear();
    check(manager->newAITNotification(7, apps), "the list reaches a registered receiver");
    check(receiver->heardCount == apps.count, "the count passes unchanged");
    size_t k = 0;
    for (const AITApp& app : apps.apps) {
        for (const AITTransport& transport : app.transports) {
            check(k < receiver->heard.size(), "one description per application and transport");
            const NCOR::AITApplicationDescriptorData& d = receiver->heard[k++];
            check(d.getUrl() == transport.baseUrl + app.location && d.getProtocolId() == transport.protocolId,
                "the transport's base and the location make the address");
            check(d.getOrgId() == app.organisationId && d.getAppId() == app.applicationId && d.getName() == app.name
                    && d.getControlCode() == app.controlCode && d.getBoundaries() == app.boundaries,
                "the application's own fields");
        }
    }
    check(k == receiver->heard.size(), "no description beyond the transports");
    return 0;
}
