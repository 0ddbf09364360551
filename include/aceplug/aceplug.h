/*
 * aceplug: a format plug-in that lets a host archiver list, test, extract,
 * create, update and delete from ACE archives.
 *
 * This is the whole interface between the host and the plug-in: the exported
 * functions, the records that cross the boundary, the callback types and the
 * status codes. It is usable from C and from C++.
 *
 * Conventions
 * - No export reports failure by its return value. Each operation leaves a
 *   status code (AR_...) that the host reads back with GetArchiveStatus().
 * - Texts are NUL-terminated strings in fixed-size fields. Inside the system
 *   "\" is the path separator ("/" is accepted too). On Linux the ANSI code
 *   page is UTF-8 and names inside archives are stored in code page 437.
 * - 64-bit values cross the interface as two 32-bit halves, low half first.
 * - Record layouts: on a 32-bit build every record has exactly the size and
 *   the field offsets of the original Windows interface (checked with
 *   static_assert in the plug-in). On a 64-bit build, pointer fields (and the
 *   callback context values) are pointer-sized, so the records that hold
 *   pointers grow accordingly; records without pointers keep their size.
 * - Texts longer than their fields are cut to the field (always
 *   NUL-terminated); nothing is ever written outside a field. An archive
 *   path is the exception: one that does not fit is refused (AR_IO_ERROR),
 *   since a cut one would name another file. A null pointer given for a
 *   text or a record leaves AR_IO_ERROR and changes nothing.
 */
#ifndef ACEPLUG_ACEPLUG_H
#define ACEPLUG_ACEPLUG_H

#include <stdint.h>
#if defined(_WIN32)
/* FILETIME and WIN32_FIND_DATAA only: <winuser.h> of Windows 7 and later has an
   AR_NOT_SUPPORTED of its own. */
#  include <windef.h>
/* after windef.h, which it needs */
#  include <minwinbase.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32)
#  define ACEPLUG_CALL __stdcall
#  if defined(ACEPLUG_BUILDING)
#    define ACEPLUG_API __declspec(dllexport)
#  else
#    define ACEPLUG_API __declspec(dllimport)
#  endif
#else
#  define ACEPLUG_CALL
#  if defined(ACEPLUG_BUILDING)
#    define ACEPLUG_API __attribute__((visibility("default")))
#  else
#    define ACEPLUG_API
#  endif
#endif

/* ---- status codes (read with GetArchiveStatus) ---- */
enum {
  AR_OK = 0,
  AR_FILE_NOT_FOUND = 2, /* archive missing; extraction library missing or incomplete */
  AR_IO_ERROR = 5,       /* open, read, write or seek failed */
  /* A size past the format's 32-bit fields: an archive of 2 GiB or more
     (InitArcFile; also when its size cannot be read), or a file to add that
     the archive could not hold stored as it is, 2 GiB - 1 bytes in all (the
     file is refused before any of it is written). */
  AR_SIZE_ERROR = 6,
  AR_NO_MEMORY = 8,          /* an allocation failed; unsupported dictionary size */
  AR_DISK_FULL = 101,        /* a write stored fewer bytes than asked */
  AR_ABORTED = 2926,         /* the host asked to stop */
  AR_TEMP_DIR_FAILED = 8902, /* a temporary working directory could not be made */
  AR_UNPACK_FAILED = 8903,   /* unpacking into the working directory ran out of space */
  AR_DIR_EXISTS = 8904,      /* CreateDirectoryArc: the directory entry exists */
  /* CreateDirectoryArc: forbidden character or device name. Extraction: an
     entry was left out because its name cannot be written safely (it leads
     outside the output folder, has a "." part, is too long, or a folder on
     its way is a symbolic link); the warning procedure named each, and the
     other entries were extracted. Control characters in names become "_". */
  AR_BAD_DIR_NAME = 8906,
  AR_ARCHIVE_ERROR = 9009,  /* archive error reported by the extraction library (CRC) */
  AR_LOCKED = 9954,         /* the archive is locked against changes */
  AR_UNSUPPORTED = 9960,    /* unsupported archive version or entry */
  AR_BAD_HEADER = 9964,     /* a header of an unknown type */
  AR_NOTHING_TO_ADD = 9967, /* creating an archive from an empty list */
  AR_NOT_ACE = 9976,        /* not an ACE archive */
  AR_NOT_SUPPORTED = 32770  /* a stub export */
};

/* Host-chosen value handed back unchanged as the first callback argument. */
typedef uintptr_t AceContext;

/* A 64-bit value as two 32-bit halves, low half first. */
typedef struct AceUInt64 {
  uint32_t Low;
  uint32_t High;
} AceUInt64;

#if defined(_WIN32)
/* On Windows these are the platform's own FILETIME and WIN32_FIND_DATAA. */
typedef FILETIME AceFileTime;
typedef WIN32_FIND_DATAA AceFindData;
#else
/* FILETIME: 100-nanosecond intervals since 1601-01-01 UTC. */
typedef struct AceFileTime {
  uint32_t dwLowDateTime;
  uint32_t dwHighDateTime;
} AceFileTime;

/* The platform's find-data record (WIN32_FIND_DATAA layout), 320 bytes. */
typedef struct AceFindData {
  uint32_t dwFileAttributes;
  AceFileTime ftCreationTime;
  AceFileTime ftLastAccessTime;
  AceFileTime ftLastWriteTime;
  uint32_t nFileSizeHigh;
  uint32_t nFileSizeLow;
  uint32_t dwReserved0;
  uint32_t dwReserved1;
  char cFileName[260];
  char cAlternateFileName[14];
} AceFindData;
#endif

/* ---- option records ---- */

/* Compression options, 3,572 bytes. The host fills a dictionary code (3..11)
   at offset 4; the plug-in's own copy holds the size in KB there. */
typedef struct CompOptions {
  int32_t FormatCode;         /*    0 */
  int32_t DictionaryKB;       /*    4: host: dictionary code 3..11 */
  uint32_t Reserved8[4];      /*    8 */
  int32_t Level;              /*   24: 0 fastest .. 4 best */
  int32_t Solid;              /*   28 */
  uint32_t Reserved32[7];     /*   32 */
  int32_t KeepPaths;          /*   60 */
  uint32_t Reserved64[140];   /*   64 */
  char ExtraText[272];        /*  624: stored, not consulted */
  char RelativePath[272];     /*  896: prefix of stored names when not empty */
  char InputPath[272];        /* 1168: base folder of files to add when not empty */
  uint32_t Reserved1440[521]; /* 1440 */
  uint32_t ExtraValue1;       /* 3524: stored, not consulted */
  uint32_t ExtraValue2;       /* 3528: stored, not consulted */
  uint32_t Reserved3532[10];  /* 3532 */
} CompOptions;

/* Decompression options, 1,420 bytes. */
typedef struct DecompOptions {
  int32_t FormatCode;        /*    0 */
  int32_t RestorePaths;      /*    4: 1 = extract with stored directories */
  uint32_t Reserved8[206];   /*    8 */
  char RelativePath[272];    /*  832 */
  char OutputPath[272];      /* 1104 */
  uint32_t Reserved1376[11]; /* 1376 */
} DecompOptions;

/* ---- archive file list ---- */

/* One archive entry, 488 bytes on 32-bit builds. */
typedef struct ArcFileEntry {
  struct ArcFileEntry* Next; /*   0 */
  char Name[272];            /*   4: directories end with "\" */
  uint32_t NameLength;       /* 276: stored name length */
  AceUInt64 PackedSize;      /* 280 */
  AceUInt64 UnpackedSize;    /* 288 */
  uint32_t DosTime;          /* 296: time word low, date word high */
  uint32_t Attributes;       /* 300 */
  uint32_t Zero304;          /* 304 */
  uint32_t Crc32;            /* 308 */
  uint32_t HostOS;           /* 312 */
  uint32_t Method;           /* 316 */
  int32_t CommentLength;     /* 320 */
  char* Comment;             /* 324 */
  uint32_t IsEncrypted;      /* 328 */
  uint32_t IsFile;           /* 332 */
  uint32_t Reserved336;      /* 336 */
  AceUInt64 HeaderPos;       /* 340 */
  uint32_t HeaderFlags;      /* 348 */
  uint32_t Reserved352[3];   /* 352 */
  uint32_t Zero364;          /* 364 */
  uint32_t HeaderSize;       /* 368 */
  uint32_t HeaderCrc;        /* 372 */
  uint32_t Reserved376[10];  /* 376 */
  uint32_t DictionaryCode;   /* 416 */
  uint32_t Reserved420;      /* 420 */
  uint32_t HeaderType;       /* 424 */
  uint32_t Reserved428[3];   /* 428 */
  uint32_t FormatTag;        /* 440 */
  uint32_t Reserved444[11];  /* 444 */
} ArcFileEntry;

/* List head, 12 bytes on 32-bit builds. */
typedef struct ArcFileList {
  uint32_t Count;
  ArcFileEntry* First;
  ArcFileEntry* Last;
} ArcFileList;

/* ---- file mask list ---- */

/* One mask, 520 bytes on 32-bit builds. */
typedef struct FileMaskNode {
  char* Directory;           /*   0: drive and directory, ending in "\", or "" */
  char BaseName[256];        /*   4: may hold "*" and "?" */
  char Extension[256];       /* 260: without the "." */
  struct FileMaskNode* Next; /* 516 */
} FileMaskNode;

/* List head, 8 bytes on 32-bit builds. */
typedef struct FileMaskList {
  FileMaskNode* First;
  FileMaskNode* Last;
} FileMaskList;

/* ---- summary and main comment ---- */

/* Archive summary, 384 bytes. */
typedef struct ArcInfo {
  uint32_t FormatCode;        /*  0: 12 */
  uint32_t MajorVersion;      /*  4 */
  uint32_t MinorVersion;      /*  8 */
  uint32_t LargestDictionary; /* 12: KB */
  uint32_t CommentFlags;      /* 16: 2 file comments, | 1 main comment */
  uint32_t Zero20;            /* 20 */
  uint32_t Encrypted;         /* 24 */
  uint32_t Solid;             /* 28 */
  uint32_t HostSystem;        /* 32: host's numbering */
  uint32_t FileCount;         /* 36 */
  AceUInt64 PackedTotal;      /* 40 */
  AceUInt64 UnpackedTotal;    /* 48 */
  uint32_t Ratio;             /* 56: percent */
  uint32_t Reserved60[81];    /* 60 */
} ArcInfo;

/* Main comment, 28 bytes on 32-bit builds. The text block passes to the host. */
typedef struct MainCommentInfo {
  char* Comment;          /*  0: no terminator */
  int32_t Length;         /*  4 */
  int32_t HasComment;     /*  8 */
  uint32_t Reserved12[4]; /* 12 */
} MainCommentInfo;

/* ---- callbacks ---- */
typedef int32_t(ACEPLUG_CALL* AceSignalProc)(AceContext context, uint32_t totalLow,
                                             uint32_t totalHigh, int32_t code);
/* Called during extraction for each entry left out for its name:
   "refusing to extract NAME: REASON". */
typedef int32_t(ACEPLUG_CALL* AceWarningProc)(AceContext context, const char* text);
typedef int32_t(ACEPLUG_CALL* AceNextDiskProc)(AceContext context, char* directory, int32_t zero,
                                               int32_t volume, int32_t volumeAgain);
typedef int32_t(ACEPLUG_CALL* AceSfxProgressProc)(AceContext context, int32_t percent,
                                                  int32_t step);
typedef int32_t(ACEPLUG_CALL* AceFileNameProc)(AceContext context, const char* path,
                                               const char* shownName);
typedef int32_t(ACEPLUG_CALL* AceSkipFileProc)(AceContext context, const char* path);
typedef int32_t(ACEPLUG_CALL* AceCryptKeyProc)(AceContext context, char* buffer, const char* name,
                                               int32_t zero);
typedef int32_t(ACEPLUG_CALL* AceProgressProc)(AceContext context, int32_t percent, int32_t step);
typedef int32_t(ACEPLUG_CALL* AceReplaceProc)(AceContext context, const AceFindData* existing,
                                              const AceFindData* replacement);

/* Signal codes passed to AceSignalProc. */
enum {
  AR_SIGNAL_REBUILD = 1, /* solid rebuild or solid delete: total to compress */
  AR_SIGNAL_EXTRACT = 2, /* extraction: total of the selected entries */
  AR_SIGNAL_TEST = 11    /* test: total of all entries */
};

/* ---- lifecycle and settings ---- */
ACEPLUG_API void ACEPLUG_CALL InitArcFile(const char* path);
ACEPLUG_API void ACEPLUG_CALL CreateArcFile(const char* path);
ACEPLUG_API void ACEPLUG_CALL DoneArcFile(void);
ACEPLUG_API uint16_t ACEPLUG_CALL GetArchiveStatus(void);
ACEPLUG_API void ACEPLUG_CALL SetArchiveStatus(uint16_t code);
ACEPLUG_API void ACEPLUG_CALL arOptionsOn(uint16_t bits);
ACEPLUG_API void ACEPLUG_CALL arOptionsOff(uint16_t bits);
ACEPLUG_API uint8_t ACEPLUG_CALL arOptionsAreOn(uint16_t bits);
ACEPLUG_API int32_t ACEPLUG_CALL SetInputPath(const char* path);
ACEPLUG_API void ACEPLUG_CALL SetRelativePath(const char* path);
ACEPLUG_API void ACEPLUG_CALL SetOutputPath(const char* path);
ACEPLUG_API void ACEPLUG_CALL SetCryptKey(const char* key);
ACEPLUG_API void ACEPLUG_CALL SetCompExtraFeatures(const CompOptions* options);
ACEPLUG_API void ACEPLUG_CALL SetDecompExtraFeatures(const DecompOptions* options);

/* Self-extractors, recovery records and writing comments are not offered:
   CreateExeArc and CreateArcSfx2 do nothing; the others leave AR_NOT_SUPPORTED. */
ACEPLUG_API void ACEPLUG_CALL CreateExeArc(void);
ACEPLUG_API void ACEPLUG_CALL CreateArcSfx2(void);
ACEPLUG_API void ACEPLUG_CALL BuildUnDamagedArc(void);
ACEPLUG_API void ACEPLUG_CALL AddDamageProtXionArc(void);
ACEPLUG_API void ACEPLUG_CALL StripDamageProtXionArc(void);
ACEPLUG_API void ACEPLUG_CALL SetFileCommentsArc(void);
ACEPLUG_API void ACEPLUG_CALL SetMainCommentArc(void);

/* ---- callback setters (all but the signal and warning procedures are
   cleared by InitArcFile, CreateArcFile and DoneArcFile) ---- */
ACEPLUG_API void ACEPLUG_CALL SetSetSignalProc(AceContext context, AceSignalProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetWarningProc(AceContext context, AceWarningProc proc);
ACEPLUG_API void ACEPLUG_CALL SetGetNextDiskProc(AceContext context, AceNextDiskProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetSfxProgressProc(AceContext context, AceSfxProgressProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetFileNameProc(AceContext context, AceFileNameProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSkipFileProc(AceContext context, AceSkipFileProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetCryptKeyProc(AceContext context, AceCryptKeyProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetProgressProc(AceContext context, AceProgressProc proc);
ACEPLUG_API void ACEPLUG_CALL SetOkToReplaceProc(AceContext context, AceReplaceProc proc);

/* ---- lists ---- */
ACEPLUG_API void ACEPLUG_CALL InitArcFileList(ArcFileList* list);
ACEPLUG_API void ACEPLUG_CALL DoneArcFileList(ArcFileList* list);
ACEPLUG_API void ACEPLUG_CALL InitFileMaskList(FileMaskList* list);
ACEPLUG_API int32_t ACEPLUG_CALL AppendFileMask(const char* mask, FileMaskList* list);
ACEPLUG_API void ACEPLUG_CALL DoneFileMaskList(FileMaskList* list);

/* ---- operations ---- */
ACEPLUG_API void ACEPLUG_CALL BuildArcFileList(ArcFileList* list, const FileMaskList* masks);
ACEPLUG_API void ACEPLUG_CALL GetExtraInfoArc(ArcInfo* info);
ACEPLUG_API void ACEPLUG_CALL GetMainCommentArc(MainCommentInfo* info);
ACEPLUG_API void ACEPLUG_CALL TestArc(void);
ACEPLUG_API void ACEPLUG_CALL ExtractFileMaskListArc(const FileMaskList* masks);
/* A solid rebuild leaves the host's list empty, hence not const. */
ACEPLUG_API void ACEPLUG_CALL CompressFileMaskListArc(FileMaskList* masks);
ACEPLUG_API void ACEPLUG_CALL DeleteFileMaskListArc(const FileMaskList* masks);
ACEPLUG_API void ACEPLUG_CALL CreateDirectoryArc(const char* name);

#ifdef __cplusplus
}
#endif

#endif /* ACEPLUG_ACEPLUG_H */
