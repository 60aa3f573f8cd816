// Browser windows and page loading: the list of open windows, and each load's progress reported
// to the host, 100 at most once per load.
#include <android/log.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <string>

#include "HbbtvBackendTVService.h"
#include "ZR_HBBTV.implIPC_p.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

// Load ids 0 and 1 belong to the browser's own pages and are never tracked.
const int kFirstTrackedLoad = 2;
const int kLoadsKept = 10;

struct LoadEntry {
    uint8_t done;
    std::string url;
};

struct LoadTracker {
    // The browser reports loads one at a time; the lock only guards against one that does not.
    std::mutex mutex;
    std::map<int, LoadEntry> loads;
    int lowestLoadId = 0;
    int lastCompletedLoadId = 0;
};

LoadTracker& loadTracker()
{
    static LoadTracker* tracker = new LoadTracker(); // outlives binder threads at exit
    return *tracker;
}

} // namespace

void ZR_HbbtvImplPrivate::notifyNewWindow(int windowId)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyNewWindow").arg(trace::argument::windowId, windowId);
    printf("[YXTClient]: %s,%d\n", "virtual void ZR_HBBTV_Core::ZR_HbbtvImplPrivate::notifyNewWindow(int)", 322);
    {
        Locker<Mutex> lock(m_mutex);
        if (_gotKilled) {
            return;
        }
        m_windows.push_back(windowId);
    }
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_ReportIsAnyAppRunning").arg("running", true);
        m_server->HBBTV_ReportIsAnyAppRunning(true);
    }
}

void ZR_HbbtvImplPrivate::notifyWindowClosed(int windowId)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyWindowClosed").arg(trace::argument::windowId, windowId);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "[YXTClient]: %s,%d\n",
                        "virtual void ZR_HBBTV_Core::ZR_HbbtvImplPrivate::notifyWindowClosed(int)", 335);
    bool anyLeft;
    {
        Locker<Mutex> lock(m_mutex);
        if (_gotKilled) {
            return;
        }
        m_windows.remove(windowId);
        anyLeft = !m_windows.empty();
    }
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_ReportIsAnyAppRunning").arg("running", anyLeft);
        m_server->HBBTV_ReportIsAnyAppRunning(anyLeft);
    }
}

void ZR_HbbtvImplPrivate::notifyLoadStarted(int loadId, const std::string& url)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyLoadStarted").arg(trace::argument::loadId, loadId).arg(trace::argument::url, url);
    if (loadId < kFirstTrackedLoad || _gotKilled) {
        return;
    }
    {
        LoadTracker& tracker = loadTracker();
        std::lock_guard<std::mutex> lock(tracker.mutex);
        tracker.loads.erase(loadId);
        tracker.loads.emplace(loadId, LoadEntry{0, url});
    }
    HBBTV_LoadingNotification(0, url.c_str());
    HbbtvBackendTVService* const service = m_tvServiceUnlocked;
    if (service != nullptr) {
        service->notifyStartNewApp(url.c_str());
    }
}

void ZR_HbbtvImplPrivate::notifyLoadProgress(int loadId, int percent)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyLoadProgress").arg(trace::argument::loadId, loadId).arg(trace::argument::percent, percent);
    if (loadId < kFirstTrackedLoad || _gotKilled) {
        return;
    }
    std::string url;
    {
        LoadTracker& tracker = loadTracker();
        std::lock_guard<std::mutex> lock(tracker.mutex);
        const std::map<int, LoadEntry>::iterator entry = tracker.loads.find(loadId);
        if (entry == tracker.loads.end() || entry->second.done) {
            return;
        }
        if (percent > 99) {
            percent = 100;
            entry->second.done = 1;
        }
        url = entry->second.url;
    }
    HBBTV_LoadingNotification(percent, url.c_str());
}

void ZR_HbbtvImplPrivate::notifyInitialLayoutCompleted(int loadId)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyInitialLayoutCompleted").arg(trace::argument::loadId, loadId);
    if (loadId < kFirstTrackedLoad || _gotKilled) {
        return;
    }
    bool known = false;
    std::string url;
    {
        LoadTracker& tracker = loadTracker();
        std::lock_guard<std::mutex> lock(tracker.mutex);
        const std::map<int, LoadEntry>::iterator entry = tracker.loads.find(loadId);
        if (entry != tracker.loads.end()) {
            entry->second.done = 1;
            known = true;
            url = entry->second.url;
        }
    }
    // Reported even when the load already reached 100.
    HBBTV_LoadingNotification(100, known ? url.c_str() : nullptr);
}

void ZR_HbbtvImplPrivate::notifyLoadComplete(int loadId)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyLoadComplete").arg(trace::argument::loadId, loadId);
    if (loadId < kFirstTrackedLoad || _gotKilled) {
        return;
    }
    bool report = false;
    std::string url;
    {
        LoadTracker& tracker = loadTracker();
        std::lock_guard<std::mutex> lock(tracker.mutex);
        const std::map<int, LoadEntry>::iterator entry = tracker.loads.find(loadId);
        if (entry != tracker.loads.end() && !entry->second.done) {
            entry->second.done = 1;
            report = true;
            url = entry->second.url;
        }
        tracker.lastCompletedLoadId = loadId;
        if (loadId < tracker.lowestLoadId) {
            tracker.lowestLoadId = loadId;
            tracker.loads.clear();
        } else if (loadId - kLoadsKept >= 0) {
            // Keep the ten most recent ids below the completed one, and all above it.
            for (int id = tracker.lowestLoadId; id < loadId - kLoadsKept; ++id) {
                tracker.loads.erase(id);
            }
            tracker.lowestLoadId = loadId - kLoadsKept;
        }
    }
    if (report) {
        HBBTV_LoadingNotification(100, url.c_str());
    }
}

void ZR_HbbtvImplPrivate::notifyLoadFailed(int loadId, const std::string& url, int error)
{
    if (trace::on()) trace::Line(trace::kind::browser, "notifyLoadFailed").arg(trace::argument::loadId, loadId).arg(trace::argument::url, url).arg(trace::argument::error, error);
}

void ZR_HbbtvImplPrivate::notifyWindowPainted(int, int, int, int, int)
{
}

} // namespace ZR_HBBTV_Core
