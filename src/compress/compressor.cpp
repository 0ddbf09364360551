#include "compress/compressor.h"

#include <algorithm>
#include <cstring>

#include "compress/compressor_core.h"
#include "compress/hash_chain.h"
#include "compress/optimal_engine.h"
#include "format/crc32.h"

namespace ace {
namespace {

// Percent counts are halved together with the size while they are this large,
// so that processed × 100 stays within 32 bits.
constexpr int32_t kPercentScaleLimit = 0x1400000;

// The engine a dictionary and level call for; null for a dictionary the
// compressor does not serve.
const EngineOps* SelectEngine(int32_t dictionaryKB, int32_t level) {
  if (DictionaryCodeForKB(dictionaryKB) < 0) return nullptr;
  if (dictionaryKB == 1024 && level == 4) return OptimalEngineOps();
  return HashChainEngineOps(dictionaryKB);
}

uint8_t* HistoryOf(const CompressorCore& core) {
  if (core.ops == nullptr || core.ops->kind != EngineKind::kHashChain) return nullptr;
  return static_cast<const HashChainState*>(core.engine)->window;
}

// A fresh hash-chain start reads its first fill straight into the history at
// offset 0; the seed fills in what lies behind the data that arrived.
void PlaceSeed(CompressorCore& core, uint8_t* destination, int32_t filled, int32_t count) {
  core.seedArmed = false;
  if (destination != HistoryOf(core)) return;
  const uint32_t from = std::max(static_cast<uint32_t>(filled), core.seedOffset);
  const uint32_t to = std::min(static_cast<uint32_t>(count), core.seedOffset + core.seedLength);
  if (from < to) std::memcpy(destination + from, core.seed + (from - core.seedOffset), to - from);
}

}  // namespace

int DictionaryCodeForKB(int32_t dictionaryKB) {
  switch (dictionaryKB) {
    case 64:
      return 6;
    case 128:
      return 7;
    case 256:
      return 8;
    case 512:
      return 9;
    case 1024:
      return 10;
    default:
      return -1;
  }
}

uint64_t EngineMemoryBytes(int32_t dictionaryKB, int32_t level) {
  const uint64_t d = uint64_t{static_cast<uint32_t>(dictionaryKB)} * 1024u;
  const uint64_t coder = kBlockTokens * 8u + 128u * 1024u;  // tokens, output
  if (dictionaryKB == 1024 && level == 4) {
    // History, staging, the three heads, two links per position, the plan.
    return d + 4096 + d / 2 + 256 + d + 4 * (1025 + 262145 + 1048577) + 8 * d + 4096 * 12 + coder;
  }
  // History, heads (the crowding flag in their top bit), links, the engine's state.
  return 2 * d + 600 + 4 * d + 4 * d + sizeof(HashChainState) + coder;
}

// ---- shared paths ----

// Reads until `count` bytes have arrived or the source ends: the engines take
// a short block for the end of the input, so a source that delivers in pieces
// must give the same data as one that fills every request.
int32_t ReadInput(CompressorCore& core, uint8_t* destination, int32_t count) {
  if (core.io.read == nullptr) return 0;
  int32_t total = 0;
  while (total < count) {
    const int32_t n = core.io.read(core.io.readContext, destination + total, count - total);
    if (n < 0) {
      core.status = kCompressReadFailed;
      return 0;
    }
    if (n == 0) break;
    core.crc = Crc32Update(core.crc, destination + total, static_cast<size_t>(n));
    core.bytesRead += static_cast<uint32_t>(n);
    total += n;
  }
  if (core.seedArmed && core.status == 0) PlaceSeed(core, destination, total, count);
  return total;
}

void FlushOutput(CompressorCore& core, uint32_t count) {
  if (core.status != 0) return;  // after a failure or an abort nothing more goes out
  const int32_t written = core.io.write != nullptr ? core.io.write(core.io.writeContext, core.out,
                                                                   static_cast<int32_t>(count))
                                                   : -1;
  if (written > 0) core.packedSize += static_cast<uint32_t>(written);
  if (!core.ops->reportsOwnProgress) ReportProgress(core);
  if (static_cast<int32_t>(core.packedSize) > static_cast<int32_t>(core.unpackedSize)) {
    core.grew = 1;
  }
  if (written != static_cast<int32_t>(count)) core.status = kCompressShortWrite;
}

void ReportProgress(CompressorCore& core) {
  if (core.io.progress == nullptr) return;
  int32_t processed = static_cast<int32_t>(core.processed);
  int32_t size = static_cast<int32_t>(core.unpackedSize);
  while (processed >= kPercentScaleLimit) {
    processed >>= 1;
    size >>= 1;
  }
  const int32_t percent = size > 0 ? processed * 100 / size : 100;
  const int32_t step = static_cast<int32_t>(core.processed - core.progressBase);
  if (core.io.progress(core.io.progressContext, percent, step) == 0) {
    core.status = kCompressAborted;
    if (core.ops->abort != nullptr) core.ops->abort(core);
  }
  core.progressBase = core.processed;
}

// ---- Compressor ----

Compressor::Compressor() : core_(std::make_unique<CompressorCore>()) {}

Compressor::~Compressor() { Done(); }

bool Compressor::Init(int32_t dictionaryKB, int32_t level) {
  Done();
  CompressorCore& c = *core_;
  const EngineOps* ops = SelectEngine(dictionaryKB, level);
  if (ops == nullptr) {
    c.status = kCompressNoMemory;
    return false;
  }
  c.dictionaryKB = dictionaryKB;
  c.level = level;
  c.dictionaryBytes = static_cast<uint32_t>(dictionaryKB) * 1024u;
  c.ops = ops;
  c.filesStarted = 0;
  if (!ops->setup(c)) {
    c.ops = nullptr;
    c.status = kCompressNoMemory;
    return false;
  }
  if (!AllocateCoderBuffers(c)) {
    ops->release(c);
    c.ops = nullptr;
    c.status = kCompressNoMemory;
    return false;
  }
  ResetCoder(c);
  return true;
}

void Compressor::Done() {
  CompressorCore& c = *core_;
  if (c.ops == nullptr) return;
  c.ops->release(c);
  ReleaseCoderBuffers(c);
  c.ops = nullptr;
  c.engine = nullptr;
}

bool Compressor::Ready() const { return core_->ops != nullptr; }
EngineKind Compressor::Kind() const {
  return core_->ops != nullptr ? core_->ops->kind : EngineKind::kNone;
}
int32_t Compressor::DictionaryKB() const { return core_->dictionaryKB; }
int32_t Compressor::Level() const { return core_->level; }
void Compressor::SetIo(const CompressorIo& io) { core_->io = io; }
const CompressorIo& Compressor::Io() const { return core_->io; }

void Compressor::SeedHistory(const uint8_t* bytes, uint32_t offset, uint32_t length) {
  core_->seed = bytes;
  core_->seedOffset = offset;
  core_->seedLength = bytes != nullptr ? length : 0;
}

const uint8_t* Compressor::History() const { return HistoryOf(*core_); }
uint32_t Compressor::HistoryBytes() const {
  return History() != nullptr ? 2 * core_->dictionaryBytes : 0;
}
uint32_t Compressor::FilesStarted() const { return core_->filesStarted; }

void Compressor::StartFile(uint32_t unpackedSize, bool solidContinue) {
  CompressorCore& c = *core_;
  if (c.ops == nullptr) return;
  ClearFileResults();
  ResetCoder(c);
  // The engine reads input as it starts, so the CRC register is set first.
  c.crc = kCrcInit;
  ++c.filesStarted;
  if (solidContinue) {
    c.ops->resume(c);
  } else {
    c.seedArmed = c.seed != nullptr;
    c.ops->start(c);
  }
  c.seed = nullptr;
  c.seedOffset = 0;
  c.seedLength = 0;
  c.seedArmed = false;
  ResetCoder(c);
  if (c.ops->resetStats != nullptr) c.ops->resetStats(c);
  c.unpackedSize = unpackedSize;
}

void Compressor::Run() {
  CompressorCore& c = *core_;
  if (c.ops == nullptr) return;
  c.ops->run(c);
}

bool Compressor::CanSkip() const { return core_->ops != nullptr && core_->ops->skip != nullptr; }

void Compressor::SkipFile(uint32_t unpackedSize, bool solidContinue) {
  if (!CanSkip()) return;
  StartFile(unpackedSize, solidContinue);
  core_->ops->skip(*core_);
}

void Compressor::Finish() {
  CompressorCore& c = *core_;
  if (c.ops == nullptr) return;
  FinishOutput(c);
}

void Compressor::ClearFileResults() {
  CompressorCore& c = *core_;
  c.crc = 0;
  c.unpackedSize = 0;
  c.packedSize = 0;
  c.bytesRead = 0;
  c.processed = 0;
  c.progressBase = 0;
  c.grew = 0;
}

uint32_t Compressor::PackedSize() const { return core_->packedSize; }
uint32_t Compressor::Crc() const { return core_->crc; }
bool Compressor::Grew() const { return core_->grew != 0; }
uint32_t Compressor::BytesRead() const { return core_->bytesRead; }
uint32_t Compressor::Status() const { return core_->status; }
void Compressor::SetStatus(uint32_t status) { core_->status = status; }

}  // namespace ace
