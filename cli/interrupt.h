// Ctrl-C while the plug-in works: it is held back instead of ending the
// process, and the host's callbacks look for it and answer "stop", so that the
// plug-in removes its temporary files and leaves the old archive as it was.
// On POSIX the signal is blocked and nothing is stored in a global: the pending
// signal itself is the flag. On Windows a console control handler notes it.
#pragma once

#ifndef _WIN32
#  include <signal.h>
#endif

namespace acearc {

// Holds back SIGINT, SIGTERM and SIGHUP (Windows: Ctrl-C, Ctrl-Break and the
// console closing) for its lifetime. On destruction a signal
// that arrived and was never taken up is consumed, and the old mask restored.
class InterruptGuard {
 public:
  InterruptGuard();
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

 private:
#ifndef _WIN32
  sigset_t previous_;
#endif
};

// True when one of the held-back signals is pending; it is consumed.
bool TakeInterrupt();

}  // namespace acearc
