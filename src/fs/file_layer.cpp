#include "fs/file_layer.h"

namespace ace {

namespace {

// SetFilePointer and GetFileSize report all-ones both for failure and for a
// real 0xFFFFFFFF; only a nonzero last error makes it a failure.
int32_t PositionOrFailure(DWORD value) {
  if (value == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR) return -1;
  return static_cast<int32_t>(value);
}

}  // namespace

FileHandle FileOpen(const char* path, const char* mode) {
  if (path == nullptr || mode == nullptr) return kNoFile;
  DWORD access = 0;
  DWORD share = 0;
  DWORD creation = 0;
  DWORD attributes = FILE_ATTRIBUTE_NORMAL;
  switch (mode[0]) {
    case 'r':
      access = GENERIC_READ;
      share = FILE_SHARE_READ;
      creation = OPEN_EXISTING;
      break;
    case 'w':
      access = GENERIC_WRITE;
      share = FILE_SHARE_READ;
      creation = CREATE_ALWAYS;
      attributes = FILE_ATTRIBUTE_ARCHIVE;
      break;
    case 'b':
      access = GENERIC_READ | GENERIC_WRITE;
      share = FILE_SHARE_READ | FILE_SHARE_WRITE;
      creation = CREATE_ALWAYS;
      attributes = FILE_ATTRIBUTE_ARCHIVE;
      break;
    case 'v':
      access = GENERIC_WRITE;
      share = FILE_SHARE_READ;
      creation = OPEN_EXISTING;
      break;
    default:
      return kNoFile;
  }
  return CreateFileA(path, access, share, nullptr, creation, attributes, nullptr);
}

int FileClose(FileHandle file) { return CloseHandle(file) ? 1 : 0; }

int32_t FileRead(void* buffer, int32_t count, FileHandle file) {
  if (count < 0) return -1;
  DWORD read = 0;
  if (!ReadFile(file, buffer, static_cast<DWORD>(count), &read, nullptr)) return -1;
  return static_cast<int32_t>(read);
}

int32_t FileWrite(const void* buffer, int32_t count, FileHandle file) {
  if (count < 0) return -1;
  DWORD written = 0;
  if (!WriteFile(file, buffer, static_cast<DWORD>(count), &written, nullptr)) return -1;
  return static_cast<int32_t>(written);
}

int32_t FileSeek(FileHandle file, int32_t offset, int origin) {
  SetLastError(NO_ERROR);
  return PositionOrFailure(SetFilePointer(file, offset, nullptr, static_cast<DWORD>(origin)));
}

int32_t FileTell(FileHandle file) { return FileSeek(file, 0, 1); }

int32_t FileSize(FileHandle file) {
  const int64_t size = FileSize64(file);
  return size > INT32_MAX ? -1 : static_cast<int32_t>(size);
}

int64_t FileSize64(FileHandle file) {
  SetLastError(NO_ERROR);
  DWORD high = 0;
  const DWORD low = GetFileSize(file, &high);
  if (low == INVALID_FILE_ATTRIBUTES && GetLastError() != NO_ERROR) return -1;
  return static_cast<int64_t>((static_cast<uint64_t>(high) << 32) | low);
}

int FileDelete(const char* path) { return DeleteFileA(path) ? 1 : 0; }

int IsExistingFile(const char* path) {
  if (path == nullptr) return 0;
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? 1
                                                                                               : 0;
}

DWORD SetFileAttr(const char* path, DWORD attributes) {
  if (SetFileAttributesA(path, attributes)) return 0;
  const DWORD error = GetLastError();
  return error != NO_ERROR ? error : ERROR_GEN_FAILURE;
}

void MakeFileWritable(const char* path) {
  if (IsExistingFile(path)) SetFileAttributesA(path, FILE_ATTRIBUTE_ARCHIVE);
}

int RemoveFile(const char* path) {
  if (!IsExistingFile(path)) return 1;
  MakeFileWritable(path);
  return DeleteFileA(path) ? 1 : 0;
}

}  // namespace ace
