#include "Platform/MemoryRelease.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace MemoryRelease {

void releaseFreedMemory()
{
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

} // namespace MemoryRelease
