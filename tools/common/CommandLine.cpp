#include "CommandLine.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace hbbtv_tools {

bool parseNumber(const char* text, unsigned long lowest, unsigned long highest, unsigned int& value)
{
    char* end = nullptr;
    const unsigned long parsed = strtoul(text, &end, 10);
    if (end == text || *end != '\0' || parsed < lowest || parsed > highest) {
        return false;
    }
    value = static_cast<unsigned int>(parsed);
    return true;
}

std::string ownExecutable()
{
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

} // namespace hbbtv_tools
