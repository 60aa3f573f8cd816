// Meta-interface parts of the browser's interfaces. There is no marshalling proxy: a binder is
// turned into an interface through its local answer (the loopback runtime's proxies forward it).
#include "IAITSignallingClient.h"
#include "IChannelManagerClient.h"
#include "IDSMCCClient.h"
#include "IRecordingManagerClient.h"
#include "ITvConfigurationClient.h"
#include "IWindow.h"
#include "IYXTClient.h"
#include "IYXTMMClient.h"
#include "IYXTService.h"
#include "LocalInterface.h"

const android::String16 IYXTService::descriptor("com.kalto.IYXTService");
const android::String16 IYXTClient::descriptor("com.kalto.IYXTClient");
const android::String16 IYXTMMClient::descriptor("com.kalto.IYXTMMClient");
const android::String16 IWindow::descriptor("com.kalto.IWindow");
const android::String16 IAITSignallingClient::descriptor("com.kalto.IAITSignallingClient");
const android::String16 IChannelManagerClient::descriptor("com.kalto.IChannelManagerClient");
const android::String16 IDSMCCClient::descriptor("com.kalto.IDSMCCClient");
const android::String16 ITvConfigurationClient::descriptor("com.kalto.ITvConfigurationClient");
const android::String16 IRecordingManagerClient::descriptor("com.kalto.IRecordingManagerClient");

#define HBBTV_LOCAL_META_INTERFACE(I)                                                        \
    const android::String16& I::getInterfaceDescriptor() const { return descriptor; }        \
    android::sp<I> I::asInterface(const android::sp<android::IBinder>& binder)               \
    {                                                                                        \
        return localInterfaceOf<I>(binder);                                                  \
    }

HBBTV_LOCAL_META_INTERFACE(IYXTService)
HBBTV_LOCAL_META_INTERFACE(IYXTClient)
HBBTV_LOCAL_META_INTERFACE(IYXTMMClient)
HBBTV_LOCAL_META_INTERFACE(IWindow)
HBBTV_LOCAL_META_INTERFACE(IAITSignallingClient)
HBBTV_LOCAL_META_INTERFACE(IChannelManagerClient)
HBBTV_LOCAL_META_INTERFACE(IDSMCCClient)
HBBTV_LOCAL_META_INTERFACE(ITvConfigurationClient)
HBBTV_LOCAL_META_INTERFACE(IRecordingManagerClient)
