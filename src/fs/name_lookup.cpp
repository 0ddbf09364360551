#include "fs/name_lookup.h"

#include <cstring>

#include "fs/dir_scan.h"
#include "fs/masks.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

namespace {

size_t Skip(const char* s, size_t n) {
  const size_t length = std::strlen(s);
  return n < length ? n : length;
}

// RelativePath + "\" when it is set.
void RelativePrefix(char* target, size_t size) {
  CopyText(target, size, State().RelativePath);
  if (target[0] != '\0') AppendText(target, size, "\\");
}

}  // namespace

void StoredForm(const char* path, char* target, size_t size) {
  char work[kUpperCopyLimit + 1];
  CopyText(work, sizeof work, path);
  for (char* c = work; *c != '\0'; ++c) {
    if (*c == '/') *c = '\\';
  }
  UpperCopy(work, work);
  const char* s = work;
  if (s[0] == '\\') {
    if (s[1] == '\\') {
      StripUncPrefix(work, work);
      if (s[0] == '\\') ++s;
    } else {
      ++s;
    }
  }
  if (s[0] != '\0' && s[1] == ':') s += Skip(s, 3);
  if (s[0] == '.' && s[1] == '.') s += Skip(s, 3);
  CopyText(target, size, s);
}

int FindListedFile(const char* name, const FileMaskList* masks, char* candidate, char* diskPath) {
  if (name == nullptr || masks == nullptr) return 0;
  char key[kUpperCopyLimit + 1];
  UpperCopy(name, key);
  for (const FileMaskNode* node = masks->First; node != nullptr; node = node->Next) {
    char path[kScanBuffer];
    MaskNodePath(node, path, sizeof path);
    char full[kScanBuffer];
    RelativePrefix(full, sizeof full);
    AppendText(full, sizeof full, path);
    CopyText(candidate, kPathBuffer, full);
    char disk[kScanBuffer];
    CopyText(disk, sizeof disk, State().InputPath);
    AppendText(disk, sizeof disk, path);
    CopyText(diskPath, kPathBuffer, disk);
    char form[kScanBuffer];
    StoredForm(full, form, sizeof form);
    if (std::strcmp(form, key) == 0) return 1;
  }
  return 0;
}

int IsNameInList(const char* name, const FileMaskList* masks, char* path) {
  if (name == nullptr || masks == nullptr) return 0;
  char full[kScanBuffer];
  RelativePrefix(full, sizeof full);
  AppendText(full, sizeof full, name);
  char key[kUpperCopyLimit + 1];
  UpperCopy(full, key);
  for (const FileMaskNode* node = masks->First; node != nullptr; node = node->Next) {
    char nodePath[kScanBuffer];
    MaskNodePath(node, nodePath, sizeof nodePath);
    CopyText(path, kPathBuffer, nodePath);
    char form[kScanBuffer];
    StoredForm(nodePath, form, sizeof form);
    if (std::strcmp(form, key) == 0) return 1;
  }
  return 0;
}

}  // namespace ace
