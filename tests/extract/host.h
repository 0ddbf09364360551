// A recording host for the extraction tests: registers every callback the
// extraction uses, records what the plug-in passes and answers as told.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "aceplug/aceplug.h"
#include "support/ace_builder.h"
#include "support/test_support.h"

namespace acetest {

struct Host {
  struct Signal {
    uint32_t low, high;
    int32_t code;
  };
  struct Progress {
    int32_t percent, step;
  };
  struct NextDisk {
    std::string directory;
    int32_t volume, volumeAgain, zero;
  };

  std::vector<Signal> signals;
  std::vector<Progress> progress;
  int progressCancelAt = -1;  // index of the progress call answered 0
  std::vector<std::pair<std::string, std::string>> fileNames;
  std::vector<std::pair<AceFindData, AceFindData>> replaces;
  int32_t replaceAnswer = 0;
  std::vector<NextDisk> nextDisks;
  std::string nextDiskDirectory;  // written into the buffer when not empty
  int32_t nextDiskAnswer = 0;
  std::vector<std::string> cryptNames;
  std::string password = "secret";
  int32_t cryptAnswer = 1;

  static Host& Of(AceContext context) { return *reinterpret_cast<Host*>(context); }

  static int32_t OnSignal(AceContext c, uint32_t low, uint32_t high, int32_t code) {
    Of(c).signals.push_back({low, high, code});
    return 0;
  }
  static int32_t OnProgress(AceContext c, int32_t percent, int32_t step) {
    Host& h = Of(c);
    h.progress.push_back({percent, step});
    return static_cast<int>(h.progress.size()) - 1 == h.progressCancelAt ? 0 : 1;
  }
  static int32_t OnFileName(AceContext c, const char* path, const char* shown) {
    Of(c).fileNames.emplace_back(path, shown);
    return 0;
  }
  static int32_t OnReplace(AceContext c, const AceFindData* existing,
                           const AceFindData* replacement) {
    Host& h = Of(c);
    h.replaces.emplace_back(*existing, *replacement);
    return h.replaceAnswer;
  }
  static int32_t OnNextDisk(AceContext c, char* directory, int32_t zero, int32_t volume,
                            int32_t volumeAgain) {
    Host& h = Of(c);
    h.nextDisks.push_back({directory, volume, volumeAgain, zero});
    if (!h.nextDiskDirectory.empty()) {
      std::strncpy(directory, h.nextDiskDirectory.c_str(), 271);
      directory[271] = '\0';
    }
    return h.nextDiskAnswer;
  }
  static int32_t OnCryptKey(AceContext c, char* buffer, const char* name, int32_t) {
    Host& h = Of(c);
    h.cryptNames.emplace_back(name);
    std::strncpy(buffer, h.password.c_str(), 271);
    buffer[271] = '\0';
    return h.cryptAnswer;
  }

  // Registers everything; call after InitArcFile (which clears the slots).
  void Register() {
    const AceContext me = reinterpret_cast<AceContext>(this);
    SetSetSignalProc(me, &OnSignal);
    SetSetProgressProc(me, &OnProgress);
    SetSetFileNameProc(me, &OnFileName);
    SetOkToReplaceProc(me, &OnReplace);
    SetGetNextDiskProc(me, &OnNextDisk);
    SetSetCryptKeyProc(me, &OnCryptKey);
  }
};

// An archive in a temporary folder with an output folder beside it.
class ExtractFixture : public ::testing::Test {
 protected:
  void TearDown() override {
    DoneArcFile();
    SetSetSignalProc(0, nullptr);
  }

  std::string WriteArchive(const Bytes& bytes, const std::string& name = "test.ace") {
    const std::string path = dir_ / name;
    WriteFileBytes(path, bytes);
    return path;
  }
  // Opens the archive, registers the host and sets the output folder.
  void Open(const std::string& archive) {
    InitArcFile(archive.c_str());
    ASSERT_EQ(GetArchiveStatus(), AR_OK) << archive;
    host_.Register();
    std::filesystem::create_directories(out());
    SetOutputPath(out().c_str());
    SetRestorePaths(0);  // the options outlive DoneArcFile
  }
  void SetRestorePaths(int32_t restore, const char* relative = "") {
    DecompOptions options{};
    options.RestorePaths = restore;
    SetDecompExtraFeatures(&options);
    SetRelativePath(relative);
  }
  // Extracts with the given masks ("*.*" when none).
  void Extract(std::vector<std::string> masks = {"*.*"}) {
    FileMaskList list;
    InitFileMaskList(&list);
    for (const std::string& m : masks) AppendFileMask(m.c_str(), &list);
    ExtractFileMaskListArc(&list);
    DoneFileMaskList(&list);
  }
  std::string out() const { return dir_ / "out"; }
  std::filesystem::path OutFile(const std::string& relative) const {
    std::string native = relative;
    for (char& c : native) {
      if (c == '\\') c = '/';
    }
    return std::filesystem::path(out()) / native;
  }
  // Files left anywhere under the temporary folder whose names hold `part`.
  std::vector<std::string> FilesNamed(const std::string& part) const {
    std::vector<std::string> found;
    for (const auto& e : std::filesystem::recursive_directory_iterator(dir_.path())) {
      if (e.path().filename().string().find(part) != std::string::npos) {
        found.push_back(e.path().string());
      }
    }
    return found;
  }

  TempDir dir_;
  Host host_;
};

inline std::string GoldenArchive(const std::string& name) {
  return (VectorsDir() / "archives" / name).string();
}
inline AceEntry Stored(const std::string& name, const std::string& text) {
  return AceEntry{.name = name, .data = AsBytes(text)};
}

}  // namespace acetest
