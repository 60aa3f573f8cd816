// Commands by the name the host knows them by, for the tools' tables and findings.
#ifndef HBBTV_TOOLS_COMMANDNAME_H
#define HBBTV_TOOLS_COMMANDNAME_H

#include <string>

namespace hbbtv_tools {

// The command's name from the catalogue, or "command N" for a number without one.
std::string commandName(int command);

} // namespace hbbtv_tools

#endif
