// What the browser reports back to its client in the glue: windows, page loads and key answers.
#ifndef IYXTCLIENT_H
#define IYXTCLIENT_H

#include <string>

#include <binder/IInterface.h>
#include <utils/String16.h>

class IYXTClient : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IYXTClient> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    virtual void notifyNewWindow(int windowId) = 0;
    virtual void notifyWindowClosed(int windowId) = 0;
    virtual void notifyLoadStarted(int loadId, const std::string& url) = 0;
    virtual void notifyLoadProgress(int loadId, int percent) = 0;
    virtual void notifyLoadComplete(int loadId) = 0;
    virtual void notifyLoadFailed(int loadId, const std::string& url, int error) = 0;
    virtual void notifyWindowPainted(int windowId, int x, int y, int width, int height) = 0;
    virtual void notifyKeyEventConsumed(int eventId, bool consumed) = 0;
    virtual void notifyInitialLayoutCompleted(int loadId) = 0;
};

class BnYXTClient : public android::BnInterface<IYXTClient> {
};

#endif
