// Control of the in-process binder runtime, for tests and the simulator: what the binder driver
// does when a service's process dies, and a way back to an empty service manager.
#ifndef LOOPBACK_BINDER_H
#define LOOPBACK_BINDER_H

#include <utils/String16.h>

namespace loopback_binder {

// Kills the service registered under `name` as if its process had died. The name leaves the
// registry and the binder that the service manager handed out for it turns dead for good; then
// every death recipient linked on that binder hears binderDied once, on the calling thread, with
// no lock of the runtime held. Answers false when no service has that name.
bool killService(const android::String16& name);

// Empties the registry without death notices. Binders handed out earlier stay alive and keep
// answering for their services.
void forgetAllServices();

} // namespace loopback_binder

#endif
