// libFuzzer entry point for the LZ77 decoder.
//
// Input: one flag byte, the unpacked size as 3 bytes little-endian, then the packed data.
// Flags: bits 0-1 choose the output chunk size, bits 2-3 the size of the pieces in which the
// source hands out the packed bytes, bit 4 decodes the data a second time as the next file of a
// solid run, bits 5-7 the dictionary (64 KB << n, n taken modulo 5: 64 KB to 1 MB). Whatever
// the data, the decoder must return a status and never hand out more than the unpacked size.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "unace/decoder/lz77_decoder.h"

namespace {

struct Pieces {
  const uint8_t* data;
  size_t size;
  size_t position;
  size_t piece;
};

int32_t ReadPieces(void* context, uint8_t* buffer, uint32_t size) {
  auto* p = static_cast<Pieces*>(context);
  size_t n = p->size - p->position;
  if (n > size) n = size;
  if (n > p->piece) n = p->piece;
  if (n != 0) std::memcpy(buffer, p->data + p->position, n);
  p->position += n;
  return static_cast<int32_t>(n);
}

void DecodeOnce(ace::Lz77Decoder& decoder, const uint8_t* packed, size_t packedSize,
                uint32_t unpacked, size_t piece, bool solid) {
  Pieces pieces{packed, packedSize, 0, piece};
  decoder.BeginFile(ace::PackedSource{&ReadPieces, &pieces}, unpacked, solid);
  uint64_t total = 0;
  for (;;) {
    const uint8_t* data = nullptr;
    size_t n = 0;
    const ace::DecodeStatus status = decoder.Decode(&data, &n);
    if (status != ace::DecodeStatus::kOk) {
      if (n != 0) __builtin_trap();
      return;
    }
    if (n == 0) break;
    // Touch the chunk so that the sanitizer checks the whole range.
    volatile uint8_t sink = data[0] ^ data[n - 1];
    (void)sink;
    total += n;
    if (total > unpacked) __builtin_trap();
  }
  if (total != unpacked) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  const uint8_t flags = data[0];
  // Capped at 1 MiB so that one input cannot ask for much output and slow the search down.
  const uint32_t unpacked = (data[1] | data[2] << 8 | data[3] << 16) & 0xFFFFF;
  static const uint32_t kChunks[4] = {1u << 16, 1, 77, 1u << 20};
  static const size_t kPieces[4] = {1u << 20, 1, 3, 4096};

  ace::Lz77Decoder decoder;
  const uint32_t dictionary = (1u << 16) << ((flags >> 5) % 5);
  if (decoder.Init(dictionary, kChunks[flags & 3]) != ace::DecodeStatus::kOk) return 0;
  const size_t piece = kPieces[(flags >> 2) & 3];
  DecodeOnce(decoder, data + 4, size - 4, unpacked, piece, false);
  if (flags & 0x10) DecodeOnce(decoder, data + 4, size - 4, unpacked, piece, true);
  return 0;
}
