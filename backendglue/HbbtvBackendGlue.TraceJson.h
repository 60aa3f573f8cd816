// A small JSON writer for trace lines: objects, keys and scalar values appended to a string.
// Text from the host or the browser may hold anything: quotes, backslashes and control
// characters are escaped, valid UTF-8 passes through unchanged, and every byte that is not part
// of a valid UTF-8 sequence becomes U+FFFD, so that every line stays valid JSON.
#ifndef HBBTV_BACKENDGLUE_TRACEJSON_H
#define HBBTV_BACKENDGLUE_TRACEJSON_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace ZR_HBBTV_Core {

// The length of the valid UTF-8 sequence of two to four bytes that starts at text[0], or 0 if it
// is not one (overlong forms, surrogates and code points past U+10FFFF are not valid).
size_t utf8SequenceLength(const unsigned char* text, size_t available);

class TraceJson {
public:
    explicit TraceJson(std::string& out) : m_out(out), m_first(true) {}

    void beginObject();
    void endObject();
    // Starts a member: the comma when needed, the quoted key and the colon.
    void key(const char* name);

    void value(const char* text); // null for a null pointer
    void value(const char* text, size_t length);
    void value(const std::string& text) { value(text.data(), text.size()); }
    void value(bool flag);
    void value(int64_t number);
    void value(uint64_t number);
    void value(double number);

    // Appends text as a quoted JSON string.
    static void appendString(std::string& out, const char* text, size_t length);

private:
    std::string& m_out;
    bool m_first;
};

} // namespace ZR_HBBTV_Core

#endif
