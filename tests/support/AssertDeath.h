// Standard output in tests: what a call prints, and death tests for the library's assertion line,
// which goes there too.
#ifndef HBBTV_TESTS_ASSERT_DEATH_H
#define HBBTV_TESTS_ASSERT_DEATH_H

#include <cstddef>
#include <functional>
#include <string>

namespace hbbtv_test {

// Everything the call printed on standard output.
std::string stdoutOf(const std::function<void()>& call);
// Counts the occurrences of text in output.
size_t countOf(const std::string& output, const std::string& text);

// A regular expression that matches exactly the given text.
std::string regexQuote(const std::string& text);

// Expects statement to print "ASSERT FAIL: <file> <function> <line>" and abort.
void expectAssertFail(const std::function<void()>& statement, const std::string& file,
                      const std::string& function, int line);

// The shared-memory suffix given to this test process.
const std::string& shmSuffix();
void setShmSuffix(const std::string& suffix);

} // namespace hbbtv_test

#endif
