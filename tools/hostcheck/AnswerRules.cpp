#include "AnswerRules.h"

#include <cstdio>
#include <cstring>

#include "CommandName.h"
#include "HbbtvChannelListPool.h"
#include "SimulatedHost.h"

namespace hbbtv_hostcheck {

namespace rule {
const char kNever[] = "never";
const char kLate[] = "late";
const char kTwice[] = "twice";
const char kWrongPayload[] = "wrong-payload";
const char kPayloadChanged[] = "payload-changed";
const char kGuard[] = "guard";
const char kValid[] = "valid";
const char kUnterminatedText[] = "unterminated-text";
const char kCount[] = "count";
const char kEnumeration[] = "enumeration";
const char kPool[] = "pool";
const char kResult[] = "result";
const char kSlowCallback[] = "slow-callback";
const char kAfterDeinit[] = "after-deinit";
} // namespace rule

const std::vector<Rule>& rules()
{
    static const std::vector<Rule> kRules = {
        { rule::kNever, kRequestRule,
            "every request is reported finished, also when there is nothing to answer (valid 0)" },
        { rule::kLate, kRequestRule, "the completion comes within the request's budget (timeoutMs)" },
        { rule::kTwice, kRequestRule, "each request is reported finished exactly once" },
        { rule::kWrongPayload, kRequestRule, "the completion passes back the payload pointer that was handed over" },
        { rule::kPayloadChanged, kRequestRule, "the payload is only read, never written" },
        { rule::kGuard, kRequestRule, "nothing is written outside the records handed over (the guard bytes stay)" },
        { rule::kValid, kRequestRule, "valid is 1 for a filled answer and 0 for none; an answer the requester reads is filled" },
        { rule::kUnterminatedText, kRequestRule, "every text ends with its NUL inside its field" },
        { rule::kCount, kRequestRule, "counts stay within the capacity of their record or table" },
        { rule::kEnumeration, kRequestRule, "enumerations and identifiers are within their ranges" },
        { rule::kPool, kRequestRule,
            "the channel-list pool's size word is left as it is; its address words and name offsets stay inside it" },
        { rule::kResult, kRequestRule,
            "the in-process result vectors hold a channel's schedule and whole descriptors of the tag asked for" },
        { rule::kSlowCallback, kRequestRule | kCallbackRule,
            "synchronous calls into the host (callbacks, the request hand-over) return within the callback limit" },
        { rule::kAfterDeinit, kTeardownRule, "once the wrapper is deinitialised, the host's threads no longer call it" },
    };
    return kRules;
}

namespace {

const int kLastHostIDType = HbbtvServiceRequestChannelInfoAnswer::ID_IPTV_URI;
const int kHighestRating = 18;
// A schedule longer than this is not a channel's EPG but a host that lost count.
const size_t kMostProgrammes = 20000;

template <typename... Args> std::string format(const char* pattern, Args... args)
{
    char text[512];
    snprintf(text, sizeof(text), pattern, args...);
    return text;
}

void add(Findings& out, const char* name, const std::string& text)
{
    out.push_back(Finding { name, text });
}

void checkText(const HbbtvRecordString& text, const std::string& field, Findings& out)
{
    if (strnlen(text.c_str(), HbbtvRecordString::kCapacity) == HbbtvRecordString::kCapacity) {
        add(out, rule::kUnterminatedText,
            format("%s has no NUL within its %u bytes: end every text inside its field (at most 254 characters, "
                   "then the NUL)",
                field.c_str(), HbbtvRecordString::kCapacity));
    }
}

bool isPlayStateError(int32_t value)
{
    return (value >= 0 && value <= 12) || value == 100 || value == 101;
}

void checkRange(int32_t value, int32_t lowest, int32_t highest, const char* field, const char* what, Findings& out)
{
    if (value < lowest || value > highest) {
        add(out, rule::kEnumeration, format("%s is %d: not %s (%d-%d)", field, value, what, lowest, highest));
    }
}

// Country and language identifiers: three ASCII letters, or empty when the television has none.
void checkIdentifier(const HbbtvRecordString& text, const char* field, const char* what, Findings& out)
{
    const std::string value = text.terminatedString();
    if (value.size() == HbbtvRecordString::kCapacity) {
        return; // reported as unterminated
    }
    bool letters = value.empty() || value.size() == 3;
    for (char c : value) {
        letters = letters && ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'));
    }
    if (!letters) {
        add(out, rule::kEnumeration,
            format("%s is \"%s\": not %s (three letters, or empty)", field, value.substr(0, 40).c_str(), what));
    }
}

// Commands whose answer the requester reads: completing them without an answer is a fault.
bool answerExpected(int command)
{
    switch (command) {
    case TunerCommand_GetCurrentChannelInfo:
    case TunerCommand_RequestChannelsLineup:
    case TunerCommand_GetAVInfo:
    case ProgrammeCommand_GetProgrammeInfo:
    case ProgrammeCommand_GetAllProgrammeInfo:
    case ConfigCommand_GetCountryID:
    case ConfigCommand_GetSubtitleLanguage:
    case ConfigCommand_GetAudioLanguage:
    case ConfigCommand_GetParental:
    case ConfigCommand_GetAudioDescription:
    case DSMCC_DVBURL_GetFile:
        return true;
    default:
        return false;
    }
}

void checkComponents(int type, const HbbtvAVComponentInfo& info, Findings& out)
{
    const int32_t count = info.count;
    if (type == 0) {
        if (count != 0) {
            checkText(info.avEntries[0].language, "avComponentInfo.avEntries[0].language", out);
        }
        return;
    }
    const char* const kind = type == 1 ? "audio" : "subtitle";
    const int32_t capacity
        = static_cast<int32_t>(type == 1 ? HbbtvAVComponentInfo::kAVEntries : HbbtvAVComponentInfo::kSubtitleEntries);
    if (type != 1 && type != 2) {
        if (count != 0) {
            add(out, rule::kCount,
                format("avComponentInfo.count is %d for component type %d: there are no components of an unknown "
                       "type, answer 0",
                    count, type));
        }
        return;
    }
    if (count < 0 || count > capacity) {
        add(out, rule::kCount,
            format("avComponentInfo.count is %d for %s components: the record holds 0 to %d entries", count, kind,
                capacity));
        return;
    }
    for (int32_t k = 0; k < count; ++k) {
        const HbbtvRecordString& language = type == 1 ? info.avEntries[k].language : info.subtitleEntries[k].language;
        checkText(
            language, format("avComponentInfo.%s[%d].language", type == 1 ? "avEntries" : "subtitleEntries", k), out);
    }
}

// strParam1 follows the base record, strParam2 follows strParam1.
const char* stringParameterAt(size_t offset)
{
    return offset < sizeof(HbbtvCommandPayload) + sizeof(HbbtvRecordString) ? "strParam1" : "strParam2";
}

} // namespace

std::string commandLabel(int command)
{
    return hbbtv_tools::commandName(command);
}

std::string payloadFieldAt(int command, size_t offset)
{
    static const char* const kBase[] = { "command", "param1", "param2", "ticket", "timeoutMs", "resultAddress" };
    if (offset < sizeof(HbbtvCommandPayload)) {
        return kBase[offset / 4];
    }
    switch (hbbtv_sim::payloadRecordOf(command)) {
    case hbbtv_sim::PayloadRecord::WithLineupPool:
        return "poolAddress";
    case hbbtv_sim::PayloadRecord::WithChannelIDInfo:
        if (offset >= sizeof(HbbtvCommandPayloadWithStrParams)) {
            static const char* const kChannel[] = { "byString", "channelID1", "channelID2", "channelID3" };
            return kChannel[(offset - sizeof(HbbtvCommandPayloadWithStrParams)) / 4];
        }
        return stringParameterAt(offset);
    case hbbtv_sim::PayloadRecord::WithStrParams:
        return stringParameterAt(offset);
    case hbbtv_sim::PayloadRecord::Base:
        break;
    }
    return "bytes past the record";
}

void checkPayloadUnchanged(
    int command, const unsigned char* handedOver, const unsigned char* now, size_t size, Findings& out)
{
    for (size_t i = 0; i < size; ++i) {
        if (handedOver[i] != now[i]) {
            add(out, rule::kPayloadChanged,
                format("payload field %s (byte %zu) was changed from 0x%02x to 0x%02x: the payload is the "
                       "requester's, the host only reads it",
                    payloadFieldAt(command, i).c_str(), i, handedOver[i], now[i]));
            return;
        }
    }
}

void checkAnswer(const HbbtvCommandPayload& request, const HbbtvServiceRequestAnswer& answer, Findings& out)
{
    const int command = request.command;
    const bool refusedMount = command == DSMCC_DVBURL_GetFile
        && static_cast<const HbbtvServiceRequestDvbResourceMountAnswer&>(answer).refused != 0;
    if (answer.valid > 1) {
        add(out, rule::kValid, format("valid is %u: write 1 for a filled answer, 0 for none", answer.valid));
    } else if (answer.valid == 0 && answerExpected(command) && !refusedMount) {
        add(out, rule::kValid,
            "valid is 0 at completion: the requester reads this answer, so fill it and set valid to 1 before "
            "reporting the request finished");
    }
    checkText(answer.strValue1, "strValue1", out);
    checkText(answer.strValue2, "strValue2", out);
    if (answer.valid == 0) {
        return;
    }

    switch (command) {
    case TunerCommand_TuneTo:
    case TunerCommand_Bind2CurrentChannel:
        if (!isPlayStateError(answer.intValue1)) {
            add(out, rule::kEnumeration,
                format("intValue1 is %d: not a play state (0-12, 100 undefined, 101 none)", answer.intValue1));
        }
        break;
    case TunerCommand_GetCurrentChannelInfo: {
        const auto& info = static_cast<const HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
        checkRange(static_cast<int32_t>(info.idType), 0, kLastHostIDType, "channelInfo.idType", "an HbbtvIDType", out);
        checkText(info.name, "channelInfo.name", out);
        break;
    }
    case ProgrammeCommand_GetProgrammeInfo: {
        const auto& info = static_cast<const HbbtvServiceRequestProgramInfoAnswer&>(answer).programInfo;
        checkText(info.text1, "programInfo.text1 (name)", out);
        checkText(info.text2, "programInfo.text2 (description)", out);
        checkText(info.text3, "programInfo.text3", out);
        checkText(info.text4, "programInfo.text4 (programme id)", out);
        break;
    }
    case TunerCommand_GetAVInfo:
        checkComponents(
            request.param2, static_cast<const HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo, out);
        break;
    case ConfigCommand_GetCountryID:
        checkIdentifier(answer.strValue1, "strValue1 (country)", "an ISO 3166 country code", out);
        break;
    case ConfigCommand_GetSubtitleLanguage:
    case ConfigCommand_GetAudioLanguage:
        checkIdentifier(answer.strValue1, "strValue1 (language)", "an ISO 639-2 language code", out);
        break;
    case ConfigCommand_GetParental:
        checkRange(answer.intValue1, 0, kHighestRating, "intValue1 (parental threshold)", "an age", out);
        break;
    case ConfigCommand_GetAudioDescription:
    case ReminderCommand_IsReminderSupported:
    case ReminderCommand_CanScheduleReminders:
    case Recordingcommand_CanScheduleRecordings:
        checkRange(answer.intValue1, 0, 1, "intValue1", "a switch", out);
        break;
    case PVRCommand_ScheduleRecording:
    case PVRCommand_RemoveRecording:
        checkRange(answer.intValue1, 0, 4, "intValue1", "a RecordingState", out);
        break;
    case ReminderCommand_ScheduleReminder:
        checkRange(answer.intValue1, 0, 4, "intValue1", "a ReminderState", out);
        break;
    case DSMCC_DVBURL_GetFile:
        if (answer.strValue1.c_str()[0] == '\0') {
            add(out, rule::kValid,
                "strValue1 (mount point) is empty in a valid mount answer: give the mount point, "
                "or refuse with valid 0 and the refused word set");
        }
        break;
    default:
        break;
    }
}

void checkLineupPool(const unsigned char* pool, size_t regionBytes, const PoolHandedOver& handedOver, Findings& out)
{
    HbbtvChannelListPool header;
    memcpy(&header, pool, sizeof(header));
    if (header.areaSize != handedOver.areaSize) {
        add(out, rule::kPool,
            format("pool.areaSize was changed from %u to %u: the size word is the library's, the host only reads it",
                handedOver.areaSize, header.areaSize));
    }
    const HbbtvChannelListLayout layout(handedOver.areaSize);
    const uint64_t regionStart = handedOver.poolAddress;
    const uint64_t regionEnd = regionStart + regionBytes;
    const struct {
        const char* name;
        uint32_t before;
        uint32_t now;
    } words[] = { { "entriesAddress", handedOver.entriesAddress, header.entriesAddress },
        { "stringsAddress", handedOver.stringsAddress, header.stringsAddress } };
    for (const auto& word : words) {
        if (word.now != word.before && (word.now < regionStart || word.now >= regionEnd)) {
            add(out, rule::kPool,
                format("pool.%s was set to 0x%08x, outside the pool (0x%08llx-0x%08llx)", word.name, word.now,
                    static_cast<unsigned long long>(regionStart), static_cast<unsigned long long>(regionEnd)));
        }
    }
    const uint32_t capacity = layout.capacity();
    if (header.count > capacity) {
        add(out, rule::kCount,
            format("pool.count is %u: the entry table holds at most %u entries", header.count, capacity));
        return;
    }
    // The region as it is, which may end before the pool's own size says.
    const size_t entriesAt = layout.entriesOffset();
    const size_t stringsAt = layout.stringsOffset();
    const size_t stringsSize = regionBytes > stringsAt ? regionBytes - stringsAt : 0;
    const char* const strings = stringsSize > 0 ? reinterpret_cast<const char*>(pool + stringsAt) : nullptr;
    for (uint32_t i = 0; i < header.count; ++i) {
        HbbtvChannelListEntry entry;
        memcpy(&entry, pool + entriesAt + sizeof(entry) * i, sizeof(entry));
        if (entry.idType > kLastHostIDType) {
            add(out, rule::kEnumeration,
                format("pool entry %u: idType is %u: not an HbbtvIDType (0-%d)", i, entry.idType, kLastHostIDType));
            return;
        }
        size_t length = 0;
        if (!HbbtvChannelListLayout::nameLength(strings, stringsSize, entry.nameOffset, stringsSize, &length)) {
            add(out, rule::kPool,
                format("pool entry %u: nameOffset is %u, outside the string area (%zu bytes)", i, entry.nameOffset,
                    stringsSize));
            return;
        }
        if (length == stringsSize - entry.nameOffset) {
            add(out, rule::kUnterminatedText,
                format("pool entry %u: the name at nameOffset %u has no NUL before the end of the pool", i,
                    entry.nameOffset));
            return;
        }
    }
}

void checkSchedule(const std::vector<HbbtvEPGInformation>& schedule, Findings& out)
{
    if (schedule.size() > kMostProgrammes) {
        add(out, rule::kResult,
            format("the schedule vector holds %zu programmes (at most %zu are a channel's schedule)", schedule.size(),
                kMostProgrammes));
        return;
    }
    for (size_t i = 0; i < schedule.size(); ++i) {
        if (schedule[i].parentalRating > kHighestRating) {
            add(out, rule::kEnumeration,
                format("schedule programme %zu: parentalRating is %u: not an age (0-%d)", i, schedule[i].parentalRating,
                    kHighestRating));
            return;
        }
    }
}

void checkDescriptors(
    const std::vector<std::vector<unsigned char>>& descriptors, int tag, int extensionTag, Findings& out)
{
    const int kExtension = 0x7F;
    for (size_t i = 0; i < descriptors.size(); ++i) {
        const std::vector<unsigned char>& d = descriptors[i];
        if (d.size() < 2 || d.size() != 2u + d[1]) {
            add(out, rule::kResult,
                format("descriptor %zu: %zu bytes with descriptor_length %d: a descriptor is its tag, its length "
                       "byte and exactly that many bytes",
                    i, d.size(), d.size() >= 2 ? d[1] : -1));
            return;
        }
        if (d[0] != tag || (tag == kExtension && (d.size() < 3 || d[2] != extensionTag))) {
            add(out, rule::kResult,
                format("descriptor %zu: tag 0x%02x where 0x%02x (extension 0x%02x) was asked for: return only the "
                       "requested descriptors",
                    i, d[0], tag, extensionTag));
            return;
        }
    }
}

} // namespace hbbtv_hostcheck
