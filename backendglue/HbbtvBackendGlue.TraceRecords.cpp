#include "HbbtvBackendGlue.TraceRecords.h"

namespace ZR_HBBTV_Core {
namespace trace {

namespace {

namespace payloadField = format::payload;
namespace answerField = format::answer;

// A record string as the host left it: up to its terminator, never past its capacity.
void text(Line& line, const char* key, const HbbtvRecordString& value)
{
    const std::string terminated = value.terminatedString();
    line.arg(key, terminated.data(), terminated.size());
}

} // namespace

void describe(Line& line, const HbbtvCommandPayload& payload)
{
    line.arg(payloadField::param1, payload.param1)
        .arg(payloadField::param2, payload.param2)
        .arg(payloadField::result, payload.resultAddress != 0);
}

void describe(Line& line, const HbbtvCommandPayloadWithStrParams& payload)
{
    describe(line, static_cast<const HbbtvCommandPayload&>(payload));
    text(line, payloadField::str1, payload.strParam1);
    text(line, payloadField::str2, payload.strParam2);
}

void describe(Line& line, const HbbtvCommandPayloadWithChannelIDInfo& payload)
{
    describe(line, static_cast<const HbbtvCommandPayloadWithStrParams&>(payload));
    line.arg(payloadField::byString, payload.byString)
        .arg(payloadField::channelID1, payload.channelID1)
        .arg(payloadField::channelID2, payload.channelID2)
        .arg(payloadField::channelID3, payload.channelID3);
}

void describe(Line& line, const HbbtvCommandPayloadWithLineupPool& payload)
{
    describe(line, static_cast<const HbbtvCommandPayload&>(payload));
}

void describe(Line& line, const HbbtvServiceRequestAnswer& answer)
{
    line.arg(answerField::valid, answer.valid)
        .arg(answerField::flag, answer.flag)
        .arg(answerField::int1, answer.intValue1)
        .arg(answerField::int2, answer.intValue2);
    text(line, answerField::str1, answer.strValue1);
    text(line, answerField::str2, answer.strValue2);
}

void describe(Line& line, const HbbtvServiceRequestDvbResourceMountAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    line.arg(answerField::refused, answer.refused);
}

void describe(Line& line, const HbbtvServiceRequestChannelsLineupAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    line.arg(answerField::lineupWord, answer.lineupWord);
}

void describe(Line& line, const HbbtvServiceRequestChannelInfoAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    const HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo& info = answer.channelInfo;
    namespace field = format::channelInfo;
    line.begin(answerField::channel)
        .arg(field::numberA, info.channelNumberA)
        .arg(field::numberB, info.channelNumberB)
        .arg(field::numberC, info.channelNumberC)
        .arg(field::numberD, info.channelNumberD)
        .arg(field::extraE, info.extraNumberE)
        .arg(field::extraF, info.extraNumberF)
        .arg(field::type, info.channelType)
        .arg(field::idType, info.idType)
        .arg(field::inverted, info.invertedFlag)
        .arg(field::lock, info.lockFlags);
    text(line, field::name, info.name);
    line.end();
}

void describe(Line& line, const HbbtvServiceRequestProgramInfoAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    const HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo& info = answer.programInfo;
    namespace field = format::programmeInfo;
    line.begin(answerField::programme).arg(field::time1, info.time1).arg(field::time2, info.time2);
    text(line, field::text1, info.text1);
    text(line, field::text2, info.text2);
    text(line, field::text3, info.text3);
    text(line, field::text4, info.text4);
    line.end();
}

void describe(Line& line, const HbbtvServiceRequestAVInfoAnswer& answer)
{
    describe(line, static_cast<const HbbtvServiceRequestAnswer&>(answer));
    line.arg(answerField::componentCount, answer.avComponentInfo.count);
}

void describe(Line& line, const AITApps& apps)
{
    namespace field = format::aitApp;
    line.arg(format::ait::count, apps.count).arg(format::ait::apps, static_cast<uint64_t>(apps.apps.size()));
    for (size_t i = 0; i < apps.apps.size(); ++i) {
        const AITApp& app = apps.apps[i];
        line.begin(format::numbered(format::ait::appStem, i).c_str())
            .arg(field::id, app.applicationId)
            .arg(field::organisation, app.organisationId)
            .arg(field::control, app.controlCode)
            .arg(field::visibility, app.visibility)
            .arg(field::priority, app.priority)
            .arg(field::serviceBound, app.serviceBound)
            .arg(field::name, app.name)
            .arg(field::location, app.location)
            .arg(field::transports, static_cast<uint64_t>(app.transports.size()))
            .arg(field::boundaries, static_cast<uint64_t>(app.boundaries.size()));
        for (size_t t = 0; t < app.transports.size(); ++t) {
            line.arg(format::numbered(field::protocolStem, t).c_str(), app.transports[t].protocolId)
                .arg(format::numbered(field::baseStem, t).c_str(), app.transports[t].baseUrl);
        }
        for (size_t b = 0; b < app.boundaries.size(); ++b) {
            line.arg(format::numbered(field::boundaryStem, b).c_str(), app.boundaries[b]);
        }
        line.end();
    }
}

const char* outcomeName(BackendRequestResult outcome)
{
    switch (outcome) {
    case RequestAnswered: return format::outcome::answered;
    case RequestGivenUp: return format::outcome::givenUp;
    case RequestRefused: return format::outcome::refused;
    }
    return "unknown";
}

} // namespace trace
} // namespace ZR_HBBTV_Core
