// The field trace's format (HBBTV_TRACE=FILE): one JSON object per line. Every line has the time,
// the thread, a kind, a name, the fields of its kind and a sequence number. This header names the
// kinds and the fields once, for the library that writes traces and for whatever reads them: the
// trace tool, the simulator's replay, or an integrator's own tools. Usable from C++11.
//
// A record's entries and numbered fields are named by a stem and an index from 0: "ch0", "ch1"...
// (numbered() below).
#ifndef HBBTV_TRACE_FORMAT_H
#define HBBTV_TRACE_FORMAT_H

#include <cstddef>
#include <string>

namespace HbbtvTraceFormat {

// The fields of every line.
namespace line {
constexpr char time[] = "t";      // monotonic microseconds
constexpr char thread[] = "th";   // the thread's id
constexpr char kind[] = "kind";
constexpr char name[] = "name";
constexpr char seq[] = "seq";     // the line's number in file order; a drop count has none
} // namespace line

// What crossed, and which way.
namespace kind {
constexpr char host[] = "host";           // a host call into the wrapper; named by the operation
constexpr char callback[] = "callback";   // a call into the host's Hbbtv_TVServer
constexpr char command[] = "command";     // a command handed to the host; named by the command
constexpr char completed[] = "completed"; // the host's completion of a command
constexpr char timeout[] = "timeout";     // a command the library gave up on
constexpr char unmatched[] = "unmatched"; // a completion whose ticket no request waits for
constexpr char answer[] = "answer";       // how a request ended for its requester, with its records
constexpr char hostdata[] = "hostdata";   // data the host wrote beside an answer (hostdata below)
constexpr char request[] = "request";     // a browser request to the TV service
constexpr char reply[] = "reply";         // what a request gave the browser
constexpr char browser[] = "browser";     // a browser callback into the library
constexpr char event[] = "event";         // an event or call to the browser
constexpr char key[] = "key";             // a key event to the browser
constexpr char binder[] = "binder";       // the browser's service bound or dead
constexpr char dropped[] = "dropped";     // lines dropped because the writer fell behind
constexpr char assertion[] = "assert";    // the library's assertion, just before it aborts
} // namespace kind

// Lines of kind command, completed, timeout, unmatched, answer and dropped.
namespace command {
constexpr char ticket[] = "ticket";
constexpr char number[] = "command";        // the command's number
constexpr char param1[] = "param1";
constexpr char param2[] = "param2";
constexpr char budgetMs[] = "budgetMs";
constexpr char resultAddress[] = "resultAddress"; // whether the payload carries one
constexpr char valid[] = "valid";           // completed: the answer's flag
constexpr char elapsedUs[] = "us";          // completed, timeout: since the hand-over
constexpr char outcome[] = "outcome";       // answer: one of the outcomes below
constexpr char payload[] = "payload";       // answer: the payload's fields (payload below)
constexpr char answer[] = "answer";         // answer: the answer's fields, when answered (answer below)
constexpr char droppedCount[] = "count";    // dropped: how many
} // namespace command

namespace outcome {
constexpr char answered[] = "answered";
constexpr char givenUp[] = "given up";
constexpr char refused[] = "refused";
} // namespace outcome

// A payload record, as an answer line carries it.
namespace payload {
constexpr char param1[] = "param1";
constexpr char param2[] = "param2";
constexpr char result[] = "result"; // whether it carries a result address
constexpr char str1[] = "str1";
constexpr char str2[] = "str2";
constexpr char byString[] = "byString";
constexpr char channelID1[] = "channelID1";
constexpr char channelID2[] = "channelID2";
constexpr char channelID3[] = "channelID3";
} // namespace payload

// An answer record, as an answer line carries it; the derived answers add their fields.
namespace answer {
constexpr char valid[] = "valid";
constexpr char flag[] = "flag";
constexpr char int1[] = "int1";
constexpr char int2[] = "int2";
constexpr char str1[] = "str1";
constexpr char str2[] = "str2";
constexpr char refused[] = "refused";       // the carousel mount's
constexpr char lineupWord[] = "lineupWord"; // the channel list's
constexpr char channel[] = "channel";       // the channel's, an object (channelInfo below)
constexpr char programme[] = "programme";   // the programme's, an object (programmeInfo below)
constexpr char componentCount[] = "count";  // the components'; the entries are host data
} // namespace answer

namespace channelInfo {
constexpr char numberA[] = "a";
constexpr char numberB[] = "b";
constexpr char numberC[] = "c";
constexpr char numberD[] = "d";
constexpr char extraE[] = "e";
constexpr char extraF[] = "f";
constexpr char type[] = "type";
constexpr char idType[] = "idType";
constexpr char inverted[] = "inverted";
constexpr char lock[] = "lock";
constexpr char name[] = "name";
} // namespace channelInfo

namespace programmeInfo {
constexpr char time1[] = "time1";
constexpr char time2[] = "time2";
constexpr char text1[] = "text1";
constexpr char text2[] = "text2";
constexpr char text3[] = "text3";
constexpr char text4[] = "text4";
} // namespace programmeInfo

// Lines of kind hostdata: named by what the host wrote, with its count, how many of them the line
// carries, and one numbered entry for each of those.
namespace hostdata {
constexpr char lineup[] = "lineup";               // the channel list in its pool
constexpr char schedule[] = "schedule";           // a channel's programmes in the result vector
constexpr char siDescriptors[] = "siDescriptors"; // SI descriptors in the result vector
constexpr char components[] = "components";       // the component entries of the answer record
constexpr char count[] = "count";
constexpr char recorded[] = "recorded";
constexpr char componentType[] = "type";          // components: the type asked for
// The stems of the entries: a channel, a programme, a descriptor (its bytes as hexadecimal text),
// a component.
constexpr char channelStem[] = "ch";
constexpr char programmeStem[] = "e";
constexpr char descriptorStem[] = "d";
constexpr char componentStem[] = "c";
} // namespace hostdata

namespace lineupEntry {
constexpr char id1[] = "id1";
constexpr char id2[] = "id2";
constexpr char id3[] = "id3";
constexpr char type[] = "type";
constexpr char idType[] = "idType";
constexpr char flagA[] = "flagA";
constexpr char numberA[] = "numberA";
constexpr char numberB[] = "numberB";
constexpr char flagB[] = "flagB";
constexpr char name[] = "name";
} // namespace lineupEntry

namespace scheduleEntry {
constexpr char word0[] = "word0";
constexpr char word1[] = "word1";
constexpr char word2[] = "word2";
constexpr char word3[] = "word3";
constexpr char text1[] = "text1";
constexpr char text2[] = "text2";
constexpr char text3[] = "text3";
constexpr char text4[] = "text4";
constexpr char rating[] = "rating";
constexpr char value16[] = "value16";
constexpr char text5[] = "text5";
constexpr char byte0[] = "byte0";
constexpr char byte1[] = "byte1";
constexpr char byte2[] = "byte2";
constexpr char byte3[] = "byte3";
} // namespace scheduleEntry

// An audio or video entry has all of these, a subtitle entry flagA, flagB, valueP and language.
namespace componentEntry {
constexpr char flagA[] = "flagA";
constexpr char flagB[] = "flagB";
constexpr char valueP[] = "valueP";
constexpr char valueQ[] = "valueQ";
constexpr char valueR[] = "valueR";
constexpr char valueS[] = "valueS";
constexpr char language[] = "language";
} // namespace componentEntry

// The AIT of the host's newAITNotification: its count, the number of applications and one
// numbered entry for each.
namespace ait {
constexpr char version[] = "version";
constexpr char count[] = "count";
constexpr char apps[] = "apps";
constexpr char appStem[] = "app";
} // namespace ait

namespace aitApp {
constexpr char id[] = "id";
constexpr char organisation[] = "org";
constexpr char control[] = "control";
constexpr char visibility[] = "visibility";
constexpr char priority[] = "priority";
constexpr char serviceBound[] = "serviceBound";
constexpr char name[] = "name";
constexpr char location[] = "location";
constexpr char transports[] = "transports"; // how many; each a numbered protocol and base
constexpr char boundaries[] = "boundaries"; // how many; each a numbered boundary
constexpr char protocolStem[] = "protocol";
constexpr char baseStem[] = "base";
constexpr char boundaryStem[] = "boundary";
} // namespace aitApp

// The channel a browser request names (tune, bindToCurrentChannel, getAllProgrammesForChannel),
// as far as the request uses it.
namespace channel {
constexpr char idType[] = "idType";
constexpr char onid[] = "onid";
constexpr char tsid[] = "tsid";
constexpr char sid[] = "sid";
constexpr char major[] = "major";
constexpr char ipBroadcastID[] = "ipBroadcastID";
constexpr char ccid[] = "ccid";
} // namespace channel

// The arguments of the host calls, browser requests and browser callbacks that a replay makes
// again (lines of kind host, request and browser), beside the channel and the AIT above.
namespace argument {
constexpr char a[] = "a";
constexpr char b[] = "b";
constexpr char c[] = "c";
constexpr char d[] = "d";
constexpr char appId[] = "appId";
constexpr char available[] = "available";
constexpr char data[] = "data";
constexpr char enabled[] = "enabled";
constexpr char error[] = "error";
constexpr char event[] = "event";
constexpr char eventKind[] = "eventKind";
constexpr char eventName[] = "eventName";
constexpr char extensionTag[] = "extensionTag";
constexpr char extra[] = "extra";
constexpr char flag[] = "flag";
constexpr char fullScreen[] = "fullScreen";
constexpr char height[] = "height";
constexpr char key[] = "key";
constexpr char loadId[] = "loadId";
constexpr char locale[] = "locale";
constexpr char percent[] = "percent";
constexpr char programmeID[] = "programmeID";
constexpr char running[] = "running";
constexpr char stopped[] = "stopped";
constexpr char tag[] = "tag";
constexpr char target[] = "target";
constexpr char text1[] = "text1";
constexpr char text2[] = "text2";
constexpr char timezone[] = "timezone";
constexpr char type[] = "type";
constexpr char url[] = "url";
constexpr char value[] = "value";
constexpr char value1[] = "value1";
constexpr char width[] = "width";
constexpr char windowId[] = "windowId";
constexpr char x[] = "x";
constexpr char y[] = "y";
} // namespace argument

// The name of a numbered field: "ch" and 3 give "ch3".
inline std::string numbered(const char* stem, size_t index)
{
    return stem + std::to_string(index);
}

} // namespace HbbtvTraceFormat

#endif
