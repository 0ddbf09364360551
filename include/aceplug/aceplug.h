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
  int32_t Level;              /*   24: 0 fastest (greedy) .. 4 best */
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

/* ---- callbacks ----
   Every callback runs on the thread that called the export, in the middle of
   the operation; it must not call the plug-in's exports again. Texts handed to
   a callback belong to the plug-in and are valid only during the call. A
   callback that is not set is never called: nothing is asked, and the answer
   each description gives for "not set" applies. An answer that stops an
   operation leaves AR_ABORTED. */

/* Announces a long operation and its total in bytes (code AR_SIGNAL_...).
   The result is ignored. */
typedef int32_t(ACEPLUG_CALL* AceSignalProc)(AceContext context, uint32_t totalLow,
                                             uint32_t totalHigh, int32_t code);
/* Called during extraction for each entry left out for its name:
   "refusing to extract NAME: REASON". The result is ignored. */
typedef int32_t(ACEPLUG_CALL* AceWarningProc)(AceContext context, const char* text);
/* Asks for volume `volume` (passed twice) of a multi-volume archive when its
   file is missing. `directory` holds its drive and directory without a
   trailing "\" in a 272-byte buffer that the host may rewrite in place.
   Returns 0 to go on with that directory, anything else to cancel. */
typedef int32_t(ACEPLUG_CALL* AceNextDiskProc)(AceContext context, char* directory, int32_t zero,
                                               int32_t volume, int32_t volumeAgain);
/* Stored, never called. */
typedef int32_t(ACEPLUG_CALL* AceSfxProgressProc)(AceContext context, int32_t percent,
                                                  int32_t step);
/* Names the file about to be processed: `path` where it is read or written,
   `shownName` the name as stored or written. The result is ignored. */
typedef int32_t(ACEPLUG_CALL* AceFileNameProc)(AceContext context, const char* path,
                                               const char* shownName);
/* A file or folder to add cannot be found. Returns 1 to leave it out and go
   on, 2 to stop. Not set: the addition fails with AR_IO_ERROR. */
typedef int32_t(ACEPLUG_CALL* AceSkipFileProc)(AceContext context, const char* path);
/* Asks for the password of the encrypted entry `name` (base name and
   extension). The host writes it NUL-terminated into `buffer` (272 bytes, at
   most 271 characters) and returns non-zero; 0 cancels. The password given
   with SetCryptKey is not consulted. */
typedef int32_t(ACEPLUG_CALL* AceCryptKeyProc)(AceContext context, char* buffer, const char* name,
                                               int32_t zero);
/* Progress of the current file or entry: `percent` done (0..100), `step` the
   bytes done since the previous call (100 for each entry a delete leaves
   out). Returns non-zero to go on, 0 to stop. */
typedef int32_t(ACEPLUG_CALL* AceProgressProc)(AceContext context, int32_t percent, int32_t step);
/* A name is taken: on extraction `existing` is the file on disk and
   `replacement` the entry; on adding, the other way round. Returns 0 to
   replace (a read-only file is made writable first), 1 to keep the existing
   one, 2 to stop (extraction takes every other non-zero answer as a stop).
   Not set: replace. */
typedef int32_t(ACEPLUG_CALL* AceReplaceProc)(AceContext context, const AceFindData* existing,
                                              const AceFindData* replacement);

/* Signal codes passed to AceSignalProc. */
enum {
  AR_SIGNAL_REBUILD = 1, /* solid rebuild or solid delete: total to compress */
  AR_SIGNAL_EXTRACT = 2, /* extraction: total of the selected entries */
  AR_SIGNAL_TEST = 11    /* test: total of all entries */
};

/* ---- lifecycle and settings ----
   Expected order: InitArcFile or CreateArcFile; the setters (callbacks, paths,
   password, option records: the open clears callbacks and password); one or
   more operations, each followed by GetArchiveStatus; DoneArcFile. One archive
   and one operation at a time, from one thread. Texts are copied at once and
   stay the caller's. Between operations no file is held open. */

/* Opens an existing archive for the operations that follow; clears the
   status, the callbacks (all but signal and warning), the password and the
   archive's facts, and keeps the paths, options and option records.
   Leaves: AR_OK (an archive of only a main header too); AR_FILE_NOT_FOUND
   when `path` is no file (the archive then counts as new, so a compression
   creates it); AR_IO_ERROR (cannot be opened or read; path too long; null);
   AR_SIZE_ERROR (2 GiB or more, or its size unreadable); AR_NOT_ACE. After a
   failure no archive is open. */
ACEPLUG_API void ACEPLUG_CALL InitArcFile(const char* path);
/* Names a new archive; nothing is written until the first
   CompressFileMaskListArc. Leaves AR_OK; AR_IO_ERROR when `path` exists
   (every setting is then cleared as by DoneArcFile) or cannot be held. */
ACEPLUG_API void ACEPLUG_CALL CreateArcFile(const char* path);
/* Closes the archive: releases the main comment, clears every setting but
   the signal and warning procedures, and the status. Lists stay the host's to
   release. */
ACEPLUG_API void ACEPLUG_CALL DoneArcFile(void);
/* The status the last operation left (the codes above). */
ACEPLUG_API uint16_t ACEPLUG_CALL GetArchiveStatus(void);
ACEPLUG_API void ACEPLUG_CALL SetArchiveStatus(uint16_t code);
/* A 16-bit set of host option bits, kept by InitArcFile and cleared by
   DoneArcFile; the plug-in only sets bit 0x0001 before a solid rebuild or
   delete. arOptionsAreOn returns 1 when every given bit is set. */
ACEPLUG_API void ACEPLUG_CALL arOptionsOn(uint16_t bits);
ACEPLUG_API void ACEPLUG_CALL arOptionsOff(uint16_t bits);
ACEPLUG_API uint8_t ACEPLUG_CALL arOptionsAreOn(uint16_t bits);
/* Base folder of the files to add. A text longer than 3 characters gets a
   "\" appended, even when it ends in one already. Returns 0. */
ACEPLUG_API int32_t ACEPLUG_CALL SetInputPath(const char* path);
/* Prefix of stored names, kept as given. */
ACEPLUG_API void ACEPLUG_CALL SetRelativePath(const char* path);
/* Extraction target; a "\" is appended unless it ends in one. */
ACEPLUG_API void ACEPLUG_CALL SetOutputPath(const char* path);
/* An empty text forgets the password; the text is kept otherwise. */
ACEPLUG_API void ACEPLUG_CALL SetCryptKey(const char* key);
/* Reset to the defaults (1024 KB, level 1, not solid), then takes the
   record's dictionary code, level, solid flag, path flag and texts, each only
   when valid; a non-empty relative or input path also becomes the current
   one. Also makes listing read file comments. */
ACEPLUG_API void ACEPLUG_CALL SetCompExtraFeatures(const CompOptions* options);
/* Copies the record; a non-empty relative or output path becomes the current
   one. */
ACEPLUG_API void ACEPLUG_CALL SetDecompExtraFeatures(const DecompOptions* options);

/* Self-extractors, recovery records and writing comments are not offered:
   CreateExeArc and CreateArcSfx2 do nothing and leave the status as it was;
   the others leave AR_NOT_SUPPORTED. */
ACEPLUG_API void ACEPLUG_CALL CreateExeArc(void);
ACEPLUG_API void ACEPLUG_CALL CreateArcSfx2(void);
ACEPLUG_API void ACEPLUG_CALL BuildUnDamagedArc(void);
ACEPLUG_API void ACEPLUG_CALL AddDamageProtXionArc(void);
ACEPLUG_API void ACEPLUG_CALL StripDamageProtXionArc(void);
ACEPLUG_API void ACEPLUG_CALL SetFileCommentsArc(void);
ACEPLUG_API void ACEPLUG_CALL SetMainCommentArc(void);

/* ---- callback setters ----
   Each stores a context value and a procedure (null: not set). InitArcFile,
   CreateArcFile and DoneArcFile clear them all but the signal and warning
   procedures, whose context values they set to 0: set callbacks after the
   open. */
ACEPLUG_API void ACEPLUG_CALL SetSetSignalProc(AceContext context, AceSignalProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetWarningProc(AceContext context, AceWarningProc proc);
ACEPLUG_API void ACEPLUG_CALL SetGetNextDiskProc(AceContext context, AceNextDiskProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetSfxProgressProc(AceContext context, AceSfxProgressProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetFileNameProc(AceContext context, AceFileNameProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSkipFileProc(AceContext context, AceSkipFileProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetCryptKeyProc(AceContext context, AceCryptKeyProc proc);
ACEPLUG_API void ACEPLUG_CALL SetSetProgressProc(AceContext context, AceProgressProc proc);
ACEPLUG_API void ACEPLUG_CALL SetOkToReplaceProc(AceContext context, AceReplaceProc proc);

/* ---- lists ----
   The host owns the list heads; the plug-in allocates the entries, nodes and
   comments on its own heap, and only the matching Done function releases
   them. */

/* Zeroes the head; call it before the first build. */
ACEPLUG_API void ACEPLUG_CALL InitArcFileList(ArcFileList* list);
/* Releases every entry and its comment and zeroes the head (an empty list
   only has its head zeroed). */
ACEPLUG_API void ACEPLUG_CALL DoneArcFileList(ArcFileList* list);
/* Zeroes the head. */
ACEPLUG_API void ACEPLUG_CALL InitFileMaskList(FileMaskList* list);
/* Appends a mask ("DIR\NAME.EXT", wildcards allowed; for adding, a file or
   folder path). Returns non-zero on success; 0 with AR_NO_MEMORY (the list
   unchanged) or, for a null argument, AR_IO_ERROR. */
ACEPLUG_API int32_t ACEPLUG_CALL AppendFileMask(const char* mask, FileMaskList* list);
/* Releases every node and zeroes the head. */
ACEPLUG_API void ACEPLUG_CALL DoneFileMaskList(FileMaskList* list);

/* ---- operations ----
   Each needs an open archive and reports only through the status; null
   arguments leave AR_IO_ERROR and change nothing. An operation that writes
   builds the new archive beside the old one and puts it in place only when
   everything went well: on any failure the old archive is untouched and no
   temporary file or folder is left. */

/* Lists the open archive into `list` in archive order, keeping the file
   entries that `masks` selects (an empty mask list selects all); recovery
   records are listed unfiltered. The head is zeroed first: release an earlier
   list before. Also computes the summary for GetExtraInfoArc. A status left
   set before the call ends the listing at once: an empty list, AR_OK.
   Leaves: AR_OK; AR_IO_ERROR (a read failed); AR_BAD_HEADER (a header of an
   unknown type); AR_NO_MEMORY. On a failure the entries listed so far stay in
   the list. */
ACEPLUG_API void ACEPLUG_CALL BuildArcFileList(ArcFileList* list, const FileMaskList* masks);
/* Copies the summary of the last listing, listing the whole archive first
   when it has not been listed. On a failure of that listing `info` is left
   as it was and its status stands. */
ACEPLUG_API void ACEPLUG_CALL GetExtraInfoArc(ArcInfo* info);
/* Hands over a copy of the main comment, allocated with malloc: the host
   frees Comment. No comment (or no memory): Comment null, Length 0. */
ACEPLUG_API void ACEPLUG_CALL GetMainCommentArc(MainCommentInfo* info);
/* Tests every entry through the extraction library (signal AR_SIGNAL_TEST,
   progress per entry). Leaves: AR_OK; AR_FILE_NOT_FOUND (library missing or
   incomplete); AR_NOT_ACE; AR_ARCHIVE_ERROR (a CRC error); AR_IO_ERROR;
   AR_NO_MEMORY; AR_UNSUPPORTED; AR_BAD_HEADER; AR_ABORTED. */
ACEPLUG_API void ACEPLUG_CALL TestArc(void);
/* Extracts the entries that `masks` selects into the output path, with their
   stored folders when the decompression options ask for them; asks before
   replacing a file. Leaves what TestArc leaves, and AR_DISK_FULL (a write
   fell short) and AR_BAD_DIR_NAME (an entry left out for its name, see
   AceWarningProc). */
ACEPLUG_API void ACEPLUG_CALL ExtractFileMaskListArc(const FileMaskList* masks);
/* Adds the files and folders of `masks` (folders with everything in them)
   to the archive, creating it when it is new. Does nothing when the status
   is already set. A solid archive is rebuilt whole, in a temporary working
   folder, and leaves the host's list empty (hence not const).
   Leaves: AR_OK; AR_NOTHING_TO_ADD (empty list, no archive made); AR_LOCKED;
   AR_IO_ERROR; AR_SIZE_ERROR (a file the archive could not hold); AR_NO_MEMORY
   (also an unsupported dictionary); AR_DISK_FULL; AR_ABORTED;
   AR_TEMP_DIR_FAILED, AR_UNPACK_FAILED and the extraction codes (solid
   rebuild). */
ACEPLUG_API void ACEPLUG_CALL CompressFileMaskListArc(FileMaskList* masks);
/* Deletes the entries that `masks` selects; a solid archive is unpacked into
   a temporary working folder and packed again without them. Leaves: AR_OK;
   AR_LOCKED; AR_UNSUPPORTED (a solid archive of another version);
   AR_IO_ERROR; AR_NO_MEMORY; AR_DISK_FULL; AR_ABORTED; AR_TEMP_DIR_FAILED,
   AR_UNPACK_FAILED and the extraction codes (solid archive). */
ACEPLUG_API void ACEPLUG_CALL DeleteFileMaskListArc(const FileMaskList* masks);
/* Adds an empty directory entry `name` (a lock does not refuse it). Leaves:
   AR_OK; AR_BAD_DIR_NAME (a forbidden character or a device name, nothing
   written); AR_DIR_EXISTS; AR_IO_ERROR; AR_NO_MEMORY; AR_DISK_FULL; or what
   listing the archive left. */
ACEPLUG_API void ACEPLUG_CALL CreateDirectoryArc(const char* name);

#ifdef __cplusplus
}
#endif

#endif /* ACEPLUG_ACEPLUG_H */
