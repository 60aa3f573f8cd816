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

// What each operation sends is in the requests table; here, what it makes of the host's answer:
// the host's value when the answer is valid, otherwise the interface's defaults.
TEST_F(TVServiceRecordings, AValidAnswerGivesTheHostsValueOtherwiseTheDefaultsHold)
{
    using namespace NCOR::Broadcast;
    const NCOR::RecordingData recording;
    for (const bool valid : { true, false }) {
        answerAll(valid, 1);
        host().clearRecord();
        const RecordingState recorded = valid ? RECORDING_STATE_STARTED : RECORDING_STATE_NOT_SUPPORTED;
        EXPECT_EQ(valid, service().canScheduleRecordings());
        EXPECT_EQ(recorded, service().scheduleRecording(recording));
        EXPECT_EQ(recorded, service().startRecording(recording));
        EXPECT_EQ(recorded, service().stopRecording(recording));
        EXPECT_EQ(valid, service().reminderSupported());
        EXPECT_EQ(valid, service().canScheduleReminders());
        EXPECT_EQ(valid ? REMINDER_STATE_TRIGGERED : REMINDER_STATE_NOT_SUPPORTED,
            service().scheduleReminder(NCOR::ReminderData()));
        EXPECT_EQ(7u, requests().size());
    }
    // Lists are not read back, even from a valid answer: it has no room for them.
    answerAll(true, 1);
    std::vector<NCOR::RecordingData*> recordings;
    std::vector<NCOR::ScheduledRecordingData*> scheduledRecordings;
    std::vector<NCOR::ScheduledReminderData*> reminders;
    service().getRecordings(recordings);
    service().getScheduledRecordings(scheduledRecordings);
    service().getScheduledReminders(reminders);
    EXPECT_TRUE(recordings.empty() && scheduledRecordings.empty() && reminders.empty());
}
