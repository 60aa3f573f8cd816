#include "support/ForkedCase.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "support/AssertDeath.h"

namespace hbbtv_test {

namespace {

void unlinkRegions(const std::string& suffix)
{
    shm_unlink(("/hbbtv" + suffix).c_str());
    shm_unlink(("/hbbtvChannelList" + suffix).c_str());
}

} // namespace

std::string inChildProcess(const std::function<void()>& body, unsigned int limitSeconds)
{
    int channel[2];
    if (pipe(channel) != 0) {
        return "pipe failed";
    }
    fflush(stdout);
    fflush(stderr);
    const pid_t child = fork();
    if (child < 0) {
        return "fork failed";
    }
    const std::string suffix = shmSuffix() + "." + std::to_string(child == 0 ? getpid() : child);
    if (child == 0) {
        close(channel[0]);
        setenv("HBBTV_SHM_SUFFIX", suffix.c_str(), 1);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        alarm(limitSeconds);
        std::string failure;
        try {
            body();
        } catch (const std::exception& error) {
            failure = error.what();
        } catch (...) {
            failure = "an exception that is no std::exception";
        }
        for (size_t written = 0; written < failure.size();) {
            const ssize_t n = write(channel[1], failure.data() + written, failure.size() - written);
            if (n <= 0) {
                break;
            }
            written += static_cast<size_t>(n);
        }
        unlinkRegions(suffix);
        // No static destructors and no exit handlers: the library's agent thread is never stopped,
        // and the parent's test framework must not finish in the child. Not even _exit, whose
        // ThreadSanitizer hook sleeps a second to catch races at exit (a race is reported and ends
        // the child when it happens: the tsan preset halts on the first error).
        syscall(SYS_exit_group, failure.empty() ? 0 : 1);
    }
    close(channel[1]);
    std::string failure;
    char buffer[4096];
    for (ssize_t n; (n = read(channel[0], buffer, sizeof(buffer))) > 0;) {
        failure.append(buffer, static_cast<size_t>(n));
    }
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    unlinkRegions(suffix); // the child's, if it could not
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        return failure + (failure.empty() ? "" : "; ") + "the case's process ended on signal " + std::to_string(signal)
            + (signal == SIGALRM ? " (still running after " + std::to_string(limitSeconds) + " s)" : "");
    }
    if (failure.empty() && WEXITSTATUS(status) != 0) {
        return "the case's process exited with status " + std::to_string(WEXITSTATUS(status));
    }
    return failure;
}

} // namespace hbbtv_test
