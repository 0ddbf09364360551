// Threads that compress files held in memory, each on a compressor of its
// own, for an archive that the calling thread writes in order. The threads
// touch no file and call no host procedure: they read a job's bytes, put the
// packed data into memory and keep the progress reports, which the calling
// thread hands on to the host when the file's turn comes.
//
// Plain runs: every file starts fresh, so any thread may code any file once
// it is given the history bytes that the files before it left (HistoryModel).
//
// Solid runs: a file continues the history of all the files before it. What
// that history holds at a file's start does not depend on how the earlier
// files were parsed (every position is entered in the tables, searched or
// not), so every thread follows the whole run: it codes the files it is the
// first to reach and only enters the others' positions (Compressor::SkipFile).
// One thing does depend on the coding: a file whose data grew is stored, and
// the next one starts fresh. A thread does not wait for that outcome when
// the file before is large (such files rarely grow); it goes on as if it had
// not grown, and when it had, the threads that went past it go back and
// start the file after it fresh on the history it left.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "compress/compressor.h"
#include "compress/history_model.h"

namespace ace {

struct ProgressReport {
  int32_t percent;
  int32_t step;
};

// One file for the pool.
struct PackJob {
  // Set before Submit.
  std::unique_ptr<uint8_t[]> data;
  uint32_t size = 0;
  uint8_t seed[kHistorySeedBytes] = {};  // plain runs: the history behind the data
  uint32_t seedLength = 0;

  // Results, final once done. The packed data is kept while it is no longer
  // than the file; past that the file is stored and the rest is dropped.
  std::unique_ptr<uint8_t[]> packed;
  uint32_t packedSize = 0;
  uint32_t crc = 0;
  bool grew = false;
  uint32_t status = 0;  // the compressor's; 8 when the output buffer could not be had
  bool done = false;
  bool fresh = true;  // solid runs: how the file was started

  // Reports not handed on yet.
  std::vector<ProgressReport> reports;

  // Solid runs: the thread that codes it, the threads that are past it.
  int claimedBy = -1;
  int passed = 0;
};

// Solid runs: a file at least this large is taken not to grow until its
// coding says otherwise.
inline constexpr uint32_t kGrowthGuessBytes = 16384;

class CompressPool {
 public:
  enum class Mode { kPlain, kSolid };

  CompressPool() = default;
  CompressPool(const CompressPool&) = delete;
  CompressPool& operator=(const CompressPool&) = delete;
  ~CompressPool() { Stop(); }

  // Starts up to `threads` threads. The first codes on `first`, which must be
  // set up and fresh for a solid run; the others on compressors set up like
  // it. Returns the threads running: fewer when memory or threads run short,
  // 0 when none could start (nothing is held then).
  int Start(Compressor& first, int threads, Mode mode);
  int Threads() const { return static_cast<int>(workers_.size()); }

  // Plain: the job goes to the next free thread. Solid: it is the next file
  // of the run. False when the job list could not grow (out of memory).
  bool Submit(PackJob* job);

  // Waits until `job` is done or has reports, and moves them to `reports`.
  // True when it is done.
  bool Wait(PackJob& job, std::vector<ProgressReport>& reports);
  // Solid: true when every thread is past `job`, the oldest file of the run
  // still held; the pool then forgets it and its bytes may go.
  bool Release(const PackJob& job);
  // Waits until every thread has nothing left to do, and gives the first
  // compressor back to the calling thread with its own I/O until the next
  // job. Not after Cancel.
  Compressor& Lend();

  // Running jobs stop soon and nothing more starts.
  void Cancel();
  // Joins the threads and gives `first` its own I/O back.
  void Stop();

 private:
  struct Worker {
    std::unique_ptr<Compressor> owned;  // null for the first thread
    Compressor* compressor = nullptr;
    std::thread thread;
    const PackJob* current = nullptr;  // whose bytes it reads
    size_t next = 0;                   // solid: the file of the run it is at
    uint32_t generation = 0;           // solid: the restarts it has seen
  };
  struct Packed;
  struct PackContext;
  // Solid: a file grew, and the one at `at` starts fresh on `image`.
  struct RestartPoint {
    size_t at;
    std::shared_ptr<uint8_t[]> image;
  };
  enum Outcome : uint8_t { kUnknown, kKept, kGrew };

  void PlainLoop(Worker& w);
  void SolidLoop(Worker& w, int index);
  // Codes file `index` of the run on `c`, outside the lock, into `out`; only
  // enters its positions when `out` is null.
  void Pack(Compressor& c, PackJob& job, size_t index, bool fresh, uint32_t generation,
            Packed* out);
  // Under the lock: whether work on file `index` begun in `generation` still
  // counts (no file before it has turned out to have grown since).
  bool StillValid(size_t index, uint32_t generation) const;
  // Under the lock: the results go into the job.
  static void Deliver(PackJob& job, Packed& out);
  bool Idle() const;
  static int32_t ReadJob(void* context, uint8_t* destination, int32_t count);
  static int32_t WriteJob(void* context, const uint8_t* bytes, int32_t count);
  static int32_t Report(void* context, int32_t percent, int32_t step);

  Mode mode_ = Mode::kPlain;
  Compressor* first_ = nullptr;
  CompressorIo firstIo_;
  std::vector<std::unique_ptr<Worker>> workers_;

  std::mutex mutex_;
  std::condition_variable work_;     // something for the threads
  std::condition_variable changed_;  // something for the calling thread
  int running_ = 0;
  bool stopping_ = false;
  std::atomic<bool> cancelled_{false};

  std::deque<PackJob*> queue_;  // plain
  // Solid: every file of the run in order, what its coding found, the files
  // let go of, and the restarts (the generation counts them).
  std::vector<PackJob*> run_;
  std::vector<Outcome> outcome_;
  size_t released_ = 0;
  std::vector<RestartPoint> restarts_;
  std::atomic<uint32_t> generation_{0};
};

}  // namespace ace
