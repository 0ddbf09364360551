#include "unace/decoder/decode_status.h"

namespace ace {

const char* DecodeStatusText(DecodeStatus status) {
  switch (status) {
    case DecodeStatus::kOk:
      return "ok";
    case DecodeStatus::kReadError:
      return "the packed data could not be read";
    case DecodeStatus::kTruncated:
      return "the packed data ends too early";
    case DecodeStatus::kBadCodeTable:
      return "a code table in the packed data is invalid";
    case DecodeStatus::kCorrupt:
      return "the packed data is corrupt";
    case DecodeStatus::kDistanceTooFar:
      return "a match reaches before the start of the data";
    case DecodeStatus::kSizeOverrun:
      return "the packed data holds more than the unpacked size";
    case DecodeStatus::kNoMemory:
      return "not enough memory for the decoder";
    case DecodeStatus::kNotReady:
      return "the decoder is not set up";
  }
  return "unknown decoder status";
}

}  // namespace ace
