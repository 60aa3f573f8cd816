// Configuration and local system: country, languages, audio description and parental threshold
// from the host; the device's own properties from the process environment.
#include <cstdio>
#include <cstdlib>

#include "HbbtvBackendTVService.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceName[] = "HbbtvBackendTVService";

// The environment sets the four device properties together or not at all, so the serial number
// alone says whether they are there. A property missing beside it leaves the output alone.
void readDeviceProperty(const char* operation, const char* variable, std::string& out)
{
    printf("\e[0;32;32m[MSG][OIPF-LocalSystem]%s pass in\e[0m\n", operation);
    if (getenv("SERIAL_NUMBER") != nullptr) {
        const char* const value = getenv(variable);
        if (value != nullptr) {
            out = value;
        }
    }
    printf("\e[0;32;32m[MSG][OIPF-LocalSystem]%s pass out\e[0m\n", operation);
}

} // namespace

void HbbtvBackendTVService::getConfigurationID(HbbtvBackendCommand command, std::string& out)
{
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer = sendPlainCommand(command);
    if (answer->valid != 0) {
        out = hostTerminatedText(answer->strValue1);
    }
    if (trace::on()) trace::Line(trace::kind::reply, "getConfigurationID").arg("command", command).arg("text", out);
}

void HbbtvBackendTVService::getCountryId(std::string& country)
{
    if (trace::on()) trace::Line(trace::kind::request, "getCountryId");
    getConfigurationID(ConfigCommand_GetCountryID, country);
}

void HbbtvBackendTVService::getPreferredSubtitleLanguage(std::string& language)
{
    if (trace::on()) trace::Line(trace::kind::request, "getPreferredSubtitleLanguage");
    getConfigurationID(ConfigCommand_GetSubtitleLanguage, language);
}

void HbbtvBackendTVService::getPreferredAudioLanguage(std::string& language)
{
    if (trace::on()) trace::Line(trace::kind::request, "getPreferredAudioLanguage");
    getConfigurationID(ConfigCommand_GetAudioLanguage, language);
}

bool HbbtvBackendTVService::getAudioDescriptionEnable()
{
    if (trace::on()) trace::Line(trace::kind::request, "getAudioDescriptionEnable");
    printf("\e[0;32;32m[MSG][HbbTV-???]%s pass in\e[0m\n", "getAudioDescriptionEnable");
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer
        = sendStringCommand(ConfigCommand_GetAudioDescription, std::string(), std::string());
    if (answer->valid == 0) {
        printf("\e[0;32;31m[ERR][HbbTV-???]%s %s %d\e[0m\n", kSourceName, "getAudioDescriptionEnable", 1460);
        return false;
    }
    printf("\e[0;32;32m[MSG][HbbTV-???]%s pass out, AD : %d\e[0m\n", "getAudioDescriptionEnable", answer->intValue1);
    return answer->intValue1 != 0;
}

// Thresholds 0 to 2 become 3, also when the host did not answer (the answer then holds 0); a
// negative value passes, since the comparison is unsigned.
int HbbtvBackendTVService::getParentalControlThreshold()
{
    if (trace::on()) trace::Line(trace::kind::request, "getParentalControlThreshold");
    const std::unique_ptr<HbbtvServiceRequestAnswer> answer = sendPlainCommand(ConfigCommand_GetParental);
    if (static_cast<unsigned int>(answer->intValue1) < 3u) {
        answer->intValue1 = 3;
    }
    return answer->intValue1;
}

void HbbtvBackendTVService::getSupportedParentalSchemes(std::vector<std::string>& schemes)
{
    schemes.clear();
    schemes.push_back("dvb-si");
}

void HbbtvBackendTVService::getModelName(std::string& name)
{
    if (trace::on()) trace::Line(trace::kind::request, "getModelName");
    readDeviceProperty("getModelName", "MODEL_NAME", name);
}

void HbbtvBackendTVService::getSoftwareVersion(std::string& version)
{
    if (trace::on()) trace::Line(trace::kind::request, "getSoftwareVersion");
    readDeviceProperty("getSoftwareVersion", "SOFTWARE_VERSION", version);
}

void HbbtvBackendTVService::getHardwareVersion(std::string& version)
{
    if (trace::on()) trace::Line(trace::kind::request, "getHardwareVersion");
    readDeviceProperty("getHardwareVersion", "HARDWARE_VERSION", version);
}

void HbbtvBackendTVService::getSerialNumber(std::string& number)
{
    if (trace::on()) trace::Line(trace::kind::request, "getSerialNumber");
    readDeviceProperty("getSerialNumber", "SERIAL_NUMBER", number);
}

int HbbtvBackendTVService::StringToInt(std::string text, bool& ok)
{
    if (text.size() != 4) {
        ok = false;
        if (text.empty()) {
            return 0;
        }
    }
    // Unsigned, so that a long run of digits wraps instead of overflowing.
    unsigned int value = 0;
    for (const char c : text) {
        if (c >= '0' && c <= '9') {
            value = value * 10 + static_cast<unsigned int>(c - '0');
        } else {
            ok = false;
        }
    }
    return static_cast<int>(value);
}

void HbbtvBackendTVService::notifyConfigurationChanged()
{
    logNotImplemented("notifyConfigurationChanged", 1930);
}

} // namespace ZR_HBBTV_Core
