// Media components both ways: the host's choice to the browser's player, the player's lists to the host.
#include <fuzzer/FuzzedDataProvider.h>

#include <binder/IServiceManager.h>

#include "FuzzSupport.h"
#include "ZR_HBBTV.implIPC_p.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

namespace {

// The browser service, as far as component selection goes.
class Browser : public BnYXTService {
public:
    void sendKeyEvent(int, int, int, int, int) override { }
    void registerClient(const android::sp<IYXTClient>&) override { }
    void registerMMClient(const android::sp<IYXTMMClient>&) override { }
    android::sp<IWindow> createWindow(const std::string&, int, int, int, int, const YXTWindowSettings&) override
    {
        return nullptr;
    }
    android::KeyedVector<int, android::sp<IWindow>> getAllWindows() override { return {}; }
    android::sp<IWindow> getWindow(int) override { return nullptr; }
    void setBrowserEnv(const std::string&, const std::string&) override { }
    void selectAudioComponent(const MultimediaComponentData& component, uint32_t value) override
    {
        chosen = component;
        chosenValue = value;
        audio = true;
    }
    void selectSubtitleComponent(const MultimediaComponentData& component, uint32_t value) override
    {
        selectAudioComponent(component, value);
        audio = false;
    }
    void releaseMMResource() override { }
    MultimediaComponentData chosen;
    uint32_t chosenValue = 0;
    bool audio = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const android::sp<Browser> browser = new Browser;
    static const android::sp<ZR_HbbtvImplPrivate> manager = [] {
        android::defaultServiceManager()->addService(android::String16("com.kalto.YXTService"), browser);
        const android::sp<ZR_HbbtvImplPrivate> created = new ZR_HbbtvImplPrivate(&hbbtv_fuzz::host());
        created->launchBrowser();
        return created;
    }();
    FuzzedDataProvider input(data, size);
    const bool audio = input.ConsumeBool();
    const HbbtvMultimediaComponentData choice { input.ConsumeRandomLengthString(300), input.ConsumeRandomLengthString(300),
        input.ConsumeIntegral<uint32_t>(), input.ConsumeBool(), input.ConsumeIntegral<uint32_t>(),
        input.ConsumeIntegral<uint32_t>() };
    if (audio) {
        manager->selectMMAudioComponent(choice);
    } else {
        manager->selectMMSubtitleComponent(choice);
    }
    const MultimediaComponentData& chosen = browser->chosen;
    check(browser->audio == audio && chosen.kind == 1 && !chosen.trailingFlag && browser->chosenValue == choice.value3,
        "the selection, with the player's own fields at their defaults");
    check(chosen.text1 == choice.text1 && chosen.text2 == choice.text2 && chosen.value1 == choice.value1
            && chosen.flag == choice.flag && chosen.value2 == choice.value2 && chosen.value3 == choice.value3,
        "the host's component, field by field");

    std::vector<MultimediaComponentData> reported;
    while (input.remaining_bytes() > 0 && reported.size() < 32) {
        MultimediaComponentData component;
        component.text1 = input.ConsumeRandomLengthString(64);
        component.text2 = input.ConsumeRandomLengthString(64);
        component.value1 = input.ConsumeIntegral<uint32_t>();
        component.flag = input.ConsumeBool();
        component.value2 = input.ConsumeIntegral<uint32_t>();
        component.value3 = input.ConsumeIntegral<uint32_t>();
        reported.push_back(component);
    }
    hbbtv_fuzz::host().clearRecord();
    manager->notifySubtitleComponentsChanged(reported, static_cast<int>(size));
    const std::vector<hbbtv_sim::ComponentReport> toHost = hbbtv_fuzz::host().record().components;
    check(toHost.size() == 1 && !toHost[0].audio && toHost[0].value == static_cast<int>(size)
            && toHost[0].components.size() == reported.size(),
        "the player's list reaches the host whole");
    for (size_t i = 0; i < reported.size(); ++i) {
        const HbbtvMultimediaComponentData& c = toHost[0].components[i];
        check(c.text1 == reported[i].text1 && c.text2 == reported[i].text2 && c.value1 == reported[i].value1
                && c.flag == reported[i].flag && c.value2 == reported[i].value2 && c.value3 == reported[i].value3,
            "each component, field by field");
    }
    return 0;
}
