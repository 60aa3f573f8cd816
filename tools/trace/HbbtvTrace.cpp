// hbbtv-trace: reads field traces written by the library (HBBTV_TRACE) and prints a summary: per
// command its count, the median and 99th percentile of its answer time and its time-outs; per
// kind of crossing its count by name. With --html FILE it also writes the timeline page, with
// --perfetto FILE the trace-event file that Perfetto and chrome://tracing open.
//
// Exit status 0; 1 when a file cannot be read or holds no trace line; 2 for usage.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "HbbtvTraceFormat.h"
#include "Statistics.h"
#include "TraceEventFile.h"
#include "TraceFile.h"
#include "TracePairing.h"
#include "TraceTimelinePage.h"

using nlohmann::json;
namespace tf = HbbtvTraceFormat;

namespace {

void usage(FILE* out)
{
    fprintf(out,
            "usage: hbbtv-trace [--html PAGE] [--perfetto OUT.json] TRACE [TRACE...]\n"
            "  Summarises a field trace written by the HbbTV backend glue (HBBTV_TRACE=FILE): per command its\n"
            "  count, answer time (p50, p99) and time-outs; per kind of crossing its count by name. Give the\n"
            "  rotated file too, oldest first (TRACE.1 TRACE). When the files hold several recordings (the\n"
            "  middleware started again), the last one is taken.\n"
            "  --html PAGE   also write the timeline: one self-contained HTML page (lanes host, library,\n"
            "                browser; hover for the fields; zoom by time range or by dragging)\n"
            "  --perfetto OUT.json  also write the trace in the trace-event format that ui.perfetto.dev and\n"
            "                chrome://tracing open: host, library and browser as processes, commands and\n"
            "                requests as slices, every crossing as an instant, arrows from request to reply\n");
}

// A numeric field, 0 where the line lacks it or holds something else there.
double numberOf(const json& line, const char* key)
{
    const auto found = line.find(key);
    return found != line.end() && found->is_number() ? found->get<double>() : 0.0;
}

struct CommandFigures {
    unsigned issued = 0;
    unsigned timeouts = 0;
    std::vector<double> answerMs;
};

void printSummary(const json& lines)
{
    std::map<std::string, CommandFigures> commands;
    std::map<std::string, std::map<std::string, unsigned>> crossings;
    uint64_t dropped = 0;
    for (const json& line : lines) {
        const std::string kind = line.value(tf::line::kind, "");
        const std::string name = hbbtv_trace::nameOf(line);
        if (kind == tf::kind::command) {
            ++commands[name].issued;
        } else if (kind == tf::kind::completed) {
            commands[name].answerMs.push_back(numberOf(line, tf::command::elapsedUs) / 1000.0);
        } else if (kind == tf::kind::timeout) {
            ++commands[name].timeouts;
        } else if (kind == tf::kind::dropped) {
            dropped += static_cast<uint64_t>(numberOf(line, tf::command::droppedCount));
        } else if (kind != tf::kind::answer && kind != tf::kind::hostdata) { // records, not crossings
            ++crossings[kind][name];
        }
    }
    uint64_t first = UINT64_MAX;
    uint64_t last = 0;
    size_t numbered = 0;
    for (const json& line : lines) {
        const uint64_t t = static_cast<uint64_t>(std::max<int64_t>(hbbtv_trace::timeOf(line), 0));
        first = std::min(first, t);
        last = std::max(last, t);
        numbered += line.contains(tf::line::seq) ? 1 : 0;
    }
    printf("%zu trace lines over %.3f s", numbered, (last - first) / 1e6);
    printf("%s\n\n", dropped != 0 ? (", " + std::to_string(dropped) + " lines dropped while recording").c_str() : "");
    printf("%-44s %7s %10s %10s %9s\n", "command", "count", "p50 ms", "p99 ms", "time-outs");
    for (const auto& entry : commands) {
        const CommandFigures& figures = entry.second;
        if (figures.answerMs.empty()) {
            printf("%-44s %7u %10s %10s %9u\n", entry.first.c_str(), figures.issued, "-", "-", figures.timeouts);
        } else {
            printf("%-44s %7u %10.3f %10.3f %9u\n", entry.first.c_str(), figures.issued,
                   hbbtv_tools::percentile(figures.answerMs, 50), hbbtv_tools::percentile(figures.answerMs, 99), figures.timeouts);
        }
    }
    printf("\n%-10s %-44s %7s\n", "kind", "name", "count");
    for (const auto& kind : crossings) {
        for (const auto& name : kind.second) {
            printf("%-10s %-44s %7u\n", kind.first.c_str(), name.first.c_str(), name.second);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::string page;
    std::string perfetto;
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            usage(stdout);
            return 0;
        }
        if (arg == "--html" || arg == "--perfetto") {
            if (i + 1 == argc) {
                usage(stderr);
                return 2;
            }
            (arg == "--html" ? page : perfetto) = argv[++i];
        } else if (!arg.empty() && arg[0] == '-') {
            usage(stderr);
            return 2;
        } else {
            files.push_back(arg);
        }
    }
    if (files.empty()) {
        usage(stderr);
        return 2;
    }

    std::vector<json> read;
    for (const std::string& file : files) {
        hbbtv_tools::TraceFile trace;
        if (!hbbtv_tools::readTraceFile(file, trace)) {
            fprintf(stderr, "hbbtv-trace: cannot read %s\n", file.c_str());
            return 1;
        }
        // A summary of what could be read is still worth having.
        for (size_t i = 0; i < trace.badLines.size() && i < 3; ++i) {
            fprintf(stderr, "hbbtv-trace: %s; skipped\n", trace.badLines[i].c_str());
        }
        if (trace.badLines.size() > 3) {
            fprintf(stderr, "hbbtv-trace: %s: %zu lines skipped in all\n", file.c_str(), trace.badLines.size());
        }
        read.insert(read.end(), std::make_move_iterator(trace.lines.begin()), std::make_move_iterator(trace.lines.end()));
    }
    if (read.empty()) {
        fprintf(stderr, "hbbtv-trace: no trace lines\n");
        return 1;
    }
    // The file is appended to, so it may hold several recordings (the middleware started again).
    // The last is the one summarised.
    const unsigned recordings = hbbtv_tools::keepLastRecording(read);
    if (recordings > 1) {
        fprintf(stderr, "hbbtv-trace: %u recordings (numbers start again); the last one is shown\n", recordings);
    }
    const json lines(std::move(read));
    printSummary(lines);
    const struct {
        const std::string& path;
        const char* what;
        std::string (*write)(const json&, const std::string&);
    } outputs[] = { { page, "timeline", hbbtv_trace::timelinePage },
        { perfetto, "trace events", hbbtv_trace::traceEventFile } };
    for (const auto& output : outputs) {
        if (output.path.empty()) {
            continue;
        }
        std::ofstream out(output.path);
        out << output.write(lines, files.back());
        if (!out) {
            fprintf(stderr, "hbbtv-trace: cannot write %s\n", output.path.c_str());
            return 1;
        }
        printf("\n%s: %s\n", output.what, output.path.c_str());
    }
    return 0;
}
