#include "Report.h"

#include "HbbtvBackendGlue.TraceJson.h"
#include "Statistics.h"

namespace hbbtv_hostcheck {

namespace {

const char kTeardown[] = "teardown";

OperationRow& rowFor(std::vector<OperationRow>& rows, const std::string& name)
{
    for (OperationRow& row : rows) {
        if (row.name == name) {
            return row;
        }
    }
    rows.push_back(OperationRow());
    rows.back().name = name;
    return rows.back();
}

void count(OperationRow& row, bool failed, unsigned scope)
{
    ++row.requests;
    ++(failed ? row.failed : row.passed);
    row.scope |= scope;
}

// Text for XML attributes and content: the five markup characters as entities, line breaks and
// tabs as character references, and '?' for what XML 1.0 cannot carry (other control characters,
// bytes that are not UTF-8: a finding may quote a host's text).
std::string escapeXml(const std::string& text)
{
    std::string out;
    for (size_t at = 0; at < text.size();) {
        const unsigned char* const bytes = reinterpret_cast<const unsigned char*>(text.data()) + at;
        const size_t length = bytes[0] < 0x80 ? 1 : ZR_HBBTV_Core::utf8SequenceLength(bytes, text.size() - at);
        if (length > 1) {
            out.append(text, at, length);
            at += length;
            continue;
        }
        const char c = text[at++];
        switch (length == 0 ? '\0' : c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&apos;"; break;
        case '\n': out += "&#10;"; break;
        case '\t': out += "&#9;"; break;
        default: out += static_cast<unsigned char>(c) < 0x20 || length == 0 ? '?' : c;
        }
    }
    return out;
}

std::string seconds(double value)
{
    char text[32];
    snprintf(text, sizeof(text), "%.3f", value);
    return text;
}

} // namespace

Report buildReport(const std::vector<std::string>& operations, const std::vector<RequestRecord>& requests,
    const std::vector<CallbackRecord>& callbacks, const Findings& afterDeinit)
{
    Report report;
    for (const std::string& name : operations) {
        rowFor(report.rows, name);
    }
    std::vector<std::vector<double>> times(report.rows.size());
    const auto timesFor = [&](const OperationRow& row) -> std::vector<double>& {
        const size_t index = static_cast<size_t>(&row - report.rows.data());
        if (index >= times.size()) {
            times.resize(index + 1);
        }
        return times[index];
    };
    for (const RequestRecord& request : requests) {
        OperationRow& row = rowFor(report.rows, request.operation.empty() ? kTeardown : request.operation);
        count(row, !request.findings.empty(), kRequestRule);
        if (request.answerMs >= 0 && !request.givenUp) {
            timesFor(row).push_back(request.answerMs);
        }
        const std::string prefix = request.command != 0 || request.ticket != 0
            ? commandLabel(request.command) + " (ticket " + std::to_string(request.ticket) + "): "
            : std::string();
        for (const Finding& finding : request.findings) {
            row.findings.push_back(ReportedFinding { finding.rule, prefix + finding.text });
        }
    }
    for (const CallbackRecord& callback : callbacks) {
        OperationRow& row = rowFor(report.rows, callback.operation.empty() ? kTeardown : callback.operation);
        count(row, !callback.findings.empty(), kCallbackRule);
        timesFor(row).push_back(callback.ms);
        for (const Finding& finding : callback.findings) {
            row.findings.push_back(ReportedFinding { finding.rule, finding.text });
        }
    }
    OperationRow& teardown = rowFor(report.rows, kTeardown);
    count(teardown, !afterDeinit.empty(), kTeardownRule);
    for (const Finding& finding : afterDeinit) {
        teardown.findings.push_back(ReportedFinding { finding.rule, finding.text });
    }
    for (size_t i = 0; i < report.rows.size(); ++i) {
        OperationRow& row = report.rows[i];
        if (i < times.size()) {
            row.p50Ms = hbbtv_tools::percentile(times[i], 50);
            row.p99Ms = hbbtv_tools::percentile(times[i], 99);
        }
        report.requests += row.requests;
        report.failed += row.failed;
    }
    return report;
}

void printReport(FILE* out, const Report& report)
{
    fprintf(out, "%-20s %8s %6s %6s %9s %9s  %s\n", "operation", "requests", "passed", "failed", "p50 ms", "p99 ms",
        "first finding");
    for (const OperationRow& row : report.rows) {
        fprintf(out, "%-20s %8zu %6zu %6zu %9.3f %9.3f  %s\n", row.name.c_str(), row.requests, row.passed, row.failed,
            row.p50Ms, row.p99Ms, row.findings.empty() ? "-" : row.findings.front().text.c_str());
    }
    fprintf(out, "%s\n", verdictLine(report).c_str());
}

std::string verdictLine(const Report& report)
{
    size_t failedOperations = 0;
    for (const OperationRow& row : report.rows) {
        failedOperations += row.failed != 0 ? 1 : 0;
    }
    if (report.passed()) {
        return "verdict: PASS: the host kept the contract in all " + std::to_string(report.requests)
            + " requests and callbacks";
    }
    return "verdict: FAIL: " + std::to_string(report.failed) + " of " + std::to_string(report.requests)
        + " requests and callbacks broke the contract, in " + std::to_string(failedOperations) + " operation"
        + (failedOperations == 1 ? "" : "s");
}

nlohmann::json reportJson(const Report& report)
{
    nlohmann::json rows = nlohmann::json::array();
    for (const OperationRow& row : report.rows) {
        nlohmann::json findings = nlohmann::json::array();
        for (const ReportedFinding& finding : row.findings) {
            findings.push_back({ { "rule", finding.rule }, { "text", finding.text } });
        }
        rows.push_back({ { "name", row.name }, { "requests", row.requests }, { "passed", row.passed },
            { "failed", row.failed }, { "p50Ms", row.p50Ms }, { "p99Ms", row.p99Ms }, { "findings", findings } });
    }
    return { { "operations", rows }, { "requests", report.requests }, { "failed", report.failed },
        { "passed", report.passed() }, { "verdict", verdictLine(report) } };
}

std::string junitReport(const Report& report)
{
    std::string suites;
    size_t tests = 0;
    size_t failures = 0;
    double total = 0;
    for (const OperationRow& row : report.rows) {
        std::string cases;
        size_t rowTests = 0;
        size_t rowFailures = 0;
        for (const Rule& rule : rules()) {
            std::string failed;
            for (const ReportedFinding& finding : row.findings) {
                if (finding.rule == rule.id) {
                    failed += "      <failure type=\"" + std::string(rule.id) + "\" message=\""
                        + escapeXml(finding.text) + "\">"
                        + escapeXml(finding.text + "\nrule " + rule.id + ": " + rule.demand) + "</failure>\n";
                }
            }
            if ((rule.scope & row.scope) == 0 && failed.empty()) {
                continue;
            }
            ++rowTests;
            rowFailures += failed.empty() ? 0 : 1;
            cases += "    <testcase name=\"" + std::string(rule.id) + "\" classname=\"hbbtv-host-check."
                + escapeXml(row.name) + "\" time=\"0.000\""
                + (failed.empty() ? "/>\n" : ">\n" + failed + "    </testcase>\n");
        }
        suites += "  <testsuite name=\"" + escapeXml(row.name) + "\" tests=\"" + std::to_string(rowTests)
            + "\" failures=\"" + std::to_string(rowFailures) + "\" errors=\"0\" skipped=\"0\" time=\""
            + seconds(row.seconds) + "\">\n" + cases + "  </testsuite>\n";
        tests += rowTests;
        failures += rowFailures;
        total += row.seconds;
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"hbbtv-host-check\" tests=\""
        + std::to_string(tests) + "\" failures=\"" + std::to_string(failures) + "\" errors=\"0\" time=\""
        + seconds(total) + "\">\n" + suites + "</testsuites>\n";
}

} // namespace hbbtv_hostcheck
