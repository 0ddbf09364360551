#include "extract/unace_driver.h"

#include <cstdlib>
#include <cstring>

#include "extract/unace_binding.h"
#include "fs/masks.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

UnAceDriverState& DriverState() {
  static UnAceDriverState state;
  return state;
}

namespace {

constexpr size_t kMaxItem = 271;
constexpr char kEmpty[] = "";
// The library wants a temporary directory; it never needs one here.
constexpr char kLibraryTempDir[] = "C:\\TEMP";

void ForgetFileList() {
  std::free(DriverState().FileListText);
  DriverState().FileListText = nullptr;
}

}  // namespace

int BuildUnAceFileList(const FileMaskList* masks) {
  ForgetFileList();
  char item[kMaxItem + 1];
  size_t size = 0;
  for (const FileMaskNode* node = masks != nullptr ? masks->First : nullptr; node != nullptr;
       node = node->Next) {
    MaskNodePath(node, item, sizeof item);
    size += std::strlen(item) + 1;
  }
  // An empty list gives a lone NUL, which selects every entry.
  char* text = static_cast<char*>(std::calloc(size == 0 ? 1 : size, 1));
  if (text == nullptr) return 0;
  size_t used = 0;
  for (const FileMaskNode* node = masks != nullptr ? masks->First : nullptr; node != nullptr;
       node = node->Next) {
    MaskNodePath(node, item, sizeof item);
    if (used > 0) text[used++] = '\r';
    const size_t length = std::strlen(item);
    std::memcpy(text + used, item, length);
    used += length;
  }
  DriverState().FileListText = text;
  return 1;
}

void RunUnAce(const FileMaskList* masks) {
  PluginState& s = State();
  UnAceDriverState& d = DriverState();
  ForgetFileList();
  UnAceLibrary library;
  if (!LoadUnAce(&library)) {
    SetStatus(AR_FILE_NOT_FOUND);
    return;
  }

  AceInitDllStruc init{};
  init.MaxArchiveTestBytes = 0x1FFFF;
  init.MaxFileBufSize = 0x2FFFF;
  init.TempDir = kLibraryTempDir;
  init.InfoCallback = UnAceInfoCallback;
  init.ErrorCallback = UnAceErrorCallback;
  init.RequestCallback = UnAceRequestCallback;
  init.StateCallback = UnAceStateCallback;
  library.InitDll(&init);

  AceReadArchiveDataStruc data{};
  library.ReadArchiveData(s.ArchivePath, &data);
  if (data.ArchiveData == nullptr) {
    SetStatus(AR_NOT_ACE);
    UnloadUnAce(&library);
    return;
  }

  // An empty OutputPath stays empty (the current directory): a lone "\" would
  // name the root.
  char outputDir[kPathField + 1] = {};
  CopyText(outputDir, sizeof outputDir, s.OutputPath);
  if (outputDir[0] != '\0') AddTrailingBackslash(s.OutputPath, outputDir);

  if (!BuildUnAceFileList(masks)) {
    SetStatus(AR_NO_MEMORY);
    UnloadUnAce(&library);
    return;
  }
  d.ProgressBaseline = 0;
  d.RefusedOutput = false;

  if (s.IsTesting == 1) {
    AceTestStruc test{};
    test.Files.SourceDir = kEmpty;
    test.Files.FileList = d.FileListText;
    test.Files.ExcludeList = kEmpty;
    test.DecryptPassword = kEmpty;
    library.Test(s.ArchivePath, &test);
  } else {
    AceExtractStruc extract{};
    extract.Files.SourceDir = kEmpty;
    extract.Files.FileList = d.FileListText;
    extract.Files.ExcludeList = kEmpty;
    extract.DestinationDir = outputDir;
    extract.ExcludePath = 0;
    extract.DecryptPassword = kEmpty;
    library.Extract(s.ArchivePath, &extract);
    // Entries left out for their names fail the operation only when nothing
    // worse did; the warning procedure named each.
    if (d.RefusedOutput) SetStatusIfClear(AR_BAD_DIR_NAME);
  }
  UnloadUnAce(&library);
  ForgetFileList();
}

}  // namespace ace
