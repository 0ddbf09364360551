#include "compress/compress_pool.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <system_error>

namespace ace {

// What one coding of a job produced, before it is known to count.
struct CompressPool::Packed {
  std::unique_ptr<uint8_t[]> bytes;
  uint32_t size = 0;
  uint32_t crc = 0;
  bool grew = false;
  uint32_t status = 0;
};

struct CompressPool::PackContext {
  CompressPool* pool;
  PackJob* job;
  size_t index;
  Packed* out;
  uint32_t generation;
  uint32_t readAt = 0;
  uint32_t written = 0;
};

int CompressPool::Start(Compressor& first, int threads, Mode mode) {
  Stop();
  mode_ = mode;
  first_ = &first;
  firstIo_ = first.Io();
  stopping_ = false;
  cancelled_ = false;
  generation_ = 0;
  for (int i = 0; i < threads; ++i) {
    auto w = std::unique_ptr<Worker>(new (std::nothrow) Worker);
    if (!w) break;
    if (i == 0) {
      w->compressor = &first;
    } else {
      w->owned.reset(new (std::nothrow) Compressor);
      if (!w->owned || !w->owned->Init(first.DictionaryKB(), first.Level())) break;
      w->compressor = w->owned.get();
    }
    if (mode == Mode::kSolid && !w->compressor->CanSkip()) break;
    Worker* raw = w.get();
    try {
      std::unique_lock lock(mutex_);
      workers_.push_back(std::move(w));
      lock.unlock();
      raw->thread = std::thread([this, raw, i] {
        if (mode_ == Mode::kSolid) {
          SolidLoop(*raw, i);
        } else {
          PlainLoop(*raw);
        }
      });
    } catch (const std::bad_alloc&) {
      break;
    } catch (const std::system_error&) {
      workers_.pop_back();
      break;
    }
    std::lock_guard lock(mutex_);
    ++running_;
  }
  if (workers_.empty()) first.SetIo(firstIo_);
  return Threads();
}

bool CompressPool::Submit(PackJob* job) {
  std::lock_guard lock(mutex_);
  try {
    if (mode_ == Mode::kSolid) {
      outcome_.push_back(kUnknown);
      run_.push_back(job);
    } else {
      queue_.push_back(job);
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  work_.notify_all();
  return true;
}

bool CompressPool::Wait(PackJob& job, std::vector<ProgressReport>& reports) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return job.done || !job.reports.empty(); });
  reports.clear();
  reports.swap(job.reports);
  return job.done;
}

bool CompressPool::Release(const PackJob& job) {
  std::lock_guard lock(mutex_);
  if (released_ >= run_.size() || run_[released_] != &job || job.passed < running_) return false;
  for (const auto& w : workers_) {
    if (w->current == &job) return false;
  }
  run_[released_++] = nullptr;
  return true;
}

bool CompressPool::Idle() const {
  if (!queue_.empty()) return false;
  for (const auto& w : workers_) {
    if (w->current != nullptr) return false;
  }
  for (size_t i = released_; i < run_.size(); ++i) {
    if (run_[i]->passed < running_) return false;
  }
  return true;
}

Compressor& CompressPool::Lend() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return Idle(); });
  first_->SetIo(firstIo_);
  return *first_;
}

void CompressPool::Cancel() {
  std::lock_guard lock(mutex_);
  cancelled_ = true;
  queue_.clear();
  work_.notify_all();
}

void CompressPool::Stop() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
    cancelled_ = true;
    work_.notify_all();
  }
  for (auto& w : workers_) {
    if (w->thread.joinable()) w->thread.join();
  }
  workers_.clear();
  queue_.clear();
  run_.clear();
  outcome_.clear();
  released_ = 0;
  restarts_.clear();
  running_ = 0;
  if (first_ != nullptr) first_->SetIo(firstIo_);
  first_ = nullptr;
}

void CompressPool::PlainLoop(Worker& w) {
  std::unique_lock lock(mutex_);
  for (;;) {
    work_.wait(lock, [&] { return stopping_ || !queue_.empty(); });
    if (stopping_) return;
    PackJob* job = queue_.front();
    queue_.pop_front();
    w.current = job;
    lock.unlock();
    Packed out;
    w.compressor->SeedHistory(job->seed, job->size, job->seedLength);
    Pack(*w.compressor, *job, 0, true, 0, &out);
    lock.lock();
    w.current = nullptr;
    Deliver(*job, out);
    changed_.notify_all();
  }
}

void CompressPool::SolidLoop(Worker& w, int index) {
  Compressor& c = *w.compressor;
  uint32_t generation = 0;
  std::shared_ptr<uint8_t[]> image;  // set: the file at w.next starts fresh on it
  std::unique_lock lock(mutex_);
  for (;;) {
    if (generation != generation_) {
      // Files found to have grown: go back to the earliest file after one,
      // unless this thread has not come that far.
      const RestartPoint* back = nullptr;
      for (uint32_t g = generation; g < generation_; ++g) {
        if (restarts_[g].at <= w.next && (back == nullptr || restarts_[g].at <= back->at)) {
          back = &restarts_[g];
        }
      }
      if (back != nullptr) {
        w.next = back->at;
        image = back->image;
      }
      generation = generation_;
      w.generation = generation;
      // Histories that every thread has taken what it needs from can go.
      uint32_t oldest = generation;
      for (const auto& other : workers_) oldest = std::min(oldest, other->generation);
      for (uint32_t g = 0; g < oldest; ++g) restarts_[g].image.reset();
    }
    if (stopping_) return;
    if (w.next >= run_.size() || cancelled_) {
      work_.wait(lock);
      continue;
    }
    const size_t at = w.next;
    bool fresh = at == 0 || image != nullptr;
    if (!fresh) {
      if (outcome_[at - 1] == kUnknown && run_[at - 1]->size < kGrowthGuessBytes) {
        work_.wait(lock);  // a small file grows often: wait for its outcome
        continue;
      }
      fresh = outcome_[at - 1] == kGrew;
    }
    PackJob* job = run_[at];
    const bool mine = job->claimedBy < 0;
    if (mine) job->claimedBy = index;
    w.current = job;
    lock.unlock();
    Packed out;
    if (image) c.SeedHistory(image.get(), 0, c.HistoryBytes());
    Pack(c, *job, at, fresh, generation, mine ? &out : nullptr);
    lock.lock();
    w.current = nullptr;
    changed_.notify_all();
    if (!StillValid(at, generation)) continue;
    image.reset();
    ++job->passed;
    w.next = at + 1;
    if (!mine) continue;
    job->fresh = fresh;
    Deliver(*job, out);
    outcome_[at] = job->grew ? kGrew : kKept;
    work_.notify_all();
    if (!job->grew || job->status != 0) continue;
    bool someonePast = false;
    for (const auto& other : workers_) {
      someonePast |= other->next > at + 1 || (other->next == at + 1 && other->current != nullptr);
    }
    if (!someonePast) continue;  // the others find the outcome when they get there
    // Those that went on as if it had not grown go back to the file after it.
    std::shared_ptr<uint8_t[]> copy(new (std::nothrow) uint8_t[c.HistoryBytes()]);
    try {
      if (copy) restarts_.push_back(RestartPoint{at + 1, copy});
    } catch (const std::bad_alloc&) {
      copy.reset();
    }
    if (!copy) {
      job->status = kCompressNoMemory;  // ends the operation
      continue;
    }
    std::memcpy(copy.get(), c.History(), c.HistoryBytes());
    for (size_t i = at + 1; i < run_.size(); ++i) {
      PackJob* later = run_[i];
      later->claimedBy = -1;
      later->passed = 0;
      later->done = false;
      later->reports.clear();
      outcome_[i] = kUnknown;
    }
    ++generation_;
    work_.notify_all();
  }
}

bool CompressPool::StillValid(size_t index, uint32_t generation) const {
  for (uint32_t g = generation; g < generation_; ++g) {
    if (restarts_[g].at <= index) return false;
  }
  return true;
}

void CompressPool::Pack(Compressor& c, PackJob& job, size_t index, bool fresh, uint32_t generation,
                        Packed* out) {
  PackContext context{this, &job, index, out, generation};
  CompressorIo io;
  io.read = ReadJob;
  io.readContext = &context;
  c.SetStatus(0);
  if (out == nullptr) {
    c.SetIo(io);
    c.SkipFile(job.size, !fresh);
    return;
  }
  out->bytes.reset(new (std::nothrow) uint8_t[job.size]);
  if (!out->bytes) {
    out->status = kCompressNoMemory;
    return;
  }
  io.write = WriteJob;
  io.writeContext = &context;
  io.progress = Report;
  io.progressContext = &context;
  c.SetIo(io);
  c.StartFile(job.size, !fresh);
  c.Run();
  c.Finish();
  out->size = c.PackedSize();
  out->crc = c.Crc();
  out->grew = c.Grew();
  out->status = c.Status();
  c.SetStatus(0);
}

void CompressPool::Deliver(PackJob& job, Packed& out) {
  job.packed = std::move(out.bytes);
  job.packedSize = out.size;
  job.crc = out.crc;
  job.grew = out.grew;
  job.status = out.status;
  job.done = true;
}

int32_t CompressPool::ReadJob(void* context, uint8_t* destination, int32_t count) {
  auto& x = *static_cast<PackContext*>(context);
  const uint32_t left = x.job->size - x.readAt;
  const uint32_t n = static_cast<uint32_t>(count) < left ? static_cast<uint32_t>(count) : left;
  std::memcpy(destination, x.job->data.get() + x.readAt, n);
  x.readAt += n;
  return static_cast<int32_t>(n);
}

int32_t CompressPool::WriteJob(void* context, const uint8_t* bytes, int32_t count) {
  auto& x = *static_cast<PackContext*>(context);
  const uint32_t n = static_cast<uint32_t>(count);
  // Data that outgrows the file is not kept: the file will be stored.
  if (x.written <= x.job->size && n <= x.job->size - x.written) {
    std::memcpy(x.out->bytes.get() + x.written, bytes, n);
  }
  x.written += n;
  return count;
}

int32_t CompressPool::Report(void* context, int32_t percent, int32_t step) {
  auto& x = *static_cast<PackContext*>(context);
  CompressPool& pool = *x.pool;
  std::lock_guard lock(pool.mutex_);
  if (pool.cancelled_ || !pool.StillValid(x.index, x.generation)) return 0;
  try {
    x.job->reports.push_back(ProgressReport{percent, step});
  } catch (const std::bad_alloc&) {
    return 1;  // one report less; the host hears the next one
  }
  pool.changed_.notify_all();
  return 1;
}

}  // namespace ace
