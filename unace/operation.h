// One run of ACEList, ACETest or ACEExtract over an archive and the volumes
// that follow it.
#pragma once

#include <cstdint>

#include "unace/unacev2.h"

namespace ace::unace {

struct OperationRequest {
  uint32_t operation = ACE_CALLBACK_OPERATION_LIST;
  const char* archive = nullptr;
  const AceFilesStruc* files = nullptr;
  const char* destinationDir = nullptr;  // extraction only
  bool excludePath = false;              // extraction: drop stored directories
  const char* password = nullptr;
};

// Runs the operation; ACE_RESULT_OK, ACE_RESULT_CANCELLED or the code of the
// last error reported.
int RunOperation(const OperationRequest& request);

}  // namespace ace::unace
