#include "plx_scope_lock.h"

#include <cstdio>
#include <cstring>

plx_scope_lock::plx_scope_lock(pthread_mutex_t* mutex, const char* label, int line)
    : m_mutex(mutex), m_label(label), m_line(line)
{
    const int result = pthread_mutex_lock(m_mutex);
    if (result != 0) {
        printf("[plx_scope_lock] lock failed at %s:%d: %s\n", m_label, m_line, strerror(result));
    }
}

plx_scope_lock::~plx_scope_lock()
{
    const int result = pthread_mutex_unlock(m_mutex);
    if (result != 0) {
        printf("[plx_scope_lock] unlock failed at %s:%d: %s\n", m_label, m_line, strerror(result));
    }
}
