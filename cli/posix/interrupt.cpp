#include "interrupt.h"

#include <ctime>
#include <initializer_list>

namespace acearc {

namespace {

sigset_t HeldSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGHUP);
  return set;
}

}  // namespace

InterruptGuard::InterruptGuard() {
  sigset_t held = HeldSignals();
  sigprocmask(SIG_BLOCK, &held, &previous_);
}

InterruptGuard::~InterruptGuard() {
  TakeInterrupt();
  sigprocmask(SIG_SETMASK, &previous_, nullptr);
}

bool TakeInterrupt() {
  sigset_t pending;
  if (sigpending(&pending) != 0) return false;
  sigset_t held = HeldSignals();
  bool any = false;
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
    if (sigismember(&pending, sig) == 1 && sigismember(&held, sig) == 1) any = true;
  }
  if (!any) return false;
  timespec zero{0, 0};
  while (sigtimedwait(&held, nullptr, &zero) > 0) {
  }
  return true;
}

}  // namespace acearc
