// Directory scanning, the internal work list of files to compress, and the
// look-ups between stored names and lists of files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

// Disk paths get room for a temporary working directory plus a stored name;
// archive names hold what an archive entry's name field holds.
inline constexpr size_t kWorkDiskPath = 512;
inline constexpr size_t kWorkArchiveName = 272;
// Directory buffers of the scan and of RemoveTree.
inline constexpr size_t kScanBuffer = 4096;

struct FileWorkEntry {
  char DiskPath[kWorkDiskPath];
  char ArchiveName[kWorkArchiveName];
  FileWorkEntry* Next;
};

struct FileWorkList {
  uint32_t Count;
  FileWorkEntry* First;
  FileWorkEntry* Last;
};

// Bytes of every file collected since the last CollectFiles.
uint64_t ScanTotal();

// Clears the scan total and collects every file under `directory` (any depth,
// hidden files too) whose name matches `pattern` into `list`, files of a
// directory before its subdirectories, names in the platform's order.
// Returns ScanDirectory's result; the status word tells why a scan stopped.
int CollectFiles(const char* directory, const char* pattern, FileMaskList* list);
// `directory` ends in "\" and sits in a buffer of `size` bytes; it is extended
// for subdirectories and restored. 1 when the whole tree was scanned; 0 when
// an append failed (status 8), or when a directory could not be read or a
// path would not fit (status 5 unless one was already set). A directory that
// does not exist is scanned as empty. Links to directories are not followed.
int ScanDirectory(char* directory, size_t size, const char* pattern, FileMaskList* list);

// Each node's path becomes the disk path; the archive name is that path
// without `base` (given without a trailing "\") and the separator after it.
void FileWorkListFromMasks(const FileMaskList* masks, FileWorkList* work, const char* base);
// Appends a copy of `record`. 0 with status 8 without memory, or with status 5
// when a path does not fit its field; the list keeps what it holds.
[[nodiscard]] int AddFileWorkEntry(const FileWorkEntry& record, FileWorkList* work);
void FreeFileWorkList(FileWorkList* work);
// Appends every entry's stored name; stops once the status word is nonzero.
void MasksFromArcFileList(const ArcFileList* entries, FileMaskList* masks);

// The stored form of a path: upper case, "/" as "\", without UNC server and
// share, drive, leading "\" or leading "..\"; into `target` of `size` bytes.
void StoredForm(const char* path, char* target, size_t size = 260);
// Which listed file a stored `name` stands for. Writes the candidate
// (RelativePath + "\" + node path) and the disk path (InputPath + node path),
// each into a buffer of 260 bytes (cut to fit; the comparison uses the whole
// texts); 1 on a match, else the outputs hold the last node's values.
[[nodiscard]] int FindListedFile(const char* name, const FileMaskList* masks, char* candidate,
                                 char* diskPath);
// Whether RelativePath + "\" + `name` is in `masks`; writes the node's path
// into `path` (260 bytes, cut to fit); 1 on a match.
[[nodiscard]] int IsNameInList(const char* name, const FileMaskList* masks, char* path);

// Empties and removes `directory`, removing files that match `pattern` and
// every subdirectory. Refuses (0, touching nothing) a text of fewer than 4
// characters and anything that resolves to the file-system root. Links are
// removed, never followed. 1 when everything was removed.
int RemoveTree(const char* directory, const char* pattern);

}  // namespace ace
