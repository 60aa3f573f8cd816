// What the browser's media player reports about the components of broadband media.
#ifndef IYXTMMCLIENT_H
#define IYXTMMCLIENT_H

#include <vector>

#include <binder/IInterface.h>
#include <utils/String16.h>

#include "MultimediaComponentData.h"

class IYXTMMClient : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IYXTMMClient> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    virtual void notifyAudioComponentsChanged(const std::vector<MultimediaComponentData>& components, int value) = 0;
    virtual void notifySubtitleComponentsChanged(const std::vector<MultimediaComponentData>& components,
                                                 int value) = 0;
};

class BnYXTMMClient : public android::BnInterface<IYXTMMClient> {
};

#endif
