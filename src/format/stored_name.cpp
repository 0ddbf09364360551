#include "format/stored_name.h"

#include <algorithm>
#include <string>

#include "fs/path_ops.h"

namespace ace {

void MakeStoredName(const char* sourceName, const char* relativePath, int32_t keepPaths,
                    char* target, size_t targetSize) {
  std::string name = sourceName != nullptr ? sourceName : "";
  std::replace(name.begin(), name.end(), '/', '\\');

  bool unc = false;
  if (name.size() >= 2 && name[0] == '\\' && name[1] == '\\') {
    std::string stripped(name.size() + 1, '\0');
    StripUncPrefix(name.c_str(), stripped.data());
    name = stripped.c_str();
    if (!name.empty() && name[0] == '\\') name.erase(0, 1);
    unc = true;
  } else if (!name.empty() && name[0] == '\\') {
    name.erase(0, 1);
  }
  if (!unc) {
    // A drive without a "\" after it ("C:X.TXT") loses only the drive.
    if (name.size() >= 2 && name[1] == ':')
      name.erase(0, name.size() > 2 && name[2] == '\\' ? 3 : 2);
    // Only a "..\" step is removed, so names like "..config" stay whole.
    if (name.size() >= 2 && name[0] == '.' && name[1] == '.' &&
        (name.size() == 2 || name[2] == '\\')) {
      name.erase(0, std::min<size_t>(3, name.size()));
    }
  }

  if (relativePath != nullptr && relativePath[0] != '\0') {
    name = std::string(relativePath) + "\\" + name;
  }

  if (keepPaths == 0) {
    const size_t slash = name.rfind('\\');
    if (slash != std::string::npos) name.erase(0, slash + 1);
    // An extension that is only a dot is dropped.
    if (!name.empty() && name.back() == '.') name.pop_back();
  }

  CopyText(target, targetSize, name.c_str());
}

}  // namespace ace
