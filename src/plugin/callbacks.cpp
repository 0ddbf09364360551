#include "plugin/callbacks.h"

#include "plugin/state.h"

namespace ace {

void CallSignal(uint64_t total, int32_t code) {
  const auto& slot = State().signal;
  if (!slot) return;
  slot.proc(slot.context, static_cast<uint32_t>(total), static_cast<uint32_t>(total >> 32), code);
}

void CallFileName(const char* path, const char* shownName) {
  const auto& slot = State().fileName;
  if (slot) slot.proc(slot.context, path, shownName);
}

void CallWarning(const char* text) {
  const auto& slot = State().warning;
  if (slot) slot.proc(slot.context, text);
}

int32_t CallProgress(int32_t percent, int32_t step) {
  const auto& slot = State().progress;
  return slot ? slot.proc(slot.context, percent, step) : 1;
}

int32_t CallOkToReplace(const AceFindData* existing, const AceFindData* replacement) {
  const auto& slot = State().okToReplace;
  return slot ? slot.proc(slot.context, existing, replacement) : 0;
}

int32_t CallSkipFile(const char* path, int32_t answerWhenUnset) {
  const auto& slot = State().skipFile;
  return slot ? slot.proc(slot.context, path) : answerWhenUnset;
}

int32_t CallNextDisk(char* directory, int32_t volume, int32_t answerWhenUnset) {
  const auto& slot = State().nextDisk;
  return slot ? slot.proc(slot.context, directory, 0, volume, volume) : answerWhenUnset;
}

int32_t CallCryptKey(char* buffer, const char* name, int32_t answerWhenUnset) {
  const auto& slot = State().cryptKey;
  return slot ? slot.proc(slot.context, buffer, name, 0) : answerWhenUnset;
}

bool HasSkipFileProc() { return static_cast<bool>(State().skipFile); }
bool HasNextDiskProc() { return static_cast<bool>(State().nextDisk); }
bool HasCryptKeyProc() { return static_cast<bool>(State().cryptKey); }
bool HasOkToReplaceProc() { return static_cast<bool>(State().okToReplace); }

int32_t HalvedPercent(uint32_t done, uint32_t size) {
  constexpr uint32_t kLimit = 0x1400000u;  // 20,971,520: done * 100 stays below 2^31
  while (done >= kLimit) {
    done >>= 1;
    size >>= 1;
  }
  if (size == 0) return 0;
  return static_cast<int32_t>(done * 100u / size);
}

}  // namespace ace
