/*
 * The interface of the extraction library UnAceV2.Dll: its five functions,
 * the records they take and the callback records through which the library
 * reports and asks. Shared by the plug-in (which loads the library at run
 * time) and by the library itself.
 *
 * On a 32-bit build every record has the size and the offsets of the
 * library's published interface (checked below). On a 64-bit build pointer
 * fields are pointer-sized and the records grow accordingly.
 *
 * Callbacks answer ACE_CALLBACK_RETURN_OK (go on), _NO (leave this file out)
 * or _CANCEL (stop the whole operation at once).
 */
#ifndef ACEPLUG_UNACEV2_H
#define ACEPLUG_UNACEV2_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(_WIN32)
#  define UNACE_CALL __stdcall
#else
#  define UNACE_CALL
#endif

/* ---- answers of the callbacks ---- */
enum { ACE_CALLBACK_RETURN_OK = 0, ACE_CALLBACK_RETURN_NO = 1, ACE_CALLBACK_RETURN_CANCEL = 2 };

/* ---- callback record types ---- */
enum {
  ACE_CALLBACK_TYPE_GLOBAL = 0,
  ACE_CALLBACK_TYPE_ARCHIVE = 1,
  ACE_CALLBACK_TYPE_ARCHIVEDFILE = 2,
  ACE_CALLBACK_TYPE_REALFILE = 3,
  ACE_CALLBACK_TYPE_SPACE = 4,
  ACE_CALLBACK_TYPE_SFXFILE = 5,
  ACE_CALLBACK_TYPE_PROGRESS = 7
};

/* ---- operations (callback record offset 8) ---- */
enum {
  ACE_CALLBACK_OPERATION_LIST = 0,
  ACE_CALLBACK_OPERATION_TEST = 1,
  ACE_CALLBACK_OPERATION_ANALYZE = 2,
  ACE_CALLBACK_OPERATION_EXTRACT = 3
};

/* ---- error codes (error callback) ---- */
enum {
  /* global */
  ACE_CALLBACK_ERROR_MEMORY = 512,   /* an allocation failed */
  ACE_CALLBACK_ERROR_UNCSPACE = 518, /* no room left for temporary data */
  /* archive */
  ACE_CALLBACK_ERROR_ARCHIVE_CRC = 546, /* an entry's data is damaged or cut off by the end */
  ACE_CALLBACK_ERROR_READ = 550,        /* the archive cannot be read */
  ACE_CALLBACK_ERROR_SEEK = 552,        /* the archive cannot be positioned */
  ACE_CALLBACK_ERROR_HEADER = 556,      /* a header is broken, cut off or of an unknown kind */
  ACE_CALLBACK_ERROR_JUNK = 558,        /* bytes that belong to no header were skipped */
  ACE_CALLBACK_ERROR_NOT_ACE = 559,     /* no ACE archive */
  ACE_CALLBACK_ERROR_VERSION = 561,     /* the archive needs a newer library */
  /* archived file */
  ACE_CALLBACK_ERROR_OPEN = 576,          /* the output cannot be created, or is unsafe */
  ACE_CALLBACK_ERROR_CLOSE = 580,         /* the output cannot be completed */
  ACE_CALLBACK_ERROR_SET_TIME = 582,      /* reserved: time stamps are restored quietly */
  ACE_CALLBACK_ERROR_METHOD = 586,        /* compression type, version or encryption unsupported */
  ACE_CALLBACK_ERROR_WRITE = 587,         /* a write failed or stored fewer bytes */
  ACE_CALLBACK_ERROR_MAKE_DIRECTORY = 588 /* a directory cannot be created */
};

/* ---- request codes (request callback) ---- */
enum {
  ACE_CALLBACK_REQUEST_CHANGEVOLUME = 801, /* archive: the next volume is needed */
  ACE_CALLBACK_REQUEST_OVERWRITE = 832,    /* archived file: the output exists */
  ACE_CALLBACK_REQUEST_PASSWORD = 835      /* archived file: it is encrypted */
};

/* ---- state codes (state callback) ---- */
enum {
  ACE_CALLBACK_STATE_STARTARCHIVE = 1024, /* archive: a volume is about to be read */
  ACE_CALLBACK_STATE_STARTFILE = 1040,    /* archived file: about to be processed */
  ACE_CALLBACK_STATE_PROGRESS = 1056      /* progress: bytes processed */
};

/* ---- results of the five functions ---- */
enum {
  ACE_RESULT_OK = 0,
  ACE_RESULT_CANCELLED = 255 /* a callback answered ACE_CALLBACK_RETURN_CANCEL */
  /* otherwise the error code (above) that ended the operation */
};

struct AceCallbackRecord;
typedef int(UNACE_CALL* AceCallbackProc)(struct AceCallbackRecord* record);

/* ---- data records the callbacks point at ---- */

/* The library's settings for the running operation. */
typedef struct AceGlobalData {
  uint32_t MaxArchiveTestBytes; /*  0: from the init record */
  uint32_t MaxFileBufSize;      /*  4: from the init record */
  uint32_t Reserved8[4];        /*  8 */
  char* DecryptPassword;        /* 24: the password text; the caller may point it elsewhere */
  const char* TempDir;          /* 28 */
  uint32_t Reserved32[8];
} AceGlobalData;

/* The archive (volume) in hand. */
typedef struct AceArchiveData {
  char* ArchiveName;       /*  0: path of the current volume (of the next one, in 801) */
  uint32_t VolumeNumber;   /*  4: 0 for the first volume */
  uint32_t Flags;          /*  8: the main header's HEAD_FLAGS */
  uint32_t HostCreated;    /* 12 */
  uint32_t TimeCreated;    /* 16: DOS stamp */
  uint32_t VersionCreated; /* 20 */
  uint32_t VersionExtract; /* 24 */
  uint32_t Reserved28[9];
} AceArchiveData;

/* The archived file in hand. */
typedef struct AceFileData {
  const char* SourceFileName; /*  0: the stored name, "\" separated */
  char* DestinationFileName;  /*  4: where it is written; the caller may point it elsewhere */
  uint32_t Flags;             /*  8: the file header's HEAD_FLAGS */
  uint32_t CRC32;             /* 12: as stored */
  uint32_t Method;            /* 16: TECH_TYPE */
  uint32_t DictionaryCode;    /* 20: low 4 bits of TECH_PARM */
  uint64_t CompressedSize;    /* 24: packed bytes in this volume */
  uint64_t Size;              /* 32: unpacked size */
  uint32_t Time;              /* 40: DOS stamp, local time */
  uint32_t Attributes;        /* 44 */
  uint32_t Reserved48[4];
} AceFileData;

/* Progress of the running operation (selected entries only). */
typedef struct AceProgressData {
  uint32_t StepSize;            /*  0: bytes produced since the last notice */
  uint32_t Reserved4;           /*  4 */
  uint64_t TotalProcessedSize;  /*  8: unpacked bytes of the operation so far */
  uint64_t TotalCompressedSize; /* 16: packed bytes read so far */
  uint64_t Reserved24;          /* 24 */
  uint64_t FileProcessedSize;   /* 32: unpacked bytes of the current file so far */
  uint64_t FileCompressedSize;  /* 40: packed bytes of the current file read so far */
  uint64_t FileSize;            /* 48: unpacked size of the current file */
} AceProgressData;

/* What every callback receives. Pointers that do not apply are null. */
typedef struct AceCallbackRecord {
  uint32_t StructureType;        /*  0: ACE_CALLBACK_TYPE_... */
  uint32_t Code;                 /*  4 */
  uint32_t Operation;            /*  8: ACE_CALLBACK_OPERATION_... */
  AceGlobalData* GlobalData;     /* 12 */
  AceArchiveData* ArchiveData;   /* 16 */
  AceFileData* FileData;         /* 20 */
  AceProgressData* ProgressData; /* 24 */
} AceCallbackRecord;

/* ---- records of the five functions ---- */

typedef struct AceInitDllStruc {
  uint32_t Reserved0;              /*   0 */
  uint32_t MaxArchiveTestBytes;    /*   4: caller gives 0x1FFFF */
  uint32_t MaxFileBufSize;         /*   8: caller gives 0x2FFFF */
  uint32_t Reserved12[21];         /*  12 */
  const char* TempDir;             /*  96 */
  uint32_t Reserved100[19];        /* 100 */
  AceCallbackProc InfoCallback;    /* 176 */
  AceCallbackProc ErrorCallback;   /* 180 */
  AceCallbackProc RequestCallback; /* 184 */
  AceCallbackProc StateCallback;   /* 188 */
  uint32_t Reserved192[32];        /* 192 */
} AceInitDllStruc;

typedef struct AceReadArchiveDataStruc {
  AceArchiveData* ArchiveData; /*  0: null when the archive cannot be read */
  uint32_t Reserved4[16];
} AceReadArchiveDataStruc;

/* Which entries an operation takes. */
typedef struct AceFilesStruc {
  const char* SourceDir;   /*  0: prefix of the names in FileList; "" for none */
  const char* FileList;    /*  4: masks separated by CR (0x0D); "" selects every entry */
  const char* ExcludeList; /*  8: masks separated by CR of entries to leave out */
  uint32_t Reserved12[17]; /* 12 */
} AceFilesStruc;

typedef struct AceListStruc {
  AceFilesStruc Files;     /*  0 */
  uint32_t Reserved80[17]; /* 80 */
} AceListStruc;

typedef struct AceTestStruc {
  AceFilesStruc Files;         /*  0 */
  const char* DecryptPassword; /* 80 */
  uint32_t Reserved84[16];     /* 84 */
} AceTestStruc;

typedef struct AceExtractStruc {
  AceFilesStruc Files;         /*  0 */
  const char* DestinationDir;  /* 80: output directory; nothing is written outside it */
  uint32_t ExcludePath;        /* 84: nonzero = stored directories are dropped */
  const char* DecryptPassword; /* 88 */
  uint32_t Reserved92[16];     /* 92 */
} AceExtractStruc;

/* ---- the five functions (looked up by these names) ---- */
typedef int(UNACE_CALL* AceInitDllProc)(AceInitDllStruc* init);
typedef int(UNACE_CALL* AceReadArchiveDataProc)(const char* archive, AceReadArchiveDataStruc* data);
typedef int(UNACE_CALL* AceListProc)(const char* archive, AceListStruc* list);
typedef int(UNACE_CALL* AceTestProc)(const char* archive, AceTestStruc* test);
typedef int(UNACE_CALL* AceExtractProc)(const char* archive, AceExtractStruc* extract);

#if defined(UNACE_BUILDING)
#  if defined(_WIN32)
#    define UNACE_API __declspec(dllexport)
#  else
#    define UNACE_API __attribute__((visibility("default")))
#  endif
UNACE_API int UNACE_CALL ACEInitDll(AceInitDllStruc* init);
UNACE_API int UNACE_CALL ACEReadArchiveData(const char* archive, AceReadArchiveDataStruc* data);
UNACE_API int UNACE_CALL ACEList(const char* archive, AceListStruc* list);
UNACE_API int UNACE_CALL ACETest(const char* archive, AceTestStruc* test);
UNACE_API int UNACE_CALL ACEExtract(const char* archive, AceExtractStruc* extract);
#endif

#ifdef __cplusplus
} /* extern "C" */
#endif

#if defined(__cplusplus) && (UINTPTR_MAX == 0xFFFFFFFFu)
/* The published layout, on the builds where pointers are 32 bits wide. */
static_assert(sizeof(AceInitDllStruc) == 320);
static_assert(offsetof(AceInitDllStruc, MaxArchiveTestBytes) == 4);
static_assert(offsetof(AceInitDllStruc, MaxFileBufSize) == 8);
static_assert(offsetof(AceInitDllStruc, TempDir) == 96);
static_assert(offsetof(AceInitDllStruc, InfoCallback) == 176);
static_assert(offsetof(AceInitDllStruc, ErrorCallback) == 180);
static_assert(offsetof(AceInitDllStruc, RequestCallback) == 184);
static_assert(offsetof(AceInitDllStruc, StateCallback) == 188);
static_assert(sizeof(AceReadArchiveDataStruc) == 68);
static_assert(sizeof(AceFilesStruc) == 80);
static_assert(sizeof(AceTestStruc) == 148);
static_assert(offsetof(AceTestStruc, DecryptPassword) == 80);
static_assert(sizeof(AceExtractStruc) == 156);
static_assert(offsetof(AceExtractStruc, DestinationDir) == 80);
static_assert(offsetof(AceExtractStruc, ExcludePath) == 84);
static_assert(offsetof(AceExtractStruc, DecryptPassword) == 88);
static_assert(offsetof(AceCallbackRecord, Code) == 4);
static_assert(offsetof(AceCallbackRecord, Operation) == 8);
static_assert(offsetof(AceCallbackRecord, GlobalData) == 12);
static_assert(offsetof(AceCallbackRecord, ArchiveData) == 16);
static_assert(offsetof(AceCallbackRecord, FileData) == 20);
static_assert(offsetof(AceCallbackRecord, ProgressData) == 24);
static_assert(offsetof(AceGlobalData, DecryptPassword) == 24);
static_assert(offsetof(AceArchiveData, VolumeNumber) == 4);
static_assert(offsetof(AceFileData, DestinationFileName) == 4);
static_assert(offsetof(AceFileData, Size) == 32);
static_assert(offsetof(AceFileData, Time) == 40);
static_assert(offsetof(AceFileData, Attributes) == 44);
static_assert(offsetof(AceProgressData, TotalProcessedSize) == 8);
static_assert(offsetof(AceProgressData, FileProcessedSize) == 32);
static_assert(offsetof(AceProgressData, FileSize) == 48);
#endif

#endif /* ACEPLUG_UNACEV2_H */
