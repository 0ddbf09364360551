// acearc d: delete the entries that masks select.
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "commands.h"
#include "empty_folders.h"
#include "entry_check.h"
#include "entry_format.h"
#include "entry_select.h"
#include "interrupt.h"
#include "plugin_session.h"
#include "status_text.h"
#include "text_output.h"

namespace acearc {

ExitCode RunDelete(const DeleteOptions& options, const CommonOptions& common) {
  ProgressDisplay progress(ChooseOutputMode(common.quiet));
  HostContext context(Operation::Delete, AnswersFrom(common), progress);
  InterruptGuard interrupts;
  uint16_t status;
  size_t selected = 0;
  std::vector<std::string> folders;
  std::set<std::string> deleted;
  {
    std::optional<ArchiveSession> session;
    std::vector<EntryRecord> all;
    if (ExitCode code = OpenAndList(progress, options.archive, "deleting from " + options.archive,
                                    session, all);
        code != kExitOk) {
      return code;
    }
    std::vector<EntryRecord> entries;
    std::vector<bool> chosen =
        ChooseEntries(context, options.archive, all, options.masks, options.excludes, &entries);
    selected = entries.size();
    // A solid archive comes back without its directory entries.
    folders = DirectoryNames(all);
    for (const std::string& name : DirectoryNames(entries)) deleted.insert(name);
    if (selected == 0) {
      Warn(context, "nothing deleted from " + options.archive);
      return kExitWarning;
    }
    MaskList masks;
    if (std::string why = SelectInPlugin(all, chosen, masks); !why.empty()) {
      ReportError(progress, "deleting from " + options.archive + " failed: " + why);
      return kExitFailed;
    }
    RegisterCallbacks(context);
    progress.Begin("deleting", 0);
    DeleteFileMaskListArc(masks.get());
    status = GetArchiveStatus();
    progress.Clear();
  }
  if (status == AR_OK) PutBackEmptyFolders(context, options.archive, folders, deleted);
  ExitCode code = FinishOperation(context, "deleting from " + options.archive, status);
  if (status == AR_OK && progress.mode() != OutputMode::Quiet) {
    PrintText("%s: %s deleted\n", options.archive.c_str(),
              CountOf(selected, "entry", "entries").c_str());
  }
  return code;
}

}  // namespace acearc
