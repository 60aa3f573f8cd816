// The browser's own service ("com.kalto.YXTService"): keys, clients, windows, environment and
// media components. Operations the glue does not use keep their positions as placeholders.
#ifndef IYXTSERVICE_H
#define IYXTSERVICE_H

#include <cstdint>
#include <string>

#include <binder/IInterface.h>
#include <utils/KeyedVector.h>
#include <utils/String16.h>

#include "IWindow.h"
#include "IYXTClient.h"
#include "IYXTMMClient.h"
#include "MultimediaComponentData.h"

// How a new window is set up: fixed flags and scale, and a text the host passes through.
struct YXTWindowSettings {
    uint8_t flag1 = 0;
    uint8_t flag2 = 0;
    uint8_t flag3 = 0;
    uint8_t flag4 = 0;
    float scale = 0.0f;
    uint8_t flag5 = 0;
    uint8_t flag6 = 0;
    std::string extra;
};

class IYXTService : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IYXTService> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    // One key event; the browser answers later with IYXTClient::notifyKeyEventConsumed(eventId).
    virtual void sendKeyEvent(int eventId, int keyCode, int pressed, int arg4, int arg5) = 0;
    virtual void registerClient(const android::sp<IYXTClient>& client) = 0;
    virtual void unusedOperation3() {}
    virtual void registerMMClient(const android::sp<IYXTMMClient>& client) = 0;
    virtual void unusedOperation5() {}
    virtual android::sp<IWindow> createWindow(const std::string& url, int x, int y, int width, int height,
                                              const YXTWindowSettings& settings) = 0;
    virtual android::KeyedVector<int, android::sp<IWindow>> getAllWindows() = 0;
    virtual android::sp<IWindow> getWindow(int windowId) = 0;
    virtual void unusedOperation9() {}
    virtual void unusedOperation10() {}
    virtual void setBrowserEnv(const std::string& name, const std::string& value) = 0;
    virtual void selectAudioComponent(const MultimediaComponentData& component, uint32_t value) = 0;
    virtual void selectSubtitleComponent(const MultimediaComponentData& component, uint32_t value) = 0;
    virtual void unusedOperation14() {}
    virtual void unusedOperation15() {}
    virtual void unusedOperation16() {}
    virtual void unusedOperation17() {}
    virtual void releaseMMResource() = 0;
};

class BnYXTService : public android::BnInterface<IYXTService> {
};

#endif
