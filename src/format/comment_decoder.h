// Decoding the compressed comment blocks of main and file headers: a bit
// reader with a 32-bit look-ahead register over a 4,096-byte input buffer,
// Huffman codes rebuilt from their transmitted widths, and literals mixed with
// copies found through a two-byte hash of the text decoded so far.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ace {

inline constexpr int32_t kCommentTextSize = 65536;  // output buffer (CommentText)
inline constexpr int32_t kCommentInputSize = 4096;  // input buffer, 1,024 words
inline constexpr int kCommentInputWords = kCommentInputSize / 4;
inline constexpr int kMainCodeBits = 11;  // main table: 2,048 entries
inline constexpr int kWidthCodeBits = 7;  // width-code table: 128 entries
inline constexpr int kMainSymbols = 283;  // 256 literals, 27 copy lengths
inline constexpr int kWidthSymbols = 16;

// Where the compressed bytes come from: `read` fills up to `count` bytes and
// returns how many arrived (0 at the end or on failure).
struct CommentSource {
  int32_t (*read)(void* context, uint8_t* buffer, int32_t count) = nullptr;
  void* context = nullptr;
};

// The bit reader. Word i is the i-th little-endian 32-bit word of the input
// buffer; the register holds the 32 stream bits that begin at bit `bit` of word
// `word`, taken from the most significant end.
class CommentBitReader {
 public:
  CommentBitReader(const CommentSource& source, uint8_t* input);

  // Fills the whole buffer from the source; bytes that do not arrive read as 0.
  void Start();
  uint32_t Peek(int count) const { return count <= 0 ? 0 : reg_ >> (32 - count); }
  // Advances by `count` bits (0..32); on reaching word 1,022 the last two words
  // move to the front and the rest of the buffer is read on from the source.
  void Skip(int count);
  // Moves to (word, bit) and loads the register there.
  void Seek(int word, int bit);
  uint32_t Word(int index) const;
  int word() const { return word_; }
  int bit() const { return bit_; }
  // Changes the word index alone, leaving the register as it is.
  void SetWordIndex(int word) { word_ = word; }

 private:
  void Load();
  int32_t Fill(int firstByte);

  CommentSource source_;
  uint8_t* input_;
  int word_ = 0;
  int bit_ = 0;
  uint32_t reg_ = 0;
};

// Builds the decode table of 2^maxwidth entries for symbols 0..last from their
// widths. Codes are handed out by the order of SortWidths, shortest first. When
// fewer than two widths are non-zero, the first symbol in that order gets width
// 1 in `widths`. Codes beyond a full table are never reached; fails (0) when a
// code longer than maxwidth would be needed before the table is full (such a
// code would pass the table's end).
int MakeDecodeTable(int maxwidth, int last, uint8_t* widths, uint16_t* table);

// Reads one transmitted code (symbols 0..count) and builds its table of
// 2^maxwidth entries. 1, or 0 when a table cannot be built.
int ReadCodeWidths(CommentBitReader& reader, int maxwidth, uint16_t* table, uint8_t* widths,
                   int count);

// The decoder proper over any source. `input` is kCommentInputSize bytes and
// `text` kCommentTextSize bytes; the text is NUL-terminated at `*length`
// (at most 32,767). 1 on success, 0 when the code tables cannot be built.
int DecodeCommentStream(const CommentSource& source, uint8_t* input, char* text, int32_t* length);

// The same over a block of bytes in memory, with the caller's text buffer of
// kCommentTextSize bytes.
int DecodeCommentBytes(const uint8_t* data, size_t size, char* text, int32_t* length);

// The plug-in's buffers: CommentText and the input buffer. 1, or 0 with
// status 8 and neither allocated.
int AllocCommentBuffers();
void FreeCommentBuffers();

// Decodes the block whose compressed data begins at `position` of the open
// ArchiveHandle into CommentText. The file position is restored on return.
// Needs the buffers allocated; 1 on success, 0 otherwise.
int DecodeComment(int32_t position, int32_t* length);

// The whole step used for the main comment and for file comments: allocates
// the buffers, decodes the block at `position`, and when the text is not empty
// returns it as a zero-filled heap block (std::malloc family) with 255 spare
// bytes, converted from the OEM code page unless `hostOS` is 2 or 5; releases
// the buffers. Returns the text's length in the block (0: no comment, *block
// null). An allocation failure leaves status 8.
int32_t ReadCommentBlock(int32_t position, int32_t hostOS, char** block);

}  // namespace ace
