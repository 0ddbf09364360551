// Bit reader over the packed stream: little-endian 32-bit words, each read from its most
// significant bit down. The valid bits sit at the top of a 64-bit register that is refilled by
// whole words. The fields are open so that the token loop can keep them in registers; the member
// functions are the checked path used for block headers.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>

#include "unace/decoder/packed_source.h"

namespace ace {

inline uint32_t LoadWordLE(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  if constexpr (std::endian::native == std::endian::big) v = __builtin_bswap32(v);
  return v;
}

class BitReader {
 public:
  // After Refill the buffer always holds at least this many bytes past `next`.
  static constexpr size_t kMargin = 16;

  BitReader();
  BitReader(const BitReader&) = delete;
  BitReader& operator=(const BitReader&) = delete;

  void Reset(const PackedSource& source);

  // Compacts the buffer and tops it up from the source. At the end of the source the buffer is
  // extended with zero bytes, so reading never stops; Overrun() tells whether any of those
  // invented bits were consumed.
  void Refill();

  // Makes at least 33 bits available.
  void Fill() {
    if (count <= 32) {
      if (end - next < 4) Refill();
      bits |= static_cast<uint64_t>(LoadWordLE(next)) << (32 - count);
      next += 4;
      count += 32;
    }
  }
  // n from 1 to 32.
  uint32_t Peek(uint32_t n) {
    Fill();
    return static_cast<uint32_t>(bits >> (64 - n));
  }
  // n up to the bits made available by the last Peek or Fill.
  void Skip(uint32_t n) {
    bits <<= n;
    count -= n;
  }
  uint32_t Read(uint32_t n) {
    uint32_t v = Peek(n);
    Skip(n);
    return v;
  }

  // True when more bits were consumed than the source delivered in whole words.
  bool Overrun() const {
    int64_t consumed = static_cast<int64_t>(next - buffer_.get()) * 8 - count;
    return consumed > realEnd_ * 8;
  }
  bool ReadFailed() const { return readFailed_; }

  uint64_t bits = 0;   // valid bits at the top
  uint32_t count = 0;  // number of valid bits, 0 to 64
  const uint8_t* next = nullptr;
  const uint8_t* end = nullptr;

 private:
  static constexpr size_t kCapacity = 64 * 1024;
  static constexpr size_t kPad = 32;  // zero bytes added at the end of the source, > kMargin

  PackedSource source_;
  std::unique_ptr<uint8_t[]> buffer_;
  // Offset from the buffer start of the end of the real whole words; may go negative once the
  // reader has moved into the zero padding and the buffer has been compacted.
  int64_t realEnd_ = 0;
  bool eof_ = false;
  bool readFailed_ = false;
};

}  // namespace ace
