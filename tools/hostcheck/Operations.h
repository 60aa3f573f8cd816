// The browser operations that reach the host, each driven through the simulated browser's view of
// the TV service with realistic and some edge arguments, and the synchronous host callbacks the
// library makes. --only selects them by name.
#ifndef HBBTV_HOST_CHECK_OPERATIONS_H
#define HBBTV_HOST_CHECK_OPERATIONS_H

#include <string>
#include <vector>

#include "CheckingHost.h"
#include "SimulatedBrowser.h"

namespace hbbtv_hostcheck {

// The television around the host under check.
struct Television {
    CheckingHost& checker;
    hbbtv_sim::SimulatedBrowser& browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper;
};

struct Operation {
    const char* name;
    const char* description;
    void (*run)(Television& tv);
};

// In the order they run and are reported.
const std::vector<Operation>& operations();
const Operation* findOperation(const std::string& name);

} // namespace hbbtv_hostcheck

#endif
