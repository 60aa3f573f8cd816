// Command names, the shared records' constructors and their class-level allocation.
#include "HbbtvBackendRecords.h"

#include <new>

#include "HbbtvBackendCommandCatalogue.h"
#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.Util.h"

using ZR_HBBTV_Core::HbbtvBackendGlue_AssertFail;

namespace {

const char kSourceFile[] = "./backendglue/HbbtvBackendGlue.DataType.cpp";

} // namespace

const char* convertBackendCommandToString(int command)
{
    const HbbtvBackendCommandInfo* const info = hbbtvBackendCommandInfo(command);
    return info != nullptr && info->namedInLog ? info->name : nullptr;
}

// ---------------------------------------------------------------------------------------------
// Class-level allocation.

// A full region does not stop the middleware: the record comes from the heap, and the request
// that carries it is refused before it reaches the host.
void* ClassOperatorNewDelete::OperatorNew(size_t size)
{
    void* const p = ZR_HBBTV_Core::hbbtvBackendRecordMalloc(size);
    if (p == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 26);
    }
    return p;
}

void ClassOperatorNewDelete::OperatorDel(void* p)
{
    ZR_HBBTV_Core::hbbtvBackendRecordFree(p);
}

void* ClassOperatorNewDelete::OperatorArrayNew(size_t)
{
    HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 47);
}

void ClassOperatorNewDelete::OperatorArrayDel(void*)
{
    HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 53);
}

ClassOperatorNewDelete* getOperatorNewDel()
{
    static ClassOperatorNewDelete instance;
    return &instance;
}

namespace ZR_HBBTV_Core {

uint32_t toWireAddress(const void* p)
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(p);
    if (address > UINT32_MAX) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, __LINE__);
    }
    return static_cast<uint32_t>(address);
}

void* fromWireAddress(uint32_t address)
{
    return reinterpret_cast<void*>(static_cast<uintptr_t>(address));
}

} // namespace ZR_HBBTV_Core

// ---------------------------------------------------------------------------------------------
// Payloads.

HbbtvCommandPayload::HbbtvCommandPayload(HbbtvBackendCommand command_, int param1_, int param2_)
    : command(command_), param1(param1_), param2(param2_), ticket(0), timeoutMs(kDefaultTimeoutMs),
      resultAddress(0)
{
}

void* HbbtvCommandPayload::operator new(size_t size) noexcept
{
    return getOperatorNewDel()->OperatorNew(size);
}

void HbbtvCommandPayload::operator delete(void* p)
{
    getOperatorNewDel()->OperatorDel(p);
}

void* HbbtvCommandPayload::operator new[](size_t size) noexcept
{
    return getOperatorNewDel()->OperatorArrayNew(size);
}

void HbbtvCommandPayload::operator delete[](void* p)
{
    getOperatorNewDel()->OperatorArrayDel(p);
}

HbbtvCommandPayloadWithStrParams::HbbtvCommandPayloadWithStrParams(HbbtvBackendCommand command_,
                                                                   const HbbtvRecordString& str1,
                                                                   const HbbtvRecordString& str2,
                                                                   int param1_, int param2_)
    : HbbtvCommandPayload(command_, param1_, param2_), strParam1(str1), strParam2(str2)
{
}

std::unique_ptr<HbbtvCommandPayloadWithStrParams>
HbbtvCommandPayloadWithStrParams::create(HbbtvBackendCommand command_, HbbtvRecordString str1,
                                         HbbtvRecordString str2, int param1_, int param2_)
{
    return std::unique_ptr<HbbtvCommandPayloadWithStrParams>(
        new HbbtvCommandPayloadWithStrParams(command_, str1, str2, param1_, param2_));
}

HbbtvCommandPayloadWithChannelIDInfo::HbbtvCommandPayloadWithChannelIDInfo(HbbtvBackendCommand command_,
                                                                           int channelID1_,
                                                                           int channelID2_,
                                                                           int channelID3_)
    : HbbtvCommandPayloadWithStrParams(command_, HbbtvRecordString(), HbbtvRecordString(), 0, 0),
      byString(0), channelID1(channelID1_), channelID2(channelID2_), channelID3(channelID3_)
{
}

HbbtvCommandPayloadWithChannelIDInfo::HbbtvCommandPayloadWithChannelIDInfo(HbbtvBackendCommand command_,
                                                                           const HbbtvRecordString& channel,
                                                                           int channelID3_)
    : HbbtvCommandPayloadWithStrParams(command_, channel, HbbtvRecordString(), 0, 0), byString(1),
      channelID1(kChannelIDNotGiven), channelID2(kChannelIDNotGiven), channelID3(channelID3_)
{
}

HbbtvCommandPayloadWithLineupPool::HbbtvCommandPayloadWithLineupPool(HbbtvBackendCommand command_,
                                                                     uint32_t poolAddress_)
    : HbbtvCommandPayload(command_), poolAddress(poolAddress_)
{
}

// ---------------------------------------------------------------------------------------------
// Answers. Blocks are reused as they were left, so every answer clears what the host may read.

HbbtvServiceRequestAnswer::HbbtvServiceRequestAnswer() : valid(0), flag(0), intValue1(0), intValue2(0)
{
}

std::unique_ptr<HbbtvServiceRequestAnswer> HbbtvServiceRequestAnswer::create()
{
    return std::unique_ptr<HbbtvServiceRequestAnswer>(new HbbtvServiceRequestAnswer());
}

void* HbbtvServiceRequestAnswer::operator new(size_t size) noexcept
{
    return getOperatorNewDel()->OperatorNew(size);
}

void HbbtvServiceRequestAnswer::operator delete(void* p)
{
    getOperatorNewDel()->OperatorDel(p);
}

void* HbbtvServiceRequestAnswer::operator new[](size_t size) noexcept
{
    return getOperatorNewDel()->OperatorArrayNew(size);
}

void HbbtvServiceRequestAnswer::operator delete[](void* p)
{
    getOperatorNewDel()->OperatorArrayDel(p);
}

HbbtvServiceRequestDvbResourceMountAnswer::HbbtvServiceRequestDvbResourceMountAnswer() : refused(0)
{
}

HbbtvServiceRequestChannelsLineupAnswer::HbbtvServiceRequestChannelsLineupAnswer() : lineupWord(0)
{
}

HbbtvServiceRequestChannelInfoAnswer::HbbtvServiceRequestChannelInfoAnswer()
{
    memset(static_cast<void*>(&channelInfo), 0, sizeof(channelInfo));
}

std::unique_ptr<HbbtvServiceRequestProgramInfoAnswer> HbbtvServiceRequestProgramInfoAnswer::create()
{
    // Value-initialisation clears the time values and the trailing bytes too; the texts are
    // emptied by their own constructors.
    return std::unique_ptr<HbbtvServiceRequestProgramInfoAnswer>(new HbbtvServiceRequestProgramInfoAnswer());
}

std::unique_ptr<HbbtvServiceRequestAVInfoAnswer> HbbtvServiceRequestAVInfoAnswer::create()
{
    void* block = operator new(sizeof(HbbtvServiceRequestAVInfoAnswer));
    memset(block, 0, sizeof(HbbtvServiceRequestAVInfoAnswer));
    return std::unique_ptr<HbbtvServiceRequestAVInfoAnswer>(::new (block) HbbtvServiceRequestAVInfoAnswer());
}
