#include "format/archive_open.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "format/comment_decoder.h"
#include "format/header_search.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {
namespace {

struct FreeDeleter {
  void operator()(uint8_t* p) const { std::free(p); }
};
using Window = std::unique_ptr<uint8_t, FreeDeleter>;

// Reads up to kSearchWindow bytes from `from`. Returns the count read, or -1
// with status 6 (size unknown), 5 (read failed) or 8 (no memory).
int32_t ReadWindow(FileHandle file, int32_t from, Window& window) {
  if (FileSeek(file, from, FILE_BEGIN) < 0) {
    SetStatus(AR_IO_ERROR);
    return -1;
  }
  const int32_t size = FileSize(file);
  if (size < 0) {
    SetStatus(AR_SIZE_ERROR);
    return -1;
  }
  window.reset(static_cast<uint8_t*>(std::malloc(kSearchWindow)));
  if (!window) {
    SetStatus(AR_NO_MEMORY);
    return -1;
  }
  const int32_t want = size < kSearchWindow ? size : kSearchWindow;
  if (want == 0) return 0;
  const int32_t got = FileRead(window.get(), want, file);
  if (got < 0) {
    SetStatus(AR_IO_ERROR);
    return -1;
  }
  return got;
}

int32_t SolidDictionaryOfCode(int code) { return code >= 7 && code <= 10 ? 128 << (code - 7) : 0; }

}  // namespace

bool FindMainHeader(FileHandle file, int32_t* position, int32_t* length) {
  PluginState& s = State();
  SetStatus(AR_OK);
  Window window;
  const int32_t n = ReadWindow(file, 0, window);
  if (n < 0) return false;
  const MainHeaderScan scan = ScanMainHeader(window.get(), n);
  if (scan.sawCandidate) {
    s.ExtractVersion = scan.extractVersion;
    s.HostOS = scan.hostOS;
  }
  if (scan.locked) s.IsLocked = -1;
  if (scan.position < 0) return false;

  *position = s.MainHeaderPos = scan.position;
  *length = s.MainHeaderSize = scan.size;
  if (scan.flags & 0x8000) s.IsSolid = 1;
  if ((scan.flags & 0x0002) && s.ExtractVersion <= 10) {
    char* block = nullptr;
    const int32_t size = ReadCommentBlock(scan.position + 33 + scan.advertSize, s.HostOS, &block);
    if (size > 0) {
      s.MainComment = block;
      s.MainCommentLength = size;
      s.HasMainComment = 1;
    }
  }
  return true;
}

bool FindFirstHeader(FileHandle file, int32_t* position) {
  PluginState& s = State();
  SetStatus(AR_OK);
  const int32_t start = s.MainHeaderPos + s.MainHeaderSize;
  Window window;
  const int32_t n = ReadWindow(file, start, window);
  if (n < 0) return false;
  int code = 0;
  const int32_t offset = ScanFirstHeader(window.get(), n, &code);
  if (offset < 0) return false;
  *position = s.FirstHeaderPos = start + offset;
  if (s.IsSolid == 1) s.SolidDictionaryKB = SolidDictionaryOfCode(code);
  return true;
}

void OpenExistingArchive(const char* path) {
  PluginState& s = State();
  if (path == nullptr || !IsExistingFile(path)) {
    SetStatus(AR_FILE_NOT_FOUND);
    s.IsNewArchive = 1;
    return;
  }
  // A name that ArchivePath cannot hold whole would later open another file.
  if (std::strlen(path) >= sizeof s.ArchivePath) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  const FileHandle file = FileOpen(path, "rb");
  if (file == kNoFile) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  s.ArchiveHandle = file;

  // Positions are 32-bit: a larger archive would be read as another file.
  int32_t position = 0;
  int32_t length = 0;
  const bool tooLarge = FileSize64(file) > INT32_MAX;
  if (tooLarge || !FindMainHeader(file, &position, &length)) {
    FileClose(file);
    s.ArchiveHandle = kNoFile;
    // The size or read error of the search says more than "not an archive".
    if (tooLarge) SetStatus(AR_SIZE_ERROR);
    SetStatusIfClear(AR_NOT_ACE);
    return;
  }
  int32_t first = 0;
  const bool found = FindFirstHeader(file, &first);
  CopyText(s.ArchivePath, sizeof s.ArchivePath, path);
  if (found) {
    s.ArchiveModule = s.PluginModule;
  } else {
    // Without a file header in the window the walk starts right after the
    // main header: an archive of only a main header lists as empty, and a
    // small one whose entry is too short for the search still lists.
    s.FirstHeaderPos = position + length;
  }
  s.ReadPos = s.FirstHeaderPos;
  FileClose(file);
  s.ArchiveHandle = kNoFile;
}

}  // namespace ace
