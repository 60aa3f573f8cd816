// Development hooks of the standby registry: simulate a suspend by holding registered threads at
// their standby point, and see which threads are registered.
#ifndef PLX_STR_DEV_H
#define PLX_STR_DEV_H

namespace plx_str_dev {

// While set, a thread that reaches its standby point waits there until it is cleared, and the
// point then answers "resumed".
void setSuspended(bool suspended);
// Threads waiting at their standby point now.
int heldThreads();
// Threads registered now.
int registeredThreads();

} // namespace plx_str_dev

#endif
