#include "unace/file_list.h"

#include "fs/wildcard.h"
#include "platform/win32.h"

namespace ace::unace {

std::string UpperName(const std::string& name) {
  std::string copy = name;
  for (char& c : copy) {
    if (c == '/') c = '\\';
  }
  CharUpperA(copy.data());
  return copy;
}

void SplitName(const std::string& name, std::string* directory, std::string* base,
               std::string* extension) {
  const size_t sep = name.rfind('\\');
  const size_t dirEnd = sep == std::string::npos ? 0 : sep + 1;
  // A drive without a directory ("C:NAME") still counts as the directory part.
  size_t start = dirEnd;
  if (dirEnd == 0 && name.size() >= 2 && name[1] == ':') start = 2;
  *directory = name.substr(0, start);
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos && dot >= start) {
    *base = name.substr(start, dot - start);
    *extension = name.substr(dot + 1);
  } else {
    *base = name.substr(start);
    extension->clear();
  }
}

FileList::FileList(const char* text) {
  if (text == nullptr) return;
  std::string item;
  for (const char* p = text;; ++p) {
    if (*p == '\r' || *p == '\0') {
      if (!item.empty()) {
        Mask mask;
        SplitName(UpperName(item), &mask.directory, &mask.base, &mask.extension);
        masks_.push_back(std::move(mask));
      }
      item.clear();
      if (*p == '\0') break;
    } else if (*p != '\n') {
      item.push_back(*p);
    }
  }
}

bool FileList::MatchesMask(const std::string& upperName, const Mask& mask) {
  std::string directory, base, extension;
  SplitName(upperName, &directory, &base, &extension);
  if (!WildcardMatch(extension.c_str(), mask.extension.c_str())) return false;
  if (!WildcardMatch(base.c_str(), mask.base.c_str())) return false;
  if (!mask.base.empty() && mask.base[0] == '*') {
    // "*" names also select in subdirectories of the mask's directory.
    return directory.compare(0, mask.directory.size(), mask.directory) == 0;
  }
  return directory == mask.directory;
}

bool FileList::Selects(const std::string& name) const {
  if (masks_.empty()) return true;
  const std::string upper = UpperName(name);
  for (const Mask& mask : masks_) {
    if (MatchesMask(upper, mask)) return true;
  }
  return false;
}

}  // namespace ace::unace
