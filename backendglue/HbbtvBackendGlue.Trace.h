// The field trace: one JSON object per line for every crossing of the library's boundaries (host
// calls in, commands to the host and their answers, host callbacks, browser requests, events and
// keys to the browser, binder deaths). Off unless HBBTV_TRACE names a file when the host calls
// init; then every call site costs one relaxed load and a branch. When on, a line is built on the
// calling thread and copied into a shared mapping of the file, where it survives the process being
// killed or crashing; a writer thread of its own keeps the mapping ahead: the request path never
// waits for the disk. Lines that find no room (the writer fell behind) are dropped and the writer
// records how many. HBBTV_TRACE_MAX_MB caps the file; near it the file moves to FILE.1 (the one
// previous file kept) and a new one starts.
//
// Every line: "t" (monotonic microseconds), "th" (thread id), "kind", "name", the kind's fields,
// and last "seq" (the line's number, in file order). Call sites are one line:
//     if (trace::on()) trace::Line(trace::kind::host, "keyClick").arg(trace::argument::key, key);
// The kinds and the names of the fields that readers decode are in HbbtvTraceFormat.h.
#ifndef HBBTV_BACKENDGLUE_TRACE_H
#define HBBTV_BACKENDGLUE_TRACE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "HbbtvBackendGlue.TraceJson.h"
#include "HbbtvTraceFormat.h"

class HbbtvCommandPayload;
class HbbtvServiceRequestAnswer;

namespace ZR_HBBTV_Core {
namespace trace {

namespace format = HbbtvTraceFormat;
namespace kind = HbbtvTraceFormat::kind;
namespace argument = HbbtvTraceFormat::argument;

extern std::atomic<bool> g_on;

inline bool on()
{
    return g_on.load(std::memory_order_relaxed);
}

struct Settings {
    std::string path;
    uint64_t maxBytes = 4u << 20;
    // Mapped ahead of the last line; the writer maps further on when half of it is used.
    uint64_t windowBytes = 1u << 20;
};

// Reads HBBTV_TRACE and HBBTV_TRACE_MAX_MB (whole MiB, 1 to 1024; default 4) the first time it
// is called and starts recording if the first names a file; later calls do nothing.
void startFromEnvironment();
// Starts recording with these settings unless recording is on already; false when the file
// cannot be opened (with a log line).
bool start(const Settings& settings);
// Returns when the file ends at the last line recorded before the call (the zero bytes mapped
// ahead of it are cut; the next line maps them again).
void flush();
// Stops recording: the file is cut at its last line and closed. A later start may follow.
void stop();
// The library's assertion is about to abort the process: records where, cuts the file at its last
// line, and records nothing after.
void recordAssertion(const char* file, const char* function, int line);
// Lines dropped because the buffer was full, since the process started.
uint64_t droppedLines();

// One trace line, committed when it goes out of scope.
class Line {
public:
    Line(const char* kind, const char* name);
    ~Line();
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    // A member of the line, or of the object opened last.
    template <typename T> Line& arg(const char* key, const T& value)
    {
        m_json.key(key);
        put(value);
        return *this;
    }
    Line& arg(const char* key, const char* text, size_t length)
    {
        m_json.key(key);
        m_json.value(text, length);
        return *this;
    }
    // Bytes as lowercase hexadecimal text, two digits a byte.
    Line& bytes(const char* key, const unsigned char* data, size_t size);
    Line& begin(const char* key)
    {
        m_json.key(key);
        m_json.beginObject();
        return *this;
    }
    Line& end()
    {
        m_json.endObject();
        return *this;
    }

private:
    void put(const char* text) { m_json.value(text); }
    void put(const std::string& text) { m_json.value(text); }
    void put(bool flag) { m_json.value(flag); }
    void put(double number) { m_json.value(number); }
    template <typename T> void put(const T& number)
    {
        static_assert(std::is_integral<T>::value || std::is_enum<T>::value, "a number, a text or a flag");
        if (std::is_signed<T>::value || std::is_enum<T>::value) {
            m_json.value(static_cast<int64_t>(number));
        } else {
            m_json.value(static_cast<uint64_t>(number));
        }
    }

    std::string m_text;
    TraceJson m_json;
};

// The agent's view of a command (all on the agent thread): handed to the host with its budget,
// completed, given up, and a completion that matched no waiting request.
void commandIssued(const HbbtvCommandPayload& payload, uint32_t ticket);
void commandCompleted(const HbbtvCommandPayload& payload, uint32_t ticket, bool valid);
void commandGivenUp(const HbbtvCommandPayload& payload, uint32_t ticket);
void completionUnmatched(uint32_t ticket);

} // namespace trace
} // namespace ZR_HBBTV_Core

#endif
