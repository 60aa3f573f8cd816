#include "support/AssertDeath.h"

#include <unistd.h>

#include <cstdio>

#include <gtest/gtest.h>

namespace hbbtv_test {

namespace {
std::string g_suffix;
}

std::string stdoutOf(const std::function<void()>& call)
{
    fflush(stdout);
    testing::internal::CaptureStdout();
    call();
    fflush(stdout);
    // The agent thread announces itself once, whenever it gets to run after the service starts:
    // its line is not part of what the call printed.
    const std::string captured = testing::internal::GetCapturedStdout();
    std::string output;
    size_t start = 0;
    while (start < captured.size()) {
        size_t end = captured.find('\n', start);
        end = end == std::string::npos ? captured.size() : end + 1;
        if (captured.compare(start, 17, "STR Thread Trace:") != 0) {
            output.append(captured, start, end - start);
        }
        start = end;
    }
    return output;
}

size_t countOf(const std::string& output, const std::string& text)
{
    size_t count = 0;
    for (size_t at = output.find(text); at != std::string::npos; at = output.find(text, at + text.size())) {
        ++count;
    }
    return count;
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
