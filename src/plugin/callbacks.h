// The one place that calls the host's procedures. Each helper passes the
// context value registered with the procedure and applies the rule for a slot
// that holds no procedure, so callers never look at the slots themselves.
#pragma once

#include <cstdint>

#include "aceplug/aceplug.h"

namespace ace {

// Announces a long operation with its total size (AR_SIGNAL_...).
void CallSignal(uint64_t total, int32_t code);
// Reports the file about to be processed.
void CallFileName(const char* path, const char* shownName);
// Tells the host of something left out, in words: "refusing to extract ..".
void CallWarning(const char* text);
// Nonzero to go on, 0 to stop; 1 when no procedure is set.
int32_t CallProgress(int32_t percent, int32_t step);
// 0 to replace, 1 to keep, 2 to stop; 0 (replace) when no procedure is set.
int32_t CallOkToReplace(const AceFindData* existing, const AceFindData* replacement);

// The questions whose unanswered case each caller decides: they return
// `answerWhenUnset` when the host registered no procedure.
// 1 leave the file out, 2 stop.
int32_t CallSkipFile(const char* path, int32_t answerWhenUnset);
// 0 to go on. `directory` is a 272-byte buffer that the host may rewrite.
int32_t CallNextDisk(char* directory, int32_t volume, int32_t answerWhenUnset);
// Nonzero when the host wrote a password into the 272-byte `buffer`.
int32_t CallCryptKey(char* buffer, const char* name, int32_t answerWhenUnset);

[[nodiscard]] bool HasSkipFileProc();
[[nodiscard]] bool HasNextDiskProc();
[[nodiscard]] bool HasCryptKeyProc();
[[nodiscard]] bool HasOkToReplaceProc();

// The share `done` is of `size` in percent, as progress reports give it:
// while `done` is 20,971,520 or more both are halved together so that the
// product stays in 32 bits. A size that reaches 0 gives 0.
int32_t HalvedPercent(uint32_t done, uint32_t size);

}  // namespace ace
