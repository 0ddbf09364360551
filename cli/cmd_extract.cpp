// acearc x / e: extract entries with or without their directories.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "commands.h"
#include "damage_check.h"
#include "entry_check.h"
#include "entry_format.h"
#include "entry_select.h"
#include "file_access.h"
#include "interrupt.h"
#include "local_time.h"
#include "status_text.h"
#include "text_output.h"

namespace acearc {

namespace fs = std::filesystem;

namespace {

// The entry's DOS stamp read back as the plug-in reads its files' stamps, so
// that a folder keeps the time of its files.
bool SetModificationTime(const fs::path& path, uint32_t dosTime) {
  return SetModifiedTime(path, TimeOfDosStamp(dosTime));
}

}  // namespace

ExitCode RunExtract(const ExtractOptions& options, const CommonOptions& common) {
  ProgressDisplay progress(ChooseOutputMode(common.quiet));
  for (const std::string& path : {options.archive, options.outputDir}) {
    if (std::string problem = PathProblem(path); !problem.empty()) {
      ReportError(progress, path + ": " + problem);
      return kExitFailed;
    }
  }
  std::string output = options.outputDir;
  if (output.back() != '/') output += '/';

  HostContext context(Operation::Extract, AnswersFrom(common), progress);
  InterruptGuard interrupts;
  std::vector<EntryRecord> entries;
  std::vector<fs::path> flatFolders;  // made for directory entries by `e`; removed again
  std::vector<Damage> damage;         // what the listing shows against the file
  // Damage outweighs what it causes: a nameless entry refused, an entry left out.
  auto exitFor = [&](ExitCode code) {
    return !damage.empty() && code <= kExitFailed ? kExitDamaged : code;
  };
  uint16_t status;
  {
    std::optional<ArchiveSession> session;
    std::vector<EntryRecord> all;
    if (ExitCode code = OpenAndList(progress, options.archive, "extracting " + options.archive,
                                    session, all, &damage);
        code != kExitOk) {
      return code;
    }
    for (const Damage& d : damage) progress.Message("acearc: warning: " + d.Line());
    std::vector<bool> chosen =
        ChooseEntries(context, options.archive, all, options.masks, options.excludes, &entries);
    if (entries.empty()) return exitFor(context.warnings > 0 ? kExitWarning : kExitOk);
    MaskList masks;
    if (std::string why = SelectInPlugin(all, chosen, masks); !why.empty()) {
      ReportError(progress, "extracting " + options.archive + " failed: " + why);
      return kExitFailed;
    }
    std::error_code ec;
    fs::create_directories(options.outputDir, ec);
    if (ec) {
      ReportError(progress, "cannot create " + options.outputDir + ": " + ec.message());
      return kExitFailed;
    }
    uint64_t total = 0;
    for (const EntryRecord& entry : entries) {
      total += entry.size;
      fs::path flat = OutputPathOf(options.outputDir, entry.stored, false);
      if (entry.directory && !options.restorePaths && !fs::exists(flat, ec))
        flatFolders.push_back(flat);
    }

    RegisterCallbacks(context);
    DecompOptions decomp{};
    decomp.RestorePaths = options.restorePaths ? 1 : 0;
    SetDecompExtraFeatures(&decomp);
    SetOutputPath(output.c_str());
    if (context.answers.password) SetCryptKey(context.answers.password->c_str());
    progress.Begin("extracting", total);
    ExtractFileMaskListArc(masks.get());
    status = GetArchiveStatus();
    progress.Clear();
  }
  // The plug-in left out entries whose names cannot be written safely and
  // named each in a warning; the others are extracted, so this is a warning.
  if (status == AR_BAD_DIR_NAME && context.warnings > 0) status = AR_OK;

  // Without paths a directory entry is no more than a name; the library still
  // makes a folder of that name, which the host takes away again.
  for (const fs::path& folder : flatFolders) {
    std::error_code ec;
    if (fs::is_directory(folder, ec) && fs::is_empty(folder, ec)) fs::remove(folder, ec);
  }
  // Empty directories have no file to make them; the host makes them (not
  // those the plug-in left out), and then gives every folder its time, as
  // nothing more is made inside it.
  if (status == AR_OK && options.restorePaths) {
    for (const EntryRecord& entry : entries) {
      std::error_code ec;
      if (entry.directory && MayMakeFolder(options.outputDir, entry.stored))
        fs::create_directories(OutputPathOf(options.outputDir, entry.stored, true), ec);
    }
    for (const EntryRecord& entry : entries) {
      if (!entry.directory || !MayMakeFolder(options.outputDir, entry.stored)) continue;
      fs::path folder = OutputPathOf(options.outputDir, entry.stored, true);
      if (!SetModificationTime(folder, entry.dosTime)) {
        Warn(context,
             "could not set the time of " + PathText(folder) + ": " + std::strerror(errno));
      }
    }
  }
  if (ExitCodeForStatus(status) == kExitDamaged && context.stop == StopReason::None) {
    std::vector<std::string> damaged = FindMismatches(
        options.outputDir, entries, options.restorePaths, context.keptExisting, &context.processed);
    if (damaged.empty() && damage.empty()) {
      ReportError(progress, "the damaged entries could not be told apart");
    }
    for (const std::string& line : damaged) ReportError(progress, "damaged entry " + line);
  }
  ExitCode code = FinishOperation(context, "extracting " + options.archive, status);
  if (status == AR_OK && progress.mode() != OutputMode::Quiet) {
    size_t files = 0;
    for (const EntryRecord& entry : entries) {
      files += !entry.directory && context.processed.count(entry.name) &&
               !context.keptExisting.count(entry.name);
    }
    PrintText("%s: %s extracted to %s\n", options.archive.c_str(),
              CountOf(files, "file", "files").c_str(), options.outputDir.c_str());
  }
  return exitFor(code);
}

}  // namespace acearc
