// The decoding loop.
//
// How it works: each block starts with its two codes' widths, from which the
// decode tables are built; then every token is one look-up of a main symbol.
// A literal is stored; a repeat or a new distance updates the ring and is
// followed by one look-up of a length; a match is a copy from earlier in the
// window. The window holds several histories and slides down by one memmove
// when the next chunk would not fit.
//
// Why it is fast: the tables are as wide as the longest code, so each symbol
// is a single look-up. The bit reader lives in locals (a 64-bit register
// refilled 32 bits at a time) and is stored back only around block headers
// and input refills. The loop runs as many tokens as can be shown to fit the
// input and the chunk without a bounds check per token, and copies move 16 or
// 8 bytes at a time into slack behind the window, a memset for a run of one
// byte.
#include "unace/decoder/lz77_decoder.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace ace {
namespace {

// Room behind the window for a match that starts just before the chunk end and for the copy
// loops, which move 16 bytes at a time and may write past the match end.
constexpr size_t kSlack = 1024;
constexpr uint32_t kMaxSetting = 1u << 24;

// Copies a match `kStep` bytes at a time, which a distance of at least kStep
// allows; writes up to kStep - 1 bytes past the match's end.
template <size_t kStep>
inline void CopyInSteps(uint8_t* out, const uint8_t* src, uint32_t length) {
  uint8_t* const end = out + length;
  do {
    std::memcpy(out, src, kStep);
    out += kStep;
    src += kStep;
  } while (out < end);
}

}  // namespace

DecodeStatus Lz77Decoder::Init(uint32_t history, uint32_t chunk) {
  ready_ = false;
  status_ = DecodeStatus::kNotReady;
  history_ = std::clamp<uint32_t>(history, 1, kMaxSetting);
  chunk_ = std::clamp<uint32_t>(chunk, 1, kMaxSetting);
  // A window of several histories makes the sliding (one memmove of the history) rare.
  windowSize_ = std::max<size_t>(size_t{4} * history_, size_t{history_} + size_t{2} * chunk_);
  window_.reset(new (std::nothrow) uint8_t[windowSize_ + kSlack]());
  if (!window_) return DecodeStatus::kNoMemory;
  pos_ = 0;
  runStart_ = 0;
  remaining_ = 0;
  tokensLeft_ = 0;
  ready_ = true;
  status_ = DecodeStatus::kOk;
  return status_;
}

void Lz77Decoder::BeginFile(const PackedSource& source, uint64_t unpackedSize, bool continueSolid) {
  if (!ready_) {
    status_ = DecodeStatus::kNotReady;
    return;
  }
  in_.Reset(source);
  remaining_ = unpackedSize;
  tokensLeft_ = 0;
  std::fill(std::begin(ring_), std::end(ring_), 0u);
  ringIndex_ = 0;
  status_ = DecodeStatus::kOk;
  if (!continueSolid) runStart_ = pos_;
}

void Lz77Decoder::Slide() {
  const size_t keep = std::min<size_t>(pos_, history_);
  const size_t drop = pos_ - keep;
  std::memmove(window_.get(), window_.get() + drop, keep);
  runStart_ = runStart_ > drop ? runStart_ - drop : 0;
  pos_ = keep;
}

DecodeStatus Lz77Decoder::ReadBlockHeader() {
  auto failure = [this](DecodeStatus fallback) {
    if (in_.ReadFailed()) return DecodeStatus::kReadError;
    if (in_.Overrun()) return DecodeStatus::kTruncated;
    return fallback;
  };
  if (!ReadCodeWidths(in_, lz77::kMainSymbols - 1, mainWidths_, mainTable_) ||
      !ReadCodeWidths(in_, lz77::kLengthSymbols - 1, lengthWidths_, lengthTable_)) {
    return failure(DecodeStatus::kBadCodeTable);
  }
  tokensLeft_ = in_.Read(15);
  DecodeStatus status = failure(DecodeStatus::kOk);
  if (status == DecodeStatus::kOk && tokensLeft_ == 0) status = DecodeStatus::kCorrupt;
  return status;
}

DecodeStatus Lz77Decoder::Decode(const uint8_t** data, size_t* size) {
  *size = 0;
  *data = nullptr;
  if (status_ != DecodeStatus::kOk) return status_;
  if (remaining_ == 0) {
    *data = window_.get() + pos_;
    return status_;
  }
  const size_t want = remaining_ < chunk_ ? static_cast<size_t>(remaining_) : chunk_;
  if (pos_ + want > windowSize_) Slide();

  uint8_t* const base = window_.get();
  uint8_t* const start = base + pos_;
  uint8_t* const soft = start + want;  // the loop stops once this is reached
  // A match may pass the chunk end, but not the file's end.
  uint8_t* const hard = start + std::min<uint64_t>(remaining_, want + lz77::kMaxMatchLength);
  const uint8_t* const runStart = base + runStart_;
  const size_t history = history_;
  const uint16_t* const mainTable = mainTable_;
  const uint16_t* const lengthTable = lengthTable_;

  uint8_t* out = start;
  uint64_t bits = in_.bits;
  uint32_t count = in_.count;
  const uint8_t* next = in_.next;
  const uint8_t* inEnd = in_.end;
  uint32_t tokens = tokensLeft_;
  // Element by element: a copy loop here measured a few per cent slower.
  uint32_t ring[lz77::kRingSize] = {ring_[0], ring_[1], ring_[2], ring_[3]};
  uint32_t ri = ringIndex_;
  DecodeStatus err = DecodeStatus::kOk;

  auto saveReader = [&] {
    in_.bits = bits;
    in_.count = count;
    in_.next = next;
  };
  auto loadReader = [&] {
    bits = in_.bits;
    count = in_.count;
    next = in_.next;
    inEnd = in_.end;
  };
  // At least 33 bits afterwards; the input check per token guarantees the word is there.
  auto fill = [&] {
    if (count <= 32) {
      bits |= static_cast<uint64_t>(LoadWordLE(next)) << (32 - count);
      next += 4;
      count += 32;
    }
  };
  auto take = [&](const uint16_t* table) {
    const uint16_t entry = table[bits >> (64 - kTableBits)];
    const uint32_t width = EntryWidth(entry);
    bits <<= width;
    count -= width;
    return EntrySymbol(entry);
  };

  while (out < soft && err == DecodeStatus::kOk) {
    if (tokens == 0) {
      saveReader();
      err = ReadBlockHeader();
      loadReader();
      if (err != DecodeStatus::kOk) break;
      tokens = tokensLeft_;
    }
    // A token reads at most two words (one for its main code and distance bits, one for its
    // length code) and writes at most kMaxMatchLength bytes: this many tokens need no check of the
    // input, the block or the chunk end (each still starts before `soft`).
    if (inEnd - next < 8) {
      saveReader();
      in_.Refill();
      loadReader();
    }
    uint32_t run = std::min<uint32_t>(
        {tokens, static_cast<uint32_t>(std::min<ptrdiff_t>(inEnd - next, 1 << 20) / 8),
         static_cast<uint32_t>(soft - out - 1) / lz77::kMaxMatchLength + 1});
    for (; run != 0; --run) {
      --tokens;
      fill();
      const uint32_t symbol = take(mainTable);
      if (symbol < lz77::kLiteralSymbols) {
        *out++ = static_cast<uint8_t>(symbol);
        continue;
      }

      uint32_t d;
      uint32_t length;
      if (symbol >= lz77::kFirstDistanceSymbol) {
        const uint32_t n = symbol - lz77::kFirstDistanceSymbol;
        if (n < 2) {
          d = n;
        } else {
          const uint32_t extra = n - 1;  // at most 20 bits, still in the register
          d = (1u << extra) | static_cast<uint32_t>(bits >> (64 - extra));
          bits <<= extra;
          count -= extra;
        }
        lz77::PushDistance(ring, ri, d);
        fill();
        length = take(lengthTable) + lz77::NewDistanceMinLength(d);
      } else {
        const uint32_t i = symbol - lz77::kFirstRepeatSymbol;
        d = lz77::RepeatDistance(ring, ri, i);
        fill();
        length = take(lengthTable) + lz77::RepeatMinLength(i);
      }

      const size_t distance = size_t{d} + 1;
      if (distance > static_cast<size_t>(out - runStart) || distance > history) {
        err = DecodeStatus::kDistanceTooFar;
        break;
      }
      if (length > static_cast<size_t>(hard - out)) {
        err = DecodeStatus::kSizeOverrun;
        break;
      }
      const uint8_t* src = out - distance;
      if (distance >= 16) {
        CopyInSteps<16>(out, src, length);
      } else if (distance == 1) {
        std::memset(out, *src, length);
      } else if (distance >= 8) {
        CopyInSteps<8>(out, src, length);
      } else {
        for (uint32_t k = 0; k < length; ++k) out[k] = src[k];
      }
      out += length;
    }
  }

  saveReader();
  tokensLeft_ = tokens;
  std::copy(std::begin(ring), std::end(ring), ring_);
  ringIndex_ = ri;
  const auto produced = static_cast<size_t>(out - start);
  pos_ += produced;
  remaining_ -= produced;

  // Whatever went wrong after the input ran out is reported as the missing input.
  if (in_.ReadFailed()) {
    err = DecodeStatus::kReadError;
  } else if (in_.Overrun()) {
    err = DecodeStatus::kTruncated;
  } else if (err == DecodeStatus::kOk && remaining_ == 0 && tokensLeft_ != 0) {
    err = DecodeStatus::kSizeOverrun;
  }
  if (err != DecodeStatus::kOk) {
    status_ = err;
    return err;
  }
  *data = start;
  *size = produced;
  return DecodeStatus::kOk;
}

}  // namespace ace
