// The exports that let the host build and free a FileMaskList.
#include "aceplug/aceplug.h"
#include "fs/masks.h"
#include "plugin/state.h"

extern "C" {

ACEPLUG_API void ACEPLUG_CALL InitFileMaskList(FileMaskList* list) { ace::InitMaskList(list); }

ACEPLUG_API int32_t ACEPLUG_CALL AppendFileMask(const char* mask, FileMaskList* list) {
  if (mask == nullptr || list == nullptr) {
    ace::SetStatus(AR_IO_ERROR);
    return 0;
  }
  return ace::AppendMask(mask, list);
}

ACEPLUG_API void ACEPLUG_CALL DoneFileMaskList(FileMaskList* list) { ace::DoneMaskList(list); }

}  // extern "C"
