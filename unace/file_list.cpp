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
  // The first two characters are a drive whenever the second is a colon, as the
  // plug-in splits its masks; "C:NAME" keeps "C:" as its directory part.
  size_t start = name.size() >= 2 && name[1] == ':' ? 2 : 0;
  const size_t sep = name.rfind('\\');
  if (sep != std::string::npos && sep >= start) start = sep + 1;
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
