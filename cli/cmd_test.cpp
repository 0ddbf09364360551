// acearc t: test every entry of an archive.
#include <cstdio>

#include "commands.h"
#include "entry_check.h"
#include "entry_format.h"
#include "interrupt.h"
#include "status_text.h"
#include "text_output.h"

namespace acearc {

namespace {

bool IsDamage(uint16_t status) { return ExitCodeForStatus(status) == kExitDamaged; }

// Names the entries that came out wrong, one line each.
void ReportDamagedEntries(HostContext& context, const std::string& archive,
                          const std::vector<EntryRecord>& entries) {
  context.progress.Message("acearc: " + archive + " is damaged; looking for the entries affected");
  std::optional<std::vector<std::string>> damaged =
      FindDamagedByExtracting(archive, entries, context.answers);
  if (!damaged) {
    ReportError(context.progress, "the damaged entries could not be told apart");
    return;
  }
  for (const std::string& line : *damaged) ReportError(context.progress, "damaged entry " + line);
}

}  // namespace

ExitCode RunTest(const std::string& archive, const CommonOptions& common) {
  ProgressDisplay progress(ChooseOutputMode(common.quiet));
  if (std::string problem = PathProblem(archive); !problem.empty()) {
    ReportError(progress, archive + ": " + problem);
    return kExitFailed;
  }
  HostContext context(Operation::Test, AnswersFrom(common), progress);
  InterruptGuard interrupts;
  std::vector<EntryRecord> entries;
  uint64_t total = 0;
  uint16_t status;
  {
    ArchiveSession session = ArchiveSession::Open(archive);
    if (ExitCode code = CheckOpened(progress, archive, session.status()); code != kExitOk) {
      return code;
    }
    // The listing first: the entries to name if the data turns out damaged,
    // and a header walk that fails is reported before any data is read.
    {
      MaskList all;
      EntryList list;
      BuildArcFileList(list.get(), all.get());
      status = GetArchiveStatus();
      entries = RecordsOf(list);
    }
    if (status != AR_OK) {
      ReportError(progress, "testing " + archive + " failed after " +
                                std::to_string(entries.size()) +
                                " entries: " + DescribeStatus(status));
      return ExitCodeForStatus(status);
    }
    for (const EntryRecord& entry : entries) total += entry.size;

    RegisterCallbacks(context);
    if (context.answers.password) SetCryptKey(context.answers.password->c_str());
    if (progress.mode() == OutputMode::Plain) progress.Message("testing " + archive);
    progress.Begin("testing", total);
    TestArc();
    status = GetArchiveStatus();
    progress.Clear();
  }
  if (IsDamage(status) && context.stop == StopReason::None) {
    ReportDamagedEntries(context, archive, entries);
  }
  ExitCode code = FinishOperation(context, "testing " + archive, status);
  if (status == AR_OK && progress.mode() != OutputMode::Quiet) {
    size_t files = 0;
    for (const EntryRecord& entry : entries) files += !entry.directory;
    PrintText("%s: OK, %s, %llu bytes tested\n", archive.c_str(),
              CountOf(files, "file", "files").c_str(), static_cast<unsigned long long>(total));
  }
  return code;
}

}  // namespace acearc
