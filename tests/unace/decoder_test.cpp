// The LZ77 decoder: every golden row to its size and CRC, in any chunks and
// pieces; wrong sizes, cuts, flips and random data end in a status, never in
// more bytes than the file has.

#include <random>

#include "support/packing.h"

namespace acetest {
namespace {

using ace::DecodeStatus;
using ace::Lz77Decoder;

Bytes Packed(const std::string& name) { return VectorBytes("packed/" + name); }

TEST(Decoder, EveryGoldenRowDecodesToItsSizeAndCrc) {
  Lz77Decoder single, solid;
  ASSERT_EQ(single.Init(), DecodeStatus::kOk);
  ASSERT_EQ(solid.Init(256 * 1024, 100000), DecodeStatus::kOk);  // slides in the run
  int rows = 0;
  for (const VectorRow& row : VectorRows()) {
    SCOPED_TRACE(row.packed);
    Bytes out;
    ASSERT_EQ(Unpack(row.runIndex < 0 ? single : solid, VectorBytes(row.packed), row.size, &out,
                     row.runIndex > 0),
              DecodeStatus::kOk);
    EXPECT_EQ(out.size(), row.size);
    EXPECT_EQ(DataCrc(out), row.crc);
    if (!row.InCorpus()) EXPECT_EQ(FirstDifference(VectorBytes(row.input), out), "");
    ++rows;
  }
  EXPECT_EQ(rows, 30);
  Bytes out;  // a later file of the run needs the history before it
  EXPECT_EQ(Unpack(single, Packed("solid256-2.3.asyoulik.txt.bin"), 125179, &out),
            DecodeStatus::kDistanceTooFar);
}

TEST(Decoder, ChunkAndPieceSizesDoNotMatter) {
  for (auto [chunk, piece] : {std::pair{1u, 0}, {7u, 1}, {1000u, 3}, {4099u, 4097}}) {
    Lz77Decoder decoder;
    ASSERT_EQ(decoder.Init(Lz77Decoder::kMaxDictionary, chunk), DecodeStatus::kOk);
    for (const char* name : {"pattern60k@256-2.bin", "prose@1024-4.bin", "zeros100k@64-1.bin"}) {
      SCOPED_TRACE(testing::Message() << name << " chunk " << chunk << " piece " << piece);
      const std::string input(name, static_cast<const char*>(std::strchr(name, '@')));
      const Bytes want = VectorBytes("inputs/" + input);
      Bytes out;
      ASSERT_EQ(Unpack(decoder, Packed(name), want.size(), &out, false, static_cast<size_t>(piece)),
                DecodeStatus::kOk);
      EXPECT_EQ(FirstDifference(want, out), "");
    }
  }
}

TEST(Decoder, WrongSizesAndCutsAreReported) {
  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(Lz77Decoder::kMaxDictionary, 8192), DecodeStatus::kOk);
  for (auto [name, size] : {std::pair{"short@64-1.bin", 23},
                            {"short@1024-4.bin", 23},
                            {"lcg8k@128-0.bin", 8192},
                            {"pattern60k@256-2.bin", 60000}}) {
    SCOPED_TRACE(name);
    const Bytes packed = Packed(name);
    Bytes out;
    // Tokens left over for a shorter file, and a block missing for a longer one.
    EXPECT_EQ(Unpack(decoder, packed, size - 1, &out), DecodeStatus::kSizeOverrun);
    EXPECT_EQ(Unpack(decoder, packed, size + 1, &out), DecodeStatus::kTruncated);
    const size_t step = packed.size() > 1000 ? 37 : 1;  // a prime: every place in a word
    for (size_t cut = 0; cut < packed.size(); cut += step) {
      ASSERT_EQ(Unpack(decoder, Bytes(packed.begin(), packed.begin() + static_cast<long>(cut)),
                       size, &out, false, 1 + cut % 5),
                DecodeStatus::kTruncated)
          << "cut at " << cut;
    }
  }
}

TEST(Decoder, DamagedAndRandomDataGiveAStatusOrTheFullSize) {
  Lz77Decoder decoder;
  ASSERT_EQ(decoder.Init(Lz77Decoder::kMaxDictionary, 8192), DecodeStatus::kOk);
  auto check = [&](const Bytes& packed, size_t size, bool continued, size_t piece) {
    Bytes out;
    const DecodeStatus status = Unpack(decoder, packed, size, &out, continued, piece);
    if (status == DecodeStatus::kOk) EXPECT_EQ(out.size(), size);
  };
  for (auto [name, size] : {std::pair{"two@64-1.bin", 2}, {"short@64-1.bin", 23}}) {
    const Bytes packed = Packed(name);
    for (size_t bit = 0; bit < packed.size() * 8; ++bit) {
      Bytes flipped = packed;
      flipped[bit / 8] ^= static_cast<uint8_t>(1u << (bit % 8));
      check(flipped, size, false, 0);
    }
  }
  std::mt19937 gen(1234);
  for (uint32_t seed = 0; seed < 300; ++seed) {
    check(RandomBytes(gen() % 3000, seed), gen() % 200000, seed % 3 == 0, 1 + seed % 64);
  }

  struct Failing {
    static int32_t Read(void*, uint8_t*, uint32_t) { return -1; }
  };
  const uint8_t* data = nullptr;
  size_t n = 0;
  decoder.BeginFile(ace::PackedSource{&Failing::Read, nullptr}, 5, false);
  EXPECT_EQ(decoder.Decode(&data, &n), DecodeStatus::kReadError);
  Lz77Decoder notReady;
  notReady.BeginFile(ace::PackedSource{}, 5, false);
  EXPECT_EQ(notReady.Decode(&data, &n), DecodeStatus::kNotReady);
}

}  // namespace
}  // namespace acetest
