#include "fs/ext_order.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "fs/path_ops.h"

namespace ace {

namespace {

struct Place {
  const char* extension;
  int place;
};

// Text and source files, with .BMP and .ICO; .HTM and .HTML share a place.
constexpr Place kTextGroup[] = {
    {".TXT", 1},  {".ME", 2},   {".1ST", 3},  {".DIZ", 4},   {".BAT", 5},  {".CMD", 6},
    {".LOG", 7},  {".INI", 8},  {".C", 9},    {".CPP", 10},  {".CXX", 11}, {".H", 12},
    {".HPP", 13}, {".HXX", 14}, {".PAS", 15}, {".DPR", 16},  {".BAS", 17}, {".ASM", 18},
    {".RC", 19},  {".BAK", 20}, {".HTM", 21}, {".HTML", 21}, {".WRI", 22}, {".RTF", 23},
    {".DOC", 24}, {".BMP", 25}, {".ICO", 26},
};

// Executables, libraries and compiled units.
constexpr const char* kProgramGroup[] = {
    ".TPU", ".TPP", ".TPW", ".DCU", ".LIB", ".OBJ", ".EXE", ".SCR", ".DLL", ".BPL",
    ".OCX", ".CPL", ".VXD", ".386", ".DRV", ".VBX", ".COM", ".SYS", ".BIN",
};

struct Fixed {
  const char* extension;
  const char* key;
};

// Archives and images that are already compressed.
constexpr Fixed kPackedGroup[] = {
    {".PDF", ".ZZZ2"},   {".ZZL", ".ZZZ3"},    {".ARC", ".ZZZ4"},  {".ZOO", ".ZZZ5"},
    {".GIF", ".ZZZ6"},   {".TIF", ".ZZZ7"},    {".LZH", ".ZZZZ1"}, {".ARJ", ".ZZZZ2"},
    {".CAB", ".ZZZZ3"},  {".GZ", ".ZZZZ4"},    {".TGZ", ".ZZZZ5"}, {".UC2", ".ZZZZ6"},
    {".ZIP", ".ZZZZ7"},  {".RAR", ".ZZZZ8"},   {".ACE", ".ZZZZ9"}, {".LHX", ".ZZZZZ1"},
    {".JPG", ".ZZZZZ2"}, {".JPEG", ".ZZZZZ3"},
};

// Longest key: "Z" or "ZZ" before an extension of a kPathBuffer field.
constexpr size_t kKeySize = kPathBuffer + 2;

// `extension` is upper case with its ".", or empty.
void KeyOf(const char* extension, char* key) {
  for (const Place& p : kTextGroup) {
    if (std::strcmp(extension, p.extension) == 0) {
      key[0] = '.';
      key[1] = '3';
      std::memset(key + 2, '1', static_cast<size_t>(p.place));
      key[2 + p.place] = '\0';
      return;
    }
  }
  for (size_t i = 0; i < std::size(kProgramGroup); ++i) {
    if (std::strcmp(extension, kProgramGroup[i]) == 0) {
      key[0] = '.';
      std::memset(key + 1, '2', i + 1);
      key[i + 2] = '\0';
      return;
    }
  }
  if (std::strcmp(extension, ".HLP") == 0) {
    std::strcpy(key, "ZZ.HLP");
    return;
  }
  if (std::strlen(extension) == 4 && extension[3] == '_') {
    std::strcpy(key, ".ZZZ1");
    return;
  }
  for (const Fixed& f : kPackedGroup) {
    if (std::strcmp(extension, f.extension) == 0) {
      std::strcpy(key, f.key);
      return;
    }
  }
  key[0] = 'Z';
  CopyText(key + 1, kKeySize - 1, extension);
}

// Upper-case base name and extension of an entry's disk path.
void NameParts(const FileWorkEntry* entry, char* base, char* extension) {
  char upper[kUpperCopyLimit + 1];
  UpperCopy(entry->DiskPath, upper);
  SplitPath(upper, nullptr, nullptr, base, extension);
}

}  // namespace

int CompareByExtension(const FileWorkEntry* a, const FileWorkEntry* b) {
  char baseA[kPathBuffer];
  char baseB[kPathBuffer];
  char extA[kPathBuffer];
  char extB[kPathBuffer];
  NameParts(a, baseA, extA);
  NameParts(b, baseB, extB);
  if (extA[0] == '\0' && extB[0] == '\0') return 0;

  char keyA[kKeySize];
  char keyB[kKeySize];
  KeyOf(extA, keyA);
  KeyOf(extB, keyB);
  const int byKey = std::strcmp(keyA, keyB);  // compares as unsigned bytes
  if (byKey != 0) return byKey < 0 ? -1 : 1;

  char nameA[kPathBuffer + kKeySize];
  char nameB[kPathBuffer + kKeySize];
  CopyText(nameA, sizeof nameA, baseA);
  AppendText(nameA, sizeof nameA, keyA);
  CopyText(nameB, sizeof nameB, baseB);
  AppendText(nameB, sizeof nameB, keyB);
  const int byName = std::strcmp(nameA, nameB);
  return byName < 0 ? -1 : byName > 0 ? 1 : 0;
}

void OrderByExtension(FileWorkList* work) {
  if (work == nullptr || work->Count < 3) return;
  auto* entries = new (std::nothrow) FileWorkEntry*[work->Count];
  if (entries == nullptr) return;
  size_t n = 0;
  for (FileWorkEntry* e = work->First; e != nullptr && n < work->Count; e = e->Next) {
    entries[n++] = e;
  }
  for (size_t i = 0; i < n; ++i) entries[i]->Next = nullptr;
  // Stable, so that files that compare equal keep the order they were listed in.
  std::stable_sort(entries, entries + n, [](const FileWorkEntry* a, const FileWorkEntry* b) {
    return CompareByExtension(a, b) < 0;
  });
  work->First = entries[0];
  for (size_t i = 0; i + 1 < n; ++i) entries[i]->Next = entries[i + 1];
  work->Last = entries[n - 1];
  delete[] entries;
}

}  // namespace ace
