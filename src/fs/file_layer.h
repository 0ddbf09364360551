// The thin file layer every file access goes through: 32-bit positions and
// sizes (archives stay below 2 GiB), -1 for failure. It never touches the
// status word; callers decide.
#pragma once

#include <cstdint>

#include "platform/win32.h"

namespace ace {

using FileHandle = HANDLE;
inline const FileHandle kNoFile = INVALID_HANDLE_VALUE;

// The first character of `mode` decides: "r" read (must exist), "w" write
// (created or truncated), "b" read and write (created or truncated), "v" write
// (must exist). Anything else fails and touches nothing.
FileHandle FileOpen(const char* path, const char* mode);
int FileClose(FileHandle file);                                         // 1 on success
int32_t FileRead(void* buffer, int32_t count, FileHandle file);         // 0 at end, -1 failure
int32_t FileWrite(const void* buffer, int32_t count, FileHandle file);  // -1 failure
int32_t FileSeek(FileHandle file, int32_t offset, int origin);          // new position or -1
int32_t FileTell(FileHandle file);
// -1 also for a size past 2 GiB - 1, which no 32-bit position reaches: a
// wrapped size would read or store another file than the one on disk.
int32_t FileSize(FileHandle file);
int64_t FileSize64(FileHandle file);  // the whole size, or -1
int FileDelete(const char* path);     // nonzero on success

// Attributes and existence.
int IsExistingFile(const char* path);                   // exists and is not a directory
DWORD SetFileAttr(const char* path, DWORD attributes);  // 0 or the platform's error
void MakeFileWritable(const char* path);
int RemoveFile(const char* path);  // 1 when gone (also when it never existed)

}  // namespace ace
