#include "compress/compressor.h"

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

void Compressor::StartFile(uint32_t unpackedSize, bool solidContinue) {
  CompressorCore& c = *core_;
  if (c.ops == nullptr) return;
  ClearFileResults();
  ResetCoder(c);
  // The engine reads input as it starts, so the CRC register is set first.
  c.crc = kCrcInit;
  if (solidContinue) {
    c.ops->resume(c);
  } else {
    c.ops->start(c);
  }
  ResetCoder(c);
  if (c.ops->resetStats != nullptr) c.ops->resetStats(c);
  c.unpackedSize = unpackedSize;
}

void Compressor::Run() {
  CompressorCore& c = *core_;
  if (c.ops == nullptr) return;
  c.ops->run(c);
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
