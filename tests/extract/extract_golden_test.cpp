// Extracting and testing the golden archives and solid runs end to end
// through the plug-in's exports and UnAceV2.Dll.
#include <gtest/gtest.h>

#include "extract/host.h"
#include "platform/win32.h"

namespace acetest {
namespace {

struct GoldenFile {
  const char* name;  // as stored
  Bytes (*contents)();
};

const GoldenFile kGoldenFiles[] = {
    {"docs\\alice29.txt", [] { return CorpusBytes("alice29.txt"); }},
    {"docs\\empty.txt", [] { return Bytes{}; }},
    {"data\\lcg8k", [] { return VectorBytes("inputs/lcg8k"); }},
    {"data\\pattern60k", [] { return VectorBytes("inputs/pattern60k"); }},
    {"short.txt", [] { return VectorBytes("inputs/short"); }},
};

uint64_t GoldenTotal() {
  uint64_t total = 0;
  for (const GoldenFile& f : kGoldenFiles) total += f.contents().size();
  return total;
}

// The file's last-write time as a local DOS stamp.
uint32_t DosStampOf(const std::filesystem::path& path) {
  WIN32_FIND_DATAA data{};
  HANDLE find = FindFirstFileA(path.string().c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return 0;
  FindClose(find);
  FILETIME local{};
  FileTimeToLocalFileTime(&data.ftLastWriteTime, &local);
  WORD date = 0, time = 0;
  FileTimeToDosDateTime(&local, &date, &time);
  return (static_cast<uint32_t>(date) << 16) | time;
}

class GoldenExtract : public ExtractFixture, public ::testing::WithParamInterface<const char*> {};

TEST_P(GoldenExtract, ExtractsEveryEntryWithPathsAndTimes) {
  Open(GoldenArchive(GetParam()));
  SetRestorePaths(1);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  for (const GoldenFile& f : kGoldenFiles) {
    const auto path = OutFile(f.name);
    ASSERT_TRUE(std::filesystem::is_regular_file(path)) << f.name;
    EXPECT_EQ(ReadFileBytes(path), f.contents()) << f.name;
    EXPECT_EQ(DosStampOf(path), kTestDosStamp) << f.name;
  }
  EXPECT_TRUE(std::filesystem::is_directory(OutFile("docs\\sub")));
  ASSERT_EQ(host_.signals.size(), 1u);
  EXPECT_EQ(host_.signals[0].code, AR_SIGNAL_EXTRACT);
  EXPECT_EQ(host_.signals[0].low, GoldenTotal());
  EXPECT_EQ(host_.signals[0].high, 0u);
  // Progress steps add up to the bytes written; every file ends at 100 percent.
  int64_t steps = 0;
  for (const Host::Progress& p : host_.progress) steps += p.step;
  EXPECT_EQ(static_cast<uint64_t>(steps), GoldenTotal());
  ASSERT_FALSE(host_.progress.empty());
  EXPECT_EQ(host_.progress.back().percent, 100);
  // The file-name callback shows "\" + stored name and the output name.
  ASSERT_FALSE(host_.fileNames.empty());
  EXPECT_EQ(host_.fileNames[0].first, "\\docs\\alice29.txt");
  EXPECT_EQ(host_.fileNames[0].second, out() + "\\docs\\alice29.txt");
  EXPECT_TRUE(FilesNamed(".$UN").empty());
}

TEST_P(GoldenExtract, TestReadsEverythingAndWritesNothing) {
  Open(GoldenArchive(GetParam()));
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  ASSERT_EQ(host_.signals.size(), 1u);
  EXPECT_EQ(host_.signals[0].code, AR_SIGNAL_TEST);
  EXPECT_EQ(host_.signals[0].low, GoldenTotal());
  EXPECT_TRUE(std::filesystem::is_empty(out()));
  EXPECT_TRUE(host_.fileNames.empty());
  int64_t steps = 0;
  for (const Host::Progress& p : host_.progress) steps += p.step;
  EXPECT_EQ(static_cast<uint64_t>(steps), GoldenTotal());
}

TEST_P(GoldenExtract, MasksSelectEntries) {
  Open(GoldenArchive(GetParam()));
  SetRestorePaths(1);
  Extract({"data\\pattern*", "short.txt"});
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_EQ(ReadFileBytes(OutFile("data\\pattern60k")), VectorBytes("inputs/pattern60k"));
  EXPECT_EQ(ReadFileBytes(OutFile("short.txt")), VectorBytes("inputs/short"));
  EXPECT_FALSE(std::filesystem::exists(OutFile("docs")));
  EXPECT_FALSE(std::filesystem::exists(OutFile("data\\lcg8k")));
  ASSERT_EQ(host_.signals.size(), 1u);
  EXPECT_EQ(host_.signals[0].low, 60000u + 23u);
}

INSTANTIATE_TEST_SUITE_P(Archives, GoldenExtract, ::testing::Values("plain.ace", "solid.ace"));

// A solid run whose entries continue each other's history: extracting only
// the last one needs all the others decoded, and only it is written.
class SolidRun : public ExtractFixture {
 protected:
  struct Member {
    const char* name;
    const char* packed;
    Bytes (*contents)();
  };
  static constexpr Member kMembers[] = {
      {"alice29.txt", "solid256-2.0.alice29.txt.bin", [] { return CorpusBytes("alice29.txt"); }},
      {"one", "solid256-2.1.one.bin", [] { return VectorBytes("inputs/one"); }},
      {"lcg8k", "solid256-2.2.lcg8k.bin", [] { return VectorBytes("inputs/lcg8k"); }},
      {"asyoulik.txt", "solid256-2.3.asyoulik.txt.bin", [] { return CorpusBytes("asyoulik.txt"); }},
      {"html", "solid256-2.4.html.bin", [] { return CorpusBytes("html"); }},
  };

  std::string Build() {
    std::vector<AceEntry> entries;
    bool first = true;
    for (const Member& m : kMembers) {
      AceEntry e;
      e.name = m.name;
      e.data = m.contents();
      e.packed = VectorBytes(std::string("packed/") + m.packed);
      e.method = 1;
      e.dictCode = 8;
      e.flags = first ? 0x0001 : 0x8001;
      first = false;
      entries.push_back(e);
    }
    return WriteArchive(AceArchive(entries, 0x8000));
  }
};

TEST_F(SolidRun, LastEntryAloneNeedsTheWholeHistoryAndEveryEntryExtracts) {
  Open(Build());
  Extract({"html"});
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_EQ(ReadFileBytes(OutFile("html")), CorpusBytes("html"));
  for (const Member& m : kMembers) {
    if (std::string(m.name) != "html") EXPECT_FALSE(std::filesystem::exists(OutFile(m.name)));
  }
  ASSERT_EQ(host_.fileNames.size(), 1u);
  Extract();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  for (const Member& m : kMembers) EXPECT_EQ(ReadFileBytes(OutFile(m.name)), m.contents());
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
}

}  // namespace
}  // namespace acetest
