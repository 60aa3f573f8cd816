// trace-event-check FILE: checks a trace-event JSON file against the rules that Perfetto and
// chrome://tracing read it by: it parses, starts with "[" or "{", and holds no \u escapes; every
// event has a one-letter ph, a numeric pid and ts; X slices have dur >= 0 and nest on their thread
// (a slice that starts inside another ends inside it); instants have a scope; flows pair up (each
// bind_id starts once on a slice, steps through, and ends once, in time order); metadata names
// the processes host, library and browser. Prints one line per problem, then what it counted: the
// events, and the flows that run from the browser through the library and the host back to the
// browser.
//
// Exit status 0 when the file keeps every rule, 1 when it breaks one, 2 for usage.
// Built with the tests, and by scripts/delivery.sh from the tree against the installed tool.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

using nlohmann::json;

namespace {

unsigned problems = 0;

void problem(const std::string& text)
{
    if (++problems <= 20) {
        fprintf(stderr, "trace-event-check: %s\n", text.c_str());
    }
}

struct Slice {
    double ts;
    double end;
    size_t index;
};

struct FlowPoint {
    double ts;
    size_t index;
    bool in;
    bool out;
    int pid;
};

// Slices of one thread in time order, the longer first where two start together: each must end
// by the time the slice it starts in ends.
void checkNesting(std::vector<Slice> slices, int pid, int tid)
{
    std::stable_sort(slices.begin(), slices.end(),
        [](const Slice& a, const Slice& b) { return a.ts != b.ts ? a.ts < b.ts : a.end > b.end; });
    std::vector<Slice> open;
    for (const Slice& slice : slices) {
        while (!open.empty() && open.back().end <= slice.ts) {
            open.pop_back();
        }
        if (!open.empty() && slice.end > open.back().end) {
            problem("event " + std::to_string(slice.index) + " (pid " + std::to_string(pid) + ", tid "
                + std::to_string(tid) + ") starts inside event " + std::to_string(open.back().index)
                + " and ends after it");
        }
        open.push_back(slice);
    }
}

} // namespace

int check(int argc, char** argv)
{
    if (argc != 2) {
        fprintf(stderr, "usage: trace-event-check FILE\n");
        return 2;
    }
    std::ifstream in(argv[1]);
    std::stringstream buffer;
    buffer << in.rdbuf();
    const std::string text = buffer.str();
    if (!in) {
        fprintf(stderr, "trace-event-check: cannot read %s\n", argv[1]);
        return 1;
    }
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos || (text[first] != '[' && text[first] != '{')) {
        problem("the file does not start with [ or {");
    }
    if (text.find("\\u") != std::string::npos) {
        problem("a \\u escape at byte " + std::to_string(text.find("\\u")) + ": write text as plain UTF-8");
    }
    const json file = json::parse(text, nullptr, false);
    if (file.is_discarded()) {
        problem("not JSON");
        return 1;
    }
    const json& events = file.is_object() ? file.value("traceEvents", json()) : file;
    if (!events.is_array()) {
        problem("no array of events");
        return 1;
    }

    std::map<std::pair<int, int>, std::vector<Slice>> slices;
    std::map<std::string, std::vector<FlowPoint>> flows; // by bind_id
    std::map<int, std::string> processNames;
    size_t slicesSeen = 0;
    size_t instants = 0;
    for (size_t i = 0; i < events.size(); ++i) {
        const json& event = events[i];
        const std::string at = "event " + std::to_string(i);
        if (!event.is_object() || !event.contains("ph") || !event["ph"].is_string()
            || event["ph"].get<std::string>().size() != 1) {
            problem(at + ": no one-letter ph");
            continue;
        }
        const std::string ph = event["ph"];
        if (!event.contains("pid") || !event["pid"].is_number_integer()) {
            problem(at + ": no numeric pid");
            continue;
        }
        const int pid = event["pid"];
        const int tid = event.contains("tid") && event["tid"].is_number_integer() ? event["tid"].get<int>() : pid;
        if (ph == "M") {
            if (event.value("name", "") == "process_name" || event.value("name", "") == "thread_name") {
                const json args = event.value("args", json());
                if (!args.is_object() || !args.contains("name") || !args["name"].is_string()) {
                    problem(at + ": a name without args.name");
                } else if (event["name"] == "process_name") {
                    processNames[pid] = args["name"];
                }
            }
            continue;
        }
        if (!event.contains("ts") || !event["ts"].is_number()) {
            problem(at + ": no numeric ts");
            continue;
        }
        const double ts = event["ts"];
        if (ph == "X") {
            if (!event.contains("dur") || !event["dur"].is_number() || event["dur"].get<double>() < 0) {
                problem(at + ": a complete slice without dur >= 0");
                continue;
            }
            ++slicesSeen;
            slices[{ pid, tid }].push_back(Slice { ts, ts + event["dur"].get<double>(), i });
        } else if (ph == "i" || ph == "I") {
            ++instants;
            if (event.contains("s") && event["s"] != "t" && event["s"] != "p" && event["s"] != "g") {
                problem(at + ": an instant's scope is not t, p or g");
            }
        } else if (ph == "s" || ph == "t" || ph == "f") {
            problem(at + ": a flow event of the older form; this file binds flows to slices with bind_id");
        }
        if (event.contains("bind_id")) {
            if (ph != "X") {
                problem(at + ": bind_id on an event that is not a complete slice");
            }
            flows[event["bind_id"].dump()].push_back(
                FlowPoint { ts, i, event.value("flow_in", false), event.value("flow_out", false), pid });
        }
    }
    for (const auto& thread : slices) {
        checkNesting(thread.second, thread.first.first, thread.first.second);
    }
    std::set<std::string> names;
    std::map<std::string, int> pidOf;
    for (const auto& process : processNames) {
        names.insert(process.second);
        pidOf[process.second] = process.first;
    }
    for (const char* lane : { "host", "library", "browser" }) {
        if (names.count(lane) == 0) {
            problem(std::string("no process named \"") + lane + "\"");
        }
    }
    size_t roundTrips = 0;
    for (auto& flow : flows) {
        std::vector<FlowPoint>& points = flow.second;
        // In time order; where two share a time, the start before a step before the end.
        const auto rank = [](const FlowPoint& p) { return p.in ? (p.out ? 1 : 2) : 0; };
        std::stable_sort(points.begin(), points.end(),
            [&](const FlowPoint& a, const FlowPoint& b) { return a.ts != b.ts ? a.ts < b.ts : rank(a) < rank(b); });
        bool paired
            = points.size() >= 2 && points.front().out && !points.front().in && points.back().in && !points.back().out;
        for (size_t i = 1; i + 1 < points.size(); ++i) {
            paired = paired && points[i].in && points[i].out;
        }
        if (!paired) {
            problem("flow " + flow.first + " (from event " + std::to_string(points.front().index)
                + ") does not start once, step through, and end once in time order");
            continue;
        }
        bool host = false;
        bool library = false;
        for (const FlowPoint& point : points) {
            host = host || point.pid == pidOf["host"];
            library = library || point.pid == pidOf["library"];
        }
        roundTrips
            += host && library && points.front().pid == pidOf["browser"] && points.back().pid == pidOf["browser"];
    }
    printf("trace-event-check: %s: %zu events: %zu slices, %zu instants, %zu flows, %zu from the browser through "
           "the library and the host back to the browser; %u problems\n",
        argv[1], events.size(), slicesSeen, instants, flows.size(), roundTrips, problems);
    return problems == 0 ? 0 : 1;
}

int main(int argc, char** argv)
{
    try {
        return check(argc, argv);
    } catch (const nlohmann::json::exception& error) {
        fprintf(stderr, "trace-event-check: a field of the wrong type: %s\n", error.what());
        return 1;
    }
}
