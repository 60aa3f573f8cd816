// What the lines of a field trace say, turned back into the records that crossed: the answer the
// host wrote, the data it wrote beside it (channel list, schedule, SI descriptors, components),
// the channel a browser request named and the AIT the host passed.
#ifndef HBBTV_SIMULATOR_TRACEDECODING_H
#define HBBTV_SIMULATOR_TRACEDECODING_H

#include <string>
#include <vector>

#include "HbbtvBackendRecords.h"
#include "HbbtvTraceFormat.h"
#include "ncor/ChannelTunerData.h"
#include "ScenarioFile.h"
#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_simulator {

// A field's value, or the type's zero when the line lacks it or holds something else.
template <typename T> T number(const Json& object, const char* key)
{
    const Json& value = object.contains(key) ? object[key] : Json();
    return value.is_number() ? value.get<T>() : T();
}

std::string textOf(const Json& object, const char* key);

// Data the host writes outside the answer's plain fields: the channel list in its pool, a schedule
// and SI descriptors in a result vector, the component tables of the answer record. The recording
// carries the first entries of each, in a line of its own: the replay gives them back, and
// compares what the library made of them only when every one of the recording was recorded whole.
struct HostData {
    const char* name;       // of the {"kind":"hostdata"} line
    int command;            // the command whose answer it belongs to
    const char* replies[2]; // the streams that show what the library made of it
};
inline const HostData kHostData[] = {
    {HbbtvTraceFormat::hostdata::lineup, TunerCommand_RequestChannelsLineup, {"reply getChannelList", nullptr}},
    {HbbtvTraceFormat::hostdata::schedule, ProgrammeCommand_GetAllProgrammeInfo,
     {"reply getAllProgrammesForChannel", nullptr}},
    {HbbtvTraceFormat::hostdata::siDescriptors, ProgrammeCommand_GetSIDescriptors, {"reply getSIDescriptors", nullptr}},
    {HbbtvTraceFormat::hostdata::components, TunerCommand_GetAVInfo,
     {"reply getAVComponents", "reply getActiveAVComponents"}},
};

// Writes the recorded answer fields into the answer record of the same type.
void writeRecordedAnswer(const Json& recorded, HbbtvServiceRequestAnswer& answer);

std::vector<hbbtv_sim::LineupChannel> lineupFrom(const Json& line);
std::vector<HbbtvEPGInformation> scheduleFrom(const Json& line);
std::vector<std::vector<unsigned char>> descriptorsFrom(const Json& line);

// The component entries into the answer record; its count came with the answer's fields.
void writeRecordedComponents(const Json& line, HbbtvServiceRequestAnswer& answer);

NCOR::ChannelTunerData channelFrom(const Json& line);
ZR_HBBTV_Core::AITApps aitFrom(const Json& line);

} // namespace hbbtv_simulator

#endif
