// The scenario language: a JSON list of steps, each an object with the step's name under "step"
// and its arguments beside it, for example
//   [ {"step": "boot"}, {"step": "tune", "channel": "Das Erste"} ]
// The vocabulary below says which steps exist and which arguments each takes; reading a scenario
// checks every step against it and fills in the defaults, so that the steps themselves find
// well-formed arguments only. The built-in scenario goes through the same check.
#ifndef HBBTV_SIMULATOR_SCENARIO_FILE_H
#define HBBTV_SIMULATOR_SCENARIO_FILE_H

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace hbbtv_simulator {

using Json = nlohmann::json;

// One step to play: its name and its checked arguments (an object, defaults filled in).
struct StepCall {
    std::string name;
    Json arguments;

    bool operator==(const StepCall& other) const { return name == other.name && arguments == other.arguments; }
};

// What is wrong with a scenario, in words for the person who wrote it.
class ScenarioError : public std::runtime_error {
public:
    explicit ScenarioError(const std::string& what)
        : std::runtime_error(what)
    {
    }
};

enum class ArgumentKind {
    Integer, // a whole number within [minimum, maximum]
    String, // a text
    Boolean, // true or false
    Choice, // one of the texts in choices
    Key, // a key name of the remote control (see keyNames) or a native key code
    Integers, // a list of exactly length whole numbers within [minimum, maximum]
    Strings, // a list of texts
    Object, // an object with the fields below
    Objects, // a list of such objects
    Any, // any JSON value, taken as it is (what a played step must see arrive)
};

struct ArgumentSpec {
    std::string name;
    ArgumentKind kind = ArgumentKind::String;
    std::string help;
    bool required = true;
    Json defaultValue; // when not required and absent
    long long minimum = 0;
    long long maximum = 0;
    size_t length = 0;
    std::vector<std::string> choices;
    std::vector<ArgumentSpec> fields;
};

struct StepSpec {
    std::string name;
    std::string help;
    std::vector<ArgumentSpec> arguments;
};

// Every step the simulator knows, in the order of an evening.
const std::vector<StepSpec>& stepVocabulary();
const StepSpec* findStepSpec(const std::string& name);

// The remote control's keys by name, with the native key codes the host gives the wrapper.
const std::vector<std::pair<std::string, int>>& keyNames();
// The native code of a checked Key argument, and a name for it in the trace.
int nativeKeyCode(const Json& key);
std::string keyLabel(const Json& key);

// Checks a scenario against the vocabulary; origin names the source in error messages.
std::vector<StepCall> parseScenario(const Json& scenario, const std::string& origin);
// Reads and checks a scenario file: ScenarioError for a file that cannot be read, is no JSON,
// or does not follow the vocabulary.
std::vector<StepCall> readScenarioFile(const std::string& path);

// The built-in scenario, a whole evening in front of the television, as written and as checked.
Json builtInScenarioJson();
std::vector<StepCall> builtInScenario();

// The vocabulary for people: each step, what it does, and its arguments.
void printStepVocabulary(FILE* out);

} // namespace hbbtv_simulator

#endif
