// The Win32 services that the plug-in calls, under their Win32 names and types.
// Code above the platform layer includes only this header. A Windows build gets
// the real API (platform/windows/); elsewhere a POSIX stand-in provides the same
// names and behaviour (platform/posix/).
#pragma once

#if defined(_WIN32)
#  include "platform/windows/win32_api.h"
#else
#  include "platform/posix/win32_api.h"
#endif

// Two services that both sides add to the Win32 set.

// The module that holds the given address: the handle that a library's entry
// point receives on attach, found without one.
HMODULE ModuleOfAddress(const void* address);

// OemToCharA and CharToOemA bounded by the destination's size in bytes (NUL
// included): the ANSI code page may need more bytes per character than the OEM
// one, so the result is cut at a character boundary. source == dest is allowed
// when destSize is the buffer's size.
BOOL OemToCharA(const char* source, char* dest, DWORD destSize);
BOOL CharToOemA(const char* source, char* dest, DWORD destSize);
