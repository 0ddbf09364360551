#include "update/entry_writer.h"

#include <cstring>
#include <memory>
#include <new>

#include "compress/compressor.h"
#include "format/crc32.h"
#include "format/header_format.h"
#include "format/header_writer.h"
#include "fs/dos_time.h"
#include "fs/file_layer.h"
#include "fs/path_ops.h"
#include "fs/work_list.h"
#include "plugin/callbacks.h"
#include "plugin/state.h"
#include "update/run_writer.h"

namespace ace {
namespace {

constexpr uint32_t kEmptyCrc = 0xFFFFFFFFu;
constexpr int32_t kStoreChunk = 32512;
constexpr size_t kStoreBuffer = 65536;

// The run state a writer hands back when it did not touch the history.
int Unchanged(bool solid, bool fresh) {
  if (!solid) return 1;
  return fresh ? kSolidFresh : kSolidContinue;
}

uint16_t DictionaryCode() {
  const int code = DictionaryCodeForKB(State().Comp.DictionaryKB);
  return static_cast<uint16_t>(code < 0 ? 6 : code);
}

FileHeaderFixed BaseHeader(uint16_t flags, uint32_t stamp, uint32_t attributes) {
  FileHeaderFixed h;
  h.HeadType = kHeadTypeFile;
  h.HeadFlags = flags;
  h.FileTime = stamp;
  h.Attributes = attributes;
  h.Crc32 = kEmptyCrc;
  h.TechQual = kWrittenTechQual;
  h.TechParm = DictionaryCode();
  return h;
}

// Writes a file header at the target's position. Unlike the bare header
// writer this checks the write, so a full disk surfaces here and not as a
// damaged entry later: -1 fails with 5, a short write with 101. Before that
// the header and `dataSize` bytes after it must fit below 2 GiB, the most
// that 32-bit positions reach; else nothing is written and the status is 6.
bool WriteHeaderChecked(const char* archiveName, FileHeaderFixed& header, uint64_t dataSize = 0) {
  uint8_t bytes[kMaxFileHeaderSize];
  const size_t length = BuildFileHeader(archiveName, header, bytes);
  const int32_t position = FileTell(State().TargetHandle);
  if (position < 0) {
    SetStatus(AR_IO_ERROR);
    return false;
  }
  if (static_cast<uint64_t>(position) + length + dataSize > INT32_MAX) {
    SetStatus(AR_SIZE_ERROR);
    return false;
  }
  const int32_t written = FileWrite(bytes, static_cast<int32_t>(length), State().TargetHandle);
  if (written < 0) {
    SetStatus(AR_IO_ERROR);
    return false;
  }
  if (static_cast<size_t>(written) != length) {
    SetStatus(AR_DISK_FULL);
    return false;
  }
  return true;
}

// Copies the input file into the archive unchanged (the stored fallback) and
// gives its CRC.
bool StoreFileData(uint32_t* crc) {
  PluginState& s = State();
  std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[kStoreBuffer]);
  if (!buffer) {
    SetStatus(AR_NO_MEMORY);
    return false;
  }
  if (FileSeek(s.SourceHandle, 0, 0) < 0) {
    SetStatus(AR_IO_ERROR);
    return false;
  }
  uint32_t reg = kCrcInit;
  for (;;) {
    const int32_t n = FileRead(buffer.get(), kStoreChunk, s.SourceHandle);
    if (n == 0) break;
    if (n < 0) {
      SetStatus(AR_IO_ERROR);
      return false;
    }
    reg = Crc32Update(reg, buffer.get(), static_cast<size_t>(n));
    const int32_t w = FileWrite(buffer.get(), n, s.TargetHandle);
    if (w < 0) {
      SetStatus(AR_IO_ERROR);
      return false;
    }
    if (w != n) {
      SetStatus(AR_DISK_FULL);
      return false;
    }
  }
  *crc = reg;
  return true;
}

// Closes the input file and passes `result` on.
int CloseSource(int result) {
  PluginState& s = State();
  if (s.SourceHandle != kNoFile) FileClose(s.SourceHandle);
  s.SourceHandle = kNoFile;
  return result;
}

int Fail(uint32_t status) {
  SetStatus(status);
  return CloseSource(0);
}

// Writes `length` bytes of entry data at the target's position; a failed
// write leaves `failed`, a short one 101.
bool WriteData(const uint8_t* bytes, uint32_t length, uint32_t failed) {
  const int32_t written = FileWrite(bytes, static_cast<int32_t>(length), State().TargetHandle);
  if (written == static_cast<int32_t>(length)) return true;
  SetStatus(written < 0 ? failed : static_cast<uint32_t>(AR_DISK_FULL));
  return false;
}

// A file that is not a directory: provisional header, compressed data written
// straight behind it, then the final header rewritten in place. Data that
// grew is stored instead and the archive cut back behind it.
int WriteCompressedEntry(const char* diskPath, const char* archiveName, uint32_t attributes,
                         bool solid, uint16_t flagBits, bool fresh) {
  PluginState& s = State();
  s.SourceHandle = FileOpen(diskPath, "rb");
  if (s.SourceHandle == kNoFile) return Fail(AR_IO_ERROR);
  uint32_t stamp = 0;
  if (GetFileDosStamp(s.SourceHandle, &stamp) != 0) return Fail(AR_IO_ERROR);
  const int64_t wholeSize = FileSize64(s.SourceHandle);
  if (wholeSize < 0) return Fail(AR_IO_ERROR);
  // A file is taken only when the archive could hold it stored as it is, the
  // worst case the fallback below may need: one past 2 GiB - 1 never fits,
  // and the header writer checks the rest before anything is written.
  if (wholeSize > INT32_MAX) return Fail(AR_SIZE_ERROR);
  const auto size = static_cast<int32_t>(wholeSize);
  const uint16_t runFlags = solid ? flagBits : 0;

  if (size == 0) {
    if (!WriteEmptyEntry(archiveName, FileFacts{attributes, stamp, 0}, runFlags)) {
      return CloseSource(0);
    }
    return CloseSource(Unchanged(solid, fresh));
  }

  const int32_t p0 = FileTell(s.TargetHandle);
  if (p0 < 0) return Fail(AR_IO_ERROR);
  FileHeaderFixed h = BaseHeader(static_cast<uint16_t>(kFlagAddSize | runFlags), stamp, attributes);
  h.TechType = kTechLz77;
  h.OrigSize = static_cast<uint32_t>(size);
  if (!WriteHeaderChecked(archiveName, h, static_cast<uint64_t>(size))) return CloseSource(0);
  const int32_t p1 = FileTell(s.TargetHandle);
  if (p1 < 0) return Fail(AR_IO_ERROR);

  StartCompressFile(static_cast<uint32_t>(size), solid && !fresh ? 1 : 0);
  RunCompressor();
  FinishCompressFile();
  if (s.Status != 0) return CloseSource(0);

  const bool stored = CompressorGrew() != 0;
  if (stored) {
    if (FileSeek(s.TargetHandle, p1, 0) < 0) return Fail(AR_IO_ERROR);
    uint32_t crc = 0;
    if (!StoreFileData(&crc)) return CloseSource(0);
    h.HeadFlags = kFlagAddSize;
    h.TechType = kTechStored;
    h.PackSize = static_cast<uint32_t>(size);
    h.Crc32 = crc;
  } else {
    h.PackSize = CompressorPackedSize();
    h.Crc32 = CompressorCrc();
  }

  if (FileSeek(s.TargetHandle, p0, 0) < 0) return Fail(AR_IO_ERROR);
  if (!WriteHeaderChecked(archiveName, h, h.PackSize)) return CloseSource(0);
  CloseSource(0);

  if (!stored) {
    if (FileSeek(s.TargetHandle, 0, 2) < 0) {
      SetStatus(AR_IO_ERROR);
      return 0;
    }
    return solid ? kSolidContinue : 1;
  }
  // Cut off the longer compressed attempt behind the stored copy. The file
  // after a stored one starts fresh.
  const int64_t end = static_cast<int64_t>(p1) + size;
  if (end > INT32_MAX || FileSeek(s.TargetHandle, static_cast<int32_t>(end), 0) < 0 ||
      !SetEndOfFile(s.TargetHandle)) {
    SetStatus(AR_IO_ERROR);
    return 0;
  }
  return 1;
}

// The skip question for a file or directory that cannot be found: 1 leaves it
// out, 2 stops; no procedure fails with 5. Other answers skip a file (the
// drivers go on after any non-zero result) but fail a directory.
int AskSkip(const char* diskPath, bool solid, bool fresh, bool otherAnswersSkip) {
  if (!HasSkipFileProc()) {
    SetStatus(AR_IO_ERROR);
    return 0;
  }
  const int32_t answer = CallSkipFile(diskPath, 0);
  if (answer == 2) {
    SetStatus(AR_ABORTED);
    return 0;
  }
  if (answer != 1 && !otherAnswersSkip) {
    SetStatus(AR_IO_ERROR);
    return 0;
  }
  return Unchanged(solid, fresh);
}

}  // namespace

int WriteDirectoryEntryFromDisk(const char* diskPath, const char* archiveName, uint32_t attributes,
                                bool solid, bool fresh) {
  char lookup[kPathBuffer];
  StripTrailingBackslash(diskPath, lookup);
  WIN32_FIND_DATAA found;
  HANDLE find = FindFirstFileA(lookup, &found);
  if (find == INVALID_HANDLE_VALUE) return AskSkip(diskPath, solid, fresh, false);
  FindClose(find);
  char name[kPathBuffer];
  StripTrailingBackslash(archiveName, name);
  FileHeaderFixed h =
      BaseHeader(kFlagAddSize, FileTimeToDosStamp(found.ftCreationTime), attributes);
  h.TechType = kTechLz77;
  if (!WriteHeaderChecked(name, h)) return 0;
  return Unchanged(solid, fresh);
}

bool WriteEmptyEntry(const char* archiveName, const FileFacts& facts, uint16_t runFlags) {
  FileHeaderFixed h =
      BaseHeader(static_cast<uint16_t>(kFlagAddSize | runFlags), facts.stamp, facts.attributes);
  h.TechType = kTechStored;
  return WriteHeaderChecked(archiveName, h);
}

bool WriteFinishedEntry(const char* archiveName, const FileFacts& facts, uint16_t runFlags,
                        const uint8_t* bytes, uint32_t length, uint32_t crc, bool stored) {
  FileHeaderFixed h = BaseHeader(static_cast<uint16_t>(kFlagAddSize | (stored ? 0 : runFlags)),
                                 facts.stamp, facts.attributes);
  h.TechType = stored ? kTechStored : kTechLz77;
  h.OrigSize = facts.size;
  h.PackSize = length;
  h.Crc32 = crc;
  // Checked against the whole size, as the serial writer's provisional header is.
  if (!WriteHeaderChecked(archiveName, h, facts.size)) return false;
  // Failures as the compressor's output and the stored copy report them.
  return WriteData(bytes, length, stored ? AR_IO_ERROR : AR_DISK_FULL);
}

namespace {

int AddFile(const char* diskPath, const char* archiveName, bool solid, uint16_t flagBits,
            bool fresh) {
  const DWORD attributes = GetFileAttributesA(diskPath);
  if (attributes == INVALID_FILE_ATTRIBUTES) return AskSkip(diskPath, solid, fresh, true);
  if (attributes & FILE_ATTRIBUTE_DIRECTORY)
    return WriteDirectoryEntryFromDisk(diskPath, archiveName, attributes, solid, fresh);
  // A link to a file is stored as a copy of the file: no link bit in the entry.
  return WriteCompressedEntry(diskPath, archiveName, attributes & ~FILE_ATTRIBUTE_REPARSE_POINT,
                              solid, flagBits, fresh);
}

}  // namespace

int AddFileToArchive(const char* diskPath, const char* archiveName) {
  return AddFile(diskPath, archiveName, false, 0, true);
}

int AddFileToSolidArchive(const char* diskPath, const char* archiveName, uint16_t flagBits,
                          bool fresh) {
  return AddFile(diskPath, archiveName, true, flagBits, fresh);
}

void AnnounceFile(const char* diskPath, const char* archiveName) {
  char shown[kPathField + 1] = "\\";
  AppendText(shown, sizeof shown, archiveName);
  CallFileName(diskPath, shown);
}

namespace {

struct WorkListSource {
  const FileWorkEntry* entry;
  bool showTempNames;
};

bool NextWorkEntry(void* context, RunFile& file) {
  auto& source = *static_cast<WorkListSource*>(context);
  const FileWorkEntry* e = source.entry;
  if (e == nullptr) return false;
  source.entry = e->Next;
  file = RunFile{};
  CopyText(file.diskPath, sizeof file.diskPath, e->DiskPath);
  CopyText(file.archiveName, sizeof file.archiveName, e->ArchiveName);
  const PluginState& s = State();
  if (source.showTempNames && s.TempPath[0] != '\0') {
    char base[kPathBuffer];
    char extension[kPathBuffer];
    SplitPath(e->DiskPath, nullptr, nullptr, base, extension);
    CopyText(file.shownPath, sizeof file.shownPath, s.TempPath);
    AppendText(file.shownPath, sizeof file.shownPath, base);
    AppendText(file.shownPath, sizeof file.shownPath, extension);
  } else {
    CopyText(file.shownPath, sizeof file.shownPath, e->DiskPath);
  }
  return true;
}

}  // namespace

bool AddSolidRun(const FileWorkList& list, bool showTempNames) {
  WorkListSource source{list.First, showTempNames};
  return WriteRun(NextWorkEntry, &source, true);
}

bool AdvanceSolidRun(SolidRun& run, int result) {
  if (result == kSolidFresh) {
    run = SolidRun{};
  } else if (result == kSolidContinue) {
    run.fresh = false;
    run.flagBits = kFlagContinued;
  }
  return result != kSolidFailed && State().Status == 0;
}

}  // namespace ace
