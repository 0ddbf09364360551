#include "update/run_writer.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <new>
#include <vector>

#include "compress/compress_pool.h"
#include "compress/compressor.h"
#include "compress/history_model.h"
#include "format/header_format.h"
#include "fs/dos_time.h"
#include "fs/file_layer.h"
#include "fs/name_lookup.h"
#include "plugin/callbacks.h"
#include "update/entry_writer.h"
#include "update/listed_names.h"

namespace ace {
namespace {

// Files read ahead are held in memory: at most this much of one file (larger
// ones are coded on the calling thread, with the pool idle), and this much of
// input and packed data over all files not yet written.
constexpr uint32_t kMaxJobBytes = 16u << 20;
constexpr uint64_t kMaxBytesInFlight = 64u << 20;

void Announce(const RunFile& file) { AnnounceFile(file.shownPath, file.archiveName); }

// One file through the serial writer; false when the run must stop.
bool WriteSerially(const RunFile& file, bool solid, SolidRun& run) {
  if (file.badName) {
    SetStatus(AR_IO_ERROR);
    return false;
  }
  Announce(file);
  if (!solid) return AddFileToArchive(file.diskPath, file.archiveName) && State().Status == 0;
  return AdvanceSolidRun(
      run, AddFileToSolidArchive(file.diskPath, file.archiveName, run.flagBits, run.fresh));
}

bool WriteRemainingSerially(NextRunFile next, void* context, bool solid, SolidRun& run) {
  RunFile file;
  while (next(context, file)) {
    if (!WriteSerially(file, solid, run)) return false;
  }
  return true;
}

// A file of the run between reading it ahead and writing its entry.
struct Pending {
  enum Kind {
    kData,       // read into memory and handed to the pool
    kEmpty,      // a header alone
    kDirectory,  // a directory's header
    kSerial,     // the serial writer takes it, with the pool idle (a file that
                 // could not be found, opened or read ahead, or is too large)
  };
  RunFile file;
  Kind kind = kSerial;
  FileFacts facts;
  std::unique_ptr<PackJob> job;
};

class ParallelRun {
 public:
  ParallelRun(bool solid) : solid_(solid) {}
  // False when the pool could not start: nothing was read or written.
  bool Start(int threads);
  // Writes the run; false when it failed (status set).
  bool Write(NextRunFile next, void* context);

 private:
  void ReadAhead(Pending& p);
  bool Commit(Pending& p);
  bool CommitData(Pending& p);
  bool CommitSerially(Pending& p);
  bool HandOn(const std::vector<ProgressReport>& reports);
  void ReleasePassed();

  bool solid_;
  SolidRun run_;
  bool serialFromHere_ = false;  // a solid run goes on without the pool
  HistoryModel model_;           // plain runs
  uint64_t bytesInFlight_ = 0;
  std::deque<std::unique_ptr<Pending>> pending_;
  std::deque<std::unique_ptr<PackJob>> written_;  // solid: not every thread is past them yet
  CompressPool pool_;                             // last: it stops before the jobs go
};

bool ParallelRun::Start(int threads) {
  Compressor& c = PluginCompressor();
  if (!solid_ && !model_.Init(static_cast<uint32_t>(c.DictionaryKB()) * 1024u)) return false;
  const auto mode = solid_ ? CompressPool::Mode::kSolid : CompressPool::Mode::kPlain;
  if (pool_.Start(c, threads, mode) >= 2) return true;
  pool_.Stop();
  return false;
}

bool ParallelRun::Write(NextRunFile next, void* context) {
  const size_t maxPending = 8 * static_cast<size_t>(pool_.Threads()) + 8;
  bool ended = false;
  bool barrier = false;  // the last file read ahead needs the pool idle
  for (;;) {
    // Files stay in the members until the pool has stopped or let them go:
    // the threads read their bytes.
    while (!ended && !barrier && pending_.size() < maxPending &&
           (pending_.empty() || bytesInFlight_ < kMaxBytesInFlight)) {
      auto p = std::unique_ptr<Pending>(new (std::nothrow) Pending);
      if (!p) break;
      if (!next(context, p->file)) {
        ended = true;
        break;
      }
      try {
        pending_.push_back(std::move(p));
      } catch (const std::bad_alloc&) {
        break;
      }
      ReadAhead(*pending_.back());
      barrier = pending_.back()->kind == Pending::kSerial;
    }
    if (pending_.empty()) {
      if (ended) return true;
      SetStatus(AR_NO_MEMORY);
      return false;
    }
    Pending& p = *pending_.front();
    if (!Commit(p)) {
      pool_.Cancel();
      return false;
    }
    if (p.kind == Pending::kSerial) barrier = false;
    if (serialFromHere_) {
      pool_.Stop();
      return WriteRemainingSerially(next, context, true, run_);
    }
    if (solid_ && p.job) {
      try {
        written_.push_back(std::move(p.job));
      } catch (const std::bad_alloc&) {
        SetStatus(AR_NO_MEMORY);
        pool_.Cancel();
        return false;
      }
    } else if (p.job) {
      bytesInFlight_ -= 2 * uint64_t{p.facts.size};
    }
    pending_.pop_front();
    ReleasePassed();
  }
}

void ParallelRun::ReleasePassed() {
  while (!written_.empty() && pool_.Release(*written_.front())) {
    bytesInFlight_ -= 2 * uint64_t{written_.front()->size};
    written_.pop_front();
  }
}

// Reads a file ahead without asking the host anything: whatever would make
// the serial writer ask, fail or stream the file is left to it.
void ParallelRun::ReadAhead(Pending& p) {
  if (p.file.badName) return;
  const DWORD attributes = GetFileAttributesA(p.file.diskPath);
  if (attributes == INVALID_FILE_ATTRIBUTES) return;
  p.facts.attributes = attributes;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
    p.kind = Pending::kDirectory;
    return;
  }
  p.facts.attributes &= ~FILE_ATTRIBUTE_REPARSE_POINT;  // a link to a file is stored as the file
  FileHandle h = FileOpen(p.file.diskPath, "rb");
  if (h == kNoFile) return;
  const int32_t size = FileSize(h);
  if (GetFileDosStamp(h, &p.facts.stamp) != 0 || size < 0 ||
      static_cast<uint32_t>(size) > kMaxJobBytes) {
    FileClose(h);
    return;
  }
  p.facts.size = static_cast<uint32_t>(size);
  if (size == 0) {
    FileClose(h);
    p.kind = Pending::kEmpty;
    return;
  }
  auto job = std::unique_ptr<PackJob>(new (std::nothrow) PackJob);
  if (job) job->data.reset(new (std::nothrow) uint8_t[p.facts.size]);
  bool read = job && job->data;
  for (int32_t got = 0; read && got < size;) {
    const int32_t n = FileRead(job->data.get() + got, size - got, h);
    read = n > 0;
    got += n;
  }
  uint8_t extra;
  read = read && FileRead(&extra, 1, h) == 0;  // a file that grew goes to the serial writer
  FileClose(h);
  if (!read) return;
  job->size = p.facts.size;
  if (!solid_) {
    const uint8_t* behind = model_.Behind(job->size, &job->seedLength);
    std::copy(behind, behind + job->seedLength, job->seed);
  }
  if (!pool_.Submit(job.get())) return;
  if (!solid_) model_.AddFreshFile(job->data.get(), job->size);
  bytesInFlight_ += 2 * uint64_t{job->size};
  p.job = std::move(job);
  p.kind = Pending::kData;
}

bool ParallelRun::Commit(Pending& p) {
  if (p.kind == Pending::kSerial) return CommitSerially(p);
  Announce(p.file);
  const uint16_t runFlags = solid_ ? run_.flagBits : 0;
  switch (p.kind) {
    case Pending::kDirectory: {
      const int result = WriteDirectoryEntryFromDisk(p.file.diskPath, p.file.archiveName,
                                                     p.facts.attributes, solid_, run_.fresh);
      return solid_ ? AdvanceSolidRun(run_, result) : result != 0 && State().Status == 0;
    }
    case Pending::kEmpty:
      return WriteEmptyEntry(p.file.archiveName, p.facts, runFlags);
    default:
      return CommitData(p);
  }
}

bool ParallelRun::HandOn(const std::vector<ProgressReport>& reports) {
  for (const ProgressReport& r : reports) {
    if (CallProgress(r.percent, r.step) == 0) {
      SetStatus(AR_ABORTED);
      return false;
    }
  }
  return true;
}

bool ParallelRun::CommitData(Pending& p) {
  PackJob& job = *p.job;
  std::vector<ProgressReport> reports;
  bool done;
  do {
    done = pool_.Wait(job, reports);
    if (!HandOn(reports)) return false;
  } while (!done);
  if (job.status != 0) {
    SetStatus(job.status);
    return false;
  }
  const bool stored = job.grew;
  if (!WriteFinishedEntry(p.file.archiveName, p.facts, solid_ ? run_.flagBits : 0,
                          stored ? job.data.get() : job.packed.get(),
                          stored ? job.size : job.packedSize, job.crc, stored)) {
    return false;
  }
  job.packed.reset();
  return !solid_ || AdvanceSolidRun(run_, stored ? kSolidFresh : kSolidContinue);
}

// The pool is idle: its first compressor is the one the serial writer uses.
// Seeded with the history the files before left, it codes a plain run's file
// as the pool would; in a solid run it has followed every file so far, but the
// other threads' compressors miss any file it codes now.
bool ParallelRun::CommitSerially(Pending& p) {
  Compressor& c = pool_.Lend();
  const uint32_t started = c.FilesStarted();
  if (!solid_) c.SeedHistory(model_.Bytes(), 0, model_.Size());
  const bool ok = WriteSerially(p.file, solid_, run_);
  c.SeedHistory(nullptr, 0, 0);
  if (c.FilesStarted() != started) {
    if (solid_) {
      serialFromHere_ = true;
    } else {
      model_.TakeFrom(c.History(), c.BytesRead());
    }
  }
  return ok;
}

struct ListedSource {
  const FileMaskNode* node;
  const FileMaskList* keep;
};

bool NextListedFile(void* context, RunFile& file) {
  auto& source = *static_cast<ListedSource*>(context);
  char unused[kPathBuffer];
  for (; source.node != nullptr; source.node = source.node->Next) {
    file = RunFile{};
    if (!FormListedNames(source.node, file.diskPath, file.archiveName, kPathBuffer)) {
      file.badName = true;
      source.node = nullptr;  // the run ends with this file
      return true;
    }
    if (source.keep != nullptr && IsNameInList(file.archiveName, source.keep, unused)) continue;
    CopyText(file.shownPath, sizeof file.shownPath, file.diskPath);
    source.node = source.node->Next;
    return true;
  }
  return false;
}

}  // namespace

bool WriteRun(NextRunFile next, void* context, bool solid) {
  const int threads = CompressorThreads();
  if (threads >= 2) {
    auto parallel = std::unique_ptr<ParallelRun>(new (std::nothrow) ParallelRun(solid));
    if (parallel && parallel->Start(threads)) return parallel->Write(next, context);
  }
  SolidRun run;
  return WriteRemainingSerially(next, context, solid, run);
}

bool AddListedFiles(const FileMaskList* files, const FileMaskList* keep) {
  ListedSource source{files != nullptr ? files->First : nullptr, keep};
  return WriteRun(NextListedFile, &source, false);
}

}  // namespace ace
