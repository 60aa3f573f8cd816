#include "CommandName.h"

#include "HbbtvBackendCommandCatalogue.h"

namespace hbbtv_tools {

std::string commandName(int command)
{
    const HbbtvBackendCommandInfo* const info = hbbtvBackendCommandInfo(command);
    return info != nullptr ? info->name : "command " + std::to_string(command);
}

} // namespace hbbtv_tools
