// libFuzzer target for reading archives through the exports: recognition, the
// header walk with its listing, the summary and the main comment. Any file
// must end in some status, never in a crash, a hang or a read out of bounds.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "aceplug/aceplug.h"

namespace {

// The exports read a file by name, so each input is written to one scratch file.
const std::string& ScratchPath() {
  static const std::string path = [] {
    const char* dir = std::getenv("TMPDIR");
    return std::string(dir && *dir ? dir : "/tmp") + "/archive_fuzz." + std::to_string(getpid()) +
           ".ace";
  }();
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& path = ScratchPath();
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  const bool written = std::fwrite(data, 1, size, f) == size;
  if (std::fclose(f) != 0 || !written) return 0;

  InitArcFile(path.c_str());
  ArcInfo info;
  GetExtraInfoArc(&info);  // a walk of its own that also decodes file comments
  ArcFileList list;
  InitArcFileList(&list);
  FileMaskList masks;
  InitFileMaskList(&masks);
  BuildArcFileList(&list, &masks);
  MainCommentInfo comment{};
  GetMainCommentArc(&comment);
  std::free(comment.Comment);
  DoneArcFileList(&list);
  DoneFileMaskList(&masks);
  DoneArcFile();
  std::remove(path.c_str());
  return 0;
}
