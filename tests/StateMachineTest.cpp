// The library as a whole against a model of what the host and the browser must observe. Random
// sequences of host operations and browser events (the application manager and wrapper), and
// random interleavings of browser requests with host behaviours (the request path), are played
// one step at a time (simulation/StepPlayer); after every step what reached each side is compared
// with what the model says. Each case runs in a process of its own (support/ForkedCase.h). A
// failing sequence is shrunk, and written out as a scenario that `hbbtv_simulator --scenario FILE`
// plays again, every step with what must arrive.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <rapidcheck/state.h>

#include "HbbtvBackendCommand.h"
#include "ScenarioFile.h"
#include "SimulatedBrowser.h"
#include "SimulatedHost.h"
#include "StepPlayer.h"
#include "support/ForkedCase.h"

using hbbtv_sim::StepPlayer;
using Json = nlohmann::json;

namespace {

// A television booted, bound to the browser, with the browser's clients registered: the scenario
// steps boot, publish_browser, launch_browser and register_clients.
struct Stage {
    hbbtv_sim::SimulatedHost host;
    hbbtv_sim::SimulatedBrowser browser;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper = CreateHbbtvWrapper();
    std::unique_ptr<StepPlayer> player;

    Stage()
    {
        host.setWrapper(wrapper);
        wrapper->init(&host);
        if (!browser.publish() || !wrapper->launchBrowser() || !browser.registerClients()) {
            throw std::runtime_error("the television did not start");
        }
        player.reset(new StepPlayer(host, browser, wrapper, CreateHbbtvWrapper, DestroyHbbtvWrapper));
    }
};

const Json kStart = Json::array(
    {{{"step", "boot"}}, {{"step", "publish_browser"}}, {{"step", "launch_browser"}}, {{"step", "register_clients"}}});

const std::string& nameOf(const Json& step)
{
    return step.at("step").get_ref<const std::string&>();
}

bool isOneOf(const std::string& name, const std::vector<std::string>& names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// The choices of a step's argument in the simulator's vocabulary.
const std::vector<std::string>& choicesOf(const char* step, const char* argument)
{
    for (const hbbtv_simulator::ArgumentSpec& spec : hbbtv_simulator::findStepSpec(step)->arguments) {
        if (spec.name == argument) {
            return spec.choices;
        }
    }
    throw std::logic_error(std::string("no argument ") + argument + " in step " + step);
}

// A name drawn from those the model allows now; a name listed n times is n times as likely.
template <typename Model> std::string drawName(const Model& model, const std::vector<std::string>& weighted)
{
    std::vector<std::string> allowed;
    for (const std::string& name : weighted) {
        if (model.allows(Json{{"step", name}})) {
            allowed.push_back(name);
        }
    }
    return *rc::gen::elementOf(allowed);
}

// ---- The application manager and the wrapper ------------------------------------------------------

struct AppModel {
    enum Phase { Running, TornDown, Refusing }; // Refusing: a wrapper initialised after a teardown
    struct Load {
        bool done;
        std::string url;
    };

    Phase phase = Running;
    bool browserAlive = true;
    std::vector<int> windows; // as the browser reported them, repeats included
    std::map<int, Load> loads;
    int lowestLoad = 0;
    int nextApp = 1;
    std::map<int, int> userApps; // application id -> its browser window, -1 until created
    int nextBrowserWindow = 2;
    std::set<int> browserWindows; // the windows created for the host's applications, still open

    static const std::vector<std::string>& browserSteps()
    {
        static const std::vector<std::string> steps = {"window_opened", "window_closed", "load_started",
            "load_progress", "load_complete", "load_failed", "layout_completed", "media_components", "browser_death"};
        return steps;
    }
    static const std::vector<std::string>& hostSteps()
    {
        static const std::vector<std::string> steps = {"key_click", "ait", "no_ait", "prepare_application",
            "create_application", "close_user_apps", "channel_changed", "programme_changed", "locale", "timezone",
            "teletext", "select_media"};
        return steps;
    }

    bool allows(const Json& step) const
    {
        const std::string& name = nameOf(step);
        if (isOneOf(name, browserSteps())) {
            return browserAlive;
        }
        if (isOneOf(name, hostSteps())) {
            return phase == Refusing || (phase == Running && browserAlive);
        }
        if (name == "rebind") {
            return !browserAlive;
        }
        if (name == "deinit") {
            return phase != TornDown;
        }
        return name == "init_again" && phase == TornDown;
    }

    static Json draw(const AppModel& model)
    {
        static const std::vector<std::string> weighted = [] {
            // Rare: the browser's death (then mostly a rebind), the teardown and a second init.
            std::vector<std::string> names = {"browser_death", "deinit", "init_again"};
            names.insert(names.end(), 8, "rebind");
            for (int i = 0; i < 3; ++i) {
                names.insert(names.end(), browserSteps().begin(), browserSteps().end() - 1);
                names.insert(names.end(), {"load_started", "load_progress", "load_progress", "load_complete", "key_click"});
            }
            for (int i = 0; i < 2; ++i) {
                names.insert(names.end(), hostSteps().begin(), hostSteps().end());
            }
            return names;
        }();
        const std::string name = drawName(model, weighted);
        Json step = {{"step", name}};
        if (name == "window_opened" || name == "window_closed") {
            step["window"] = *rc::gen::inRange(1, 5);
        } else if (name.compare(0, 5, "load_") == 0 || name == "layout_completed") {
            // 0 is the browser's own; completing 14 drops the loads below 4, completing 2 after that all.
            const int load = *rc::gen::elementOf(std::vector<int>{0, 2, 2, 3, 14});
            step["load"] = load;
            if (name == "load_started" || name == "load_failed") {
                step["url"] = "http://p" + std::to_string(load) + "/" + std::to_string(*rc::gen::inRange(0, 2));
            }
            if (name == "load_progress") {
                step["percent"] = *rc::gen::elementOf(std::vector<int>{30, 99, 100, 120});
            }
            if (name == "load_failed") {
                step["error"] = 404;
            }
        } else if (name == "key_click") {
            step["key"] = *rc::gen::elementOf(std::vector<int>{398, 28, 2, 12345});
            step["press"] = *rc::gen::arbitrary<bool>();
            step["release"] = *rc::gen::arbitrary<bool>();
        } else if (name == "ait") {
            step["version"] = *rc::gen::inRange(0, 5);
            step["applications"] = *rc::gen::inRange(0, 3);
        } else if (name == "no_ait") {
            step["value"] = *rc::gen::inRange(0, 3);
        } else if (name == "create_application") {
            const int app = *rc::gen::inRange(0, model.nextApp + 1);
            step["app"] = app;
            step["url"] = "http://app" + std::to_string(app) + "/";
        } else if (name == "channel_changed") {
            step["onid"] = *rc::gen::inRange(0, 3);
            step["sid"] = *rc::gen::inRange(0, 3);
            step["major"] = *rc::gen::inRange(0, 3);
        } else if (name == "locale" || name == "timezone") {
            step["value"] = *rc::gen::elementOf(
                name == "locale" ? std::vector<std::string>{"de_DE", "fr_FR"} : std::vector<std::string>{"UTC", "CET"});
        } else if (name == "teletext") {
            step["answer"] = *rc::gen::elementOf(std::vector<int>{0, 1, 5});
        } else if (name == "select_media" || name == "media_components") {
            step["audio"] = *rc::gen::arbitrary<bool>();
            step["value"] = *rc::gen::inRange(0, 4);
            if (name == "media_components") {
                step["count"] = *rc::gen::inRange(0, 3);
            }
        }
        return step;
    }

    // The steps that end a scenario as a host ends: the wrapper destroyed.
    Json closing() const { return phase != TornDown ? Json::array({{{"step", "deinit"}}}) : Json::array(); }

    // What must reach the host and the browser during the step, and its result.
    Json predict(const Json& step)
    {
        const std::string& name = nameOf(step);
        const bool live = phase == Running;
        Json arrives = Json::object();
        if (name == "browser_death") {
            browserAlive = false;
            browserWindows.clear();
            if (live) {
                arrives["died"] = 1;
            }
        } else if (name == "rebind") {
            browserAlive = true;
            if (live) {
                arrives["registrations"] = 1;
            }
            arrives["result"] = live;
        } else if (name == "deinit") {
            phase = TornDown;
        } else if (name == "init_again") {
            phase = Refusing; // launchBrowser, isBrowserReady, prepareCreateApplication
            arrives["result"] = Json::array({false, false, 0});
        } else if (!live) {
            // Torn down: nothing reaches either side, and the host's calls give their failure values.
            if (name == "key_click") {
                arrives["result"] = Json::array({false, true});
            } else if (name == "ait") {
                arrives["result"] = false;
            } else if (name == "prepare_application" || name == "create_application" || name == "teletext") {
                arrives["result"] = 0;
            }
        } else if (isOneOf(name, browserSteps())) {
            predictBrowser(step, arrives);
        } else {
            predictHost(step, arrives);
        }
        return arrives;
    }

    void predictBrowser(const Json& step, Json& arrives)
    {
        const std::string& name = nameOf(step);
        if (name == "window_opened") {
            windows.push_back(step.at("window").get<int>());
            arrives["running"] = Json::array({true});
        } else if (name == "window_closed") {
            windows.erase(std::remove(windows.begin(), windows.end(), step.at("window").get<int>()), windows.end());
            arrives["running"] = Json::array({!windows.empty()});
        } else if (name == "media_components") {
            arrives["components"] = Json::array({{step.at("audio"), step.at("count"), step.at("value")}});
        } else if (step.contains("load") && step.at("load").get<int>() >= 2) { // 0 and 1 are the browser's own
            predictLoad(step, arrives);
        }
    }

    void predictLoad(const Json& step, Json& arrives)
    {
        const std::string& name = nameOf(step);
        const int id = step.at("load").get<int>();
        const auto load = loads.find(id);
        const bool open = load != loads.end() && !load->second.done;
        if (name == "load_started") {
            loads[id] = Load{false, step.at("url")};
            arrives["loading"] = Json::array({{0, step.at("url")}});
            arrives["requests"] = Json::array({TunerCommand_StartNewApplication}); // the application is announced
        } else if (name == "load_progress" && open) {
            const int percent = std::min(step.at("percent").get<int>(), 100);
            load->second.done = percent == 100;
            arrives["loading"] = Json::array({{percent, load->second.url}});
        } else if (name == "layout_completed") {
            // Reported even when the load reached 100 already.
            if (load != loads.end()) {
                load->second.done = true;
            }
            arrives["loading"] = Json::array({{100, load != loads.end() ? Json(load->second.url) : Json()}});
        } else if (name == "load_complete") {
            if (open) {
                load->second.done = true;
                arrives["loading"] = Json::array({{100, load->second.url}});
            }
            // The ten ids below the completed one are kept; an id older than all kept empties the list.
            if (id < lowestLoad) {
                lowestLoad = id;
                loads.clear();
            } else if (id - 10 >= 0) {
                loads.erase(loads.lower_bound(lowestLoad), loads.lower_bound(id - 10));
                lowestLoad = id - 10;
            }
        }
    }

    void predictHost(const Json& step, Json& arrives)
    {
        const std::string& name = nameOf(step);
        if (name == "key_click") {
            static const std::map<int, int> codes = {{398, 403}, {28, 13}, {2, 49}};
            const auto code = codes.find(step.at("key").get<int>());
            if (code != codes.end()) {
                arrives["keys"] = Json::array({{code->second, 1}, {code->second, 0}});
            }
            const bool consumed
                = code != codes.end() && (step.at("press").get<bool>() || step.at("release").get<bool>());
            arrives["result"] = Json::array({consumed, true}); // and woken by the verdict
        } else if (name == "ait") {
            arrives["ait"] = Json::array({{step.at("version"), step.at("applications"), step.at("applications")}});
            arrives["result"] = true;
        } else if (name == "no_ait") {
            arrives["noAit"] = Json::array({step.at("value")});
        } else if (name == "prepare_application") {
            userApps[nextApp] = -1;
            arrives["result"] = nextApp++;
        } else if (name == "create_application") {
            const int app = step.at("app").get<int>();
            if (userApps.count(app) == 0) {
                arrives["result"] = -1;
                return;
            }
            userApps[app] = nextBrowserWindow;
            browserWindows.insert(nextBrowserWindow++);
            arrives["windows"] = Json::array({step.at("url")});
            arrives["result"] = app;
        } else if (name == "close_user_apps") {
            Json closed = Json::array();
            for (const std::pair<const int, int>& app : userApps) {
                if (browserWindows.erase(app.second) != 0) {
                    closed.push_back(app.second);
                }
            }
            userApps.clear();
            if (!closed.empty()) {
                arrives["closed"] = closed;
            }
        } else if (name == "channel_changed") {
            arrives["channels"] = Json::array({{step.at("onid"), step.at("sid"), step.at("major"), 101}});
        } else if (name == "programme_changed") {
            arrives["programmes"] = 1;
        } else if (name == "locale" || name == "timezone") {
            arrives["env"] = Json::array({{name == "locale" ? "LANG" : "TZ", step.at("value")}});
        } else if (name == "teletext") {
            // Switched on; a browser that answers 1 is switched off again at once.
            const int answer = step.at("answer").get<int>();
            arrives["teletext"] = answer == 1 ? Json::array({1, 0}) : Json::array({1});
            arrives["result"] = answer == 1 ? 2 : (answer == 0 ? 1 : 0);
        } else if (name == "select_media") {
            arrives["selections"] = Json::array({{step.at("audio"), step.at("value")}});
        }
    }
};

// ---- The request path -------------------------------------------------------------------------------

struct RequestModel {
    struct Request {
        std::string kind;
        std::string host;
        int value;
        bool refused;
    };

    bool tornDown = false;
    std::map<int, Request> pending;
    int nextId = 1;

    bool allows(const Json& step) const
    {
        const std::string& name = nameOf(step);
        if (name == "request") {
            return !step.contains("id") || step.at("id").get<int>() >= nextId;
        }
        if (name == "await_request") {
            return !pending.empty() && (!step.contains("id") || pending.count(step.at("id").get<int>()) != 0);
        }
        // Requests in flight would wait for a host that no longer reports to anyone.
        return name == "deinit" && !tornDown && pending.empty();
    }

    static Json draw(const RequestModel& model)
    {
        const std::string name = drawName(model, {"request", "request", "await_request", "await_request", "deinit"});
        if (name == "request") {
            return {{"step", name}, {"id", model.nextId}, {"kind", *rc::gen::elementOf(choicesOf("request", "kind"))},
                    {"host", *rc::gen::elementOf(choicesOf("request", "host"))}, {"value", *rc::gen::inRange(0, 40)}};
        }
        if (name == "await_request") {
            std::vector<int> ids;
            for (const auto& request : model.pending) {
                ids.push_back(request.first);
            }
            return {{"step", name}, {"id", *rc::gen::elementOf(ids)}};
        }
        return {{"step", name}};
    }

    // Every request collected, then the wrapper destroyed.
    Json closing() const
    {
        Json steps = Json::array();
        for (const auto& request : pending) {
            steps.push_back({{"step", "await_request"}, {"id", request.first}});
        }
        if (!tornDown) {
            steps.push_back({{"step", "deinit"}});
        }
        return steps;
    }

    Json predict(const Json& step)
    {
        const std::string& name = nameOf(step);
        Json arrives = Json::object();
        if (name == "deinit") {
            tornDown = true;
        } else if (name == "request") {
            const int id = step.at("id").get<int>();
            const std::string kind = step.at("kind");
            pending[id] = Request{kind, step.at("host"), step.at("value").get<int>(), tornDown};
            nextId = id + 1;
            if (!tornDown) { // after the teardown a request is refused at once
                static const std::map<std::string, int> commands = {{"parental", ConfigCommand_GetParental},
                    {"audio_description", ConfigCommand_GetAudioDescription}, {"country", ConfigCommand_GetCountryID},
                    {"stop_video", DVBMediaPlayer_CloseVideo}};
                arrives["requests"] = Json::array({commands.at(kind)});
            }
        } else if (name == "await_request") {
            const Request request = pending.at(step.at("id").get<int>());
            pending.erase(step.at("id").get<int>());
            const Json result = resultOf(request);
            if (!result.is_null()) {
                arrives["result"] = result;
            }
        }
        return arrives;
    }

    // What the browser gets back: the host's answer when the host answered within the budget
    // (the answer writes its value into intValue1 and "c<value>" into strValue1), otherwise the
    // operation's failure value.
    static Json resultOf(const Request& request)
    {
        if (!request.refused && request.host == "garbage") {
            return "garbage";
        }
        const bool answered
            = !request.refused && isOneOf(request.host, {"on_time", "late", "twice", "short_budget"});
        const int value = request.value;
        if (request.kind == "parental") {
            return answered && static_cast<unsigned int>(value) >= 3 ? value : 3;
        }
        if (request.kind == "audio_description") {
            return answered && value != 0;
        }
        if (request.kind == "country") {
            return answered ? "c" + std::to_string(value) : "none";
        }
        return Json(); // stop_video returns nothing
    }
};

// ---- Running a property ------------------------------------------------------------------------------

template <typename Model> struct Step : rc::state::Command<Model, Stage> {
    Json step;

    explicit Step(const Model& model) : step(Model::draw(model)) {}

    void checkPreconditions(const Model& model) const override { RC_PRE(model.allows(step)); }
    void apply(Model& model) const override { model.predict(step); }
    void run(const Model& model, Stage& stage) const override
    {
        Model next = model;
        const Json expected = next.predict(step);
        Json arguments = step;
        arguments.erase("step");
        const std::string difference = StepPlayer::compare(expected, stage.player->play(nameOf(step), arguments));
        if (!difference.empty()) {
            throw std::runtime_error(step.dump() + ": " + difference);
        }
    }
    void show(std::ostream& out) const override { out << step.dump(); }
};

// The sequence as a scenario file: the start, every step with what must arrive, and the steps
// that end it as a host ends. Written for every failing case, so the file left is that of the
// last, shrunk one.
template <typename Model>
std::string writeScenario(const std::string& name, const rc::state::Commands<rc::state::Command<Model, Stage>>& commands)
{
    const char* const folder = std::getenv("HBBTV_FOUND_SCENARIOS");
    const std::string path = std::string(folder != nullptr ? folder : ".") + "/found-" + name + ".json";
    Model model;
    std::string text = "[\n";
    for (const Json& step : kStart) {
        text += "  " + step.dump() + ",\n";
    }
    Json steps = Json::array();
    for (const auto& command : commands) {
        steps.push_back(static_cast<const Step<Model>&>(*command).step);
    }
    for (Json& step : steps) {
        step["expect"] = model.predict(step);
    }
    for (Json step : model.closing()) {
        step["expect"] = model.predict(step);
        steps.push_back(step);
    }
    for (size_t i = 0; i < steps.size(); ++i) {
        text += "  " + steps[i].dump() + (i + 1 < steps.size() ? ",\n" : "\n");
    }
    text += "]\n";
    std::ofstream(path) << text;
    return "written to " + path + ":\n" + text;
}

template <typename Model> void checkSequences(const std::string& name)
{
    const auto commands = *rc::state::gen::commands(Model(), rc::state::gen::execOneOfWithArgs<Step<Model>>());
    const std::string failure = hbbtv_test::inChildProcess([&commands] {
        Stage stage;
        rc::state::runAll(commands, Model(), stage);
    });
    if (!failure.empty()) {
        RC_FAIL(failure + "\nscenario " + writeScenario<Model>(name, commands));
    }
}

} // namespace

// Windows and their count, each load's progress once per value, keys consumed or not, the AIT,
// applications, broadcast events, locale and time zone, teletext, media components both ways,
// the browser's death and rebinding, teardown and a refused second init.
RC_GTEST_PROP(StateMachine, HostAndBrowserSeeWhatTheModelSays, ())
{
    checkSequences<AppModel>("app_manager");
}

// Every requester gets the host's answer when it came within the budget, otherwise the failure
// value, whatever the host does with the other requests; after the teardown requests are refused.
RC_GTEST_PROP(StateMachine, EachRequesterGetsItsOwnAnswerOrItsFailureValue, ())
{
    checkSequences<RequestModel>("request_path");
}
