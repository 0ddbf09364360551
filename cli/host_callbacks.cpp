// The nine callbacks the host gives the plug-in, and what acearc answers.
// Without a terminal the answers are the ones that never lose data: existing
// files are not overwritten, a password request stops the operation.
#include <algorithm>
#include <cstring>

#include "entry_format.h"
#include "host_context.h"
#include "interrupt.h"
#include "prompt.h"

namespace acearc {

namespace {

// Answers to the replace question and to the library's questions.
constexpr int32_t kReplace = 0;
constexpr int32_t kKeep = 1;
constexpr int32_t kStop = 2;
// Field size of the password and volume buffers the plug-in hands over.
constexpr size_t kAnswerField = 272;

HostContext* From(AceContext context) { return reinterpret_cast<HostContext*>(context); }

std::string WithoutLeadingBackslash(const char* text) {
  if (text == nullptr) return {};
  return DisplayName(text[0] == '\\' ? text + 1 : text);
}

uint64_t FindDataSize(const AceFindData& data) {
  return (static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

std::string Describe(const AceFindData& data) {
  return std::to_string(FindDataSize(data)) + " bytes, " + FormatFileTime(data.ftLastWriteTime);
}

void CopyAnswer(char* buffer, const std::string& text) {
  size_t n = std::min(text.size(), kAnswerField - 1);
  std::memcpy(buffer, text.data(), n);
  buffer[n] = '\0';
}

int32_t ACEPLUG_CALL OnSignal(AceContext context, uint32_t totalLow, uint32_t totalHigh,
                              int32_t code) {
  HostContext* host = From(context);
  if (host == nullptr) return 0;  // a registration kept from an earlier archive
  uint64_t total = (static_cast<uint64_t>(totalHigh) << 32) | totalLow;
  if (code == AR_SIGNAL_REBUILD) {
    host->unpacking = false;
    host->progress.Begin("compressing", total);
  } else if (code == AR_SIGNAL_EXTRACT &&
             (host->operation == Operation::Add || host->operation == Operation::Delete)) {
    host->unpacking = true;
    host->progress.Begin("unpacking", total);
  } else {
    host->progress.SetTotal(total);
  }
  return 0;
}

// The plug-in names each entry it leaves out: "refusing to extract NAME: why".
int32_t ACEPLUG_CALL OnWarning(AceContext context, const char* text) {
  HostContext* host = From(context);
  if (host == nullptr || text == nullptr) return 0;  // a registration kept from an earlier archive
  Warn(*host, DisplayName(text));
  return 0;
}

int32_t ACEPLUG_CALL OnNextDisk(AceContext context, char* directory, int32_t, int32_t volume,
                                int32_t) {
  HostContext* host = From(context);
  std::string where = directory ? directory : "";
  host->stopSubject = "volume " + std::to_string(volume) + " in " + DisplayName(where.c_str());
  if (!host->answers.canAsk) {
    host->stop = StopReason::VolumeMissing;
    return 1;
  }
  host->progress.Clear();
  std::optional<std::string> answer =
      AskLine("Volume " + std::to_string(volume) + " not found in " + DisplayName(where.c_str()) +
              ".\nFolder that holds it (Enter to look again, q to quit): ");
  if (!answer || *answer == "q") {
    host->stop = answer ? StopReason::User : StopReason::Interrupted;
    return 1;
  }
  if (!answer->empty()) CopyAnswer(directory, *answer);
  return 0;
}

int32_t ACEPLUG_CALL OnSfxProgress(AceContext, int32_t, int32_t) { return 1; }

int32_t ACEPLUG_CALL OnFileName(AceContext context, const char* path, const char* shownName) {
  HostContext* host = From(context);
  switch (host->operation) {
    case Operation::Extract:
      host->currentEntry = WithoutLeadingBackslash(path);
      host->currentOutput = DisplayPath(shownName ? shownName : "");
      host->processed.insert(host->currentEntry);
      host->progress.StartFile(host->currentEntry);
      break;
    default:
      // Adding, deleting and the unpacking of a solid rebuild: the name in
      // the archive is what the user knows.
      host->currentOutput = DisplayPath(path ? path : "");
      host->progress.StartFile(WithoutLeadingBackslash(host->unpacking ? path : shownName));
      break;
  }
  return 0;
}

int32_t ACEPLUG_CALL OnSkipFile(AceContext context, const char* path) {
  HostContext* host = From(context);
  std::string name = DisplayPath(path ? path : "");
  if (host->answers.canAsk && !host->answers.yesToAll) {
    host->progress.Clear();
    std::optional<char> choice = AskChoice("Cannot read " + name + ". [s]kip it or [q]uit? ",
                                           {{'s', "skip"}, {'q', "quit"}});
    if (choice != 's') {
      host->stop = choice ? StopReason::User : StopReason::Interrupted;
      return 2;
    }
  }
  host->skippedFiles.insert(name);
  Warn(*host, "skipped " + name + ": it cannot be read");
  return 1;
}

int32_t ACEPLUG_CALL OnCryptKey(AceContext context, char* buffer, const char* name, int32_t) {
  HostContext* host = From(context);
  std::string entry = DisplayName(name ? name : "");
  if (!host->answers.password) {
    if (!host->answers.canAsk) {
      host->stop = StopReason::PasswordNeeded;
      host->stopSubject = entry;
      return 0;
    }
    host->progress.Clear();
    std::optional<std::string> typed = AskSecret("Password for " + entry + ": ");
    if (!typed) {
      host->stop = StopReason::User;
      return 0;
    }
    host->answers.password = *typed;  // asked once, used for the entries that follow
  }
  CopyAnswer(buffer, *host->answers.password);
  return 1;
}

int32_t ACEPLUG_CALL OnProgress(AceContext context, int32_t percent, int32_t step) {
  HostContext* host = From(context);
  if (TakeInterrupt()) {
    host->stop = StopReason::Interrupted;
    return 0;
  }
  host->progress.Advance(static_cast<uint64_t>(std::max(step, 0)), percent);
  return 1;
}

// Extraction: `existing` is the file on disk, `replacement` the entry. Adding
// to an archive: `existing` is the entry, `replacement` the file on disk.
int32_t ACEPLUG_CALL OnReplace(AceContext context, const AceFindData* existing,
                               const AceFindData* replacement) {
  HostContext* host = From(context);
  bool extracting = host->operation == Operation::Extract;
  std::string entry = extracting ? host->currentEntry : DisplayName(existing->cFileName);
  std::string target = extracting ? host->currentOutput : entry;
  auto keep = [&](bool warn) {
    if (extracting) host->keptExisting.insert(entry);
    if (warn) {
      Warn(*host, extracting ? "not overwritten: " + target + " exists (use -y to overwrite)"
                             : "kept the archived " + entry + " (use -y to replace it)");
    }
    return kKeep;
  };
  if (host->answers.yesToAll || host->overwrite == HostContext::Overwrite::All) return kReplace;
  if (host->answers.neverOverwrite || host->overwrite == HostContext::Overwrite::Never) {
    return keep(false);
  }
  if (!host->answers.canAsk) return keep(true);

  host->progress.Clear();
  std::string question =
      extracting ? "File " + target + " exists (" + Describe(*existing) +
                       ").\nOverwrite it with the archived one (" + Describe(*replacement) + ")?"
                 : "The archive holds " + entry + " (" + Describe(*existing) +
                       ").\nReplace it with the file on disk (" + Describe(*replacement) + ")?";
  std::optional<char> choice =
      AskChoice(question + " [y]es, [n]o, [a]ll, ne[v]er, [q]uit: ",
                {{'y', "yes"}, {'n', "no"}, {'a', "all"}, {'v', "never"}, {'q', "quit"}});
  switch (choice.value_or('\0')) {
    case 'y':
      return kReplace;
    case 'a':
      host->overwrite = HostContext::Overwrite::All;
      return kReplace;
    case 'n':
      return keep(false);
    case 'v':
      host->overwrite = HostContext::Overwrite::Never;
      return keep(false);
    case 'q':
      host->stop = StopReason::User;
      return kStop;
    default:
      host->stop = StopReason::Interrupted;
      return kStop;
  }
}

}  // namespace

void RegisterCallbacks(HostContext& context) {
  AceContext handle = context.handle();
  SetSetSignalProc(handle, OnSignal);
  SetSetWarningProc(handle, OnWarning);
  SetGetNextDiskProc(handle, OnNextDisk);
  SetSetSfxProgressProc(handle, OnSfxProgress);
  SetSetFileNameProc(handle, OnFileName);
  SetSkipFileProc(handle, OnSkipFile);
  SetSetCryptKeyProc(handle, OnCryptKey);
  SetSetProgressProc(handle, OnProgress);
  SetOkToReplaceProc(handle, OnReplace);
}

void Warn(HostContext& context, const std::string& text) {
  ++context.warnings;
  context.progress.Message("acearc: warning: " + text);
}

}  // namespace acearc
