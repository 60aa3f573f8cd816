#include "HbbtvBackendGlue.TraceRecords.h"

namespace ZR_HBBTV_Core {
namespace trace {

namespace {

// A record string as the host left it: up to its terminator, never past its capacity.
void text(Line& line, const char* key, const HbbtvRecordString& value)
{
    const std::string terminated = value.terminatedString();
    line.arg(key, terminated.data(), terminated.size());
}

} // namespace

void describe(Line& line, const HbbtvCommandPayload& payload)
{
    line.arg("param1", payload.param1).arg("param2", payload.param2).arg("result", payload.resultAddress != 0);
}

void describe(Line& line, const HbbtvCommandPayloadWithStrParams& payload)
{
    describe(line, static_cast<const HbbtvCommandPayload&>(payload));
    text(line, "str1", payload.strParam1);
    text(line, "str2", payload.strParam2);
}

void describe(Line& line, const HbbtvCommandPayloadWithChannelIDInfo& payload)
{
    describe(line, static_cast<const HbbtvCommandPayloadWithStrParams&>(payload));
    line.arg("byString", payload.byString)
        .arg("channelID1", payload.channelID1)
        .arg("channelID2", payload.channelID2)
        .arg("channelID3", payload.channelID3);
}

void describe(Line& line, const HbbtvCommandPayloadWithLineupPool& payload)
{
    describe(line, static_cast<const HbbtvCommandPayload&>(payload));
}

void describe(Line& line, const HbbtvServiceRequestAnswer& answer)
{
    line.arg("valid", answer.valid)
        .arg("flag", answer.flag)
        .arg("int1", answer.intValue1)
        .arg("int2", answer.intValue2);
    text(line, "str1", answer.strValue1);
    text(line, "str2", answer.strValue2);
}

void describe(Line& line, const HbbtvServiceRequestDvbResourceMountAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    line.arg("refused", answer.refused);
}

void describe(Line& line, const HbbtvServiceRequestChannelsLineupAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    line.arg("lineupWord", answer.lineupWord);
}

void describe(Line& line, const HbbtvServiceRequestChannelInfoAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    const HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo& info = answer.channelInfo;
    line.begin("channel")
        .arg("a", info.channelNumberA)
        .arg("b", info.channelNumberB)
        .arg("c", info.channelNumberC)
        .arg("d", info.channelNumberD)
        .arg("e", info.extraNumberE)
        .arg("f", info.extraNumberF)
        .arg("type", info.channelType)
        .arg("idType", info.idType)
        .arg("inverted", info.invertedFlag)
        .arg("lock", info.lockFlags);
    text(line, "name", info.name);
    line.end();
}

void describe(Line& line, const HbbtvServiceRequestProgramInfoAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    const HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info = answer.programInfo;
    line.begin("programme").arg("time1", info.time1).arg("time2", info.time2);
    text(line, "text1", info.text1);
    text(line, "text2", info.text2);
    text(line, "text3", info.text3);
    text(line, "text4", info.text4);
    line.end();
}

void describe(Line& line, const HbbtvServiceRequestAVInfoAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    line.arg("count", answer.avComponentInfo.count);
}

void describe(Line& line, const AITApps& apps)
{
    line.arg("count", apps.count).arg("apps", static_cast<uint64_t>(apps.apps.size()));
    for (size_t i = 0; i < apps.apps.size(); ++i) {
        const AITApp& app = apps.apps[i];
        line.begin(("app" + std::to_string(i)).c_str())
            .arg("id", app.applicationId)
            .arg("org", app.organisationId)
            .arg("control", app.controlCode)
            .arg("visibility", app.visibility)
            .arg("priority", app.priority)
            .arg("serviceBound", app.serviceBound)
            .arg("name", app.name)
            .arg("location", app.location)
            .arg("transports", static_cast<uint64_t>(app.transports.size()))
            .arg("boundaries", static_cast<uint64_t>(app.boundaries.size()));
        for (size_t t = 0; t < app.transports.size(); ++t) {
            line.arg(("protocol" + std::to_string(t)).c_str(), app.transports[t].protocolId)
                .arg(("base" + std::to_string(t)).c_str(), app.transports[t].baseUrl);
        }
        for (size_t b = 0; b < app.boundaries.size(); ++b) {
            line.arg(("boundary" + std::to_string(b)).c_str(), app.boundaries[b]);
        }
        line.end();
    }
}

const char* outcomeName(BackendRequestResult outcome)
{
    switch (outcome) {
    case RequestAnswered: return "answered";
    case RequestGivenUp: return "given up";
    case RequestRefused: return "refused";
    }
    return "unknown";
}

} // namespace trace
} // namespace ZR_HBBTV_Core
