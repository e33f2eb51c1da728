#include "Platform/ProcessMemory.h"

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
