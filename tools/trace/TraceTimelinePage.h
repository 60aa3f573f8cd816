// The timeline page of hbbtv-trace: one self-contained HTML file (inline style and script, no
// network) that draws a trace's crossings on three lanes.
#ifndef HBBTV_TOOLS_TRACE_TIMELINEPAGE_H
#define HBBTV_TOOLS_TRACE_TIMELINEPAGE_H

#include <string>

#include <nlohmann/json.hpp>

namespace hbbtv_trace {

// The page for these trace lines (a JSON array of the lines' objects), titled with the source.
std::string timelinePage(const nlohmann::json& lines, const std::string& title);

} // namespace hbbtv_trace

#endif
