#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendRecords.h"
#include "support/AssertDeath.h"

using namespace ZR_HBBTV_Core;

namespace {

const char kDataTypeFile[] = "./backendglue/HbbtvBackendGlue.DataType.cpp";

template <typename T>
int32_t wordAt(const T* record, size_t offset)
{
    int32_t word;
    memcpy(&word, reinterpret_cast<const unsigned char*>(record) + offset, sizeof(word));
    return word;
}

bool insideBackendRegion(const void* p, size_t size)
{
    const unsigned char* base = backendMallocInit(nullptr);
    const unsigned char* bytes = static_cast<const unsigned char*>(p);
    return bytes >= base && bytes + size <= base + kBackendRegionSize;
}

} // namespace

// Assigned or copied, a text is cut at 254 bytes and keeps its full length; a copy never runs past
// the record, and a shorter one overwrites only up to its terminator.
TEST(RecordString, CutsAtTwoHundredFiftyFourKeepsTheFullLengthAndNeverRunsPastTheRecord)
{
    struct Guarded {
        HbbtvRecordString string;
        uint32_t guard;
    } target;
    target.guard = 0xC0FFEE;
    EXPECT_STREQ("", target.string.c_str());
    EXPECT_EQ(0u, target.string.length());

    target.string = std::string(300, 'x').c_str();
    EXPECT_EQ(std::string(254, 'x'), target.string.terminatedString());
    EXPECT_EQ(300u, target.string.length());
    // The stored length says 300, but a reader never goes past the 256 bytes of text.
    EXPECT_EQ(256u, target.string.storedLengthString().size());
    target.string = HbbtvRecordString(std::string(300, 'y').c_str());
    EXPECT_EQ(0xC0FFEEu, target.guard);
    EXPECT_EQ(std::string(254, 'y'), target.string.c_str());
    EXPECT_EQ(300u, target.string.length());

    target.string = HbbtvRecordString("ab");
    EXPECT_EQ("ab", target.string.storedLengthString());
    EXPECT_EQ('y', target.string.c_str()[3]);
    HbbtvRecordString& self = target.string;
    target.string = self;
    EXPECT_STREQ("ab", target.string.c_str());
    EXPECT_EQ(2u, target.string.length());

    target.string = static_cast<const char*>(nullptr);
    EXPECT_STREQ("", target.string.c_str());
    EXPECT_EQ(0u, target.string.length());
}

TEST(Payloads, ConstructorsFillTheWireFields)
{
    // Field offsets are fixed at compile time; these check the values each constructor writes.
    std::unique_ptr<HbbtvCommandPayloadWithStrParams> strings = HbbtvCommandPayloadWithStrParams::create(
        ProgrammeCommand_GetSIDescriptors, "service", std::string(300, 'u').c_str(), 0x48, -2);
    EXPECT_TRUE(insideBackendRegion(strings.get(), sizeof(*strings)));
    // Command, both parameters, ticket, budget, result address.
    EXPECT_EQ(std::make_tuple(1004, 0x48, -2, 0u, 10000u, 0u),
              std::make_tuple(strings->command, strings->param1, strings->param2, strings->ticket, strings->timeoutMs,
                              strings->resultAddress));
    EXPECT_EQ("service", strings->strParam1.storedLengthString());
    EXPECT_EQ(std::string(254, 'u'), strings->strParam2.c_str());
    EXPECT_EQ(300u, strings->strParam2.length());

    std::unique_ptr<HbbtvCommandPayloadWithChannelIDInfo> byName(
        new HbbtvCommandPayloadWithChannelIDInfo(TunerCommand_TuneTo, HbbtvRecordString("ccid:1.2.3"), 44));
    EXPECT_EQ(6, byName->command);
    EXPECT_STREQ("ccid:1.2.3", byName->strParam1.c_str());
    EXPECT_EQ((std::vector<int32_t>{1, 8191, 8191, 44}), (std::vector<int32_t>{wordAt(byName.get(), 544),
        wordAt(byName.get(), 548), wordAt(byName.get(), 552), wordAt(byName.get(), 556)}));

    std::unique_ptr<HbbtvCommandPayloadWithChannelIDInfo> byNumbers(
        new HbbtvCommandPayloadWithChannelIDInfo(TunerCommand_Bind2CurrentChannel, -1, 5, 9));
    EXPECT_STREQ("", byNumbers->strParam1.c_str());
    EXPECT_EQ(std::make_tuple(0u, -1, 5, 9),
              std::make_tuple(byNumbers->byString, byNumbers->channelID1, byNumbers->channelID2, byNumbers->channelID3));
}

TEST(Payloads, DestructorWritesTheDefaultBudgetBack)
{
    void* block = getOperatorNewDel()->OperatorNew(sizeof(HbbtvCommandPayload));
    HbbtvCommandPayload* payload = ::new (block) HbbtvCommandPayload(DSMCC_DVBURL_GetFile);
    payload->timeoutMs = 60000;
    payload->~HbbtvCommandPayload();
    EXPECT_EQ(10000, wordAt(static_cast<const unsigned char*>(block), 16));
    getOperatorNewDel()->OperatorDel(block);
}

// The offsets of the bytes still non-zero in an answer created, as the library creates it, in a
// block that an earlier answer of the same size left full of 0xAB. FIFO reuse hands that block to
// the answer created next.
template <typename Answer>
std::vector<size_t> leftOversOf(const std::function<std::unique_ptr<Answer>()>& create)
{
    void* block = hbbtvBackendMalloc(static_cast<unsigned int>(sizeof(Answer)));
    memset(block, 0xAB, sizeof(Answer));
    hbbtvBackendMfree(block);
    const std::unique_ptr<Answer> answer = create();
    EXPECT_EQ(block, static_cast<void*>(answer.get()));
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(answer.get());
    std::vector<size_t> offsets;
    for (size_t i = 0; i < sizeof(Answer); ++i) {
        // Kept as they were: the padding after the two flags, and the last byte of each base
        // text, behind the terminator that construction puts at byte 254.
        if (bytes[i] != 0 && i != 2 && i != 3 && i != 12 + 255 && i != 272 + 255) {
            offsets.push_back(i);
        }
    }
    return offsets;
}

TEST(Answers, CreatedAnswersAreClearedEvenInReusedBlocks)
{
    const std::vector<size_t> none;
    EXPECT_EQ(none, leftOversOf<HbbtvServiceRequestAnswer>(&HbbtvServiceRequestAnswer::create));
    EXPECT_EQ(none, leftOversOf<HbbtvServiceRequestAVInfoAnswer>(&HbbtvServiceRequestAVInfoAnswer::create));
    EXPECT_EQ(none, leftOversOf<HbbtvServiceRequestProgramInfoAnswer>(&HbbtvServiceRequestProgramInfoAnswer::create));
    EXPECT_EQ(none, leftOversOf<HbbtvServiceRequestChannelInfoAnswer>([] {
        return std::unique_ptr<HbbtvServiceRequestChannelInfoAnswer>(new HbbtvServiceRequestChannelInfoAnswer());
    }));
    EXPECT_EQ(none, leftOversOf<HbbtvServiceRequestDvbResourceMountAnswer>([] {
        return std::unique_ptr<HbbtvServiceRequestDvbResourceMountAnswer>(new HbbtvServiceRequestDvbResourceMountAnswer());
    }));
    EXPECT_EQ(none, leftOversOf<HbbtvServiceRequestChannelsLineupAnswer>([] {
        return std::unique_ptr<HbbtvServiceRequestChannelsLineupAnswer>(new HbbtvServiceRequestChannelsLineupAnswer());
    }));
}

TEST(ClassAllocationDeathTest, ArraysAndRefusedAllocationsAbort)
{
    hbbtv_test::expectAssertFail([] { delete[] new HbbtvServiceRequestAnswer[2]; }, kDataTypeFile,
                                 "void* ClassOperatorNewDelete::OperatorArrayNew(size_t)", 47);
    hbbtv_test::expectAssertFail([] { getOperatorNewDel()->OperatorArrayDel(nullptr); }, kDataTypeFile,
                                 "void ClassOperatorNewDelete::OperatorArrayDel(void*)", 53);
    hbbtv_test::expectAssertFail([] { getOperatorNewDel()->OperatorNew(70000); }, kDataTypeFile,
                                 "void* ClassOperatorNewDelete::OperatorNew(size_t)", 26);
    getOperatorNewDel()->OperatorDel(nullptr); // nothing to do, and no abort
}

#if UINTPTR_MAX > 0xFFFFFFFFu
TEST(WireAddressDeathTest, PointerAboveFourGigabytesAborts)
{
    hbbtv_test::expectAssertFail([] { toWireAddress(reinterpret_cast<void*>(uintptr_t(1) << 40)); }, kDataTypeFile,
                                 "uint32_t ZR_HBBTV_Core::toWireAddress(const void*)", 65);
}
#endif
