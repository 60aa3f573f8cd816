// Trace lines for the records that cross to the host: a request's payload and its answer as
// decoded fields, written by the requester when its request ends, and the host's AIT.
#ifndef HBBTV_BACKENDGLUE_TRACERECORDS_H
#define HBBTV_BACKENDGLUE_TRACERECORDS_H

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "HbbtvBackendGlue.Trace.h"
#include "HbbtvBackendRecords.h"
#include "HbbtvHostRecords.h"

namespace ZR_HBBTV_Core {
namespace trace {

void describe(Line& line, const HbbtvCommandPayload& payload);
void describe(Line& line, const HbbtvCommandPayloadWithStrParams& payload);
void describe(Line& line, const HbbtvCommandPayloadWithChannelIDInfo& payload);
void describe(Line& line, const HbbtvCommandPayloadWithLineupPool& payload);
void describe(Line& line, const HbbtvServiceRequestAnswer& answer);
void describe(Line& line, const HbbtvServiceRequestDvbResourceMountAnswer& answer);
void describe(Line& line, const HbbtvServiceRequestChannelsLineupAnswer& answer);
void describe(Line& line, const HbbtvServiceRequestChannelInfoAnswer& answer);
void describe(Line& line, const HbbtvServiceRequestProgramInfoAnswer& answer);
void describe(Line& line, const HbbtvServiceRequestAVInfoAnswer& answer);
void describe(Line& line, const AITApps& apps);

const char* outcomeName(BackendRequestResult outcome);

// {"kind":"answer"}: how a request ended for its requester, with what was asked and what the host
// left in the answer (not read when the request was given up or refused: the host may still be
// writing it).
template <typename Payload, typename Answer>
void requestEnded(const Payload& payload, const Answer& answer, BackendRequestResult outcome)
{
    Line line(kind::answer, convertBackendCommandToString(payload.command));
    line.arg(format::command::ticket, payload.ticket)
        .arg(format::command::number, payload.command)
        .arg(format::command::outcome, outcomeName(outcome));
    line.begin(format::command::payload);
    describe(line, payload);
    line.end();
    if (outcome == RequestAnswered) {
        line.begin(format::command::answer);
        describe(line, answer);
        line.end();
    }
}

} // namespace trace
} // namespace ZR_HBBTV_Core

#endif
