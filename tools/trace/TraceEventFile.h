// The trace in the trace-event JSON format that Perfetto (ui.perfetto.dev) and chrome://tracing
// load: a process each for the host, the library and the browser; every crossing an instant on
// the lane it leaves, with its fields; every command a slice on the library from hand-over to
// completion; every browser request a slice on the browser until its reply; flow arrows from a
// request through its commands and the host's completions to the reply.
#ifndef HBBTV_TOOLS_TRACE_EVENTFILE_H
#define HBBTV_TOOLS_TRACE_EVENTFILE_H

#include <string>

#include <nlohmann/json.hpp>

namespace hbbtv_trace {

// The file's text for these trace lines (a JSON array of the lines' objects) read from source.
std::string traceEventFile(const nlohmann::json& lines, const std::string& source);

} // namespace hbbtv_trace

#endif
