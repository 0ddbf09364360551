/* A program built against an installed aceplug: it creates an archive of one
   file in the folder it is given, tests it through the extraction library
   that the plug-in finds beside itself, and lists it. */
#include <aceplug/aceplug.h>
#include <stdio.h>
#include <string.h>

static int Check(const char* step) {
  unsigned status = GetArchiveStatus();
  if (status != AR_OK) fprintf(stderr, "consumer: %s: status %u\n", step, status);
  return status == AR_OK;
}

int main(int argc, char** argv) {
  char archive[260], file[260];
  if (argc != 2) return 2;
  snprintf(archive, sizeof archive, "%s/made.ace", argv[1]);
  snprintf(file, sizeof file, "%s/hello.txt", argv[1]);
  FILE* out = fopen(file, "w");
  if (out == NULL) return 2;
  for (int i = 0; i < 100; ++i) fputs("hello, hello, hello\n", out);
  fclose(out);

  static CompOptions options; /* zero but these: the plug-in's defaults */
  options.Level = 1;
  options.KeepPaths = 1; /* names below the input path, as given */
  FileMaskList masks;
  CreateArcFile(archive);
  if (!Check("create")) return 1;
  SetCompExtraFeatures(&options);
  SetInputPath(argv[1]);
  InitFileMaskList(&masks);
  AppendFileMask("hello.txt", &masks);
  CompressFileMaskListArc(&masks);
  DoneFileMaskList(&masks);
  if (!Check("compress")) return 1;
  DoneArcFile();

  ArcFileList list;
  InitArcFile(archive);
  TestArc();
  if (!Check("test")) return 1;
  InitFileMaskList(&masks);
  InitArcFileList(&list);
  BuildArcFileList(&list, &masks);
  if (!Check("list")) return 1;
  int ok = list.Count == 1 && strcmp(list.First->Name, "hello.txt") == 0;
  printf("%u entry: %s\n", (unsigned)list.Count, list.First ? list.First->Name : "-");
  DoneArcFileList(&list);
  DoneFileMaskList(&masks);
  DoneArcFile();
  return ok ? 0 : 1;
}
