#include "TraceDiff.h"

#include <algorithm>
#include <map>
#include <set>

#include "TraceDecoding.h"

namespace hbbtv_simulator {

namespace {

namespace tf = HbbtvTraceFormat;

// What the library decides, by kind: these streams are compared. Host calls, browser requests
// and browser callbacks are what the replay itself makes; the answers the host gave are fed back.
const char* const kComparedKinds[] = {tf::kind::command, tf::kind::answer,   tf::kind::event, tf::kind::key,
                                      tf::kind::callback, tf::kind::reply, tf::kind::binder};

// The fields that vary from run to run whatever the library does.
Json comparedFields(const Json& line)
{
    Json fields = line;
    for (const char* key : {tf::line::time, tf::line::thread, tf::line::seq, tf::command::ticket, tf::command::elapsedUs}) {
        fields.erase(key);
    }
    if (line[tf::line::kind] == tf::kind::answer) {
        fields.erase(tf::command::answer); // the host's, fed back from the recording
    }
    return fields;
}

const char* const kUnreproducible[] = {"event channelListChanged"};

std::string streamOf(const Json& line)
{
    const Json& name = line[tf::line::name];
    return line.value(tf::line::kind, "") + " " + (name.is_string() ? name.get<std::string>() : name.dump());
}

bool compared(const Json& line, const std::set<std::string>& partlyRecorded)
{
    const std::string kind = line.value(tf::line::kind, "");
    const std::string stream = streamOf(line);
    return std::find(std::begin(kComparedKinds), std::end(kComparedKinds), kind) != std::end(kComparedKinds)
           && std::find(std::begin(kUnreproducible), std::end(kUnreproducible), stream) == std::end(kUnreproducible)
           && partlyRecorded.count(stream) == 0;
}

// The replies whose host data the recording does not carry whole, for every answer.
std::set<std::string> partlyRecordedReplies(const std::vector<Json>& recorded)
{
    std::set<std::string> partly;
    for (const HostData& data : kHostData) {
        size_t answered = 0;
        size_t whole = 0;
        for (const Json& line : recorded) {
            if (line[tf::line::kind] == tf::kind::answer && line.value(tf::command::number, -1) == data.command
                && line.value(tf::command::outcome, "") == tf::outcome::answered
                && line.value(tf::command::answer, Json::object()).value(tf::answer::valid, 0) != 0) {
                ++answered;
            } else if (line[tf::line::kind] == tf::kind::hostdata && line[tf::line::name] == data.name
                       && line.value(tf::hostdata::recorded, -1) == line.value(tf::hostdata::count, -2)) {
                ++whole;
            }
        }
        if (answered != whole) {
            for (const char* reply : data.replies) {
                if (reply != nullptr) {
                    partly.insert(reply);
                }
            }
        }
    }
    return partly;
}

} // namespace

std::vector<Divergence> compareTraces(const std::vector<Json>& recorded, const std::vector<Json>& replayed)
{
    // One stream per kind and name: crossings of different names may interleave differently when
    // they come from different threads, those of one name may not.
    std::map<std::string, std::vector<const Json*>> before, after;
    const std::set<std::string> partlyRecorded = partlyRecordedReplies(recorded);
    for (const Json& line : recorded) {
        if (compared(line, partlyRecorded)) before[streamOf(line)].push_back(&line);
    }
    for (const Json& line : replayed) {
        if (compared(line, partlyRecorded)) after[streamOf(line)].push_back(&line);
    }
    std::vector<std::string> streams;
    for (const auto& s : before) streams.push_back(s.first);
    for (const auto& s : after) {
        if (before.count(s.first) == 0) streams.push_back(s.first);
    }
    std::vector<Divergence> divergences;
    for (const std::string& stream : streams) {
        const std::vector<const Json*>& a = before[stream];
        const std::vector<const Json*>& b = after[stream];
        for (size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
            const Json left = i < a.size() ? comparedFields(*a[i]) : Json();
            const Json right = i < b.size() ? comparedFields(*b[i]) : Json();
            if (left == right) {
                continue;
            }
            divergences.push_back(Divergence{stream, i + 1, i < a.size() ? (*a[i])[tf::line::seq].get<uint64_t>() : 0,
                                             i < b.size() ? (*b[i])[tf::line::seq].get<uint64_t>() : 0,
                                             left.is_null() ? "nothing" : left.dump(), right.is_null() ? "nothing" : right.dump()});
        }
    }
    std::sort(divergences.begin(), divergences.end(), [](const Divergence& x, const Divergence& y) {
        const uint64_t a = x.recordedSeq != 0 ? x.recordedSeq : UINT64_MAX;
        const uint64_t b = y.recordedSeq != 0 ? y.recordedSeq : UINT64_MAX;
        return a != b ? a < b : x.replayedSeq < y.replayedSeq;
    });
    return divergences;
}

} // namespace hbbtv_simulator
