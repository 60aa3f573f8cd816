// The numbers of the backend commands: a contract with the host, which switches on them. Values
// keep their gaps and their spellings exactly as the host knows them.
#ifndef HBBTV_BACKEND_COMMAND_H
#define HBBTV_BACKEND_COMMAND_H

enum HbbtvBackendCommand : int {
    TunerCommand_AddStreamEvent = 0,
    TunerCommand_RemoveStreamEvent = 1,
    TunerCommand_RemoveAllStreamEvent = 2,
    TunerCommand_SelectAVComponent = 3,
    TunerCommand_UnselectAVComponent = 4,
    TunerCommand_GetAVInfo = 5,
    TunerCommand_TuneTo = 6,
    TunerCommand_GetCurrentChannelInfo = 7,
    TunerCommand_ExitLiveIn = 8,
    TunerCommand_ReturnLiveIn = 9,
    TunerCommand_SuspendTuner = 10,
    TunerCommand_ResumeTuner = 11,
    TunerCommand_StartNewApplication = 12,
    TunerCommand_RequestChannelsLineup = 13,
    TunerCommand_Bind2CurrentChannel = 14,

    ConfigCommand_GetCountryID = 100,
    ConfigCommand_GetSubtitleLanguage = 101,
    ConfigCommand_GetAudioLanguage = 102,
    ConfigCommand_GetParental = 103,
    ConfigCommand_GetParentalControlPINEnable = 104,
    ConfigCommand_VerifyParentalControlPIN = 105,
    ConfigCommand_GetPvrPaddings = 106,
    CapabilitiesCommand_IsPvrSupported = 107,
    ConfigCommand_SetPvrPaddings = 108,

    DSMCC_DVBURL_GetFile = 200,
    DSMCC_DVBURL_GetFile_NoWait = 201,

    DVBMediaPlayer_OpenVideo = 300,
    DVBMediaPlayer_CloseVideo = 301,
    DVBMediaPlayer_SetDisplayWindow = 302,

    ProgrammeCommand_GetProgrammeInfo = 400,

    VideoBroadcastElementEvent_ReleaseVideoControl = 500,

    PVRCommand_ScheduleRecordingByTime = 600,
    PVRCommand_RemoveScheduledRecording = 601,
    PVRCommand_GetScheduledRecordings = 602,
    RecordingCommand_GetPvrStartPadding = 603,
    RecordingCommand_GetPvrEndPadding = 604,
    Recordingcommand_CanScheduleRecordings = 605,

    APMCommand_ApplicationsDestroied = 700,

    LocalSystem_GetVendorName = 800,
    LocalSystem_GetModelName = 801,
    LocalSystem_GetSoftwareVersion = 802,
    LocalSystem_GetHardwareVersion = 803,
    LocalSystem_GetSerialNumber = 804,

    MMPlayerCommand_CheckIsResourceAvailable = 900,

    SystemMisc_SetAudioVolume = 1000,
    SystemMisc_GetAudioVolume = 1001,
    DVBMediaPlayer_IsPvrEnabledCountry = 1002,
    ProgrammeCommand_GetAllProgrammeInfo = 1003,
    ProgrammeCommand_GetSIDescriptors = 1004,
    ConfigCommand_GetAudioDescription = 1005,
    PVRCommand_ScheduleRecording = 1006,
    PVRCommand_GetRecordings = 1007,
    PVRCommand_RemoveRecording = 1008,
    // 1009 is unassigned.
    ReminderCommand_IsReminderSupported = 1010,
    ReminderCommand_CanScheduleReminders = 1011,
    ReminderCommand_ScheduleReminder = 1012,
    ReminderCommand_RemoveReminder = 1013,
    ReminderCommand_GetReminders = 1014,
};

// The command's name for log lines, or a null pointer for a value without a name (among them 1
// and 1006-1014, which are sent all the same): log callers hand the result straight to "%s".
const char* convertBackendCommandToString(int command);

#endif
