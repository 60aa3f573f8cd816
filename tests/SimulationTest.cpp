// The simulated host and browser themselves: the behaviour that tests of the library and the
// simulator build on (answers on threads of their own, completion with the right payload, garbage
// confined to the answer record, key answers never inside the call, death delivery).
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include "SimulatedBrowser.h"
#include "SimulatedHost.h"

using hbbtv_sim::HostAnswerThread;
using hbbtv_sim::HostDecision;
using hbbtv_sim::SimulatedBrowser;
using hbbtv_sim::SimulatedHost;
using std::chrono::milliseconds;

namespace {

using Clock = std::chrono::steady_clock;

// What the host reported, as the wrapper would see it.
struct Completion {
    HbbtvCommandPayload* payload;
    unsigned int ticket;
    std::thread::id thread;
    Clock::time_point at;
};

class CompletionLog {
public:
    explicit CompletionLog(SimulatedHost& host)
    {
        host.setCompletionSink([this](HbbtvCommandPayload* payload) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_completions.push_back(Completion{payload, payload->ticket, std::this_thread::get_id(), Clock::now()});
        });
    }
    std::vector<Completion> completions() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_completions;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Completion> m_completions;
};

// An answer record of any size with guard bytes after it.
struct AnswerBuffer {
    static const size_t kGuard = 64;
    alignas(8) unsigned char bytes[sizeof(HbbtvServiceRequestAVInfoAnswer) + kGuard];
    AnswerBuffer() { memset(bytes, 0, sizeof(bytes)); }
    HbbtvServiceRequestAnswer* answer() { return reinterpret_cast<HbbtvServiceRequestAnswer*>(bytes); }
    bool untouchedFrom(size_t offset) const
    {
        for (size_t i = offset; i < sizeof(bytes); ++i) {
            if (bytes[i] != 0) {
                return false;
            }
        }
        return true;
    }
};

HostDecision decision(HostDecision::Kind kind, unsigned int delayMs = 0)
{
    HostDecision d;
    d.kind = kind;
    d.delayMs = delayMs;
    return d;
}

} // namespace

TEST(SimulatedHost, AnswersOnItsOwnThreadAndCompletesWithThePayloadItWasGiven)
{
    SimulatedHost host;
    CompletionLog log(host);

    HbbtvCommandPayloadWithStrParams mount(DSMCC_DVBURL_GetFile, "dvb://1.2.3/app/index.html", "", 4, 5);
    mount.ticket = 17;
    AnswerBuffer buffer;
    buffer.answer()->intValue1 = 99;
    host.HBBTV_ServiceRequestHandler(&mount, buffer.answer());

    ASSERT_TRUE(host.waitForCompletions(1, milliseconds(2000)));
    const std::vector<Completion> completions = log.completions();
    ASSERT_EQ(1u, completions.size());
    EXPECT_EQ(&mount, completions[0].payload);
    EXPECT_EQ(17u, completions[0].ticket);
    EXPECT_NE(std::this_thread::get_id(), completions[0].thread);
    EXPECT_EQ(1, buffer.answer()->valid);
    EXPECT_EQ(0, buffer.answer()->intValue1);

    // The request is read by its command's record: the string payload's texts come along.
    const hbbtv_sim::HostRecord record = host.record();
    ASSERT_EQ(1u, record.requests.size());
    EXPECT_EQ(hbbtv_sim::PayloadRecord::WithStrParams, record.requests[0].record);
    EXPECT_EQ(DSMCC_DVBURL_GetFile, record.requests[0].command);
    EXPECT_EQ("dvb://1.2.3/app/index.html", record.requests[0].strParam1);
    EXPECT_EQ(4, record.requests[0].param1);
    EXPECT_EQ(5, record.requests[0].param2);

    // A writer sees the whole record of the command, strings included.
    std::string seen;
    host.setAnswerWriterFor(DSMCC_DVBURL_GetFile, [&seen](const HbbtvCommandPayload& request,
                                                          HbbtvServiceRequestAnswer& answer) {
        seen = static_cast<const HbbtvCommandPayloadWithStrParams&>(request).strParam1.c_str();
        answer.valid = 1;
        answer.strValue1 = "/mnt/oc/1";
    });
    AnswerBuffer second;
    host.HBBTV_ServiceRequestHandler(&mount, second.answer());
    ASSERT_TRUE(host.waitForCompletions(2, milliseconds(2000)));
    EXPECT_EQ("dvb://1.2.3/app/index.html", seen);
    EXPECT_STREQ("/mnt/oc/1", second.answer()->strValue1.c_str());
}

TEST(SimulatedHost, AnswersLateTwiceNeverOrForAnUnknownTicketAsDecided)
{
    SimulatedHost host;
    CompletionLog log(host);
    host.setDecisionFor(DVBMediaPlayer_OpenVideo, decision(HostDecision::Answer, 80));
    host.setDecisionFor(DVBMediaPlayer_CloseVideo, decision(HostDecision::AnswerTwice));
    host.setDecisionFor(TunerCommand_ExitLiveIn, decision(HostDecision::UnknownTicket));
    host.setDecisionFor(TunerCommand_ReturnLiveIn, decision(HostDecision::Never));

    HbbtvCommandPayload late(DVBMediaPlayer_OpenVideo);
    late.ticket = 1;
    AnswerBuffer lateAnswer;
    const Clock::time_point handedOver = Clock::now();
    host.HBBTV_ServiceRequestHandler(&late, lateAnswer.answer());
    ASSERT_TRUE(host.waitForCompletions(1, milliseconds(2000)));
    EXPECT_GE(log.completions()[0].at - handedOver, milliseconds(80));
    EXPECT_EQ(&late, log.completions()[0].payload);

    // Twice: the first completion with the payload handed over, the second from the host's copy,
    // since the requester may be gone by then.
    HbbtvCommandPayload twice(DVBMediaPlayer_CloseVideo);
    twice.ticket = 2;
    AnswerBuffer twiceAnswer;
    host.HBBTV_ServiceRequestHandler(&twice, twiceAnswer.answer());
    ASSERT_TRUE(host.waitForCompletions(3, milliseconds(2000)));
    EXPECT_EQ(&twice, log.completions()[1].payload);
    EXPECT_NE(&twice, log.completions()[2].payload);
    EXPECT_EQ(2u, log.completions()[2].ticket);
    EXPECT_EQ(1, twiceAnswer.answer()->valid);

    HbbtvCommandPayload unknown(TunerCommand_ExitLiveIn);
    unknown.ticket = 3;
    AnswerBuffer unknownAnswer;
    host.HBBTV_ServiceRequestHandler(&unknown, unknownAnswer.answer());
    HbbtvCommandPayload never(TunerCommand_ReturnLiveIn);
    never.ticket = 4;
    AnswerBuffer neverAnswer;
    host.HBBTV_ServiceRequestHandler(&never, neverAnswer.answer());
    ASSERT_TRUE(host.waitForCompletions(4, milliseconds(2000)));
    EXPECT_FALSE(host.waitForCompletions(5, milliseconds(100)));
    EXPECT_EQ(3u + HostAnswerThread::kUnknownTicketOffset, log.completions()[3].ticket);
    EXPECT_NE(&unknown, log.completions()[3].payload);
    EXPECT_EQ(3u, unknown.ticket); // the requester's record is left alone
    EXPECT_TRUE(unknownAnswer.untouchedFrom(0));
    EXPECT_TRUE(neverAnswer.untouchedFrom(0));
    EXPECT_EQ(4u, host.record().requests.size());
}

TEST(SimulatedHost, AnAnswerAfterTheBudgetTouchesNeitherRecord)
{
    SimulatedHost host;
    CompletionLog log(host);
    host.setDecision(decision(HostDecision::Answer, 60));

    HbbtvCommandPayload request(DVBMediaPlayer_OpenVideo);
    request.ticket = 5;
    request.timeoutMs = 20;
    AnswerBuffer buffer;
    host.HBBTV_ServiceRequestHandler(&request, buffer.answer());
    ASSERT_TRUE(host.waitForCompletions(1, milliseconds(2000)));
    EXPECT_NE(&request, log.completions()[0].payload);
    EXPECT_EQ(5u, log.completions()[0].ticket);
    EXPECT_TRUE(buffer.untouchedFrom(0));
}

TEST(SimulatedHost, GarbageFillsTheWholeAnswerRecordOfTheCommandAndNothingBeyond)
{
    SimulatedHost host;
    host.setCompletionSink([](HbbtvCommandPayload*) {});
    host.setGarbageAnswers(true, 7);

    auto garbageFor = [&host](HbbtvBackendCommand command, AnswerBuffer& buffer, unsigned int count) {
        HbbtvCommandPayload request(command);
        request.ticket = count;
        host.HBBTV_ServiceRequestHandler(&request, buffer.answer());
        EXPECT_TRUE(host.waitForCompletions(count, milliseconds(2000)));
    };
    auto tailIsNoise = [](const AnswerBuffer& buffer, size_t size) {
        int nonZero = 0;
        for (size_t i = size - 32; i < size; ++i) {
            nonZero += buffer.bytes[i] != 0;
        }
        return nonZero > 8;
    };

    AnswerBuffer components;
    garbageFor(TunerCommand_GetAVInfo, components, 1);
    EXPECT_EQ(1, components.answer()->valid);
    EXPECT_TRUE(tailIsNoise(components, sizeof(HbbtvServiceRequestAVInfoAnswer)));
    EXPECT_TRUE(components.untouchedFrom(sizeof(HbbtvServiceRequestAVInfoAnswer)));

    AnswerBuffer plain;
    garbageFor(DVBMediaPlayer_CloseVideo, plain, 2);
    EXPECT_EQ(1, plain.answer()->valid);
    EXPECT_TRUE(tailIsNoise(plain, sizeof(HbbtvServiceRequestAnswer)));
    EXPECT_TRUE(plain.untouchedFrom(sizeof(HbbtvServiceRequestAnswer)));

    // The same seed gives the same bytes, so that a failing run can be repeated.
    host.setGarbageAnswers(true, 7);
    AnswerBuffer again;
    garbageFor(TunerCommand_GetAVInfo, again, 3);
    EXPECT_EQ(0, memcmp(components.bytes, again.bytes, sizeof(components.bytes)));
}

namespace {

// The glue's side of the browser connection, as far as key answers go.
class KeyClient : public BnYXTClient {
public:
    struct Answer {
        int eventId;
        bool consumed;
        std::thread::id thread;
        Clock::time_point at;
    };

    void notifyNewWindow(int) override {}
    void notifyWindowClosed(int) override {}
    void notifyLoadStarted(int, const std::string&) override {}
    void notifyLoadProgress(int, int) override {}
    void notifyLoadComplete(int) override {}
    void notifyLoadFailed(int, const std::string&, int) override {}
    void notifyWindowPainted(int, int, int, int, int) override {}
    void notifyKeyEventConsumed(int eventId, bool consumed) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_answers.push_back(Answer{eventId, consumed, std::this_thread::get_id(), Clock::now()});
    }
    void notifyInitialLayoutCompleted(int) override {}

    std::vector<Answer> answers() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_answers;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Answer> m_answers;
};

} // namespace

TEST(SimulatedBrowser, AnswersKeysOnItsOwnThreadAfterTheConfiguredDelay)
{
    SimulatedBrowser browser;
    const android::sp<KeyClient> client = new KeyClient;
    browser.service()->registerClient(client);

    hbbtv_sim::KeyReply slowNo;
    slowNo.consumed = false;
    slowNo.delayMs = 80;
    browser.service()->setKeyReplyFor(10, slowNo);
    hbbtv_sim::KeyReply silent;
    silent.answer = false;
    browser.service()->setKeyReplyFor(11, silent);

    const Clock::time_point sent = Clock::now();
    browser.service()->sendKeyEvent(0, 10, 1, 0, 0);
    browser.service()->sendKeyEvent(1, 11, 1, 0, 0);
    browser.service()->sendKeyEvent(2, 12, 1, 0, 0);
    EXPECT_LT(Clock::now() - sent, milliseconds(80)); // the delay is not spent inside the call

    ASSERT_TRUE(browser.service()->waitForKeyAnswers(2, milliseconds(2000)));
    EXPECT_FALSE(browser.service()->waitForKeyAnswers(3, milliseconds(100)));
    const std::vector<KeyClient::Answer> answers = client->answers();
    ASSERT_EQ(2u, answers.size());
    // The default answer goes out at once, the delayed one after it.
    EXPECT_EQ(2, answers[0].eventId);
    EXPECT_TRUE(answers[0].consumed);
    EXPECT_EQ(0, answers[1].eventId);
    EXPECT_FALSE(answers[1].consumed);
    EXPECT_GE(answers[1].at - sent, milliseconds(80));
    for (const KeyClient::Answer& answer : answers) {
        EXPECT_NE(std::this_thread::get_id(), answer.thread);
    }
    EXPECT_EQ(3u, browser.service()->record().keyEvents.size());
}

namespace {

class DeathLog : public android::IBinder::DeathRecipient {
public:
    void binderDied(const android::wp<android::IBinder>&) override
    {
        ++deaths;
        thread = std::this_thread::get_id();
    }
    std::atomic<int> deaths{0};
    std::thread::id thread;
};

android::sp<android::IBinder> browserBinder()
{
    return android::defaultServiceManager()->checkService(android::String16(SimulatedBrowser::kServiceName));
}

} // namespace

TEST(SimulatedBrowser, DiesAsAProcessDoesAndCanBePublishedAgain)
{
    SimulatedBrowser browser;
    EXPECT_FALSE(browser.registerClients()); // no TV service published in this process
    EXPECT_FALSE(browser.die());

    ASSERT_TRUE(browser.publish());
    const android::sp<android::IBinder> binder = browserBinder();
    ASSERT_NE(nullptr, binder);
    EXPECT_EQ(browser.service(), IYXTService::asInterface(binder));
    const android::sp<DeathLog> recipient = new DeathLog;
    ASSERT_EQ(android::NO_ERROR, binder->linkToDeath(recipient, nullptr, 0));
    const android::sp<KeyClient> client = new KeyClient;
    browser.service()->registerClient(client);

    EXPECT_TRUE(browser.die());
    EXPECT_EQ(1, recipient->deaths.load());
    EXPECT_EQ(std::this_thread::get_id(), recipient->thread);
    EXPECT_EQ(nullptr, browserBinder());
    // A dead browser calls nobody back.
    EXPECT_EQ(nullptr, browser.service()->client());
    EXPECT_FALSE(browser.notifyNewWindow(3));

    ASSERT_TRUE(browser.publish());
    ASSERT_NE(nullptr, browserBinder());
    EXPECT_EQ(browser.service(), IYXTService::asInterface(browserBinder()));
    EXPECT_EQ(1, recipient->deaths.load());
}

TEST(SimulatedBrowser, WindowsAnswerFromTheBrowsersOwnList)
{
    SimulatedBrowser browser;
    browser.service()->addWindow(1, "http://main/");
    YXTWindowSettings settings;
    settings.extra = "extra";
    const android::sp<IWindow> first = browser.service()->createWindow("http://a/", -1, -1, -1, -1, settings);
    const android::sp<IWindow> second = browser.service()->createWindow("http://b/", -1, -1, -1, -1, settings);
    ASSERT_NE(nullptr, first);
    ASSERT_NE(nullptr, second);
    EXPECT_EQ(2, first->getId());
    EXPECT_EQ(3, second->getId());

    const android::KeyedVector<int, android::sp<IWindow>> all = browser.service()->getAllWindows();
    ASSERT_EQ(3u, all.size());
    EXPECT_EQ(second, all.valueFor(3));

    browser.service()->getWindow(2)->close();
    EXPECT_EQ(nullptr, browser.service()->getWindow(2));
    first->close(); // a window closed twice is gone once
    const hbbtv_sim::BrowserServiceRecord record = browser.service()->record();
    EXPECT_EQ(std::vector<int>({2}), record.closedWindows);
    EXPECT_EQ(std::vector<int>({1, 3}), record.openWindows);
    ASSERT_EQ(2u, record.createdWindows.size());
    EXPECT_EQ("http://b/", record.createdWindows[1].url);
    EXPECT_EQ("extra", record.createdWindows[1].settings.extra);
}
