// Writing extracted files: the check that keeps every output inside the
// destination directory, directory creation, and output files that are
// written under a temporary name and put in place only when complete, so
// that a failed entry never leaves a damaged file or replaces a good one.
#pragma once

#include <cstdint>
#include <string>

#include "fs/output_guard.h"
#include "platform/win32.h"

namespace ace::unace {

// kNone when `outputName` may be written: it begins with `destinationDir`,
// the rest is a relative name that the output-name checks accept, and no
// folder on the way below the destination is a symbolic link. An empty
// destination only admits relative names.
OutputProblem CheckOutputName(const std::string& destinationDir, const std::string& outputName,
                              bool directory);

// Creates every missing directory of `path` (its last part too). Paths may
// use "\" or "/". False when one cannot be created or a file is in the way.
bool MakeDirectories(const std::string& path);
// The same for the directory part of a file name.
bool MakeParentDirectories(const std::string& fileName);

enum class WriteResult { Ok, Failed, Short };

class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();  // discards an output that was not committed
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Creates a fresh temporary file beside `target`, never through a symbolic
  // link. False when it cannot.
  bool Create(const std::string& target);
  WriteResult Write(const void* data, uint32_t size);
  // Gives the file its DOS stamp (local time), replaces whatever `target`
  // held and sets the attributes. False when it cannot be put in place; the
  // temporary file is then removed.
  bool Commit(uint32_t dosStamp, uint32_t attributes);
  // Removes the temporary file.
  void Discard();

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  std::string target_;
  std::string temp_;
};

}  // namespace ace::unace
