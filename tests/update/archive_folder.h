// Tests that make and change archives: an input folder, the archive alone in
// its folder, a private temporary folder; nothing may be left in either.
#pragma once

#include "support/host.h"
#include "support/test_support.h"

namespace acetest {

class ArchiveFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const auto& folder : {input, arcDir, tmp}) std::filesystem::create_directories(folder);
    settings.inputPath = input.string();
  }
  void TearDown() override {
    DoneArcFile();
    SetSetSignalProc(0, nullptr);
    EXPECT_EQ(ReadTree(tmp), Tree{}) << "left in the temporary folder";
    const Tree beside = ReadTree(arcDir);
    EXPECT_LE(beside.size(), 1u) << "left beside the archive: " << beside.back().first;
  }
  // `name` with "\" or "/"; folders are made as needed.
  void WriteInput(const std::string& name, const std::string& text) const {
    std::string native = name;
    std::replace(native.begin(), native.end(), '\\', '/');
    std::filesystem::create_directories((input / native).parent_path());
    WriteFileText(input / native, text);
  }
  // Extracts into a fresh folder and reads back everything there.
  Tree Extracted() {
    const std::string out = dir / ("out" + std::to_string(++extractions_));
    EXPECT_EQ(Extract(archive, out), AR_OK);
    return std::filesystem::exists(out) ? ReadTree(out) : Tree{};
  }
  Bytes ArchiveBytes() const { return ReadFileBytes(archive); }
  static std::string Text(size_t size, uint32_t seed) {
    const Bytes text = TextBytes(size, seed);
    return std::string(text.begin(), text.end());
  }

  TempDir dir;
  std::filesystem::path input = dir.path() / "in", arcDir = dir.path() / "arc",
                        tmp = dir.path() / "tmp";
  std::string archive = (arcDir / "t.ace").string();
  Settings settings;

 private:
  ScopedTempFolder tempFolder_{tmp};
  int extractions_ = 0;
};

}  // namespace acetest
