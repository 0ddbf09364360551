// The plug-in's state as a host sees it through the exports: opening,
// resets, status, options, stubs, fields, and the option records' effects.
#include "plugin/state.h"

#include "compress/compressor.h"
#include "support/host.h"
#include "support/test_support.h"

namespace acetest {
namespace {

namespace fs = std::filesystem;

std::string Golden() { return (VectorsDir() / "archives" / "plain.ace").string(); }

TEST(PluginState, CreatingNeverOverwritesAndTheStatusWordHolds16Bits) {
  TempDir dir;
  WriteFileText(dir / "old.ace", "not new");
  arOptionsOn(0x0005);
  CreateArcFile((dir / "old.ace").c_str());  // an existing file is never created over
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_EQ(ReadFileText(dir / "old.ace"), "not new");
  EXPECT_EQ(arOptionsAreOn(0x0001), 0) << "the full reset";
  SetArchiveStatus(77);
  CreateArcFile((dir / "new.ace").c_str());
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_FALSE(fs::exists(dir / "new.ace")) << "the first compression writes it";
  InitArcFile(dir.str().c_str());
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
  InitArcFile(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  SetArchiveStatus(0xFFFF);
  EXPECT_EQ(GetArchiveStatus(), 0xFFFF);
  ace::SetStatus(0x12345);
  EXPECT_EQ(GetArchiveStatus(), 0x2345) << "16 bits";
  for (void (*stub)() : {BuildUnDamagedArc, AddDamageProtXionArc, StripDamageProtXionArc,
                         SetFileCommentsArc, SetMainCommentArc, CreateExeArc, CreateArcSfx2}) {
    SetArchiveStatus(4711);
    stub();
    EXPECT_EQ(GetArchiveStatus(),
              stub == CreateExeArc || stub == CreateArcSfx2 ? 4711 : AR_NOT_SUPPORTED);
  }
  DoneArcFile();
}

TEST(PluginState, OptionBitsAreTestedAllTogether) {
  EXPECT_EQ(arOptionsAreOn(0), 1);
  arOptionsOn(0x8001);
  EXPECT_EQ(arOptionsAreOn(0x0001), 1);
  EXPECT_EQ(arOptionsAreOn(0x0003), 0);
  arOptionsOn(0x0002);
  arOptionsOff(0x0001);
  EXPECT_EQ(arOptionsAreOn(0x8002), 1);
  EXPECT_EQ(arOptionsAreOn(0x0001), 0);
  InitArcFile(Golden().c_str());
  EXPECT_EQ(arOptionsAreOn(0x8002), 1) << "the open reset keeps them";
  DoneArcFile();
  EXPECT_EQ(arOptionsAreOn(0x0002), 0);
}

std::vector<std::string> g_calls;

// Opening and closing clear every procedure but those of the signal and the
// warning, which lose their context values.
TEST(PluginState, OnlyTheSignalProcedureOutlivesTheResets) {
  for (bool close : {false, true}) {
    g_calls.clear();
    InitArcFile(Golden().c_str());
    SetSetSignalProc(7, [](AceContext c, uint32_t, uint32_t, int32_t code) {
      g_calls.push_back("signal " + std::to_string(c) + " " + std::to_string(code));
      return 0;
    });
    SetSetProgressProc(8, [](AceContext, int32_t, int32_t) {
      g_calls.push_back("progress");
      return 1;
    });
    if (close) DoneArcFile();
    InitArcFile(Golden().c_str());
    TestArc();
    EXPECT_EQ(g_calls, std::vector<std::string>{"signal 0 11"}) << close;
  }
  SetSetSignalProc(0, nullptr);
  DoneArcFile();
}

TEST(PluginState, TextsAreCutToTheirFields) {
  const std::string huge(10000, 'z');
  const struct {
    std::string given, input, output;
  } cases[] = {
      {"C:\\", "C:\\", "C:\\"},  // a drive root keeps its form
      {"ABC", "ABC", "ABC\\"},
      {"C:\\DATA", "C:\\DATA\\", "C:\\DATA\\"},
      {"C:\\DATA\\", "C:\\DATA\\\\", "C:\\DATA\\"},
      {huge, std::string(259, 'z') + "\\", std::string(259, 'z') + "\\"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SetInputPath(c.given.c_str()), 0);
    SetOutputPath(c.given.c_str());
    EXPECT_EQ(ace::State().InputPath, c.input) << c.given.substr(0, 20);
    EXPECT_EQ(ace::State().OutputPath, c.output) << c.given.substr(0, 20);
  }
  CompOptions unterminated;
  std::memset(&unterminated, 'x', sizeof unterminated);
  SetCompExtraFeatures(&unterminated);
  EXPECT_EQ(ace::State().RelativePath, std::string(260, 'x'));
  EXPECT_EQ(ace::State().InputPath, std::string(259, 'x') + "\\");
  SetArchiveStatus(0);
  SetCompExtraFeatures(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR) << "a null record changes nothing";
  DoneArcFile();
}

// The host's dictionary code becomes a size (32 KB << (code - 3)); a code,
// level or solid flag out of range gives the default (1024 KB, level 1, not
// solid): the archive is the same as one made with those.
TEST(PluginState, CompressionOptionsShowInTheArchive) {
  TempDir dir;
  WriteFileBytes(dir / "a.txt", TextBytes(20000, 1));
  auto make = [&](int32_t code, int32_t level, int32_t solid) {
    fs::remove(dir / "t.ace");
    CreateArcFile((dir / "t.ace").c_str());
    CompOptions options{};
    options.DictionaryKB = code;
    options.Level = level;
    options.Solid = solid;
    options.KeepPaths = 1;  // InputPath is used with paths only
    std::strcpy(options.InputPath, dir.str().c_str());
    SetCompExtraFeatures(&options);
    CompressFileMaskListArc(Masks({"a.txt"}).get());
    EXPECT_EQ(GetArchiveStatus(), AR_OK);
    DoneArcFile();
    const Listing l = List(dir / "t.ace");
    EXPECT_EQ(l.entries.size(), 1u);
    return std::pair{l.entries.at(0).DictionaryCode, ReadFileBytes(dir / "t.ace")};
  };
  const auto reference = make(8, 1, 0);
  EXPECT_EQ(reference.first, 10u);
  // Closing forgets the last file's CRC and counts.
  EXPECT_EQ(ace::CompressorCrc(), 0u);
  EXPECT_EQ(ace::CompressorPackedSize(), 0u);
  EXPECT_EQ(ace::PluginCompressor().BytesRead(), 0u);
  EXPECT_EQ(make(5, 2, 0).first, 7u);
  EXPECT_EQ(make(6, 4, 0).first, 8u);
  EXPECT_NE(make(8, 1, 1).second, reference.second);
  EXPECT_EQ(make(12, 9, 2).second, reference.second);
  EXPECT_EQ(make(2, -1, -1).second, reference.second);
}

}  // namespace
}  // namespace acetest
