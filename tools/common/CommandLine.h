// Option values given on the tools' command lines.
#ifndef HBBTV_TOOLS_COMMANDLINE_H
#define HBBTV_TOOLS_COMMANDLINE_H

namespace hbbtv_tools {

// A whole number from lowest to highest, all of text; false (value untouched) for anything else.
bool parseNumber(const char* text, unsigned long lowest, unsigned long highest, unsigned int& value);

} // namespace hbbtv_tools

#endif
