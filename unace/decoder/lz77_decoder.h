// Decoder of the ACE LZ77 data format: Huffman-coded blocks of literals and matches.
//
// One decoder serves a whole archive. Each file's packed data is decoded after BeginFile, in
// chunks that point into the decoder's own window, so an entry of any size needs no buffer of
// its size. Files of a solid run continue the history of the files before them.
//
//   Lz77Decoder dec;
//   if (dec.Init() != DecodeStatus::kOk) ...
//   dec.BeginFile(source, unpackedSize, continueSolid);
//   for (;;) {
//     const uint8_t* data; size_t size;
//     DecodeStatus st = dec.Decode(&data, &size);
//     if (st != DecodeStatus::kOk) ...;   // the file is bad; the error stays until BeginFile
//     if (size == 0) break;               // the file is complete
//     write(data, size);                  // valid until the next call
//   }
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "unace/decoder/bit_reader.h"
#include "unace/decoder/decode_status.h"
#include "unace/decoder/decode_table.h"
#include "unace/decoder/packed_source.h"

namespace ace {

class Lz77Decoder {
 public:
  static constexpr uint32_t kMaxDictionary = 1u << 20;
  static constexpr uint32_t kDefaultChunk = 1u << 20;

  Lz77Decoder() = default;
  Lz77Decoder(const Lz77Decoder&) = delete;
  Lz77Decoder& operator=(const Lz77Decoder&) = delete;

  // Allocates the window. `history` is how far back a match may reach (the largest dictionary
  // in use); `chunk` is the most output one Decode call aims for (it may exceed it by one
  // match). Returns kNoMemory when the window cannot be allocated.
  DecodeStatus Init(uint32_t history = kMaxDictionary, uint32_t chunk = kDefaultChunk);

  // Starts the packed data of one file. With continueSolid the earlier files' output stays
  // reachable by matches; otherwise the history starts empty. The distance ring, the bit
  // reader and the block state start afresh in both cases.
  void BeginFile(const PackedSource& source, uint64_t unpackedSize, bool continueSolid);

  // Decodes the next chunk of the current file. On kOk, [*data, *data + *size) holds the new
  // bytes until the next call; a size of 0 means the file is complete and its packed data
  // was consistent. Any other result is final for this file.
  DecodeStatus Decode(const uint8_t** data, size_t* size);

  uint64_t remaining() const { return remaining_; }

 private:
  DecodeStatus ReadBlockHeader();
  void Slide();

  uint32_t history_ = 0;
  uint32_t chunk_ = 0;
  size_t windowSize_ = 0;
  std::unique_ptr<uint8_t[]> window_;
  size_t pos_ = 0;       // next output position in the window
  size_t runStart_ = 0;  // window position where the current solid run's output begins

  BitReader in_;
  uint64_t remaining_ = 0;
  uint32_t tokensLeft_ = 0;  // in the current block
  uint32_t ring_[lz77::kRingSize] = {};
  uint32_t ringIndex_ = 0;
  DecodeStatus status_ = DecodeStatus::kNotReady;
  bool ready_ = false;

  uint8_t mainWidths_[lz77::kMainSymbols] = {};
  uint8_t lengthWidths_[lz77::kLengthSymbols] = {};
  uint16_t mainTable_[1u << kTableBits] = {};
  uint16_t lengthTable_[1u << kTableBits] = {};
};

}  // namespace ace
