// The plug-in's one process-wide state record: one archive and one operation
// at a time, driven from the host's calling thread.
#pragma once

#include <cstdint>

#include "aceplug/aceplug.h"
#include "platform/win32.h"

namespace ace {

inline constexpr int kPathField = 261;      // 260 characters and the NUL
inline constexpr int kCryptKeyField = 264;  // 263 characters and the NUL

// A callback slot: the host's context value and its procedure.
template <typename Proc>
struct CallbackSlot {
  AceContext context = 0;
  Proc proc = nullptr;
  explicit operator bool() const { return proc != nullptr; }
};

struct PluginState {
  // 1. Callback slots. Signal and warning procedures survive both resets.
  CallbackSlot<AceSignalProc> signal;
  CallbackSlot<AceWarningProc> warning;
  CallbackSlot<AceNextDiskProc> nextDisk;
  CallbackSlot<AceSfxProgressProc> sfxProgress;
  CallbackSlot<AceFileNameProc> fileName;
  CallbackSlot<AceSkipFileProc> skipFile;
  CallbackSlot<AceCryptKeyProc> cryptKey;
  CallbackSlot<AceProgressProc> progress;
  CallbackSlot<AceReplaceProc> okToReplace;

  // 2. Module handles.
  HMODULE PluginModule = nullptr;   // recorded when the library is loaded
  HMODULE ArchiveModule = nullptr;  // copy taken by InitArcFile when the archive opens

  // 3. Paths.
  char OutputPath[kPathField] = {};
  char InputPath[kPathField] = {};
  char RelativePath[kPathField] = {};
  char ArchivePath[kPathField] = {};
  char TempPath[kPathField] = {};

  // 4, 5.
  uint16_t Options = 0;
  uint32_t Status = 0;

  // 6. Open-archive state.
  HANDLE ArchiveHandle = INVALID_HANDLE_VALUE;
  HANDLE SourceHandle = INVALID_HANDLE_VALUE;
  HANDLE TargetHandle = INVALID_HANDLE_VALUE;
  int32_t IsNewArchive = 0;
  int32_t IsTesting = 0;
  int32_t IsListed = 0;
  int32_t IsLocked = 0;  // 0 or -1
  int32_t IsSolid = 0;
  int32_t ReadFileComments = 0;
  int32_t ExtractVersion = 0;
  int32_t HostOS = 0;
  int32_t SolidDictionaryKB = 0;
  int32_t MainHeaderPos = -1;  // also the archive's start
  int32_t MainHeaderSize = 0;
  int32_t FirstHeaderPos = 0;
  int32_t ReadPos = 0;

  // 7. Main comment.
  char* CommentText = nullptr;  // the comment decoder's output buffer
  char* MainComment = nullptr;
  int32_t MainCommentLength = 0;
  int32_t HasMainComment = 0;

  // 8. Password.
  char CryptKey[kCryptKeyField] = {};
  int32_t HasCryptKey = 0;

  // 9. Outside the resets.
  ArcInfo Info = {};
  CompOptions Comp = {};
  DecompOptions Decomp = {};
};

// The single instance.
PluginState& State();

// Status helpers: operations leave exactly one code.
inline uint32_t Status() { return State().Status; }
inline void SetStatus(uint32_t code) { State().Status = code; }
// Leaves `code` only while no earlier failure was recorded.
inline void SetStatusIfClear(uint32_t code) {
  if (State().Status == 0) State().Status = code;
}

// The open reset (InitArcFile) and the full reset (DoneArcFile, CreateArcFile
// over an existing file). Neither releases the comment buffers.
void OpenReset();
void FullReset();

// Frees CommentText and MainComment (both come from std::malloc) and clears
// the pointers and the comment's length and flag.
void ReleaseCommentBuffers();

}  // namespace ace
