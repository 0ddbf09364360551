// Operations whose subsystems are not built yet: each leaves AR_NOT_SUPPORTED
// so that a host sees a clear refusal. A subsystem removes its own function
// from here when it lands.
#include "plugin/state.h"

using ace::SetStatus;

extern "C" {

ACEPLUG_API void ACEPLUG_CALL CompressFileMaskListArc(FileMaskList*) {
  SetStatus(AR_NOT_SUPPORTED);
}

ACEPLUG_API void ACEPLUG_CALL DeleteFileMaskListArc(const FileMaskList*) {
  SetStatus(AR_NOT_SUPPORTED);
}

ACEPLUG_API void ACEPLUG_CALL CreateDirectoryArc(const char*) { SetStatus(AR_NOT_SUPPORTED); }

}  // extern "C"
