// A deliberately faulty host, for testing the checker: the simulated television with one fault
// switched on, named by the plugin argument (--host-arg) or, without one, by the environment
// variable HBBTV_FAULTY_HOST_FAULT:
//   late           answers every request after its budget has run out
//   twice          reports every request finished twice
//   never          never reports a request finished
//   wrong-payload  reports completion with a copy of the payload instead of the one handed over
//   count          lists 17 audio components in a record that holds 16
//   unterminated   writes the country as 256 letters without a NUL
//   enumeration    gives the current channel the identifier type 42
//   overflow       writes the parental threshold's answer 4 bytes past the answer record
//   slow-callback  takes 600 ms in HBBTV_CommandHandler
//   after-deinit   keeps asking the wrapper isBrowserReady from a thread until it is destroyed
//   none           no fault
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "HbbtvHostCheckPlugin.h"
#include "TelevisionAnswers.h"

namespace {

using hbbtv_sim::HostDecision;
using hbbtv_sim::SimulatedHost;

const unsigned int kLateByMs = 50;
const int kTooManyAudioComponents = HbbtvAVComponentInfo::kAVEntries + 1;
const uint32_t kUnknownIDType = 42;
const std::chrono::milliseconds kSlowCallback(600);
const std::chrono::milliseconds kPollInterval(10);

class FaultyHost final : public SimulatedHost {
public:
    FaultyHost(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper, const std::string& fault)
        : SimulatedHost(wrapper)
        , m_fault(fault)
        , m_wrapper(wrapper)
    {
        hbbtv_hostcheck_plugins::setTelevisionAnswers(*this);
        if (fault == "late") {
            setDecider([](const HbbtvCommandPayload& request) {
                return HostDecision { HostDecision::Answer, request.timeoutMs + kLateByMs };
            });
        } else if (fault == "twice") {
            setDecision(HostDecision { HostDecision::AnswerTwice, 0 });
        } else if (fault == "never") {
            setDecision(HostDecision { HostDecision::Never, 0 });
        } else if (fault == "wrong-payload") {
            setCompletionSink([wrapper](HbbtvCommandPayload* payload) {
                alignas(HbbtvCommandPayloadWithChannelIDInfo) unsigned char
                    copy[sizeof(HbbtvCommandPayloadWithChannelIDInfo)];
                memcpy(copy, payload, hbbtv_sim::payloadRecordSize(payload->command));
                wrapper->notifyHbbtvServiceRequestFinished(reinterpret_cast<HbbtvCommandPayload*>(copy));
            });
        } else if (fault == "count") {
            setAnswerWriterFor(
                TunerCommand_GetAVInfo, [](const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer) {
                    auto& info = static_cast<HbbtvServiceRequestAVInfoAnswer&>(answer).avComponentInfo;
                    info.count = request.param2 == 1 ? kTooManyAudioComponents : 0;
                    answer.valid = 1;
                });
        } else if (fault == "unterminated") {
            setAnswerWriterFor(
                ConfigCommand_GetCountryID, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
                    memset(static_cast<void*>(&answer.strValue1), 'D', HbbtvRecordString::kCapacity);
                    answer.valid = 1;
                });
        } else if (fault == "enumeration") {
            setAnswerWriterFor(
                TunerCommand_GetCurrentChannelInfo, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
                    auto& info = static_cast<HbbtvServiceRequestChannelInfoAnswer&>(answer).channelInfo;
                    info.idType = kUnknownIDType;
                    info.name = "Das Erste HD";
                    answer.valid = 1;
                });
        } else if (fault == "overflow") {
            setAnswerWriterFor(
                ConfigCommand_GetParental, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
                    answer.intValue1 = 12;
                    answer.valid = 1;
                    // As if the host took the answer for a bigger record.
                    const uint32_t extra = 0xDEADBEEF;
                    memcpy(reinterpret_cast<unsigned char*>(&answer) + sizeof(HbbtvServiceRequestAnswer), &extra,
                        sizeof(extra));
                });
        } else if (fault == "after-deinit") {
            m_poller = std::thread([this] {
                while (!m_stopping.load()) {
                    m_wrapper->isBrowserReady();
                    std::this_thread::sleep_for(kPollInterval);
                }
            });
        }
    }

    ~FaultyHost()
    {
        m_stopping.store(true);
        if (m_poller.joinable()) {
            m_poller.join();
        }
    }

    void HBBTV_CommandHandler(void* command) override
    {
        if (m_fault == "slow-callback") {
            std::this_thread::sleep_for(kSlowCallback);
        }
        SimulatedHost::HBBTV_CommandHandler(command);
    }

private:
    const std::string m_fault;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const m_wrapper;
    std::atomic<bool> m_stopping { false };
    std::thread m_poller;
};

bool knownFault(const std::string& fault)
{
    static const char* const kFaults[] = { "none", "late", "twice", "never", "wrong-payload", "count", "unterminated",
        "enumeration", "overflow", "slow-callback", "after-deinit" };
    for (const char* known : kFaults) {
        if (fault == known) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" Hbbtv_TVServer* HbbtvHostCheck_CreateHost(HbbtvHostCheckContext* context)
{
    std::string fault = context->argument != nullptr ? context->argument : "";
    if (fault.empty()) {
        const char* const fromEnvironment = getenv("HBBTV_FAULTY_HOST_FAULT");
        fault = fromEnvironment != nullptr ? fromEnvironment : "none";
    }
    if (!knownFault(fault)) {
        context->log(("faulty host: no fault \"" + fault + "\"").c_str());
        return nullptr;
    }
    context->log(("faulty host: fault " + fault).c_str());
    context->destroyHost = [](Hbbtv_TVServer* server) { delete static_cast<FaultyHost*>(server); };
    return new FaultyHost(context->wrapper, fault);
}
