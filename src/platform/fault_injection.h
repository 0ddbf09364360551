// Test hook: makes the N-th platform call of one kind fail, so that tests can
// prove that every failure point leaves the archive intact. Off unless armed;
// the counters cost one increment per call. Compiled in only with
// ACEPLUG_TEST_HOOKS; without it no call fails and nothing is counted.
#pragma once

#include <cstdint>

namespace platform::faults {

enum class Kind : int {
  Open,        // CreateFileA
  Read,        // ReadFile
  Write,       // WriteFile fails outright
  ShortWrite,  // WriteFile stores half of what was asked
  Seek,        // SetFilePointer
  Rename,      // MoveFileA
  Delete,      // DeleteFileA
  CreateDir,   // CreateDirectoryA
  Count_
};

#if ACEPLUG_TEST_HOOKS
// The `nth` call (1-based) of `kind` from now on fails; 0 disarms that kind.
void Arm(Kind kind, int64_t nth);
// Disarms every kind and resets the call counters.
void Reset();
// Runs `action` once, right before the `nth` call of `kind` from now on does
// its work (something another program might do at that moment).
void Before(Kind kind, int64_t nth, void (*action)());
// Calls of `kind` seen since the last Reset().
int64_t Calls(Kind kind);
// Called by the platform layer: counts the call and says whether it must fail.
bool ShouldFail(Kind kind);
#else
inline bool ShouldFail(Kind) { return false; }
#endif

}  // namespace platform::faults
