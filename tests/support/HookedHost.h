// The simulated host with a hook before and after each of its callbacks, for a test's host that
// does more than record: one that holds a callback, calls into the library from inside one, or
// counts the calls that come after it went.
#ifndef HBBTV_TESTS_HOOKED_HOST_H
#define HBBTV_TESTS_HOOKED_HOST_H

#include <functional>
#include <vector>

#include "SimulatedHost.h"

namespace hbbtv_test {

class HookedHost : public hbbtv_sim::SimulatedHost {
public:
    enum Callback { Command, Request, HeartBeat, Loading, Died, AnyAppRunning, Audio, Subtitles, kCallbacks };

    void HBBTV_CommandHandler(void* command) override
    {
        around(Command, [&] { SimulatedHost::HBBTV_CommandHandler(command); });
    }
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override
    {
        around(Request, [&] { SimulatedHost::HBBTV_ServiceRequestHandler(payload, answer); });
    }
    void HBBTV_HeartBeatNotification() override
    {
        around(HeartBeat, [&] { SimulatedHost::HBBTV_HeartBeatNotification(); });
    }
    void HBBTV_LoadingNotification(int progress, const char* url) override
    {
        around(Loading, [&] { SimulatedHost::HBBTV_LoadingNotification(progress, url); });
    }
    void HBBTV_BrowserDiedNotification() override
    {
        around(Died, [&] { SimulatedHost::HBBTV_BrowserDiedNotification(); });
    }
    void HBBTV_ReportIsAnyAppRunning(bool running) override
    {
        around(AnyAppRunning, [&] { SimulatedHost::HBBTV_ReportIsAnyAppRunning(running); });
    }
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>& components,
                                                         int value) override
    {
        around(Audio, [&] { SimulatedHost::HBBTV_NotifyMultimediaAudioComponentDataChanged(components, value); });
    }
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) override
    {
        around(Subtitles, [&] { SimulatedHost::HBBTV_NotifyMultimediaSubtitleComponentDataChanged(components, value); });
    }

protected:
    // On the callback's thread, before and after the simulated host handles it.
    virtual void before(Callback) {}
    virtual void after(Callback) {}

private:
    void around(Callback callback, const std::function<void()>& handle)
    {
        before(callback);
        handle();
        after(callback);
    }
};

} // namespace hbbtv_test

#endif
