#include "compress/compress_support.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "compress/huffman.h"

namespace acetest {
namespace {

struct BitReader {
  const Bytes& bytes;
  uint64_t position = 0;  // in bits
  bool overrun = false;

  uint32_t Bit() {
    const uint64_t word = position / 32;
    if (word * 4 + 4 > bytes.size()) {
      overrun = true;
      return 0;
    }
    const uint32_t v = uint32_t(bytes[word * 4]) | uint32_t(bytes[word * 4 + 1]) << 8 |
                       uint32_t(bytes[word * 4 + 2]) << 16 | uint32_t(bytes[word * 4 + 3]) << 24;
    const uint32_t bit = (v >> (31 - position % 32)) & 1;
    ++position;
    return bit;
  }
  uint32_t Bits(uint32_t n) {
    uint32_t v = 0;
    for (uint32_t i = 0; i < n; ++i) v = (v << 1) | Bit();
    return v;
  }
};

struct Code {
  std::vector<std::vector<int>> byWidth;  // [width][code] -> symbol or -1
  int maxWidth = 0;

  void Build(const std::vector<uint8_t>& widths) {
    std::vector<uint16_t> codes(widths.size());
    ace::AssignHuffmanCodes(widths.data(), static_cast<int>(widths.size()) - 1, codes.data());
    maxWidth = 0;
    for (uint8_t w : widths) maxWidth = std::max<int>(maxWidth, w);
    byWidth.assign(static_cast<size_t>(maxWidth) + 1, {});
    for (int w = 1; w <= maxWidth; ++w) byWidth[w].assign(size_t{1} << w, -1);
    for (size_t s = 0; s < widths.size(); ++s) {
      if (widths[s] != 0) byWidth[widths[s]][codes[s]] = static_cast<int>(s);
    }
  }
  int Decode(BitReader& in) const {
    uint32_t code = 0;
    for (int w = 1; w <= maxWidth; ++w) {
      code = (code << 1) | in.Bit();
      const int s = byWidth[w][code];
      if (s >= 0) return s;
    }
    return -1;
  }
};

// One code's width list: last index, lower width, modulus, width-tree widths, deltas.
bool ReadWidths(BitReader& in, std::vector<uint8_t>& widths, std::vector<uint8_t>* deltas,
                std::string& error) {
  const uint32_t last = in.Bits(9);
  const uint32_t lower = in.Bits(4);
  const uint32_t modulus = in.Bits(4);
  if (lower != 0 || modulus != 12) {
    error = "unexpected lower width or modulus";
    return false;
  }
  std::vector<uint8_t> treeWidths(13);
  for (auto& w : treeWidths) w = static_cast<uint8_t>(in.Bits(3));
  Code tree;
  tree.Build(treeWidths);
  widths.assign(last + 1, 0);
  uint32_t previous = 0;
  for (uint32_t i = 0; i <= last; ++i) {
    const int delta = tree.Decode(in);
    if (delta < 0 || delta >= 12) {
      error = "bad width delta";
      return false;
    }
    if (deltas) deltas->push_back(static_cast<uint8_t>(delta));
    previous = (previous + static_cast<uint32_t>(delta)) % 12;
    widths[i] = static_cast<uint8_t>(previous);
  }
  return true;
}

}  // namespace

ReadResult ReadPacked(const Bytes& packed, size_t unpackedSize, const Bytes& history) {
  ReadResult r;
  BitReader in{packed};
  Bytes all = history;
  uint32_t ring[4] = {0, 0, 0, 0};
  uint32_t index = 0;
  while (all.size() - history.size() < unpackedSize) {
    ReadBlock block;
    if (!ReadWidths(in, block.mainWidths, &block.mainDeltas, r.error)) return r;
    if (!ReadWidths(in, block.lengthWidths, nullptr, r.error)) return r;
    Code main, lengths;
    main.Build(block.mainWidths);
    lengths.Build(block.lengthWidths);
    const uint32_t count = in.Bits(15);
    for (uint32_t t = 0; t < count; ++t) {
      ReadToken token;
      const int s = main.Decode(in);
      if (s < 0) {
        r.error = "bad main code";
        return r;
      }
      token.mainSymbol = static_cast<uint32_t>(s);
      if (s < 256) {
        all.push_back(static_cast<uint8_t>(s));
      } else {
        uint32_t d = 0;
        if (s >= 260) {
          const uint32_t n = static_cast<uint32_t>(s) - 260;
          d = n < 2 ? n : (1u << (n - 1)) | in.Bits(n - 1);
        }
        const int l = lengths.Decode(in);
        if (l < 0) {
          r.error = "bad length code";
          return r;
        }
        token.lengthSymbol = static_cast<uint32_t>(l);
        if (s < 260) {
          const uint32_t i = static_cast<uint32_t>(s) - 256;
          d = ring[(index - i) & 3];
          for (uint32_t j = (index - i) & 3; j != index; j = (j + 1) & 3)
            ring[j] = ring[(j + 1) & 3];
          ring[index] = d;
          token.length = token.lengthSymbol + (i <= 1 ? 2 : 3);
        } else {
          index = (index + 1) & 3;
          ring[index] = d;
          token.length = token.lengthSymbol + 2 + (d > 255) + (d > 8191);
        }
        token.distance = d + 1;
        if (token.distance > all.size()) {
          r.error = "distance before the start of the data";
          return r;
        }
        for (uint32_t k = 0; k < token.length; ++k) all.push_back(all[all.size() - token.distance]);
      }
      block.tokens.push_back(token);
    }
    if (in.overrun) {
      r.error = "read past the end of the packed data";
      return r;
    }
    r.blocks.push_back(std::move(block));
  }
  r.bitsUsed = in.position;
  r.data.assign(all.begin() + static_cast<std::ptrdiff_t>(history.size()), all.end());
  if (r.data.size() != unpackedSize) {
    r.error = "the last match runs past the end of the file";
    return r;
  }
  // The rest of the last word is zero padding, and nothing follows it.
  if (packed.size() != (r.bitsUsed + 31) / 32 * 4) {
    r.error = "packed size is not the used bits rounded up to whole words";
    return r;
  }
  while (in.position % 32 != 0) {
    if (in.Bit() != 0) {
      r.error = "padding bits are not zero";
      return r;
    }
  }
  r.ok = true;
  return r;
}

namespace {

int32_t Read(void* context, uint8_t* destination, int32_t count) {
  auto& io = *static_cast<MemoryIo*>(context);
  if (io.reads++ == io.failReadAt) return -1;
  const size_t left = io.input->size() - io.readPos;
  const size_t n = std::min({left, static_cast<size_t>(count), static_cast<size_t>(io.maxRead)});
  if (n > 0) std::memcpy(destination, io.input->data() + io.readPos, n);
  io.readPos += n;
  return static_cast<int32_t>(n);
}

int32_t Write(void* context, const uint8_t* bytes, int32_t count) {
  auto& io = *static_cast<MemoryIo*>(context);
  io.writeSizes.push_back(count);
  if (io.writes++ == io.failWriteAt) {
    if (!io.shortWrite) return -1;
    io.output.insert(io.output.end(), bytes, bytes + count / 2);
    return count / 2;
  }
  io.output.insert(io.output.end(), bytes, bytes + count);
  return count;
}

int32_t Progress(void* context, int32_t percent, int32_t step) {
  auto& io = *static_cast<MemoryIo*>(context);
  const bool abort = static_cast<int>(io.reports.size()) == io.abortAtReport;
  io.reports.push_back({percent, step});
  return abort ? 0 : 1;
}

}  // namespace

ace::CompressorIo MemoryIo::Io() {
  ace::CompressorIo io;
  io.read = &Read;
  io.readContext = this;
  io.write = &Write;
  io.writeContext = this;
  if (listen) {
    io.progress = &Progress;
    io.progressContext = this;
  }
  return io;
}

PackResult RunFile(ace::Compressor& c, MemoryIo& io, const Bytes& input, int64_t declared,
                   bool continued) {
  io.input = &input;
  io.readPos = 0;
  c.SetIo(io.Io());
  c.StartFile(static_cast<uint32_t>(declared < 0 ? static_cast<int64_t>(input.size()) : declared),
              continued);
  c.Run();
  c.Finish();
  return {io.output, c.Crc(), c.PackedSize(), c.Status(), c.Grew(), c.BytesRead()};
}

PackResult Pack(const Bytes& input, int32_t dictionaryKB, int32_t level) {
  return PackSolid({input}, dictionaryKB, level).at(0);
}

std::vector<PackResult> PackSolid(const std::vector<Bytes>& inputs, int32_t dictionaryKB,
                                  int32_t level) {
  ace::Compressor compressor;
  std::vector<PackResult> results;
  if (!compressor.Init(dictionaryKB, level)) return results;
  for (size_t i = 0; i < inputs.size(); ++i) {
    MemoryIo io;
    results.push_back(RunFile(compressor, io, inputs[i], -1, i > 0));
  }
  return results;
}

Bytes TextBytes(size_t size, uint32_t seed) {
  static const char* const kWords[] = {
      "the",   "of",     "and",   "a",      "to",     "in",     "is",      "you", "that", "it",
      "he",    "was",    "for",   "on",     "are",    "as",     "with",    "his", "they", "at",
      "be",    "this",   "have",  "from",   "or",     "one",    "had",     "by",  "word", "but",
      "not",   "what",   "all",   "were",   "we",     "when",   "your",    "can", "said", "there",
      "queen", "rabbit", "alice", "garden", "looked", "little", "thought", "door"};
  std::mt19937 gen(seed);
  Bytes out;
  out.reserve(size + 16);
  size_t line = 0;
  while (out.size() < size) {
    const char* w = kWords[gen() % (sizeof kWords / sizeof kWords[0])];
    while (*w) out.push_back(static_cast<uint8_t>(*w++));
    line += 6;
    if (gen() % 9 == 0) out.push_back(',');
    if (line > 70) {
      out.push_back('\n');
      line = 0;
    } else {
      out.push_back(' ');
    }
  }
  out.resize(size);
  return out;
}

uint32_t ChunkInput::Read(void* context, uint8_t* destination, uint32_t count) {
  auto* in = static_cast<ChunkInput*>(context);
  const size_t left = in->data->size() - in->at;
  const uint32_t n = static_cast<uint32_t>(std::min<size_t>({left, count, in->chunk}));
  std::memcpy(destination, in->data->data() + in->at, n);
  in->at += n;
  return n;
}

std::vector<ReadToken> ReadResult::Tokens() const {
  std::vector<ReadToken> all;
  for (const auto& b : blocks) all.insert(all.end(), b.tokens.begin(), b.tokens.end());
  return all;
}

}  // namespace acetest
