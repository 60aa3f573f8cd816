// The reports for CI systems, and the rules as the README and the manual page list them.
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Report.h"

using namespace hbbtv_hostcheck;

namespace {

std::string readFile(const char* path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

TEST(Report, JUnitHasACasePerRuleOfWhatTheOperationCheckedAndEachFindingAsFailure)
{
    Report report;
    OperationRow callbacks;
    callbacks.name = "callbacks";
    callbacks.scope = kCallbackRule;
    callbacks.seconds = 0.25;
    callbacks.findings
        = { { rule::kSlowCallback, "HBBTV_LoadingNotification(\"<a&b>\") took 'long'\n\x01 \xff\xc3\xa9" },
              { rule::kSlowCallback, "HBBTV_CommandHandler" } };
    OperationRow teardown;
    teardown.name = "teardown";
    teardown.scope = kTeardownRule;
    report.rows = { callbacks, teardown };
    EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<testsuites name=\"hbbtv-host-check\" tests=\"2\" failures=\"1\" errors=\"0\" time=\"0.250\">\n"
              "  <testsuite name=\"callbacks\" tests=\"1\" failures=\"1\" errors=\"0\" skipped=\"0\" time=\"0.250\">\n"
              "    <testcase name=\"slow-callback\" classname=\"hbbtv-host-check.callbacks\" time=\"0.000\">\n"
              "      <failure type=\"slow-callback\" message=\"HBBTV_LoadingNotification(&quot;&lt;a&amp;b&gt;&quot;) "
              "took &apos;long&apos;&#10;? ?\xc3\xa9\">HBBTV_LoadingNotification(&quot;&lt;a&amp;b&gt;&quot;) took "
              "&apos;long&apos;&#10;? ?\xc3\xa9&#10;rule slow-callback: synchronous calls into the host (callbacks, "
              "the request "
              "hand-over) return within the callback limit</failure>\n"
              "      <failure type=\"slow-callback\" message=\"HBBTV_CommandHandler\">HBBTV_CommandHandler&#10;rule "
              "slow-callback: synchronous calls into the host (callbacks, the request hand-over) return within the "
              "callback limit</failure>\n"
              "    </testcase>\n"
              "  </testsuite>\n"
              "  <testsuite name=\"teardown\" tests=\"1\" failures=\"0\" errors=\"0\" skipped=\"0\" time=\"0.000\">\n"
              "    <testcase name=\"after-deinit\" classname=\"hbbtv-host-check.teardown\" time=\"0.000\"/>\n"
              "  </testsuite>\n"
              "</testsuites>\n",
        junitReport(report));
}

// The README's table and the manual page's list are the rule table, row for row.
TEST(Report, ReadmeAndManualPageListEveryRuleAsTheTableHasIt)
{
    const std::string readme = readFile(HBBTV_README);
    const std::string manual = readFile(HBBTV_HOST_CHECK_MANUAL);
    std::vector<std::string> fromTable;
    for (const Rule& rule : rules()) {
        fromTable.push_back(std::string(rule.id) + ": " + rule.demand);
    }
    std::vector<std::string> fromReadme;
    const std::regex readmeRow("\n\\| `([a-z-]+)` \\| ([^|\n]+) \\|");
    for (auto row = std::sregex_iterator(readme.begin(), readme.end(), readmeRow); row != std::sregex_iterator();
         ++row) {
        fromReadme.push_back((*row)[1].str() + ": " + (*row)[2].str());
    }
    std::vector<std::string> fromManual;
    const std::regex manualItem("\n\\.TP\n\\.B ([a-z-]+)\n([^\n]+)(?=\n\\.TP|\n\\.SH)");
    ASSERT_NE(std::string::npos, manual.find("\n.SH RULES"));
    const std::string rulesSection = manual.substr(manual.find("\n.SH RULES"));
    for (auto item = std::sregex_iterator(rulesSection.begin(), rulesSection.end(), manualItem);
         item != std::sregex_iterator(); ++item) {
        fromManual.push_back((*item)[1].str() + ": " + (*item)[2].str());
    }
    EXPECT_EQ(fromTable, fromReadme);
    EXPECT_EQ(fromTable, fromManual);
}
