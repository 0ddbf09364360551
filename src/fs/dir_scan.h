// Directory scanning, the internal work list of files to compress, and the
// look-ups between stored names and lists of files.
#pragma once

#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

struct FileWorkEntry {
  char DiskPath[256];
  char ArchiveName[256];
  FileWorkEntry* Next;
};

struct FileWorkList {
  uint32_t Count;
  FileWorkEntry* First;
  FileWorkEntry* Last;
};

// Bytes of every file collected by the last CollectFiles.
uint64_t ScanTotal();

void CollectFiles(const char* directory, const char* pattern, FileMaskList* list);
int ScanDirectory(char* directory, const char* pattern, FileMaskList* list);
void FileWorkListFromMasks(const FileMaskList* masks, FileWorkList* work, const char* base);
int AddFileWorkEntry(const FileWorkEntry& record, FileWorkList* work);
void FreeFileWorkList(FileWorkList* work);
void MasksFromArcFileList(const ArcFileList* entries, FileMaskList* masks);
// The stored form of a path: upper case, without UNC prefix, drive or leading "..\".
void StoredForm(const char* path, char* target);
int FindListedFile(const char* name, const FileMaskList* masks, char* candidate, char* diskPath);
int IsNameInList(const char* name, const FileMaskList* masks, char* path);
int RemoveTree(const char* directory, const char* pattern);

}  // namespace ace
