#include <cstring>

#include "extract/unace_driver.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

OutputProblem BuildOutputName(const char* archivedName, char* target, bool directory) {
  const PluginState& s = State();
  target[0] = '\0';
  char name[kUnAceTextBuffer] = {};
  if (!CopyText(name, sizeof name, archivedName != nullptr ? archivedName : "")) {
    return OutputProblem::kTooLong;
  }
  for (char* p = name; *p != '\0'; ++p) {
    if (*p == '/') *p = '\\';
  }
  char* rest = name;
  if (s.Decomp.RestorePaths == 0) {
    char* sep = std::strrchr(name, '\\');
    if (sep != nullptr) rest = sep + 1;
  } else if (name[0] == '\\') {
    rest = name + 1;
  }
  const size_t relative = std::strlen(s.RelativePath);
  if (relative > 0 && relative <= std::strlen(rest) && s.Decomp.RestorePaths == 1 &&
      std::strncmp(rest, s.RelativePath, relative) == 0) {
    rest += relative;
    // The separator after a prefix given without one.
    while (*rest == '\\') ++rest;
  }
  if (const OutputProblem problem = CheckRelativeName(rest); problem != OutputProblem::kNone) {
    return problem;
  }
  // The working directory of a solid rebuild keeps names exactly as stored,
  // since they go back into the archive.
  if (!DriverState().KeepControlCharacters) ReplaceControlCharacters(rest);

  // Built aside so that a name too long for the target leaves it empty
  // rather than naming a different file.
  char built[kUnAceTextBuffer] = {};
  bool fits = CopyText(built, sizeof built, s.OutputPath);
  if (fits && built[0] != '\0' && built[std::strlen(built) - 1] != '\\') {
    fits = AppendText(built, sizeof built, "\\");
  }
  fits = fits && AppendText(built, sizeof built, rest);
  if (!fits) return OutputProblem::kTooLong;
  if (const OutputProblem problem = CheckNoLinks(s.OutputPath, rest, directory);
      problem != OutputProblem::kNone) {
    return problem;
  }
  std::memcpy(target, built, sizeof built);
  return OutputProblem::kNone;
}

}  // namespace ace
