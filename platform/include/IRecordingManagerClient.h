// The browser's receiver of recording state changes.
#ifndef IRECORDINGMANAGERCLIENT_H
#define IRECORDINGMANAGERCLIENT_H

#include <string>

#include <binder/IInterface.h>
#include <utils/String16.h>

class IRecordingManagerClient : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IRecordingManagerClient> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    virtual void recordingStateChanged(const std::string& recordingId, int state) = 0;
};

class BnRecordingManagerClient : public android::BnInterface<IRecordingManagerClient> {
};

#endif
