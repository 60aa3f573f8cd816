#include "TracePairing.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "HbbtvTraceFormat.h"

namespace hbbtv_trace {

namespace {

namespace tf = HbbtvTraceFormat;

struct KindRoute {
    const char* kind;
    Route route;
};

const KindRoute kRoutes[] = {
    { tf::kind::host, { Lane::host, Lane::library } },
    { tf::kind::callback, { Lane::library, Lane::host } },
    { tf::kind::command, { Lane::library, Lane::host } },
    { tf::kind::completed, { Lane::host, Lane::library } },
    { tf::kind::timeout, { Lane::library, Lane::library } },
    { tf::kind::unmatched, { Lane::host, Lane::library } },
    { tf::kind::request, { Lane::browser, Lane::library } },
    { tf::kind::browser, { Lane::browser, Lane::library } },
    { tf::kind::event, { Lane::library, Lane::browser } },
    { tf::kind::key, { Lane::library, Lane::browser } },
    { tf::kind::binder, { Lane::browser, Lane::library } },
    { tf::kind::answer, { Lane::library, Lane::library } },
    { tf::kind::dropped, { Lane::library, Lane::library } },
};

// A field that should be an unsigned number (a ticket, a thread id); a line that breaks the format
// pairs with nothing rather than stopping the tool.
bool unsignedField(const nlohmann::json& line, const char* key, uint64_t& value)
{
    const auto found = line.find(key);
    if (found == line.end() || !found->is_number_unsigned()) {
        return false;
    }
    value = found->get<uint64_t>();
    return true;
}

} // namespace

const char* laneName(Lane lane)
{
    switch (lane) {
    case Lane::host:
        return "host";
    case Lane::library:
        return "library";
    case Lane::browser:
        return "browser";
    }
    return "library";
}

Route routeOf(const std::string& kind)
{
    for (const KindRoute& entry : kRoutes) {
        if (kind == entry.kind) {
            return entry.route;
        }
    }
    return { Lane::library, Lane::library };
}

nlohmann::json routesJson()
{
    nlohmann::json routes = nlohmann::json::object();
    for (const KindRoute& entry : kRoutes) {
        routes[entry.kind] = { laneName(entry.route.from), laneName(entry.route.to) };
    }
    return routes;
}

int64_t timeOf(const nlohmann::json& line)
{
    return std::llround(line[tf::line::time].get<double>());
}

std::string nameOf(const nlohmann::json& line)
{
    const auto name = line.find(tf::line::name);
    if (name != line.end() && name->is_string()) {
        return name->get<std::string>();
    }
    const auto command = line.find(tf::command::number);
    return "command " + (command != line.end() && command->is_number_integer() ? command->dump() : "-1");
}

Pairing pairLines(const nlohmann::json& lines)
{
    Pairing pairing;
    int64_t last = 0;
    for (const nlohmann::json& line : lines) {
        last = std::max(last, timeOf(line));
    }
    std::map<uint64_t, size_t> inFlight; // ticket -> command awaiting its outcome
    std::map<uint64_t, size_t> latest; // ticket -> its latest command
    std::map<uint64_t, size_t> openRequests; // thread -> the request it waits in
    std::vector<bool> claimed; // a command joined to a request already
    for (size_t i = 0; i < lines.size(); ++i) {
        const nlohmann::json& line = lines[i];
        const std::string kind = line.value(tf::line::kind, "");
        const int64_t t = timeOf(line);
        uint64_t ticket = 0;
        const bool hasTicket = unsignedField(line, tf::command::ticket, ticket);
        uint64_t thread = 0;
        const bool hasThread = unsignedField(line, tf::line::thread, thread);
        if (kind == tf::kind::command && hasTicket) {
            pairing.commands.push_back(CommandSpan { i, kNoLine, false, t, last });
            claimed.push_back(false);
            inFlight[ticket] = latest[ticket] = pairing.commands.size() - 1;
        } else if ((kind == tf::kind::completed || kind == tf::kind::timeout) && hasTicket && inFlight.count(ticket) != 0) {
            CommandSpan& span = pairing.commands[inFlight[ticket]];
            span.outcome = i;
            span.timedOut = kind == tf::kind::timeout;
            span.end = std::max(t, span.start); // a clock that stepped back must not make a span run backwards
            inFlight.erase(ticket);
        } else if (kind == tf::kind::request && hasThread) {
            pairing.requests.push_back(RequestSpan { i, kNoLine, {}, t, t });
            openRequests[thread] = pairing.requests.size() - 1;
        } else if (kind == tf::kind::answer && hasThread && hasTicket && openRequests.count(thread) != 0
            && latest.count(ticket) != 0 && !claimed[latest[ticket]]) {
            // The requesting thread reads the answer: the command was made for its request.
            RequestSpan& request = pairing.requests[openRequests[thread]];
            request.commands.push_back(latest[ticket]);
            request.end = std::max(t, request.start);
            claimed[latest[ticket]] = true;
        } else if (kind == tf::kind::reply && hasThread && openRequests.count(thread) != 0) {
            RequestSpan& request = pairing.requests[openRequests[thread]];
            if (nameOf(lines[request.request]) == nameOf(line)) {
                request.reply = i;
                request.end = std::max(t, request.start);
                openRequests.erase(thread);
            }
        }
    }
    return pairing;
}

} // namespace hbbtv_trace
