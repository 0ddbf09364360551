// The working directory of a solid rebuild or a solid delete: a fresh folder
// under the system temporary folder into which the whole archive is unpacked.
// It is removed with everything in it on every way out, and OutputPath is put
// back as it was.
#pragma once

#include "fs/work_list.h"
#include "plugin/state.h"

namespace ace {

class WorkDir {
 public:
  WorkDir();
  ~WorkDir();
  WorkDir(const WorkDir&) = delete;
  WorkDir& operator=(const WorkDir&) = delete;

  // Fills TempPath, names and creates the folder; 8902 on failure.
  bool Create();
  // Extracts every entry into the folder with stored directories; a failure
  // leaves the extraction's status (101 becomes 8903).
  bool Unpack();
  // Collects every file of the folder (summing the scan total) as work
  // entries named by their path below it.
  bool Collect(FileWorkList* files);
  // Removes the folder now (the destructor would).
  void Remove();

 private:
  char path_[354] = {};
  char savedOutput_[kPathField] = {};
  bool created_ = false;
};

}  // namespace ace
