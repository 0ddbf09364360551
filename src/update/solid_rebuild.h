// What a solid rebuild and a solid delete share once the archive is unpacked
// into the working directory: RelativePath kept aside, and the files packed
// again as one solid run into a new temporary archive.
#pragma once

#include "fs/path_ops.h"
#include "fs/work_list.h"
#include "plugin/state.h"

namespace ace {

// Keeps RelativePath aside while a solid archive is unpacked and packed
// again: the extraction would cut it off the names that begin with it and the
// writer would put it in front of every name, moving entries and letting two
// of them meet in the working directory. Put back on every way out.
class RelativePathAside {
 public:
  RelativePathAside() { CopyText(saved_, sizeof saved_, State().RelativePath); }
  ~RelativePathAside() { Put(); }
  RelativePathAside(const RelativePathAside&) = delete;
  RelativePathAside& operator=(const RelativePathAside&) = delete;
  void Clear() { State().RelativePath[0] = '\0'; }
  void Put() { CopyText(State().RelativePath, sizeof State().RelativePath, saved_); }

 private:
  char saved_[kPathField] = {};
};

// Packs `files` (their archive names final) as one solid run into a new
// temporary archive, `temp` (kPathField bytes), behind the old archive's
// leading part and main header, announcing the total with the rebuild
// signal. True with the archive ready for CloseAndPutInPlace; false with the
// status left and no temporary archive.
[[nodiscard]] bool PackRebuiltArchive(const FileWorkList& files, char* temp);

}  // namespace ace
