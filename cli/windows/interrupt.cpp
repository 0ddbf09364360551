#include "interrupt.h"

#include <windows.h>

#include <atomic>

namespace acearc {

namespace {

// Set by the console's control thread, taken by the operation's thread.
std::atomic<bool> g_interrupted{false};

BOOL WINAPI NoteInterrupt(DWORD event) {
  switch (event) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
    case CTRL_CLOSE_EVENT:
      g_interrupted = true;
      return TRUE;  // handled: the process goes on and stops cleanly
    default:
      return FALSE;
  }
}

}  // namespace

InterruptGuard::InterruptGuard() { SetConsoleCtrlHandler(NoteInterrupt, TRUE); }

InterruptGuard::~InterruptGuard() {
  SetConsoleCtrlHandler(NoteInterrupt, FALSE);
  TakeInterrupt();
}

bool TakeInterrupt() { return g_interrupted.exchange(false); }

}  // namespace acearc
