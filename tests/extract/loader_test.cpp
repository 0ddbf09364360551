// Loading UnAceV2.Dll from the directory of the archive's module.
#include <gtest/gtest.h>

#include "extract/host.h"
#include "extract/unace_binding.h"
#include "platform/win32.h"
#include "plugin/state.h"

namespace acetest {
namespace {

class Loader : public ExtractFixture {
 protected:
  void SetUp() override { Open(WriteArchive(AceArchive({Stored("a.txt", "contents")}))); }
  void TearDown() override {
    if (other_ != nullptr) FreeLibrary(other_);
    ExtractFixture::TearDown();
  }
  // Makes ArchiveModule a module loaded from `path`.
  void ArchiveModuleFrom(const std::filesystem::path& path) {
    other_ = LoadLibraryA(path.string().c_str());
    ASSERT_NE(other_, nullptr) << path;
    ace::State().ArchiveModule = other_;
  }
  HMODULE other_ = nullptr;
};

TEST_F(Loader, FindsTheLibraryBesideTheModule) {
  ace::UnAceLibrary library;
  ASSERT_TRUE(ace::LoadUnAce(&library));
  EXPECT_NE(library.InitDll, nullptr);
  EXPECT_NE(library.ReadArchiveData, nullptr);
  EXPECT_NE(library.List, nullptr);
  EXPECT_NE(library.Test, nullptr);
  EXPECT_NE(library.Extract, nullptr);
  ace::UnloadUnAce(&library);
  EXPECT_EQ(library.module, nullptr);
}

TEST_F(Loader, MissingLibraryLeaves2) {
  // A module in a folder without UnAceV2.Dll.
  const std::filesystem::path copy = dir_.path() / "elsewhere" / "module.so";
  std::filesystem::create_directories(copy.parent_path());
  std::filesystem::copy_file(BinDir() / "incomplete" / "UnAceV2.Dll", copy);
  ArchiveModuleFrom(copy);
  testing::internal::CaptureStdout();
  Extract();
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
  EXPECT_EQ(printed, "");
  EXPECT_FALSE(std::filesystem::exists(OutFile("a.txt")));
  TestArc();
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
}

TEST_F(Loader, LibraryLackingAFunctionLeaves2AndSaysSo) {
  ArchiveModuleFrom(BinDir() / "incomplete" / "UnAceV2.Dll");
  testing::internal::CaptureStdout();
  TestArc();
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(GetArchiveStatus(), AR_FILE_NOT_FOUND);
  EXPECT_EQ(printed, "\nCould not find function in UnAceV2.Dll!\n\n");
  ace::UnAceLibrary library;
  testing::internal::CaptureStdout();
  EXPECT_FALSE(ace::LoadUnAce(&library));
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(library.module, nullptr);
}

}  // namespace
}  // namespace acetest
