#include "commands.h"
#include "prompt.h"
#include "status_text.h"

namespace acearc {

Answers AnswersFrom(const CommonOptions& common) {
  Answers answers;
  answers.yesToAll = common.yes;
  answers.neverOverwrite = common.never;
  if (common.hasPassword) answers.password = common.password;
  answers.canAsk = CanAskQuestions();
  return answers;
}

void ReportError(ProgressDisplay& progress, const std::string& text) {
  progress.Message("acearc: " + text);
}

ExitCode CheckOpened(ProgressDisplay& progress, const std::string& archive, uint16_t status) {
  if (status == AR_OK) return kExitOk;
  if (status == AR_FILE_NOT_FOUND) {
    ReportError(progress, archive + ": " + DescribeStatus(status, "archive not found"));
    return kExitFailed;
  }
  ReportError(progress, "cannot open " + archive + ": " + DescribeStatus(status));
  return ExitCodeForStatus(status);
}

ExitCode OpenExisting(ProgressDisplay& progress, const std::string& archive,
                      std::optional<ArchiveSession>& session) {
  if (std::string problem = PathProblem(archive); !problem.empty()) {
    ReportError(progress, archive + ": " + problem);
    return kExitFailed;
  }
  session.emplace(ArchiveSession::Open(archive));
  return CheckOpened(progress, archive, session->status());
}

ExitCode OpenAndList(ProgressDisplay& progress, const std::string& archive, const std::string& what,
                     std::optional<ArchiveSession>& session, std::vector<EntryRecord>& entries,
                     std::vector<Damage>* damage) {
  if (ExitCode code = OpenExisting(progress, archive, session); code != kExitOk) return code;
  if (uint16_t status = ListOpenArchive(entries, damage, archive); status != AR_OK) {
    ReportError(progress, what + " failed: " + DescribeStatus(status));
    return ExitCodeForStatus(status);
  }
  return kExitOk;
}

ExitCode FinishOperation(HostContext& context, const std::string& what, uint16_t status) {
  if (status == AR_OK) return context.warnings > 0 ? kExitWarning : kExitOk;
  if (status == AR_ABORTED) {
    switch (context.stop) {
      case StopReason::PasswordNeeded:
        ReportError(context.progress, what + " stopped: " + context.stopSubject +
                                          " needs a password and there is no terminal to ask "
                                          "for it (give it with -p) " +
                                          DescribeStatus(status, "").substr(1));
        return kExitFailed;
      case StopReason::VolumeMissing:
        ReportError(context.progress, what + " stopped: " + context.stopSubject +
                                          " not found and there is no terminal to ask for it " +
                                          DescribeStatus(status, "").substr(1));
        return kExitFailed;
      case StopReason::Interrupted:
        ReportError(context.progress, what + ": " + DescribeStatus(status, "interrupted"));
        return kExitAborted;
      default:
        ReportError(context.progress, what + ": " + DescribeStatus(status, "stopped by the user"));
        return kExitAborted;
    }
  }
  std::string description = StatusDescription(status);
  if (status == AR_FILE_NOT_FOUND &&
      (context.operation == Operation::Extract || context.operation == Operation::Test)) {
    description = "the extraction library UnAceV2.Dll is missing beside the plug-in";
  }
  ReportError(context.progress, what + " failed: " + DescribeStatus(status, description));
  return ExitCodeForStatus(status);
}

std::string PathProblem(const std::string& path) {
  if (path.empty()) return "empty path";
#ifndef _WIN32
  // A Unix name may hold "\", which no archive name can; on Windows it is the separator.
  if (path.find('\\') != std::string::npos) return "paths with \"\\\" are not supported";
#endif
  if (path.size() > 259) return "path longer than 259 characters";
  return {};
}

}  // namespace acearc
