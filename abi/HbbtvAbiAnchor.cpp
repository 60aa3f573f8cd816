// Built by scripts/abi-check.sh from the installed boundary headers alone, never delivered. The
// library exports only its two factory functions, so the classes the host implements
// (Hbbtv_TVServer), those the library calls through (HbbtvBackendClientRegister) and the records
// the host reads and writes are not reachable from its exports; this one exported function
// reaches every one of them, so that abidw describes their virtual slots and layouts. A record or
// interface added to the headers gets a parameter here.
#include <HbbtvBackendCommand.h>
#include <HbbtvBackendRecords.h>
#include <HbbtvChannelListPool.h>
#include <HbbtvHostRecords.h>
#include <ZR_HbbtvImplInterface.h>

extern "C" __attribute__((visibility("default"))) void hbbtvAbiAnchor(
    ZR_HBBTV_Core::ZR_HbbtvImplInterface*, Hbbtv_TVServer*, HbbtvBackendClientRegister*, HbbtvBackendCommand,
    HbbtvCommandPayload*, HbbtvCommandPayloadWithStrParams*, HbbtvCommandPayloadWithChannelIDInfo*,
    HbbtvCommandPayloadWithLineupPool*, HbbtvServiceRequestAnswer*, HbbtvServiceRequestDvbResourceMountAnswer*,
    HbbtvServiceRequestChannelsLineupAnswer*, HbbtvServiceRequestChannelInfoAnswer*,
    HbbtvServiceRequestProgramInfoAnswer*, HbbtvServiceRequestAVInfoAnswer*, HbbtvEPGInformation*,
    HbbtvChannelListPool*, HbbtvChannelListEntry*, HbbtvSchedulingRecordingCollectionPool*,
    ZR_HBBTV_Core::AITApps*, HbbtvMultimediaComponentData*)
{
}
