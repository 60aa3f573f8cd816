#include "CommandLine.h"

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

} // namespace hbbtv_tools
