#pragma once

// Bulk work (reading a huge copy, writing it to disk) shares the CPU with the GUI thread, which has a
// frame to draw within milliseconds. On a busy machine the scheduler splits a core evenly between
// them unless told otherwise.
namespace ThreadPriority {

// Makes the calling thread give way to the process's other threads when the CPU is contended. It
// still gets whatever CPU is idle, so an uncontended machine sees no difference.
void yieldToInteractiveWork();

} // namespace ThreadPriority
