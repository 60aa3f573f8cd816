// Runs one case of a property in a process of its own. The library is initialised once per
// process: its teardown latches for good, and its agent, allocator and load tracker live as long
// as the process. A case that starts from a fresh library therefore needs a fresh process; a fork
// costs about a millisecond, and the parent never initialises the library, so it forks a process
// with one thread.
#ifndef HBBTV_TESTS_FORKED_CASE_H
#define HBBTV_TESTS_FORKED_CASE_H

#include <functional>
#include <string>

namespace hbbtv_test {

// Runs body in a child with shared-memory names of its own and its standard output discarded
// (the library's console lines); "" when it returned, otherwise the message of what it threw, or
// how the process ended (a sanitizer's report goes to standard error as usual).
std::string inChildProcess(const std::function<void()>& body, unsigned int limitSeconds = 60);

} // namespace hbbtv_test

#endif
