// Option bits, paths, the password and the host's option records.
//
// Texts longer than their fields are cut to the field. A null text or record
// leaves AR_IO_ERROR and changes nothing.
#include <cstring>

#include "compress/levels.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {
namespace {

constexpr int32_t kDefaultDictionaryKB = 1024;
constexpr int32_t kDefaultLevel = 1;
constexpr int32_t kFormatCode = 12;

// Copies a text field of the host's record, which need not be terminated
// inside the field, cutting it to the field's last byte.
template <size_t N>
void CopyTextField(char (&target)[N], const char (&source)[N]) {
  const size_t length = strnlen(source, N - 1);
  std::memcpy(target, source, length);
  std::memset(target + length, 0, N - length);
}

template <size_t N>
void TerminateField(char (&field)[N]) {
  field[N - 1] = '\0';
}

}  // namespace
}  // namespace ace

using namespace ace;

extern "C" {

ACEPLUG_API void ACEPLUG_CALL arOptionsOn(uint16_t bits) {
  State().Options = static_cast<uint16_t>(State().Options | bits);
}

ACEPLUG_API void ACEPLUG_CALL arOptionsOff(uint16_t bits) {
  State().Options = static_cast<uint16_t>(State().Options & ~bits);
}

ACEPLUG_API uint8_t ACEPLUG_CALL arOptionsAreOn(uint16_t bits) {
  return (State().Options & bits) == bits ? 1 : 0;
}

// Keeps drive roots such as C:\ as they are; every longer path gets a
// backslash, even when it already ends in one.
ACEPLUG_API int32_t ACEPLUG_CALL SetInputPath(const char* path) {
  if (path == nullptr) {
    SetStatus(AR_IO_ERROR);
    return 0;
  }
  PluginState& s = State();
  CopyText(s.InputPath, sizeof s.InputPath - 1, path);  // leaves room for the backslash
  if (std::strlen(s.InputPath) > 3) AppendText(s.InputPath, sizeof s.InputPath, "\\");
  return 0;
}

ACEPLUG_API void ACEPLUG_CALL SetRelativePath(const char* path) {
  if (path == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  CopyText(State().RelativePath, sizeof State().RelativePath, path);
}

ACEPLUG_API void ACEPLUG_CALL SetOutputPath(const char* path) {
  if (path == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  PluginState& s = State();
  CopyText(s.OutputPath, sizeof s.OutputPath - 1, path);
  const size_t length = std::strlen(s.OutputPath);
  if (length == 0 || s.OutputPath[length - 1] != '\\') {
    AppendText(s.OutputPath, sizeof s.OutputPath, "\\");
  }
}

ACEPLUG_API void ACEPLUG_CALL SetCryptKey(const char* key) {
  if (key == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  PluginState& s = State();
  if (key[0] == '\0') {
    s.HasCryptKey = 0;  // the old text stays but is no longer used
    return;
  }
  s.HasCryptKey = 1;
  CopyText(s.CryptKey, sizeof s.CryptKey, key);
}

ACEPLUG_API void ACEPLUG_CALL SetCompExtraFeatures(const CompOptions* options) {
  if (options == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  PluginState& s = State();
  CompOptions& c = s.Comp;
  c = CompOptions{};
  c.FormatCode = kFormatCode;
  c.DictionaryKB = kDefaultDictionaryKB;
  c.Level = kDefaultLevel;
  s.ReadFileComments = 1;

  // The host passes a dictionary code; the copy holds the size in KB.
  const int32_t code = options->DictionaryKB;
  if (code >= 3 && code <= 11) c.DictionaryKB = 32 << (code - 3);
  if (levels::LevelRowFor(options->Level) != nullptr) c.Level = options->Level;
  if (options->Solid == 0 || options->Solid == 1) c.Solid = options->Solid;
  c.KeepPaths = options->KeepPaths;
  CopyTextField(c.ExtraText, options->ExtraText);
  CopyTextField(c.RelativePath, options->RelativePath);
  if (c.RelativePath[0] != '\0') SetRelativePath(c.RelativePath);
  CopyTextField(c.InputPath, options->InputPath);
  if (c.InputPath[0] != '\0') SetInputPath(c.InputPath);
  c.ExtraValue1 = options->ExtraValue1;
  c.ExtraValue2 = options->ExtraValue2;
}

ACEPLUG_API void ACEPLUG_CALL SetDecompExtraFeatures(const DecompOptions* options) {
  if (options == nullptr) {
    SetStatus(AR_IO_ERROR);
    return;
  }
  DecompOptions& d = State().Decomp;
  std::memcpy(&d, options, sizeof d);
  TerminateField(d.RelativePath);
  TerminateField(d.OutputPath);
  if (d.RelativePath[0] != '\0') SetRelativePath(d.RelativePath);
  if (d.OutputPath[0] != '\0') SetOutputPath(d.OutputPath);
}

}  // extern "C"
