#include "format/width_order.h"

#include <utility>

namespace ace {
namespace {

void Range(uint8_t* k, uint16_t* x, int left, int right) {
  int l = left;
  int r = right;
  const uint8_t pivot = k[right];
  for (;;) {
    while (k[l] > pivot) ++l;
    while (k[r] < pivot) --r;
    if (l > r) break;
    std::swap(k[l], k[r]);
    std::swap(x[l], x[r]);
    ++l;
    --r;
    if (!(l < r)) break;
  }
  if (left < r) {
    if (left < r - 1) {
      Range(k, x, left, r);
    } else if (k[left] < k[r]) {
      std::swap(k[left], k[r]);
      std::swap(x[left], x[r]);
    }
  }
  if (right > l) {
    if (l < right - 1) {
      Range(k, x, l, right);
    } else if (k[l] < k[right]) {
      std::swap(k[l], k[right]);
      std::swap(x[l], x[right]);
    }
  }
}

}  // namespace

void SortWidths(uint8_t* keys, uint16_t* symbols, int last) {
  if (last <= 0) return;
  Range(keys, symbols, 0, last);
}

}  // namespace ace
