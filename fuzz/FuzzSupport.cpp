#include "FuzzSupport.h"

#include <sys/mman.h>
#include <unistd.h>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "NullClientRegister.h"

namespace hbbtv_fuzz {

std::vector<uint8_t> answerBytes;

void copyAnswerBytes(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer)
{
    copyInto(&answer, hbbtv_sim::answerRecordSize(request.command), answerBytes.data(), answerBytes.size());
}

hbbtv_sim::SimulatedHost& host()
{
    // Both live as long as the process: the service and the agent keep pointing at them.
    static hbbtv_sim::SimulatedHost* const instance = new hbbtv_sim::SimulatedHost;
    return *instance;
}

ZR_HBBTV_Core::HbbtvBackendTVService& serviceAnswering(int command, hbbtv_sim::SimulatedHost::AnswerWriter writer)
{
    static hbbtv_sim::NullClientRegister* const clients = new hbbtv_sim::NullClientRegister;
    static ZR_HBBTV_Core::HbbtvBackendTVService* const service = [] {
        ZR_HBBTV_Core::HbbtvBackendTVService* const created
            = ZR_HBBTV_Core::HbbtvBackendTVService::instantiate(&host(), clients);
        host().setCompletionSink(
            [created](HbbtvCommandPayload* payload) { created->serviceRequestFinished(payload->ticket); });
        created->SetHbbTVRunningStatus(true);
        return created;
    }();
    host().clearRecord(); // the host records every request: keep the process small
    host().setAnswerWriterFor(command, std::move(writer));
    return *service;
}

} // namespace hbbtv_fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setenv("HBBTV_SHM_SUFFIX", (".fuzz" + std::to_string(getpid())).c_str(), 1);
    ZR_HBBTV_Core::backendMallocInit(nullptr);
    ZR_HBBTV_Core::hbbtvBackendChannelListPool();
    ZR_HBBTV_Core::hbbtvBackendSchedulingRecordingCollectionPool();
    shm_unlink(ZR_HBBTV_Core::backendRegionName());
    shm_unlink(ZR_HBBTV_Core::channelListRegionName());
    return 0;
}
