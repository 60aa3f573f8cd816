#include "support/ShortPauses.h"

#include <unistd.h>

#include <atomic>

namespace {
std::atomic<bool> g_short{false};
}

extern "C" int __real_usleep(useconds_t microseconds);

// Every usleep of the test program and the library linked into it comes here.
extern "C" int __wrap_usleep(useconds_t microseconds)
{
    const useconds_t kSecond = 1000000;
    return __real_usleep(microseconds >= kSecond && g_short.load() ? 1000 : microseconds);
}

namespace hbbtv_test {

ShortPauses::ShortPauses()
{
    g_short.store(true);
}

ShortPauses::~ShortPauses()
{
    g_short.store(false);
}

} // namespace hbbtv_test
