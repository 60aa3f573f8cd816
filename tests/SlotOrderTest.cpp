// Interfaces shared with other binaries (the host, the browser, the platform) are bound by the
// position of each operation in the virtual table, not by name: check every position in use.
#include <gtest/gtest.h>

#include "IAITSignallingClient.h"
#include "IChannelManagerClient.h"
#include "IDSMCCClient.h"
#include "IWindow.h"
#include "IYXTClient.h"
#include "IYXTService.h"
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
} // namespace

TEST(SlotOrder, HostBoundary)
{
    EXPECT_EQ(0, slotIndex(&Hbbtv_TVServer::HBBTV_CommandHandler));
    EXPECT_EQ(1, slotIndex(&Hbbtv_TVServer::HBBTV_ServiceRequestHandler));
    EXPECT_EQ(4, slotIndex(&Hbbtv_TVServer::HBBTV_BrowserDiedNotification));
    EXPECT_EQ(5, slotIndex(&Hbbtv_TVServer::HBBTV_NotifyUserAppCreated));
    EXPECT_EQ(9, slotIndex(&Hbbtv_TVServer::HBBTV_NotifyMultimediaSubtitleComponentDataChanged));

    EXPECT_EQ(0, slotIndex(&HbbtvBackendClientRegister::registerAITSignallingClient));
    EXPECT_EQ(3, slotIndex(&HbbtvBackendClientRegister::registerTvConfigurationClient));

    // After the two destructor entries, operations 1 to 33.
    EXPECT_EQ(2 + 0, slotIndex(&ZR_HbbtvImplInterface::init));
    EXPECT_EQ(2 + 2, slotIndex(&ZR_HbbtvImplInterface::toggleDigitalTeletext));
    EXPECT_EQ(2 + 8, slotIndex(&ZR_HbbtvImplInterface::keyClick));
    EXPECT_EQ(2 + 13, slotIndex(&ZR_HbbtvImplInterface::notifyHbbtvServiceRequestFinished));
    EXPECT_EQ(2 + 17, slotIndex(&ZR_HbbtvImplInterface::isBrowserReady));
    EXPECT_EQ(2 + 24, slotIndex(&ZR_HbbtvImplInterface::setupEnvVar));
    EXPECT_EQ(2 + 28, slotIndex(&ZR_HbbtvImplInterface::selectMMAudioComponent));
    EXPECT_EQ(2 + 32, slotIndex(&ZR_HbbtvImplInterface::notifyTunerPlundered));
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
    EXPECT_EQ(own(1), slotIndex(&IYXTClient::notifyNewWindow));
    EXPECT_EQ(own(6), slotIndex(&IYXTClient::notifyLoadFailed));
    EXPECT_EQ(own(7), slotIndex(&IYXTClient::notifyWindowPainted));
    EXPECT_EQ(own(8), slotIndex(&IYXTClient::notifyKeyEventConsumed));
    EXPECT_EQ(own(9), slotIndex(&IYXTClient::notifyInitialLayoutCompleted));

    EXPECT_EQ(slotIndex(&IAITSignallingClient::signalNewAIT) + 1, slotIndex(&IAITSignallingClient::signalNoAIT));

    const long channelListChanged = slotIndex(&IChannelManagerClient::channelListChanged);
    EXPECT_EQ(channelListChanged + 1, slotIndex(&IChannelManagerClient::channelChanged));
    EXPECT_EQ(channelListChanged + 2, slotIndex(&IChannelManagerClient::tunerStopped));
    EXPECT_EQ(channelListChanged + 3, slotIndex(&IChannelManagerClient::programmeChanged));
    EXPECT_EQ(slotIndex(&IChannelManagerClient::programmeChanged) + 6,
              slotIndex(&IChannelManagerClient::tunerStateChanged));

    EXPECT_EQ(slotIndex(&IDSMCCClient::streamEvent) + 2, slotIndex(&IDSMCCClient::toggleTeletext));
}
