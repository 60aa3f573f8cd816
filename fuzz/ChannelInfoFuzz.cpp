// The host's channel record (the current channel's answer) through both converters.
#include "FuzzSupport.h"

using namespace ZR_HBBTV_Core;
using hbbtv_fuzz::check;
typedef HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo HostChannelInfo;

namespace {

void checkCommonMembers(const HostChannelInfo& info, const NCOR::ChannelTunerData& channel)
{
    check(channel.getOnid() == info.channelNumberB && channel.getSid() == info.channelNumberA
            && channel.getMajorChannel() == info.channelNumberD,
        "channel numbers B, A and D become onid, sid and the major number");
    check(channel.getChannelIndex() == info.extraNumberE && channel.getListID() == info.extraNumberF,
        "numbers E and F become index and list");
    check(static_cast<unsigned>(channel.getChannelType()) == (info.channelType < 2 ? info.channelType : 2u),
        "channel type 0, 1 or other");
    check(channel.isLocked() == ((info.lockFlags & 1) != 0), "lock flag");
    check(channel.getName().size() <= 254, "the name is at most 254 characters");
    NCOR::ChannelTunerData refreshed = channel;
    refreshed.autoUpdateChannelID();
    check(refreshed.getChannelID() == channel.getChannelID(), "the identifier is refreshed after the last change");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    hbbtv_fuzz::answerBytes.assign(data, data + size);
    HbbtvBackendTVService& service = hbbtv_fuzz::serviceAnswering(TunerCommand_GetCurrentChannelInfo);
    NCOR::ChannelTunerData current;
    current.setTsid(42);
    const bool answered = service.getCurrentChannel(current);
    check(answered == (size > 0 && data[0] != 0), "the channel is read exactly when the answer is valid");
    if (!answered) {
        return 0;
    }
    // The record as the host wrote it, from the bytes after the answer's base.
    alignas(8) unsigned char record[sizeof(HostChannelInfo)];
    const size_t at = sizeof(HbbtvServiceRequestAnswer); // the record follows the base answer
    hbbtv_fuzz::copyInto(record, sizeof(record), data + std::min(at, size), size - std::min(at, size));
    HostChannelInfo& info = *reinterpret_cast<HostChannelInfo*>(record);
    checkCommonMembers(info, current);
    check(current.getTsid() == 42, "the current channel keeps its transport stream id");
    check(current.isAuthorised() == ((info.invertedFlag & 1) == 0), "the inverted flag");

    const NCOR::ChannelTunerData converted = service.transformHbbtvChannelInfo2ChannelTunerData(info);
    checkCommonMembers(info, converted);
    check(converted.getTsid() == info.channelNumberC, "number C becomes the transport stream id");
    check(converted.getIdType() == current.getIdType(), "both converters map the identifier type alike");
    return 0;
}
