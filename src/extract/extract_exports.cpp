// The exports that test and extract entries.
#include "extract/unace_driver.h"
#include "format/archive_walk.h"
#include "fs/masks.h"
#include "plugin/callbacks.h"
#include "plugin/state.h"

using namespace ace;

namespace {

// Lists the entries the masks select and adds up their unpacked sizes. False
// when the listing failed (its status stays).
bool SelectedTotal(const FileMaskList* masks, uint64_t* total) {
  ArcFileList list{};
  WalkArchive(&list, masks);
  const bool listed = Status() == AR_OK;
  *total = 0;
  for (const ArcFileEntry* e = list.First; e != nullptr; e = e->Next) {
    *total += (static_cast<uint64_t>(e->UnpackedSize.High) << 32) | e->UnpackedSize.Low;
  }
  DoneArcFileList(&list);
  return listed;
}

}  // namespace

extern "C" {

ACEPLUG_API void ACEPLUG_CALL ExtractFileMaskListArc(const FileMaskList* masks) {
  if (masks == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  SetStatus(AR_OK);
  uint64_t total = 0;
  if (!SelectedTotal(masks, &total)) return;
  CallSignal(total, AR_SIGNAL_EXTRACT);
  RunUnAce(masks);
}

ACEPLUG_API void ACEPLUG_CALL TestArc(void) {
  FileMaskList all{};
  InitMaskList(&all);
  static_cast<void>(AppendMask("*.*", &all));  // a failure leaves 8 in the status
  uint64_t total = 0;
  SelectedTotal(&all, &total);
  State().IsTesting = 1;
  CallSignal(total, AR_SIGNAL_TEST);
  RunUnAce(&all);
  State().IsTesting = 0;
  DoneMaskList(&all);
}

}  // extern "C"
