// Configuration and local-system queries through the TV service, against the simulated host.
#include <cstdlib>
#include <functional>
#include <cstring>
#include <tuple>

#include <gtest/gtest.h>

#include "support/TVServiceHarness.h"

using namespace ZR_HBBTV_Core;

using TVServiceConfiguration = hbbtv_test::TVServiceTest;

TEST_F(TVServiceConfiguration, ConfigurationTextsEndAtTheirTerminator)
{
    // "deu", a terminator, then more bytes and a stored length that says otherwise.
    answer(ConfigCommand_GetCountryID, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.strValue1 = "deu-and-more";
        memcpy(static_cast<void*>(&answer.strValue1), "deu\0xx", 6);
        answer.valid = 1;
    });
    answer(ConfigCommand_GetSubtitleLanguage, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.strValue1 = "eng";
        answer.valid = 1;
    });
    answer(ConfigCommand_GetAudioLanguage, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        memset(static_cast<void*>(&answer.strValue1), 'f', sizeof(answer.strValue1)); // unterminated
        answer.valid = 1;
    });

    std::string country;
    std::string subtitles;
    std::string audio;
    service().getCountryId(country);
    service().getPreferredSubtitleLanguage(subtitles);
    service().getPreferredAudioLanguage(audio);
    EXPECT_EQ("deu", country);
    EXPECT_EQ("eng", subtitles);
    EXPECT_EQ(std::string(256, 'f'), audio);
}

TEST_F(TVServiceConfiguration, AudioDescriptionSwitch)
{
    answerInt(ConfigCommand_GetAudioDescription, 1);
    bool enabled = false;
    std::string output = stdoutOf([&] { enabled = service().getAudioDescriptionEnable(); });
    EXPECT_TRUE(enabled);
    EXPECT_EQ("\e[0;32;32m[MSG][HbbTV-???]getAudioDescriptionEnable pass in\e[0m\n"
              "\e[0;32;32m[MSG][HbbTV-???]getAudioDescriptionEnable pass out, AD : 1\e[0m\n",
        output);
    // (0 and an answer that never comes: the request property.)
    answer(ConfigCommand_GetAudioDescription, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.intValue1 = 1; // but not valid
    });
    output = stdoutOf([&] { enabled = service().getAudioDescriptionEnable(); });
    EXPECT_FALSE(enabled);
    EXPECT_EQ("\e[0;32;32m[MSG][HbbTV-???]getAudioDescriptionEnable pass in\e[0m\n"
              "\e[0;32;31m[ERR][HbbTV-???]HbbtvBackendTVService getAudioDescriptionEnable 1460\e[0m\n",
        output);
}

TEST_F(TVServiceConfiguration, ParentalThresholdIsAtLeastThreeUnlessNegative)
{
    // 0 to 40, and no answer: the request property.
    answerInt(ConfigCommand_GetParental, -1);
    EXPECT_EQ(-1, service().getParentalControlThreshold());

    std::vector<std::string> schemes = { "a", "b" };
    service().getSupportedParentalSchemes(schemes);
    EXPECT_EQ(std::vector<std::string> { "dvb-si" }, schemes);
    EXPECT_FALSE(service().getParentalControlPINEnable());
    EXPECT_FALSE(service().verifyParentalControlPIN("1234"));
}

TEST_F(TVServiceConfiguration, FourDigitTextsReadDigitsAndOnlyEverClearOk)
{
    // text, value, ok after a call that found it true
    const std::tuple<std::string, int, bool> cases[] = { { "0042", 42, true }, { "9999", 9999, true },
        { "", 0, false }, { "12a4", 124, false }, { "12345", 12345, false }, { "042", 42, false },
        { "a", 0, false } };
    for (const auto& c : cases) {
        bool ok = true;
        EXPECT_EQ(std::get<1>(c), service().StringToInt(std::get<0>(c), ok)) << std::get<0>(c);
        EXPECT_EQ(std::get<2>(c), ok) << std::get<0>(c);
    }
    bool ok = false; // never set, only cleared
    EXPECT_EQ(1234, service().StringToInt("1234", ok));
    EXPECT_FALSE(ok);
}

TEST_F(TVServiceConfiguration, DevicePropertiesNeedTheSerialNumber)
{
    unsetenv("SERIAL_NUMBER");
    setenv("MODEL_NAME", "model", 1);
    std::string model = "unchanged";
    service().getModelName(model);
    EXPECT_EQ("unchanged", model);

    setenv("SERIAL_NUMBER", "SN1", 1);
    setenv("SOFTWARE_VERSION", "sw", 1);
    unsetenv("HARDWARE_VERSION");
    std::string software;
    std::string hardware = "unchanged";
    std::string serial;
    service().getModelName(model);
    service().getSoftwareVersion(software);
    service().getHardwareVersion(hardware);
    service().getSerialNumber(serial);
    EXPECT_EQ("model", model);
    EXPECT_EQ("sw", software);
    EXPECT_EQ("unchanged", hardware);
    EXPECT_EQ("SN1", serial);
    EXPECT_TRUE(requests().empty());

    unsetenv("SERIAL_NUMBER");
    unsetenv("MODEL_NAME");
    unsetenv("SOFTWARE_VERSION");
}

// The service's fixed lines, one table for all: operations that are not implemented, and those
// that report a missing client or an unknown name.
TEST_F(TVServiceConfiguration, FixedLogLines)
{
    const NCOR::ChannelTunerData channel;
    std::string text;
    std::vector<NCOR::ProgrammeData*> programmes;
    std::vector<std::vector<unsigned char>> descriptors;
    const auto notImplemented = [](const std::string& operation, int line) {
        return "\e[0;32;32m[MSG][HbbTV-???]" + operation + " pass in\e[0m\n\e[0;32;31m[ERR][HbbTV-Not implement]"
            + "HbbtvBackendTVService " + operation + " " + std::to_string(line)
            + "\e[0m\n\e[0;32;32m[MSG][HbbTV-???]" + operation + " pass out\e[0m\n";
    };
    const auto noClient = [](const std::string& operation, int line) {
        return "\e[0;32;32m[MSG][HbbTV-APM]" + operation + " pass in\e[0m\n\e[0;32;31m[ERR][HbbTV-SYS]"
            + "HbbtvBackendTVService " + operation + " " + std::to_string(line)
            + "\e[0m\n\e[0;32;31m[ERR][HbbTV-SYS]m_channelManagerClient is null point\e[0m\n";
    };
    const auto localSystem = [](const std::string& operation) {
        return "\e[0;32;32m[MSG][OIPF-LocalSystem]" + operation + " pass in\e[0m\n\e[0;32;32m[MSG][OIPF-LocalSystem]"
            + operation + " pass out\e[0m\n";
    };
    const std::pair<std::function<void()>, std::string> lines[] = {
        { [&] { service().notifyConfigurationChanged(); }, notImplemented("notifyConfigurationChanged", 1930) },
        { [&] { service().notifyChannelAdded(channel); }, notImplemented("notifyChannelAdded", 1906) },
        { [&] { service().notifyChannelRemoved(channel); }, notImplemented("notifyChannelRemoved", 1913) },
        { [&] { service().canHandleDigitalTeletext(); }, notImplemented("canHandleDigitalTeletext", 1922) },
        { [&] { service().notifySelectedComponentChanged(NCOR::Broadcast::COMPONENT_TYPE_AUDIO); },
            notImplemented("notifySelectedComponentChanged", 1944) },
        { [&] { service().notifyChannelModified(channel); }, noClient("notifyChannelModified", 1876) },
        { [&] { service().notifyAccessToBroadcastResources(true); },
            noClient("notifyAccessToBroadcastResources", 1892) },
        { [&] { service().transformComponentEncodingString2Enum("heaac"); },
            "\e[0;32;31m[ERR][HbbTV-???]HbbtvBackendTVService transformComponentEncodingString2Enum 1402\e[0m\n"
            "\e[0;32;31m[ERR][HbbTV-???]Undefine Encoding Type:heaac\e[0m\n" },
        { [&] { service().getModelName(text); }, localSystem("getModelName") },
        { [&] { service().getSoftwareVersion(text); }, localSystem("getSoftwareVersion") },
        { [&] { service().getHardwareVersion(text); }, localSystem("getHardwareVersion") },
        { [&] { service().getSerialNumber(text); }, localSystem("getSerialNumber") },
        { [&] { service().getAllProgrammesForChannel(channel, programmes); },
            "\e[0;32;32m[MSG][HbbTV-APM]getAllProgrammesForChannel pass in\e[0m\n"
            "\e[0;32;32m[MSG][HbbTV-APM]getAllProgrammesForChannel pass out\e[0m\n" },
        { [&] {
             service().getSIDescriptors(
                 "p", NCOR::EIT::DESCRIPTOR_SHORT_EVENT, NCOR::EIT::EXTENSION_IMAGE_ICON, descriptors);
         },
            "\e[0;32;32m[MSG][HbbTV-BC]getSIDescriptors pass in\e[0m\n"
            "\e[0;32;32m[MSG][HbbTV-BC]getSIDescriptors pass out\e[0m\n" },
    };
    for (const auto& line : lines) {
        EXPECT_EQ(line.second, stdoutOf(line.first));
    }
}
