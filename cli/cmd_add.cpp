// acearc a: create an archive, or add to an existing one.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>

#include "commands.h"
#include "empty_folders.h"
#include "entry_format.h"
#include "file_access.h"
#include "file_scan.h"
#include "interrupt.h"
#include "plugin_session.h"
#include "status_text.h"
#include "text_output.h"

namespace acearc {

namespace fs = std::filesystem;

namespace {

// The option record takes a code: 32 KB << (code - 3).
int32_t DictionaryCode(unsigned kb) {
  int32_t code = 3;
  for (unsigned size = 32; size < kb; size <<= 1) ++code;
  return code;
}

template <size_t N>
void CopyField(char (&field)[N], const std::string& text) {
  size_t n = std::min(text.size(), N - 1);
  std::memcpy(field, text.data(), n);
  field[n] = '\0';
}

// "docs/old/" becomes "docs\old"; "" when it is fine, else why not.
std::string NormalizePrefix(std::string& prefix) {
  for (char& c : prefix) {
    if (c == '/') c = '\\';
  }
  while (!prefix.empty() && prefix.back() == '\\') prefix.pop_back();
  while (!prefix.empty() && prefix.front() == '\\') prefix.erase(0, 1);
  size_t start = 0;
  while (start <= prefix.size()) {
    size_t end = prefix.find('\\', start);
    if (end == std::string::npos) end = prefix.size();
    std::string part = prefix.substr(start, end - start);
    if (part.empty() || part == "." || part == "..")
      return "empty, \".\" and \"..\" parts are not allowed";
    if (part.find(':') != std::string::npos) return "\":\" is not allowed";
    start = end + 1;
  }
  if (prefix.size() > 200) return "longer than 200 characters";
  return {};
}

// The name an item gets in the archive, as the listing gives it back.
std::string StoredName(const ScanItem& item, const std::string& prefix, bool keepPaths) {
  std::string name = item.name;
  if (!keepPaths) name = PathText(fs::path(name).filename());
  for (char& c : name) {
    if (c == '/') c = '\\';
  }
  return prefix.empty() ? name : prefix + "\\" + name;
}

// Reads the archive back: every added name must be there as it was meant
// (a character that the archive's code page lacks changes it), and the
// summary is printed unless quiet.
void CheckAndSummarize(HostContext& context, const std::string& archive, const ScanResult& scan,
                       const std::string& prefix, bool keepPaths, bool quiet) {
  ArchiveSession session = ArchiveSession::Open(archive);
  if (session.status() != AR_OK) return;
  MaskList all;
  EntryList list;
  BuildArcFileList(list.get(), all.get());
  if (GetArchiveStatus() != AR_OK) return;
  std::set<std::string> stored;
  for (const ArcFileEntry* e : list.entries()) {
    std::string name = e->Name;
    if (!name.empty() && name.back() == '\\') name.pop_back();
    stored.insert(name);
  }
  for (const ScanItem& item : scan.items) {
    std::string name = StoredName(item, prefix, keepPaths);
    std::string diskPath = DisplayPath((scan.base + item.name).c_str());
    if (!stored.count(name) && !context.skippedFiles.count(diskPath)) {
      Warn(context, DisplayName(name.c_str()) +
                        " is stored under another name: the archive's code page lacks some of "
                        "its characters");
    }
  }
  ArcInfo info{};
  if (quiet || !ReadSummary(info)) return;
  uint64_t size = ToUInt64(info.UnpackedTotal);
  uint64_t packed = ToUInt64(info.PackedTotal);
  PrintText("%s: %s, %llu bytes packed to %llu bytes (%u%%)%s\n", archive.c_str(),
            CountOf(info.FileCount, "file", "files").c_str(), static_cast<unsigned long long>(size),
            static_cast<unsigned long long>(packed), RatioPercent(packed, size),
            info.Solid ? ", solid" : "");
}

}  // namespace

ExitCode RunAdd(const AddOptions& options, const CommonOptions& common) {
  ProgressDisplay progress(ChooseOutputMode(common.quiet));
  if (std::string problem = PathProblem(options.archive); !problem.empty()) {
    ReportError(progress, options.archive + ": " + problem);
    return kExitFailed;
  }
  std::string prefix = options.prefix;
  if (!prefix.empty()) {
    if (std::string problem = NormalizePrefix(prefix); !problem.empty()) {
      ReportError(progress, "bad --prefix " + options.prefix + ": " + problem);
      return kExitUsage;
    }
  }
  std::error_code ec;
  bool exists = fs::exists(options.archive, ec);
  if (exists && fs::is_directory(options.archive, ec)) {
    ReportError(progress, options.archive + " is a directory");
    return kExitFailed;
  }
  fs::path folder = fs::path(options.archive).parent_path();
  if (!folder.empty() && !fs::is_directory(folder, ec)) {
    ReportError(progress, "cannot create " + options.archive + ": the folder " + PathText(folder) +
                              " does not exist");
    return kExitFailed;
  }

  HostContext context(Operation::Add, AnswersFrom(common), progress);
  ScanOptions scanOptions;
  scanOptions.recurse = options.recurse;
  scanOptions.keepPaths = !options.excludePaths;
  scanOptions.exclude = options.archive;
  scanOptions.prefix = prefix;
  scanOptions.excludes = options.excludes;
  ScanResult scan = ScanPaths(options.paths, scanOptions);
  for (const std::string& warning : scan.warnings) Warn(context, warning);
  if (scan.base.size() > 259) {
    ReportError(progress,
                "the folder " + scan.base + " is too long a path (259 characters at most)");
    return kExitFailed;
  }
  // Refused before the archive is touched: the plug-in would refuse it too,
  // since an archive of 2 GiB or more cannot be read back.
  for (const ScanItem& item : scan.items) {
    if (!item.isDirectory && item.size > INT32_MAX) {
      ReportError(progress, DisplayPath((scan.base + item.name).c_str()) + " (" +
                                FormatBytes(item.size) + ") cannot be added: " +
                                DescribeStatus(AR_SIZE_ERROR,
                                               "an ACE archive holds at most 2 GiB - 1 bytes"));
      return kExitFailed;
    }
  }
  if (scan.items.empty()) {
    ReportError(progress, "nothing to add to " + options.archive + " " +
                              DescribeStatus(AR_NOTHING_TO_ADD, "").substr(1));
    return kExitFailed;
  }

  // The plug-in takes its thread count from the environment of its process.
  if (options.threads > 0) SetEnvironmentValue("ACEPLUG_THREADS", std::to_string(options.threads));

  // A solid archive comes back without its directory entries.
  const std::vector<std::string> folders =
      exists ? ListDirectoryNames(options.archive) : std::vector<std::string>{};
  InterruptGuard interrupts;
  uint16_t status;
  {
    ArchiveSession session =
        exists ? ArchiveSession::Open(options.archive) : ArchiveSession::Create(options.archive);
    if (ExitCode code = CheckOpened(progress, options.archive, session.status()); code != kExitOk) {
      return code;
    }
    RegisterCallbacks(context);
    CompOptions comp{};
    comp.DictionaryKB = DictionaryCode(options.dictionaryKB);
    comp.Level = options.level;
    comp.Solid = options.solid ? 1 : 0;
    comp.KeepPaths = options.excludePaths ? 0 : 1;
    CopyField(comp.RelativePath, prefix);
    CopyField(comp.InputPath, scan.base);
    SetCompExtraFeatures(&comp);
    SetRelativePath(prefix.c_str());
    if (!scan.base.empty()) SetInputPath(scan.base.c_str());

    MaskList files;
    for (const ScanItem& item : scan.items) {
      if (!files.Append(item.name)) {
        ReportError(progress,
                    "cannot list " + item.name + ": " + DescribeStatus(GetArchiveStatus()));
        return ExitCodeForStatus(GetArchiveStatus());
      }
    }
    progress.Begin("adding", scan.totalBytes);
    CompressFileMaskListArc(files.get());
    status = GetArchiveStatus();
    progress.Clear();
  }
  if (status == AR_OK) {
    PutBackEmptyFolders(context, options.archive, folders, {});
    CheckAndSummarize(context, options.archive, scan, prefix, !options.excludePaths,
                      progress.mode() == OutputMode::Quiet);
  }
  std::string what = (exists ? "adding to " : "creating ") + options.archive;
  // The file that would have pushed the archive past its size limit.
  if (status == AR_SIZE_ERROR && !context.currentOutput.empty())
    what = "adding " + context.currentOutput + " to " + options.archive;
  return FinishOperation(context, what, status);
}

}  // namespace acearc
