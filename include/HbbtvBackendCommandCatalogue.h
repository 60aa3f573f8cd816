// The backend commands in one table: each command's number and name as the host knows them, the
// payload record it travels in, the answer record the host fills for it, and whether the library's
// own log lines name it. Value 1 and the block 1006-1014 are sent all the same, but the log gives
// them no name: convertBackendCommandToString yields a null pointer for them, and log callers rely
// on that. Usable from C++11 hosts: the records follow from the command number alone.
#ifndef HBBTV_BACKEND_COMMAND_CATALOGUE_H
#define HBBTV_BACKEND_COMMAND_CATALOGUE_H

#include "HbbtvBackendCommand.h"

// The payload record a command travels in (HbbtvBackendRecords.h).
enum class HbbtvPayloadRecord {
    Base, // HbbtvCommandPayload
    WithStrParams, // HbbtvCommandPayloadWithStrParams
    WithChannelIDInfo, // HbbtvCommandPayloadWithChannelIDInfo
    WithLineupPool, // HbbtvCommandPayloadWithLineupPool
};

// The answer record the host fills (HbbtvBackendRecords.h).
enum class HbbtvAnswerRecord {
    Base, // HbbtvServiceRequestAnswer
    DvbResourceMount, // HbbtvServiceRequestDvbResourceMountAnswer
    ChannelInfo, // HbbtvServiceRequestChannelInfoAnswer
    ProgramInfo, // HbbtvServiceRequestProgramInfoAnswer
    AVInfo, // HbbtvServiceRequestAVInfoAnswer
    ChannelsLineup, // HbbtvServiceRequestChannelsLineupAnswer
};

struct HbbtvBackendCommandInfo {
    HbbtvBackendCommand command;
    const char* name;
    HbbtvPayloadRecord payload;
    HbbtvAnswerRecord answer;
    bool namedInLog;
};

// The command's entry, or a null pointer for a number that is no command. The table is constant
// data, so the lookup is safe from any thread.
inline const HbbtvBackendCommandInfo* hbbtvBackendCommandInfo(int command)
{
    typedef HbbtvPayloadRecord P;
    typedef HbbtvAnswerRecord A;
    static const HbbtvBackendCommandInfo kCatalogue[] = {
        { TunerCommand_AddStreamEvent, "TunerCommand_AddStreamEvent", P::WithStrParams, A::Base, true },
        { TunerCommand_RemoveStreamEvent, "TunerCommand_RemoveStreamEvent", P::WithStrParams, A::Base, false },
        { TunerCommand_RemoveAllStreamEvent, "TunerCommand_RemoveAllStreamEvent", P::Base, A::Base, true },
        { TunerCommand_SelectAVComponent, "TunerCommand_SelectAVComponent", P::Base, A::Base, true },
        { TunerCommand_UnselectAVComponent, "TunerCommand_UnselectAVComponent", P::Base, A::Base, true },
        { TunerCommand_GetAVInfo, "TunerCommand_GetAVInfo", P::Base, A::AVInfo, true },
        { TunerCommand_TuneTo, "TunerCommand_TuneTo", P::WithChannelIDInfo, A::Base, true },
        { TunerCommand_GetCurrentChannelInfo, "TunerCommand_GetCurrentChannelInfo", P::Base, A::ChannelInfo, true },
        { TunerCommand_ExitLiveIn, "TunerCommand_ExitLiveIn", P::Base, A::Base, true },
        { TunerCommand_ReturnLiveIn, "TunerCommand_ReturnLiveIn", P::Base, A::Base, true },
        { TunerCommand_SuspendTuner, "TunerCommand_SuspendTuner", P::Base, A::Base, true },
        { TunerCommand_ResumeTuner, "TunerCommand_ResumeTuner", P::Base, A::Base, true },
        { TunerCommand_StartNewApplication, "TunerCommand_StartNewApplication", P::WithStrParams, A::Base, true },
        { TunerCommand_RequestChannelsLineup, "TunerCommand_RequestChannelsLineup", P::WithLineupPool,
            A::ChannelsLineup, true },
        { TunerCommand_Bind2CurrentChannel, "TunerCommand_Bind2CurrentChannel", P::WithChannelIDInfo, A::Base, true },
        { ConfigCommand_GetCountryID, "ConfigCommand_GetCountryID", P::Base, A::Base, true },
        { ConfigCommand_GetSubtitleLanguage, "ConfigCommand_GetSubtitleLanguage", P::Base, A::Base, true },
        { ConfigCommand_GetAudioLanguage, "ConfigCommand_GetAudioLanguage", P::Base, A::Base, true },
        { ConfigCommand_GetParental, "ConfigCommand_GetParental", P::Base, A::Base, true },
        { ConfigCommand_GetParentalControlPINEnable, "ConfigCommand_GetParentalControlPINEnable", P::Base, A::Base,
            true },
        { ConfigCommand_VerifyParentalControlPIN, "ConfigCommand_VerifyParentalControlPIN", P::Base, A::Base, true },
        { ConfigCommand_GetPvrPaddings, "ConfigCommand_GetPvrPaddings", P::Base, A::Base, true },
        { CapabilitiesCommand_IsPvrSupported, "CapabilitiesCommand_IsPvrSupported", P::Base, A::Base, true },
        { ConfigCommand_SetPvrPaddings, "ConfigCommand_SetPvrPaddings", P::Base, A::Base, true },
        { DSMCC_DVBURL_GetFile, "DSMCC_DVBURL_GetFile", P::WithStrParams, A::DvbResourceMount, true },
        { DSMCC_DVBURL_GetFile_NoWait, "DSMCC_DVBURL_GetFile_NoWait", P::Base, A::Base, true },
        { DVBMediaPlayer_OpenVideo, "DVBMediaPlayer_OpenVideo", P::Base, A::Base, true },
        { DVBMediaPlayer_CloseVideo, "DVBMediaPlayer_CloseVideo", P::Base, A::Base, true },
        { DVBMediaPlayer_SetDisplayWindow, "DVBMediaPlayer_SetDisplayWindow", P::Base, A::Base, true },
        { ProgrammeCommand_GetProgrammeInfo, "ProgrammeCommand_GetProgrammeInfo", P::Base, A::ProgramInfo, true },
        { VideoBroadcastElementEvent_ReleaseVideoControl, "VideoBroadcastElementEvent_ReleaseVideoControl", P::Base,
            A::Base, true },
        { PVRCommand_ScheduleRecordingByTime, "PVRCommand_ScheduleRecordingByTime", P::Base, A::Base, true },
        { PVRCommand_RemoveScheduledRecording, "PVRCommand_RemoveScheduledRecording", P::Base, A::Base, true },
        { PVRCommand_GetScheduledRecordings, "PVRCommand_GetScheduledRecordings", P::Base, A::Base, true },
        { RecordingCommand_GetPvrStartPadding, "RecordingCommand_GetPvrStartPadding", P::Base, A::Base, true },
        { RecordingCommand_GetPvrEndPadding, "RecordingCommand_GetPvrEndPadding", P::Base, A::Base, true },
        { Recordingcommand_CanScheduleRecordings, "Recordingcommand_CanScheduleRecordings", P::WithStrParams, A::Base,
            true },
        { APMCommand_ApplicationsDestroied, "APMCommand_ApplicationsDestroied", P::Base, A::Base, true },
        { LocalSystem_GetVendorName, "LocalSystem_GetVendorName", P::Base, A::Base, true },
        { LocalSystem_GetModelName, "LocalSystem_GetModelName", P::Base, A::Base, true },
        { LocalSystem_GetSoftwareVersion, "LocalSystem_GetSoftwareVersion", P::Base, A::Base, true },
        { LocalSystem_GetHardwareVersion, "LocalSystem_GetHardwareVersion", P::Base, A::Base, true },
        { LocalSystem_GetSerialNumber, "LocalSystem_GetSerialNumber", P::Base, A::Base, true },
        { MMPlayerCommand_CheckIsResourceAvailable, "MMPlayerCommand_CheckIsResourceAvailable", P::Base, A::Base,
            true },
        { SystemMisc_SetAudioVolume, "SystemMisc_SetAudioVolume", P::Base, A::Base, true },
        { SystemMisc_GetAudioVolume, "SystemMisc_GetAudioVolume", P::Base, A::Base, true },
        { DVBMediaPlayer_IsPvrEnabledCountry, "DVBMediaPlayer_IsPvrEnabledCountry", P::Base, A::Base, true },
        { ProgrammeCommand_GetAllProgrammeInfo, "ProgrammeCommand_GetAllProgrammeInfo", P::WithStrParams, A::Base,
            true },
        { ProgrammeCommand_GetSIDescriptors, "ProgrammeCommand_GetSIDescriptors", P::WithStrParams, A::Base, true },
        { ConfigCommand_GetAudioDescription, "ConfigCommand_GetAudioDescription", P::WithStrParams, A::Base, true },
        { PVRCommand_ScheduleRecording, "PVRCommand_ScheduleRecording", P::WithStrParams, A::Base, false },
        { PVRCommand_GetRecordings, "PVRCommand_GetRecordings", P::WithStrParams, A::Base, false },
        { PVRCommand_RemoveRecording, "PVRCommand_RemoveRecording", P::WithStrParams, A::Base, false },
        { ReminderCommand_IsReminderSupported, "ReminderCommand_IsReminderSupported", P::WithStrParams, A::Base,
            false },
        { ReminderCommand_CanScheduleReminders, "ReminderCommand_CanScheduleReminders", P::WithStrParams, A::Base,
            false },
        { ReminderCommand_ScheduleReminder, "ReminderCommand_ScheduleReminder", P::WithStrParams, A::Base, false },
        { ReminderCommand_RemoveReminder, "ReminderCommand_RemoveReminder", P::WithStrParams, A::Base, false },
        { ReminderCommand_GetReminders, "ReminderCommand_GetReminders", P::WithStrParams, A::Base, false },
    };
    for (const HbbtvBackendCommandInfo& info : kCatalogue) {
        if (info.command == command) {
            return &info;
        }
    }
    return nullptr;
}

#endif
