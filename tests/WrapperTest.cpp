// The wrapper as the host sees it through the exported factory, before and without a browser.
#include <dlfcn.h>

#include <string>

#include <gtest/gtest.h>

#include "support/Television.h"

using ZR_HBBTV_Core::ZR_HbbtvImplInterface;

namespace {

// A host-side implementation of the interface: not ours, so DestroyHbbtvWrapper must leave it.
class ForeignWrapper : public ZR_HbbtvImplInterface {
public:
    explicit ForeignWrapper(bool* destroyed) : m_destroyed(destroyed) {}
    ~ForeignWrapper() override { *m_destroyed = true; }
    void init(Hbbtv_TVServer*) override {}
    void deinit() override {}
    int toggleDigitalTeletext() const override { return 0; }
    void notifyChannelChanged(unsigned short, unsigned short, unsigned short) const override {}
    bool newAITNotification(unsigned int, const ZR_HBBTV_Core::AITApps&) override { return false; }
    void noAITNotification(unsigned short) override {}
    void tunerStopped(bool) override {}
    bool launchBrowser() override { return false; }
    bool keyClick(unsigned int) override { return false; }
    int prepareCreateApplication() override { return 0; }
    int createApplication(int, const std::string&, const std::string&) override { return 0; }
    void closeUserCreatedApps() override {}
    void notifyBroadbandAccessAvailable(bool) override {}
    void notifyHbbtvServiceRequestFinished(HbbtvCommandPayload*) override {}
    void notifyStreamEvent(const std::string&, const std::string&, const std::string&, const std::string&) override {}
    void setCookiesEnabledAttribute(bool) override {}
    void sendCookiesEnabledAttribute() override {}
    bool isBrowserReady() override { return false; }
    void notifyTimezoneChanged(const char*) override {}
    void notifyLocaleChanged(const char*) override {}
    void notifyParentalRatingChange(unsigned short, unsigned short, unsigned short, int) override {}
    void notifyProgrammeChanged(unsigned short, unsigned short, unsigned short) override {}
    void SetHbbTVRunningStatus(bool) override {}
    bool isAppAlive(int) override { return false; }
    const char* setupEnvVar(const char*, const char*) override { return nullptr; }
    void unsetEnvVar(const char*) override {}
    void killCurrentApp() override {}
    void notifyChannelListChanged() override {}
    void selectMMAudioComponent(const HbbtvMultimediaComponentData&) override {}
    void selectMMSubtitleComponent(const HbbtvMultimediaComponentData&) override {}
    void forceReleaseMMResource() override {}
    void notifySignalLost() override {}
    void notifyTunerPlundered() override {}

private:
    bool* m_destroyed;
};

} // namespace

TEST(Wrapper, EveryOperationIsRefusedBeforeInit)
{
    ZR_HbbtvImplInterface* wrapper = CreateHbbtvWrapper();
    ASSERT_NE(nullptr, wrapper);
    ZR_HBBTV_Core::AITApps apps;
    apps.count = 0;

    EXPECT_EQ(0, wrapper->toggleDigitalTeletext());
    EXPECT_FALSE(wrapper->newAITNotification(1, apps));
    EXPECT_FALSE(wrapper->launchBrowser());
    EXPECT_FALSE(wrapper->keyClick(398));
    EXPECT_EQ(0, wrapper->prepareCreateApplication());
    EXPECT_EQ(0, wrapper->createApplication(1, "http://a", ""));
    EXPECT_FALSE(wrapper->isBrowserReady());
    EXPECT_FALSE(wrapper->isAppAlive(1));
    EXPECT_EQ(nullptr, wrapper->setupEnvVar("A", "B"));
    // The others have nothing to show but must not reach anything.
    hbbtv_test::callEveryOperation(wrapper);
    wrapper->notifyHbbtvServiceRequestFinished(nullptr);
    wrapper->deinit();
    wrapper->deinit(); // twice is harmless
    DestroyHbbtvWrapper(wrapper);
}

TEST(Wrapper, DestroyIgnoresNullAndForeignObjects)
{
    DestroyHbbtvWrapper(nullptr);
    bool destroyed = false;
    ForeignWrapper foreign(&destroyed);
    DestroyHbbtvWrapper(&foreign);
    EXPECT_FALSE(destroyed);
}

TEST(Wrapper, LibraryStaysLoadedWhenTheHostClosesItAfterDeinit)
{
    // The agent's thread and the allocator's thread-exit hook outlive deinit: a dlclose that
    // unloaded their code would crash the middleware at their next wake-up.
    void* const library = dlopen(HBBTV_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    const auto create = reinterpret_cast<ZR_HbbtvImplInterface* (*)()>(dlsym(library, "CreateHbbtvWrapper"));
    const auto destroy = reinterpret_cast<void (*)(ZR_HbbtvImplInterface*)>(dlsym(library, "DestroyHbbtvWrapper"));
    ASSERT_TRUE(create != nullptr && destroy != nullptr);
    hbbtv_sim::SimulatedHost host;
    ZR_HbbtvImplInterface* const wrapper = create();
    wrapper->init(&host);
    wrapper->deinit();
    destroy(wrapper);
    EXPECT_EQ(0, dlclose(library));

    void* const still = dlopen(HBBTV_LIBRARY_PATH, RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(nullptr, still) << "the library was unloaded under its own threads";
    if (still != nullptr) {
        dlclose(still);
    }
}
