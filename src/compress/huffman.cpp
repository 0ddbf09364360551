#include "compress/huffman.h"

namespace ace {
namespace {

// Node order of the heap: lower frequency first, then the shallower subtree.
inline bool Smaller(const uint32_t* freq, const uint8_t* depth, int n, int m) {
  return freq[n] < freq[m] || (freq[n] == freq[m] && depth[n] <= depth[m]);
}

// The heap is 1-based: heap[1] is the first node.
void SiftDown(int* heap, int heapLength, const uint32_t* freq, const uint8_t* depth, int k) {
  const int v = heap[k];
  int j = k << 1;
  while (j <= heapLength) {
    if (j < heapLength && Smaller(freq, depth, heap[j + 1], heap[j])) ++j;
    if (Smaller(freq, depth, v, heap[j])) break;
    heap[k] = heap[j];
    k = j;
    j <<= 1;
  }
  heap[k] = v;
}

}  // namespace

void AssignHuffmanCodes(const uint8_t* widths, int last, uint16_t* codes) {
  uint16_t count[kMaxHuffmanWidth + 1] = {};
  for (int i = 0; i <= last; ++i) ++count[widths[i]];
  uint16_t next[kMaxHuffmanWidth + 1] = {};
  for (int b = 1; b <= kMaxHuffmanWidth; ++b) {
    const uint16_t below = b == 1 ? 0 : count[b - 1];
    next[b] = static_cast<uint16_t>((next[b - 1] + below) << 1);
  }
  uint8_t keys[kMaxHuffmanSymbols];
  uint16_t order[kMaxHuffmanSymbols];
  for (int i = 0; i <= last; ++i) {
    keys[i] = widths[i];
    order[i] = static_cast<uint16_t>(i);
  }
  SortWidths(keys, order, last);
  // From the last position: the shortest widths first.
  for (int i = last; i >= 0; --i) {
    const int symbol = order[i];
    const int w = widths[symbol];
    codes[symbol] = w != 0 ? next[w]++ : 0;
  }
}

int BuildHuffmanCode(const uint32_t* frequencies, int symbols, int maxWidth, uint8_t* widths,
                     uint16_t* codes) {
  constexpr int kNodes = 2 * kMaxHuffmanSymbols + 1;
  constexpr int kHeapEnd = kNodes;  // the sorted tail grows downwards from here
  uint32_t freq[kNodes];
  uint16_t parent[kNodes];
  uint8_t depth[kNodes];
  uint8_t nodeWidth[kNodes];
  int heap[kNodes + 1];

  int heapLength = 0;
  int last = -1;
  for (int n = 0; n < symbols; ++n) {
    freq[n] = frequencies[n];
    widths[n] = 0;
    codes[n] = 0;
    if (frequencies[n] != 0) {
      heap[++heapLength] = n;
      last = n;
      depth[n] = 0;
    }
  }
  // A code needs two symbols; the added ones are as cheap as possible.
  while (heapLength < 2) {
    const int node = last < 2 ? ++last : 0;
    heap[++heapLength] = node;
    freq[node] = 1;
    depth[node] = 0;
  }
  for (int n = heapLength / 2; n >= 1; --n) SiftDown(heap, heapLength, freq, depth, n);

  int tail = kHeapEnd;
  int node = symbols;
  do {
    const int a = heap[1];
    heap[1] = heap[heapLength--];
    SiftDown(heap, heapLength, freq, depth, 1);
    const int b = heap[1];
    heap[--tail] = a;
    heap[--tail] = b;
    freq[node] = freq[a] + freq[b];
    depth[node] = static_cast<uint8_t>((depth[a] >= depth[b] ? depth[a] : depth[b]) + 1);
    parent[a] = parent[b] = static_cast<uint16_t>(node);
    heap[1] = node++;
    SiftDown(heap, heapLength, freq, depth, 1);
  } while (heapLength >= 2);
  heap[--tail] = heap[1];

  // Widths from the root down; a width past the limit is cut and counted.
  uint16_t count[kMaxHuffmanWidth + 1] = {};
  int overflow = 0;
  nodeWidth[heap[tail]] = 0;
  int h = tail + 1;
  for (; h < kHeapEnd; ++h) {
    const int n = heap[h];
    int bits = nodeWidth[parent[n]] + 1;
    if (bits > maxWidth) {
      bits = maxWidth;
      ++overflow;
    }
    nodeWidth[n] = static_cast<uint8_t>(bits);
    if (n > last) continue;
    ++count[bits];
  }
  if (overflow > 0) {
    // Each step moves a leaf down from a shorter width and makes room for
    // two leaves of the maximum width, keeping the code complete.
    do {
      int bits = maxWidth - 1;
      while (count[bits] == 0) --bits;
      --count[bits];
      count[bits + 1] = static_cast<uint16_t>(count[bits + 1] + 2);
      --count[maxWidth];
      overflow -= 2;
    } while (overflow > 0);
    // The least frequent leaves (the far end of the tail) take the longest widths.
    for (int bits = maxWidth; bits != 0; --bits) {
      int n = count[bits];
      while (n != 0) {
        const int m = heap[--h];
        if (m > last) continue;
        nodeWidth[m] = static_cast<uint8_t>(bits);
        --n;
      }
    }
  }
  for (int n = 0; n <= last; ++n) widths[n] = freq[n] != 0 ? nodeWidth[n] : 0;
  AssignHuffmanCodes(widths, last, codes);
  return last;
}

}  // namespace ace
