// The simulated host and browser themselves, as far as tests of the library build on them: the
// host's answer decisions on a thread of its own, key answers after their delay on the browser's
// own thread, and death delivery.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include "SimulatedBrowser.h"
#include "SimulatedHost.h"

using hbbtv_sim::HostDecision;
using hbbtv_sim::SimulatedBrowser;
using hbbtv_sim::SimulatedHost;
using std::chrono::milliseconds;

namespace {

using Clock = std::chrono::steady_clock;

struct AnswerBuffer {
    alignas(8) unsigned char bytes[sizeof(HbbtvServiceRequestAnswer)] = {};
    HbbtvServiceRequestAnswer* answer() { return reinterpret_cast<HbbtvServiceRequestAnswer*>(bytes); }
    bool untouched() const
    {
        return std::all_of(bytes, bytes + sizeof(bytes), [](unsigned char b) { return b == 0; });
    }
};

// What the host reported, as the wrapper would see it.
struct Completion {
    HbbtvCommandPayload* payload;
    std::thread::id thread;
    Clock::duration after; // the hand-over
};

} // namespace

TEST(SimulatedHost, AnswersOnItsOwnThreadAsDecided)
{
    SimulatedHost host;
    const HostDecision decisions[] = { { HostDecision::Answer, 80 }, { HostDecision::AnswerTwice, 0 },
        { HostDecision::Answer, 60 }, { HostDecision::UnknownTicket, 0 }, { HostDecision::Never, 0 } };
    HbbtvCommandPayload requests[] = { HbbtvCommandPayload(DVBMediaPlayer_OpenVideo),
        HbbtvCommandPayload(DVBMediaPlayer_CloseVideo), HbbtvCommandPayload(DVBMediaPlayer_SetDisplayWindow),
        HbbtvCommandPayload(TunerCommand_ExitLiveIn), HbbtvCommandPayload(TunerCommand_ReturnLiveIn) };
    AnswerBuffer answers[5];
    requests[2].timeoutMs = 20; // answered after its budget
    answers[0].answer()->intValue1 = 99;

    std::mutex mutex;
    std::map<unsigned int, std::vector<Completion>> byTicket;
    const Clock::time_point handedOver = Clock::now();
    host.setCompletionSink([&](HbbtvCommandPayload* payload) {
        std::lock_guard<std::mutex> lock(mutex);
        byTicket[payload->ticket].push_back({ payload, std::this_thread::get_id(), Clock::now() - handedOver });
    });
    for (unsigned int i = 0; i < 5; ++i) {
        host.setDecisionFor(requests[i].command, decisions[i]);
        requests[i].ticket = i + 1;
        host.HBBTV_ServiceRequestHandler(&requests[i], answers[i].answer());
    }
    ASSERT_TRUE(host.waitForCompletions(5, milliseconds(2000)));
    EXPECT_FALSE(host.waitForCompletions(6, milliseconds(100)));
    EXPECT_EQ(5u, host.record().requests.size());
    std::lock_guard<std::mutex> lock(mutex);
    std::map<unsigned int, std::vector<Completion>>& got = byTicket;

    // Late: once, on the host's thread, with the payload handed over, and the answer written.
    ASSERT_EQ(1u, got[1].size());
    EXPECT_NE(std::this_thread::get_id(), got[1][0].thread);
    EXPECT_EQ(&requests[0], got[1][0].payload);
    EXPECT_GE(got[1][0].after, milliseconds(80));
    EXPECT_EQ(1, answers[0].answer()->valid);
    EXPECT_EQ(0, answers[0].answer()->intValue1);
    // Twice: the first completion with the payload handed over, the second from the host's copy,
    // since the requester may be gone by then.
    ASSERT_EQ(2u, got[2].size());
    EXPECT_EQ(&requests[1], got[2][0].payload);
    EXPECT_NE(&requests[1], got[2][1].payload);
    EXPECT_EQ(1, answers[1].answer()->valid);
    // After the budget: a slow host still answers into the records it was handed.
    ASSERT_EQ(1u, got[3].size());
    EXPECT_EQ(&requests[2], got[3][0].payload);
    EXPECT_EQ(1, answers[2].answer()->valid);
    // An unknown ticket, from a copy: the requester's record is left alone.
    ASSERT_EQ(1u, got[4 + hbbtv_sim::HostAnswerThread::kUnknownTicketOffset].size());
    EXPECT_NE(&requests[3], got[4 + hbbtv_sim::HostAnswerThread::kUnknownTicketOffset][0].payload);
    EXPECT_EQ(4u, requests[3].ticket);
    EXPECT_TRUE(answers[3].untouched());
    // Never.
    EXPECT_EQ(0u, got.count(4) + got.count(5));
    EXPECT_TRUE(answers[4].untouched());
}

namespace {

// The glue's side of the browser connection, as far as key answers go. Written on the browser's
// key thread before it records the answer, read after a wait for the record.
class KeyClient : public BnYXTClient {
public:
    void notifyNewWindow(int) override { }
    void notifyWindowClosed(int) override { }
    void notifyLoadStarted(int, const std::string&) override { }
    void notifyLoadProgress(int, int) override { }
    void notifyLoadComplete(int) override { }
    void notifyLoadFailed(int, const std::string&, int) override { }
    void notifyWindowPainted(int, int, int, int, int) override { }
    void notifyKeyEventConsumed(int eventId, bool consumed) override { heard.push_back({ eventId, consumed }); }
    void notifyInitialLayoutCompleted(int) override { }
    std::vector<std::pair<int, bool>> heard;
};

class DeathLog : public android::IBinder::DeathRecipient {
public:
    void binderDied(const android::wp<android::IBinder>&) override
    {
        ++deaths;
        thread = std::this_thread::get_id();
    }
    std::atomic<int> deaths { 0 };
    std::thread::id thread;
};

android::sp<android::IBinder> browserBinder()
{
    return android::defaultServiceManager()->checkService(android::String16(SimulatedBrowser::kServiceName));
}

} // namespace

TEST(SimulatedBrowser, AnswersKeysOnItsOwnThreadAfterTheConfiguredDelay)
{
    SimulatedBrowser browser;
    const android::sp<KeyClient> client = new KeyClient;
    browser.service()->registerClient(client);
    browser.service()->setKeyReplyFor(10, hbbtv_sim::KeyReply { true, false, 80 });
    browser.service()->setKeyReplyFor(11, hbbtv_sim::KeyReply { false, true, 0 });

    const Clock::time_point sent = Clock::now();
    browser.service()->sendKeyEvent(0, 10, 1, 0, 0);
    browser.service()->sendKeyEvent(1, 11, 1, 0, 0);
    browser.service()->sendKeyEvent(2, 12, 1, 0, 0);
    EXPECT_LT(Clock::now() - sent, milliseconds(80)); // the delay is not spent inside the call

    ASSERT_TRUE(browser.service()->waitForKeyAnswers(2, milliseconds(2000)));
    EXPECT_FALSE(browser.service()->waitForKeyAnswers(3, milliseconds(100)));
    // The default answer goes out at once, the delayed one after it.
    EXPECT_EQ((std::vector<std::pair<int, bool>> { { 2, true }, { 0, false } }), client->heard);
    const hbbtv_sim::BrowserServiceRecord record = browser.service()->record();
    ASSERT_EQ(2u, record.keyAnswers.size());
    EXPECT_GE(record.keyAnswers[1].sentAt - sent, milliseconds(80));
    EXPECT_NE(std::this_thread::get_id(), record.keyAnswers[0].thread);
    EXPECT_NE(std::this_thread::get_id(), record.keyAnswers[1].thread);
    EXPECT_EQ(3u, record.keyEvents.size());
}

TEST(SimulatedBrowser, DiesAsAProcessDoesAndCanBePublishedAgain)
{
    SimulatedBrowser browser;
    EXPECT_FALSE(browser.die()); // not published yet
    ASSERT_TRUE(browser.publish());
    const android::sp<android::IBinder> binder = browserBinder();
    ASSERT_NE(nullptr, binder);
    const android::sp<DeathLog> recipient = new DeathLog;
    ASSERT_EQ(android::NO_ERROR, binder->linkToDeath(recipient, nullptr, 0));

    EXPECT_TRUE(browser.die());
    EXPECT_EQ(1, recipient->deaths.load());
    EXPECT_EQ(std::this_thread::get_id(), recipient->thread);
    EXPECT_EQ(nullptr, browserBinder());

    ASSERT_TRUE(browser.publish());
    EXPECT_EQ(browser.service(), IYXTService::asInterface(browserBinder()));
    EXPECT_EQ(1, recipient->deaths.load());
}
