// Path-string operations shared by several subsystems. Callers give buffers of
// kPathBuffer bytes unless a size is passed.
#pragma once

#include <cstddef>

namespace ace {

inline constexpr size_t kPathBuffer = 260;       // MAX_PATH, NUL included
inline constexpr size_t kUpperCopyLimit = 2047;  // characters UpperCopy works on

// Source and target may be the same buffer. An empty text stays empty.
char* AddTrailingBackslash(const char* source, char* target);
// Removes one trailing "\" when the text is longer than 3 characters.
char* StripTrailingBackslash(const char* source, char* target);
// Upper-case copy by the ANSI code page's rules of at most kUpperCopyLimit
// characters (longer sources are cut); the target must hold the copy.
char* UpperCopy(const char* source, char* target);
// \\server\share\dir\name gives \dir\name; \\server gives server;
// \\server\share gives ""; anything else is copied.
char* StripUncPrefix(const char* source, char* target);
// Removes `count` characters at `position` in place (fewer when the text ends
// first; nothing when `count` < 1 or `position` is past the end).
void CutString(char* text, size_t position, int count);
// Copies at most size - 1 bytes and always terminates; returns false when cut.
bool CopyText(char* target, size_t size, const char* source);
// Appends with the same rule.
bool AppendText(char* target, size_t size, const char* source);
// Appends only when the whole text fits; otherwise leaves the target alone.
bool AppendWhole(char* target, size_t size, const char* source);

// Splits a path like a mask: drive ("C:"), directory (through the last "\" or
// "/"), base name (up to the last "." after the directory) and extension (from
// that "." on, with the dot). Each output may be null; each is a kPathBuffer
// and a longer part is cut to fit.
void SplitPath(const char* path, char* drive, char* directory, char* base, char* extension);

}  // namespace ace
