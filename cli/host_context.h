// Everything the host's callbacks need, handed to the plug-in as the context
// value of every callback. One per command; nothing of it lives in a global.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "aceplug/aceplug.h"
#include "progress.h"

namespace acearc {

enum class Operation { Add, Extract, Test, Delete, MakeDirectory };

// The answers fixed on the command line.
struct Answers {
  bool yesToAll = false;                // -y
  bool neverOverwrite = false;          // -n
  std::optional<std::string> password;  // -p, or the one typed at the first question
  bool canAsk = false;                  // stdin and stderr are terminals
};

// Why the host told the plug-in to stop.
enum class StopReason {
  None,
  User,            // "quit" at a question
  Interrupted,     // Ctrl-C or a termination signal
  PasswordNeeded,  // no terminal to ask for a password, and no -p
  VolumeMissing,   // no terminal to ask for the next volume
};

struct HostContext {
  HostContext(Operation op, Answers given, ProgressDisplay& display)
      : operation(op), answers(std::move(given)), progress(display) {}
  HostContext(const HostContext&) = delete;
  HostContext& operator=(const HostContext&) = delete;

  Operation operation;
  Answers answers;
  ProgressDisplay& progress;

  // "all" or "never" answered at an overwrite question.
  enum class Overwrite { Ask, All, Never } overwrite = Overwrite::Ask;
  StopReason stop = StopReason::None;
  std::string stopSubject;  // the entry or volume the stop is about
  int warnings = 0;

  // Extraction: the entry in hand and its output name (from the file-name
  // callback; adding: the file in hand); the stored names that were not
  // written because a file of that name was kept; the stored names the
  // plug-in took up.
  std::string currentEntry;
  std::string currentOutput;
  std::set<std::string> keptExisting;
  std::set<std::string> processed;

  // Adding: the disk paths (as shown) that the plug-in could not read and left out.
  std::set<std::string> skippedFiles;

  // A solid rebuild unpacks the archive before compressing it again; the
  // signal callback tells the two phases apart.
  bool unpacking = false;

  AceContext handle() { return reinterpret_cast<AceContext>(this); }
};

// Registers the nine callbacks with this context. Call after InitArcFile or
// CreateArcFile, which clear them.
void RegisterCallbacks(HostContext& context);

// "acearc: warning: TEXT" above the progress bar; counts toward exit code 1.
void Warn(HostContext& context, const std::string& text);

}  // namespace acearc
