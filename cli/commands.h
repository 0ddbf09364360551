// The commands of acearc, one file each, and the options they take.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "entry_check.h"
#include "exit_codes.h"
#include "host_context.h"
#include "plugin_session.h"

namespace acearc {

// Options every command takes.
struct CommonOptions {
  bool yes = false;      // -y
  bool never = false;    // -n
  std::string password;  // -p
  bool hasPassword = false;
  bool quiet = false;  // -q
};

struct AddOptions {
  std::string archive;
  std::vector<std::string> paths;
  unsigned dictionaryKB = 1024;
  int level = 1;
  bool solid = false;
  bool excludePaths = false;  // -ep
  bool recurse = true;        // -r- turns it off
  std::string prefix;
  int threads = 0;                    // -T: 0 leaves it to the plug-in
  std::vector<std::string> excludes;  // -x
};

struct ListOptions {
  std::string archive;
  std::vector<std::string> masks;
  std::vector<std::string> excludes;  // -x
  bool json = false;
};

struct ExtractOptions {
  std::string archive;
  std::vector<std::string> masks;
  std::vector<std::string> excludes;  // -x
  std::string outputDir = ".";
  bool restorePaths = true;  // x: true, e: false
};

struct DeleteOptions {
  std::string archive;
  std::vector<std::string> masks;
  std::vector<std::string> excludes;  // -x
};

struct MakeDirectoryOptions {
  std::string archive;
  std::string name;
};

ExitCode RunAdd(const AddOptions& options, const CommonOptions& common);
ExitCode RunList(const ListOptions& options, const CommonOptions& common);
ExitCode RunTest(const std::string& archive, const CommonOptions& common);
ExitCode RunExtract(const ExtractOptions& options, const CommonOptions& common);
ExitCode RunDelete(const DeleteOptions& options, const CommonOptions& common);
ExitCode RunMakeDirectory(const MakeDirectoryOptions& options, const CommonOptions& common);

// --- shared by the commands (command_support.cpp) ---

Answers AnswersFrom(const CommonOptions& common);

// "acearc: TEXT" on stderr, above any progress bar.
void ReportError(ProgressDisplay& progress, const std::string& text);

// Opens an existing archive; on failure reports why and gives the exit code
// (kExitOk when it is open).
ExitCode CheckOpened(ProgressDisplay& progress, const std::string& archive, uint16_t status);

// Opens the existing archive a command works on. A path the plug-in cannot
// take and a failed open are reported and give the exit code; kExitOk when
// `session` holds the open archive.
ExitCode OpenExisting(ProgressDisplay& progress, const std::string& archive,
                      std::optional<ArchiveSession>& session);

// OpenExisting, then the archive's entries into `entries` (and with
// `damage`, what the listing shows wrong); a listing that fails is reported
// as `what` ("deleting from foo.ace") failed.
ExitCode OpenAndList(ProgressDisplay& progress, const std::string& archive, const std::string& what,
                     std::optional<ArchiveSession>& session, std::vector<EntryRecord>& entries,
                     std::vector<Damage>* damage = nullptr);

// Reports the outcome of an operation (`what` is "adding to foo.ace") and
// gives the exit code, taking the reason of a host-side stop into account.
ExitCode FinishOperation(HostContext& context, const std::string& what, uint16_t status);

// A path the plug-in can take: no "\" (the system's separator) and at most
// 259 characters. Returns "" when fine, else why not.
std::string PathProblem(const std::string& path);

}  // namespace acearc
