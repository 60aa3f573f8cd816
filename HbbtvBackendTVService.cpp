// The TV service's core: construction and publication, the request path, the client checks and
// registration, the running status, and the operations that answer without the host.
#include "HbbtvBackendTVService.h"

#include <cstdio>
#include <cstring>
#include <new>

#include <binder/IServiceManager.h>

#include "HbbtvBackendGlue.Util.h"
#include "plx_scope_lock.h"
#include "HbbtvBackendGlue.Trace.h"
#include "ZR_HBBTV.implIPC_p.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceName[] = "HbbtvBackendTVService";
const char kServiceName[] = "kalto.TVService";

android::sp<HbbtvBackendTVService>& theInstance()
{
    // Held for the life of the process: the service manager and the browser keep references too.
    static android::sp<HbbtvBackendTVService>* instance = new android::sp<HbbtvBackendTVService>();
    return *instance;
}

// Mutex set-up calls are reported unless they succeed (0) or report a time-out (110).
void reportPthread(int result, int line, const char* call)
{
    if (result != 0 && result != 110) {
        printf("[PTHREAD] %s: %d: %s: %s\n", kSourceName, line, call, strerror(result));
    }
}

} // namespace

void logNotImplemented(const char* operation, int line)
{
    printf("\e[0;32;32m[MSG][HbbTV-???]%s pass in\e[0m\n", operation);
    printf("\e[0;32;31m[ERR][HbbTV-Not implement]%s %s %d\e[0m\n", kSourceName, operation, line);
    printf("\e[0;32;32m[MSG][HbbTV-???]%s pass out\e[0m\n", operation);
}

HbbtvBackendTVService::HbbtvBackendTVService(Hbbtv_TVServer* server, HbbtvBackendClientRegister* clientRegister)
    : m_ticket(0), m_tvServer(server), m_clientRegister(clientRegister), m_reservedWords(), m_hbbtvRunning(false),
      m_ChannelTunerDataObj(nullptr), m_tornDown(false)
{
    pthread_mutexattr_t attr;
    reportPthread(pthread_mutexattr_init(&attr), 72, "pthread_mutexattr_init(&attr)");
    reportPthread(pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE), 73,
                  "pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE)");
    int result = pthread_mutex_init(&m_tvSericeMutex, &attr);
    reportPthread(result, 75, "pthread_mutex_init(&m_tvSericeMutex, &attr)");
    if (result != 0) {
        printf("\e[0;32;31m[ERR][HbbTV-SYS]%s %s %d\e[0m\n", kSourceName, "HbbtvBackendTVService", 78);
        printf("\e[0;32;31m[ERR][HbbTV-SYS]m_tvSericeMutex init failed : %d\e[0m\n", result);
        HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 80);
    }
    reportPthread(pthread_mutexattr_init(&attr), 83, "pthread_mutexattr_init(&attr)");
    reportPthread(pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE), 84,
                  "pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE)");
    result = pthread_mutex_init(&m_hbbtvStatusMutex, &attr);
    reportPthread(result, 85, "pthread_mutex_init(&m_hbbtvStatusMutex, &attr)");
    if (result != 0) {
        HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 89);
    }
}

HbbtvBackendTVService::~HbbtvBackendTVService()
{
    int result = pthread_mutex_destroy(&m_tvSericeMutex);
    if (result != 0) {
        printf("\e[0;32;31m[ERR][HbbTV-SYS]%s %s %d\e[0m\n", kSourceName, "~HbbtvBackendTVService", 109);
        printf("\e[0;32;31m[ERR][HbbTV-SYS]m_tvSericeMutex destory failed : %d\e[0m\n", result);
        HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 111);
    }
    result = pthread_mutex_destroy(&m_hbbtvStatusMutex);
    if (result != 0) {
        printf("\e[0;32;31m[ERR][HbbTV-SYS]%s %s %d\e[0m\n", kSourceName, "~HbbtvBackendTVService", 117);
        printf("\e[0;32;31m[ERR][HbbTV-SYS]m_tvSericeMutex destory failed\e[0m\n");
        HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 119);
    }
}

HbbtvBackendTVService* HbbtvBackendTVService::instantiate(Hbbtv_TVServer* server,
                                                          HbbtvBackendClientRegister* clientRegister)
{
    android::sp<HbbtvBackendTVService>& instance = theInstance();
    if (instance != nullptr) {
        return instance.get();
    }
    static IssueSrviceRequest issuer(server);
    HbbtvBackendTVService* const created = new (std::nothrow) HbbtvBackendTVService(server, clientRegister);
    if (created == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 52);
    }
    instance = created;
    getServiceAgent()->start(&issuer);
    android::defaultServiceManager()->addService(android::String16(kServiceName), instance);
    return instance.get();
}

void HbbtvBackendTVService::teardown()
{
    m_tornDown = true;
    // HbbTV stops with its host: a carousel mount would otherwise retry its refused requests for
    // forty seconds.
    SetHbbTVRunningStatus(false);
    Locker<Mutex> lock(m_clientsMutex);
    m_recordingManagerClient.clear();
    m_tvConfigurationClient.clear();
    m_channelManagerClient.clear();
    m_dsmccClient.set(nullptr);
    m_aitSignallingClient.clear();
}

// ---------------------------------------------------------------------------------------------
// The request path.

unsigned int HbbtvBackendTVService::ticket()
{
    // Drawn atomically: two requests with one ticket would wake each other's requesters. The
    // counter passes 0 once in 2^32 draws; that draw takes the next number.
    uint32_t next = m_ticket.fetch_add(1, std::memory_order_relaxed) + 1;
    while (next == 0) {
        next = m_ticket.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return next;
}

BackendRequestResult HbbtvBackendTVService::sendToAgent(HbbtvCommandPayload* payload,
                                                        HbbtvServiceRequestAnswer* answer,
                                                        const SharedRegionResult* result, unsigned int& drawn)
{
    // After teardown the host may be gone: the request is refused and its answer stays not valid.
    if (m_tornDown) {
        return RequestRefused;
    }
    injectDelay("torn-down-check");
    drawn = ticket();
    payload->ticket = drawn;
    // Records kept for a host that does not answer are bounded, so this takes a host that leaks
    // records: the request fails rather than the middleware.
    if (!hbbtvBackendInRegion(payload) || !hbbtvBackendInRegion(answer) ||
        (result != nullptr && !result->inRegion())) {
        printf("[BackendGlue_GetThreadService] Request refused - %s, ticket:%u, the shared region is full\n",
               convertBackendCommandToString(payload->command), drawn);
        return RequestRefused;
    }
    return getServiceAgent()->request(payload, answer);
}

void HbbtvBackendTVService::serviceRequestFinished(unsigned int finishedTicket)
{
    getServiceAgent()->response(finishedTicket);
}

std::unique_ptr<HbbtvServiceRequestAnswer> HbbtvBackendTVService::sendPlainCommand(HbbtvBackendCommand command,
                                                                                   int param1, int param2)
{
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    std::unique_ptr<HbbtvCommandPayload> payload(new HbbtvCommandPayload(command, param1, param2));
    sendServiceRequest(payload, answer);
    return answer;
}

void HbbtvBackendTVService::SetHbbTVRunningStatus(bool running)
{
    plx_scope_lock lock(
        &m_hbbtvStatusMutex, "void ZR_HBBTV_Core::HbbtvBackendTVService::SetHbbTVRunningStatus(bool)", 1951);
    m_hbbtvRunning = running;
}

bool HbbtvBackendTVService::GetHbbTVRunningStatus()
{
    plx_scope_lock lock(
        &m_hbbtvStatusMutex, "bool ZR_HBBTV_Core::HbbtvBackendTVService::GetHbbTVRunningStatus()", 1957);
    return m_hbbtvRunning;
}

// ---------------------------------------------------------------------------------------------
// Clients. The register operations pass the client on to the application manager; the service
// keeps its own reference too, for the checks and the channel-manager notifications.

bool HbbtvBackendTVService::CheckIfAITClientExisted()
{
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass in <Line %d>\e[0m\n", "CheckIfAITClientExisted", 1041);
    Locker<Mutex> lock(m_clientsMutex);
    if (m_aitSignallingClient == nullptr) {
        printf("\e[0;32;32m[MSG][HbbTV-Connect]%s AIT Not ready <Line %d>\e[0m\n", "CheckIfAITClientExisted", 1046);
        printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass out <Line %d>\e[0m\n", "CheckIfAITClientExisted", 1047);
        return false;
    }
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s AIT ready <Line %d>\e[0m\n", "CheckIfAITClientExisted", 1052);
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass out <Line %d>\e[0m\n", "CheckIfAITClientExisted", 1053);
    return true;
}

bool HbbtvBackendTVService::CheckIfDSMCCClientExisted()
{
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass in <Line %d>\e[0m\n", "CheckIfDSMCCClientExisted", 1060);
    if (dsmccClient() == nullptr) {
        printf("\e[0;32;32m[MSG][HbbTV-Connect]%s DSMCC not ready <Line %d>\e[0m\n", "CheckIfDSMCCClientExisted", 1065);
        printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass out <Line %d>\e[0m\n", "CheckIfDSMCCClientExisted", 1066);
        return false;
    }
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s DSMCC ready <Line %d>\e[0m\n", "CheckIfDSMCCClientExisted", 1071);
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass out <Line %d>\e[0m\n", "CheckIfDSMCCClientExisted", 1072);
    return true;
}

bool HbbtvBackendTVService::CheckIfCMClientExisted()
{
    printf("\e[0;32;32m[MSG]3[HbbTV-Connect]%s pass in <Line %d>\e[0m\n", "CheckIfCMClientExisted", 1080);
    Locker<Mutex> lock(m_clientsMutex);
    if (m_channelManagerClient == nullptr) {
        printf("\e[0;32;32m[MSG][HbbTV-Connect]%s CM not ready <Line %d>\e[0m\n", "CheckIfCMClientExisted", 1085);
        printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass out <Line %d>\e[0m\n", "CheckIfCMClientExisted", 1086);
        return false;
    }
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s CM ready <Line %d>\e[0m\n", "CheckIfCMClientExisted", 1091);
    printf("\e[0;32;32m[MSG][HbbTV-Connect]%s pass out <Line %d>\e[0m\n", "CheckIfCMClientExisted", 1092);
    return true;
}

void HbbtvBackendTVService::registerAITSignallingClient(const android::sp<IAITSignallingClient>& client)
{
    if (trace::on()) trace::Line(trace::kind::request, "registerAITSignallingClient").arg("client", client != nullptr);
    {
        Locker<Mutex> lock(m_clientsMutex);
        if (!m_tornDown) {
            m_aitSignallingClient = client;
        }
    }
    m_clientRegister->registerAITSignallingClient(client);
}

void HbbtvBackendTVService::registerChannelManagerClient(const android::sp<IChannelManagerClient>& client)
{
    if (trace::on()) trace::Line(trace::kind::request, "registerChannelManagerClient").arg("client", client != nullptr);
    {
        Locker<Mutex> lock(m_clientsMutex);
        if (!m_tornDown) {
            m_channelManagerClient = client;
        }
    }
    m_clientRegister->registerChannelManagerClient(client);
}

void HbbtvBackendTVService::registerDSMCCClient(const android::sp<IDSMCCClient>& client)
{
    if (trace::on()) trace::Line(trace::kind::request, "registerDSMCCClient").arg("client", client != nullptr);
    {
        Locker<Mutex> lock(m_clientsMutex);
        if (!m_tornDown) {
            m_dsmccClient.set(client);
        }
    }
    m_clientRegister->registerDSMCCClient(client);
}

void HbbtvBackendTVService::registerTvConfigurationClient(const android::sp<ITvConfigurationClient>& client)
{
    if (trace::on()) trace::Line(trace::kind::request, "registerTvConfigurationClient").arg("client", client != nullptr);
    {
        Locker<Mutex> lock(m_clientsMutex);
        if (!m_tornDown) {
            m_tvConfigurationClient = client;
        }
    }
    m_clientRegister->registerTvConfigurationClient(client);
}

android::sp<IChannelManagerClient> HbbtvBackendTVService::channelManagerClient()
{
    Locker<Mutex> lock(m_clientsMutex);
    return m_channelManagerClient;
}

android::status_t HbbtvBackendTVService::dump(int, const android::Vector<android::String16>&)
{
    printf("\e[0;32;31m[ERR][HbbTV-???]%s Unimplemented.\e[0m\n", "dump");
    return android::NO_ERROR;
}

// ---------------------------------------------------------------------------------------------
// Operations answered without the host.

bool HbbtvBackendTVService::canResolveURI(const std::string&) { return false; }
bool HbbtvBackendTVService::isTrickPlaySupported() { return false; }
void HbbtvBackendTVService::setPreferredAudioLanguage(const std::string&) {}
void HbbtvBackendTVService::setPreferredSubtitleLanguage(const std::string&) {}
void HbbtvBackendTVService::setCountryId(const std::string&) {}
unsigned int HbbtvBackendTVService::getRegionId() { return 0; }
void HbbtvBackendTVService::setRegionId(unsigned int) {}
NCOR::Broadcast::PVRPolicy HbbtvBackendTVService::getPvrPolicy() { return static_cast<NCOR::Broadcast::PVRPolicy>(0); }
void HbbtvBackendTVService::setPvrPolicy(NCOR::Broadcast::PVRPolicy) {}
unsigned int HbbtvBackendTVService::getPvrSaveEpisodes() { return 0; }
void HbbtvBackendTVService::setPvrSaveEpisodes(unsigned int) {}
unsigned int HbbtvBackendTVService::getPvrSaveDays() { return 0; }
void HbbtvBackendTVService::setPvrSaveDays(unsigned int) {}
int HbbtvBackendTVService::getPvrStartPadding() { return 0; }
void HbbtvBackendTVService::setPvrStartPadding(int) {}
int HbbtvBackendTVService::getPvrEndPadding() { return 0; }
void HbbtvBackendTVService::setPvrEndPadding(int) {}
bool HbbtvBackendTVService::getParentalControlPINEnable() { return false; }
bool HbbtvBackendTVService::verifyParentalControlPIN(const std::string&) { return false; }
bool HbbtvBackendTVService::pvrSupported() { return false; }
bool HbbtvBackendTVService::canSupportChannelType(NCOR::Broadcast::ChannelIDType) { return true; }
void HbbtvBackendTVService::tunerInit() {}
bool HbbtvBackendTVService::downloadSupported() { return false; }

} // namespace ZR_HBBTV_Core
