// The wrapper the host plugin is given: completions go to the checker, every other operation on
// to the library's wrapper. Each call is admitted by the checker first, which records calls that
// come after deinit and then refuses them (false, 0, null); a call under way holds the checker's
// forwarding lock, so that deinit waits for it.
#ifndef HBBTV_HOST_CHECK_COMPLETION_WRAPPER_H
#define HBBTV_HOST_CHECK_COMPLETION_WRAPPER_H

#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_hostcheck {

class CheckingHost;

class CompletionWrapper : public ZR_HBBTV_Core::ZR_HbbtvImplInterface {
public:
    explicit CompletionWrapper(CheckingHost& checker)
        : m_checker(checker)
    {
    }

    void init(Hbbtv_TVServer* server) override;
    void deinit() override;
    int toggleDigitalTeletext() const override;
    void notifyChannelChanged(unsigned short a, unsigned short b, unsigned short c) const override;
    bool newAITNotification(unsigned int aitVersion, const ZR_HBBTV_Core::AITApps& apps) override;
    void noAITNotification(unsigned short value) override;
    void tunerStopped(bool stopped) override;
    bool launchBrowser() override;
    bool keyClick(unsigned int key) override;
    int prepareCreateApplication() override;
    int createApplication(int appId, const std::string& url, const std::string& extra) override;
    void closeUserCreatedApps() override;
    void notifyBroadbandAccessAvailable(bool available) override;
    void notifyHbbtvServiceRequestFinished(HbbtvCommandPayload* payload) override;
    void notifyStreamEvent(
        const std::string& a, const std::string& b, const std::string& c, const std::string& d) override;
    void setCookiesEnabledAttribute(bool enabled) override;
    void sendCookiesEnabledAttribute() override;
    bool isBrowserReady() override;
    void notifyTimezoneChanged(const char* timezone) override;
    void notifyLocaleChanged(const char* locale) override;
    void notifyParentalRatingChange(unsigned short a, unsigned short b, unsigned short c, int d) override;
    void notifyProgrammeChanged(unsigned short a, unsigned short b, unsigned short c) override;
    void SetHbbTVRunningStatus(bool running) override;
    bool isAppAlive(int appId) override;
    const char* setupEnvVar(const char* name, const char* value) override;
    void unsetEnvVar(const char* name) override;
    void killCurrentApp() override;
    void notifyChannelListChanged() override;
    void selectMMAudioComponent(const HbbtvMultimediaComponentData& component) override;
    void selectMMSubtitleComponent(const HbbtvMultimediaComponentData& component) override;
    void forceReleaseMMResource() override;
    void notifySignalLost() override;
    void notifyTunerPlundered() override;

private:
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* admit(const char* operation) const;

    CheckingHost& m_checker;
};

} // namespace hbbtv_hostcheck

#endif
