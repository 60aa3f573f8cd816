// What the views of a trace share: the lane each kind of line leaves and reaches, each command's
// span from hand-over to completion or time-out (matched by ticket), and each browser request with
// the commands it waited for and its reply (matched by the request's thread). The timeline page
// and the trace-event file both draw from this.
#ifndef HBBTV_TOOLS_TRACE_PAIRING_H
#define HBBTV_TOOLS_TRACE_PAIRING_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace hbbtv_trace {

enum class Lane { host, library, browser };
const char* laneName(Lane lane);

struct Route {
    Lane from;
    Lane to;
};
// The lane a kind of line leaves and the lane it reaches (a line that stays in the library for
// kinds that cross nothing, and for kinds this tool does not know).
Route routeOf(const std::string& kind);
// Every known kind's route, {"kind": ["from", "to"]}, for the page's script.
nlohmann::json routesJson();

const size_t kNoLine = static_cast<size_t>(-1);

struct CommandSpan {
    size_t handOver = 0; // the "command" line
    size_t outcome = kNoLine; // its "completed" or "timeout" line, if the trace has it
    bool timedOut = false;
    int64_t start = 0;
    int64_t end = 0; // the outcome's time, else the trace's last time
};

struct RequestSpan {
    size_t request = 0; // the "request" line
    size_t reply = kNoLine; // its "reply" line, if it has one
    std::vector<size_t> commands; // into Pairing::commands, in the order the answers were read
    int64_t start = 0;
    int64_t end = 0; // the reply, else the last answer read for it, else the request
};

struct Pairing {
    std::vector<CommandSpan> commands;
    std::vector<RequestSpan> requests;
};

// The line's time in microseconds ("t", checked to be a number when the line was read).
int64_t timeOf(const nlohmann::json& line);
// A line's name, or "command N" for a command without one.
std::string nameOf(const nlohmann::json& line);

Pairing pairLines(const nlohmann::json& lines);

} // namespace hbbtv_trace

#endif
