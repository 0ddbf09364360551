#include "update/work_dir.h"

#include <cstring>

#include "extract/unace_driver.h"
#include "fs/dir_scan.h"
#include "fs/masks.h"
#include "fs/path_ops.h"
#include "fs/remove_tree.h"
#include "fs/temp_names.h"
#include "fs/work_list.h"

namespace ace {

WorkDir::WorkDir() { CopyText(savedOutput_, sizeof savedOutput_, State().OutputPath); }

WorkDir::~WorkDir() {
  Remove();
  CopyText(State().OutputPath, sizeof State().OutputPath, savedOutput_);
}

bool WorkDir::Create() {
  PluginState& s = State();
  char temp[kPathField];
  const DWORD n = GetTempPathA(sizeof temp, temp);
  if (n != 0 && n < sizeof temp) {
    // The folder may end in the platform's own separator; a backslash behind
    // it would double the separator in the names shown to the host.
    if (temp[n - 1] == '/') {
      CopyText(s.TempPath, sizeof s.TempPath, temp);
    } else {
      AddTrailingBackslash(temp, s.TempPath);
    }
  }
  // The folder becomes OutputPath, which must hold it whole with its
  // backslash: a cut name would unpack somewhere else.
  if (!MakeTempDirName(path_, sizeof path_) || std::strlen(path_) + 2 > sizeof s.OutputPath ||
      !CreateDirectoryA(path_, nullptr)) {
    SetStatus(AR_TEMP_DIR_FAILED);
    return false;
  }
  created_ = true;
  return true;
}

bool WorkDir::Unpack() {
  PluginState& s = State();
  SetOutputPath(path_);
  arOptionsOn(0x0001);
  FileMaskList all;
  InitMaskList(&all);
  if (!AppendMask("*.*", &all)) return false;
  const int32_t restore = s.Decomp.RestorePaths;
  s.Decomp.RestorePaths = 1;
  DriverState().KeepControlCharacters = true;
  ExtractFileMaskListArc(&all);
  DriverState().KeepControlCharacters = false;
  s.Decomp.RestorePaths = restore;
  DoneMaskList(&all);
  if (s.Status == AR_DISK_FULL) s.Status = AR_UNPACK_FAILED;
  return s.Status == 0;
}

bool WorkDir::Collect(FileWorkList* files) {
  FileMaskList found;
  InitMaskList(&found);
  CollectFiles(path_, "*.*", &found);
  if (Status() == 0) FileWorkListFromMasks(&found, files, path_);
  DoneMaskList(&found);
  return Status() == 0;
}

void WorkDir::Remove() {
  if (created_) RemoveTree(path_, "*.*");
  created_ = false;
}

}  // namespace ace
