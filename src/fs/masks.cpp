#include "fs/masks.h"

#include <cstdlib>
#include <cstring>

#include "fs/path_ops.h"
#include "fs/wildcard.h"
#include "plugin/state.h"

namespace ace {

namespace {

constexpr size_t kField = sizeof(FileMaskNode::BaseName);  // 256: 255 characters

// Copies at most `length` bytes of `from` into a field of kField bytes.
void PutField(char* field, const char* from, size_t length) {
  const size_t n = length < kField ? length : kField - 1;
  std::memcpy(field, from, n);
  field[n] = '\0';
}

// Where the parts of a mask or name begin: directory string [0, dirEnd),
// base name [dirEnd, dot), extension (dot + 1, end). `dot` is the end when
// there is no "." after the directory.
struct Parts {
  size_t dirEnd;
  size_t dot;
  size_t end;
};

Parts SplitParts(const char* text) {
  Parts p{0, 0, std::strlen(text)};
  p.dirEnd = p.end >= 2 && text[1] == ':' ? 2 : 0;
  for (size_t i = p.dirEnd; i < p.end; ++i) {
    if (text[i] == '\\') p.dirEnd = i + 1;
  }
  p.dot = p.end;
  for (size_t i = p.end; i > p.dirEnd; --i) {
    if (text[i - 1] == '.') {
      p.dot = i - 1;
      break;
    }
  }
  return p;
}

void Slashes(char* text) {
  for (; *text != '\0'; ++text) {
    if (*text == '/') *text = '\\';
  }
}

}  // namespace

void InitMaskList(FileMaskList* list) {
  if (list == nullptr) return;
  list->First = nullptr;
  list->Last = nullptr;
}

int AppendMask(const char* mask, FileMaskList* list) {
  const size_t length = std::strlen(mask);
  char* copy = static_cast<char*>(std::malloc(length + 1));
  auto* node = static_cast<FileMaskNode*>(std::calloc(1, sizeof(FileMaskNode)));
  if (copy == nullptr || node == nullptr) {
    std::free(copy);
    std::free(node);
    SetStatus(AR_NO_MEMORY);
    return 0;
  }
  std::memcpy(copy, mask, length + 1);
  Slashes(copy);
  const Parts p = SplitParts(copy);
  PutField(node->BaseName, copy + p.dirEnd, p.dot - p.dirEnd);
  if (p.dot < p.end) PutField(node->Extension, copy + p.dot + 1, p.end - p.dot - 1);
  // The directory string reuses the copy's block, cut after the directory.
  copy[p.dirEnd] = '\0';
  char* shrunk = static_cast<char*>(std::realloc(copy, p.dirEnd + 1));
  node->Directory = shrunk != nullptr ? shrunk : copy;
  node->Next = nullptr;
  if (list->Last != nullptr) {
    list->Last->Next = node;
  } else {
    list->First = node;
  }
  list->Last = node;
  return 1;
}

void DoneMaskList(FileMaskList* list) {
  if (list == nullptr) return;
  FileMaskNode* node = list->First;
  while (node != nullptr) {
    FileMaskNode* next = node->Next;
    std::free(node->Directory);
    std::free(node);
    node = next;
  }
  list->First = nullptr;
  list->Last = nullptr;
}

int MatchesMaskList(const char* name, const FileMaskList* list) {
  if (list == nullptr || list->First == nullptr) return 1;
  char upper[kUpperCopyLimit + 1];
  CopyText(upper, sizeof upper, name);
  Slashes(upper);
  UpperCopy(upper, upper);
  for (const FileMaskNode* node = list->First; node != nullptr; node = node->Next) {
    if (MatchesMask(upper, node)) return 1;
  }
  return 0;
}

int MatchesMask(const char* upperName, const FileMaskNode* node) {
  const Parts p = SplitParts(upperName);
  char base[kField];
  char extension[kField];
  PutField(base, upperName + p.dirEnd, p.dot - p.dirEnd);
  if (p.dot < p.end) {
    PutField(extension, upperName + p.dot + 1, p.end - p.dot - 1);
  } else {
    extension[0] = '\0';
  }

  char maskDirectory[kUpperCopyLimit + 1];
  char maskBase[kField];
  char maskExtension[kField];
  UpperCopy(node->Directory != nullptr ? node->Directory : "", maskDirectory);
  UpperCopy(node->BaseName, maskBase);
  UpperCopy(node->Extension, maskExtension);

  if (!WildcardMatch(extension, maskExtension) || !WildcardMatch(base, maskBase)) return 0;
  const size_t maskDirLength = std::strlen(maskDirectory);
  if (maskBase[0] == '*') {
    // A wildcard name also selects names in the mask directory's subdirectories.
    return maskDirLength == 0 || (p.dirEnd >= maskDirLength &&
                                  std::memcmp(upperName, maskDirectory, maskDirLength) == 0)
               ? 1
               : 0;
  }
  return p.dirEnd == maskDirLength && std::memcmp(upperName, maskDirectory, maskDirLength) == 0 ? 1
                                                                                                : 0;
}

bool MaskNodePath(const FileMaskNode* node, char* target, size_t size) {
  bool whole = CopyText(target, size, node->Directory != nullptr ? node->Directory : "");
  whole = AppendText(target, size, node->BaseName) && whole;
  if (node->Extension[0] != '\0') {
    whole = AppendText(target, size, ".") && whole;
    whole = AppendText(target, size, node->Extension) && whole;
  }
  return whole;
}

}  // namespace ace
