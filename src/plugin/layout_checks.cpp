// The records that cross the interface must keep the host's layout. Records
// without pointers have it on every build; the others only where pointers are
// 32 bits wide.
#include <cstddef>
#include <cstdint>

#include "aceplug/aceplug.h"

#define ACE_CHECK_OFFSET(type, field, offset) \
  static_assert(offsetof(type, field) == (offset), #type "." #field " is at the wrong offset")
#define ACE_CHECK_SIZE(type, size) \
  static_assert(sizeof(type) == (size), #type " has the wrong size")

// ---- pointer-free records: every build ----
ACE_CHECK_SIZE(AceUInt64, 8);
ACE_CHECK_SIZE(AceFileTime, 8);

ACE_CHECK_SIZE(AceFindData, 320);
ACE_CHECK_OFFSET(AceFindData, dwFileAttributes, 0);
ACE_CHECK_OFFSET(AceFindData, ftCreationTime, 4);
ACE_CHECK_OFFSET(AceFindData, ftLastAccessTime, 12);
ACE_CHECK_OFFSET(AceFindData, ftLastWriteTime, 20);
ACE_CHECK_OFFSET(AceFindData, nFileSizeHigh, 28);
ACE_CHECK_OFFSET(AceFindData, nFileSizeLow, 32);
ACE_CHECK_OFFSET(AceFindData, dwReserved0, 36);
ACE_CHECK_OFFSET(AceFindData, dwReserved1, 40);
ACE_CHECK_OFFSET(AceFindData, cFileName, 44);
ACE_CHECK_OFFSET(AceFindData, cAlternateFileName, 304);

ACE_CHECK_SIZE(CompOptions, 3572);
ACE_CHECK_OFFSET(CompOptions, FormatCode, 0);
ACE_CHECK_OFFSET(CompOptions, DictionaryKB, 4);
ACE_CHECK_OFFSET(CompOptions, Level, 24);
ACE_CHECK_OFFSET(CompOptions, Solid, 28);
ACE_CHECK_OFFSET(CompOptions, KeepPaths, 60);
ACE_CHECK_OFFSET(CompOptions, ExtraText, 624);
ACE_CHECK_OFFSET(CompOptions, RelativePath, 896);
ACE_CHECK_OFFSET(CompOptions, InputPath, 1168);
ACE_CHECK_OFFSET(CompOptions, ExtraValue1, 3524);
ACE_CHECK_OFFSET(CompOptions, ExtraValue2, 3528);
static_assert(sizeof(CompOptions::ExtraText) == 272 && sizeof(CompOptions::RelativePath) == 272 &&
              sizeof(CompOptions::InputPath) == 272);

ACE_CHECK_SIZE(DecompOptions, 1420);
ACE_CHECK_OFFSET(DecompOptions, FormatCode, 0);
ACE_CHECK_OFFSET(DecompOptions, RestorePaths, 4);
ACE_CHECK_OFFSET(DecompOptions, RelativePath, 832);
ACE_CHECK_OFFSET(DecompOptions, OutputPath, 1104);

ACE_CHECK_SIZE(ArcInfo, 384);
ACE_CHECK_OFFSET(ArcInfo, FormatCode, 0);
ACE_CHECK_OFFSET(ArcInfo, MajorVersion, 4);
ACE_CHECK_OFFSET(ArcInfo, MinorVersion, 8);
ACE_CHECK_OFFSET(ArcInfo, LargestDictionary, 12);
ACE_CHECK_OFFSET(ArcInfo, CommentFlags, 16);
ACE_CHECK_OFFSET(ArcInfo, Zero20, 20);
ACE_CHECK_OFFSET(ArcInfo, Encrypted, 24);
ACE_CHECK_OFFSET(ArcInfo, Solid, 28);
ACE_CHECK_OFFSET(ArcInfo, HostSystem, 32);
ACE_CHECK_OFFSET(ArcInfo, FileCount, 36);
ACE_CHECK_OFFSET(ArcInfo, PackedTotal, 40);
ACE_CHECK_OFFSET(ArcInfo, UnpackedTotal, 48);
ACE_CHECK_OFFSET(ArcInfo, Ratio, 56);
ACE_CHECK_OFFSET(ArcInfo, Reserved60, 60);

// ---- records with pointers: the host's 32-bit layout ----
#if UINTPTR_MAX == 0xFFFFFFFFu
ACE_CHECK_SIZE(AceContext, 4);

ACE_CHECK_SIZE(ArcFileList, 12);
ACE_CHECK_OFFSET(ArcFileList, Count, 0);
ACE_CHECK_OFFSET(ArcFileList, First, 4);
ACE_CHECK_OFFSET(ArcFileList, Last, 8);

ACE_CHECK_SIZE(ArcFileEntry, 488);
ACE_CHECK_OFFSET(ArcFileEntry, Next, 0);
ACE_CHECK_OFFSET(ArcFileEntry, Name, 4);
ACE_CHECK_OFFSET(ArcFileEntry, NameLength, 276);
ACE_CHECK_OFFSET(ArcFileEntry, PackedSize, 280);
ACE_CHECK_OFFSET(ArcFileEntry, UnpackedSize, 288);
ACE_CHECK_OFFSET(ArcFileEntry, DosTime, 296);
ACE_CHECK_OFFSET(ArcFileEntry, Attributes, 300);
ACE_CHECK_OFFSET(ArcFileEntry, Zero304, 304);
ACE_CHECK_OFFSET(ArcFileEntry, Crc32, 308);
ACE_CHECK_OFFSET(ArcFileEntry, HostOS, 312);
ACE_CHECK_OFFSET(ArcFileEntry, Method, 316);
ACE_CHECK_OFFSET(ArcFileEntry, CommentLength, 320);
ACE_CHECK_OFFSET(ArcFileEntry, Comment, 324);
ACE_CHECK_OFFSET(ArcFileEntry, IsEncrypted, 328);
ACE_CHECK_OFFSET(ArcFileEntry, IsFile, 332);
ACE_CHECK_OFFSET(ArcFileEntry, HeaderPos, 340);
ACE_CHECK_OFFSET(ArcFileEntry, HeaderFlags, 348);
ACE_CHECK_OFFSET(ArcFileEntry, Zero364, 364);
ACE_CHECK_OFFSET(ArcFileEntry, HeaderSize, 368);
ACE_CHECK_OFFSET(ArcFileEntry, HeaderCrc, 372);
ACE_CHECK_OFFSET(ArcFileEntry, DictionaryCode, 416);
ACE_CHECK_OFFSET(ArcFileEntry, HeaderType, 424);
ACE_CHECK_OFFSET(ArcFileEntry, FormatTag, 440);
static_assert(sizeof(ArcFileEntry::Name) == 272);

ACE_CHECK_SIZE(FileMaskList, 8);
ACE_CHECK_OFFSET(FileMaskList, First, 0);
ACE_CHECK_OFFSET(FileMaskList, Last, 4);

ACE_CHECK_SIZE(FileMaskNode, 520);
ACE_CHECK_OFFSET(FileMaskNode, Directory, 0);
ACE_CHECK_OFFSET(FileMaskNode, BaseName, 4);
ACE_CHECK_OFFSET(FileMaskNode, Extension, 260);
ACE_CHECK_OFFSET(FileMaskNode, Next, 516);

ACE_CHECK_SIZE(MainCommentInfo, 28);
ACE_CHECK_OFFSET(MainCommentInfo, Comment, 0);
ACE_CHECK_OFFSET(MainCommentInfo, Length, 4);
ACE_CHECK_OFFSET(MainCommentInfo, HasComment, 8);
ACE_CHECK_OFFSET(MainCommentInfo, Reserved12, 12);
#endif
