#include "plugin_session.h"

#include <cstdlib>

namespace acearc {

ArchiveSession ArchiveSession::Open(const std::string& path) {
  InitArcFile(path.c_str());
  return ArchiveSession();
}

ArchiveSession ArchiveSession::Create(const std::string& path) {
  CreateArcFile(path.c_str());
  return ArchiveSession();
}

ArchiveSession::~ArchiveSession() {
  if (open_) DoneArcFile();
}

std::vector<const ArcFileEntry*> EntryList::entries() const {
  std::vector<const ArcFileEntry*> out;
  out.reserve(list_.Count);
  for (const ArcFileEntry* e = list_.First; e != nullptr; e = e->Next) out.push_back(e);
  return out;
}

bool IsDirectoryEntry(const ArcFileEntry& entry) { return (entry.Attributes & 0x10) != 0; }

bool ReadSummary(ArcInfo& info) {
  info = ArcInfo{};
  GetExtraInfoArc(&info);
  return GetArchiveStatus() == AR_OK;
}

std::string ReadMainComment() {
  MainCommentInfo info{};
  GetMainCommentArc(&info);
  std::string text;
  if (info.Comment != nullptr && info.Length > 0) {
    text.assign(info.Comment, static_cast<size_t>(info.Length));
  }
  // The block passes to the host; the plug-in allocates it with malloc.
  std::free(info.Comment);
  return text;
}

}  // namespace acearc
