#include "plugin/state.h"

#include <cstdlib>
#include <cstring>

namespace ace {

PluginState& State() {
  static PluginState state;
  return state;
}

namespace {

// Both resets clear seven of the nine callbacks; signal and warning keep
// their procedures but lose their context values.
void ClearCallbacks(PluginState& s) {
  s.signal.context = 0;
  s.warning.context = 0;
  s.nextDisk = {};
  s.sfxProgress = {};
  s.fileName = {};
  s.skipFile = {};
  s.cryptKey = {};
  s.progress = {};
  s.okToReplace = {};
}

void ClearOpenArchive(PluginState& s) {
  s.Status = 0;
  s.ArchiveHandle = INVALID_HANDLE_VALUE;
  s.SourceHandle = INVALID_HANDLE_VALUE;
  s.TargetHandle = INVALID_HANDLE_VALUE;
  s.IsNewArchive = s.IsTesting = s.IsListed = s.IsLocked = s.IsSolid = 0;
  s.ReadFileComments = 0;
  s.ExtractVersion = s.HostOS = s.SolidDictionaryKB = 0;
  s.MainHeaderSize = s.FirstHeaderPos = s.ReadPos = 0;
  s.MainHeaderPos = -1;
  s.CommentText = nullptr;
  s.MainComment = nullptr;
  s.MainCommentLength = 0;
  s.HasMainComment = 0;
  std::memset(s.CryptKey, 0, sizeof s.CryptKey);
  s.HasCryptKey = 0;
}

}  // namespace

void OpenReset() {
  PluginState& s = State();
  ClearCallbacks(s);
  s.ArchivePath[0] = '\0';
  s.TempPath[0] = '\0';
  ClearOpenArchive(s);
}

void FullReset() {
  PluginState& s = State();
  ClearCallbacks(s);
  s.ArchiveModule = nullptr;
  s.OutputPath[0] = s.InputPath[0] = s.RelativePath[0] = s.ArchivePath[0] = s.TempPath[0] = '\0';
  s.Options = 0;
  ClearOpenArchive(s);
}

void ReleaseCommentBuffers() {
  PluginState& s = State();
  std::free(s.CommentText);
  std::free(s.MainComment);
  s.CommentText = nullptr;
  s.MainComment = nullptr;
  s.MainCommentLength = 0;
  s.HasMainComment = 0;
}

}  // namespace ace
