#include "update/solid_rebuild.h"

#include "compress/compressor.h"
#include "fs/dir_scan.h"
#include "fs/work_list.h"
#include "plugin/callbacks.h"
#include "update/entry_writer.h"
#include "update/raw_copy.h"

namespace ace {

bool PackRebuiltArchive(const FileWorkList& files, char* temp) {
  if (!StartRebuiltArchive(temp)) return false;
  CallSignal(ScanTotal(), AR_SIGNAL_REBUILD);
  {
    RelativePathAside relative;
    relative.Clear();
    AddSolidRun(files, true);  // a failure leaves its status, checked below
  }
  DoneCompressor();
  if (Status() == 0) return true;
  DiscardTempArchive(temp);
  return false;
}

}  // namespace ace
