// Driving the plug-in's exports the way a host does, for the tests of
// creating and changing archives.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "support/test_support.h"

namespace updtest {

// The dictionary code a host puts into CompOptions for a size in KB.
int HostDictionaryCode(int kb);

struct Settings {
  int dictionaryKB = 64;
  int level = 1;
  int solid = 0;
  int keepPaths = 1;
  std::string inputPath;
  std::string relativePath;
};

void ApplySettings(const Settings& st);

// Records what the plug-in tells the host and answers its questions. It is
// its own callbacks' context value, so no test state hides in globals.
struct Recorder {
  enum class Kind { FileName, Signal, Progress, Replace, Skip };
  struct Event {
    Kind kind;
    std::string path, shown;  // FileName; Skip: path; Replace: both records' names
    int64_t a = 0, b = 0;     // Signal: total, code; Progress: percent, step
  };
  std::vector<Event> events;
  std::vector<AceFindData> existing, replacement;  // one pair per replace question

  // The replace procedure is registered only when this holds answers; they
  // are given in turn and the last one repeats.
  std::vector<int32_t> replaceAnswers;
  // Answer 0 to the (100, 100) progress report that a delete gives for each
  // entry it leaves out.
  bool stopOnLeftOut = false;
  // The answer to every other progress report.
  int32_t progressAnswer = 1;
  // The skip procedure is registered with this answer when it is not 0.
  int32_t skipAnswer = 0;
  // Runs last in Register(), right before the export is called (the fault
  // sweep arms its failure point here, after the archive was opened).
  void (*beforeExport)() = nullptr;

  // Registers the procedures; the host does this after opening the archive.
  void Register();
  std::vector<Event> Of(Kind kind) const;
  // The file-name reports after the first signal with `code`, that is those
  // of the compression that follows the unpacking in a solid rebuild.
  std::vector<Event> FileNamesAfterSignal(int32_t code) const;
};

// Creates `archive` from `names` (relative to settings.inputPath) and returns the status.
uint16_t Create(const std::string& archive, const std::vector<std::string>& names,
                const Settings& st, void (*registerCallbacks)() = nullptr);

// The changing operations on an existing archive, each opened, run and closed
// as a host does; the status they leave.
uint16_t Add(const std::string& archive, const std::vector<std::string>& names, const Settings& st,
             Recorder* recorder = nullptr, FileMaskList* leftList = nullptr);
uint16_t Delete(const std::string& archive, const std::vector<std::string>& masks,
                const Settings& st, Recorder* recorder = nullptr);
uint16_t MakeDir(const std::string& archive, const std::string& name, const Settings& st,
                 Recorder* recorder = nullptr);

struct Listed {
  std::string name;
  uint64_t packed, unpacked;
  uint32_t attributes, crc, method, flags, dictionaryCode, dosTime;
  uint32_t headerType;
  uint64_t headerPos;
  uint32_t headerSize;  // HEAD_SIZE: the header takes 4 bytes more
};

std::vector<Listed> List(const std::string& archive, uint16_t* status = nullptr);
// The names of the listed entries, in archive order.
std::vector<std::string> Names(const std::vector<Listed>& entries);
uint16_t TestArchive(const std::string& archive);
uint16_t ExtractAll(const std::string& archive, const std::string& outDir);

// Backslashes turned into slashes, to compare stored names with disk paths.
std::string Slashes(std::string s);

// Text that compresses, different for each seed.
std::string SampleText(size_t size, unsigned seed = 0);

// The names in a folder, sorted.
std::vector<std::string> FolderNames(const std::filesystem::path& dir);

// The bytes of an archive from `from` up to `to`.
acetest::Bytes Slice(const acetest::Bytes& bytes, uint64_t from, uint64_t to);
// Header and data of a listed entry.
acetest::Bytes EntryBytes(const acetest::Bytes& archive, const Listed& entry);

// A local time as a DOS stamp, and a local DOS stamp as a FILETIME in UTC.
uint32_t DosStamp(std::time_t t);
AceFileTime UtcFileTimeOfDosStamp(uint32_t stamp);
AceFileTime FileTimeOf(std::time_t t);

using acetest::ScopedTempFolder;

// The base of the tests that change archives: an input folder, the archive
// alone in a folder of its own, and a private temporary folder. After every
// test neither folder may hold anything the plug-in left behind.
class ArchiveChangeTest : public ::testing::Test {
 protected:
  ArchiveChangeTest();
  void SetUp() override;
  void TearDown() override;

  // The archive's folder holds the archive alone and the temporary folder
  // is empty: no temporary archive, backup or working directory is left.
  void ExpectNothingLeftOver() const;
  void WriteInput(const std::string& name, const std::string& text) const;
  void WriteArchive(const acetest::Bytes& bytes) const;
  acetest::Bytes ArchiveBytes() const { return acetest::ReadFileBytes(archive); }
  // Extracts into a fresh folder below the test's folder and checks that
  // the files named (archive name, expected bytes) came back as given, and
  // no other file.
  void ExpectExtracts(const std::vector<std::pair<std::string, std::string>>& files);

  acetest::TempDir dir;
  std::filesystem::path input, arcDir, tmp;
  std::string archive;
  Settings settings;

 private:
  std::optional<ScopedTempFolder> tempFolder_;
  int extractRuns_ = 0;
};

}  // namespace updtest
