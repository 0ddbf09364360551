// libFuzzer target for the whole LZ77 path: the compressor packs the input and
// the extraction library's decoder must give back every byte, for every engine.
//
// Input: one setting byte, then the data. Bits 0-2 pick the dictionary and
// level (the optimal engine included); bit 3 packs the data as two files of
// one solid run, split in the middle, so that matches reach across files.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "compress/compressor.h"
#include "unace/decoder/lz77_decoder.h"

namespace {

struct Setting {
  int32_t dictionaryKB, level;
};
constexpr Setting kSettings[8] = {{64, 0},  {64, 1},   {128, 2},  {256, 3},
                                  {512, 1}, {1024, 2}, {1024, 3}, {1024, 4}};

struct Memory {
  const uint8_t* input;
  size_t size, position;
  std::vector<uint8_t> packed;
};

int32_t ReadInput(void* context, uint8_t* destination, int32_t count) {
  auto* m = static_cast<Memory*>(context);
  size_t n = m->size - m->position;
  if (n > static_cast<size_t>(count)) n = static_cast<size_t>(count);
  if (n != 0) std::memcpy(destination, m->input + m->position, n);
  m->position += n;
  return static_cast<int32_t>(n);
}

int32_t WritePacked(void* context, const uint8_t* bytes, int32_t count) {
  auto* m = static_cast<Memory*>(context);
  m->packed.insert(m->packed.end(), bytes, bytes + count);
  return count;
}

struct Packed {
  const std::vector<uint8_t>* bytes;
  size_t position;
};

int32_t ReadPacked(void* context, uint8_t* buffer, uint32_t size) {
  auto* p = static_cast<Packed*>(context);
  size_t n = p->bytes->size() - p->position;
  if (n > size) n = size;
  if (n != 0) std::memcpy(buffer, p->bytes->data() + p->position, n);
  p->position += n;
  return static_cast<int32_t>(n);
}

// One compressor per setting for the whole run: setting one up costs far more
// than packing a small input.
ace::Compressor& CompressorFor(int index) {
  static ace::Compressor compressors[8];
  ace::Compressor& c = compressors[index];
  if (!c.Ready() && !c.Init(kSettings[index].dictionaryKB, kSettings[index].level))
    __builtin_trap();
  c.SetStatus(0);
  return c;
}

void Check(ace::Lz77Decoder& decoder, const std::vector<uint8_t>& packed, const uint8_t* original,
           size_t size, bool continueSolid) {
  Packed source{&packed, 0};
  decoder.BeginFile(ace::PackedSource{&ReadPacked, &source}, size, continueSolid);
  size_t done = 0;
  for (;;) {
    const uint8_t* data = nullptr;
    size_t n = 0;
    if (decoder.Decode(&data, &n) != ace::DecodeStatus::kOk) __builtin_trap();
    if (n == 0) break;
    if (done + n > size || std::memcmp(data, original + done, n) != 0) __builtin_trap();
    done += n;
  }
  if (done != size) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const int index = data[0] & 7;
  const bool solid = (data[0] & 8) != 0;
  const uint8_t* input = data + 1;
  const size_t length = size - 1;
  const size_t split = solid ? length / 2 : length;

  ace::Compressor& compressor = CompressorFor(index);
  static ace::Lz77Decoder decoder;
  static bool decoderReady = decoder.Init() == ace::DecodeStatus::kOk;
  if (!decoderReady) __builtin_trap();

  const size_t parts[2][2] = {{0, split}, {split, length}};
  for (int part = 0; part < (solid ? 2 : 1); ++part) {
    Memory memory{input + parts[part][0], parts[part][1] - parts[part][0], 0, {}};
    ace::CompressorIo io;
    io.read = &ReadInput;
    io.readContext = &memory;
    io.write = &WritePacked;
    io.writeContext = &memory;
    compressor.SetIo(io);
    compressor.StartFile(static_cast<uint32_t>(memory.size), part == 1);
    compressor.Run();
    compressor.Finish();
    if (compressor.Status() != 0 || compressor.PackedSize() != memory.packed.size())
      __builtin_trap();
    Check(decoder, memory.packed, memory.input, memory.size, part == 1);
  }
  return 0;
}
