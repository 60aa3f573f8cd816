#include "TraceFile.h"

#include <cstdint>
#include <fstream>

#include "HbbtvTraceFormat.h"

namespace hbbtv_tools {

namespace {

namespace tf = HbbtvTraceFormat;

bool isTraceLine(const nlohmann::json& line)
{
    if (line.is_discarded() || !line.is_object()) {
        return false;
    }
    const auto kind = line.find(tf::line::kind);
    const auto t = line.find(tf::line::time);
    const auto seq = line.find(tf::line::seq);
    return kind != line.end() && kind->is_string() && t != line.end() && t->is_number()
           && (seq == line.end() || seq->is_number_unsigned());
}

} // namespace

bool readTraceFile(const std::string& path, TraceFile& file)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    std::string text;
    unsigned number = 0;
    while (std::getline(in, text)) {
        ++number;
        // Nothing before a zero byte is a whole line.
        const size_t zero = text.find_last_of('\0');
        if (zero != std::string::npos) {
            text.erase(0, zero + 1);
        }
        nlohmann::json line = nlohmann::json::parse(text, nullptr, false);
        if (zero != std::string::npos && (text.empty() || line.is_discarded())) {
            continue;
        }
        if (!isTraceLine(line)) {
            file.badLines.push_back(path + ":" + std::to_string(number) + " is not a trace line");
            continue;
        }
        file.lines.push_back(std::move(line));
    }
    return true;
}

unsigned keepLastRecording(std::vector<nlohmann::json>& lines)
{
    size_t lastStart = 0;
    unsigned recordings = 1;
    const nlohmann::json* previous = nullptr;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!lines[i].contains(tf::line::seq)) {
            continue; // a drop count carries no number
        }
        if (previous != nullptr && lines[i][tf::line::seq].get<uint64_t>() <= (*previous)[tf::line::seq].get<uint64_t>()) {
            lastStart = i;
            ++recordings;
        }
        previous = &lines[i];
    }
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lastStart));
    return recordings;
}

} // namespace hbbtv_tools
