// The compressor: turns the bytes of one input file into the packed data of
// one LZ77 entry (Huffman blocks in 32-bit words). One `Compressor` serves a
// whole archive operation; files are coded one after another, fresh or as the
// continuation of a solid run.
//
// Two ways in:
//  - `Compressor` itself, driven with an input source, an output sink and a
//    progress hook given as function pointers (tests, benchmarks, tools);
//  - the plug-in adapter below (InitCompressor ... FinishCompressFile), which
//    reads `SourceHandle`, writes `TargetHandle`, reports to the host's
//    progress callback and keeps the outcome in the plug-in's status word.
#pragma once

#include <cstdint>
#include <memory>

#include "aceplug/aceplug.h"

namespace ace {

// Fills `destination` with up to `count` bytes: the count read, 0 at the end,
// -1 on failure.
using CompressorReadFn = int32_t (*)(void* context, uint8_t* destination, int32_t count);
// Writes `count` bytes: the count written, -1 on failure.
using CompressorWriteFn = int32_t (*)(void* context, const uint8_t* bytes, int32_t count);
// Percent done and the bytes coded since the previous call; 0 asks to stop.
using CompressorProgressFn = int32_t (*)(void* context, int32_t percent, int32_t step);

// Called once per read block (D bytes or 2·D on a first fill), once per
// 16,384 bytes of output and once per output write for progress.
struct CompressorIo {
  CompressorReadFn read = nullptr;
  void* readContext = nullptr;
  CompressorWriteFn write = nullptr;
  void* writeContext = nullptr;
  CompressorProgressFn progress = nullptr;  // null: nobody listens
  void* progressContext = nullptr;
};

enum class EngineKind { kNone, kHashChain, kOptimal };

// Status words the compressor leaves: the plug-in's public codes, so that the
// adapter hands them on unchanged.
inline constexpr uint32_t kCompressOk = AR_OK;
inline constexpr uint32_t kCompressReadFailed = AR_IO_ERROR;
inline constexpr uint32_t kCompressNoMemory = AR_NO_MEMORY;
inline constexpr uint32_t kCompressShortWrite = AR_DISK_FULL;
inline constexpr uint32_t kCompressAborted = AR_ABORTED;

// The dictionary code a file header carries for a dictionary the compressor
// serves (6 for 64 KB .. 10 for 1024 KB); -1 for any other size.
int DictionaryCodeForKB(int32_t dictionaryKB);

struct CompressorCore;  // engine, coder and buffers (compress/compressor_core.h)

class Compressor {
 public:
  Compressor();
  ~Compressor();
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  // Allocates the engine for a dictionary of 64, 128, 256, 512 or 1024 KB and
  // a level 0..4 (0 fastest: greedy, short walks). Any other dictionary or a
  // failed allocation: false, status 8, nothing held. Init on a ready
  // compressor releases the old engine first.
  [[nodiscard]] bool Init(int32_t dictionaryKB, int32_t level);
  void Done();
  bool Ready() const;
  EngineKind Kind() const;
  int32_t DictionaryKB() const;
  int32_t Level() const;

  // Takes effect at once; set it before StartFile.
  void SetIo(const CompressorIo& io);
  const CompressorIo& Io() const;

  // A hash-chain engine keeps its history buffer from file to file, and a
  // fresh file's search may read the bytes that earlier files left behind its
  // own data. SeedHistory gives the next fresh StartFile what another
  // compressor's history would hold at offsets `offset` to offset + `length`;
  // the part of it behind the file's data is put in place, so that this
  // compressor codes the file as that one would. The bytes must stay valid
  // until StartFile returns. The optimal engine, whose searches stop at the
  // end of the data, ignores them.
  void SeedHistory(const uint8_t* bytes, uint32_t offset, uint32_t length);
  // The history buffer of a hash-chain engine (null for the optimal engine):
  // HistoryBytes() bytes, where a fresh file's data begins at offset 0.
  const uint8_t* History() const;
  uint32_t HistoryBytes() const;
  // Files started since Init, fresh or continued.
  uint32_t FilesStarted() const;

  // One file: StartFile, Run, Finish. `solidContinue` keeps the history of
  // the previous file so that matches may reach into it. StartFile clears the
  // per-file results and leaves the status word as it is.
  void StartFile(uint32_t unpackedSize, bool solidContinue);
  void Run();
  void Finish();

  // Reads a file as StartFile and Run would and leaves the engine's tables as
  // they would leave them, without coding it: the next file of a solid run
  // then codes as if this one had been coded here. Needs CanSkip().
  bool CanSkip() const;
  void SkipFile(uint32_t unpackedSize, bool solidContinue);

  // Results of the current file, final after Finish.
  uint32_t PackedSize() const;  // bytes handed to the sink
  uint32_t Crc() const;         // CRC-32 register of the input, not inverted
  bool Grew() const;            // packed size came to exceed the unpacked size
  uint32_t BytesRead() const;
  // Zeroes the results and counters above.
  void ClearFileResults();

  // 0 or one of the codes above. Once nonzero, nothing more is written.
  uint32_t Status() const;
  void SetStatus(uint32_t status);

  // The engines' shared state, for engines and white-box tests.
  CompressorCore& Core() { return *core_; }

 private:
  std::unique_ptr<CompressorCore> core_;
};

// ---- plug-in adapter: one compressor per archive operation ----
// Settings come from the plug-in's CompOptions (DictionaryKB, Level); input is
// read from State().SourceHandle, output written to State().TargetHandle at
// its current position, progress goes to the host's progress callback and
// failures to State().Status.

// 1 ready; 0 failed (status 8, nothing held).
[[nodiscard]] int InitCompressor();
void DoneCompressor();
void StartCompressFile(uint32_t unpackedSize, int solidContinue);
void RunCompressor();
void FinishCompressFile();

// Results of the file last finished.
uint32_t CompressorPackedSize();
// Forgets the last file's CRC and counters (the closing of an archive).
void ClearCompressorResults();
uint32_t CompressorCrc();
int32_t CompressorGrew();  // 0 or 1
// The dictionary code for the file header (6..10) of the engine set up.
int32_t CompressorDictionaryCode();

// The adapter's compressor, for tests.
Compressor& PluginCompressor();

// Threads that may share the work of the operation set up by InitCompressor:
// all cores by default, or ACEPLUG_THREADS when it holds a number from 1 on;
// fewer when that many engines would take more than kEngineMemoryBudget;
// 1 for the optimal engine, whose carried prices tie each file to the coding
// of the one before.
int CompressorThreads();
inline constexpr uint64_t kEngineMemoryBudget = 256u << 20;
inline constexpr int kMaxCompressorThreads = 64;

// Bytes the tables of one engine take (Init), for a dictionary it serves.
uint64_t EngineMemoryBytes(int32_t dictionaryKB, int32_t level);

}  // namespace ace
