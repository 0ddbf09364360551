// acearc t: test every entry of an archive.
#include <cstdio>

#include "commands.h"
#include "damage_check.h"
#include "entry_check.h"
#include "entry_format.h"
#include "interrupt.h"
#include "status_text.h"
#include "text_output.h"

namespace acearc {

namespace {

bool IsDamage(uint16_t status) { return ExitCodeForStatus(status) == kExitDamaged; }

// Names everything damaged, one line each: what the listing shows against the
// file, then what the library finds in the headers and the data, each entry
// once.
void ReportDamage(HostContext& context, const std::string& archive,
                  const std::vector<Damage>& listed) {
  context.progress.Message("acearc: " + archive + " is damaged; looking for the entries affected");
  std::vector<Damage> all = listed;
  std::optional<std::vector<Damage>> found = DescribeDamage(archive, context.answers.password);
  if (found) {
    // The header the file ends in is the last one the library finds broken.
    if (!listed.empty() && listed.back().endsInHeader && !found->empty() &&
        found->back().entry.empty()) {
      found->pop_back();
    }
    for (const Damage& d : *found) {
      bool known = false;
      for (const Damage& l : listed) known = known || (!d.entry.empty() && l.entry == d.entry);
      if (!known) all.push_back(d);
    }
  }
  if (all.empty()) ReportError(context.progress, "the damaged entries could not be told apart");
  for (const Damage& d : all) ReportError(context.progress, d.Line());
}

}  // namespace

ExitCode RunTest(const std::string& archive, const CommonOptions& common) {
  ProgressDisplay progress(ChooseOutputMode(common.quiet));
  HostContext context(Operation::Test, AnswersFrom(common), progress);
  InterruptGuard interrupts;
  std::vector<EntryRecord> entries;
  std::vector<Damage> listed;
  uint64_t total = 0;
  uint16_t status;
  {
    std::optional<ArchiveSession> session;
    if (ExitCode code = OpenExisting(progress, archive, session); code != kExitOk) return code;
    // The listing first: the entries to count, and a header walk that fails
    // ends the test before any data is read.
    status = ListOpenArchive(entries, &listed, archive);
    for (const EntryRecord& entry : entries) total += entry.size;

    if (status == AR_OK) {
      RegisterCallbacks(context);
      if (context.answers.password) SetCryptKey(context.answers.password->c_str());
      if (progress.mode() == OutputMode::Plain) progress.Message("testing " + archive);
      progress.Begin("testing", total);
      TestArc();
      status = GetArchiveStatus();
      progress.Clear();
    }
  }
  const bool damaged = IsDamage(status) || (status == AR_OK && !listed.empty());
  if (damaged && context.stop == StopReason::None) ReportDamage(context, archive, listed);
  if (status == AR_OK && damaged) {
    ReportError(progress, "testing " + archive + ": the archive is damaged");
    return kExitDamaged;
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
