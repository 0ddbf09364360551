// Drives the exports as a host does: open, hand over settings, register the
// callbacks, run, close. A Host records the callbacks and answers as told;
// its address is their context value.
#pragma once

#include <thread>

#include "aceplug/aceplug.h"
#include "support/test_support.h"

namespace acetest {

struct Settings {
  int dictionaryKB = 64;  // handed over as the host's dictionary code
  int level = 1;
  int solid = 0;
  int keepPaths = 1;
  std::string inputPath;
  std::string relativePath;
};
void ApplySettings(const Settings& settings);

struct Host {
  // One line per callback: "signal TOTAL CODE", "file PATH|SHOWN", "progress
  // PERCENT STEP", "replace EXISTING|REPLACEMENT", "skip PATH", "disk DIR
  // VOLUME", "key NAME", "warning TEXT".
  std::vector<std::string> events;
  std::vector<AceFindData> existing, replacement;  // one pair per replace question

  std::vector<int32_t> replaceAnswers;  // registered when not empty; the last repeats
  int32_t progressAnswer = 1;
  int stopAtProgress = -1;     // this report (0-based) is answered 0
  bool stopOnLeftOut = false;  // answer 0 to the (100, 100) report of a deleted entry
  int32_t skipAnswer = 0;      // registered when not 0
  int32_t diskAnswer = 0;
  std::string diskFolder;  // written into the folder buffer when not empty
  int32_t keyAnswer = 1;
  std::string password = "secret";
  void (*beforeExport)() = nullptr;  // runs right before the export is called

  // Calls that came on a thread other than the one that made this host.
  int offThread = 0;
  std::thread::id thread = std::this_thread::get_id();

  // Registers every procedure; a host does this after opening the archive.
  void Register();
  // The events that begin with `kind`, without it ("file", "progress", ...).
  std::vector<std::string> Of(const std::string& kind) const;
};

// The changing operations, each on its own open archive (CreateArcFile for
// Create); the status they leave.
uint16_t Create(const std::string& archive, const std::vector<std::string>& names,
                const Settings& settings, Host* host = nullptr);
uint16_t Add(const std::string& archive, const std::vector<std::string>& names,
             const Settings& settings, Host* host = nullptr);
uint16_t Delete(const std::string& archive, const std::vector<std::string>& masks,
                const Settings& settings, Host* host = nullptr);
uint16_t MakeDir(const std::string& archive, const std::string& name, const Settings& settings,
                 Host* host = nullptr);

struct Listing {
  uint16_t status = 0;
  std::vector<ArcFileEntry> entries;  // copies, without links and comment pointers
  std::vector<std::string> comments;
  std::vector<std::string> names() const;
};
// BuildArcFileList with `masks` on the archive opened last.
Listing ListOpen(const std::vector<std::string>& masks = {"*.*"});
// Opens `archive`, lists it and closes it again.
Listing List(const std::string& archive, const std::vector<std::string>& masks = {"*.*"});

uint16_t TestArchive(const std::string& archive, Host* host = nullptr);
uint16_t Extract(const std::string& archive, const std::string& outDir,
                 const std::vector<std::string>& masks = {"*.*"}, int32_t restorePaths = 1,
                 Host* host = nullptr, const std::string& relativePath = "");

// A FileMaskList built with AppendFileMask, released when it goes.
class Masks {
 public:
  explicit Masks(const std::vector<std::string>& masks);
  ~Masks();
  Masks(const Masks&) = delete;
  Masks& operator=(const Masks&) = delete;
  FileMaskList* get() { return &list_; }

 private:
  FileMaskList list_{};
};

}  // namespace acetest
