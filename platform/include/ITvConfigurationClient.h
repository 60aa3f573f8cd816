// The browser's receiver of configuration changes.
#ifndef ITVCONFIGURATIONCLIENT_H
#define ITVCONFIGURATIONCLIENT_H

#include <binder/IInterface.h>
#include <utils/String16.h>

class ITvConfigurationClient : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<ITvConfigurationClient> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    virtual void configurationChanged() = 0;
};

class BnTvConfigurationClient : public android::BnInterface<ITvConfigurationClient> {
};

#endif
