// Records exchanged with the host in the shared region "/hbbtv": a command payload says what is
// asked, an answer record receives the result. The host reads and writes them in place, so their
// layouts are a wire format: every size and offset below is fixed and checked at compile time, on
// 32-bit and 64-bit builds alike. They are allocated only through their class-level operator new,
// which places them in the shared region; array forms abort by design.
#ifndef HBBTV_BACKEND_RECORDS_H
#define HBBTV_BACKEND_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "HbbtvBackendCommand.h"

// The single allocation path for records that the host reads: blocks of the shared region.
class ClassOperatorNewDelete {
public:
    // Never returns null: a refused allocation aborts with an assertion line.
    void* OperatorNew(size_t size);
    void OperatorDel(void* p);
    // Arrays of shared records are forbidden: both abort.
    [[noreturn]] void* OperatorArrayNew(size_t size);
    [[noreturn]] void OperatorArrayDel(void* p);
};

ClassOperatorNewDelete* getOperatorNewDel();

namespace ZR_HBBTV_Core {

// A pointer as the 32-bit address word of a wire record. On a 64-bit build the shared regions
// are mapped below 4 GiB; a pointer that does not fit is fatal (assertion line).
uint32_t toWireAddress(const void* p);
void* fromWireAddress(uint32_t address);

} // namespace ZR_HBBTV_Core

// Fixed-capacity string inside shared records: N + 1 bytes of text, then the length recorded at
// the last assignment. The length is the source's full strlen even when the text was cut, so it
// may exceed what the text holds; readers bound it by the capacity.
template <unsigned N>
class BackendGlueStringBase {
public:
    static const unsigned kCapacity = N + 1;

    BackendGlueStringBase() : m_length(0) { clearText(); }
    BackendGlueStringBase(const char* text) : m_length(0)
    {
        clearText();
        assign(text);
    }
    BackendGlueStringBase(const BackendGlueStringBase& other) : m_length(0)
    {
        clearText();
        copyFrom(other);
    }
    BackendGlueStringBase& operator=(const char* text)
    {
        assign(text);
        return *this;
    }
    BackendGlueStringBase& operator=(const BackendGlueStringBase& other)
    {
        copyFrom(other);
        return *this;
    }

    const char* c_str() const { return m_text; }
    uint32_t length() const { return m_length; }

    // The text as far as the stored length says, never past the capacity.
    std::string storedLengthString() const
    {
        return std::string(m_text, m_length < kCapacity ? m_length : kCapacity);
    }
    // The text up to its terminator, never past the capacity.
    std::string terminatedString() const { return std::string(m_text, strnlen(m_text, kCapacity)); }

private:
    void clearText()
    {
        strncpy(m_text, "", N);
        m_text[N - 1] = '\0';
    }
    void assign(const char* text)
    {
        if (text == nullptr) {
            m_text[0] = '\0';
            m_length = 0;
            return;
        }
        strncpy(m_text, text, N);
        m_text[N - 1] = '\0';
        m_length = static_cast<uint32_t>(strlen(text));
    }
    // Copies the text with its terminator (length + 1 bytes), bounded by the capacity: a length
    // longer than the text (a long source, or a host's word) must not copy past the record.
    void copyFrom(const BackendGlueStringBase& other)
    {
        if (&other == this) {
            return;
        }
        const uint32_t length = other.m_length;
        memcpy(m_text, other.m_text, length < kCapacity ? length + 1 : kCapacity);
        m_length = length;
    }

    char m_text[N + 1];
    uint32_t m_length;
};

typedef BackendGlueStringBase<255> HbbtvRecordString;

// ---------------------------------------------------------------------------------------------
// Command payloads.

// The base command record (24 bytes).
class HbbtvCommandPayload {
public:
    static const uint32_t kDefaultTimeoutMs = 10000;

    explicit HbbtvCommandPayload(HbbtvBackendCommand command, int param1 = 0, int param2 = 0);
    // Writes the default budget back into timeoutMs before the memory is returned. The host reads
    // these bytes, so the store must not be dropped as one to an object whose life is ending.
    ~HbbtvCommandPayload() { *static_cast<volatile uint32_t*>(&timeoutMs) = kDefaultTimeoutMs; }

    static void* operator new(size_t size) noexcept;
    static void operator delete(void* p);
    static void* operator new[](size_t size) noexcept;
    static void operator delete[](void* p);

    int32_t command;        // HbbtvBackendCommand; -1 marks the service agent's completion marker
    int32_t param1;
    int32_t param2;
    uint32_t ticket;        // 0 at creation; set by the requester
    uint32_t timeoutMs;     // the requester's time budget in milliseconds
    uint32_t resultAddress; // address of an in-process result vector the host fills, or 0
};

// The base with two string parameters (544 bytes).
class HbbtvCommandPayloadWithStrParams : public HbbtvCommandPayload {
public:
    HbbtvCommandPayloadWithStrParams(HbbtvBackendCommand command, const HbbtvRecordString& str1,
                                     const HbbtvRecordString& str2, int param1, int param2);

    static std::unique_ptr<HbbtvCommandPayloadWithStrParams> create(HbbtvBackendCommand command,
                                                                    HbbtvRecordString str1,
                                                                    HbbtvRecordString str2, int param1,
                                                                    int param2);

    HbbtvRecordString strParam1;
    HbbtvRecordString strParam2;
};

// A channel named either by three numbers or by a text in strParam1 (560 bytes).
class HbbtvCommandPayloadWithChannelIDInfo : public HbbtvCommandPayloadWithStrParams {
public:
    static const int32_t kChannelIDNotGiven = 0x1FFF;

    HbbtvCommandPayloadWithChannelIDInfo(HbbtvBackendCommand command, int channelID1, int channelID2,
                                         int channelID3);
    HbbtvCommandPayloadWithChannelIDInfo(HbbtvBackendCommand command, const HbbtvRecordString& channel,
                                         int channelID3);

    uint32_t byString; // 1: strParam1 names the channel; 0: the three numbers do
    int32_t channelID1;
    int32_t channelID2;
    int32_t channelID3;
};

// The channel-lineup request: the base and the address of the channel-list pool in this process,
// where the host writes the list (28 bytes).
class HbbtvCommandPayloadWithLineupPool : public HbbtvCommandPayload {
public:
    HbbtvCommandPayloadWithLineupPool(HbbtvBackendCommand command, uint32_t poolAddress);

    uint32_t poolAddress;
};

// ---------------------------------------------------------------------------------------------
// Answers.

// The base answer (532 bytes). Readers test valid before anything else.
class HbbtvServiceRequestAnswer {
public:
    HbbtvServiceRequestAnswer();

    static std::unique_ptr<HbbtvServiceRequestAnswer> create();

    static void* operator new(size_t size) noexcept;
    static void operator delete(void* p);
    static void* operator new[](size_t size) noexcept;
    static void operator delete[](void* p);

    uint8_t valid; // non-zero when the host filled the answer; false on time-out
    uint8_t flag;  // host-defined
    int32_t intValue1;
    int32_t intValue2;
    HbbtvRecordString strValue1;
    HbbtvRecordString strValue2;
};

// The answer to an object-carousel mount (536 bytes).
class HbbtvServiceRequestDvbResourceMountAnswer : public HbbtvServiceRequestAnswer {
public:
    HbbtvServiceRequestDvbResourceMountAnswer();

    uint32_t refused; // non-zero: the host refuses the mount for good
};

// The answer to a channel-lineup request (536 bytes); the list itself is in the channel-list pool.
class HbbtvServiceRequestChannelsLineupAnswer : public HbbtvServiceRequestAnswer {
public:
    HbbtvServiceRequestChannelsLineupAnswer();

    uint32_t lineupWord; // host-defined, not read by this library
};

// The answer carrying one host channel record (816 bytes).
class HbbtvServiceRequestChannelInfoAnswer : public HbbtvServiceRequestAnswer {
public:
    enum HbbtvIDType {
        ID_ANALOG = 0,
        ID_DVB_C = 1,
        ID_DVB_S = 2,
        ID_DVB_T = 3,
        ID_DVB_SI_DIRECT = 4,
        ID_DVB_C2 = 5,
        ID_DVB_S2 = 6,
        ID_DVB_T2 = 7,
        ID_ISDB_C = 8,
        ID_ISDB_S = 9,
        ID_ISDB_T = 10,
        ID_ATSC_T = 11,
        ID_IPTV_SDS = 12,
        ID_IPTV_URI = 13,
    };

    // The host's channel record (284 bytes).
    struct HbbtvChannelInfo {
        uint16_t channelNumberA;
        uint16_t channelNumberB;
        uint16_t channelNumberC;
        uint16_t channelNumberD; // the number printed when the channel is locked
        uint16_t extraNumberE;
        uint16_t extraNumberF;
        uint32_t channelType; // 0, 1, anything else
        uint32_t idType;      // HbbtvIDType
        uint8_t invertedFlag; // bit 0: a flag stored inverted by the channel converter
        uint8_t lockFlags;    // bit 0: locked
        uint8_t padding[2];
        HbbtvRecordString name;
    };

    HbbtvServiceRequestChannelInfoAnswer();

    HbbtvChannelInfo channelInfo;
};

// The answer carrying present or following programme information (1588 bytes).
class HbbtvServiceRequestProgramInfoAnswer : public HbbtvServiceRequestAnswer {
public:
    struct HbbtvProgramInfo {
        uint32_t time1;
        uint32_t time2;
        uint8_t unread[4];
        HbbtvRecordString text1;
        HbbtvRecordString text2;
        HbbtvRecordString text3; // not read by this library
        HbbtvRecordString text4;
    };

    // Runs the base constructor, then empties the four texts.
    static std::unique_ptr<HbbtvServiceRequestProgramInfoAnswer> create();

    HbbtvProgramInfo programInfo;
    uint8_t trailing[4];
};

// The broadcast's components of one type, as the host fills them (11048 bytes).
struct HbbtvAVComponentInfo {
    static const unsigned kAVEntries = 16;
    static const unsigned kSubtitleEntries = 24;

    enum ComponentEncoding {
        AVC_HD_25 = 0,
        AVC_SD_25 = 1,
        MPEG2_HD_25 = 2,
        MPEG2_SD_25 = 3,
        AVC_HD_30 = 4,
        AVC_SD_30 = 5,
        MPEG1_L3 = 6,
        HEAAC = 7,
        WAV = 8,
    };

    // A video or audio component (288 bytes).
    struct AVEntry {
        uint8_t flagA;
        uint8_t flagB;
        uint8_t padding[2];
        uint32_t valueP;
        uint32_t valueQ;
        uint32_t unread1;
        uint32_t valueR;
        uint32_t unread2;
        uint32_t valueS;
        HbbtvRecordString language;
    };

    // A subtitle component (268 bytes).
    struct SubtitleEntry {
        uint8_t flagA;
        uint8_t flagB;
        uint8_t padding[2];
        uint32_t valueP;
        HbbtvRecordString language;
    };

    int32_t count; // video: non-zero when a component exists; audio, subtitle: entries filled
    uint32_t header2;
    AVEntry avEntries[kAVEntries];
    SubtitleEntry subtitleEntries[kSubtitleEntries];
};

// The answer carrying component information (11592 bytes).
class HbbtvServiceRequestAVInfoAnswer : public HbbtvServiceRequestAnswer {
public:
    // Zeroes the whole record, runs the base constructor, then empties every entry's text.
    static std::unique_ptr<HbbtvServiceRequestAVInfoAnswer> create();

    uint8_t counters[12]; // host-defined
    HbbtvAVComponentInfo avComponentInfo;
};

// ---------------------------------------------------------------------------------------------
// In-process records: never in shared memory. The host, running in this process, appends them to
// a vector whose address travels in a payload's resultAddress.

// One programme of a channel's schedule (ProgrammeCommand_GetAllProgrammeInfo).
struct HbbtvEPGInformation {
    uint32_t word0;
    uint32_t word1; // the programme's first time value
    uint32_t word2;
    uint32_t word3; // the programme's second time value
    std::string text1;
    std::string text2;
    std::string text3;
    std::string text4;
    uint8_t parentalRating;
    uint16_t value16;
    std::string text5;
    uint8_t byte0;
    uint8_t byte1;
    uint8_t byte2;
    uint8_t byte3;
};

// ---------------------------------------------------------------------------------------------
// Layout checks. Offsets in derived records are those of the host's view of the bytes; g++ lays
// out these single-inheritance records predictably, so its offsetof warning is silenced here.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

static_assert(sizeof(HbbtvRecordString) == 260, "string record size");
static_assert(sizeof(HbbtvBackendCommand) == 4, "command width");

static_assert(sizeof(HbbtvCommandPayload) == 24, "payload size");
static_assert(offsetof(HbbtvCommandPayload, command) == 0, "command offset");
static_assert(offsetof(HbbtvCommandPayload, param1) == 4, "param1 offset");
static_assert(offsetof(HbbtvCommandPayload, param2) == 8, "param2 offset");
static_assert(offsetof(HbbtvCommandPayload, ticket) == 12, "ticket offset");
static_assert(offsetof(HbbtvCommandPayload, timeoutMs) == 16, "timeoutMs offset");
static_assert(offsetof(HbbtvCommandPayload, resultAddress) == 20, "resultAddress offset");

static_assert(sizeof(HbbtvCommandPayloadWithStrParams) == 544, "string payload size");
static_assert(offsetof(HbbtvCommandPayloadWithStrParams, strParam1) == 24, "strParam1 offset");
static_assert(offsetof(HbbtvCommandPayloadWithStrParams, strParam2) == 284, "strParam2 offset");

static_assert(sizeof(HbbtvCommandPayloadWithChannelIDInfo) == 560, "channel payload size");
static_assert(offsetof(HbbtvCommandPayloadWithChannelIDInfo, byString) == 544, "byString offset");
static_assert(offsetof(HbbtvCommandPayloadWithChannelIDInfo, channelID1) == 548, "channelID1 offset");
static_assert(offsetof(HbbtvCommandPayloadWithChannelIDInfo, channelID2) == 552, "channelID2 offset");
static_assert(offsetof(HbbtvCommandPayloadWithChannelIDInfo, channelID3) == 556, "channelID3 offset");

static_assert(sizeof(HbbtvCommandPayloadWithLineupPool) == 28, "lineup payload size");
static_assert(offsetof(HbbtvCommandPayloadWithLineupPool, poolAddress) == 24, "poolAddress offset");

static_assert(sizeof(HbbtvServiceRequestAnswer) == 532, "answer size");
static_assert(offsetof(HbbtvServiceRequestAnswer, valid) == 0, "valid offset");
static_assert(offsetof(HbbtvServiceRequestAnswer, flag) == 1, "flag offset");
static_assert(offsetof(HbbtvServiceRequestAnswer, intValue1) == 4, "intValue1 offset");
static_assert(offsetof(HbbtvServiceRequestAnswer, intValue2) == 8, "intValue2 offset");
static_assert(offsetof(HbbtvServiceRequestAnswer, strValue1) == 12, "strValue1 offset");
static_assert(offsetof(HbbtvServiceRequestAnswer, strValue2) == 272, "strValue2 offset");

static_assert(sizeof(HbbtvServiceRequestDvbResourceMountAnswer) == 536, "mount answer size");
static_assert(offsetof(HbbtvServiceRequestDvbResourceMountAnswer, refused) == 532, "refused offset");
static_assert(sizeof(HbbtvServiceRequestChannelsLineupAnswer) == 536, "lineup answer size");
static_assert(offsetof(HbbtvServiceRequestChannelsLineupAnswer, lineupWord) == 532, "lineup word offset");

typedef HbbtvServiceRequestChannelInfoAnswer::HbbtvChannelInfo HbbtvChannelInfoRecord;
static_assert(sizeof(HbbtvChannelInfoRecord) == 284, "channel record size");
static_assert(offsetof(HbbtvChannelInfoRecord, channelNumberA) == 0, "number A offset");
static_assert(offsetof(HbbtvChannelInfoRecord, channelNumberB) == 2, "number B offset");
static_assert(offsetof(HbbtvChannelInfoRecord, channelNumberC) == 4, "number C offset");
static_assert(offsetof(HbbtvChannelInfoRecord, channelNumberD) == 6, "number D offset");
static_assert(offsetof(HbbtvChannelInfoRecord, extraNumberE) == 8, "number E offset");
static_assert(offsetof(HbbtvChannelInfoRecord, extraNumberF) == 10, "number F offset");
static_assert(offsetof(HbbtvChannelInfoRecord, channelType) == 12, "channel type offset");
static_assert(offsetof(HbbtvChannelInfoRecord, idType) == 16, "id type offset");
static_assert(offsetof(HbbtvChannelInfoRecord, invertedFlag) == 20, "inverted flag offset");
static_assert(offsetof(HbbtvChannelInfoRecord, lockFlags) == 21, "lock flags offset");
static_assert(offsetof(HbbtvChannelInfoRecord, name) == 24, "name offset");
static_assert(sizeof(HbbtvServiceRequestChannelInfoAnswer) == 816, "channel answer size");
static_assert(offsetof(HbbtvServiceRequestChannelInfoAnswer, channelInfo) == 532, "channel record offset");

typedef HbbtvServiceRequestProgramInfoAnswer::HbbtvProgramInfo HbbtvProgramInfoRecord;
static_assert(sizeof(HbbtvProgramInfoRecord) == 1052, "programme record size");
static_assert(offsetof(HbbtvProgramInfoRecord, time1) == 0, "time 1 offset");
static_assert(offsetof(HbbtvProgramInfoRecord, time2) == 4, "time 2 offset");
static_assert(offsetof(HbbtvProgramInfoRecord, text1) == 12, "text 1 offset");
static_assert(offsetof(HbbtvProgramInfoRecord, text2) == 272, "text 2 offset");
static_assert(offsetof(HbbtvProgramInfoRecord, text3) == 532, "text 3 offset");
static_assert(offsetof(HbbtvProgramInfoRecord, text4) == 792, "text 4 offset");
static_assert(sizeof(HbbtvServiceRequestProgramInfoAnswer) == 1588, "programme answer size");
static_assert(offsetof(HbbtvServiceRequestProgramInfoAnswer, programInfo) == 532, "programme record offset");

static_assert(sizeof(HbbtvAVComponentInfo::AVEntry) == 288, "AV entry size");
static_assert(offsetof(HbbtvAVComponentInfo::AVEntry, flagA) == 0, "AV flag A offset");
static_assert(offsetof(HbbtvAVComponentInfo::AVEntry, flagB) == 1, "AV flag B offset");
static_assert(offsetof(HbbtvAVComponentInfo::AVEntry, valueP) == 4, "AV P offset");
static_assert(offsetof(HbbtvAVComponentInfo::AVEntry, valueQ) == 8, "AV Q offset");
static_assert(offsetof(HbbtvAVComponentInfo::AVEntry, valueR) == 16, "AV R offset");
static_assert(offsetof(HbbtvAVComponentInfo::AVEntry, valueS) == 24, "AV S offset");
static_assert(offsetof(HbbtvAVComponentInfo::AVEntry, language) == 28, "AV language offset");
static_assert(sizeof(HbbtvAVComponentInfo::SubtitleEntry) == 268, "subtitle entry size");
static_assert(offsetof(HbbtvAVComponentInfo::SubtitleEntry, flagA) == 0, "subtitle flag A offset");
static_assert(offsetof(HbbtvAVComponentInfo::SubtitleEntry, flagB) == 1, "subtitle flag B offset");
static_assert(offsetof(HbbtvAVComponentInfo::SubtitleEntry, valueP) == 4, "subtitle P offset");
static_assert(offsetof(HbbtvAVComponentInfo::SubtitleEntry, language) == 8, "subtitle language offset");
static_assert(sizeof(HbbtvAVComponentInfo) == 11048, "component block size");
static_assert(offsetof(HbbtvAVComponentInfo, count) == 0, "component count offset");
static_assert(offsetof(HbbtvAVComponentInfo, avEntries) == 8, "AV entries offset");
static_assert(offsetof(HbbtvAVComponentInfo, subtitleEntries) == 4616, "subtitle entries offset");
static_assert(sizeof(HbbtvServiceRequestAVInfoAnswer) == 11592, "component answer size");
static_assert(offsetof(HbbtvServiceRequestAVInfoAnswer, counters) == 532, "counters offset");
static_assert(offsetof(HbbtvServiceRequestAVInfoAnswer, avComponentInfo) == 544, "component block offset");

#pragma GCC diagnostic pop

#endif
