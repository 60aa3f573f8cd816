// Field trace files as the library writes them (HBBTV_TRACE): one JSON object per line, appended
// to by every run of the middleware, perhaps ending in the zero bytes of a killed recording.
#ifndef HBBTV_TOOLS_TRACEFILE_H
#define HBBTV_TOOLS_TRACEFILE_H

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace hbbtv_tools {

struct TraceFile {
    std::vector<nlohmann::json> lines; // in file order
    std::vector<std::string> badLines; // "FILE:N is not a trace line", one for each
};

// Reads a trace file; false when it cannot be read. A trace line is an object with a string
// "kind", a number "t" and, where it has one, a whole "seq". The zero bytes that a killed
// recording leaves past its last line, and a line they cut short, are no lines at all.
bool readTraceFile(const std::string& path, TraceFile& file);

// Keeps the last recording of lines read oldest first: numbers ("seq") that start again begin
// the next one. Returns how many recordings there were.
unsigned keepLastRecording(std::vector<nlohmann::json>& lines);

} // namespace hbbtv_tools

#endif
