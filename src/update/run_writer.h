// Writing a run of files into the archive (TargetHandle), in order: the plain
// adds of creation and update, and the solid runs. With several threads the
// calling thread reads the files ahead and the pool codes them, while the
// calling thread announces each file, asks the host's questions, hands on
// the progress reports and writes the entries in list order; the archive
// comes out byte for byte as with one thread.
#pragma once

#include "aceplug/aceplug.h"
#include "fs/dir_scan.h"
#include "fs/path_ops.h"
#include "plugin/state.h"

namespace ace {

// One file of a run.
struct RunFile {
  char diskPath[kPathBuffer] = {};
  char archiveName[kPathBuffer] = {};
  char shownPath[kPathField * 2] = {};  // told to the file-name procedure
  bool badName = false;                 // a name did not fit: the run fails with 5 here
};

// Fills `file` with the next file of the run; false at the end.
using NextRunFile = bool (*)(void* context, RunFile& file);

// Writes every file the source gives, on the threads the compressor may use
// (CompressorThreads). False when a file failed (status set).
bool WriteRun(NextRunFile next, void* context, bool solid);

// The host's listed files as a plain run, without those named in `keep`
// (may be null).
bool AddListedFiles(const FileMaskList* files, const FileMaskList* keep);

}  // namespace ace
