#include "GuardedBlock.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

namespace hbbtv_hostcheck {

namespace {

// Anonymous memory whose every byte has a 32-bit address, or null.
unsigned char* mapLow(size_t size)
{
    int flags = MAP_PRIVATE | MAP_ANONYMOUS;
    void* hint = nullptr;
#if defined(__x86_64__)
    flags |= MAP_32BIT;
#elif UINTPTR_MAX > 0xFFFFFFFFu
    hint = reinterpret_cast<void*>(static_cast<uintptr_t>(0x50000000));
#endif
    void* p = mmap(hint, size, PROT_READ | PROT_WRITE, flags, -1, 0);
    if (p == MAP_FAILED) {
        return nullptr;
    }
    if (reinterpret_cast<uintptr_t>(p) + (size - 1) > UINT32_MAX) {
        munmap(p, size);
        return nullptr;
    }
    return static_cast<unsigned char*>(p);
}

} // namespace

GuardedBlock::GuardedBlock(size_t size)
    : m_size(size)
{
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    m_mappingSize = (size + 2 * kGuardBytes + page - 1) / page * page;
    m_mapping = mapLow(m_mappingSize);
    if (m_mapping == nullptr) {
        return;
    }
    memset(m_mapping, kGuardPattern, kGuardBytes);
    m_data = m_mapping + kGuardBytes;
    memset(m_data + size, kGuardPattern, kGuardBytes);
}

GuardedBlock::~GuardedBlock()
{
    if (m_mapping != nullptr) {
        munmap(m_mapping, m_mappingSize);
    }
}

bool GuardedBlock::guardsIntact(long& firstDamaged) const
{
    if (m_data == nullptr) {
        return true;
    }
    for (size_t i = 0; i < kGuardBytes; ++i) {
        if (m_mapping[i] != kGuardPattern) {
            firstDamaged = static_cast<long>(i) - static_cast<long>(kGuardBytes);
            return false;
        }
    }
    for (size_t i = 0; i < kGuardBytes; ++i) {
        if (m_data[m_size + i] != kGuardPattern) {
            firstDamaged = static_cast<long>(m_size + i);
            return false;
        }
    }
    return true;
}

} // namespace hbbtv_hostcheck
