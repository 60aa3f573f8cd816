// Meta-interface parts, version check and default bodies of the TV-service interface, and its
// stub.
#include "ITVService.h"

#include <cstring>

#include <android/log.h>

#include "LocalInterface.h"

namespace {

const char* const kLibraryVersion = "1.14";
const char* const kLogTag = "tvservice";

// The line numbers are part of each message and stay fixed, wherever the bodies move.
void logNotImplemented(const char* function, int line)
{
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "NOT IMPLEMENTED: %s at %s, line %d", function, "ITVService", line);
}

} // namespace

const android::String16 ITVService::descriptor("com.kalto.ITVService");

android::sp<ITVService> ITVService::asInterface(const android::sp<android::IBinder>& binder)
{
    return localInterfaceOf<ITVService>(binder);
}

const android::String16& ITVService::getInterfaceDescriptor() const
{
    return descriptor;
}

ITVService::ITVService() = default;

ITVService::~ITVService() = default;

void ITVService::checkVersion(const char* version)
{
    if (version != nullptr && strcmp(version, kLibraryVersion) == 0) {
        __android_log_print(ANDROID_LOG_DEBUG, kLogTag, "ITVService interface version %s", version);
        return;
    }
    __android_log_print(ANDROID_LOG_WARN, kLogTag,
        "ITVService: service built against interface version %s, library implements %s",
        version != nullptr ? version : "(none)", kLibraryVersion);
}

void ITVService::registerRecordingManagerClient(const android::sp<IRecordingManagerClient>&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 96);
}

void ITVService::registerStreamEvent(const std::string& target, const std::string& eventName, bool, long)
{
    logNotImplemented(__PRETTY_FUNCTION__, 148);
    registerStreamEvent(target, eventName);
}

NCOR::Broadcast::PlayStateError ITVService::bindToCurrentChannel(const NCOR::ChannelTunerData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 203);
    return NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
}

void ITVService::getSIDescriptors(const std::string&, NCOR::EIT::DescriptorTag, NCOR::EIT::ExtensionDescriptorTag,
    std::vector<std::vector<unsigned char>>&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 240);
}

bool ITVService::getAllProgrammesForChannel(const NCOR::ChannelTunerData&, std::vector<NCOR::ProgrammeData*>&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 250);
    return false;
}

void ITVService::selectAVComponentByType(NCOR::Broadcast::ComponentType)
{
    logNotImplemented(__PRETTY_FUNCTION__, 283);
}

void ITVService::unselectAVComponentByType(NCOR::Broadcast::ComponentType)
{
    logNotImplemented(__PRETTY_FUNCTION__, 291);
}

bool ITVService::getAudioDescriptionEnable()
{
    logNotImplemented(__PRETTY_FUNCTION__, 308);
    return false;
}

bool ITVService::canScheduleRecordings() const
{
    logNotImplemented(__PRETTY_FUNCTION__, 443);
    return false;
}

NCOR::Broadcast::RecordingState ITVService::scheduleRecording(const NCOR::RecordingData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 453);
    return NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED;
}

void ITVService::removeRecording(const NCOR::ScheduledRecordingData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 463);
}

void ITVService::updateScheduledRecording(const NCOR::ScheduledRecordingData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 472);
}

NCOR::Broadcast::RecordingState ITVService::startRecording(const NCOR::RecordingData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 480);
    return NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED;
}

NCOR::Broadcast::RecordingState ITVService::stopRecording(const NCOR::RecordingData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 489);
    return NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED;
}

void ITVService::getRecordings(std::vector<NCOR::RecordingData*>&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 500);
}

void ITVService::getScheduledRecordings(std::vector<NCOR::ScheduledRecordingData*>&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 510);
}

void ITVService::getModelName(std::string&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 554);
}

void ITVService::getSoftwareVersion(std::string&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 562);
}

void ITVService::getHardwareVersion(std::string&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 570);
}

void ITVService::getSerialNumber(std::string&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 578);
}

void ITVService::leaveLiveIn()
{
    logNotImplemented(__PRETTY_FUNCTION__, 628);
}

void ITVService::returnLiveIn()
{
    logNotImplemented(__PRETTY_FUNCTION__, 637);
}

bool ITVService::reminderSupported()
{
    logNotImplemented(__PRETTY_FUNCTION__, 642);
    return false;
}

// This body and the next use shorter formats than the rest, on purpose: keep each as it is.
bool ITVService::canScheduleReminders()
{
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "NOT IMPLEMENTED: %s, line %d", __PRETTY_FUNCTION__, 648);
    return false;
}

NCOR::Broadcast::ReminderState ITVService::scheduleReminder(const NCOR::ReminderData&)
{
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "NOT IMPLEMENTED: %s , line %d", __PRETTY_FUNCTION__, 654);
    return NCOR::Broadcast::REMINDER_STATE_NOT_SUPPORTED;
}

void ITVService::removeReminder(const NCOR::ScheduledReminderData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 660);
}

void ITVService::updateScheduledReminder(const NCOR::ScheduledReminderData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 665);
}

void ITVService::getScheduledReminders(std::vector<NCOR::ScheduledReminderData*>&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 670);
}

NCOR::Broadcast::PlayStateError ITVService::bindToCurrentInput()
{
    logNotImplemented(__PRETTY_FUNCTION__, 680);
    return NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
}

bool ITVService::getCurrentInputSource(NCOR::InputSourceData&)
{
    logNotImplemented(__PRETTY_FUNCTION__, 691);
    return false;
}

android::status_t BnTVService::onTransact(uint32_t, const android::Parcel&, android::Parcel*, uint32_t)
{
    return android::UNKNOWN_TRANSACTION;
}
