// The compressor as the plug-in drives it: settings from CompOptions, input
// from SourceHandle, output to TargetHandle at its current position, progress
// to the host and failures into the status word.
#include <cstdlib>
#include <thread>

#include "compress/compressor.h"
#include "fs/file_layer.h"
#include "plugin/callbacks.h"
#include "plugin/state.h"

namespace ace {
namespace {

int32_t ReadSource(void*, uint8_t* destination, int32_t count) {
  return FileRead(destination, count, State().SourceHandle);
}

int32_t WriteTarget(void*, const uint8_t* bytes, int32_t count) {
  return FileWrite(bytes, count, State().TargetHandle);
}

int32_t ReportToHost(void*, int32_t percent, int32_t step) { return CallProgress(percent, step); }

// The compressor keeps its own status word while it runs; the plug-in's is
// the one the host reads.
void TakeStatus(Compressor& c) {
  if (c.Status() != 0 && State().Status == 0) State().Status = c.Status();
}

}  // namespace

Compressor& PluginCompressor() {
  static Compressor compressor;
  return compressor;
}

int InitCompressor() {
  Compressor& c = PluginCompressor();
  const CompOptions& options = State().Comp;
  if (!c.Init(options.DictionaryKB, options.Level)) {
    c.SetStatus(0);
    SetStatus(AR_NO_MEMORY);
    return 0;
  }
  CompressorIo io;
  io.read = ReadSource;
  io.write = WriteTarget;
  // Without a registered procedure there is nothing to report to.
  if (State().progress) io.progress = ReportToHost;
  c.SetIo(io);
  return 1;
}

void DoneCompressor() {
  Compressor& c = PluginCompressor();
  c.Done();
  c.SetStatus(0);
}

void StartCompressFile(uint32_t unpackedSize, int solidContinue) {
  Compressor& c = PluginCompressor();
  c.SetStatus(State().Status);
  c.StartFile(unpackedSize, solidContinue != 0);
  TakeStatus(c);
}

void RunCompressor() {
  Compressor& c = PluginCompressor();
  c.Run();
  TakeStatus(c);
}

void FinishCompressFile() {
  Compressor& c = PluginCompressor();
  c.Finish();
  TakeStatus(c);
}

void ClearCompressorResults() { PluginCompressor().ClearFileResults(); }
uint32_t CompressorPackedSize() { return PluginCompressor().PackedSize(); }
uint32_t CompressorCrc() { return PluginCompressor().Crc(); }
int32_t CompressorGrew() { return PluginCompressor().Grew() ? 1 : 0; }
int32_t CompressorDictionaryCode() {
  return DictionaryCodeForKB(PluginCompressor().DictionaryKB());
}

int CompressorThreads() {
  const Compressor& c = PluginCompressor();
  if (c.Kind() != EngineKind::kHashChain) return 1;
  long wanted = std::thread::hardware_concurrency();
  if (const char* text = std::getenv("ACEPLUG_THREADS"); text != nullptr && *text != '\0') {
    char* end = nullptr;
    const long n = std::strtol(text, &end, 10);
    if (*end == '\0' && n >= 1) wanted = n;
  }
  const uint64_t byMemory = kEngineMemoryBudget / EngineMemoryBytes(c.DictionaryKB(), c.Level());
  if (static_cast<uint64_t>(wanted) > byMemory) wanted = static_cast<long>(byMemory);
  if (wanted > kMaxCompressorThreads) wanted = kMaxCompressorThreads;
  return wanted < 1 ? 1 : static_cast<int>(wanted);
}

}  // namespace ace
