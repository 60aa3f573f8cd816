// The rules a host's answer must keep, checked on the records as the host left them: the valid
// flag, texts terminated inside their fields, counts within the record's capacity, enumerations
// and identifiers in range, the channel-list pool's words, the in-process result vectors, and a
// payload the host must not write. Each broken rule becomes a finding in words a host developer
// acts on: which field, which value, which rule.
#ifndef HBBTV_HOST_CHECK_ANSWER_RULES_H
#define HBBTV_HOST_CHECK_ANSWER_RULES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "HbbtvBackendRecords.h"

namespace hbbtv_hostcheck {

// Rule identifiers, as the JSON and JUnit reports and the README name them. They are the contract
// with whoever reads the reports (CI filters, dashboards): never rename one; a new rule gets a new
// identifier and a row in kRules.
namespace rule {
extern const char kNever[];
extern const char kLate[];
extern const char kTwice[];
extern const char kWrongPayload[];
extern const char kPayloadChanged[];
extern const char kGuard[];
extern const char kValid[];
extern const char kUnterminatedText[];
extern const char kCount[];
extern const char kEnumeration[];
extern const char kPool[];
extern const char kResult[];
extern const char kSlowCallback[];
extern const char kAfterDeinit[];
} // namespace rule

// Where a rule is checked: the requests handed to the host, the synchronous callbacks, teardown.
enum RuleScope : unsigned { kRequestRule = 1, kCallbackRule = 2, kTeardownRule = 4 };

struct Rule {
    const char* id;
    unsigned scope;
    const char* demand; // what the host must do, as the README and the manual page list it
};

// Every rule, in the order the reports and the documents list them.
const std::vector<Rule>& rules();

struct Finding {
    std::string rule;
    std::string text;
};
typedef std::vector<Finding> Findings;

// The command's name as the host knows it, or "command N".
std::string commandLabel(int command);

// The field of the command's payload record at a byte offset.
std::string payloadFieldAt(int command, size_t offset);

// The payload as handed over against the payload now: the host must not write it.
void checkPayloadUnchanged(
    int command, const unsigned char* handedOver, const unsigned char* now, size_t size, Findings& out);

// The answer record of a request; request is the payload as it was handed over.
void checkAnswer(const HbbtvCommandPayload& request, const HbbtvServiceRequestAnswer& answer, Findings& out);

// The channel-list pool the host filled: its header words, count and entries. regionBytes is the
// size of the pool from its first byte; areaSize and the two address words are as handed over.
struct PoolHandedOver {
    uint32_t areaSize;
    uint32_t entriesAddress;
    uint32_t stringsAddress;
    uint32_t poolAddress;
};
void checkLineupPool(const unsigned char* pool, size_t regionBytes, const PoolHandedOver& handedOver, Findings& out);

// The programmes the host appended to the schedule vector.
void checkSchedule(const std::vector<HbbtvEPGInformation>& schedule, Findings& out);

// The descriptors the host appended for the requested tag (and extension tag).
void checkDescriptors(
    const std::vector<std::vector<unsigned char>>& descriptors, int tag, int extensionTag, Findings& out);

} // namespace hbbtv_hostcheck

#endif
