#include "HbbtvBackendGlue.TraceJson.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace ZR_HBBTV_Core {

namespace {

const char kReplacement[] = "\xEF\xBF\xBD"; // U+FFFD

} // namespace

size_t utf8SequenceLength(const unsigned char* text, size_t available)
{
    const unsigned char lead = text[0];
    size_t length;
    uint32_t lowest;
    uint32_t codePoint;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        lowest = 0x80;
        codePoint = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        lowest = 0x800;
        codePoint = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        lowest = 0x10000;
        codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (length > available) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80) {
            return 0;
        }
        codePoint = (codePoint << 6) | (text[i] & 0x3F);
    }
    if (codePoint < lowest || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF)) {
        return 0;
    }
    return length;
}

void TraceJson::appendString(std::string& out, const char* text, size_t length)
{
    static const char kHex[] = "0123456789abcdef";
    const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(text);
    out += '"';
    size_t i = 0;
    while (i < length) {
        const unsigned char c = bytes[i];
        if (c < 0x80) {
            switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            case '\b': out += "\\b"; break;
            case '\f': out += "\\f"; break;
            default:
                if (c < 0x20 || c == 0x7F) {
                    out += "\\u00";
                    out += kHex[c >> 4];
                    out += kHex[c & 0xF];
                } else {
                    out += static_cast<char>(c);
                }
            }
            ++i;
            continue;
        }
        const size_t sequence = utf8SequenceLength(bytes + i, length - i);
        if (sequence == 0) {
            out += kReplacement;
            ++i;
            continue;
        }
        out.append(text + i, sequence);
        i += sequence;
    }
    out += '"';
}

void TraceJson::beginObject()
{
    m_out += '{';
    m_first = true;
}

void TraceJson::endObject()
{
    m_out += '}';
    m_first = false;
}

void TraceJson::key(const char* name)
{
    if (!m_first) {
        m_out += ',';
    }
    m_first = false;
    appendString(m_out, name, std::char_traits<char>::length(name));
    m_out += ':';
}

void TraceJson::value(const char* text)
{
    if (text == nullptr) {
        m_out += "null";
        return;
    }
    appendString(m_out, text, std::char_traits<char>::length(text));
}

void TraceJson::value(const char* text, size_t length)
{
    appendString(m_out, text, length);
}

void TraceJson::value(bool flag)
{
    m_out += flag ? "true" : "false";
}

void TraceJson::value(int64_t number)
{
    char buffer[24];
    const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof buffer, number);
    m_out.append(buffer, end.ptr);
}

void TraceJson::value(uint64_t number)
{
    char buffer[24];
    const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof buffer, number);
    m_out.append(buffer, end.ptr);
}

void TraceJson::value(double number)
{
    // JSON has no infinities nor NaN.
    if (!std::isfinite(number)) {
        m_out += "null";
        return;
    }
    char buffer[32];
    snprintf(buffer, sizeof buffer, "%.17g", number);
    m_out += buffer;
}

} // namespace ZR_HBBTV_Core
