// The nine setters: each stores the host's context value and procedure; a null
// procedure empties the slot.
#include "plugin/state.h"

using ace::State;

extern "C" {

ACEPLUG_API void ACEPLUG_CALL SetSetSignalProc(AceContext context, AceSignalProc proc) {
  State().signal = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetSetWarningProc(AceContext context, AceWarningProc proc) {
  State().warning = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetGetNextDiskProc(AceContext context, AceNextDiskProc proc) {
  State().nextDisk = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetSetSfxProgressProc(AceContext context, AceSfxProgressProc proc) {
  State().sfxProgress = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetSetFileNameProc(AceContext context, AceFileNameProc proc) {
  State().fileName = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetSkipFileProc(AceContext context, AceSkipFileProc proc) {
  State().skipFile = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetSetCryptKeyProc(AceContext context, AceCryptKeyProc proc) {
  State().cryptKey = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetSetProgressProc(AceContext context, AceProgressProc proc) {
  State().progress = {context, proc};
}

ACEPLUG_API void ACEPLUG_CALL SetOkToReplaceProc(AceContext context, AceReplaceProc proc) {
  State().okToReplace = {context, proc};
}

}  // extern "C"
