// The allocation entry points over the process's allocator.
#include "HbbtvBackendGlue.MemoryPool.h"

#include <cstdlib>

namespace ZR_HBBTV_Core {

void* hbbtvBackendMalloc(unsigned int n)
{
    return getBackendMemAllocator()->allocate(n);
}

void hbbtvBackendMfree(void* p)
{
    getBackendMemAllocator()->free(p);
}

void* hbbtvBackendRecordMalloc(size_t n)
{
    if (n > shm_allocator::kMaxRequest) {
        return nullptr;
    }
    injectDelay("region-allocate");
    void* const p = getBackendMemAllocator()->allocateOrNull(n);
    return p != nullptr ? p : malloc(n == 0 ? 1 : n);
}

void hbbtvBackendRecordFree(void* p)
{
    if (p == nullptr) {
        return;
    }
    injectDelay("region-free");
    shm_allocator* const allocator = getBackendMemAllocator();
    if (allocator->contains(p)) {
        allocator->free(p);
    } else {
        ::free(p);
    }
}

bool hbbtvBackendInRegion(const void* p)
{
    return getBackendMemAllocator()->contains(p);
}

} // namespace ZR_HBBTV_Core
