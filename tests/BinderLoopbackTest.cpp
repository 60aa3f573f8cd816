// The loopback binder runtime: registry, proxies that yield the service, death delivery.
#include <atomic>
#include <chrono>
#include <thread>

#include <binder/IServiceManager.h>
#include <gtest/gtest.h>

#include "LoopbackBinder.h"

using android::IBinder;
using android::sp;
using android::String16;
using android::wp;

namespace {

class IProbe : public android::IInterface {
public:
    static const String16 descriptor;
    static sp<IProbe> asInterface(const sp<IBinder>& binder)
    {
        return binder != nullptr ? static_cast<IProbe*>(binder->queryLocalInterface(descriptor).get()) : nullptr;
    }
    virtual const String16& getInterfaceDescriptor() const { return descriptor; }
    virtual int answer() = 0;
};
const String16 IProbe::descriptor("hbbtv.test.IProbe");

class Probe : public android::BnInterface<IProbe> {
public:
    int answer() override { return 42; }
};

// Counts notices; while one runs it also calls back into the runtime, which would deadlock if
// the runtime held a lock of its own.
class Recipient : public IBinder::DeathRecipient {
public:
    void binderDied(const wp<IBinder>& who) override
    {
        ++deaths;
        calledOn = std::this_thread::get_id();
        const sp<IBinder> binder = who.promote();
        stillRegistered = android::defaultServiceManager()->checkService(String16("probe")) != nullptr;
        const sp<Recipient> spare = new Recipient;
        relinked = binder != nullptr ? binder->linkToDeath(spare) : android::OK;
        lastWho = who;
    }
    std::atomic<int> deaths{0};
    std::thread::id calledOn;
    bool stillRegistered = true;
    android::status_t relinked = android::OK;
    wp<IBinder> lastWho;
};

class BinderLoopback : public testing::Test {
protected:
    void TearDown() override { loopback_binder::forgetAllServices(); }
    const sp<android::IServiceManager> sm = android::defaultServiceManager();
};

} // namespace

TEST_F(BinderLoopback, RegistersAndLooksUpThroughProxiesThatYieldTheService)
{
    const sp<Probe> probe = new Probe;
    ASSERT_EQ(android::OK, sm->addService(String16("probe"), probe));
    const sp<IBinder> proxy = sm->getService(String16("probe"));
    ASSERT_NE(nullptr, proxy);
    EXPECT_EQ(nullptr, proxy->localBinder());
    EXPECT_EQ(proxy, sm->checkService(String16("probe")));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(nullptr, sm->getService(String16("absent")));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));

    // The proxy yields the service itself, for its own interface only.
    const sp<IProbe> service = android::interface_cast<IProbe>(proxy);
    EXPECT_EQ(probe.get(), service.get());
    EXPECT_EQ(42, service->answer());
    EXPECT_EQ(nullptr, proxy->queryLocalInterface(String16("hbbtv.test.IOther")));

    // A name registered again hands out a new binder; the old one still stands for its service.
    ASSERT_EQ(android::OK, sm->addService(String16("probe"), new Probe));
    EXPECT_NE(proxy, sm->checkService(String16("probe")));
    EXPECT_EQ(probe.get(), android::interface_cast<IProbe>(proxy).get());

    loopback_binder::forgetAllServices();
    EXPECT_EQ(nullptr, sm->checkService(String16("probe")));
    EXPECT_TRUE(proxy->isBinderAlive());
}

TEST_F(BinderLoopback, DeathReachesEachLinkedRecipientOnce)
{
    sp<Probe> probe = new Probe;
    const wp<Probe> service = probe;
    ASSERT_EQ(android::OK, sm->addService(String16("probe"), probe));
    probe.clear();
    const sp<IBinder> proxy = sm->getService(String16("probe"));

    const sp<Recipient> plain = new Recipient;
    const sp<Recipient> withCookie = new Recipient;
    const sp<Recipient> unlinked = new Recipient;
    sp<Recipient> destroyed = new Recipient;
    int cookie = 0;
    ASSERT_EQ(android::OK, proxy->linkToDeath(plain));
    ASSERT_EQ(android::OK, proxy->linkToDeath(withCookie, &cookie));
    ASSERT_EQ(android::OK, proxy->linkToDeath(unlinked));
    ASSERT_EQ(android::OK, proxy->linkToDeath(destroyed));
    EXPECT_EQ(android::OK, proxy->unlinkToDeath(unlinked));
    const wp<Recipient> gone = destroyed; // held weakly: not kept alive by the link
    destroyed.clear();
    ASSERT_EQ(nullptr, gone.promote());

    EXPECT_TRUE(loopback_binder::killService(String16("probe")));
    EXPECT_FALSE(loopback_binder::killService(String16("probe")));

    for (const sp<Recipient>& heard : { plain, withCookie }) {
        EXPECT_EQ(1, heard->deaths);
        EXPECT_EQ(std::this_thread::get_id(), heard->calledOn);
        EXPECT_FALSE(heard->stillRegistered);
        EXPECT_EQ(android::DEAD_OBJECT, heard->relinked);
        EXPECT_TRUE(heard->lastWho == wp<IBinder>(proxy));
    }
    EXPECT_EQ(0, unlinked->deaths);

    EXPECT_EQ(nullptr, sm->checkService(String16("probe")));
    EXPECT_FALSE(proxy->isBinderAlive());
    EXPECT_EQ(android::DEAD_OBJECT, proxy->linkToDeath(new Recipient));
    EXPECT_EQ(nullptr, android::interface_cast<IProbe>(proxy));
    EXPECT_EQ(nullptr, service.promote()); // the dead binder lets its service go
}
