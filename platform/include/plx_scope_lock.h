// The platform's scoped lock over a POSIX mutex. The label and line name the holder, so that a
// lock held for long can be traced to the code that took it.
#ifndef PLX_SCOPE_LOCK_H
#define PLX_SCOPE_LOCK_H

#include <pthread.h>

class plx_scope_lock {
public:
    plx_scope_lock(pthread_mutex_t* mutex, const char* label, int line);
    ~plx_scope_lock();
    plx_scope_lock(const plx_scope_lock&) = delete;
    plx_scope_lock& operator=(const plx_scope_lock&) = delete;

private:
    pthread_mutex_t* m_mutex;
    const char* m_label;
    int m_line;
};

#endif
