// A client register that keeps nothing: for a TV service driven without an application manager
// (the TV-service tests and the fuzz targets).
#ifndef HBBTV_SIM_NULL_CLIENT_REGISTER_H
#define HBBTV_SIM_NULL_CLIENT_REGISTER_H

#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_sim {

class NullClientRegister : public HbbtvBackendClientRegister {
public:
    void registerAITSignallingClient(const android::sp<IAITSignallingClient>&) override { }
    void registerChannelManagerClient(const android::sp<IChannelManagerClient>&) override { }
    void registerDSMCCClient(const android::sp<IDSMCCClient>&) override { }
    void registerTvConfigurationClient(const android::sp<ITvConfigurationClient>&) override { }
};

} // namespace hbbtv_sim

#endif
