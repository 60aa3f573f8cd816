#include "ReplayPlayer.h"

#include <functional>
#include <map>

#include "TraceDecoding.h"

namespace hbbtv_simulator {

namespace tf = HbbtvTraceFormat;
namespace arg = HbbtvTraceFormat::argument;

ReplayPlayer::ReplayPlayer(ReplayHost& host, hbbtv_sim::SimulatedBrowser& browser, ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper)
    : m_host(host), m_browser(browser), m_wrapper(wrapper)
{
}

bool ReplayPlayer::play(const Json& line)
{
    const std::string kind = line.value(tf::line::kind, "");
    const Json& nameField = line[tf::line::name];
    const std::string name = nameField.is_string() ? nameField.get<std::string>() : "";
    if (kind == tf::kind::host) {
        return hostCall(name, line);
    }
    if (kind == tf::kind::request) {
        return request(name, line);
    }
    if (kind == tf::kind::browser) {
        return browserCall(name, line);
    }
    if (kind == tf::kind::binder && name == "died") {
        m_browser.die();
        m_browserDead = true;
    }
    return true;
}

bool ReplayPlayer::hostCall(const std::string& name, const Json& l)
{
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const w = m_wrapper;
    const auto u16 = [&l](const char* key) { return number<unsigned short>(l, key); };
    static const std::map<std::string, std::function<void(ReplayPlayer&, const Json&)>> calls = {
        {"init", [](ReplayPlayer& p, const Json&) { p.m_wrapper->init(&p.m_host); }},
        {"deinit", [](ReplayPlayer& p, const Json&) { p.m_wrapper->deinit(); p.m_deinit = true; }},
        {"launchBrowser", [](ReplayPlayer& p, const Json&) {
             if (p.m_browserDead) {
                 p.m_browser.publish(); // a restarted browser publishes its service again
                 p.m_browserDead = false;
             }
             p.m_wrapper->launchBrowser();
         }},
    };
    const auto found = calls.find(name);
    if (found != calls.end()) {
        found->second(*this, l);
        return true;
    }
    if (name == "keyClick") w->keyClick(number<unsigned>(l, arg::key));
    else if (name == "newAITNotification") w->newAITNotification(number<unsigned>(l, tf::ait::version), aitFrom(l));
    else if (name == "noAITNotification") w->noAITNotification(u16(arg::value));
    else if (name == "createApplication") w->createApplication(number<int>(l, arg::appId), textOf(l, arg::url), textOf(l, arg::extra));
    else if (name == "prepareCreateApplication") w->prepareCreateApplication();
    else if (name == "closeUserCreatedApps") w->closeUserCreatedApps();
    else if (name == "notifyStreamEvent") w->notifyStreamEvent(textOf(l, arg::url), textOf(l, arg::eventName), textOf(l, arg::data), textOf(l, arg::eventKind));
    else if (name == "isBrowserReady") w->isBrowserReady();
    else if (name == "SetHbbTVRunningStatus") w->SetHbbTVRunningStatus(l.value(arg::running, false));
    else if (name == "notifyChannelChanged") w->notifyChannelChanged(u16(arg::a), u16(arg::b), u16(arg::c));
    else if (name == "notifyProgrammeChanged") w->notifyProgrammeChanged(u16(arg::a), u16(arg::b), u16(arg::c));
    else if (name == "notifyParentalRatingChange") w->notifyParentalRatingChange(u16(arg::a), u16(arg::b), u16(arg::c), number<int>(l, arg::d));
    else if (name == "tunerStopped") w->tunerStopped(l.value(arg::stopped, false));
    else if (name == "notifyBroadbandAccessAvailable") w->notifyBroadbandAccessAvailable(l.value(arg::available, false));
    else if (name == "setCookiesEnabledAttribute") w->setCookiesEnabledAttribute(l.value(arg::enabled, false));
    else if (name == "sendCookiesEnabledAttribute") w->sendCookiesEnabledAttribute();
    else if (name == "notifyTimezoneChanged") w->notifyTimezoneChanged(textOf(l, arg::timezone).c_str());
    else if (name == "notifyLocaleChanged") w->notifyLocaleChanged(textOf(l, arg::locale).c_str());
    else if (name == "isAppAlive") w->isAppAlive(number<int>(l, arg::appId));
    else if (name == "killCurrentApp") w->killCurrentApp();
    else if (name == "notifyChannelListChanged") w->notifyChannelListChanged();
    else if (name == "forceReleaseMMResource") w->forceReleaseMMResource();
    else if (name == "notifySignalLost") w->notifySignalLost();
    else if (name == "notifyTunerPlundered") w->notifyTunerPlundered();
    else if (name == "toggleDigitalTeletext") w->toggleDigitalTeletext();
    else if (name == "notifyHbbtvServiceRequestFinished") {} // the replay's host completes its own
    else if (name == "selectMMAudioComponent" || name == "selectMMSubtitleComponent") {
        HbbtvMultimediaComponentData component{};
        component.text1 = textOf(l, arg::text1);
        component.text2 = textOf(l, arg::text2);
        component.value1 = number<uint32_t>(l, arg::value1);
        component.flag = l.value(arg::flag, false);
        name == "selectMMAudioComponent" ? w->selectMMAudioComponent(component) : w->selectMMSubtitleComponent(component);
    } else return false;
    return true;
}

bool ReplayPlayer::request(const std::string& name, const Json& l)
{
    if (name == "registerAITSignallingClient") {
        return m_browser.registerClients(); // the browser registers its clients together
    }
    if (name.rfind("register", 0) == 0 && name.find("Client") != std::string::npos) {
        return true;
    }
    const android::sp<ITVService> s = m_browser.tvService();
    if (s == nullptr) {
        return false;
    }
    std::string text;
    if (name == "tune") s->tune(channelFrom(l));
    else if (name == "bindToCurrentChannel") s->bindToCurrentChannel(channelFrom(l));
    else if (name == "getCurrentChannel") { NCOR::ChannelTunerData channel; s->getCurrentChannel(channel); }
    else if (name == "getChannelList") {
        std::vector<NCOR::ChannelTunerData*> channels;
        s->getChannelList(channels);
        for (NCOR::ChannelTunerData* channel : channels) delete channel;
    } else if (name == "getProgrammes") {
        std::vector<NCOR::ProgrammeData*> programmes;
        s->getProgrammes(programmes);
        for (NCOR::ProgrammeData* programme : programmes) delete programme;
    } else if (name == "getAllProgrammesForChannel") {
        std::vector<NCOR::ProgrammeData*> programmes;
        s->getAllProgrammesForChannel(channelFrom(l), programmes);
        for (NCOR::ProgrammeData* programme : programmes) delete programme;
    } else if (name == "getSIDescriptors") {
        std::vector<std::vector<unsigned char>> descriptors;
        s->getSIDescriptors(textOf(l, arg::programmeID), static_cast<NCOR::EIT::DescriptorTag>(number<int>(l, arg::tag)),
                            static_cast<NCOR::EIT::ExtensionDescriptorTag>(number<int>(l, arg::extensionTag)), descriptors);
    } else if (name == "getAVComponents" || name == "getActiveAVComponents") {
        std::vector<NCOR::AVComponentData*> components;
        const auto type = static_cast<NCOR::Broadcast::ComponentType>(number<int>(l, arg::type));
        name == "getAVComponents" ? s->getAVComponents(type, components) : s->getActiveAVComponents(type, components);
        for (NCOR::AVComponentData* component : components) delete component;
    } else if (name == "selectAVComponent" || name == "unselectAVComponent") {
        NCOR::AVComponentData component;
        component.setComponentType(static_cast<NCOR::Broadcast::ComponentType>(number<int>(l, arg::type)));
        component.setComponentTag(number<int16_t>(l, arg::tag));
        name == "selectAVComponent" ? s->selectAVComponent(component) : s->unselectAVComponent(component);
    } else if (name == "setViewport") {
        s->setViewport(l.value(arg::fullScreen, false), number<int>(l, arg::x), number<int>(l, arg::y), number<int>(l, arg::width),
                       number<int>(l, arg::height));
    } else if (name == "stopVideo") s->stopVideo();
    else if (name == "releaseVideo") s->releaseVideo();
    else if (name == "requestOCResourceMount") s->requestOCResourceMount(textOf(l, arg::url), text);
    else if (name == "registerStreamEvent") s->registerStreamEvent(textOf(l, arg::target), textOf(l, arg::event));
    else if (name == "unregisterStreamEvent") s->unregisterStreamEvent(textOf(l, arg::target), textOf(l, arg::event));
    else if (name == "suspendBroadcastService") s->suspendBroadcastService();
    else if (name == "resumeBroadcastService") s->resumeBroadcastService();
    else if (name == "leaveLiveIn") s->leaveLiveIn();
    else if (name == "returnLiveIn") s->returnLiveIn();
    else if (name == "getCountryId") s->getCountryId(text);
    else if (name == "getPreferredSubtitleLanguage") s->getPreferredSubtitleLanguage(text);
    else if (name == "getPreferredAudioLanguage") s->getPreferredAudioLanguage(text);
    else if (name == "getModelName") s->getModelName(text);
    else if (name == "getSoftwareVersion") s->getSoftwareVersion(text);
    else if (name == "getHardwareVersion") s->getHardwareVersion(text);
    else if (name == "getSerialNumber") s->getSerialNumber(text);
    else if (name == "getAudioDescriptionEnable") s->getAudioDescriptionEnable();
    else if (name == "getParentalControlThreshold") s->getParentalControlThreshold();
    else return false;
    return true;
}

bool ReplayPlayer::browserCall(const std::string& name, const Json& l)
{
    if (name == "notifyNewWindow") m_browser.notifyNewWindow(number<int>(l, arg::windowId));
    else if (name == "notifyWindowClosed") m_browser.notifyWindowClosed(number<int>(l, arg::windowId));
    else if (name == "notifyLoadStarted") m_browser.notifyLoadStarted(number<int>(l, arg::loadId), textOf(l, arg::url));
    else if (name == "notifyLoadProgress") m_browser.notifyLoadProgress(number<int>(l, arg::loadId), number<int>(l, arg::percent));
    else if (name == "notifyLoadComplete") m_browser.notifyLoadComplete(number<int>(l, arg::loadId));
    else if (name == "notifyLoadFailed") m_browser.notifyLoadFailed(number<int>(l, arg::loadId), textOf(l, arg::url), number<int>(l, arg::error));
    else if (name == "notifyInitialLayoutCompleted") m_browser.notifyInitialLayoutCompleted(number<int>(l, arg::loadId));
    else if (name == "notifyKeyEventConsumed") {} // the simulated browser answers keys itself
    else return false;
    return true;
}

} // namespace hbbtv_simulator
