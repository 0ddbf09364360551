// Testing and extracting through UnAceV2.Dll: the driver shared by TestArc
// and ExtractFileMaskListArc, and the four callbacks through which the
// library reports errors and progress and relays its questions to the host.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aceplug/aceplug.h"
#include "fs/output_guard.h"
#include "unace/unacev2.h"

namespace ace {

// Text buffers whose addresses the library is given: at most 271 characters.
inline constexpr size_t kUnAceTextBuffer = 272;

// The driver's state for one operation.
struct UnAceDriverState {
  char* FileListText = nullptr;   // owned; freed at the end of the operation
  uint32_t ProgressBaseline = 0;  // the library's running total at the last report
  char VolumePath[kUnAceTextBuffer] = {};
  char Password[kUnAceTextBuffer] = {};
  char OutputName[kUnAceTextBuffer] = {};
  // An entry was left out because its name could not be written safely.
  bool RefusedOutput = false;
  // Set by the solid rebuild around its unpacking: names keep their control
  // characters, since they go back into the archive.
  bool KeepControlCharacters = false;
};
UnAceDriverState& DriverState();

// Loads the library, lets it read the open archive and runs ACETest (while
// IsTesting is 1) or ACEExtract with the masks as its file list. Never clears
// the status word.
void RunUnAce(const FileMaskList* masks);

// The library's file list text for the masks: one item per node (directory,
// name, "." and extension when there is one), joined by carriage returns.
// Replaces DriverState().FileListText; 1 on success, 0 when memory runs out.
[[nodiscard]] int BuildUnAceFileList(const FileMaskList* masks);

// The output file name of an archived entry under OutputPath, following
// RestorePaths and RelativePath, with control characters replaced. A name
// that would leave OutputPath, has a "." part, does not fit the
// kUnAceTextBuffer-byte target or passes a symbolic link gives its problem
// and an empty target.
OutputProblem BuildOutputName(const char* archivedName, char* target, bool directory = false);

// The three questions relayed to the host. Each answers the library
// (ACE_CALLBACK_RETURN_...) and leaves 2926 when the host cancels.
// On 0 the volume-path buffer holds the path of the next volume.
int AskNextVolume(const char* volumePath, int32_t nextVolume);
int AskOverwrite(AceFileData* file);
// On 0 the global data's password points at the password buffer.
int AskPassword(AceGlobalData* global, const AceFileData* file);

// The four callbacks given to the library.
int UNACE_CALL UnAceInfoCallback(AceCallbackRecord* record);
int UNACE_CALL UnAceErrorCallback(AceCallbackRecord* record);
int UNACE_CALL UnAceRequestCallback(AceCallbackRecord* record);
int UNACE_CALL UnAceStateCallback(AceCallbackRecord* record);

// The percent reported for `processed` bytes of a file of `size` bytes: the
// product is kept in 32 bits by halving both while processed is 20,971,520 or
// more. An empty file counts as done (100).
int32_t UnAcePercent(uint64_t processed, uint32_t size);

}  // namespace ace
