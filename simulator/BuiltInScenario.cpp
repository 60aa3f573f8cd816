// The built-in scenario: a whole evening in front of the television. scenarios/evening.json holds
// the same steps as a scenario file; a test keeps the two equal.
#include "ScenarioFile.h"

namespace hbbtv_simulator {

namespace {

const char kRedButton[] = "http://hbbtv.example-broadcaster.tv/redbutton/index.html";
const char kCarousel[] = "dvb://233a.1004.1044.ffff/";

} // namespace

Json builtInScenarioJson()
{
    using Steps = Json;
    return Steps::array({
        // Boot, then the browser comes up and both sides find each other.
        { { "step", "boot" } },
        { { "step", "publish_browser" } },
        { { "step", "launch_browser" } },
        { { "step", "register_clients" } },
        // The service signals its applications and the red-button application opens.
        { { "step", "new_ait" }, { "version", 3 },
            { "applications",
                Json::array({
                    { { "id", 1 }, { "organisation", 23 }, { "name", "Red button" }, { "location", "index.html" },
                        { "transports", Json::array({ "http://hbbtv.example-broadcaster.tv/redbutton/" }) },
                        { "control", 1 } },
                    { { "id", 2 }, { "organisation", 23 }, { "name", "Mediathek" }, { "location", "start.html" },
                        { "transports", Json::array({ "http://mediathek.example-broadcaster.tv/", kCarousel }) },
                        { "control", 2 } },
                }) } },
        { { "step", "open_application" }, { "url", kRedButton }, { "extra", "" } },
        { { "step", "page_load" }, { "load", 2 }, { "url", kRedButton }, { "progress", Json::array({ 25, 60, 90 }) } },
        // The application looks at the channels and tunes.
        { { "step", "read_channel_list" },
            { "channels",
                Json::array({
                    { { "name", "Das Erste" }, { "ids", Json::array({ 28106, 8468, 1 }) }, { "radio", false },
                        { "idType", 3 } },
                    { { "name", "ZDF" }, { "ids", Json::array({ 28006, 8468, 2 }) }, { "radio", false },
                        { "idType", 3 } },
                    { { "name", "arte" }, { "ids", Json::array({ 28724, 8468, 3 }) }, { "radio", false },
                        { "idType", 3 } },
                    { { "name", "radioeins" }, { "ids", Json::array({ 28205, 8468, 40 }) }, { "radio", true },
                        { "idType", 3 } },
                }) } },
        { { "step", "tune" }, { "channel", "Das Erste" } },
        { { "step", "read_programmes" },
            { "present",
                { { "name", "Tagesschau" }, { "start", 1767207600 }, { "duration", 900 },
                    { "description", "Nachrichten" }, { "id", "crid://daserste.de/tagesschau" } } },
            { "following",
                { { "name", "Tatort" }, { "start", 1767208500 }, { "duration", 5400 }, { "description", "Krimi" },
                    { "id", "crid://daserste.de/tatort" } } } },
        { { "step", "read_schedule" }, { "channel", "Das Erste" },
            { "programmes",
                Json::array({
                    { { "name", "Tagesschau" }, { "start", 1767207600 }, { "duration", 900 }, { "rating", 0 },
                        { "description", "Nachrichten" }, { "genre", "news" } },
                    { { "name", "Tatort" }, { "start", 1767208500 }, { "duration", 5400 }, { "rating", 12 },
                        { "description", "Krimi" }, { "genre", "drama" } },
                    { { "name", "Tagesthemen" }, { "start", 1767213900 }, { "duration", 1800 }, { "rating", 0 },
                        { "description", "Nachrichten" }, { "genre", "news" } },
                }) } },
        { { "step", "read_si_descriptors" }, { "programme", "crid://daserste.de/tatort" }, { "tag", 85 },
            { "descriptors", Json::array({ { { "tag", 85 }, { "text", "DEU\t" } } }) } }, // rated 12
        // Audio in English, please.
        { { "step", "list_components" }, { "type", "audio" },
            { "components",
                Json::array({ { { "language", "deu" }, { "tag", 3 } }, { { "language", "eng" }, { "tag", 4 } } }) } },
        { { "step", "select_component" }, { "type", "audio" }, { "language", "eng" } },
        // The application takes the red key; the 9 goes back to the television.
        { { "step", "press_key" }, { "key", "red" }, { "consumed", true } },
        { { "step", "press_key" }, { "key", "9" }, { "consumed", false } },
        // The quiz starts with a stream event and fetches a file from the carousel.
        { { "step", "stream_event" }, { "url", "dvb://233a.1004.1044.ffff/events" }, { "name", "quiz_start" },
            { "data", "question=1" }, { "kind", "trigger" } },
        { { "step", "hbbtv_running" }, { "running", true } },
        { { "step", "mount_carousel_file" }, { "url", "dvb://233a.1004.1044.ffff/images/logo.png" },
            { "mountPoint", "/tmp/hbbtv/carousel/1044" }, { "serviceId", 4164 } },
        { { "step", "set_viewport" }, { "fullScreen", false }, { "x", 880 }, { "y", 60 }, { "width", 360 },
            { "height", 202 } },
        // The browser crashes and comes back.
        { { "step", "browser_dies" } },
        { { "step", "publish_browser" } },
        { { "step", "launch_browser" } },
        { { "step", "register_clients" } },
        { { "step", "stop_video" } },
        // Good night.
        { { "step", "teardown" } },
    });
}

} // namespace hbbtv_simulator
