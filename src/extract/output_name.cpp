#include <cstring>

#include "extract/unace_driver.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

bool BuildOutputName(const char* archivedName, char* target) {
  const PluginState& s = State();
  char name[kUnAceTextBuffer] = {};
  CopyText(name, sizeof name, archivedName != nullptr ? archivedName : "");
  for (char* p = name; *p != '\0'; ++p) {
    if (*p == '/') *p = '\\';
  }
  const char* rest = name;
  if (s.Decomp.RestorePaths == 0) {
    const char* sep = std::strrchr(name, '\\');
    if (sep != nullptr) rest = sep + 1;
  } else if (name[0] == '\\') {
    rest = name + 1;
  }
  const size_t relative = std::strlen(s.RelativePath);
  if (relative > 0 && relative <= std::strlen(rest) && s.Decomp.RestorePaths == 1 &&
      std::strncmp(rest, s.RelativePath, relative) == 0) {
    rest += relative;
  }

  // Built aside so that a name too long for the target leaves it empty
  // rather than naming a different file.
  char built[kUnAceTextBuffer] = {};
  bool fits = CopyText(built, sizeof built, s.OutputPath);
  if (fits && built[0] != '\0' && built[std::strlen(built) - 1] != '\\') {
    fits = AppendText(built, sizeof built, "\\");
  }
  fits = fits && AppendText(built, sizeof built, rest);
  if (!fits) {
    target[0] = '\0';
    return false;
  }
  std::memcpy(target, built, sizeof built);
  return true;
}

}  // namespace ace
