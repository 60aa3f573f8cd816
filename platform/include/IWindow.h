// A browser window showing one application.
#ifndef IWINDOW_H
#define IWINDOW_H

#include <binder/IInterface.h>
#include <utils/String16.h>

class IWindow : public android::IInterface {
public:
    static const android::String16 descriptor;
    static android::sp<IWindow> asInterface(const android::sp<android::IBinder>& binder);
    virtual const android::String16& getInterfaceDescriptor() const;

    // Operations 1 to 5 of the window interface are not used by the glue.
    virtual void unusedOperation1() {}
    virtual void unusedOperation2() {}
    virtual void unusedOperation3() {}
    virtual void unusedOperation4() {}
    virtual void unusedOperation5() {}
    virtual void close() = 0;
    virtual int getId() = 0;
};

class BnWindow : public android::BnInterface<IWindow> {
};

#endif
