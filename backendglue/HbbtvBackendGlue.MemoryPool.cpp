// The shared regions' names and the mapping of "/hbbtv". The allocator over it is in
// HbbtvBackendGlue.MemoryPool.Allocator.cpp, the auxiliary pools in .AuxPools.cpp and the
// allocation entry points in .EntryPoints.cpp.
#include "HbbtvBackendGlue.MemoryPool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace ZR_HBBTV_Core {

const char kMemoryPoolSourceFile[] = "./backendglue/HbbtvBackendGlue.MemoryPool.cpp";

namespace {

std::string regionNameWithSuffix(const char* name)
{
    const char* suffix = getenv("HBBTV_SHM_SUFFIX");
    return suffix != nullptr ? std::string(name) + suffix : std::string(name);
}

unsigned char* g_backendRegion = nullptr; // set under the allocator's mutex (see init)

} // namespace

void* mapShared(int fd, size_t size)
{
    int flags = MAP_SHARED;
    void* hint = nullptr;
#if defined(__x86_64__)
    flags |= MAP_32BIT;
#elif UINTPTR_MAX > 0xFFFFFFFFu
    hint = reinterpret_cast<void*>(static_cast<uintptr_t>(0x40000000));
#endif
    void* p = mmap(hint, size, PROT_READ | PROT_WRITE, flags, fd, 0);
    if (p != MAP_FAILED && reinterpret_cast<uintptr_t>(p) + (size - 1) > UINT32_MAX) {
        munmap(p, size);
        return MAP_FAILED;
    }
    return p;
}

const char* backendRegionName()
{
    static const std::string name = regionNameWithSuffix("/hbbtv");
    return name.c_str();
}

const char* channelListRegionName()
{
    static const std::string name = regionNameWithSuffix("/hbbtvChannelList");
    return name.c_str();
}

unsigned char* backendMallocInit(unsigned int* size)
{
    if (g_backendRegion == nullptr) {
        const int fd = shm_open(backendRegionName(), O_RDWR | O_CREAT, 0600);
        if (fd < 0) {
            puts("error open region");
            HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 254);
        }
        const int truncated = ftruncate(fd, kBackendRegionSize);
        (void)truncated; // an object another process already sized keeps its size
        void* const region = mapShared(fd, kBackendRegionSize);
        if (region == MAP_FAILED) {
            puts("error map");
            HbbtvBackendGlue_AssertFail(kMemoryPoolSourceFile, __PRETTY_FUNCTION__, 262);
        }
        close(fd);
        g_backendRegion = static_cast<unsigned char*>(region);
    }
    if (size != nullptr) {
        *size = kBackendRegionSize;
    }
    return g_backendRegion;
}

void backendMallocUninit()
{
    shm_unlink(backendRegionName());
}

} // namespace ZR_HBBTV_Core
