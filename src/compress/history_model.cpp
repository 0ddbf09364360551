#include "compress/history_model.h"

#include <cstring>
#include <new>

namespace ace {

bool HistoryModel::Init(uint32_t dictionaryBytes) {
  dictionary_ = dictionaryBytes;
  bytes_.reset(new (std::nothrow) uint8_t[2 * size_t{dictionaryBytes}]());
  return bytes_ != nullptr;
}

const uint8_t* HistoryModel::Behind(uint32_t size, uint32_t* length) const {
  const uint32_t end = 2 * dictionary_;
  const uint32_t start = size < end ? size : end;
  *length = end - start < kHistorySeedBytes ? end - start : kHistorySeedBytes;
  return bytes_.get() + start;
}

void HistoryModel::AddFreshFile(const uint8_t* data, uint32_t size) {
  const uint32_t d = dictionary_;
  uint8_t* w = bytes_.get();
  if (size < 2 * d) {
    std::memcpy(w, data, size);
    return;
  }
  // The last slide happened when the position reached slides·D: the lower
  // half holds the D bytes before that point, the upper half the r bytes read
  // after it and, behind them, what the upper half held before the slide.
  const uint32_t slides = size / d;
  const uint32_t r = size - slides * d;
  const uint8_t* lower = data + size_t{slides - 1} * d;
  std::memcpy(w, lower, d);
  std::memcpy(w + d, data + size_t{slides} * d, r);
  std::memcpy(w + d + r, lower + r, d - r);
}

void HistoryModel::TakeFrom(const uint8_t* history, uint32_t size) {
  const uint32_t end = 2 * dictionary_;
  std::memcpy(bytes_.get(), history, size < end ? size : end);
}

}  // namespace ace
