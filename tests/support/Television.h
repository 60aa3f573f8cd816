// One television for tests of the whole library: the simulated host and browser, and a wrapper
// made through the exported factory between them, destroyed as a host destroys it.
#ifndef HBBTV_TESTS_TELEVISION_H
#define HBBTV_TESTS_TELEVISION_H

#include <gtest/gtest.h>

#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_test {

struct Television {
    enum Start { Unbound, BoundWithoutClients, Bound };

    hbbtv_sim::SimulatedHost host;
    hbbtv_sim::SimulatedBrowser browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = CreateHbbtvWrapper();

    // Bound: booted, bound to the browser, and the browser has registered its clients.
    explicit Television(Start start = Bound)
    {
        host.setWrapper(wrapper);
        if (start != Unbound) {
            bind(start == Bound);
        }
    }
    ~Television() { destroyWrapper(); }

    void bind(bool registerClients)
    {
        wrapper->init(&host);
        ASSERT_TRUE(browser.publish());
        ASSERT_TRUE(wrapper->launchBrowser());
        if (registerClients) {
            ASSERT_TRUE(browser.registerClients());
        }
    }
    void destroyWrapper()
    {
        if (wrapper != nullptr) {
            host.setWrapper(nullptr); // a host stops reporting to a wrapper it destroys
            DestroyHbbtvWrapper(wrapper);
            wrapper = nullptr;
        }
    }
};

} // namespace hbbtv_test

#endif
