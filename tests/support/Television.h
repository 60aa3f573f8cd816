// One television for tests of the whole library: the simulated host (or a test's own kind of it)
// and browser, and a wrapper made through the exported factory between them, destroyed as a host
// destroys it.
#ifndef HBBTV_TESTS_TELEVISION_H
#define HBBTV_TESTS_TELEVISION_H

#include <type_traits>
#include <gtest/gtest.h>

#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_test {

struct TelevisionStart {
    enum Start { Unbound, BoundWithoutClients, Bound };
};

template <typename Host> struct BasicTelevision : TelevisionStart {
    Host host;
    hbbtv_sim::SimulatedBrowser browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = CreateHbbtvWrapper();

    // Bound: booted, bound to the browser, and the browser has registered its clients.
    explicit BasicTelevision(Start start = Bound)
    {
        host.setWrapper(wrapper);
        if (start != Unbound) {
            bind(start == Bound);
        }
    }
    ~BasicTelevision() { destroyWrapper(); }

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

typedef BasicTelevision<hbbtv_sim::SimulatedHost> Television;

// Every wrapper operation but init and deinit, with ordinary arguments (a key HbbTV does not
// handle, a stray completion), on the wrapper or on the manager it forwards to.
template <typename Target> void callEveryOperation(Target* wrapper)
{
    ZR_HBBTV_Core::AITApps apps;
    apps.count = 0;
    const HbbtvMultimediaComponentData component{"en", "audio", 1, false, 2, 3};
    HbbtvCommandPayload stray(TunerCommand_GetAVInfo);
    stray.ticket = 0x7FFFFFF0;
    wrapper->toggleDigitalTeletext();
    wrapper->notifyChannelChanged(1, 2, 3);
    wrapper->newAITNotification(1, apps);
    wrapper->noAITNotification(0);
    wrapper->tunerStopped(false);
    wrapper->launchBrowser();
    wrapper->keyClick(0x1000);
    wrapper->prepareCreateApplication();
    wrapper->createApplication(7, "http://app.example/", "");
    wrapper->closeUserCreatedApps();
    wrapper->notifyBroadbandAccessAvailable(true);
    if constexpr (std::is_base_of<ZR_HBBTV_Core::ZR_HbbtvImplInterface, Target>::value) {
        wrapper->notifyHbbtvServiceRequestFinished(&stray); // the manager takes no completions
    }
    wrapper->notifyStreamEvent("dvb://1.2.3", "event", "data", "trigger");
    wrapper->setCookiesEnabledAttribute(true);
    wrapper->sendCookiesEnabledAttribute();
    wrapper->isBrowserReady();
    wrapper->notifyTimezoneChanged("UTC");
    wrapper->notifyLocaleChanged("en");
    wrapper->notifyParentalRatingChange(1, 2, 3, 4);
    wrapper->notifyProgrammeChanged(1, 2, 3);
    wrapper->SetHbbTVRunningStatus(true);
    wrapper->isAppAlive(7);
    wrapper->setupEnvVar("A", "B");
    wrapper->unsetEnvVar("A");
    wrapper->killCurrentApp();
    wrapper->notifyChannelListChanged();
    wrapper->selectMMAudioComponent(component);
    wrapper->selectMMSubtitleComponent(component);
    wrapper->forceReleaseMMResource();
    wrapper->notifySignalLost();
    wrapper->notifyTunerPlundered();
}

} // namespace hbbtv_test

#endif
