// What the fuzz targets share: shared-memory names of the process's own, and the process's TV
// service against the simulated host, whose answer records a target fills with fuzzed bytes.
#ifndef HBBTV_FUZZ_SUPPORT_H
#define HBBTV_FUZZ_SUPPORT_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "HbbtvBackendTVService.h"
#include "SimulatedHost.h"

namespace hbbtv_fuzz {

// Every target that links this support maps both shared regions at start, under names of the
// process's own (HBBTV_SHM_SUFFIX), and removes the names at once: nothing is left in /dev/shm
// however the process ends.

// The bytes the host writes over the answer record of the next request (zeros past their end).
extern std::vector<uint8_t> answerBytes;
void copyAnswerBytes(const HbbtvCommandPayload& request, HbbtvServiceRequestAnswer& answer);

// The process's TV service, running, against the simulated host, which answers requests of the
// command with the writer (on its own thread). The host's record starts empty.
ZR_HBBTV_Core::HbbtvBackendTVService& serviceAnswering(
    int command, hbbtv_sim::SimulatedHost::AnswerWriter writer = copyAnswerBytes);
hbbtv_sim::SimulatedHost& host();

// Stops the run with a message when a property does not hold: libFuzzer keeps the input.
inline void check(bool holds, const char* property)
{
    if (!holds) {
        fprintf(stderr, "property does not hold: %s\n", property);
        abort();
    }
}

// Copies as much of bytes as fits into room bytes at to, and zeros the rest.
inline void copyInto(void* to, size_t room, const uint8_t* bytes, size_t size)
{
    memset(to, 0, room);
    if (size > 0) {
        memcpy(to, bytes, std::min(room, size));
    }
}

// A text as it must come out of a record string: no terminator inside, at most what the record keeps.
inline bool fitsRecordString(const std::string& text)
{
    return text.size() <= HbbtvRecordString::kCapacity && text.find('\0') == std::string::npos;
}

} // namespace hbbtv_fuzz

#endif
