#include <cstring>
#include <string>

#include "plugin_fixture.h"
#include "support/test_support.h"

namespace {

using acetest::PluginTest;

TEST_F(PluginTest, OptionBitsAreSetClearedAndTestedTogether) {
  EXPECT_EQ(arOptionsAreOn(0), 1);
  EXPECT_EQ(arOptionsAreOn(0x0003), 0);
  arOptionsOn(0x0001);
  EXPECT_EQ(arOptionsAreOn(0x0001), 1);
  EXPECT_EQ(arOptionsAreOn(0x0003), 0);
  arOptionsOn(0x8002);
  EXPECT_EQ(arOptionsAreOn(0x0003), 1);
  EXPECT_EQ(arOptionsAreOn(0x8000), 1);
  arOptionsOff(0x0001);
  EXPECT_EQ(arOptionsAreOn(0x0003), 0);
  EXPECT_EQ(arOptionsAreOn(0x8002), 1);
  EXPECT_EQ(S().Options, 0x8002);
  DoneArcFile();
  EXPECT_EQ(arOptionsAreOn(0x0002), 0);
}

struct PathCase {
  std::string given;
  std::string expected;
};

TEST_F(PluginTest, InputPathGetsABackslashWhenLongerThanADriveRoot) {
  const PathCase cases[] = {
      {"C:\\", "C:\\"},
      {"C:\\DATA", "C:\\DATA\\"},
      {"C:\\DATA\\", "C:\\DATA\\\\"},
      {"ABC", "ABC"},
      {"ABCD", "ABCD\\"},
      {"", ""},
      {std::string(300, 'a'), std::string(259, 'a') + "\\"},
  };
  for (const PathCase& c : cases) {
    EXPECT_EQ(SetInputPath(c.given.c_str()), 0);
    EXPECT_EQ(S().InputPath, c.expected) << c.given;
  }
}

TEST_F(PluginTest, OutputPathEndsInOneBackslash) {
  const PathCase cases[] = {
      {"C:\\OUT", "C:\\OUT\\"},
      {"C:\\OUT\\", "C:\\OUT\\"},
      {"out", "out\\"},
      {std::string(300, 'o'), std::string(259, 'o') + "\\"},
      {std::string(259, 'o') + "\\", std::string(259, 'o') + "\\"},
  };
  for (const PathCase& c : cases) {
    SetOutputPath(c.given.c_str());
    EXPECT_EQ(S().OutputPath, c.expected) << c.given;
  }
}

TEST_F(PluginTest, RelativePathIsCopiedAsItIs) {
  SetRelativePath("SUB\\DIR\\");
  EXPECT_STREQ(S().RelativePath, "SUB\\DIR\\");
  SetRelativePath(std::string(400, 'r').c_str());
  EXPECT_EQ(S().RelativePath, std::string(260, 'r'));
}

TEST_F(PluginTest, AnEmptyPasswordSwitchesItOffButKeepsTheText) {
  SetCryptKey("pass word");
  EXPECT_EQ(S().HasCryptKey, 1);
  EXPECT_STREQ(S().CryptKey, "pass word");
  SetCryptKey("");
  EXPECT_EQ(S().HasCryptKey, 0);
  EXPECT_STREQ(S().CryptKey, "pass word");
  SetCryptKey(std::string(263, 'k').c_str());
  EXPECT_EQ(S().HasCryptKey, 1);
  EXPECT_EQ(S().CryptKey, std::string(263, 'k'));
}

TEST_F(PluginTest, DictionaryCodesBecomeKilobytes) {
  const struct {
    int32_t code;
    int32_t kb;
  } cases[] = {{3, 32},    {4, 64},    {5, 128},  {6, 256},   {7, 512},  {8, 1024},  {9, 2048},
               {10, 4096}, {11, 8192}, {2, 1024}, {12, 1024}, {0, 1024}, {-1, 1024}, {1024, 1024}};
  for (const auto& c : cases) {
    CompOptions host{};
    host.DictionaryKB = c.code;
    SetCompExtraFeatures(&host);
    EXPECT_EQ(S().Comp.DictionaryKB, c.kb) << "code " << c.code;
  }
}

TEST_F(PluginTest, LevelAndSolidOutsideTheirRangeFallBackToTheDefaults) {
  const struct {
    int32_t level, solid;
    int32_t expectedLevel, expectedSolid;
  } cases[] = {{0, 0, 0, 0}, {4, 1, 4, 1}, {2, 1, 2, 1}, {5, 2, 1, 0}, {-1, -1, 1, 0}};
  for (const auto& c : cases) {
    CompOptions host{};
    host.Level = c.level;
    host.Solid = c.solid;
    SetCompExtraFeatures(&host);
    EXPECT_EQ(S().Comp.Level, c.expectedLevel) << c.level;
    EXPECT_EQ(S().Comp.Solid, c.expectedSolid) << c.solid;
  }
}

TEST_F(PluginTest, CompOptionsCopyOnlyTheKnownFields) {
  CompOptions host;
  std::memset(&host, 0x5A, sizeof host);  // every unread byte is noise
  host.DictionaryKB = 6;
  host.Level = 3;
  host.Solid = 1;
  host.KeepPaths = 7;
  std::strcpy(host.ExtraText, "extra");
  std::strcpy(host.RelativePath, "SUB");
  std::strcpy(host.InputPath, "C:\\DATA");
  host.ExtraValue1 = 11;
  host.ExtraValue2 = 22;
  SetCompExtraFeatures(&host);

  CompOptions expected{};
  expected.FormatCode = 12;
  expected.DictionaryKB = 256;
  expected.Level = 3;
  expected.Solid = 1;
  expected.KeepPaths = 7;
  std::strcpy(expected.ExtraText, "extra");
  std::strcpy(expected.RelativePath, "SUB");
  std::strcpy(expected.InputPath, "C:\\DATA");
  expected.ExtraValue1 = 11;
  expected.ExtraValue2 = 22;
  EXPECT_EQ(std::memcmp(&S().Comp, &expected, sizeof expected), 0);
  EXPECT_EQ(S().ReadFileComments, 1);
  EXPECT_STREQ(S().RelativePath, "SUB");
  EXPECT_STREQ(S().InputPath, "C:\\DATA\\");
}

TEST_F(PluginTest, EmptyCompOptionTextsLeaveThePathsAlone) {
  SetInputPath("C:\\KEEP");
  SetRelativePath("KEEP");
  CompOptions host{};
  host.Level = 9;
  SetCompExtraFeatures(&host);
  EXPECT_STREQ(S().InputPath, "C:\\KEEP\\");
  EXPECT_STREQ(S().RelativePath, "KEEP");
  EXPECT_EQ(S().Comp.FormatCode, 12);
  EXPECT_EQ(S().Comp.DictionaryKB, 1024);
  EXPECT_EQ(S().Comp.Level, 1);
}

TEST_F(PluginTest, UnterminatedCompOptionTextsAreCutToTheirField) {
  CompOptions host;
  std::memset(&host, 'x', sizeof host);
  SetCompExtraFeatures(&host);
  EXPECT_EQ(S().Comp.ExtraText, std::string(271, 'x'));
  EXPECT_EQ(S().Comp.RelativePath, std::string(271, 'x'));
  EXPECT_EQ(S().Comp.InputPath, std::string(271, 'x'));
  EXPECT_EQ(S().RelativePath, std::string(260, 'x'));
  EXPECT_EQ(S().InputPath, std::string(259, 'x') + "\\");
}

TEST_F(PluginTest, DecompOptionsAreCopiedAndSetThePaths) {
  DecompOptions host;
  std::memset(&host, 0x33, sizeof host);
  host.RestorePaths = 1;
  std::strcpy(host.RelativePath, "REL");
  std::strcpy(host.OutputPath, "C:\\OUT");
  host.RelativePath[271] = host.OutputPath[271] = '\0';  // else cut there
  SetDecompExtraFeatures(&host);
  EXPECT_EQ(std::memcmp(&S().Decomp, &host, sizeof host), 0);
  EXPECT_EQ(S().Decomp.RestorePaths, 1);
  EXPECT_STREQ(S().OutputPath, "C:\\OUT\\");
  EXPECT_STREQ(S().RelativePath, "REL");

  DecompOptions empty{};
  SetDecompExtraFeatures(&empty);
  EXPECT_STREQ(S().OutputPath, "C:\\OUT\\");
  EXPECT_STREQ(S().RelativePath, "REL");
  EXPECT_EQ(S().Decomp.RestorePaths, 0);
}

TEST_F(PluginTest, UnterminatedDecompOptionTextsAreCutToTheirField) {
  DecompOptions host;
  std::memset(&host, 'y', sizeof host);
  SetDecompExtraFeatures(&host);
  EXPECT_EQ(S().Decomp.OutputPath, std::string(271, 'y'));
  EXPECT_EQ(S().OutputPath, std::string(259, 'y') + "\\");
  EXPECT_EQ(S().RelativePath, std::string(260, 'y'));
}

TEST_F(PluginTest, NullTextsAndRecordsLeaveAnIoErrorAndChangeNothing) {
  SetInputPath("C:\\IN");
  SetOutputPath("C:\\OUT");
  SetRelativePath("REL");
  SetCryptKey("key");
  CompOptions comp{};
  comp.DictionaryKB = 4;
  SetCompExtraFeatures(&comp);

  const struct {
    const char* name;
    void (*call)();
  } cases[] = {
      {"SetInputPath", [] { SetInputPath(nullptr); }},
      {"SetOutputPath", [] { SetOutputPath(nullptr); }},
      {"SetRelativePath", [] { SetRelativePath(nullptr); }},
      {"SetCryptKey", [] { SetCryptKey(nullptr); }},
      {"SetCompExtraFeatures", [] { SetCompExtraFeatures(nullptr); }},
      {"SetDecompExtraFeatures", [] { SetDecompExtraFeatures(nullptr); }},
      {"InitArcFileList", [] { InitArcFileList(nullptr); }},
      {"DoneArcFileList", [] { DoneArcFileList(nullptr); }},
  };
  for (const auto& c : cases) {
    SetArchiveStatus(0);
    c.call();
    EXPECT_EQ(GetArchiveStatus(), AR_IO_ERROR) << c.name;
  }
  EXPECT_STREQ(S().InputPath, "C:\\IN\\");
  EXPECT_STREQ(S().OutputPath, "C:\\OUT\\");
  EXPECT_STREQ(S().RelativePath, "REL");
  EXPECT_STREQ(S().CryptKey, "key");
  EXPECT_EQ(S().Comp.DictionaryKB, 64);
}

}  // namespace
