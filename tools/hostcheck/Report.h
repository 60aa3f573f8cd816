// The checker's verdict: a row per operation (requests, passed, failed, p50/p99 answer time, the
// first finding), a final verdict line, and the same as JSON and as JUnit XML for CI systems.
#ifndef HBBTV_HOST_CHECK_REPORT_H
#define HBBTV_HOST_CHECK_REPORT_H

#include <cstdio>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "CheckingHost.h"

namespace hbbtv_hostcheck {

// A finding with the request it belongs to, in words.
struct ReportedFinding {
    std::string rule;
    std::string text; // "CommandName (ticket N): ..." or "CallbackName: ..."
};

struct OperationRow {
    std::string name;
    size_t requests = 0;
    size_t passed = 0;
    size_t failed = 0;
    double p50Ms = 0;
    double p99Ms = 0;
    double seconds = 0;  // how long the operation ran, set by the caller
    unsigned scope = 0;  // the RuleScope bits of what it checked: requests, callbacks, teardown
    std::vector<ReportedFinding> findings;
};

struct Report {
    std::vector<OperationRow> rows;
    size_t requests = 0;
    size_t failed = 0;
    bool passed() const { return failed == 0; }
};

// Rows for the operations in order (each row takes the requests and callbacks made while it ran),
// then the teardown row (the host's calls after deinit).
Report buildReport(const std::vector<std::string>& operations, const std::vector<RequestRecord>& requests,
    const std::vector<CallbackRecord>& callbacks, const Findings& afterDeinit);

void printReport(FILE* out, const Report& report);
std::string verdictLine(const Report& report);
nlohmann::json reportJson(const Report& report);
// JUnit XML: a test suite per operation, a test case per rule checked in it (the rules of its
// scope, and any other a finding names), each finding a <failure> of its test case.
std::string junitReport(const Report& report);

} // namespace hbbtv_hostcheck

#endif
