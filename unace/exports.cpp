// The five functions of UnAceV2.Dll.
#include <cstring>

#include "unace/archive_scan.h"
#include "unace/notify.h"
#include "unace/operation.h"
#include "unace/unacev2.h"

using namespace ace::unace;

namespace {

// The archive data record that ACEReadArchiveData hands out; it stays valid
// until the next call.
AceArchiveData g_archiveData;
char g_archiveName[1024];

}  // namespace

extern "C" {

UNACE_API int UNACE_CALL ACEInitDll(AceInitDllStruc* init) {
  LibrarySettings& s = Settings();
  s = LibrarySettings{};
  if (init == nullptr) return ACE_CALLBACK_ERROR_MEMORY;
  s.initialised = true;
  s.maxArchiveTestBytes = init->MaxArchiveTestBytes;
  s.maxFileBufSize = init->MaxFileBufSize;
  s.tempDir = init->TempDir != nullptr ? init->TempDir : "";
  s.info = init->InfoCallback;
  s.error = init->ErrorCallback;
  s.request = init->RequestCallback;
  s.state = init->StateCallback;
  return ACE_RESULT_OK;
}

UNACE_API int UNACE_CALL ACEReadArchiveData(const char* archive, AceReadArchiveDataStruc* data) {
  if (data == nullptr) return ACE_CALLBACK_ERROR_NOT_ACE;
  data->ArchiveData = nullptr;
  if (archive == nullptr) return ACE_CALLBACK_ERROR_NOT_ACE;
  HANDLE file =
      CreateFileA(archive, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return ACE_CALLBACK_ERROR_READ;
  MainHeader main;
  const bool found = FindMainHeader(file, &main);
  CloseHandle(file);
  if (!found) return ACE_CALLBACK_ERROR_NOT_ACE;
  std::strncpy(g_archiveName, archive, sizeof g_archiveName - 1);
  g_archiveName[sizeof g_archiveName - 1] = '\0';
  g_archiveData = AceArchiveData{};
  DescribeArchive(main, g_archiveName, main.VolumeNum, &g_archiveData);
  data->ArchiveData = &g_archiveData;
  return ACE_RESULT_OK;
}

UNACE_API int UNACE_CALL ACEList(const char* archive, AceListStruc* list) {
  OperationRequest request;
  request.operation = ACE_CALLBACK_OPERATION_LIST;
  request.archive = archive;
  request.files = list != nullptr ? &list->Files : nullptr;
  return RunOperation(request);
}

UNACE_API int UNACE_CALL ACETest(const char* archive, AceTestStruc* test) {
  OperationRequest request;
  request.operation = ACE_CALLBACK_OPERATION_TEST;
  request.archive = archive;
  request.files = test != nullptr ? &test->Files : nullptr;
  request.password = test != nullptr ? test->DecryptPassword : nullptr;
  return RunOperation(request);
}

UNACE_API int UNACE_CALL ACEExtract(const char* archive, AceExtractStruc* extract) {
  OperationRequest request;
  request.operation = ACE_CALLBACK_OPERATION_EXTRACT;
  request.archive = archive;
  if (extract != nullptr) {
    request.files = &extract->Files;
    request.destinationDir = extract->DestinationDir;
    request.excludePath = extract->ExcludePath != 0;
    request.password = extract->DecryptPassword;
  }
  return RunOperation(request);
}

}  // extern "C"
