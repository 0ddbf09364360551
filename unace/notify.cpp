#include "unace/notify.h"

namespace ace::unace {

LibrarySettings& Settings() {
  static LibrarySettings settings;
  return settings;
}

Notifier::Notifier(uint32_t operation) : operation_(operation) {
  const LibrarySettings& s = Settings();
  tempDir_ = s.tempDir;
  global.MaxArchiveTestBytes = s.maxArchiveTestBytes;
  global.MaxFileBufSize = s.maxFileBufSize;
  global.TempDir = tempDir_.c_str();
}

int Notifier::Call(AceCallbackProc proc, uint32_t type, uint32_t code, bool withFile) {
  if (proc == nullptr) return ACE_CALLBACK_RETURN_OK;
  AceCallbackRecord record{};
  record.StructureType = type;
  record.Code = code;
  record.Operation = operation_;
  record.GlobalData = &global;
  record.ArchiveData = type == ACE_CALLBACK_TYPE_GLOBAL ? nullptr : &archive;
  record.FileData =
      withFile || type == ACE_CALLBACK_TYPE_ARCHIVEDFILE || type == ACE_CALLBACK_TYPE_PROGRESS
          ? &file
          : nullptr;
  record.ProgressData = type == ACE_CALLBACK_TYPE_PROGRESS ? &progress : nullptr;
  const int answer = proc(&record);
  if (answer == ACE_CALLBACK_RETURN_CANCEL) cancelled_ = true;
  return answer;
}

int Notifier::Error(uint32_t type, uint32_t code, bool aboutFile) {
  lastError_ = static_cast<int>(code);
  return Call(Settings().error, type, code, aboutFile);
}

int Notifier::Request(uint32_t type, uint32_t code) { return Call(Settings().request, type, code); }

int Notifier::State(uint32_t type, uint32_t code) { return Call(Settings().state, type, code); }

int Notifier::Info(uint32_t type, uint32_t code) { return Call(Settings().info, type, code); }

int Notifier::Result() const { return cancelled_ ? ACE_RESULT_CANCELLED : lastError_; }

}  // namespace ace::unace
