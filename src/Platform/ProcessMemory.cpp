#include "Platform/ProcessMemory.h"

// Any C library header defines __GLIBC__ where it applies; without one, the test below is always false.
#include <cstdlib>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace ProcessMemory {

void releaseFreed()
{
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

} // namespace ProcessMemory
