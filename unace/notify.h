// The library's side of its callbacks: the settings from ACEInitDll, the data
// records the callbacks point at, and one helper per kind of notice. Every
// helper remembers a cancel so that the operation can stop at once.
#pragma once

#include <cstdint>
#include <string>

#include "unace/unacev2.h"

namespace ace::unace {

// What ACEInitDll handed over; kept until the next ACEInitDll.
struct LibrarySettings {
  bool initialised = false;
  uint32_t maxArchiveTestBytes = 0;
  uint32_t maxFileBufSize = 0;
  std::string tempDir;
  AceCallbackProc info = nullptr;
  AceCallbackProc error = nullptr;
  AceCallbackProc request = nullptr;
  AceCallbackProc state = nullptr;
};
LibrarySettings& Settings();

// The records of one operation and the answers gathered so far.
class Notifier {
 public:
  explicit Notifier(uint32_t operation);
  Notifier(const Notifier&) = delete;
  Notifier& operator=(const Notifier&) = delete;

  AceGlobalData global{};
  AceArchiveData archive{};
  AceFileData file{};
  AceProgressData progress{};

  // Each returns the caller's answer (ACE_CALLBACK_RETURN_...); a missing
  // callback answers OK. An answer of CANCEL sets Cancelled(). An archive
  // error about one entry (`aboutFile`) carries the file record as well.
  int Error(uint32_t type, uint32_t code, bool aboutFile = false);
  int Request(uint32_t type, uint32_t code);
  int State(uint32_t type, uint32_t code);
  int Info(uint32_t type, uint32_t code);

  bool Cancelled() const { return cancelled_; }
  // The result of the operation: ACE_RESULT_CANCELLED after a cancel, else the
  // code of the last error reported, else ACE_RESULT_OK.
  int Result() const;

 private:
  int Call(AceCallbackProc proc, uint32_t type, uint32_t code, bool withFile = false);
  uint32_t operation_;
  bool cancelled_ = false;
  int lastError_ = ACE_RESULT_OK;
  std::string tempDir_;
};

}  // namespace ace::unace
