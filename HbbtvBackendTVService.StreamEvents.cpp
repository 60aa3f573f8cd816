// Stream events and the object carousel: subscriptions to DSM-CC stream events, mounting a
// carousel resource named by a dvb: URL, announcing a new application to the host, and the
// signalled applications as the browser's descriptions.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "HbbtvBackendTVService.h"
#include "plx_scope_lock.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

const int kMountAttempts = 40;
const uint32_t kMountTimeoutMs = 60000;
const useconds_t kMountRetryPauseUs = 1000000;
const size_t kMaxAppUrlLength = 255;

} // namespace

bool FindServiceIdFromDvbUrl::operator()(const std::string& url, unsigned int& serviceId)
{
    const std::string::size_type first = url.find('.', 1);
    if (first == std::string::npos) {
        return false;
    }
    const std::string::size_type second = url.find('.', first + 1);
    if (second == std::string::npos) {
        return false;
    }
    const std::string::size_type third = url.find('.', second + 1);
    if (third == std::string::npos) {
        return false;
    }
    // Text without hexadecimal digits leaves serviceId as it was, and still counts as found.
    const std::string text = url.substr(second + 1, third - second - 1);
    sscanf(text.c_str(), "%x", &serviceId);
    return true;
}

// "dvb://<onid>.<tsid>.<sid>.<component>/<path>": the third of the four dot-separated pieces
// between the "//" and the last "/".
int HbbtvBackendTVService::extractServiceIDformURL(std::string url)
{
    const std::string::size_type authority = url.find("//");
    const std::string::size_type lastSlash = url.rfind('/');
    if (authority == std::string::npos || lastSlash == std::string::npos) {
        return -1;
    }
    const std::string text = url.substr(authority, lastSlash - authority + 1);
    std::vector<std::string> pieces;
    std::string::size_type start = 0;
    while (start <= text.size()) {
        std::string::size_type dot = text.find('.', start);
        if (dot == std::string::npos) {
            dot = text.size();
        }
        if (dot > start) {
            pieces.push_back(text.substr(start, dot - start));
        }
        start = dot + 1;
    }
    unsigned int serviceId = static_cast<unsigned int>(-1);
    if (pieces.size() == 4) {
        sscanf(pieces[2].c_str(), "%x", &serviceId);
    }
    return static_cast<int>(serviceId);
}

void HbbtvBackendTVService::registerStreamEvent(const std::string& target, const std::string& eventName)
{
    if (trace::on()) trace::Line(trace::kind::request, "registerStreamEvent").arg(trace::argument::target, target).arg(trace::argument::event, eventName);
    registerStreamEvent(target, eventName, false, -1);
}

// The flag and the number are the host's business: passed on as they come.
void HbbtvBackendTVService::registerStreamEvent(
    const std::string& target, const std::string& eventName, bool flag, long number)
{
    sendStringCommand(TunerCommand_AddStreamEvent, target, eventName, flag, static_cast<int>(number));
}

void HbbtvBackendTVService::unregisterStreamEvent(const std::string& target, const std::string& eventName)
{
    if (trace::on()) trace::Line(trace::kind::request, "unregisterStreamEvent").arg(trace::argument::target, target).arg(trace::argument::event, eventName);
    sendStringCommand(TunerCommand_RemoveStreamEvent, target, eventName, 0, 0);
}

// Deliberately empty: the host is not asked to drop every subscription at once.
void HbbtvBackendTVService::unregisterAllStreamEvents() { }

// The host may need a while to reach the carousel: each attempt waits up to a minute, and an
// attempt that comes back without a mount point is repeated a second later, up to forty times,
// unless the host refuses for good or HbbTV stops meanwhile.
bool HbbtvBackendTVService::requestOCResourceMount(const std::string& url, std::string& mountPoint)
{
    if (trace::on()) trace::Line(trace::kind::request, "requestOCResourceMount").arg(trace::argument::url, url);
    unsigned int serviceId = 0;
    if (!FindServiceIdFromDvbUrl()(url, serviceId)) {
        return false;
    }
    for (int attempt = 0; attempt < kMountAttempts; ++attempt) {
        // After teardown every attempt would be refused at once: forty of them are forty seconds.
        if (m_tornDown) {
            return false;
        }
        if (!GetHbbTVRunningStatus()) {
            printf("[HbbTV-SYS]%s pass out, Hbbtv is not running", "requestOCResourceMount");
            return false;
        }
        std::unique_ptr<HbbtvCommandPayloadWithStrParams> payload = HbbtvCommandPayloadWithStrParams::create(
            DSMCC_DVBURL_GetFile, HbbtvRecordString(url.c_str()), HbbtvRecordString(), static_cast<int>(serviceId), 0);
        payload->timeoutMs = kMountTimeoutMs;
        std::unique_ptr<HbbtvServiceRequestDvbResourceMountAnswer> answer(
            new HbbtvServiceRequestDvbResourceMountAnswer());
        sendServiceRequest(payload, answer);
        if (answer->valid != 0) {
            mountPoint = hostTerminatedText(answer->strValue1);
            if (trace::on()) trace::Line(trace::kind::reply, "requestOCResourceMount").arg("mountPoint", mountPoint);
            return true;
        }
        if (answer->refused != 0) {
            return false;
        }
        usleep(kMountRetryPauseUs);
        if (payload != nullptr) { // gone to the agent when the attempt was given up
            payload->timeoutMs = HbbtvCommandPayload::kDefaultTimeoutMs;
        }
    }
    return false;
}

std::vector<NCOR::AITApplicationDescriptorData*> HbbtvBackendTVService::AITApp2AITDescription(unsigned short,
                                                                                               const AITApps& apps)
{
    // Every record carries the same version word, whatever the signalling says.
    const uint32_t kDescriptorVersion = 0x10201;
    std::vector<NCOR::AITApplicationDescriptorData*> descriptions;
    for (const AITApp& app : apps.apps) {
        const std::vector<std::string> boundaries(app.boundaries);
        for (const AITTransport& transport : app.transports) {
            std::unique_ptr<NCOR::AITApplicationDescriptorData> description(new NCOR::AITApplicationDescriptorData());
            description->setOrgId(app.organisationId);
            description->setAppId(app.applicationId);
            description->setName(app.name);
            description->setUrl(transport.baseUrl + app.location);
            description->setControlCode(app.controlCode);
            description->setProtocolId(transport.protocolId);
            description->setVisibility(app.visibility);
            description->setPriority(app.priority);
            description->setProfile(0);
            description->setVersion(kDescriptorVersion);
            description->setServiceBound(app.serviceBound);
            description->setBoundaries(boundaries);
            descriptions.push_back(description.release());
        }
    }
    return descriptions;
}

void HbbtvBackendTVService::notifyStartNewApp(const char* url)
{
    plx_scope_lock lock(
        &m_tvSericeMutex, "void ZR_HBBTV_Core::HbbtvBackendTVService::notifyStartNewApp(const char*)", 1100);
    if (url == nullptr) {
        return;
    }
    const size_t length = strlen(url);
    if (length > kMaxAppUrlLength) {
        printf("\e[0;32;31m[ERR][HbbTV-ERROR]%s URL LENGTH ERROR : %d\n\e[0m\n", "notifyStartNewApp",
            static_cast<int>(length));
        return;
    }
    const HbbtvRecordString text(url);
    std::unique_ptr<HbbtvCommandPayloadWithStrParams> payload
        = HbbtvCommandPayloadWithStrParams::create(TunerCommand_StartNewApplication, text, HbbtvRecordString(), 0, 0);
    std::unique_ptr<HbbtvServiceRequestAnswer> answer = HbbtvServiceRequestAnswer::create();
    sendServiceRequest(payload, answer);
}

} // namespace ZR_HBBTV_Core
