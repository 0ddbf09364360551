// Text forms of the values an archive listing shows.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "aceplug/aceplug.h"

namespace acearc {

uint64_t ToUInt64(AceUInt64 value);

// Text made safe for a terminal: control characters become escapes, so that
// a name from an archive cannot move the cursor or change the screen. Bytes
// below 0x20 and 0x7F show as "\x1b", the C1 controls U+0080..U+009F as
// "\u009b"; names never hold "\" (it separates directories), so an escape
// cannot be mistaken for a name.
std::string EscapeControls(std::string_view text);

// A stored name with "/" between directories, unescaped (for --json).
std::string SlashedName(const char* storedName);
// A stored name as the user sees it: "/" between directories, escaped.
std::string DisplayName(const char* storedName);

// A path on disk as the plug-in built it ("out/\docs\a.txt") as the user
// would write it ("out/docs/a.txt"), escaped.
std::string DisplayPath(const char* path);

// DOS stamp (time word low, date word high) as "1996-09-01 00:00:00"; with
// `iso` as "1996-09-01T00:00:00".
std::string FormatDosTime(uint32_t dosTime, bool iso = false);

// FILETIME (100 ns since 1601 UTC) as local "2024-01-31 12:00:00".
std::string FormatFileTime(AceFileTime time);

// Attribute letters in a fixed order, "-" for a missing one: "DRHSA".
std::string FormatAttributes(uint32_t attributes);

// Dictionary size in KB for a dictionary code (2^code KB).
uint32_t DictionaryKBForCode(uint32_t code);

// "stored", "lz77" or "method N".
std::string MethodName(uint32_t method);

// The host system's name for the summary's host number.
std::string HostSystemName(uint32_t host);

// "1 file", "2 files".
std::string CountOf(uint64_t count, const char* singular, const char* plural);

// 1536 -> "1.5 KiB".
std::string FormatBytes(uint64_t bytes);

// packed * 100 / size, rounded down; 0 for an empty size.
uint32_t RatioPercent(uint64_t packed, uint64_t size);

}  // namespace acearc
