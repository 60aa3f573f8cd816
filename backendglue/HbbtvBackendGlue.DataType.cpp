// Command names, the shared records' constructors and their class-level allocation.
#include "HbbtvBackendRecords.h"

#include <new>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.Util.h"

using ZR_HBBTV_Core::HbbtvBackendGlue_AssertFail;

namespace {

const char kSourceFile[] = "./backendglue/HbbtvBackendGlue.DataType.cpp";

} // namespace

const char* convertBackendCommandToString(int command)
{
    switch (command) {
    case TunerCommand_AddStreamEvent: return "TunerCommand_AddStreamEvent";
    case TunerCommand_RemoveAllStreamEvent: return "TunerCommand_RemoveAllStreamEvent";
    case TunerCommand_SelectAVComponent: return "TunerCommand_SelectAVComponent";
    case TunerCommand_UnselectAVComponent: return "TunerCommand_UnselectAVComponent";
    case TunerCommand_GetAVInfo: return "TunerCommand_GetAVInfo";
    case TunerCommand_TuneTo: return "TunerCommand_TuneTo";
    case TunerCommand_GetCurrentChannelInfo: return "TunerCommand_GetCurrentChannelInfo";
    case TunerCommand_ExitLiveIn: return "TunerCommand_ExitLiveIn";
    case TunerCommand_ReturnLiveIn: return "TunerCommand_ReturnLiveIn";
    case TunerCommand_SuspendTuner: return "TunerCommand_SuspendTuner";
    case TunerCommand_ResumeTuner: return "TunerCommand_ResumeTuner";
    case TunerCommand_StartNewApplication: return "TunerCommand_StartNewApplication";
    case TunerCommand_RequestChannelsLineup: return "TunerCommand_RequestChannelsLineup";
    case TunerCommand_Bind2CurrentChannel: return "TunerCommand_Bind2CurrentChannel";
    case ConfigCommand_GetCountryID: return "ConfigCommand_GetCountryID";
    case ConfigCommand_GetSubtitleLanguage: return "ConfigCommand_GetSubtitleLanguage";
    case ConfigCommand_GetAudioLanguage: return "ConfigCommand_GetAudioLanguage";
    case ConfigCommand_GetParental: return "ConfigCommand_GetParental";
    case ConfigCommand_GetParentalControlPINEnable: return "ConfigCommand_GetParentalControlPINEnable";
    case ConfigCommand_VerifyParentalControlPIN: return "ConfigCommand_VerifyParentalControlPIN";
    case ConfigCommand_GetPvrPaddings: return "ConfigCommand_GetPvrPaddings";
    case CapabilitiesCommand_IsPvrSupported: return "CapabilitiesCommand_IsPvrSupported";
    case ConfigCommand_SetPvrPaddings: return "ConfigCommand_SetPvrPaddings";
    case DSMCC_DVBURL_GetFile: return "DSMCC_DVBURL_GetFile";
    case DSMCC_DVBURL_GetFile_NoWait: return "DSMCC_DVBURL_GetFile_NoWait";
    case DVBMediaPlayer_OpenVideo: return "DVBMediaPlayer_OpenVideo";
    case DVBMediaPlayer_CloseVideo: return "DVBMediaPlayer_CloseVideo";
    case DVBMediaPlayer_SetDisplayWindow: return "DVBMediaPlayer_SetDisplayWindow";
    case ProgrammeCommand_GetProgrammeInfo: return "ProgrammeCommand_GetProgrammeInfo";
    case VideoBroadcastElementEvent_ReleaseVideoControl: return "VideoBroadcastElementEvent_ReleaseVideoControl";
    case PVRCommand_ScheduleRecordingByTime: return "PVRCommand_ScheduleRecordingByTime";
    case PVRCommand_RemoveScheduledRecording: return "PVRCommand_RemoveScheduledRecording";
    case PVRCommand_GetScheduledRecordings: return "PVRCommand_GetScheduledRecordings";
    case RecordingCommand_GetPvrStartPadding: return "RecordingCommand_GetPvrStartPadding";
    case RecordingCommand_GetPvrEndPadding: return "RecordingCommand_GetPvrEndPadding";
    case Recordingcommand_CanScheduleRecordings: return "Recordingcommand_CanScheduleRecordings";
    case APMCommand_ApplicationsDestroied: return "APMCommand_ApplicationsDestroied";
    case LocalSystem_GetVendorName: return "LocalSystem_GetVendorName";
    case LocalSystem_GetModelName: return "LocalSystem_GetModelName";
    case LocalSystem_GetSoftwareVersion: return "LocalSystem_GetSoftwareVersion";
    case LocalSystem_GetHardwareVersion: return "LocalSystem_GetHardwareVersion";
    case LocalSystem_GetSerialNumber: return "LocalSystem_GetSerialNumber";
    case MMPlayerCommand_CheckIsResourceAvailable: return "MMPlayerCommand_CheckIsResourceAvailable";
    case SystemMisc_SetAudioVolume: return "SystemMisc_SetAudioVolume";
    case SystemMisc_GetAudioVolume: return "SystemMisc_GetAudioVolume";
    case DVBMediaPlayer_IsPvrEnabledCountry: return "DVBMediaPlayer_IsPvrEnabledCountry";
    case ProgrammeCommand_GetAllProgrammeInfo: return "ProgrammeCommand_GetAllProgrammeInfo";
    case ProgrammeCommand_GetSIDescriptors: return "ProgrammeCommand_GetSIDescriptors";
    case ConfigCommand_GetAudioDescription: return "ConfigCommand_GetAudioDescription";
    default: return nullptr;
    }
}

// ---------------------------------------------------------------------------------------------
// Class-level allocation.

// A full region does not stop the middleware: the record comes from the heap, and the request
// that carries it is refused before it reaches the host.
void* ClassOperatorNewDelete::OperatorNew(size_t size)
{
    void* const p = ZR_HBBTV_Core::hbbtvBackendRecordMalloc(size);
    if (p == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 26);
    }
    return p;
}

void ClassOperatorNewDelete::OperatorDel(void* p)
{
    ZR_HBBTV_Core::hbbtvBackendRecordFree(p);
}

void* ClassOperatorNewDelete::OperatorArrayNew(size_t)
{
    HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 47);
}

void ClassOperatorNewDelete::OperatorArrayDel(void*)
{
    HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 53);
}

ClassOperatorNewDelete* getOperatorNewDel()
{
    static ClassOperatorNewDelete instance;
    return &instance;
}

namespace ZR_HBBTV_Core {

uint32_t toWireAddress(const void* p)
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(p);
    if (address > UINT32_MAX) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, __LINE__);
    }
    return static_cast<uint32_t>(address);
}

void* fromWireAddress(uint32_t address)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(address));
}

} // namespace ZR_HBBTV_Core

// ---------------------------------------------------------------------------------------------
// Payloads.

HbbtvCommandPayload::HbbtvCommandPayload(HbbtvBackendCommand command_, int param1_, int param2_)
    : command(command_), param1(param1_), param2(param2_), ticket(0), timeoutMs(kDefaultTimeoutMs),
      resultAddress(0)
{
}

void* HbbtvCommandPayload::operator new(size_t size) noexcept
{
    return getOperatorNewDel()->OperatorNew(size);
}

void HbbtvCommandPayload::operator delete(void* p)
{
    getOperatorNewDel()->OperatorDel(p);
}

void* HbbtvCommandPayload::operator new[](size_t size) noexcept
{
    return getOperatorNewDel()->OperatorArrayNew(size);
}

void HbbtvCommandPayload::operator delete[](void* p)
{
    getOperatorNewDel()->OperatorArrayDel(p);
}

HbbtvCommandPayloadWithStrParams::HbbtvCommandPayloadWithStrParams(HbbtvBackendCommand command_,
                                                                   const HbbtvRecordString& str1,
                                                                   const HbbtvRecordString& str2,
                                                                   int param1_, int param2_)
    : HbbtvCommandPayload(command_, param1_, param2_), strParam1(str1), strParam2(str2)
{
}

std::unique_ptr<HbbtvCommandPayloadWithStrParams>
HbbtvCommandPayloadWithStrParams::create(HbbtvBackendCommand command_, HbbtvRecordString str1,
                                         HbbtvRecordString str2, int param1_, int param2_)
{
    return std::unique_ptr<HbbtvCommandPayloadWithStrParams>(
        new HbbtvCommandPayloadWithStrParams(command_, str1, str2, param1_, param2_));
}

HbbtvCommandPayloadWithChannelIDInfo::HbbtvCommandPayloadWithChannelIDInfo(HbbtvBackendCommand command_,
                                                                           int channelID1_,
                                                                           int channelID2_,
                                                                           int channelID3_)
    : HbbtvCommandPayloadWithStrParams(command_, HbbtvRecordString(), HbbtvRecordString(), 0, 0),
      byString(0), channelID1(channelID1_), channelID2(channelID2_), channelID3(channelID3_)
{
}

HbbtvCommandPayloadWithChannelIDInfo::HbbtvCommandPayloadWithChannelIDInfo(HbbtvBackendCommand command_,
                                                                           const HbbtvRecordString& channel,
                                                                           int channelID3_)
    : HbbtvCommandPayloadWithStrParams(command_, channel, HbbtvRecordString(), 0, 0), byString(1),
      channelID1(kChannelIDNotGiven), channelID2(kChannelIDNotGiven), channelID3(channelID3_)
{
}

HbbtvCommandPayloadWithLineupPool::HbbtvCommandPayloadWithLineupPool(HbbtvBackendCommand command_,
                                                                     uint32_t poolAddress_)
    : HbbtvCommandPayload(command_), poolAddress(poolAddress_)
{
}

// ---------------------------------------------------------------------------------------------
// Answers. Blocks are reused as they were left, so every answer clears what the host may read.

HbbtvServiceRequestAnswer::HbbtvServiceRequestAnswer() : valid(0), flag(0), intValue1(0), intValue2(0)
{
}

std::unique_ptr<HbbtvServiceRequestAnswer> HbbtvServiceRequestAnswer::create()
{
    return std::unique_ptr<HbbtvServiceRequestAnswer>(new HbbtvServiceRequestAnswer());
}

void* HbbtvServiceRequestAnswer::operator new(size_t size) noexcept
{
    return getOperatorNewDel()->OperatorNew(size);
}

void HbbtvServiceRequestAnswer::operator delete(void* p)
{
    getOperatorNewDel()->OperatorDel(p);
}

void* HbbtvServiceRequestAnswer::operator new[](size_t size) noexcept
{
    return getOperatorNewDel()->OperatorArrayNew(size);
}

void HbbtvServiceRequestAnswer::operator delete[](void* p)
{
    getOperatorNewDel()->OperatorArrayDel(p);
}

HbbtvServiceRequestDvbResourceMountAnswer::HbbtvServiceRequestDvbResourceMountAnswer() : refused(0)
{
}

HbbtvServiceRequestChannelsLineupAnswer::HbbtvServiceRequestChannelsLineupAnswer() : lineupWord(0)
{
}

HbbtvServiceRequestChannelInfoAnswer::HbbtvServiceRequestChannelInfoAnswer()
{
    memset(static_cast<void*>(&channelInfo), 0, sizeof(channelInfo));
}

std::unique_ptr<HbbtvServiceRequestProgramInfoAnswer> HbbtvServiceRequestProgramInfoAnswer::create()
{
    // Value-initialisation clears the time values and the trailing bytes too; the texts are
    // emptied by their own constructors.
    return std::unique_ptr<HbbtvServiceRequestProgramInfoAnswer>(new HbbtvServiceRequestProgramInfoAnswer());
}

std::unique_ptr<HbbtvServiceRequestAVInfoAnswer> HbbtvServiceRequestAVInfoAnswer::create()
{
    void* block = operator new(sizeof(HbbtvServiceRequestAVInfoAnswer));
    memset(block, 0, sizeof(HbbtvServiceRequestAVInfoAnswer));
    return std::unique_ptr<HbbtvServiceRequestAVInfoAnswer>(::new (block) HbbtvServiceRequestAVInfoAnswer());
}
