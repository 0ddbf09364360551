// The process exit codes of acearc, documented in --help and the README.
#pragma once

namespace acearc {

enum ExitCode : int {
  kExitOk = 0,
  kExitWarning = 1,  // done, but something was skipped
  kExitFailed = 2,   // the operation failed
  kExitDamaged = 3,  // damaged archive or CRC error
  kExitAborted = 4,  // the user stopped it
  kExitUsage = 5,    // bad command line
};

}  // namespace acearc
