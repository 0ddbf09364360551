// The built plug-in exports exactly the documented functions.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

#include "platform/win32.h"
#include "support/test_support.h"

namespace {

const std::set<std::string> kExports = {
    "InitArcFile",
    "CreateArcFile",
    "DoneArcFile",
    "GetArchiveStatus",
    "SetArchiveStatus",
    "arOptionsOn",
    "arOptionsOff",
    "arOptionsAreOn",
    "SetInputPath",
    "SetRelativePath",
    "SetOutputPath",
    "SetCryptKey",
    "SetCompExtraFeatures",
    "SetDecompExtraFeatures",
    "CreateExeArc",
    "CreateArcSfx2",
    "BuildUnDamagedArc",
    "AddDamageProtXionArc",
    "StripDamageProtXionArc",
    "SetFileCommentsArc",
    "SetMainCommentArc",
    "SetSetSignalProc",
    "SetSetWarningProc",
    "SetGetNextDiskProc",
    "SetSetSfxProgressProc",
    "SetSetFileNameProc",
    "SetSkipFileProc",
    "SetSetCryptKeyProc",
    "SetSetProgressProc",
    "SetOkToReplaceProc",
    "InitArcFileList",
    "DoneArcFileList",
    "InitFileMaskList",
    "AppendFileMask",
    "DoneFileMaskList",
    "BuildArcFileList",
    "GetExtraInfoArc",
    "GetMainCommentArc",
    "TestArc",
    "ExtractFileMaskListArc",
    "CompressFileMaskListArc",
    "DeleteFileMaskListArc",
    "CreateDirectoryArc",
};

TEST(Exports, TheLibraryDefinesExactlyTheDocumentedFunctions) {
  ASSERT_EQ(kExports.size(), 43u);
#ifdef _WIN32
  // By their plain names, as a host asks; that nothing else is exported is
  // checked on the export table by scripts/test-windows.sh.
  HMODULE module = LoadLibraryA(acetest::PluginPath().string().c_str());
  ASSERT_NE(module, nullptr);
  for (const std::string& name : kExports)
    EXPECT_NE(GetProcAddress(module, name.c_str()), nullptr) << "missing " << name;
  FreeLibrary(module);
#else
  const std::string library = acetest::PluginPath().string();
  const std::string command = "nm -D --defined-only '" + library + "' 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::set<std::string> functions;
  std::set<std::string> others;
  char line[1024];
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    char type = 0;
    char name[900] = {};
    // "<address> <type> <name>"
    if (std::sscanf(line, "%*s %c %899s", &type, name) != 2) continue;
    std::string symbol = name;
    symbol = symbol.substr(0, symbol.find('@'));  // drop a version tag
    (type == 'T' ? functions : others).insert(symbol);
  }
  ASSERT_EQ(pclose(pipe), 0) << command;

  for (const std::string& name : kExports)
    EXPECT_EQ(functions.count(name), 1u) << "missing " << name;
  for (const std::string& name : functions) EXPECT_EQ(kExports.count(name), 1u) << "extra " << name;
  EXPECT_TRUE(others.empty()) << "unexpected symbol " << *others.begin();
#endif
}

}  // namespace
