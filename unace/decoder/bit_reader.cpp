#include "unace/decoder/bit_reader.h"

namespace ace {

BitReader::BitReader() : buffer_(new uint8_t[kCapacity + kPad]()) { Reset(PackedSource{}); }

void BitReader::Reset(const PackedSource& source) {
  source_ = source;
  bits = 0;
  count = 0;
  next = buffer_.get();
  end = next;
  realEnd_ = 0;
  eof_ = false;
  readFailed_ = false;
}

void BitReader::Refill() {
  uint8_t* base = buffer_.get();
  const size_t keep = static_cast<size_t>(end - next);
  realEnd_ -= next - base;
  std::memmove(base, next, keep);
  uint8_t* fill = base + keep;
  const bool hadEnded = eof_;
  while (!eof_ && static_cast<size_t>(fill - base) < kMargin) {
    if (source_.read == nullptr) {
      eof_ = true;
      break;
    }
    const auto room = static_cast<uint32_t>(kCapacity - static_cast<size_t>(fill - base));
    const int32_t got = source_.read(source_.context, fill, room);
    if (got < 0) {
      readFailed_ = true;
      eof_ = true;
    } else if (got == 0) {
      eof_ = true;
    } else {
      fill += got > static_cast<int32_t>(room) ? room : static_cast<uint32_t>(got);
    }
  }
  next = base;
  if (!eof_) {
    realEnd_ = fill - base;
    end = fill;
    return;
  }
  // The buffer start is always a word boundary of the stream, so a trailing partial word is
  // recognisable here; its bits are incomplete and count as missing.
  if (!hadEnded) realEnd_ = (fill - base) & ~static_cast<int64_t>(3);
  std::memset(fill, 0, kPad);
  end = fill + kPad;
}

}  // namespace ace
