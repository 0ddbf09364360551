// Self-extractors, recovery records and writing comments are not offered.
#include "plugin/state.h"

using ace::SetStatus;

extern "C" {

// Does nothing: the status stays as it was.
ACEPLUG_API void ACEPLUG_CALL CreateExeArc(void) {}
ACEPLUG_API void ACEPLUG_CALL CreateArcSfx2(void) {}

ACEPLUG_API void ACEPLUG_CALL BuildUnDamagedArc(void) { SetStatus(AR_NOT_SUPPORTED); }
ACEPLUG_API void ACEPLUG_CALL AddDamageProtXionArc(void) { SetStatus(AR_NOT_SUPPORTED); }
ACEPLUG_API void ACEPLUG_CALL StripDamageProtXionArc(void) { SetStatus(AR_NOT_SUPPORTED); }
ACEPLUG_API void ACEPLUG_CALL SetFileCommentsArc(void) { SetStatus(AR_NOT_SUPPORTED); }
ACEPLUG_API void ACEPLUG_CALL SetMainCommentArc(void) { SetStatus(AR_NOT_SUPPORTED); }

}  // extern "C"
