// The browser's receiver of channel, programme and tuner events.
#ifndef ICHANNELMANAGERCLIENT_H
#define ICHANNELMANAGERCLIENT_H

#include <vector>

#include <binder/IInterface.h>
#include <utils/String16.h>

namespace NCOR {
class ChannelTunerData;
}

class IChannelManagerClient : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IChannelManagerClient> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    virtual void channelListChanged(std::vector<NCOR::ChannelTunerData*>& channels) = 0;
    virtual void channelChanged(const NCOR::ChannelTunerData& channel, int state) = 0;
    virtual void tunerStopped(int state) = 0;
    virtual void programmeChanged() = 0;
    virtual void channelModified(const NCOR::ChannelTunerData& channel) = 0;
    virtual void accessToBroadcastResources(bool granted) = 0;
    virtual void unusedOperation7() {}
    virtual void unusedOperation8() {}
    virtual void unusedOperation9() {}
    virtual void tunerStateChanged(int state) = 0;
};

class BnChannelManagerClient : public android::BnInterface<IChannelManagerClient> {
};

#endif
