#include "support/TVServiceHarness.h"

#include <cstdio>

namespace hbbtv_test {

namespace {

// Stands between the library and the simulated host: a request of a command that the host is not
// to answer has its budget cut on hand-over (on the agent's thread, before the agent counts it).
class BudgetingServer : public Hbbtv_TVServer {
public:
    hbbtv_sim::SimulatedHost sim;

    bool isUnanswered(int command)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_unanswered.count(command) != 0;
    }
    void setUnanswered(int command)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_unanswered.insert(command);
    }
    void clearUnanswered()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_unanswered.clear();
    }

    void HBBTV_CommandHandler(void* command) override { sim.HBBTV_CommandHandler(command); }
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override
    {
        HbbtvCommandPayload* const request = static_cast<HbbtvCommandPayload*>(payload);
        if (isUnanswered(request->command)) {
            request->timeoutMs = 1;
        }
        sim.HBBTV_ServiceRequestHandler(payload, answer);
    }
    void HBBTV_HeartBeatNotification() override { sim.HBBTV_HeartBeatNotification(); }
    void HBBTV_LoadingNotification(int progress, const char* url) override
    {
        sim.HBBTV_LoadingNotification(progress, url);
    }
    void HBBTV_BrowserDiedNotification() override { sim.HBBTV_BrowserDiedNotification(); }
    void HBBTV_NotifyUserAppCreated(int windowId, int appId) override
    {
        sim.HBBTV_NotifyUserAppCreated(windowId, appId);
    }
    void HBBTV_DelegateAction(void (*action)(void*), void* argument) override
    {
        sim.HBBTV_DelegateAction(action, argument);
    }
    void HBBTV_ReportIsAnyAppRunning(bool running) override { sim.HBBTV_ReportIsAnyAppRunning(running); }
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) override
    {
        sim.HBBTV_NotifyMultimediaAudioComponentDataChanged(components, value);
    }
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) override
    {
        sim.HBBTV_NotifyMultimediaSubtitleComponentDataChanged(components, value);
    }

private:
    std::mutex m_mutex;
    std::set<int> m_unanswered;
};

class NullClientRegister : public HbbtvBackendClientRegister {
public:
    void registerAITSignallingClient(const android::sp<IAITSignallingClient>&) override { }
    void registerChannelManagerClient(const android::sp<IChannelManagerClient>&) override { }
    void registerDSMCCClient(const android::sp<IDSMCCClient>&) override { }
    void registerTvConfigurationClient(const android::sp<ITvConfigurationClient>&) override { }
};

// Both live as long as the process: the service and the agent's issuer keep pointing at them.
BudgetingServer& server()
{
    static BudgetingServer* const instance = new BudgetingServer;
    return *instance;
}

NullClientRegister& clientRegister()
{
    static NullClientRegister* const instance = new NullClientRegister;
    return *instance;
}

} // namespace

void TVServiceTest::SetUp()
{
    server().clearUnanswered();
    server().sim.clearRecord();
    server().sim.setDecider([](const HbbtvCommandPayload& request) {
        hbbtv_sim::HostDecision decision;
        if (server().isUnanswered(request.command)) {
            decision.kind = hbbtv_sim::HostDecision::Never;
        }
        return decision;
    });
    m_service = ZR_HBBTV_Core::HbbtvBackendTVService::instantiate(&server(), &clientRegister());
    ZR_HBBTV_Core::HbbtvBackendTVService* const service = m_service;
    server().sim.setCompletionSink(
        [service](HbbtvCommandPayload* payload) { service->serviceRequestFinished(payload->ticket); });
    m_service->SetHbbTVRunningStatus(true);
    // One round trip: the agent thread has started (and printed its start line) before the test
    // captures any output.
    m_service->openVideo();
    fflush(stdout);
    server().sim.clearRecord();
}

void TVServiceTest::TearDown()
{
    for (int command : m_writersSet) {
        server().sim.setAnswerWriterFor(command, nullptr);
    }
    m_writersSet.clear();
    server().clearUnanswered();
    m_service->SetHbbTVRunningStatus(false);
}

hbbtv_sim::SimulatedHost& TVServiceTest::host()
{
    return server().sim;
}

void TVServiceTest::answer(int command, hbbtv_sim::SimulatedHost::AnswerWriter writer)
{
    m_writersSet.push_back(command);
    server().sim.setAnswerWriterFor(command, std::move(writer));
}

void TVServiceTest::neverAnswer(int command)
{
    server().setUnanswered(command);
}

std::vector<hbbtv_sim::ReceivedRequest> TVServiceTest::requests()
{
    return server().sim.record().requests;
}

std::vector<int> TVServiceTest::commands()
{
    std::vector<int> result;
    for (const hbbtv_sim::ReceivedRequest& request : requests()) {
        result.push_back(request.command);
    }
    return result;
}

std::string TVServiceTest::stdoutOf(const std::function<void()>& call)
{
    fflush(stdout);
    testing::internal::CaptureStdout();
    call();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

size_t countOf(const std::string& output, const std::string& text)
{
    size_t count = 0;
    for (size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + text.size())) {
        ++count;
    }
    return count;
}

} // namespace hbbtv_test
