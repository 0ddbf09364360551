// Where the decoder pulls packed bytes from, and the results it reports.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ace {

enum class DecodeStatus : int {
  kOk = 0,
  kReadError,       // the packed-data source reported a failure
  kTruncated,       // the data needs bits past the end of the packed input
  kBadCodeTable,    // a transmitted code has a width too long for its table
  kCorrupt,         // a block that cannot occur (no tokens)
  kDistanceTooFar,  // a match reaches before the start of the kept history
  kSizeOverrun,     // the tokens produce more bytes than the unpacked size
  kNoMemory,
  kNotReady,  // Init failed or was not called
};

const char* DecodeStatusText(DecodeStatus status);

// A pull source of packed bytes. `read` fills up to `size` bytes and returns how many it gave,
// 0 at the end of the packed data, or a negative value on a read failure. It may return fewer
// bytes than asked at any time (for example at the end of a volume).
struct PackedSource {
  int32_t (*read)(void* context, uint8_t* buffer, uint32_t size) = nullptr;
  void* context = nullptr;
};

// A whole packed buffer in memory as a source. The object must outlive the decoding.
struct MemoryInput {
  const uint8_t* data = nullptr;
  size_t size = 0;
  size_t position = 0;
};

PackedSource MemorySource(MemoryInput* input);

}  // namespace ace
