// Text forms of the values an archive listing shows.
#pragma once

#include <cstdint>
#include <string>

#include "aceplug/aceplug.h"

namespace acearc {

uint64_t ToUInt64(AceUInt64 value);

// A stored name as the user sees it: "/" between directories.
std::string DisplayName(const char* storedName);

// A path on disk as the plug-in built it ("out/\docs\a.txt") as the user
// would write it ("out/docs/a.txt").
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

// 1536 -> "1.5 KiB".
std::string FormatBytes(uint64_t bytes);

// packed * 100 / size, rounded down; 0 for an empty size.
uint32_t RatioPercent(uint64_t packed, uint64_t size);

}  // namespace acearc
