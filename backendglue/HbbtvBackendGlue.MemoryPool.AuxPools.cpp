// The auxiliary pools: "/hbbtvChannelList" mapped whole, once per pool kind, as one record.
#include "HbbtvBackendGlue.MemoryPool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

namespace ZR_HBBTV_Core {

namespace {

template <typename T>
struct AuxPool {
    // Published once, after the mapping is complete; the first callers map under the lock, so
    // that two of them at once map the region only once.
    static std::atomic<T*> pool;
    static std::atomic<int32_t> unalignedOffset;
    static Mutex mapping;
};
template <typename T>
std::atomic<T*> AuxPool<T>::pool(nullptr);
template <typename T>
std::atomic<int32_t> AuxPool<T>::unalignedOffset(0);
template <typename T>
Mutex AuxPool<T>::mapping;

} // namespace

template <typename T>
T* mapAuxMemoryPool();

template <typename T>
T* hbbtvBackendAuxMemoryPool()
{
    T* pool = AuxPool<T>::pool.load(std::memory_order_acquire);
    if (pool == nullptr) {
        pool = mapAuxMemoryPool<T>();
    }
    if (pool == nullptr) {
        return nullptr;
    }
    // Rewritten on every call; an atomic store, since callers may race here by design.
    const uint32_t areaSize =
        T::kAreaSize - static_cast<uint32_t>(AuxPool<T>::unalignedOffset.load(std::memory_order_relaxed));
    __atomic_store_n(&pool->areaSize, areaSize, __ATOMIC_RELAXED);
    return pool;
}

template <typename T>
T* mapAuxMemoryPool()
{
    Locker<Mutex> lock(AuxPool<T>::mapping);
    T* pool = AuxPool<T>::pool.load(std::memory_order_relaxed);
    if (pool == nullptr) {
        const int fd = shm_open(channelListRegionName(), O_RDWR | O_CREAT, 0600);
        if (fd < 0) {
            printf("error open region:%s\n", channelListRegionName());
            return nullptr;
        }
        const int truncated = ftruncate(fd, kChannelListRegionSize);
        (void)truncated;
        void* const region = mapShared(fd, kChannelListRegionSize);
        close(fd);
        if (region == MAP_FAILED) {
            puts("[HbbtvBackendGlue.MemoryPool]: error map");
            return nullptr;
        }
        const uintptr_t address = reinterpret_cast<uintptr_t>(region);
        const uintptr_t aligned = (address + 7) & ~static_cast<uintptr_t>(7);
        if (aligned != address) {
            AuxPool<T>::unalignedOffset.store(static_cast<int32_t>(aligned - address), std::memory_order_relaxed);
        }
        if (AuxPool<T>::unalignedOffset.load(std::memory_order_relaxed) < 0) {
            HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 319);
        }
        pool = reinterpret_cast<T*>(aligned);
        AuxPool<T>::pool.store(pool, std::memory_order_release);
    }
    return pool;
}

template HbbtvChannelListPool* hbbtvBackendAuxMemoryPool<HbbtvChannelListPool>();
template HbbtvSchedulingRecordingCollectionPool* hbbtvBackendAuxMemoryPool<HbbtvSchedulingRecordingCollectionPool>();

HbbtvChannelListPool* hbbtvBackendChannelListPool()
{
    return hbbtvBackendAuxMemoryPool<HbbtvChannelListPool>();
}

HbbtvSchedulingRecordingCollectionPool* hbbtvBackendSchedulingRecordingCollectionPool()
{
    return hbbtvBackendAuxMemoryPool<HbbtvSchedulingRecordingCollectionPool>();
}

} // namespace ZR_HBBTV_Core
