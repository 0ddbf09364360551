#include "update/listed_names.h"

#include "fs/masks.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

bool FormListedNames(const FileMaskNode* node, char* diskPath, char* archiveName, size_t size) {
  const PluginState& s = State();
  bool fits = CopyText(archiveName, size, node->Directory ? node->Directory : "");
  fits = AppendText(archiveName, size, node->BaseName) && fits;
  if (node->Extension[0] != '\0') {
    fits = AppendText(archiveName, size, ".") && fits;
    fits = AppendText(archiveName, size, node->Extension) && fits;
  }
  diskPath[0] = '\0';
  if (s.InputPath[0] != '\0' && s.Comp.KeepPaths == 1)
    fits = CopyText(diskPath, size, s.InputPath) && fits;
  fits = AppendText(diskPath, size, archiveName) && fits;
  return fits;
}

}  // namespace ace
