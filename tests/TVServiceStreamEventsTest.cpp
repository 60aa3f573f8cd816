// Stream events, carousel mounts and new applications through the TV service, against the
// simulated host; and the two dvb: URL parsers.
#include <chrono>

#include <gtest/gtest.h>

#include "support/ShortPauses.h"
#include "support/TVServiceHarness.h"

using namespace ZR_HBBTV_Core;
using hbbtv_test::Wire;

using TVServiceStreamEvents = hbbtv_test::TVServiceTest;

namespace {

const char kCarouselUrl[] = "dvb://233a.1004.1044.ffff/index.html";

} // namespace

TEST_F(TVServiceStreamEvents, ServiceIdentifierOfADvbUrl)
{
    FindServiceIdFromDvbUrl find;
    unsigned int id = 0;
    EXPECT_TRUE(find("dvb://233a.1004.1044.ffff", id));
    EXPECT_EQ(0x1044u, id);
    EXPECT_TRUE(find(".a.b.c.d", id)); // the dot at position 0 does not count
    EXPECT_EQ(0xcu, id);
    id = 5;
    EXPECT_FALSE(find(".a.b.c", id));
    EXPECT_FALSE(find("dvb://1.2", id));
    EXPECT_EQ(5u, id);
    EXPECT_TRUE(find("dvb://1.2.zz.4", id)); // found, but nothing to read
    EXPECT_EQ(5u, id);

    EXPECT_EQ(0x1044, service().extractServiceIDformURL(kCarouselUrl));
    EXPECT_EQ(-1, service().extractServiceIDformURL("dvb://233a.1004.1044.ffff"));
    EXPECT_EQ(-1, service().extractServiceIDformURL("dvb://233a.1004.1044.ffff/dir.x/index.html"));
    EXPECT_EQ(0x2, service().extractServiceIDformURL("dvb://..1..2.3/")); // empty pieces dropped
    EXPECT_EQ(-1, service().extractServiceIDformURL("233a.1004.1044.ffff/"));
}

TEST_F(TVServiceStreamEvents, CarouselMountAnsweredAtOnceRefusedOrNotAskedWhenNotRunning)
{
    answer(DSMCC_DVBURL_GetFile, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        answer.strValue1 = "/mnt/carousel/1044";
        answer.valid = 1;
    });

    std::string mountPoint;
    EXPECT_TRUE(service().requestOCResourceMount(kCarouselUrl, mountPoint));
    EXPECT_EQ("/mnt/carousel/1044", mountPoint);

    EXPECT_EQ(1u, requests().size());

    // Without three dots nothing is asked.
    EXPECT_FALSE(service().requestOCResourceMount("dvb://233a.1004", mountPoint));
    EXPECT_EQ(1u, requests().size());

    // Refused: no retry, no pause, the mount point left alone.
    answer(DSMCC_DVBURL_GetFile, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer& answer) {
        static_cast<HbbtvServiceRequestDvbResourceMountAnswer&>(answer).refused = 1;
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(service().requestOCResourceMount(kCarouselUrl, mountPoint));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    EXPECT_EQ("/mnt/carousel/1044", mountPoint);
    EXPECT_EQ(2u, requests().size());

    // Not asked at all while HbbTV is not running.
    service().SetHbbTVRunningStatus(false);
    bool mounted = true;
    const std::string output = stdoutOf([&] { mounted = service().requestOCResourceMount(kCarouselUrl, mountPoint); });
    EXPECT_FALSE(mounted);
    EXPECT_EQ("[HbbTV-SYS]requestOCResourceMount pass out, Hbbtv is not running", output);
    EXPECT_EQ(2u, requests().size());
}

TEST_F(TVServiceStreamEvents, CarouselMountTriesFortyTimesEachWithItsMinuteUnlessHbbtvStops)
{
    // Never a mount point: forty attempts, each with the mount's budget again, then false.
    answer(DSMCC_DVBURL_GetFile, [](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer&) {});
    std::string kept = "kept";
    {
        hbbtv_test::ShortPauses pauses;
        EXPECT_FALSE(service().requestOCResourceMount(kCarouselUrl, kept));
    }
    EXPECT_EQ("kept", kept);
    EXPECT_EQ(std::vector<Wire>(40, Wire(DSMCC_DVBURL_GetFile, 0x1044, 0, kCarouselUrl, "")), wires());
    for (const hbbtv_sim::ReceivedRequest& attempt : requests()) {
        EXPECT_GE(attempt.timeoutMs, 60000u); // the agent adds up to a second for its own cycle
        EXPECT_LE(attempt.timeoutMs, 61000u);
    }
    host().clearRecord();

    // The first attempt comes back without a mount point; HbbTV stops before the second.
    ZR_HBBTV_Core::HbbtvBackendTVService* const tv = &service();
    answer(DSMCC_DVBURL_GetFile,
        [tv](const HbbtvCommandPayload&, HbbtvServiceRequestAnswer&) { tv->SetHbbTVRunningStatus(false); });

    std::string mountPoint;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(service().requestOCResourceMount(kCarouselUrl, mountPoint));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000)); // one pause
    EXPECT_EQ(1u, requests().size());
}

TEST_F(TVServiceStreamEvents, NewApplicationUrlUpTo255Characters)
{
    const std::string longest(255, 'u');
    service().notifyStartNewApp(longest.c_str());
    service().notifyStartNewApp(nullptr);
    const std::string tooLong(256, 'u');
    const std::string output = stdoutOf([&] { service().notifyStartNewApp(tooLong.c_str()); });

    EXPECT_EQ("\e[0;32;31m[ERR][HbbTV-ERROR]notifyStartNewApp URL LENGTH ERROR : 256\n\e[0m\n", output);
    // The record keeps 254 characters.
    EXPECT_EQ(std::vector<Wire> { Wire(TunerCommand_StartNewApplication, 0, 0, std::string(254, 'u'), "") }, wires());
}
