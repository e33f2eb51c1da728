#pragma once

#include <QtGlobal>

// The C library keeps the memory a burst of large allocations freed, ready for the next burst, in
// every thread's heap. When such a burst is over for good (a camera closed, a huge copy recorded), it
// can be handed back to the system.
namespace ProcessMemory {

// Freeing less than this at once leaves little worth handing back.
inline constexpr qint64 worthwhileBytes = 1024 * 1024;

// Returns the freed pages of every heap to the system where the C library can do that; elsewhere
// nothing. Walks all heaps: a few milliseconds, so not for the GUI thread.
void releaseFreed();

} // namespace ProcessMemory
