// The browser's receiver of the broadcast's application signalling.
#ifndef IAITSIGNALLINGCLIENT_H
#define IAITSIGNALLINGCLIENT_H

#include <vector>

#include <binder/IInterface.h>
#include <utils/String16.h>

namespace NCOR {
class AITApplicationDescriptorData;
}

class IAITSignallingClient : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IAITSignallingClient> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    // The records pass to the receiver, which frees them.
    virtual void signalNewAIT(unsigned int aitVersion, std::vector<NCOR::AITApplicationDescriptorData*>& apps,
                              int count) = 0;
    virtual void signalNoAIT(unsigned short value) = 0;
};

class BnAITSignallingClient : public android::BnInterface<IAITSignallingClient> {
};

#endif
