// How a replay compares its own trace with the recording: per kind and name, in order, without
// the fields that change from run to run, and what the library only received is not compared; and
// how it reads a recording whose process was killed.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "TraceReplay.h"

using hbbtv_simulator::compareTraces;
using hbbtv_simulator::Divergence;
using hbbtv_simulator::Json;
using hbbtv_simulator::readTrace;

namespace {

Json line(uint64_t seq, const char* kind, const char* name, Json fields = Json::object())
{
    fields["t"] = 1000 * seq;
    fields["th"] = 7;
    fields["seq"] = seq;
    fields["kind"] = kind;
    fields["name"] = name;
    return fields;
}

} // namespace

TEST(TraceReplay, ComparesWhatTheLibrarySentStreamByStream)
{
    const std::vector<Json> recorded = {
        line(1, "host", "keyClick", {{"key", 398}}),
        line(2, "key", "sendKeyEvent", {{"code", 403}, {"down", 1}}),
        line(3, "command", "TunerCommand_TuneTo", {{"ticket", 4}, {"param1", 1}}),
        line(4, "event", "programmeChanged"),
        line(5, "completed", "TunerCommand_TuneTo", {{"ticket", 4}, {"us", 90}}),
        line(6, "answer", "TunerCommand_TuneTo", {{"outcome", "answered"}, {"payload", {{"param1", 1}}},
                                                  {"answer", {{"int1", 101}}}}),
    };
    // Another run: other times, threads, tickets, answer times and host answers; a different key
    // code; the event before the command (different names may interleave differently); a host
    // call the replay made on its own; an extra event at the end.
    std::vector<Json> replayed = {
        line(1, "host", "keyClick", {{"key", 398}}),
        line(2, "host", "deinit"),
        line(3, "key", "sendKeyEvent", {{"code", 404}, {"down", 1}}),
        line(4, "event", "programmeChanged"),
        line(5, "command", "TunerCommand_TuneTo", {{"ticket", 9}, {"param1", 1}}),
        line(6, "completed", "TunerCommand_TuneTo", {{"ticket", 9}, {"us", 3}}),
        line(7, "answer", "TunerCommand_TuneTo", {{"outcome", "answered"}, {"payload", {{"param1", 1}}},
                                                  {"answer", {{"int1", 5}}}}),
        line(8, "event", "programmeChanged"),
    };
    for (Json& l : replayed) {
        l["th"] = 8;
    }
    const std::vector<Divergence> divergences = compareTraces(recorded, replayed);
    ASSERT_EQ(2u, divergences.size());
    EXPECT_EQ("key sendKeyEvent", divergences[0].stream);
    EXPECT_EQ(1u, divergences[0].index);
    EXPECT_EQ(2u, divergences[0].recordedSeq);
    EXPECT_EQ(3u, divergences[0].replayedSeq);
    EXPECT_EQ(R"({"code":403,"down":1,"kind":"key","name":"sendKeyEvent"})", divergences[0].recorded);
    EXPECT_EQ(R"({"code":404,"down":1,"kind":"key","name":"sendKeyEvent"})", divergences[0].replayed);
    EXPECT_EQ("event programmeChanged", divergences[1].stream);
    EXPECT_EQ(2u, divergences[1].index);
    EXPECT_EQ(0u, divergences[1].recordedSeq);
    EXPECT_EQ(8u, divergences[1].replayedSeq);
    EXPECT_EQ("nothing", divergences[1].recorded);

    // A command's payload that differs is a divergence; so is a command the replay never sent.
    replayed[6]["payload"]["param1"] = 2;
    replayed.erase(replayed.begin() + 4);
    const std::vector<Divergence> more = compareTraces(recorded, replayed);
    ASSERT_EQ(4u, more.size());
    EXPECT_EQ("command TunerCommand_TuneTo", more[1].stream);
    EXPECT_EQ("nothing", more[1].replayed);
    EXPECT_EQ("answer TunerCommand_TuneTo", more[2].stream);
    EXPECT_EQ(6u, more[2].recordedSeq);
}

TEST(TraceReplay, ReadsAKilledRecordingUpToItsLastWholeLine)
{
    const std::string path = std::string(getenv("TMPDIR") != nullptr ? getenv("TMPDIR") : "/tmp")
                             + "/hbbtv-replay-killed-" + std::to_string(getpid()) + ".jsonl";
    const std::string whole = line(1, "host", "init").dump() + "\n" + line(2, "host", "keyClick").dump() + "\n";
    // A line cut short (its head written, then zero bytes; or zero bytes, then its tail), and
    // the zero bytes of the window mapped ahead.
    const std::string killed = whole + "{\"t\":3000,\"th\":7,\"ki" + std::string(40, '\0') + "\n"
                               + std::string(9, '\0') + "\"seq\":4}\n" + std::string(4096, '\0');
    std::ofstream(path, std::ios::binary) << killed;
    const std::vector<Json> lines = readTrace(path);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("keyClick", lines[1]["name"]);

    // Appended to by a second run: the second recording alone.
    std::ofstream(path, std::ios::binary) << whole << line(1, "host", "init").dump() << "\n";
    ASSERT_EQ(1u, readTrace(path).size());

    std::ofstream(path, std::ios::binary) << whole << "not a trace line\n";
    try {
        readTrace(path);
        ADD_FAILURE() << "a line that is not a trace line was read";
    } catch (const hbbtv_simulator::ScenarioError& error) {
        EXPECT_EQ(path + ":3 is not a trace line", std::string(error.what()));
    }
    remove(path.c_str());
}
