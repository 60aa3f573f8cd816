// Recordings and reminders: each operation forwards its request to the host in a string command
// record carrying the record's identifier and programme identifier, waits, and gives back the
// host's first integer when the host answered, otherwise what the interface's own default body
// gives. Lists are not read back: the host's answer has no room for them.
#include <cstdio>

#include "HbbtvBackendTVService.h"

namespace ZR_HBBTV_Core {

namespace {

// getRecordings and getScheduledRecordings share the host's list command; param1 tells which.
const int kScheduledRecordings = 0;
const int kCompletedRecordings = 1;

} // namespace

std::unique_ptr<HbbtvServiceRequestAnswer> HbbtvBackendTVService::sendStringCommand(
    HbbtvBackendCommand command, const std::string& text1, const std::string& text2, int param1, int param2)
{
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayloadWithStrParams> payload = HbbtvCommandPayloadWithStrParams::create(
        command, HbbtvRecordString(text1.c_str()), HbbtvRecordString(text2.c_str()), param1, param2);
    sendServiceRequest(payload, answer);
    return answer;
}

bool HbbtvBackendTVService::canScheduleRecordings()
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(Recordingcommand_CanScheduleRecordings, std::string(), std::string());
    return answer->valid != 0 && answer->intValue1 != 0;
}

NCOR::Broadcast::RecordingState HbbtvBackendTVService::scheduleRecording(const NCOR::RecordingData& recording)
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(PVRCommand_ScheduleRecording, recording.getId(), recording.getProgrammeID());
    return answer->valid != 0 ? static_cast<NCOR::Broadcast::RecordingState>(answer->intValue1)
                              : NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED;
}

void HbbtvBackendTVService::removeRecording(const NCOR::ScheduledRecordingData& recording)
{
    sendStringCommand(PVRCommand_RemoveRecording, recording.getId(), recording.getProgrammeID());
}

// Scheduling again under the same identifier replaces the host's entry.
void HbbtvBackendTVService::updateScheduledRecording(const NCOR::ScheduledRecordingData& recording)
{
    sendStringCommand(PVRCommand_ScheduleRecording, recording.getId(), recording.getProgrammeID());
}

// An immediate recording is scheduled like any other; stopping one removes it.
NCOR::Broadcast::RecordingState HbbtvBackendTVService::startRecording(const NCOR::RecordingData& recording)
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(PVRCommand_ScheduleRecording, recording.getId(), recording.getProgrammeID());
    return answer->valid != 0 ? static_cast<NCOR::Broadcast::RecordingState>(answer->intValue1)
                              : NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED;
}

NCOR::Broadcast::RecordingState HbbtvBackendTVService::stopRecording(const NCOR::RecordingData& recording)
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(PVRCommand_RemoveRecording, recording.getId(), recording.getProgrammeID());
    return answer->valid != 0 ? static_cast<NCOR::Broadcast::RecordingState>(answer->intValue1)
                              : NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED;
}

void HbbtvBackendTVService::getRecordings(std::vector<NCOR::RecordingData*>&)
{
    sendStringCommand(PVRCommand_GetRecordings, std::string(), std::string(), kCompletedRecordings);
}

void HbbtvBackendTVService::getScheduledRecordings(std::vector<NCOR::ScheduledRecordingData*>&)
{
    sendStringCommand(PVRCommand_GetRecordings, std::string(), std::string(), kScheduledRecordings);
}

bool HbbtvBackendTVService::reminderSupported()
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(ReminderCommand_IsReminderSupported, std::string(), std::string());
    return answer->valid != 0 && answer->intValue1 != 0;
}

bool HbbtvBackendTVService::canScheduleReminders()
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(ReminderCommand_CanScheduleReminders, std::string(), std::string());
    return answer->valid != 0 && answer->intValue1 != 0;
}

NCOR::Broadcast::ReminderState HbbtvBackendTVService::scheduleReminder(const NCOR::ReminderData& reminder)
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(ReminderCommand_ScheduleReminder, reminder.getId(), reminder.getProgrammeID());
    return answer->valid != 0 ? static_cast<NCOR::Broadcast::ReminderState>(answer->intValue1)
                              : NCOR::Broadcast::REMINDER_STATE_NOT_SUPPORTED;
}

void HbbtvBackendTVService::removeReminder(const NCOR::ScheduledReminderData& reminder)
{
    sendStringCommand(ReminderCommand_RemoveReminder, reminder.getId(), reminder.getProgrammeID());
}

void HbbtvBackendTVService::getScheduledReminders(std::vector<NCOR::ScheduledReminderData*>&)
{
    sendStringCommand(ReminderCommand_GetReminders, std::string(), std::string());
}

void HbbtvBackendTVService::notifyRecordingStateChanged(const NCOR::RecordingData&, NCOR::Broadcast::PVRState)
{
    logNotImplemented("notifyRecordingStateChanged", 1937);
}

} // namespace ZR_HBBTV_Core
