// The calling thread's last-error code, as Win32 keeps it.
#include "platform/win32.h"

namespace {
thread_local DWORD g_lastError = NO_ERROR;
}

DWORD GetLastError() { return g_lastError; }
void SetLastError(DWORD code) { g_lastError = code; }
