#include "ScenarioFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fstream>
#include <sstream>

namespace hbbtv_simulator {

namespace {

// ---- Building the vocabulary --------------------------------------------------------------------

ArgumentSpec integerArg(const char* name, long long minimum, long long maximum, const char* help)
{
    ArgumentSpec spec;
    spec.name = name;
    spec.kind = ArgumentKind::Integer;
    spec.help = help;
    spec.minimum = minimum;
    spec.maximum = maximum;
    return spec;
}

ArgumentSpec integersArg(const char* name, size_t length, long long minimum, long long maximum, const char* help)
{
    ArgumentSpec spec = integerArg(name, minimum, maximum, help);
    spec.kind = ArgumentKind::Integers;
    spec.length = length;
    return spec;
}

ArgumentSpec plainArg(const char* name, ArgumentKind kind, const char* help)
{
    ArgumentSpec spec;
    spec.name = name;
    spec.kind = kind;
    spec.help = help;
    return spec;
}

ArgumentSpec stringArg(const char* name, const char* help)
{
    return plainArg(name, ArgumentKind::String, help);
}

ArgumentSpec booleanArg(const char* name, const char* help)
{
    return plainArg(name, ArgumentKind::Boolean, help);
}

ArgumentSpec choiceArg(const char* name, std::vector<std::string> choices, const char* help)
{
    ArgumentSpec spec = plainArg(name, ArgumentKind::Choice, help);
    spec.choices = std::move(choices);
    return spec;
}

ArgumentSpec objectArg(const char* name, ArgumentKind kind, std::vector<ArgumentSpec> fields, const char* help)
{
    ArgumentSpec spec = plainArg(name, kind, help);
    spec.fields = std::move(fields);
    return spec;
}

ArgumentSpec optional(ArgumentSpec spec, Json defaultValue)
{
    spec.required = false;
    spec.defaultValue = std::move(defaultValue);
    return spec;
}

const long long kU16 = 65535;
const long long kU32 = 4294967295LL;

std::vector<ArgumentSpec> programmeFields()
{
    return {
        stringArg("name", "the programme's title"),
        integerArg("start", 0, kU32, "its start time, seconds"),
        integerArg("duration", 0, kU32, "its duration, seconds"),
        optional(stringArg("description", "its short description"), ""),
        optional(stringArg("id", "its programme identifier"), ""),
    };
}

// A step of the operations that the property tests play one at a time (simulation/StepPlayer):
// what reached the host and the browser during the step is compared with "expect" when given.
StepSpec played(const char* name, const char* help, std::vector<ArgumentSpec> arguments)
{
    ArgumentSpec expect = plainArg("expect", ArgumentKind::Any,
        "what must arrive during the step, and its result ({} for nothing), as the property tests print it");
    arguments.push_back(optional(expect, nullptr));
    return { name, help, std::move(arguments) };
}

std::vector<StepSpec> playedSteps()
{
    const ArgumentSpec window = integerArg("window", 0, INT_MAX, "the window id");
    const ArgumentSpec load = integerArg("load", INT_MIN, INT_MAX, "the browser's load id");
    const ArgumentSpec url = stringArg("url", "the address");
    const ArgumentSpec audio = booleanArg("audio", "audio (true) or subtitles (false)");
    const ArgumentSpec value = integerArg("value", INT_MIN, INT_MAX, "the value passed with it");
    return {
        played("window_opened", "the browser reports a new window (notifyNewWindow)", { window }),
        played("window_closed", "the browser reports a closed window (notifyWindowClosed)", { window }),
        played("load_started", "the browser starts a load (notifyLoadStarted)", { load, url }),
        played("load_progress", "the browser reports a load's progress (notifyLoadProgress)",
            { load, integerArg("percent", INT_MIN, INT_MAX, "the progress in percent") }),
        played("load_complete", "the browser completes a load (notifyLoadComplete)", { load }),
        played("load_failed", "the browser reports a failed load (notifyLoadFailed)",
            { load, url, integerArg("error", INT_MIN, INT_MAX, "the error") }),
        played("layout_completed", "the browser completes a load's first layout (notifyInitialLayoutCompleted)",
            { load }),
        played("key_click", "the host offers a key (keyClick); the browser answers press and release as given",
            { integerArg("key", 0, kU32, "the native key code"), booleanArg("press", "the press is consumed"),
                booleanArg("release", "the release is consumed") }),
        played("ait", "the host passes an AIT with applications 1..n, one transport each (newAITNotification)",
            { integerArg("version", 0, kU32, "the AIT's version"),
                integerArg("applications", 0, 64, "how many applications") }),
        played("no_ait", "the host says there is no AIT (noAITNotification)",
            { integerArg("value", 0, kU16, "the value passed with it") }),
        played("prepare_application", "the host reserves an application id (prepareCreateApplication)", {}),
        played("create_application", "the host opens an application in a window (createApplication)",
            { integerArg("app", INT_MIN, INT_MAX, "the application id"), url }),
        played("close_user_apps", "the host closes the applications it opened (closeUserCreatedApps)", {}),
        played("channel_changed", "the host changed the channel (notifyChannelChanged)",
            { integerArg("onid", 0, kU16, "the network"), integerArg("sid", 0, kU16, "the service"),
                integerArg("major", 0, kU16, "the channel number") }),
        played("programme_changed", "the programme changed (notifyProgrammeChanged)", {}),
        played("locale", "the host's locale changed (notifyLocaleChanged)", { stringArg("value", "the locale") }),
        played("timezone", "the host's time zone changed (notifyTimezoneChanged)",
            { stringArg("value", "the time zone") }),
        played("teletext", "the host toggles teletext (toggleDigitalTeletext); the browser answers as given",
            { integerArg("answer", INT_MIN, INT_MAX, "the browser's answer to the toggle") }),
        played("select_media", "the host selects a media component (selectMMAudioComponent, selectMMSubtitleComponent)",
            { audio, value }),
        played("media_components", "the browser reports its media components (notify...ComponentsChanged)",
            { audio, integerArg("count", 0, 64, "how many components"), value }),
        played("browser_death", "the browser process dies", {}),
        played("rebind", "the browser is started again: it publishes its service, the host calls launchBrowser, "
                         "the browser registers its clients", {}),
        played("deinit", "the host destroys the wrapper (DestroyHbbtvWrapper)", {}),
        played("init_again", "the host creates and initialises a new wrapper, then calls launchBrowser, "
                             "isBrowserReady and prepareCreateApplication on it", {}),
        played("request", "the browser makes a request on a thread of its own; the host treats it as given",
            { integerArg("id", 0, INT_MAX, "the request's number in the scenario"),
                choiceArg("kind", { "parental", "audio_description", "country", "stop_video" }, "what is asked"),
                choiceArg("host", { "on_time", "late", "twice", "never", "too_late", "garbage", "short_budget",
                    "rewritten_ticket" }, "how the host treats it"),
                integerArg("value", INT_MIN, INT_MAX, "what the host answers: intValue1, and \"c<value>\" in strValue1") }),
        played("await_request", "the browser's request comes back; its result is the step's",
            { integerArg("id", 0, INT_MAX, "the request's number") }),
    };
}

std::vector<StepSpec> makeVocabulary()
{
    std::vector<StepSpec> steps = {
        { "boot", "the host loads the library (dlopen), calls CreateHbbtvWrapper and init; kalto.TVService appears",
            {} },
        { "publish_browser", "the browser process publishes its service com.kalto.YXTService", {} },
        { "launch_browser", "the host calls launchBrowser: the glue binds to the browser and registers its two clients",
            {} },
        { "register_clients",
            "the browser registers its five clients through kalto.TVService; isBrowserReady turns true", {} },
        { "new_ait",
            "the host passes the AIT of the service (newAITNotification); the browser's AIT client gets one "
            "description per application and transport",
            {
                optional(integerArg("version", 0, kU32, "the AIT's version"), 1),
                objectArg("applications", ArgumentKind::Objects,
                    {
                        integerArg("id", 0, kU16, "the application identifier"),
                        optional(integerArg("organisation", 0, kU32, "the organisation identifier"), 1),
                        stringArg("name", "the application's name"),
                        stringArg("location", "its location, appended to each transport's base address"),
                        objectArg("transports", ArgumentKind::Strings, {}, "base addresses, one per transport"),
                        optional(integerArg("control", 0, 255, "the control code"), 1),
                    },
                    "the signalled applications"),
            } },
        { "open_application",
            "the host opens an application window (prepareCreateApplication, createApplication); the browser "
            "reports the new window and the host hears that an application runs",
            {
                stringArg("url", "the application's address"),
                optional(stringArg("extra", "the text handed to the browser with the window settings"), ""),
            } },
        { "page_load",
            "the browser loads a page: load start (which announces the application to the TV service), "
            "progress, completion; the host hears each as a loading notification",
            {
                integerArg("load", 2, INT_MAX, "the browser's load id (0 and 1 are not tracked)"),
                stringArg("url", "the page's address"),
                optional(integersArg("progress", 0, 0, 1000, "progress reports in percent, in order"), Json::array()),
            } },
        { "read_channel_list",
            "the host writes its channel list into the channel-list pool and the browser reads it (getChannelList)",
            { objectArg("channels", ArgumentKind::Objects,
                {
                    stringArg("name", "the channel's name"),
                    integersArg("ids", 3, 0, kU16, "the host's three channel numbers, in the pool's order"),
                    optional(booleanArg("radio", "a radio channel"), false),
                    optional(integerArg("idType", 0, kU16, "the host's identifier type (3: DVB-T)"), 3),
                },
                "the lineup, in order") } },
        { "tune", "the browser tunes to a channel of the list it read (tune); the host sees the channel's numbers",
            { stringArg("channel", "the channel's name") } },
        { "read_programmes", "the browser reads the present and following programmes (getProgrammes)",
            {
                objectArg("present", ArgumentKind::Object, programmeFields(), "the programme on now"),
                objectArg("following", ArgumentKind::Object, programmeFields(), "the programme after it"),
            } },
        { "read_schedule",
            "the browser reads all programmes of a channel (getAllProgrammesForChannel); the host fills the "
            "result vector in place",
            {
                stringArg("channel", "the channel's name, from the list the browser read"),
                objectArg("programmes", ArgumentKind::Objects,
                    {
                        stringArg("name", "the programme's title"),
                        integerArg("start", 0, kU32, "its start time, seconds"),
                        integerArg("duration", 0, kU32, "its duration, seconds"),
                        optional(integerArg("rating", 0, 255, "its parental rating"), 0),
                        optional(stringArg("description", "its short description"), ""),
                        optional(stringArg("genre", "its genre"), ""),
                    },
                    "the schedule, in order"),
            } },
        { "read_si_descriptors", "the browser reads a programme's SI descriptors of a tag (getSIDescriptors)",
            {
                stringArg("programme", "the programme's identifier"),
                integerArg("tag", 0, 255, "the descriptor tag asked for"),
                objectArg("descriptors", ArgumentKind::Objects,
                    {
                        integerArg("tag", 0, 255, "the descriptor's tag"),
                        stringArg("text", "its payload, as text (at most 255 bytes)"),
                    },
                    "the descriptors the host answers with, in order"),
            } },
        { "list_components", "the browser lists the broadcast's components of a type (getAVComponents)",
            {
                choiceArg("type", { "audio", "subtitle" }, "the component type"),
                objectArg("components", ArgumentKind::Objects,
                    {
                        stringArg("language", "the component's language"),
                        integerArg("tag", 0, kU16, "its component tag"),
                    },
                    "the components, in order"),
            } },
        { "select_component", "the browser selects one of the components it listed (selectAVComponent)",
            {
                choiceArg("type", { "audio", "subtitle" }, "the component type"),
                stringArg("language", "the language of the listed component to select"),
            } },
        { "press_key",
            "the host offers a key press to HbbTV (keyClick); the browser consumes it or not, and keyClick says so",
            {
                plainArg("key", ArgumentKind::Key, "a key name (red, green, ok, 0-9, ...) or a native key code"),
                booleanArg("consumed", "whether the browser consumes the key"),
            } },
        { "stream_event",
            "the host delivers a DSM-CC stream event (notifyStreamEvent); the browser's DSM-CC client receives it",
            {
                stringArg("url", "the event's object address"),
                stringArg("name", "the event's name"),
                optional(stringArg("data", "the event's data"), ""),
                optional(stringArg("kind", "\"trigger\", or anything else for a plain event"), "trigger"),
            } },
        { "hbbtv_running", "the host tells the glue whether HbbTV runs (SetHbbTVRunningStatus)",
            { optional(booleanArg("running", "HbbTV runs"), true) } },
        { "mount_carousel_file",
            "the browser mounts an object-carousel file (requestOCResourceMount); the host answers with a mount point",
            {
                stringArg("url", "the file's dvb: address"),
                stringArg("mountPoint", "where the host mounts it"),
                optional(
                    integerArg("serviceId", 0, kU32, "the service identifier the host must be asked for"), nullptr),
            } },
        { "set_viewport", "the browser places the broadcast video (setViewport)",
            {
                optional(booleanArg("fullScreen", "full screen, whatever the rectangle says"), false),
                integerArg("x", 0, kU16, "left edge"),
                integerArg("y", 0, kU16, "top edge"),
                integerArg("width", 0, kU16, "width"),
                integerArg("height", 0, kU16, "height"),
            } },
        { "stop_video", "the browser stops the broadcast video (stopVideo)", {} },
        { "browser_dies", "the browser process dies; the host hears HBBTV_BrowserDiedNotification", {} },
        { "teardown", "the host destroys the wrapper (DestroyHbbtvWrapper)", {} },
    };
    const std::vector<StepSpec> more = playedSteps();
    steps.insert(steps.end(), more.begin(), more.end());
    return steps;
}

// ---- Checking -----------------------------------------------------------------------------------

std::string shown(const Json& value)
{
    std::string text = value.dump();
    if (text.size() > 40) {
        text = text.substr(0, 37) + "...";
    }
    return std::string(value.type_name()) + " " + text;
}

size_t editDistance(const std::string& a, const std::string& b)
{
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({ row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1) });
            diagonal = above;
        }
    }
    return row[b.size()];
}

// " (did you mean "x"?)" for a near miss, otherwise the list of what is known.
std::string suggestion(const std::string& given, const std::vector<std::string>& known)
{
    std::string best;
    size_t bestDistance = 3;
    for (const std::string& name : known) {
        const size_t distance = editDistance(given, name);
        if (distance < bestDistance) {
            best = name;
            bestDistance = distance;
        }
    }
    if (!best.empty()) {
        return " (did you mean \"" + best + "\"?)";
    }
    std::string list;
    for (const std::string& name : known) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list.empty() ? " (it takes none)" : " (known: " + list + ")";
}

Json checkObject(
    const std::vector<ArgumentSpec>& fields, const Json& object, const std::string& where, const char* reserved);

Json checkValue(const ArgumentSpec& spec, const Json& value, const std::string& where)
{
    const auto fail = [&](const std::string& expected) -> ScenarioError {
        return ScenarioError(where + ": expected " + expected + ", found " + shown(value));
    };
    const auto checkInteger = [&](const Json& number, const std::string& at) {
        const std::string range = std::to_string(spec.minimum) + ".." + std::to_string(spec.maximum);
        if (!number.is_number_integer()) {
            throw ScenarioError(at + ": expected a whole number in " + range + ", found " + shown(number));
        }
        const bool tooBig = number.is_number_unsigned() && number.get<unsigned long long>() > LLONG_MAX;
        const long long n = tooBig ? LLONG_MAX : number.get<long long>();
        if (tooBig || n < spec.minimum || n > spec.maximum) {
            throw ScenarioError(at + ": " + number.dump() + " is out of range " + range);
        }
    };
    switch (spec.kind) {
    case ArgumentKind::Integer:
        checkInteger(value, where);
        return value;
    case ArgumentKind::String:
        if (!value.is_string()) {
            throw fail("a string");
        }
        return value;
    case ArgumentKind::Boolean:
        if (!value.is_boolean()) {
            throw fail("true or false");
        }
        return value;
    case ArgumentKind::Choice:
        if (!value.is_string()
            || std::find(spec.choices.begin(), spec.choices.end(), value.get<std::string>()) == spec.choices.end()) {
            std::string choices;
            for (const std::string& choice : spec.choices) {
                choices += (choices.empty() ? "\"" : " or \"") + choice + "\"";
            }
            throw fail(choices);
        }
        return value;
    case ArgumentKind::Key:
        if (value.is_string()) {
            for (const auto& key : keyNames()) {
                if (key.first == value.get<std::string>()) {
                    return value;
                }
            }
            std::vector<std::string> names;
            for (const auto& key : keyNames()) {
                names.push_back(key.first);
            }
            throw ScenarioError(where + ": unknown key \"" + value.get<std::string>() + "\""
                + suggestion(value.get<std::string>(), names));
        }
        if (!value.is_number_integer() || value.get<long long>() < 0 || value.get<long long>() > kU16) {
            throw fail("a key name or a native key code in 0.." + std::to_string(kU16));
        }
        return value;
    case ArgumentKind::Integers:
        if (!value.is_array() || (spec.length != 0 && value.size() != spec.length)) {
            throw fail(spec.length != 0 ? "a list of " + std::to_string(spec.length) + " whole numbers"
                                        : "a list of whole numbers");
        }
        for (size_t i = 0; i < value.size(); ++i) {
            checkInteger(value[i], where + "[" + std::to_string(i) + "]");
        }
        return value;
    case ArgumentKind::Strings:
        if (!value.is_array()) {
            throw fail("a list of strings");
        }
        for (size_t i = 0; i < value.size(); ++i) {
            if (!value[i].is_string()) {
                throw ScenarioError(where + "[" + std::to_string(i) + "]: expected a string, found " + shown(value[i]));
            }
        }
        return value;
    case ArgumentKind::Object:
        return checkObject(spec.fields, value, where, nullptr);
    case ArgumentKind::Any:
        return value;
    case ArgumentKind::Objects: {
        if (!value.is_array()) {
            throw fail("a list of objects");
        }
        Json checked = Json::array();
        for (size_t i = 0; i < value.size(); ++i) {
            checked.push_back(checkObject(spec.fields, value[i], where + "[" + std::to_string(i) + "]", nullptr));
        }
        return checked;
    }
    }
    return value;
}

// The object's fields checked and completed with their defaults; reserved names a key that belongs
// to the caller (the step's name).
Json checkObject(
    const std::vector<ArgumentSpec>& fields, const Json& object, const std::string& where, const char* reserved)
{
    if (!object.is_object()) {
        throw ScenarioError(where + ": expected an object, found " + shown(object));
    }
    std::vector<std::string> known;
    for (const ArgumentSpec& field : fields) {
        known.push_back(field.name);
    }
    for (const auto& item : object.items()) {
        if ((reserved == nullptr || item.key() != reserved)
            && std::find(known.begin(), known.end(), item.key()) == known.end()) {
            throw ScenarioError(where + ": unknown argument \"" + item.key() + "\"" + suggestion(item.key(), known));
        }
    }
    Json checked = Json::object();
    for (const ArgumentSpec& field : fields) {
        const auto found = object.find(field.name);
        if (found == object.end()) {
            if (field.required) {
                throw ScenarioError(where + ": missing argument \"" + field.name + "\" (" + field.help + ")");
            }
            checked[field.name] = field.defaultValue;
        } else if (found->is_null() && !field.required && field.defaultValue.is_null()) {
            // An optional argument without a default reads back as null; null says "absent" here too.
            checked[field.name] = nullptr;
        } else {
            checked[field.name] = checkValue(field, *found, where + ": argument \"" + field.name + "\"");
        }
    }
    return checked;
}

const char* kindText(const ArgumentSpec& spec)
{
    switch (spec.kind) {
    case ArgumentKind::Integer:
        return "number";
    case ArgumentKind::String:
        return "string";
    case ArgumentKind::Boolean:
        return "true/false";
    case ArgumentKind::Choice:
        return "choice";
    case ArgumentKind::Key:
        return "key";
    case ArgumentKind::Integers:
        return "list of numbers";
    case ArgumentKind::Strings:
        return "list of strings";
    case ArgumentKind::Object:
        return "object";
    case ArgumentKind::Objects:
        return "list of objects";
    case ArgumentKind::Any:
        return "JSON";
    }
    return "";
}

void printArguments(FILE* out, const std::vector<ArgumentSpec>& arguments, int indent)
{
    for (const ArgumentSpec& argument : arguments) {
        std::string detail = kindText(argument);
        if (argument.kind == ArgumentKind::Integer || argument.kind == ArgumentKind::Integers) {
            detail += " " + std::to_string(argument.minimum) + ".." + std::to_string(argument.maximum);
        }
        if (argument.kind == ArgumentKind::Choice) {
            for (size_t i = 0; i < argument.choices.size(); ++i) {
                detail += (i == 0 ? " " : "|") + argument.choices[i];
            }
        }
        detail += argument.required
            ? ", required"
            : (argument.defaultValue.is_null() ? ", optional" : ", default " + argument.defaultValue.dump());
        fprintf(out, "%*s%-12s (%s) %s\n", indent, "", argument.name.c_str(), detail.c_str(), argument.help.c_str());
        printArguments(out, argument.fields, indent + 4);
    }
}

} // namespace

const std::vector<StepSpec>& stepVocabulary()
{
    static const std::vector<StepSpec> vocabulary = makeVocabulary();
    return vocabulary;
}

const StepSpec* findStepSpec(const std::string& name)
{
    for (const StepSpec& spec : stepVocabulary()) {
        if (spec.name == name) {
            return &spec;
        }
    }
    return nullptr;
}

const std::vector<std::pair<std::string, int>>& keyNames()
{
    static const std::vector<std::pair<std::string, int>> keys = {
        { "red", 398 },
        { "green", 399 },
        { "yellow", 400 },
        { "blue", 401 },
        { "up", 103 },
        { "down", 108 },
        { "left", 105 },
        { "right", 106 },
        { "ok", 352 },
        { "enter", 28 },
        { "back", 158 },
        { "play", 207 },
        { "pause", 119 },
        { "stop", 128 },
        { "fast_forward", 208 },
        { "rewind", 168 },
        { "teletext", 388 },
        { "0", 11 },
        { "1", 2 },
        { "2", 3 },
        { "3", 4 },
        { "4", 5 },
        { "5", 6 },
        { "6", 7 },
        { "7", 8 },
        { "8", 9 },
        { "9", 10 },
    };
    return keys;
}

int nativeKeyCode(const Json& key)
{
    if (key.is_string()) {
        for (const auto& entry : keyNames()) {
            if (entry.first == key.get<std::string>()) {
                return entry.second;
            }
        }
        return -1;
    }
    return key.get<int>();
}

std::string keyLabel(const Json& key)
{
    const std::string code = std::to_string(nativeKeyCode(key));
    return key.is_string() ? key.get<std::string>() + " (" + code + ")" : code;
}

std::vector<StepCall> parseScenario(const Json& scenario, const std::string& origin)
{
    if (!scenario.is_array()) {
        throw ScenarioError(origin + ": a scenario is a JSON list of steps, found " + shown(scenario));
    }
    std::vector<std::string> names;
    for (const StepSpec& spec : stepVocabulary()) {
        names.push_back(spec.name);
    }
    std::vector<StepCall> steps;
    for (size_t i = 0; i < scenario.size(); ++i) {
        const Json& step = scenario[i];
        const std::string where = origin + ": step " + std::to_string(i + 1);
        if (!step.is_object()) {
            throw ScenarioError(
                where + ": a step is an object with its name under \"step\" and its arguments, found " + shown(step));
        }
        const auto name = step.find("step");
        if (name == step.end() || !name->is_string()) {
            throw ScenarioError(where + ": no step name (a string under \"step\")");
        }
        const StepSpec* const spec = findStepSpec(name->get<std::string>());
        if (spec == nullptr) {
            throw ScenarioError(where + ": unknown step \"" + name->get<std::string>() + "\""
                + suggestion(name->get<std::string>(), names));
        }
        steps.push_back(
            StepCall { spec->name, checkObject(spec->arguments, step, where + " (" + spec->name + ")", "step") });
    }
    return steps;
}

std::vector<StepCall> readScenarioFile(const std::string& path)
{
    std::ifstream file(path);
    if (!file) {
        throw ScenarioError(path + ": cannot be read: " + strerror(errno));
    }
    std::stringstream text;
    text << file.rdbuf();
    Json scenario;
    try {
        // Comments (// and /* */) are allowed: scenario files are written by people.
        scenario = Json::parse(text.str(), nullptr, true, true);
    } catch (const Json::exception& error) { // a parse error, or a number too large for a double
        std::string message = error.what();
        const size_t prefixEnd = message.find("] ");
        if (prefixEnd != std::string::npos) {
            message = message.substr(prefixEnd + 2);
        }
        throw ScenarioError(path + ": not valid JSON: " + message);
    }
    return parseScenario(scenario, path);
}

std::vector<StepCall> builtInScenario()
{
    return parseScenario(builtInScenarioJson(), "built-in scenario");
}

void printStepVocabulary(FILE* out)
{
    fprintf(out,
        "A scenario file is a JSON list of steps, each an object with its name under \"step\" and its\n"
        "arguments beside it, e.g. [{\"step\": \"boot\"}, {\"step\": \"tune\", \"channel\": \"Das Erste\"}].\n"
        "Comments are allowed. Steps:\n");
    for (const StepSpec& spec : stepVocabulary()) {
        fprintf(out, "\n  %s: %s\n", spec.name.c_str(), spec.help.c_str());
        printArguments(out, spec.arguments, 6);
    }
}

} // namespace hbbtv_simulator
