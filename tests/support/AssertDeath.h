// Death tests for the library's assertion line, which goes to standard output.
#ifndef HBBTV_TESTS_ASSERT_DEATH_H
#define HBBTV_TESTS_ASSERT_DEATH_H

#include <functional>
#include <string>

namespace hbbtv_test {

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
