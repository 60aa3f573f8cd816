// The simulated host as a host plugin: a television that keeps the contract. It passes every check
// and is the example a vendor's own plugin follows.
#include "HbbtvHostCheckPlugin.h"
#include "TelevisionAnswers.h"

namespace {

// Final, so that it is deleted as what it is: the host interface has no virtual destructor.
class PluginHost final : public hbbtv_sim::SimulatedHost {
public:
    using SimulatedHost::SimulatedHost;
};

} // namespace

extern "C" Hbbtv_TVServer* HbbtvHostCheck_CreateHost(HbbtvHostCheckContext* context)
{
    PluginHost* const host = new PluginHost(context->wrapper);
    hbbtv_hostcheck_plugins::setTelevisionAnswers(*host);
    context->destroyHost = [](Hbbtv_TVServer* server) { delete static_cast<PluginHost*>(server); };
    return host;
}
