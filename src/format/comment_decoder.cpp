#include "format/comment_decoder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "format/width_order.h"
#include "fs/file_layer.h"
#include "plugin/state.h"

namespace ace {
namespace {

// The refill point: words 1,022 and 1,023 move to the front.
constexpr int kRefillWord = kCommentInputWords - 2;
// After a main symbol, a word index of exactly 1,021 restarts at word 0 without
// a refill. Comments written by the format's own tools decode with this rule,
// so it is kept; it only touches compressed data longer than about 4 KB.
constexpr int kRestartWord = kCommentInputWords - 3;

constexpr int kMaxTextLength = 0x7FFF;  // 15 bits
constexpr int kHashSize = 511;          // sums of two unsigned bytes
// The longest copy (28 bytes) may start just below the text's end.
static_assert(kMaxTextLength + kMainSymbols - 255 < kCommentTextSize);

// The second buffer lives beside CommentText for the length of one decode.
uint8_t* g_input = nullptr;

}  // namespace

CommentBitReader::CommentBitReader(const CommentSource& source, uint8_t* input)
    : source_(source), input_(input) {}

int32_t CommentBitReader::Fill(int firstByte) {
  const int32_t want = kCommentInputSize - firstByte;
  int32_t got = 0;
  while (got < want && source_.read != nullptr) {
    const int32_t n = source_.read(source_.context, input_ + firstByte + got, want - got);
    if (n <= 0) break;
    got += std::min(n, want - got);
  }
  std::memset(input_ + firstByte + got, 0, static_cast<size_t>(want - got));
  return got;
}

void CommentBitReader::Start() {
  Fill(0);
  word_ = 0;
  bit_ = 0;
  Load();
}

uint32_t CommentBitReader::Word(int index) const {
  const uint8_t* p = input_ + 4 * index;
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

void CommentBitReader::Load() {
  reg_ = Word(word_) << bit_;
  if (bit_ != 0) reg_ |= Word(word_ + 1) >> (32 - bit_);
}

void CommentBitReader::Skip(int count) {
  count = std::clamp(count, 0, 32);
  bit_ += count;
  word_ += bit_ >> 5;
  bit_ &= 31;
  // Steps are at most 32 bits and the index never rests at 1,022, so the
  // index arrives here at 1,022 at most.
  if (word_ >= kRefillWord) {
    word_ -= kRefillWord;
    std::memmove(input_, input_ + 4 * kRefillWord, 8);
    Fill(8);
  }
  Load();
}

void CommentBitReader::Seek(int word, int bit) {
  word_ = std::clamp(word, 0, kRefillWord - 1);
  bit_ = bit & 31;
  Load();
}

int MakeDecodeTable(int maxwidth, int last, uint8_t* widths, uint16_t* table) {
  uint8_t keys[kMainSymbols];
  uint16_t symbols[kMainSymbols];
  if (last < 0 || last >= kMainSymbols) return 0;
  for (int k = 0; k <= last; ++k) {
    keys[k] = widths[k];
    symbols[k] = static_cast<uint16_t>(k);
  }
  SortWidths(keys, symbols, last);

  int used = 0;
  while (used <= last && keys[used] != 0) ++used;
  if (used < 2) {
    // A code of one symbol (or none) still spends one bit per symbol.
    widths[symbols[0]] = 1;
    if (used == 0) used = 1;
  }

  const int size = 1 << maxwidth;
  int filled = 0;
  for (int k = used - 1; k >= 0; --k) {
    if (filled >= size) return 1;
    const int width = keys[k];
    if (width > maxwidth) return 0;
    const int span = 1 << (maxwidth - width);
    if (span > size - filled) return 0;
    std::fill(table + filled, table + filled + span, symbols[k]);
    filled += span;
  }
  return 1;
}

int ReadCodeWidths(CommentBitReader& reader, int maxwidth, uint16_t* table, uint8_t* widths,
                   int count) {
  std::fill(widths, widths + count + 1, uint8_t{0});
  std::fill(table, table + (1 << maxwidth), uint16_t{0});

  int last = static_cast<int>(reader.Peek(9));
  reader.Skip(9);
  if (last > count) last = count;
  const int low = static_cast<int>(reader.Peek(4));
  reader.Skip(4);
  const int top = static_cast<int>(reader.Peek(4));
  reader.Skip(4);

  uint8_t codeWidths[kWidthSymbols] = {};
  uint16_t codeTable[1 << kWidthCodeBits] = {};
  for (int k = 0; k <= top; ++k) {
    codeWidths[k] = static_cast<uint8_t>(reader.Peek(3));
    reader.Skip(3);
  }
  if (!MakeDecodeTable(kWidthCodeBits, top, codeWidths, codeTable)) return 0;

  int j = 0;
  while (j <= last) {
    const int c = codeTable[reader.Peek(kWidthCodeBits)];
    reader.Skip(codeWidths[c]);
    if (c < top) {
      widths[j++] = static_cast<uint8_t>(c);
    } else {
      int run = static_cast<int>(reader.Peek(4)) + 4;
      reader.Skip(4);
      while (run-- > 0 && j <= last) widths[j++] = 0;
    }
  }

  // Widths travel as differences modulo top; zero stays "unused".
  if (top != 0 && last != 0) {
    for (j = 1; j <= last; ++j) widths[j] = static_cast<uint8_t>((widths[j - 1] + widths[j]) % top);
  }
  for (j = 0; j <= last; ++j) {
    if (widths[j] != 0) widths[j] = static_cast<uint8_t>(widths[j] + low);
  }
  return MakeDecodeTable(maxwidth, last, widths, table);
}

int DecodeCommentStream(const CommentSource& source, uint8_t* input, char* text, int32_t* length) {
  CommentBitReader reader(source, input);
  reader.Start();
  const int32_t total = static_cast<int32_t>(reader.Word(0) >> 17);
  *length = total;
  reader.Seek(0, 15);

  uint16_t hash[kHashSize] = {};
  uint16_t table[1 << kMainCodeBits];
  uint8_t widths[kMainSymbols];
  if (!ReadCodeWidths(reader, kMainCodeBits, table, widths, kMainSymbols - 1)) return 0;

  // The text grows to at most 32,767 + 27 bytes, well inside the buffer.
  auto* out = reinterpret_cast<uint8_t*>(text);
  int32_t p = 0;
  int32_t m = 0;
  do {
    if (p > 1) {
      const int h = out[p - 2] + out[p - 1];
      m = hash[h];
      hash[h] = static_cast<uint16_t>(p);
    }
    const int s = table[reader.Peek(kMainCodeBits)];
    reader.Skip(widths[s]);
    if (reader.word() == kRestartWord) reader.SetWordIndex(0);
    if (s > 255) {
      for (int k = s - 254; k > 0; --k) out[p++] = out[m++];
    } else {
      out[p++] = static_cast<uint8_t>(s);
    }
  } while (p < total);
  out[total] = 0;
  return 1;
}

namespace {

struct MemorySource {
  const uint8_t* data;
  size_t size;
  size_t at;
};

int32_t ReadMemory(void* context, uint8_t* buffer, int32_t count) {
  auto* src = static_cast<MemorySource*>(context);
  const size_t n = std::min(static_cast<size_t>(count), src->size - src->at);
  if (n != 0) std::memcpy(buffer, src->data + src->at, n);
  src->at += n;
  return static_cast<int32_t>(n);
}

int32_t ReadArchive(void* context, uint8_t* buffer, int32_t count) {
  const int32_t n = FileRead(buffer, count, static_cast<FileHandle>(context));
  return n < 0 ? 0 : n;
}

}  // namespace

int DecodeCommentBytes(const uint8_t* data, size_t size, char* text, int32_t* length) {
  uint8_t input[kCommentInputSize];
  MemorySource memory{data, data == nullptr ? 0 : size, 0};
  CommentSource source;
  source.read = ReadMemory;
  source.context = &memory;
  return DecodeCommentStream(source, input, text, length);
}

int AllocCommentBuffers() {
  PluginState& s = State();
  if (s.CommentText == nullptr)
    s.CommentText = static_cast<char*>(std::calloc(kCommentTextSize, 1));
  if (g_input == nullptr) g_input = static_cast<uint8_t*>(std::calloc(kCommentInputSize, 1));
  if (s.CommentText == nullptr || g_input == nullptr) {
    FreeCommentBuffers();
    SetStatus(AR_NO_MEMORY);
    return 0;
  }
  return 1;
}

void FreeCommentBuffers() {
  PluginState& s = State();
  std::free(s.CommentText);
  s.CommentText = nullptr;
  std::free(g_input);
  g_input = nullptr;
}

int DecodeComment(int32_t position, int32_t* length) {
  PluginState& s = State();
  *length = 0;
  if (s.CommentText == nullptr || g_input == nullptr) return 0;
  const FileHandle file = s.ArchiveHandle;
  const int32_t saved = FileTell(file);
  int result = 0;
  if (FileSeek(file, position, FILE_BEGIN) >= 0) {
    CommentSource source;
    source.read = ReadArchive;
    source.context = file;
    result = DecodeCommentStream(source, g_input, s.CommentText, length);
  }
  if (saved >= 0) FileSeek(file, saved, FILE_BEGIN);
  if (!result) *length = 0;
  return result;
}

int32_t ReadCommentBlock(int32_t position, int32_t hostOS, char** block) {
  *block = nullptr;
  if (!AllocCommentBuffers()) return 0;
  int32_t length = 0;
  if (!DecodeComment(position, &length) || length <= 0) {
    FreeCommentBuffers();
    return 0;
  }
  const char* text = State().CommentText;
  int32_t size = length;
  char* converted = nullptr;
  if (hostOS != 2 && hostOS != 5) {
    // Each OEM byte becomes at most three bytes of UTF-8.
    const auto capacity = static_cast<DWORD>(3 * length + 1);
    converted = static_cast<char*>(std::calloc(capacity, 1));
    if (converted == nullptr) {
      FreeCommentBuffers();
      SetStatus(AR_NO_MEMORY);
      return 0;
    }
    // The conversion stops at a NUL, which the text may hold: each piece is
    // converted on its own so that the whole decoded length survives.
    size = 0;
    for (int32_t at = 0; at <= length;) {
      OemToCharA(text + at, converted + size, capacity - static_cast<DWORD>(size));
      size += static_cast<int32_t>(std::strlen(converted + size)) + 1;
      at += static_cast<int32_t>(std::strlen(text + at)) + 1;
    }
    size -= 1;  // the terminator after the last piece
    text = converted;
  }
  if (size > 0) {
    *block = static_cast<char*>(std::calloc(static_cast<size_t>(size) + 255, 1));
    if (*block == nullptr) {
      SetStatus(AR_NO_MEMORY);
      size = 0;
    } else {
      std::memcpy(*block, text, static_cast<size_t>(size));
    }
  }
  std::free(converted);
  FreeCommentBuffers();
  return size;
}

}  // namespace ace
