// The browser's receiver of DSM-CC stream events, and its teletext switch.
#ifndef IDSMCCCLIENT_H
#define IDSMCCCLIENT_H

#include <cstdint>
#include <string>

#include <binder/IInterface.h>
#include <utils/String16.h>

// One stream event as the host reported it.
struct StreamEventData {
    std::string url;
    std::string name;
    std::string data;
    int32_t notTrigger = 0; // 0 when the host called the event a trigger, 1 otherwise
};

class IDSMCCClient : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IDSMCCClient> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    virtual void streamEvent(const StreamEventData& event) = 0;
    virtual void unusedOperation2() {}
    virtual int toggleTeletext(int on) = 0;
};

class BnDSMCCClient : public android::BnInterface<IDSMCCClient> {
};

#endif
