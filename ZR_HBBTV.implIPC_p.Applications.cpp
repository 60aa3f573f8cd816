// AIT signalling and the applications the host opens in browser windows.
#include <cstdio>
#include <memory>

#include "ZR_HBBTV.implIPC_p.h"
#include "HbbtvBackendTVService.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {
const char kSourceName[] = "ZR_HBBTV.implIPC_p";
const int kMainWindow = 1;
} // namespace

bool ZR_HbbtvImplPrivate::newAITNotification(unsigned int aitVersion, const AITApps& apps)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled || m_aitSignallingClient == nullptr) {
        return false;
    }
    // One description per application and transport; the records pass to the browser.
    std::vector<NCOR::AITApplicationDescriptorData*> descriptions
        = HbbtvBackendTVService::AITApp2AITDescription(0, apps);
    if (trace::on()) trace::Line(trace::kind::event, "signalNewAIT").arg("version", aitVersion).arg("descriptions", descriptions.size()).arg("count", apps.count);
    m_aitSignallingClient->signalNewAIT(aitVersion, descriptions, apps.count);
    return true;
}

void ZR_HbbtvImplPrivate::noAITNotification(unsigned short value)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    if (m_aitSignallingClient != nullptr) {
        if (trace::on()) trace::Line(trace::kind::event, "signalNoAIT").arg("value", value);
        m_aitSignallingClient->signalNoAIT(value);
    } else {
        puts("[ZR_HBBTV]: m_channelManagerClient is null");
    }
}

int ZR_HbbtvImplPrivate::prepareCreateApplication()
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return 0;
    }
    m_userApps.emplace(_AppIDCounter, -1);
    return _AppIDCounter++;
}

int ZR_HbbtvImplPrivate::createApplication(int appId, const std::string& url, const std::string& extra)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return 0;
    }
    if (m_userApps.find(appId) == m_userApps.end() || m_browserService == nullptr) {
        return -1;
    }
    YXTWindowSettings settings;
    settings.flag1 = 1;
    settings.flag2 = 1;
    settings.flag3 = 1;
    settings.flag4 = 0;
    settings.scale = 1.0f;
    settings.flag5 = 1;
    settings.flag6 = 1;
    settings.extra = extra;
    if (trace::on()) trace::Line(trace::kind::event, "createWindow").arg("url", url);
    const android::sp<IWindow> window = m_browserService->createWindow(url, -1, -1, -1, -1, settings);
    if (window == nullptr) {
        HbbtvBackendGlue_AssertFail(
            kSourceName, "int ZR_HBBTV_Core::ZR_HbbtvImplPrivate::createApplication(int, const string&, const string&)",
            241);
    }
    m_userApps[appId] = window->getId();
    return appId;
}

void ZR_HbbtvImplPrivate::closeUserCreatedApps()
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    if (m_browserService != nullptr) {
        for (const std::pair<const int, int>& app : m_userApps) {
            const android::sp<IWindow> window = m_browserService->getWindow(app.second);
            if (window != nullptr) {
                if (trace::on()) trace::Line(trace::kind::event, "closeWindow").arg("windowId", app.second);
                window->close();
            }
        }
    }
    m_userApps.clear();
}

void ZR_HbbtvImplPrivate::killCurrentApp()
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled || m_browserService == nullptr) {
        return;
    }
    // Window 1 is the broadcast application's own and is never closed here.
    const android::KeyedVector<int, android::sp<IWindow>> windows = m_browserService->getAllWindows();
    for (size_t i = 0; i < windows.size(); ++i) {
        const int windowId = windows.keyAt(i);
        if (windowId == kMainWindow) {
            continue;
        }
        const android::sp<IWindow>& window = windows.valueFor(windowId);
        if (window != nullptr) {
            if (trace::on()) trace::Line(trace::kind::event, "closeWindow").arg("windowId", windowId);
            window->close();
        }
    }
}

bool ZR_HbbtvImplPrivate::isAppAlive(int)
{
    return !m_tornDown;
}

} // namespace ZR_HBBTV_Core
