// A block of memory for one record the checker hands to the host, with guard bytes before and
// after it: a host that writes outside the record damages a guard instead of its neighbour. The
// block lies below 4 GiB, because records carry addresses in 32-bit words.
#ifndef HBBTV_HOST_CHECK_GUARDED_BLOCK_H
#define HBBTV_HOST_CHECK_GUARDED_BLOCK_H

#include <cstddef>
#include <cstdint>

namespace hbbtv_hostcheck {

class GuardedBlock {
public:
    static const size_t kGuardBytes = 64;
    static const unsigned char kGuardPattern = 0xA5;

    // Zeroed contents; data() is null when no low memory could be mapped.
    explicit GuardedBlock(size_t size);
    ~GuardedBlock();
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;

    unsigned char* data() const { return m_data; }
    size_t size() const { return m_size; }
    uint32_t wireAddress() const { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(m_data)); }

    // True when both guards hold their pattern; otherwise the offset of the first damaged byte
    // from the start of the record (negative: before it).
    bool guardsIntact(long& firstDamaged) const;

private:
    unsigned char* m_mapping = nullptr;
    size_t m_mappingSize = 0;
    unsigned char* m_data = nullptr;
    size_t m_size;
};

} // namespace hbbtv_hostcheck

#endif
