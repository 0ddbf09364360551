// Owners for what the host opens in the plug-in: the open archive
// (InitArcFile/CreateArcFile ... DoneArcFile), a mask list and an entry list,
// each released on every way out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"

namespace acearc {

class ArchiveSession {
 public:
  // InitArcFile for an existing archive, CreateArcFile for a new one.
  static ArchiveSession Open(const std::string& path);
  static ArchiveSession Create(const std::string& path);
  ~ArchiveSession();
  ArchiveSession(ArchiveSession&& other) noexcept : open_(other.open_) { other.open_ = false; }
  ArchiveSession(const ArchiveSession&) = delete;
  ArchiveSession& operator=(const ArchiveSession&) = delete;
  ArchiveSession& operator=(ArchiveSession&&) = delete;

  // The status the open left (GetArchiveStatus).
  uint16_t status() const { return GetArchiveStatus(); }

 private:
  ArchiveSession() = default;
  bool open_ = true;
};

class MaskList {
 public:
  MaskList() { InitFileMaskList(&list_); }
  ~MaskList() { DoneFileMaskList(&list_); }
  MaskList(const MaskList&) = delete;
  MaskList& operator=(const MaskList&) = delete;

  // False when the plug-in could not take the mask (out of memory).
  bool Append(const std::string& mask) { return AppendFileMask(mask.c_str(), &list_) != 0; }
  FileMaskList* get() { return &list_; }
  bool empty() const { return list_.First == nullptr; }

 private:
  FileMaskList list_{};
};

class EntryList {
 public:
  EntryList() { InitArcFileList(&list_); }
  ~EntryList() { DoneArcFileList(&list_); }
  EntryList(const EntryList&) = delete;
  EntryList& operator=(const EntryList&) = delete;

  ArcFileList* get() { return &list_; }
  // The entries in archive order.
  std::vector<const ArcFileEntry*> entries() const;

 private:
  ArcFileList list_{};
};

// Directory entries end with "\" in the list; their attributes hold 0x10.
bool IsDirectoryEntry(const ArcFileEntry& entry);

// The summary of the open archive (GetExtraInfoArc); false when it failed.
bool ReadSummary(ArcInfo& info);

// The main comment (GetMainCommentArc); empty when there is none.
std::string ReadMainComment();

}  // namespace acearc
