// What a hash-chain compressor's history buffer holds between the fresh files
// of one operation, worked out from the files' bytes alone.
//
// The buffer is zero-filled once per operation and never cleared. A fresh
// file fills it from offset 0 (and, when it has 2·D bytes or more, slides it
// down by D each time the position reaches 2·D), so behind a file's data lie
// the bytes of earlier files, and the search near the end of the file reads
// them. Compressors that code the files of one operation on different threads
// are seeded with these bytes (Compressor::SeedHistory) so that each file
// comes out as one compressor coding every file in turn would make it.
#pragma once

#include <cstdint>
#include <memory>

namespace ace {

// Bytes past the end of a file's data that the search may read, with room.
inline constexpr uint32_t kHistorySeedBytes = 1024;

class HistoryModel {
 public:
  // A zeroed buffer of 2·D bytes; false when out of memory.
  bool Init(uint32_t dictionaryBytes);

  // The bytes lying behind the data of a fresh file of `size` bytes, right
  // now: up to kHistorySeedBytes of them (fewer near the buffer's end).
  const uint8_t* Behind(uint32_t size, uint32_t* length) const;

  // The whole image: Size() bytes, offset 0 first.
  const uint8_t* Bytes() const { return bytes_.get(); }
  uint32_t Size() const { return 2 * dictionary_; }

  // A fresh file of `size` bytes went through the compressor.
  void AddFreshFile(const uint8_t* data, uint32_t size);
  // The same, read from the history of the compressor that coded it.
  void TakeFrom(const uint8_t* history, uint32_t size);

 private:
  std::unique_ptr<uint8_t[]> bytes_;
  uint32_t dictionary_ = 0;
};

}  // namespace ace
