// Counts the heap bytes the process holds, to report the peak that one codec
// needs. The program's malloc family is replaced by thin wrappers around
// glibc's own allocator, so every allocation counts, whether it comes from
// operator new, calloc, aligned_alloc or a C library.
#pragma once

#include <cstddef>

namespace bench {

// False when the hook is compiled out (sanitizer builds); the figures are 0.
bool AllocCounterActive();
// Bytes held now: the usable sizes of the live blocks (aligned blocks at the
// size asked for).
size_t AllocCurrent();
// Makes the current figure the new peak; returns it as the baseline.
size_t AllocResetPeak();
// The highest figure since the last reset.
size_t AllocPeak();
// Writes every block of `fromBytes` or more to stderr as it is allocated; 0 stops.
void AllocTrace(size_t fromBytes);

}  // namespace bench
