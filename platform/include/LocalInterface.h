// The typed view of a binder for interfaces that have no marshalling proxy: a binder that does
// not answer the interface locally (or through the loopback runtime's proxy) gives null.
#ifndef LOCAL_INTERFACE_H
#define LOCAL_INTERFACE_H

#include <binder/IBinder.h>
#include <binder/IInterface.h>

template <typename INTERFACE>
android::sp<INTERFACE> localInterfaceOf(const android::sp<android::IBinder>& binder)
{
    if (binder == nullptr) {
        return nullptr;
    }
    return static_cast<INTERFACE*>(binder->queryLocalInterface(INTERFACE::descriptor).get());
}

#endif
