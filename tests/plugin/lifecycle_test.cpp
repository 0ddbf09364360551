#include <cstdlib>
#include <cstring>
#include <string>

#include "plugin/callbacks.h"
#include "plugin_fixture.h"
#include "support/test_support.h"

namespace {

using acetest::PluginTest;

struct Calls {
  int signal = 0;
  int progress = 0;
  AceContext lastContext = 12345;
};
Calls g_calls;

int32_t SignalRecorder(AceContext context, uint32_t, uint32_t, int32_t) {
  ++g_calls.signal;
  g_calls.lastContext = context;
  return 0;
}
int32_t WarningRecorder(AceContext, const char*) { return 0; }
int32_t ProgressRecorder(AceContext, int32_t, int32_t) {
  ++g_calls.progress;
  return 0;
}

std::string PlainArchive() { return (acetest::VectorsDir() / "archives" / "plain.ace").string(); }

// Settings that the resets may or may not clear.
void GiveEverySetting() {
  SetSetSignalProc(7, SignalRecorder);
  SetSetWarningProc(8, WarningRecorder);
  SetSetProgressProc(9, ProgressRecorder);
  SetInputPath("C:\\IN");
  SetRelativePath("REL");
  SetOutputPath("C:\\OUT");
  SetCryptKey("secret");
  arOptionsOn(0x0005);
  CompOptions comp{};
  comp.DictionaryKB = 5;
  SetCompExtraFeatures(&comp);
}

TEST_F(PluginTest, CreateArcFileOverAnExistingFileClearsTheSettings) {
  acetest::TempDir dir;
  acetest::WriteFileText(dir / "old.ace", "not new");
  GiveEverySetting();

  CreateArcFile((dir / "old.ace").c_str());

  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_STREQ(S().ArchivePath, "");
  EXPECT_STREQ(S().InputPath, "");
  EXPECT_STREQ(S().RelativePath, "");
  EXPECT_STREQ(S().OutputPath, "");
  EXPECT_EQ(S().HasCryptKey, 0);
  EXPECT_EQ(S().Options, 0);
  EXPECT_EQ(S().IsNewArchive, 0);
  EXPECT_EQ(S().progress.proc, nullptr);
  EXPECT_EQ(S().signal.proc, SignalRecorder);
  EXPECT_EQ(S().signal.context, 0u);
  EXPECT_EQ(S().warning.proc, WarningRecorder);
  EXPECT_EQ(S().warning.context, 0u);
  EXPECT_EQ(S().MainHeaderPos, -1);
}

TEST_F(PluginTest, NewPathsAndDirectories) {
  acetest::TempDir dir;
  const std::string path = dir / "new.ace";
  SetArchiveStatus(77);
  CreateArcFile(path.c_str());
  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_STREQ(S().ArchivePath, path.c_str());
  EXPECT_EQ(S().IsNewArchive, 1);
  EXPECT_FALSE(std::filesystem::exists(path)) << "the first compression writes the file";

  DoneArcFile();
  InitArcFile(dir.str().c_str());  // a directory counts as new
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
  EXPECT_EQ(S().IsNewArchive, 1);
  EXPECT_STREQ(S().ArchivePath, "");
}

TEST_F(PluginTest, InitArcFileOpensAnArchiveAndKeepsTheHostsSettings) {
  GiveEverySetting();
  SetArchiveStatus(5);
  InitArcFile(PlainArchive().c_str());

  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_STREQ(S().ArchivePath, PlainArchive().c_str());
  EXPECT_EQ(S().IsNewArchive, 0);
  // Kept by the open reset.
  EXPECT_STREQ(S().InputPath, "C:\\IN\\");
  EXPECT_STREQ(S().RelativePath, "REL");
  EXPECT_STREQ(S().OutputPath, "C:\\OUT\\");
  EXPECT_EQ(S().Options, 0x0005);
  EXPECT_EQ(S().Comp.DictionaryKB, 128);
  // Cleared by it.
  EXPECT_EQ(S().HasCryptKey, 0);
  EXPECT_EQ(S().ReadFileComments, 0);
  EXPECT_EQ(S().progress.proc, nullptr);
}

TEST_F(PluginTest, SignalProcSurvivesInitArcFileWithContextZeroButProgressProcDoesNot) {
  SetSetSignalProc(42, SignalRecorder);
  SetSetProgressProc(43, ProgressRecorder);
  InitArcFile(PlainArchive().c_str());
  g_calls = {};

  ace::CallSignal(100, AR_SIGNAL_TEST);
  EXPECT_EQ(ace::CallProgress(50, 10), 1);

  EXPECT_EQ(g_calls.signal, 1);
  EXPECT_EQ(g_calls.lastContext, 0u);
  EXPECT_EQ(g_calls.progress, 0);
}

TEST_F(PluginTest, DoneArcFileReleasesTheCommentsAndClearsTheState) {
  InitArcFile(PlainArchive().c_str());
  SetInputPath("C:\\IN");
  arOptionsOn(1);
  ace::ReleaseCommentBuffers();  // whatever opening the archive decoded
  S().CommentText = static_cast<char*>(std::malloc(64));
  S().MainComment = static_cast<char*>(std::malloc(16));
  S().MainCommentLength = 16;
  S().HasMainComment = 1;
  SetArchiveStatus(9009);

  DoneArcFile();  // a leak here fails the sanitizer build

  EXPECT_EQ(GetArchiveStatus(), AR_OK);
  EXPECT_EQ(S().CommentText, nullptr);
  EXPECT_EQ(S().MainComment, nullptr);
  EXPECT_EQ(S().MainCommentLength, 0);
  EXPECT_EQ(S().HasMainComment, 0);
  EXPECT_STREQ(S().ArchivePath, "");
  EXPECT_STREQ(S().InputPath, "");
  EXPECT_EQ(S().Options, 0);
  EXPECT_EQ(S().ArchiveModule, nullptr);
}

TEST_F(PluginTest, InitArcFileAgainReleasesTheLastArchivesComment) {
  InitArcFile(PlainArchive().c_str());
  ace::ReleaseCommentBuffers();
  S().MainComment = static_cast<char*>(std::malloc(16));
  S().MainCommentLength = 16;
  InitArcFile(PlainArchive().c_str());
  EXPECT_EQ(S().MainComment, nullptr);
  EXPECT_EQ(S().MainCommentLength, 0);
}

TEST_F(PluginTest, NullArchivePathsLeaveAnIoErrorAndChangeNothing) {
  SetOutputPath("C:\\OUT");
  InitArcFile(PlainArchive().c_str());
  InitArcFile(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_STREQ(S().ArchivePath, PlainArchive().c_str());
  CreateArcFile(nullptr);
  EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR);
  EXPECT_STREQ(S().ArchivePath, PlainArchive().c_str());
  EXPECT_STREQ(S().OutputPath, "C:\\OUT\\");
}

TEST_F(PluginTest, ArchiveStatusCarriesSixteenBits) {
  SetArchiveStatus(9976);
  EXPECT_EQ(GetArchiveStatus(), 9976);
  SetArchiveStatus(0xFFFF);
  EXPECT_EQ(GetArchiveStatus(), 0xFFFF);
  EXPECT_EQ(S().Status, 0xFFFFu);
  S().Status = 0x12345u;
  EXPECT_EQ(GetArchiveStatus(), 0x2345);
}

TEST_F(PluginTest, StubExportsRefuseExceptTheSelfExtractorOnes) {
  struct Case {
    const char* name;
    void (*call)();
    uint16_t expected;
  };
  const Case cases[] = {
      {"CreateExeArc", CreateExeArc, 4711},
      {"CreateArcSfx2", CreateArcSfx2, 4711},
      {"BuildUnDamagedArc", BuildUnDamagedArc, AR_NOT_SUPPORTED},
      {"AddDamageProtXionArc", AddDamageProtXionArc, AR_NOT_SUPPORTED},
      {"StripDamageProtXionArc", StripDamageProtXionArc, AR_NOT_SUPPORTED},
      {"SetFileCommentsArc", SetFileCommentsArc, AR_NOT_SUPPORTED},
      {"SetMainCommentArc", SetMainCommentArc, AR_NOT_SUPPORTED},
  };
  for (const Case& c : cases) {
    SetArchiveStatus(4711);
    c.call();
    EXPECT_EQ(GetArchiveStatus(), c.expected) << c.name;
  }
}

TEST_F(PluginTest, PluginModuleIsRecordedAtLoadAndSurvivesTheResets) {
  EXPECT_NE(S().PluginModule, nullptr);
  S().ArchiveModule = S().PluginModule;
  InitArcFile(PlainArchive().c_str());
  DoneArcFile();
  EXPECT_EQ(S().ArchiveModule, nullptr);
  EXPECT_NE(S().PluginModule, nullptr);
}

}  // namespace
