#include "fs/work_list.h"

#include <cstring>
#include <new>

#include "fs/dir_scan.h"
#include "fs/masks.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

void FileWorkListFromMasks(const FileMaskList* masks, FileWorkList* work, const char* base) {
  if (masks == nullptr || work == nullptr) return;
  const size_t skip = std::strlen(base != nullptr ? base : "") + 1;
  for (const FileMaskNode* node = masks->First; node != nullptr; node = node->Next) {
    char disk[kScanBuffer];
    const bool whole = MaskNodePath(node, disk, sizeof disk);
    const size_t length = std::strlen(disk);
    const char* archiveName = disk + (skip < length ? skip : length);
    // A cut path would name another file or lose one: stop with an error.
    if (!whole || length >= kWorkDiskPath || std::strlen(archiveName) >= kWorkArchiveName) {
      SetStatusIfClear(AR_IO_ERROR);
      return;
    }
    FileWorkEntry record;
    CopyText(record.DiskPath, sizeof record.DiskPath, disk);
    CopyText(record.ArchiveName, sizeof record.ArchiveName, archiveName);
    record.Next = nullptr;
    if (!AddFileWorkEntry(record, work)) return;
  }
}

int AddFileWorkEntry(const FileWorkEntry& record, FileWorkList* work) {
  if (work == nullptr) return 0;
  auto* entry = new (std::nothrow) FileWorkEntry;
  if (entry == nullptr) {
    SetStatus(AR_NO_MEMORY);
    return 0;
  }
  CopyText(entry->DiskPath, sizeof entry->DiskPath, record.DiskPath);
  CopyText(entry->ArchiveName, sizeof entry->ArchiveName, record.ArchiveName);
  entry->Next = nullptr;
  if (work->Last != nullptr) {
    work->Last->Next = entry;
  } else {
    work->First = entry;
  }
  work->Last = entry;
  ++work->Count;
  return 1;
}

void FreeFileWorkList(FileWorkList* work) {
  if (work == nullptr) return;
  FileWorkEntry* entry = work->First;
  while (entry != nullptr) {
    FileWorkEntry* next = entry->Next;
    delete entry;
    entry = next;
  }
  work->Count = 0;
  work->First = nullptr;
  work->Last = nullptr;
}

void MasksFromArcFileList(const ArcFileList* entries, FileMaskList* masks) {
  if (entries == nullptr || masks == nullptr) return;
  for (const ArcFileEntry* e = entries->First; e != nullptr; e = e->Next) {
    if (!AppendMask(e->Name, masks) || Status() != 0) return;
  }
}

}  // namespace ace
