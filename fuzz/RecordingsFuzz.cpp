// Recordings and reminders: the browser's identifiers out, the host's answer back.
#include <fuzzer/FuzzedDataProvider.h>

#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    NCOR::RecordingData recording;
    recording.setId(input.ConsumeRandomLengthString(300));
    recording.setProgrammeID(input.ConsumeRandomLengthString(300));
    hbbtv_fuzz::answerBytes = input.ConsumeRemainingBytes<uint8_t>();
    HbbtvServiceRequestAnswer written;
    hbbtv_fuzz::copyInto(&written, sizeof(written), hbbtv_fuzz::answerBytes.data(), hbbtv_fuzz::answerBytes.size());

    HbbtvBackendTVService& service = hbbtv_fuzz::serviceAnswering(PVRCommand_ScheduleRecording);
    const NCOR::Broadcast::RecordingState state = service.scheduleRecording(recording);
    check(state == (written.valid ? written.intValue1 : NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED),
        "the host's state when valid, otherwise not supported");
    const bool reminders = hbbtv_fuzz::serviceAnswering(ReminderCommand_CanScheduleReminders).canScheduleReminders();
    check(reminders == (written.valid && written.intValue1 != 0), "the host's yes when valid");

    const hbbtv_sim::ReceivedRequest sent = hbbtv_fuzz::host().record().requests.at(0);
    check(hbbtv_fuzz::fitsRecordString(sent.strParam1) && hbbtv_fuzz::fitsRecordString(sent.strParam2),
        "identifiers end within their records");
    check(recording.getId().compare(0, sent.strParam1.size(), sent.strParam1) == 0, "the identifier, cut");
    return 0;
}
