#include "TraceEventFile.h"

#include <algorithm>

#include "HbbtvTraceFormat.h"
#include "TracePairing.h"

namespace hbbtv_trace {

namespace {

namespace tf = HbbtvTraceFormat;

// Written in this order of keys, so that a person reading the file finds the kind of event first.
typedef nlohmann::ordered_json Event;

const Lane kLanes[] = { Lane::host, Lane::library, Lane::browser };

int pidOf(Lane lane)
{
    return static_cast<int>(lane) + 1;
}

// The threads of one lane's process. Slices on one thread must nest, so a slice that would
// partly overlap the ones placed before it (commands in flight together, requests from two
// browser threads at once) goes to a further thread of the lane, named "<lane> 2" and so on.
class Threads {
public:
    explicit Threads(Lane lane)
        : m_lane(lane)
    {
    }
    // Spans are placed in the order they start.
    int place(int64_t start, int64_t end)
    {
        for (size_t i = 0; i < m_ends.size(); ++i) {
            if (m_ends[i] <= start) {
                m_ends[i] = end;
                return tid(i);
            }
        }
        m_ends.push_back(end);
        return tid(m_ends.size() - 1);
    }
    void name(std::vector<Event>& events) const
    {
        const int pid = pidOf(m_lane);
        events.push_back({ { "ph", "M" }, { "name", "process_name" }, { "pid", pid }, { "tid", pid },
            { "args", { { "name", laneName(m_lane) } } } });
        events.push_back({ { "ph", "M" }, { "name", "process_sort_index" }, { "pid", pid }, { "tid", pid },
            { "args", { { "sort_index", pid } } } });
        for (size_t i = 0; i < std::max<size_t>(m_ends.size(), 1); ++i) {
            const std::string name = i == 0 ? laneName(m_lane) : laneName(m_lane) + (" " + std::to_string(i + 1));
            events.push_back({ { "ph", "M" }, { "name", "thread_name" }, { "pid", pid }, { "tid", tid(i) },
                { "args", { { "name", name } } } });
        }
    }

private:
    // Thread ids are unique across the processes too: some viewers key threads by tid alone.
    int tid(size_t index) const { return index == 0 ? pidOf(m_lane) : pidOf(m_lane) * 100 + static_cast<int>(index); }

    Lane m_lane;
    std::vector<int64_t> m_ends;
};

// Control characters other than tab and line breaks would be written as \u escapes, which some
// readers reject.
void plainText(Event& value)
{
    if (value.is_string()) {
        std::string& text = value.get_ref<std::string&>();
        for (char& c : text) {
            if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') {
                c = '?';
            }
        }
    } else if (value.is_structured()) {
        for (Event& member : value) {
            plainText(member);
        }
    }
}

// A line's fields as an event's args: all but the time, kind and name the event shows already.
Event fields(const nlohmann::json& line)
{
    Event args = Event::object();
    for (auto member = line.begin(); member != line.end(); ++member) {
        if (member.key() != tf::line::time && member.key() != tf::line::kind && member.key() != tf::line::name) {
            args[member.key()] = member.value();
        }
    }
    plainText(args);
    return args;
}

Event slice(
    const std::string& name, const std::string& category, int64_t ts, int64_t dur, Lane lane, int tid, Event args)
{
    return { { "ph", "X" }, { "name", name }, { "cat", category }, { "ts", ts }, { "dur", dur }, { "pid", pidOf(lane) },
        { "tid", tid }, { "args", std::move(args) } };
}

// Binds the slices of one chain with one id: the first starts the arrow, the last ends it, those
// between both end the arrow that reaches them and start the next.
void bindFlow(std::vector<Event>& events, const std::vector<size_t>& chain, size_t id)
{
    if (chain.size() < 2) {
        return;
    }
    for (size_t i = 0; i < chain.size(); ++i) {
        Event& event = events[chain[i]];
        event["bind_id"] = id;
        if (i != 0) {
            event["flow_in"] = true;
        }
        if (i + 1 != chain.size()) {
            event["flow_out"] = true;
        }
    }
}

} // namespace

std::string traceEventFile(const nlohmann::json& lines, const std::string& source)
{
    int64_t t0 = lines.empty() ? 0 : timeOf(lines[0]);
    for (const nlohmann::json& line : lines) {
        t0 = std::min(t0, timeOf(line));
    }
    const Pairing pairing = pairLines(lines);
    std::vector<Event> events;
    std::vector<Threads> threads(std::begin(kLanes), std::end(kLanes));
    const auto threadsOf = [&](Lane lane) -> Threads& { return threads[static_cast<size_t>(lane)]; };
    const auto placeInOrder = [](auto spans) {
        std::stable_sort(spans.begin(), spans.end(), [](const auto* a, const auto* b) { return a->start < b->start; });
        return spans;
    };

    // Each command: its slice on the library, and where the host completed it, a mark on the host.
    std::vector<const CommandSpan*> commands;
    for (const CommandSpan& span : pairing.commands) {
        commands.push_back(&span);
    }
    std::vector<std::vector<size_t>> commandChains(pairing.commands.size());
    for (const CommandSpan* span : placeInOrder(commands)) {
        const nlohmann::json& handOver = lines[span->handOver];
        const std::string name = nameOf(handOver);
        Event args = { { "hand-over", fields(handOver) } };
        if (span->outcome != kNoLine) {
            args[span->timedOut ? "time-out" : "completion"] = fields(lines[span->outcome]);
        }
        const int tid = threadsOf(Lane::library).place(span->start, span->end);
        std::vector<size_t>& chain = commandChains[static_cast<size_t>(span - pairing.commands.data())];
        chain.push_back(events.size());
        const char* const state = span->timedOut ? " (timed out)" : span->outcome == kNoLine ? " (unanswered)" : "";
        events.push_back(slice(name + state, span->timedOut ? "command,timed out" : "command", span->start - t0,
            span->end - span->start, Lane::library, tid, std::move(args)));
        if (span->outcome != kNoLine && !span->timedOut) {
            chain.push_back(events.size());
            events.push_back(slice(name + " completed", "completion", span->end - t0, 0, Lane::host, pidOf(Lane::host),
                fields(lines[span->outcome])));
        }
    }

    // Each browser request that waited for the host or got a reply: its slice on the browser, with
    // marks at the request and the reply where the arrows start and end.
    std::vector<const RequestSpan*> requests;
    std::vector<bool> joined(pairing.commands.size(), false);
    for (const RequestSpan& request : pairing.requests) {
        if (!request.commands.empty() || request.reply != kNoLine) {
            requests.push_back(&request);
        }
    }
    std::vector<std::vector<size_t>> chains;
    for (const RequestSpan* request : placeInOrder(requests)) {
        const nlohmann::json& line = lines[request->request];
        const std::string name = nameOf(line);
        const int64_t start = request->start;
        Event args = { { "request", fields(line) } };
        if (request->reply != kNoLine) {
            args["reply"] = fields(lines[request->reply]);
        }
        const int tid = threadsOf(Lane::browser).place(start, request->end);
        events.push_back(slice(name, "request", start - t0, request->end - start, Lane::browser, tid, std::move(args)));
        std::vector<size_t> chain = { events.size() };
        events.push_back(slice("request " + name, "request", start - t0, 0, Lane::browser, tid, fields(line)));
        for (size_t command : request->commands) {
            chain.insert(chain.end(), commandChains[command].begin(), commandChains[command].end());
            joined[command] = true;
        }
        if (request->reply != kNoLine) {
            chain.push_back(events.size());
            events.push_back(slice(
                "reply " + name, "reply", request->end - t0, 0, Lane::browser, tid, fields(lines[request->reply])));
        }
        chains.push_back(std::move(chain));
    }
    // Commands no browser request waited for (an application's start, say): hand-over to completion.
    for (size_t i = 0; i < commandChains.size(); ++i) {
        if (!joined[i]) {
            chains.push_back(commandChains[i]);
        }
    }
    for (size_t i = 0; i < chains.size(); ++i) {
        bindFlow(events, chains[i], i + 1);
    }

    // Every crossing, on the lane it leaves.
    for (const nlohmann::json& line : lines) {
        const std::string kind = line.value(tf::line::kind, "");
        const int pid = pidOf(routeOf(kind).from);
        events.push_back({ { "ph", "i" }, { "s", "t" }, { "name", kind + " " + nameOf(line) }, { "cat", kind },
            { "ts", timeOf(line) - t0 }, { "pid", pid }, { "tid", pid }, { "args", fields(line) } });
    }

    // Viewers sort by time themselves; in time order, the longer of two slices that start together
    // first, the file reads as the timeline does.
    std::stable_sort(events.begin(), events.end(), [](const Event& a, const Event& b) {
        const int64_t at = a["ts"].get<int64_t>();
        const int64_t bt = b["ts"].get<int64_t>();
        return at != bt ? at < bt : a.value("dur", int64_t(0)) > b.value("dur", int64_t(0));
    });
    std::vector<Event> named;
    for (const Threads& lane : threads) {
        lane.name(named);
    }
    named.insert(named.end(), events.begin(), events.end());
    std::string text = "{\"traceEvents\":[\n";
    for (size_t i = 0; i < named.size(); ++i) {
        text += named[i].dump(-1, ' ', false, Event::error_handler_t::replace) + (i + 1 < named.size() ? ",\n" : "\n");
    }
    Event other = { { "source", source }, { "tool", "hbbtv-trace" } };
    plainText(other);
    text += "],\n\"displayTimeUnit\":\"ms\",\n\"otherData\":"
        + other.dump(-1, ' ', false, Event::error_handler_t::replace) + "}\n";
    return text;
}

} // namespace hbbtv_trace
