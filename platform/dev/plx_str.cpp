// Development standby registry: a machine without a suspend-to-RAM controller passes every thread
// straight through its standby point, unless a test simulates a suspend.
#include "plx_str.h"

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <set>

#include "plx_str_dev.h"

namespace {

struct Registry {
    std::mutex mutex;
    std::condition_variable resumed;
    std::set<pthread_t> threads;
    bool suspended = false;
    int held = 0;
};

Registry& registry()
{
    static Registry* instance = new Registry(); // outlives threads that run past exit handlers
    return *instance;
}

} // namespace

plx_str* plx_str::GetInstance()
{
    static plx_str instance;
    return &instance;
}

int plx_str::addStrThreadItem()
{
    std::lock_guard<std::mutex> lock(registry().mutex);
    registry().threads.insert(pthread_self());
    return 0;
}

int plx_str::removeStrThreadItem()
{
    std::lock_guard<std::mutex> lock(registry().mutex);
    registry().threads.erase(pthread_self());
    return 0;
}

int plx_str::strThreadItemSuspend()
{
    Registry& r = registry();
    std::unique_lock<std::mutex> lock(r.mutex);
    if (!r.suspended) {
        return 0;
    }
    ++r.held;
    r.resumed.wait(lock, [&r] { return !r.suspended; });
    --r.held;
    return 1;
}

plx_str* plx_interface_common::Get_plx_str()
{
    return plx_str::GetInstance();
}

namespace plx_str_dev {

void setSuspended(bool suspended)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.suspended = suspended;
    if (!suspended) {
        r.resumed.notify_all();
    }
}

int heldThreads()
{
    std::lock_guard<std::mutex> lock(registry().mutex);
    return registry().held;
}

int registeredThreads()
{
    std::lock_guard<std::mutex> lock(registry().mutex);
    return static_cast<int>(registry().threads.size());
}

} // namespace plx_str_dev
