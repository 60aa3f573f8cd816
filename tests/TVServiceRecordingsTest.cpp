// Recordings and reminders through the TV service: forwarded to the simulated host.
#include <gtest/gtest.h>

#include "support/TVServiceHarness.h"

using namespace ZR_HBBTV_Core;
using hbbtv_sim::ReceivedRequest;
using hbbtv_test::Wire;

namespace {

class TVServiceRecordings : public hbbtv_test::TVServiceTest {
protected:
    // Every request is answered with value; valid only when answered is true.
    void answerAll(bool answered, int value)
    {
        const int forwarded[]
            = { Recordingcommand_CanScheduleRecordings, PVRCommand_ScheduleRecording, PVRCommand_GetRecordings,
                  PVRCommand_RemoveRecording, ReminderCommand_IsReminderSupported, ReminderCommand_CanScheduleReminders,
                  ReminderCommand_ScheduleReminder, ReminderCommand_RemoveReminder, ReminderCommand_GetReminders };
        for (int command : forwarded) {
            answer(command, [answered, value](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
                answer.valid = answered ? 1 : 0;
                answer.intValue1 = value;
            });
        }
    }
};

} // namespace

TEST_F(TVServiceRecordings, EachOperationSendsItsCommandWithTheRecordsIdentifiers)
{
    answerAll(true, 1);
    NCOR::RecordingData recording;
    recording.setId("rec-1");
    recording.setProgrammeID("crid://p/1");
    NCOR::ScheduledRecordingData scheduled;
    scheduled.setId("rec-2");
    scheduled.setProgrammeID("crid://p/2");
    NCOR::ReminderData reminder;
    reminder.setId("rem-1");
    reminder.setProgrammeID("crid://p/3");
    NCOR::ScheduledReminderData scheduledReminder;
    scheduledReminder.setId("rem-2");
    scheduledReminder.setProgrammeID("crid://p/4");
    std::vector<NCOR::RecordingData*> recordings;
    std::vector<NCOR::ScheduledRecordingData*> scheduledRecordings;
    std::vector<NCOR::ScheduledReminderData*> reminders;

    EXPECT_TRUE(service().canScheduleRecordings());
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_STARTED, service().scheduleRecording(recording));
    service().removeRecording(scheduled);
    service().updateScheduledRecording(scheduled);
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_STARTED, service().startRecording(recording));
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_STARTED, service().stopRecording(recording));
    service().getRecordings(recordings);
    service().getScheduledRecordings(scheduledRecordings);
    EXPECT_TRUE(service().reminderSupported());
    EXPECT_TRUE(service().canScheduleReminders());
    EXPECT_EQ(NCOR::Broadcast::REMINDER_STATE_TRIGGERED, service().scheduleReminder(reminder));
    service().removeReminder(scheduledReminder);
    service().getScheduledReminders(reminders);

    const std::vector<Wire> expected = {
        { Recordingcommand_CanScheduleRecordings, 0, 0, "", "" },
        { PVRCommand_ScheduleRecording, 0, 0, "rec-1", "crid://p/1" },
        { PVRCommand_RemoveRecording, 0, 0, "rec-2", "crid://p/2" },
        { PVRCommand_ScheduleRecording, 0, 0, "rec-2", "crid://p/2" },
        { PVRCommand_ScheduleRecording, 0, 0, "rec-1", "crid://p/1" },
        { PVRCommand_RemoveRecording, 0, 0, "rec-1", "crid://p/1" },
        { PVRCommand_GetRecordings, 1, 0, "", "" },
        { PVRCommand_GetRecordings, 0, 0, "", "" },
        { ReminderCommand_IsReminderSupported, 0, 0, "", "" },
        { ReminderCommand_CanScheduleReminders, 0, 0, "", "" },
        { ReminderCommand_ScheduleReminder, 0, 0, "rem-1", "crid://p/3" },
        { ReminderCommand_RemoveReminder, 0, 0, "rem-2", "crid://p/4" },
        { ReminderCommand_GetReminders, 0, 0, "", "" },
    };
    EXPECT_EQ(expected, wires());
    for (const ReceivedRequest& request : requests()) {
        EXPECT_EQ(hbbtv_sim::PayloadRecord::WithStrParams, request.record);
    }
    EXPECT_TRUE(recordings.empty());
    EXPECT_TRUE(scheduledRecordings.empty());
    EXPECT_TRUE(reminders.empty());
}

TEST_F(TVServiceRecordings, WithoutAValidAnswerTheInterfaceDefaultsHold)
{
    answerAll(false, 1);
    const NCOR::RecordingData recording;
    EXPECT_FALSE(service().canScheduleRecordings());
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED, service().scheduleRecording(recording));
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED, service().startRecording(recording));
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED, service().stopRecording(recording));
    EXPECT_FALSE(service().reminderSupported());
    EXPECT_FALSE(service().canScheduleReminders());
    EXPECT_EQ(NCOR::Broadcast::REMINDER_STATE_NOT_SUPPORTED, service().scheduleReminder(NCOR::ReminderData()));
    EXPECT_EQ(7u, requests().size());

    // A host that never answers gives the same.
    neverAnswer(PVRCommand_ScheduleRecording);
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED, service().scheduleRecording(recording));
}
