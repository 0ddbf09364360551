// The results the LZ77 decoder reports, and their texts.
#pragma once

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

}  // namespace ace
