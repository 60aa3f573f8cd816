// Recordings and reminders through the TV service: forwarded to the simulated host.
#include <gtest/gtest.h>

#include "support/TVServiceHarness.h"

using namespace ZR_HBBTV_Core;

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

// What each operation sends is in the requests table; here, what it makes of the host's answer.
TEST_F(TVServiceRecordings, AValidAnswerGivesTheHostsValue)
{
    answerAll(true, 1);
    const NCOR::RecordingData recording;
    std::vector<NCOR::RecordingData*> recordings;
    std::vector<NCOR::ScheduledRecordingData*> scheduledRecordings;
    std::vector<NCOR::ScheduledReminderData*> reminders;
    EXPECT_TRUE(service().canScheduleRecordings());
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_STARTED, service().scheduleRecording(recording));
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_STARTED, service().startRecording(recording));
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_STARTED, service().stopRecording(recording));
    EXPECT_TRUE(service().reminderSupported());
    EXPECT_TRUE(service().canScheduleReminders());
    EXPECT_EQ(NCOR::Broadcast::REMINDER_STATE_TRIGGERED, service().scheduleReminder(NCOR::ReminderData()));
    // Lists are not read back: the answer has no room for them.
    service().getRecordings(recordings);
    service().getScheduledRecordings(scheduledRecordings);
    service().getScheduledReminders(reminders);
    EXPECT_TRUE(recordings.empty() && scheduledRecordings.empty() && reminders.empty());
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
}
