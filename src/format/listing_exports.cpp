// The exports that list the open archive and hand over its summary and main
// comment.
#include <cstdlib>
#include <cstring>

#include "format/arc_info.h"
#include "format/archive_walk.h"
#include "fs/masks.h"
#include "plugin/state.h"

using namespace ace;

extern "C" {

ACEPLUG_API void ACEPLUG_CALL BuildArcFileList(ArcFileList* list, const FileMaskList* masks) {
  if (list == nullptr || masks == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  PluginState& s = State();
  WalkArchive(list, masks);
  ComputeArcInfo(list, &s.Info);
  s.IsListed = 1;
}

ACEPLUG_API void ACEPLUG_CALL GetExtraInfoArc(ArcInfo* info) {
  if (info == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  PluginState& s = State();
  if (s.IsListed == 1) {
    std::memcpy(info, &s.Info, sizeof *info);
    return;
  }
  s.ReadFileComments = 1;
  FileMaskList masks;
  InitMaskList(&masks);
  if (!AppendMask("*.*", &masks)) {
    DoneMaskList(&masks);
    return;
  }
  ArcFileList list{};
  BuildArcFileList(&list, &masks);
  DoneArcFileList(&list);
  DoneMaskList(&masks);
  if (s.Status == 0) std::memcpy(info, &s.Info, sizeof *info);
}

ACEPLUG_API void ACEPLUG_CALL GetMainCommentArc(MainCommentInfo* info) {
  if (info == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  const PluginState& s = State();
  if (s.MainComment == nullptr || s.MainCommentLength <= 0) {
    info->Comment = nullptr;
    info->Length = 0;
    return;
  }
  // The copy passes to the host.
  auto* copy = static_cast<char*>(std::malloc(static_cast<size_t>(s.MainCommentLength)));
  if (copy == nullptr) {
    info->Comment = nullptr;
    info->Length = 0;
    return;
  }
  std::memcpy(copy, s.MainComment, static_cast<size_t>(s.MainCommentLength));
  info->Comment = copy;
  info->Length = s.MainCommentLength;
  info->HasComment = s.HasMainComment;
  std::memset(info->Reserved12, 0, sizeof info->Reserved12);
}

}  // extern "C"
