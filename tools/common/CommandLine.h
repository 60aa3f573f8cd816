// What a tool knows of how it was started: its option values and its own program file.
#ifndef HBBTV_TOOLS_COMMANDLINE_H
#define HBBTV_TOOLS_COMMANDLINE_H

#include <string>

namespace hbbtv_tools {

// A whole number from lowest to highest, all of text; false (value untouched) for anything else.
bool parseNumber(const char* text, unsigned long lowest, unsigned long highest, unsigned int& value);

// The running program's file, "" when /proc cannot tell.
std::string ownExecutable();

} // namespace hbbtv_tools

#endif
