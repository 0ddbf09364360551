// acearc mkdir: add an empty directory entry to an archive.
#include <cstdio>

#include "commands.h"
#include "interrupt.h"
#include "plugin_session.h"
#include "status_text.h"
#include "text_output.h"

namespace acearc {

ExitCode RunMakeDirectory(const MakeDirectoryOptions& options, const CommonOptions& common) {
  ProgressDisplay progress(ChooseOutputMode(common.quiet));
  HostContext context(Operation::MakeDirectory, AnswersFrom(common), progress);
  InterruptGuard interrupts;
  uint16_t status;
  {
    std::optional<ArchiveSession> session;
    if (ExitCode code = OpenExisting(progress, options.archive, session); code != kExitOk) {
      return code;
    }
    RegisterCallbacks(context);
    CompOptions comp{};
    comp.KeepPaths = 1;  // the name is stored as given
    SetCompExtraFeatures(&comp);
    // Names are typed and listed with "/"; inside the archive backslashes
    // separate the levels, and the plug-in refuses "/" in a directory name.
    std::string name = options.name;
    for (char& c : name) {
      if (c == '/') c = '\\';
    }
    CreateDirectoryArc(name.c_str());
    status = GetArchiveStatus();
  }
  ExitCode code = FinishOperation(
      context, "adding directory " + options.name + " to " + options.archive, status);
  if (status == AR_OK && progress.mode() != OutputMode::Quiet) {
    PrintText("%s: directory %s added\n", options.archive.c_str(), options.name.c_str());
  }
  return code;
}

}  // namespace acearc
