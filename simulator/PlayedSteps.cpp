// The single operations that the property tests play (simulation/StepPlayer) and print as a
// scenario when a property fails: each step does one thing and, when the scenario says what must
// arrive ("expect"), compares what reached the host and the browser with it.
#include "StepSupport.h"

namespace hbbtv_simulator {

namespace {

template <const char* Name> std::string titlePlayed(const Json& a)
{
    Json shown = a;
    shown.erase("expect");
    return std::string(Name) + (shown.empty() ? "" : " " + shown.dump());
}

template <const char* Name> std::string runPlayed(Scenario& s, const Json& a)
{
    if (s.library.handle == nullptr) {
        return "no wrapper yet: the scenario must boot first";
    }
    if (s.player == nullptr) {
        s.player.reset(new hbbtv_sim::StepPlayer(s.host, s.browser, s.wrapper, s.library.create, s.library.destroy));
    }
    Json arguments = a;
    arguments.erase("expect");
    const Json arrived = s.player->play(Name, arguments);
    s.trace("    arrived: " + arrived.dump());
    const Json& expected = a.at("expect");
    return expected.is_null() ? "" : hbbtv_sim::StepPlayer::compare(expected, arrived);
}

template <const char* Name> StepAction played()
{
    return { Name, titlePlayed<Name>, runPlayed<Name> };
}

const char kWindowOpened[] = "window_opened";
const char kWindowClosed[] = "window_closed";
const char kLoadStarted[] = "load_started";
const char kLoadProgress[] = "load_progress";
const char kLoadComplete[] = "load_complete";
const char kLoadFailed[] = "load_failed";
const char kLayoutCompleted[] = "layout_completed";
const char kKeyClick[] = "key_click";
const char kAit[] = "ait";
const char kNoAit[] = "no_ait";
const char kPrepareApplication[] = "prepare_application";
const char kCreateApplication[] = "create_application";
const char kCloseUserApps[] = "close_user_apps";
const char kChannelChanged[] = "channel_changed";
const char kProgrammeChanged[] = "programme_changed";
const char kLocale[] = "locale";
const char kTimezone[] = "timezone";
const char kTeletext[] = "teletext";
const char kSelectMedia[] = "select_media";
const char kMediaComponents[] = "media_components";
const char kBrowserDeath[] = "browser_death";
const char kRebind[] = "rebind";
const char kDeinit[] = "deinit";
const char kInitAgain[] = "init_again";
const char kRequest[] = "request";
const char kAwaitRequest[] = "await_request";

} // namespace

const std::vector<StepAction>& playedStepActions()
{
    static const std::vector<StepAction> actions = { played<kWindowOpened>(), played<kWindowClosed>(),
        played<kLoadStarted>(), played<kLoadProgress>(), played<kLoadComplete>(), played<kLoadFailed>(),
        played<kLayoutCompleted>(), played<kKeyClick>(), played<kAit>(), played<kNoAit>(),
        played<kPrepareApplication>(), played<kCreateApplication>(), played<kCloseUserApps>(),
        played<kChannelChanged>(), played<kProgrammeChanged>(), played<kLocale>(), played<kTimezone>(),
        played<kTeletext>(), played<kSelectMedia>(), played<kMediaComponents>(), played<kBrowserDeath>(),
        played<kRebind>(), played<kDeinit>(), played<kInitAgain>(), played<kRequest>(), played<kAwaitRequest>() };
    return actions;
}

} // namespace hbbtv_simulator
