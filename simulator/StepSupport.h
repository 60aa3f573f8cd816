// What the step files share: small text helpers for traces and messages, and their step tables.
// Arguments reach the steps checked against the vocabulary (ScenarioFile.cpp), defaults filled in,
// so a step reads them without further checks.
#ifndef HBBTV_SIMULATOR_STEP_SUPPORT_H
#define HBBTV_SIMULATOR_STEP_SUPPORT_H

#include <sstream>
#include <string>
#include <vector>

#include "Scenario.h"

namespace hbbtv_simulator {

template <typename... Parts> std::string text(const Parts&... parts)
{
    std::ostringstream out;
    (out << ... << parts);
    return out.str();
}

inline std::string quoted(const std::string& value)
{
    return "\"" + value + "\"";
}

inline std::string joined(const std::vector<std::string>& items)
{
    std::string result;
    for (const std::string& item : items) {
        result += (result.empty() ? "" : ", ") + item;
    }
    return result;
}

// What the host's fixed-capacity record strings keep of a text.
inline std::string asRecorded(const std::string& value)
{
    return value.substr(0, 254);
}

// A title that does not depend on the arguments.
template <const char* Title> std::string fixedTitle(const Json&)
{
    return Title;
}

// The steps on the host's side and the browser's binding (HostSteps.cpp), and the broadcast
// services the browser asks for (BroadcastSteps.cpp).
const std::vector<StepAction>& hostStepActions();
const std::vector<StepAction>& broadcastStepActions();
// The single operations that the property tests play and print (PlayedSteps.cpp).
const std::vector<StepAction>& playedStepActions();

} // namespace hbbtv_simulator

#endif
