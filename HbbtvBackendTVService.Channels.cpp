// Tuning and channels: the host's channel records translated for the browser, tune and bind,
// the current channel, the channel lineup read from the channel-list pool, suspend and resume,
// live-in, the channel-manager notifications and the owned copy of a channel handed in for tuning.
#include <errno.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.Util.h"
#include "HbbtvBackendTVService.h"
#include "plx_scope_lock.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

// The fields of the channel a request names, in its trace line.
namespace channelField = trace::format::channel;

const char kSourceName[] = "HbbtvBackendTVService";

typedef HbbtvServiceRequestChannelInfoAnswer::HbbtvIDType HostIDType;
typedef HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo HostChannelInfo;

// What BackendGlueStringBase keeps of an assigned text.
const uint32_t kRecordTextLimit = 254;
// The channels of a lineup that a trace line carries, the host's and the browser's: enough for a
// replay to give a lineup back and compare what became of it, small enough for one line. The
// counts say how many there were.
const uint32_t kTracedChannels = 64;

NCOR::Broadcast::ChannelType channelTypeOf(uint32_t hostType)
{
    return hostType == 0 || hostType == 1 ? static_cast<NCOR::Broadcast::ChannelType>(hostType)
                                          : NCOR::Broadcast::TYPE_OTHER;
}

// Keyed by the host's plain number: a host word outside the enumeration must not become a value
// of it.
std::map<uint32_t, NCOR::Broadcast::ChannelIDType> idTypeTable()
{
    return map_list_of<uint32_t, NCOR::Broadcast::ChannelIDType>(HbbtvServiceRequestChannelInfoAnswer::ID_ANALOG,
        NCOR::Broadcast::ID_ANALOG)(HbbtvServiceRequestChannelInfoAnswer::ID_DVB_C, NCOR::Broadcast::ID_DVB_C)(
        HbbtvServiceRequestChannelInfoAnswer::ID_DVB_S, NCOR::Broadcast::ID_DVB_S)(
        HbbtvServiceRequestChannelInfoAnswer::ID_DVB_T, NCOR::Broadcast::ID_DVB_T)(
        HbbtvServiceRequestChannelInfoAnswer::ID_DVB_SI_DIRECT, NCOR::Broadcast::ID_DVB_SI_DIRECT)(
        HbbtvServiceRequestChannelInfoAnswer::ID_DVB_C2, NCOR::Broadcast::ID_DVB_C2)(
        HbbtvServiceRequestChannelInfoAnswer::ID_DVB_S2, NCOR::Broadcast::ID_DVB_S2)(
        HbbtvServiceRequestChannelInfoAnswer::ID_DVB_T2, NCOR::Broadcast::ID_DVB_T2)(
        HbbtvServiceRequestChannelInfoAnswer::ID_ISDB_C, NCOR::Broadcast::ID_ISDB_C)(
        HbbtvServiceRequestChannelInfoAnswer::ID_ISDB_S, NCOR::Broadcast::ID_ISDB_S)(
        HbbtvServiceRequestChannelInfoAnswer::ID_ISDB_T, NCOR::Broadcast::ID_ISDB_T)(
        HbbtvServiceRequestChannelInfoAnswer::ID_ATSC_T, NCOR::Broadcast::ID_ATSC_T)(
        HbbtvServiceRequestChannelInfoAnswer::ID_IPTV_SDS, NCOR::Broadcast::ID_IPTV_SDS)(
        HbbtvServiceRequestChannelInfoAnswer::ID_IPTV_URI, NCOR::Broadcast::ID_IPTV_URI);
}

const std::map<uint32_t, NCOR::Broadcast::ChannelIDType>& theIdTypeTable()
{
    static const std::map<uint32_t, NCOR::Broadcast::ChannelIDType> table = idTypeTable();
    return table;
}

// A channel name in the pool's string area: NUL-terminated, at most 254 characters, and never
// read past the end of the area, wherever the host's offset points.
std::string lineupName(const char* strings, size_t stringsSize, uint32_t nameOffset, uint32_t index)
{
    size_t length = 0;
    if (!HbbtvChannelListLayout::nameLength(strings, stringsSize, nameOffset, kRecordTextLimit, &length)) {
        printf("\e[0;32;31m[ERR][HbbTV-???]getChannelList: channel %u name offset %u outside the string area (%u), "
               "name left empty\e[0m\n",
            index, nameOffset, static_cast<unsigned int>(stringsSize));
        return std::string();
    }
    std::string name(length, '\0');
    HbbtvChannelListLayout::copyShared(&name[0], strings + nameOffset, length);
    return name;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Host texts.

std::string hostStoredText(const HbbtvRecordString& text, const char* what)
{
    const uint32_t length = text.length();
    if (length > kRecordTextLimit) {
        printf("\e[0;32;31m[ERR][HbbTV-???]%s: host text length %u past the record's %u characters, cut\e[0m\n", what,
            length, kRecordTextLimit);
        return std::string(text.c_str(), kRecordTextLimit);
    }
    return text.storedLengthString();
}

std::string hostTerminatedText(const HbbtvRecordString& text)
{
    return text.terminatedString();
}

// ---------------------------------------------------------------------------------------------
// Channel translation.

NCOR::Broadcast::ChannelIDType TranslateChannelData::HbbtvIDType2InteralIDType(HostIDType type)
{
    return hostIDType(static_cast<uint32_t>(type));
}

NCOR::Broadcast::ChannelIDType TranslateChannelData::hostIDType(uint32_t value)
{
    const std::map<uint32_t, NCOR::Broadcast::ChannelIDType>& table = theIdTypeTable();
    const std::map<uint32_t, NCOR::Broadcast::ChannelIDType>::const_iterator found = table.find(value);
    return found != table.end() ? found->second : NCOR::Broadcast::ID_ANALOG;
}

// The record derives its identifier from its numbers, type and name: it is refreshed after each
// of them changes, not once at the end.
void TranslateChannelData::operator()(HostChannelInfo& info, NCOR::ChannelTunerData& channel)
{
    channel.setChannelType(channelTypeOf(info.channelType));
    channel.setOnid(info.channelNumberB);
    channel.autoUpdateChannelID();
    channel.setSid(info.channelNumberA);
    channel.autoUpdateChannelID();
    channel.setMajorChannel(info.channelNumberD);
    channel.autoUpdateChannelID();
    channel.setIdType(hostIDType(info.idType));
    channel.autoUpdateChannelID();
    channel.setAuthorised((info.invertedFlag & 1) == 0);
    channel.setName(hostStoredText(info.name, "channel name"));
    channel.autoUpdateChannelID();
    channel.setLocked((info.lockFlags & 1) != 0);
    channel.setChannelIndex(info.extraNumberE);
    channel.setListID(info.extraNumberF);
}

NCOR::ChannelTunerData HbbtvBackendTVService::transformHbbtvChannelInfo2ChannelTunerData(HostChannelInfo info)
{
    const std::map<uint32_t, NCOR::Broadcast::ChannelIDType>& table = theIdTypeTable();

    NCOR::ChannelTunerData channel;
    channel.setChannelType(channelTypeOf(info.channelType));
    channel.setOnid(info.channelNumberB);
    channel.autoUpdateChannelID();
    channel.setTsid(info.channelNumberC);
    channel.autoUpdateChannelID();
    channel.setSid(info.channelNumberA);
    channel.autoUpdateChannelID();
    channel.setMajorChannel(info.channelNumberD);
    channel.autoUpdateChannelID();
    channel.setName(hostStoredText(info.name, "channel name"));
    channel.autoUpdateChannelID();
    const bool locked = (info.lockFlags & 1) != 0;
    channel.setLocked(locked);
    channel.setChannelIndex(info.extraNumberE);
    channel.setListID(info.extraNumberF);
    if (locked) {
        printf("\e[31m<<***** Channel %d IsLocked ***** %s %s >>%d \e[m\r\n", info.channelNumberD, kSourceName,
            "transformHbbtvChannelInfo2ChannelTunerData", 1361);
    }
    const std::map<uint32_t, NCOR::Broadcast::ChannelIDType>::const_iterator found = table.find(info.idType);
    if (found == table.end()) {
        printf("\e[0;32;31m[ERR][HbbTV-???]%s %s %d\e[0m\n", kSourceName, "transformHbbtvChannelInfo2ChannelTunerData",
            1370);
        printf("\e[0;32;31m[ERR][HbbTV-???]Undefine HbbtvIDType Type\e[0m\n");
        channel.setIdType(NCOR::Broadcast::ID_ANALOG);
    } else {
        channel.setIdType(found->second);
    }
    channel.autoUpdateChannelID();
    return channel;
}

NCOR::Broadcast::PlayStateError HbbtvBackendTVService::transformHbbtvTunerState2PlayStateError(HbbtvTunerState state)
{
    static const std::map<HbbtvTunerState, NCOR::Broadcast::PlayStateError> table
        = map_list_of<HbbtvTunerState, NCOR::Broadcast::PlayStateError>(
            HbbtvTunerState_CannotTune, NCOR::Broadcast::PLAY_ERROR_CANNOT_TUNE)(HbbtvTunerState_CannotChangeChannel,
            NCOR::Broadcast::PLAY_ERROR_CANNOT_CHANGE_CHANNEL)(HbbtvTunerState_Tuned, NCOR::Broadcast::PLAY_ERROR_NONE);
    const std::map<HbbtvTunerState, NCOR::Broadcast::PlayStateError>::const_iterator found = table.find(state);
    if (found == table.end()) {
        printf(
            "\e[0;32;31m[ERR][HbbTV-???]%s %s %d\e[0m\n", kSourceName, "transformHbbtvTunerState2PlayStateError", 1428);
        printf("\e[0;32;31m[ERR][HbbTV-???]Undefine HbbtvTunerState Type\e[0m\n");
        return NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    }
    return found->second;
}

// ---------------------------------------------------------------------------------------------
// Tuning. The first, second and third channel numbers of a tune are sid, onid and the major
// channel number; the first two are -1 when unknown.

NCOR::Broadcast::PlayStateError HbbtvBackendTVService::tune(const NCOR::ChannelTunerData& channel)
{
    if (trace::on()) trace::Line(trace::kind::request, "tune").arg(channelField::idType, channel.getIdType()).arg(channelField::onid, channel.getOnid()).arg(channelField::sid, channel.getSid()).arg(channelField::major, channel.getMajorChannel()).arg(channelField::ipBroadcastID, channel.getIpBroadcastID());
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayloadWithChannelIDInfo> payload;
    if (!channel.getIpBroadcastID().empty() && channel.getSid() == -1 && channel.getOnid() == -1) {
        const HbbtvRecordString text(channel.getIpBroadcastID().c_str());
        payload.reset(new HbbtvCommandPayloadWithChannelIDInfo(TunerCommand_TuneTo, text, channel.getMajorChannel()));
    } else {
        payload.reset(new HbbtvCommandPayloadWithChannelIDInfo(
            TunerCommand_TuneTo, channel.getSid(), channel.getOnid(), channel.getMajorChannel()));
    }
    sendServiceRequest(payload, answer);
    if (trace::on()) trace::Line(trace::kind::reply, "tune").arg("result", answer->intValue1);
    // Not checked for validity: a request that was not answered reports 0, as the answer was made.
    return static_cast<NCOR::Broadcast::PlayStateError>(answer->intValue1);
}

NCOR::Broadcast::PlayStateError HbbtvBackendTVService::bindToCurrentChannel(const NCOR::ChannelTunerData& channel)
{
    if (trace::on()) trace::Line(trace::kind::request, "bindToCurrentChannel").arg(channelField::idType, channel.getIdType()).arg(channelField::onid, channel.getOnid()).arg(channelField::sid, channel.getSid()).arg(channelField::major, channel.getMajorChannel()).arg(channelField::ipBroadcastID, channel.getIpBroadcastID());
    plx_scope_lock lock(&m_tvSericeMutex,
        "virtual NCOR::Broadcast::PlayStateError "
        "ZR_HBBTV_Core::HbbtvBackendTVService::bindToCurrentChannel(const NCOR::ChannelTunerData&)",
        514);
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayloadWithChannelIDInfo> payload(new HbbtvCommandPayloadWithChannelIDInfo(
        TunerCommand_Bind2CurrentChannel, channel.getSid(), channel.getOnid(), channel.getMajorChannel()));
    sendServiceRequest(payload, answer);
    if (trace::on()) trace::Line(trace::kind::reply, "bindToCurrentChannel").arg("result", answer->intValue1);
    return static_cast<NCOR::Broadcast::PlayStateError>(answer->intValue1);
}

bool HbbtvBackendTVService::getCurrentChannel(NCOR::ChannelTunerData& channel)
{
    if (trace::on()) trace::Line(trace::kind::request, "getCurrentChannel");
    std::unique_ptr<HbbtvServiceRequestChannelInfoAnswer> answer(new HbbtvServiceRequestChannelInfoAnswer());
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(TunerCommand_GetCurrentChannelInfo));
    sendServiceRequest(payload, answer);
    if (answer->valid == 0) {
        return false;
    }
    TranslateChannelData()(answer->channelInfo, channel);
    if (trace::on()) trace::Line(trace::kind::reply, "getCurrentChannel").arg("onid", channel.getOnid()).arg("sid", channel.getSid()).arg("name", channel.getName());
    return true;
}

bool HbbtvBackendTVService::getChannelList(std::vector<NCOR::ChannelTunerData*>& channels)
{
    if (trace::on()) trace::Line(trace::kind::request, "getChannelList");
    HbbtvChannelListPool* const pool = hbbtvBackendChannelListPool();
    if (pool == nullptr) {
        return false;
    }
    std::unique_ptr<HbbtvServiceRequestChannelsLineupAnswer> answer(new HbbtvServiceRequestChannelsLineupAnswer());
    std::unique_ptr<HbbtvCommandPayloadWithLineupPool> payload(
        new HbbtvCommandPayloadWithLineupPool(TunerCommand_RequestChannelsLineup, toWireAddress(pool)));
    sendServiceRequest(payload, answer);
    if (answer->valid == 0) {
        return false;
    }

    // The entry table and the string area are found from the pool's own position, never from the
    // words the host could have overwritten; the table takes the first half of the data area.
    // Fetching the pool again rewrites its area size, whatever the host left there.
    const HbbtvChannelListLayout layout(__atomic_load_n(&hbbtvBackendChannelListPool()->areaSize, __ATOMIC_RELAXED));
    const unsigned char* const poolStart = reinterpret_cast<const unsigned char*>(pool);
    const unsigned char* const entries = poolStart + layout.entriesOffset();
    const char* const strings = reinterpret_cast<const char*>(poolStart + layout.stringsOffset());
    const size_t stringsSize = layout.stringsSize();
    // The same words from every caller, but callers may write them at once.
    __atomic_store_n(&pool->entriesAddress, toWireAddress(entries), __ATOMIC_RELAXED);
    __atomic_store_n(&pool->stringsAddress, toWireAddress(strings), __ATOMIC_RELAXED);

    const uint32_t hostCount = __atomic_load_n(&pool->count, __ATOMIC_RELAXED);
    uint32_t count = hostCount;
    const uint32_t capacity = layout.capacity();
    if (count > capacity) {
        printf("\e[0;32;31m[ERR][HbbTV-???]getChannelList: host count %u past the pool's %u entries, cut\e[0m\n", count,
            capacity);
        count = capacity;
    }
    // {"kind":"hostdata","name":"lineup"}: the entries as the host wrote them.
    namespace hostdata = trace::format::hostdata;
    namespace field = trace::format::lineupEntry;
    std::unique_ptr<trace::Line> hostLineup;
    if (trace::on()) {
        hostLineup.reset(new trace::Line(trace::kind::hostdata, hostdata::lineup));
        hostLineup->arg(hostdata::count, hostCount)
            .arg(hostdata::recorded, count < kTracedChannels ? count : kTracedChannels);
    }
    for (uint32_t i = 0; i < count; ++i) {
        HbbtvChannelListEntry entry;
        HbbtvChannelListLayout::copyShared(&entry, entries + sizeof(HbbtvChannelListEntry) * i, sizeof(entry));
        const std::string name = lineupName(strings, stringsSize, entry.nameOffset, i);
        if (hostLineup != nullptr && i < kTracedChannels) {
            hostLineup->begin(trace::format::numbered(hostdata::channelStem, i).c_str())
                .arg(field::id1, entry.channelID1)
                .arg(field::id2, entry.channelID2)
                .arg(field::id3, entry.channelID3)
                .arg(field::type, entry.channelType)
                .arg(field::idType, entry.idType)
                .arg(field::flagA, entry.flagA)
                .arg(field::numberA, entry.numberA)
                .arg(field::numberB, entry.numberB)
                .arg(field::flagB, entry.flagB)
                .arg(field::name, name)
                .end();
        }

        NCOR::ChannelTunerData* const channel = new (std::nothrow) NCOR::ChannelTunerData();
        if (channel == nullptr) {
            HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 408);
        }
        channel->setChannelType(channelTypeOf(entry.channelType));
        channel->autoUpdateChannelID();
        channel->setOnid(entry.channelID2);
        channel->autoUpdateChannelID();
        channel->setSid(entry.channelID1);
        channel->autoUpdateChannelID();
        channel->setMajorChannel(entry.channelID3);
        channel->autoUpdateChannelID();
        channel->setIdType(TranslateChannelData::hostIDType(entry.idType));
        channel->autoUpdateChannelID();
        // The host's flag says "not authorised": inverted on purpose.
        channel->setAuthorised(entry.flagA == 0);
        channel->setName(name);
        channel->autoUpdateChannelID();
        channel->setLocked(entry.flagB != 0);
        channel->setListID(entry.numberB);
        channel->setChannelIndex(entry.numberA);
        channels.push_back(channel);
    }
    hostLineup.reset();
    if (trace::on()) {
        trace::Line line(trace::kind::reply, "getChannelList");
        line.arg("channels", channels.size()).arg("hostCount", hostCount);
        for (size_t i = 0; i < channels.size() && i < kTracedChannels; ++i) {
            const NCOR::ChannelTunerData& channel = *channels[i];
            line.begin(("ch" + std::to_string(i)).c_str())
                .arg("type", channel.getChannelType())
                .arg("idType", channel.getIdType())
                .arg("onid", channel.getOnid())
                .arg("sid", channel.getSid())
                .arg("major", channel.getMajorChannel())
                .arg("ccid", channel.getChannelID())
                .arg("name", channel.getName())
                .arg("authorised", channel.isAuthorised())
                .arg("locked", channel.isLocked())
                .arg("list", channel.getListID())
                .arg("index", channel.getChannelIndex())
                .end();
        }
    }
    return true;
}

void HbbtvBackendTVService::suspendBroadcastService()
{
    if (trace::on()) trace::Line(trace::kind::request, "suspendBroadcastService");
    sendPlainCommand(TunerCommand_SuspendTuner);
}

void HbbtvBackendTVService::resumeBroadcastService()
{
    if (trace::on()) trace::Line(trace::kind::request, "resumeBroadcastService");
    sendPlainCommand(TunerCommand_ResumeTuner);
}

bool HbbtvBackendTVService::isBroadcastServiceSuspended()
{
    return false;
}

void HbbtvBackendTVService::leaveLiveIn()
{
    if (trace::on()) trace::Line(trace::kind::request, "leaveLiveIn");
    sendPlainCommand(TunerCommand_ExitLiveIn);
}

void HbbtvBackendTVService::returnLiveIn()
{
    if (trace::on()) trace::Line(trace::kind::request, "returnLiveIn");
    sendPlainCommand(TunerCommand_ReturnLiveIn);
}

void HbbtvBackendTVService::getSupportedChannelIDType(std::vector<NCOR::Broadcast::ChannelIDType>& types)
{
    types.push_back(NCOR::Broadcast::ID_DVB_C);
    types.push_back(NCOR::Broadcast::ID_DVB_S);
    types.push_back(NCOR::Broadcast::ID_DVB_T);
    types.push_back(NCOR::Broadcast::ID_DVB_SI_DIRECT);
    types.push_back(NCOR::Broadcast::ID_DVB_C2);
    types.push_back(NCOR::Broadcast::ID_DVB_S2);
    types.push_back(NCOR::Broadcast::ID_DVB_T2);
}

// ---------------------------------------------------------------------------------------------
// Channel-manager notifications.

void HbbtvBackendTVService::notifyChannelModified(const NCOR::ChannelTunerData& channel)
{
    printf("\e[0;32;32m[MSG][HbbTV-APM]%s pass in\e[0m\n", "notifyChannelModified");
    const android::sp<IChannelManagerClient> client = channelManagerClient();
    if (client == nullptr) {
        printf("\e[0;32;31m[ERR][HbbTV-SYS]%s %s %d\e[0m\n", kSourceName, "notifyChannelModified", 1876);
        printf("\e[0;32;31m[ERR][HbbTV-SYS]m_channelManagerClient is null point\e[0m\n");
        return;
    }
    client->channelModified(channel);
    printf("\e[0;32;32m[MSG][HbbTV-APM]%s pass out\e[0m\n", "notifyChannelModified");
}

void HbbtvBackendTVService::notifyAccessToBroadcastResources(bool granted)
{
    printf("\e[0;32;32m[MSG][HbbTV-APM]%s pass in\e[0m\n", "notifyAccessToBroadcastResources");
    const android::sp<IChannelManagerClient> client = channelManagerClient();
    if (client == nullptr) {
        printf("\e[0;32;31m[ERR][HbbTV-SYS]%s %s %d\e[0m\n", kSourceName, "notifyAccessToBroadcastResources", 1892);
        printf("\e[0;32;31m[ERR][HbbTV-SYS]m_channelManagerClient is null point\e[0m\n");
        return;
    }
    client->accessToBroadcastResources(granted);
    printf("\e[0;32;32m[MSG][HbbTV-APM]%s pass out\e[0m\n", "notifyAccessToBroadcastResources");
}

void HbbtvBackendTVService::notifyChannelAdded(const NCOR::ChannelTunerData&)
{
    logNotImplemented("notifyChannelAdded", 1906);
}

void HbbtvBackendTVService::notifyChannelRemoved(const NCOR::ChannelTunerData&)
{
    logNotImplemented("notifyChannelRemoved", 1913);
}

// ---------------------------------------------------------------------------------------------
// The owned channel copy. Unguarded: its users call it from one thread at a time.

void HbbtvBackendTVService::CopyDataToChannelTunerData(const NCOR::ChannelTunerData& channel)
{
    // A previous copy is the caller's to destroy first.
    m_ChannelTunerDataObj = new NCOR::ChannelTunerData();
    *m_ChannelTunerDataObj = channel;
}

NCOR::ChannelTunerData HbbtvBackendTVService::GetChannelTunerDataInstance()
{
    printf("HBBTV : %s, %d\n", "GetChannelTunerDataInstance", 354);
    if (m_ChannelTunerDataObj == nullptr) {
        // The assertion of the C library, kept also where assertions are compiled out.
        fflush(stdout);
        fprintf(stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name, kSourceName, 355u,
            __PRETTY_FUNCTION__, "m_ChannelTunerDataObj");
        abort();
    }
    return *m_ChannelTunerDataObj;
}

void HbbtvBackendTVService::DestroyChannelTunerData()
{
    if (m_ChannelTunerDataObj != nullptr) {
        delete m_ChannelTunerDataObj;
        m_ChannelTunerDataObj = nullptr;
    }
}

bool HbbtvBackendTVService::CheckTuneChannelType()
{
    return m_ChannelTunerDataObj != nullptr;
}

} // namespace ZR_HBBTV_Core
