#include "support/AssertDeath.h"

#include <unistd.h>

#include <cstdio>

#include <gtest/gtest.h>

namespace hbbtv_test {

namespace {
std::string g_suffix;
}

std::string regexQuote(const std::string& text)
{
    std::string quoted;
    for (char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted;
}

void expectAssertFail(const std::function<void()>& statement, const std::string& file,
                      const std::string& function, int line)
{
    const std::string expected = "ASSERT FAIL: " + file + " " + function + " " + std::to_string(line) + "\n";
    // The line is printed on standard output; the death test reads the child's standard error.
    EXPECT_DEATH(
        {
            fflush(stdout);
            dup2(STDERR_FILENO, STDOUT_FILENO);
            statement();
        },
        regexQuote(expected));
}

const std::string& shmSuffix()
{
    return g_suffix;
}

void setShmSuffix(const std::string& suffix)
{
    g_suffix = suffix;
}

} // namespace hbbtv_test
