#pragma once

// After a large copy the allocator keeps the pages it freed, in pools per thread, for reuse: the process
// looks as large as at its peak long after the copy is gone. This hands them back to the system.
namespace MemoryRelease {

// Worth calling once something of at least this size was freed; below it there is little to gain.
inline constexpr long long worthwhileBytes = 1024 * 1024;

// Returns freed memory of every thread's pool to the system, where the allocator allows it. Takes a few
// milliseconds on a large heap: call it after a large transfer, not on every change.
void releaseFreedMemory();

} // namespace MemoryRelease
