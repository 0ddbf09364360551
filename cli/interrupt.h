// Ctrl-C while the plug-in works: the signal is held back (blocked) instead of
// killing the process, and the host's callbacks look for it and answer "stop",
// so that the plug-in removes its temporary files and leaves the old archive as
// it was. Nothing is stored in a global: the pending signal itself is the flag.
#pragma once

#include <signal.h>

namespace acearc {

// Blocks SIGINT, SIGTERM and SIGHUP for its lifetime. On destruction a signal
// that arrived and was never taken up is consumed, and the old mask restored.
class InterruptGuard {
 public:
  InterruptGuard();
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

 private:
  sigset_t previous_;
};

// True when one of the held-back signals is pending; it is consumed.
bool TakeInterrupt();

}  // namespace acearc
