#include "plugin/find_data.h"

#include <cstring>

#include "fs/path_ops.h"
#include "platform/win32.h"

namespace ace {

void EntryFindData(const ArcFileEntry& entry, AceFindData* record) {
  *record = AceFindData{};
  record->dwFileAttributes = entry.Attributes;
  FILETIME local{};
  FILETIME utc{};
  DosDateTimeToFileTime(static_cast<WORD>(entry.DosTime >> 16),
                        static_cast<WORD>(entry.DosTime & 0xFFFFu), &local);
  LocalFileTimeToFileTime(&local, &utc);
  record->ftCreationTime = utc;
  record->ftLastAccessTime = utc;
  record->ftLastWriteTime = utc;
  record->nFileSizeLow = entry.UnpackedSize.Low;
  CopyText(record->cFileName, sizeof record->cFileName, entry.Name);
}

bool DiskFindData(const char* path, AceFindData* record) {
  *record = AceFindData{};
  HANDLE find = FindFirstFileA(path, record);
  if (find == INVALID_HANDLE_VALUE) {
    *record = AceFindData{};
    return false;
  }
  FindClose(find);
  std::memset(record->cAlternateFileName, 0, sizeof record->cAlternateFileName);
  return true;
}

}  // namespace ace
