// Operations whose requests to the host are not built yet: each answers with the value it gives
// when the host does not answer, without sending anything.
#include "HbbtvBackendTVService.h"

namespace ZR_HBBTV_Core {

bool HbbtvBackendTVService::requestOCResourceMount(const std::string&, std::string&) { return false; }
void HbbtvBackendTVService::suspendBroadcastService() {}
void HbbtvBackendTVService::resumeBroadcastService() {}
bool HbbtvBackendTVService::isBroadcastServiceSuspended() { return false; }
void HbbtvBackendTVService::registerStreamEvent(const std::string& target, const std::string& eventName)
{
    registerStreamEvent(target, eventName, false, -1);
}
void HbbtvBackendTVService::registerStreamEvent(const std::string&, const std::string&, bool, long) {}
void HbbtvBackendTVService::unregisterStreamEvent(const std::string&, const std::string&) {}
void HbbtvBackendTVService::unregisterAllStreamEvents() {}
bool HbbtvBackendTVService::getCurrentChannel(NCOR::ChannelTunerData&) { return false; }
bool HbbtvBackendTVService::getChannelList(std::vector<NCOR::ChannelTunerData*>&) { return false; }
NCOR::Broadcast::PlayStateError HbbtvBackendTVService::bindToCurrentChannel(const NCOR::ChannelTunerData&)
{
    return static_cast<NCOR::Broadcast::PlayStateError>(0);
}
NCOR::Broadcast::PlayStateError HbbtvBackendTVService::tune(const NCOR::ChannelTunerData&)
{
    return static_cast<NCOR::Broadcast::PlayStateError>(0);
}
void HbbtvBackendTVService::getProgrammes(std::vector<NCOR::ProgrammeData*>& programmes) { programmes.clear(); }
void HbbtvBackendTVService::getSIDescriptors(const std::string&, NCOR::EIT::DescriptorTag, NCOR::EIT::ExtensionDescriptorTag,
                                             std::vector<std::vector<unsigned char>>&)
{
}
bool HbbtvBackendTVService::getAllProgrammesForChannel(const NCOR::ChannelTunerData&, std::vector<NCOR::ProgrammeData*>&)
{
    return false;
}
void HbbtvBackendTVService::getAVComponents(NCOR::Broadcast::ComponentType, std::vector<NCOR::AVComponentData*>&) {}
void HbbtvBackendTVService::getActiveAVComponents(NCOR::Broadcast::ComponentType, std::vector<NCOR::AVComponentData*>&) {}
bool HbbtvBackendTVService::getAudioDescriptionEnable() { return false; }
void HbbtvBackendTVService::getPreferredAudioLanguage(std::string&) {}
void HbbtvBackendTVService::getPreferredSubtitleLanguage(std::string&) {}
void HbbtvBackendTVService::getCountryId(std::string&) {}
NCOR::Broadcast::RecordingState HbbtvBackendTVService::scheduleRecording(const NCOR::RecordingData&)
{
    return static_cast<NCOR::Broadcast::RecordingState>(4);
}
void HbbtvBackendTVService::removeRecording(const NCOR::ScheduledRecordingData&) {}
void HbbtvBackendTVService::updateScheduledRecording(const NCOR::ScheduledRecordingData&) {}
NCOR::Broadcast::RecordingState HbbtvBackendTVService::startRecording(const NCOR::RecordingData&)
{
    return static_cast<NCOR::Broadcast::RecordingState>(4);
}
NCOR::Broadcast::RecordingState HbbtvBackendTVService::stopRecording(const NCOR::RecordingData&)
{
    return static_cast<NCOR::Broadcast::RecordingState>(4);
}
void HbbtvBackendTVService::getRecordings(std::vector<NCOR::RecordingData*>&) {}
void HbbtvBackendTVService::getScheduledRecordings(std::vector<NCOR::ScheduledRecordingData*>&) {}
int HbbtvBackendTVService::getParentalControlThreshold() { return 3; }
void HbbtvBackendTVService::getModelName(std::string&) {}
void HbbtvBackendTVService::getSoftwareVersion(std::string&) {}
void HbbtvBackendTVService::getHardwareVersion(std::string&) {}
void HbbtvBackendTVService::getSerialNumber(std::string&) {}
void HbbtvBackendTVService::getSupportedAVProfiles(NCOR::AVProfileData&) {}
void HbbtvBackendTVService::getSupportedParentalSchemes(std::vector<std::string>&) {}
void HbbtvBackendTVService::getSupportedChannelIDType(std::vector<NCOR::Broadcast::ChannelIDType>&) {}
void HbbtvBackendTVService::leaveLiveIn() {}
void HbbtvBackendTVService::returnLiveIn() {}
bool HbbtvBackendTVService::reminderSupported() { return false; }
bool HbbtvBackendTVService::canScheduleReminders() { return false; }
NCOR::Broadcast::ReminderState HbbtvBackendTVService::scheduleReminder(const NCOR::ReminderData&)
{
    return static_cast<NCOR::Broadcast::ReminderState>(4);
}
void HbbtvBackendTVService::removeReminder(const NCOR::ScheduledReminderData&) {}
void HbbtvBackendTVService::getScheduledReminders(std::vector<NCOR::ScheduledReminderData*>&) {}
bool HbbtvBackendTVService::canScheduleRecordings() { return false; }
void HbbtvBackendTVService::notifyChannelModified(const NCOR::ChannelTunerData&) {}
void HbbtvBackendTVService::notifyAccessToBroadcastResources(bool) {}
void HbbtvBackendTVService::notifyChannelAdded(const NCOR::ChannelTunerData&) {}
void HbbtvBackendTVService::notifyChannelRemoved(const NCOR::ChannelTunerData&) {}
void HbbtvBackendTVService::notifyConfigurationChanged() {}
void HbbtvBackendTVService::notifyRecordingStateChanged(const NCOR::RecordingData&, NCOR::Broadcast::PVRState) {}
void HbbtvBackendTVService::notifyStartNewApp(const char*) {}

} // namespace ZR_HBBTV_Core
