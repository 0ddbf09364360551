// The golden archives, written by an independent writer, list exactly as
// their description says, and the header writer produces their headers byte
// for byte.

#include "format/header_writer.h"
#include "support/host.h"
#include "support/json.h"
#include "support/test_support.h"

namespace acetest {
namespace {

uint32_t Hex(const Json& j) { return static_cast<uint32_t>(std::stoul(j.text, nullptr, 16)); }

TEST(GoldenArchives, ListExactlyAsDescribed) {
  const auto described = ParseJson(ReadFileText(VectorsDir() / "archives" / "listing.json"));
  ASSERT_TRUE(described.has_value());
  ASSERT_EQ(described->members.size(), 2u);
  for (const auto& [name, want] : described->members) {
    SCOPED_TRACE(name);
    const Listing l = List((VectorsDir() / "archives" / name).string());
    ASSERT_EQ(l.status, AR_OK);
    ASSERT_EQ(l.entries.size(), want["entries"].items.size());
    for (size_t k = 0; k < l.entries.size(); ++k) {
      const ArcFileEntry& e = l.entries[k];
      const Json& x = want["entries"][k];
      const bool directory = (Hex(x["attr"]) & 0x10) != 0;
      EXPECT_EQ(e.Name, directory ? x["name"].text + "\\" : x["name"].text);
      EXPECT_EQ(e.NameLength, x["name"].text.size());
      EXPECT_EQ(e.UnpackedSize.Low, x["orig_size"].u64());
      EXPECT_EQ(e.PackedSize.Low, x["pack_size"].u64());
      EXPECT_EQ(e.HeaderFlags, Hex(x["flags"]));
      EXPECT_EQ(e.Attributes, Hex(x["attr"]));
      EXPECT_EQ(e.Crc32, Hex(x["crc"]));
      EXPECT_EQ(e.Method, x["method"].u64());
      EXPECT_EQ(e.DictionaryCode, x["dict_code"].u64());
      EXPECT_EQ(e.DosTime, 0x21210000u) << x["time"].text;  // 1996-09-01 00:00:00
    }
    const ArcFileEntry& last = l.entries.back();
    EXPECT_EQ(last.HeaderPos.Low + last.HeaderSize + 4 + last.PackedSize.Low, want["size"].u64());
  }
}

// Its entries are made again from their inputs in the update tests.
TEST(GoldenArchives, HeaderWriterMakesTheirMainHeader) {
  const Bytes golden = VectorBytes("archives/plain.ace");
  uint8_t main[ace::kMainHeaderWrittenSize];
  ace::BuildMainHeader(0, "aceplug test vectors  ", main);
  EXPECT_EQ(Bytes(main, main + sizeof main), Bytes(golden.begin(), golden.begin() + 53));
}

// Stored names lose drives, UNC server and share, a leading "\\" and one
// leading "..\\"; without paths they keep only the last part (and lose a
// lone dot); they are stored in the OEM code page and cut to 271 bytes.
TEST(GoldenArchives, HeaderWriterStoresNamesByThePathRules) {
  const struct {
    std::string source;
    int32_t keepPaths;
    const char* relative;
    std::string stored;
  } cases[] = {
      {"C:\\DATA\\A.TXT", 1, "", "DATA\\A.TXT"},
      {"C:\\DATA\\A.TXT", 0, "", "A.TXT"},
      {"C:\\DATA\\A.TXT", 1, "SUB", "SUB\\DATA\\A.TXT"},
      {"\\\\SERVER\\SHARE\\DIR\\X.TXT", 1, "", "DIR\\X.TXT"},
      {"\\DATA\\A.TXT", 1, "", "DATA\\A.TXT"},
      {"..\\X.TXT", 1, "", "X.TXT"},
      {"..\\..\\X.TXT", 1, "", "..\\X.TXT"},
      {"..config", 1, "", "..config"},
      {"C:X.TXT", 1, "", "X.TXT"},
      {"DIR\\FILE.", 0, "", "FILE"},
      {"DIR\\FILE.", 1, "", "DIR\\FILE."},
      {"docs/sub/x.txt", 1, "", "docs\\sub\\x.txt"},
      {Ansi("DIR\\\xC3\x84PFEL.TXT"), 1, "", "DIR\\\x8EPFEL.TXT"},
      {"", 1, "", ""},
      {std::string(10000, 'n'), 1, "", std::string(271, 'n')},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.source.substr(0, 40));
    CompOptions options{};
    options.KeepPaths = c.keepPaths;
    SetCompExtraFeatures(&options);
    SetRelativePath(c.relative);
    ace::FileHeaderFixed h;
    uint8_t out[ace::kMaxFileHeaderSize];
    const size_t length = ace::BuildFileHeader(c.source.c_str(), h, out);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(out) + 35, h.NameSize), c.stored);
    EXPECT_EQ(length, 37u + h.NameSize);
    EXPECT_EQ(h.HeadSize, 33u + h.NameSize);
  }
  DoneArcFile();
}

}  // namespace
}  // namespace acetest
