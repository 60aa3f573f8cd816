// Interfaces shared with other binaries (the host, the browser, the platform) are bound by the
// position of each operation in the virtual table, not by name: check every position in use.
#include <vector>

#include <gtest/gtest.h>

#include "IAITSignallingClient.h"
#include "IChannelManagerClient.h"
#include "IDSMCCClient.h"
#include "IWindow.h"
#include "IYXTClient.h"
#include "IYXTMMClient.h"
#include "IYXTService.h"
#include "ZR_HBBTV.implIPC_p.h"
#include "ZR_HbbtvImplInterface.h"
#include "support/SlotIndex.h"

using hbbtv_test::slotIndex;
using ZR_HBBTV_Core::ZR_HbbtvImplInterface;

namespace {
// Binder interfaces: two destructor entries, onAsBinder and getInterfaceDescriptor come first.
long own(int position)
{
    return 3 + position;
}

// Positions in use must run from first without a gap, in declaration order.
void expectConsecutive(long first, const std::vector<long>& slots, const char* interface)
{
    for (size_t i = 0; i < slots.size(); ++i) {
        EXPECT_EQ(first + static_cast<long>(i), slots[i]) << interface << " operation " << i;
    }
}
} // namespace

TEST(SlotOrder, HostBoundary)
{
    typedef Hbbtv_TVServer S;
    expectConsecutive(0,
        { slotIndex(&S::HBBTV_CommandHandler), slotIndex(&S::HBBTV_ServiceRequestHandler),
            slotIndex(&S::HBBTV_HeartBeatNotification), slotIndex(&S::HBBTV_LoadingNotification),
            slotIndex(&S::HBBTV_BrowserDiedNotification), slotIndex(&S::HBBTV_NotifyUserAppCreated),
            slotIndex(&S::HBBTV_DelegateAction), slotIndex(&S::HBBTV_ReportIsAnyAppRunning),
            slotIndex(&S::HBBTV_NotifyMultimediaAudioComponentDataChanged),
            slotIndex(&S::HBBTV_NotifyMultimediaSubtitleComponentDataChanged) },
        "Hbbtv_TVServer");

    typedef HbbtvBackendClientRegister R;
    expectConsecutive(0,
        { slotIndex(&R::registerAITSignallingClient), slotIndex(&R::registerChannelManagerClient),
            slotIndex(&R::registerDSMCCClient), slotIndex(&R::registerTvConfigurationClient) },
        "HbbtvBackendClientRegister");

    // After the two destructor entries, operations 1 to 33.
    typedef ZR_HbbtvImplInterface W;
    expectConsecutive(2,
        { slotIndex(&W::init), slotIndex(&W::deinit), slotIndex(&W::toggleDigitalTeletext),
            slotIndex(&W::notifyChannelChanged), slotIndex(&W::newAITNotification), slotIndex(&W::noAITNotification),
            slotIndex(&W::tunerStopped), slotIndex(&W::launchBrowser), slotIndex(&W::keyClick),
            slotIndex(&W::prepareCreateApplication), slotIndex(&W::createApplication),
            slotIndex(&W::closeUserCreatedApps), slotIndex(&W::notifyBroadbandAccessAvailable),
            slotIndex(&W::notifyHbbtvServiceRequestFinished), slotIndex(&W::notifyStreamEvent),
            slotIndex(&W::setCookiesEnabledAttribute), slotIndex(&W::sendCookiesEnabledAttribute),
            slotIndex(&W::isBrowserReady), slotIndex(&W::notifyTimezoneChanged), slotIndex(&W::notifyLocaleChanged),
            slotIndex(&W::notifyParentalRatingChange), slotIndex(&W::notifyProgrammeChanged),
            slotIndex(&W::SetHbbTVRunningStatus), slotIndex(&W::isAppAlive), slotIndex(&W::setupEnvVar),
            slotIndex(&W::unsetEnvVar), slotIndex(&W::killCurrentApp), slotIndex(&W::notifyChannelListChanged),
            slotIndex(&W::selectMMAudioComponent), slotIndex(&W::selectMMSubtitleComponent),
            slotIndex(&W::forceReleaseMMResource), slotIndex(&W::notifySignalLost),
            slotIndex(&W::notifyTunerPlundered) },
        "ZR_HbbtvImplInterface");
}

// The application manager's own table: the host's ten operations, the two destructor entries, the
// register's four, then the browser's reports in the manager's order, which puts
// notifyWindowPainted last where IYXTClient has it before notifyKeyEventConsumed.
TEST(SlotOrder, ApplicationManager)
{
    typedef ZR_HBBTV_Core::ZR_HbbtvImplPrivate M;
    EXPECT_EQ(0, slotIndex(&M::HBBTV_CommandHandler));
    EXPECT_EQ(9, slotIndex(&M::HBBTV_NotifyMultimediaSubtitleComponentDataChanged));
    expectConsecutive(12,
        { slotIndex(&M::registerAITSignallingClient), slotIndex(&M::registerChannelManagerClient),
            slotIndex(&M::registerDSMCCClient), slotIndex(&M::registerTvConfigurationClient),
            slotIndex(&M::notifyNewWindow), slotIndex(&M::notifyWindowClosed), slotIndex(&M::notifyLoadStarted),
            slotIndex(&M::notifyLoadProgress), slotIndex(&M::notifyLoadComplete), slotIndex(&M::notifyLoadFailed),
            slotIndex(&M::notifyKeyEventConsumed), slotIndex(&M::notifyInitialLayoutCompleted),
            slotIndex(&M::notifyWindowPainted) },
        "ZR_HbbtvImplPrivate");
}

TEST(SlotOrder, BrowserServiceAndWindow)
{
    EXPECT_EQ(own(1), slotIndex(&IYXTService::sendKeyEvent));
    EXPECT_EQ(own(2), slotIndex(&IYXTService::registerClient));
    EXPECT_EQ(own(4), slotIndex(&IYXTService::registerMMClient));
    EXPECT_EQ(own(6), slotIndex(&IYXTService::createWindow));
    EXPECT_EQ(own(7), slotIndex(&IYXTService::getAllWindows));
    EXPECT_EQ(own(8), slotIndex(&IYXTService::getWindow));
    EXPECT_EQ(own(11), slotIndex(&IYXTService::setBrowserEnv));
    EXPECT_EQ(own(12), slotIndex(&IYXTService::selectAudioComponent));
    EXPECT_EQ(own(13), slotIndex(&IYXTService::selectSubtitleComponent));
    EXPECT_EQ(own(18), slotIndex(&IYXTService::releaseMMResource));

    EXPECT_EQ(own(6), slotIndex(&IWindow::close));
    EXPECT_EQ(own(7), slotIndex(&IWindow::getId));
}

TEST(SlotOrder, BrowserClients)
{
    expectConsecutive(own(1),
        { slotIndex(&IYXTClient::notifyNewWindow), slotIndex(&IYXTClient::notifyWindowClosed),
            slotIndex(&IYXTClient::notifyLoadStarted), slotIndex(&IYXTClient::notifyLoadProgress),
            slotIndex(&IYXTClient::notifyLoadComplete), slotIndex(&IYXTClient::notifyLoadFailed),
            slotIndex(&IYXTClient::notifyWindowPainted), slotIndex(&IYXTClient::notifyKeyEventConsumed),
            slotIndex(&IYXTClient::notifyInitialLayoutCompleted) },
        "IYXTClient");
    expectConsecutive(own(1),
        { slotIndex(&IYXTMMClient::notifyAudioComponentsChanged),
            slotIndex(&IYXTMMClient::notifySubtitleComponentsChanged) },
        "IYXTMMClient");

    EXPECT_EQ(slotIndex(&IAITSignallingClient::signalNewAIT) + 1, slotIndex(&IAITSignallingClient::signalNoAIT));

    const long channelListChanged = slotIndex(&IChannelManagerClient::channelListChanged);
    EXPECT_EQ(channelListChanged + 1, slotIndex(&IChannelManagerClient::channelChanged));
    EXPECT_EQ(channelListChanged + 2, slotIndex(&IChannelManagerClient::tunerStopped));
    EXPECT_EQ(channelListChanged + 3, slotIndex(&IChannelManagerClient::programmeChanged));
    EXPECT_EQ(slotIndex(&IChannelManagerClient::programmeChanged) + 6,
              slotIndex(&IChannelManagerClient::tunerStateChanged));

    EXPECT_EQ(slotIndex(&IDSMCCClient::streamEvent) + 2, slotIndex(&IDSMCCClient::toggleTeletext));
}
