#include <cstring>
#include <string>

#include "extract/unace_driver.h"
#include "fs/file_layer.h"
#include "fs/path_ops.h"
#include "plugin/callbacks.h"
#include "plugin/find_data.h"
#include "plugin/state.h"

namespace ace {
namespace {

constexpr uint32_t kPercentLimit = 0x1400000u;  // 20,971,520

}  // namespace

int32_t UnAcePercent(uint64_t processed, uint32_t size) {
  if (size == 0) return 100;
  uint32_t done = static_cast<uint32_t>(processed);
  if ((processed >> 32) == 0 && done < kPercentLimit) {
    return static_cast<int32_t>(done * 100u / size);
  }
  return HalvedPercent(done, size);
}

int AskNextVolume(const char* volumePath, int32_t nextVolume) {
  UnAceDriverState& d = DriverState();
  char wanted[kUnAceTextBuffer] = {};
  CopyText(wanted, sizeof wanted, volumePath != nullptr ? volumePath : "");
  for (char* p = wanted; *p != '\0'; ++p) {
    if (*p == '/') *p = '\\';
  }
  char drive[kPathBuffer] = {};
  char directory[kPathBuffer] = {};
  char base[kPathBuffer] = {};
  char extension[kPathBuffer] = {};
  SplitPath(wanted, drive, directory, base, extension);
  char folder[kUnAceTextBuffer] = {};
  CopyText(folder, sizeof folder, drive);
  AppendText(folder, sizeof folder, directory);

  int answer = 0;
  if (!IsExistingFile(wanted)) {
    char shown[kUnAceTextBuffer] = {};
    if (folder[0] != '\0') StripTrailingBackslash(folder, shown);
    CopyText(folder, sizeof folder, shown);
    // Without a next-disk procedure nobody can point elsewhere: the library
    // is sent on to the expected path and reports the missing volume.
    answer = CallNextDisk(folder, nextVolume, 0);
    folder[sizeof folder - 1] = '\0';
  }
  if (answer != 0) {
    SetStatusIfClear(AR_ABORTED);
    return ACE_CALLBACK_RETURN_CANCEL;
  }
  char path[kUnAceTextBuffer] = {};
  CopyText(path, sizeof path, folder);
  // A volume without a directory stays relative instead of moving to the root.
  if (path[0] != '\0' && path[std::strlen(path) - 1] != '\\') {
    AppendText(path, sizeof path, "\\");
  }
  AppendText(path, sizeof path, base);
  AppendText(path, sizeof path, extension);
  CopyText(d.VolumePath, sizeof d.VolumePath, path);
  return ACE_CALLBACK_RETURN_OK;
}

int AskOverwrite(AceFileData* file) {
  const char* target = file->DestinationFileName;
  AceFindData existing;
  if (target == nullptr || !DiskFindData(target, &existing)) return ACE_CALLBACK_RETURN_OK;
  if (!State().okToReplace) return ACE_CALLBACK_RETURN_OK;

  ArcFileEntry entry{};
  CopyText(entry.Name, sizeof entry.Name,
           file->SourceFileName != nullptr ? file->SourceFileName : "");
  entry.DosTime = file->Time;
  entry.Attributes = file->Attributes;
  entry.UnpackedSize.Low = static_cast<uint32_t>(file->Size);
  AceFindData replacement;
  EntryFindData(entry, &replacement);

  const int32_t answer = CallOkToReplace(&existing, &replacement);
  if (answer == 0) {
    MakeFileWritable(target);
    return ACE_CALLBACK_RETURN_OK;
  }
  if (answer == 1) return ACE_CALLBACK_RETURN_NO;
  SetStatusIfClear(AR_ABORTED);
  return ACE_CALLBACK_RETURN_CANCEL;
}

int AskPassword(AceGlobalData* global, const AceFileData* file) {
  UnAceDriverState& d = DriverState();
  char base[kPathBuffer] = {};
  char extension[kPathBuffer] = {};
  SplitPath(file->SourceFileName != nullptr ? file->SourceFileName : "", nullptr, nullptr, base,
            extension);
  char name[kUnAceTextBuffer] = {};
  CopyText(name, sizeof name, base);
  AppendText(name, sizeof name, extension);
  std::memset(d.Password, 0, sizeof d.Password);
  const int32_t answer = CallCryptKey(d.Password, name, 0);
  d.Password[sizeof d.Password - 1] = '\0';
  if (answer != 0) {
    global->DecryptPassword = d.Password;
    return ACE_CALLBACK_RETURN_OK;
  }
  SetStatusIfClear(AR_ABORTED);
  return ACE_CALLBACK_RETURN_CANCEL;
}

int UNACE_CALL UnAceInfoCallback(AceCallbackRecord*) { return ACE_CALLBACK_RETURN_OK; }

int UNACE_CALL UnAceErrorCallback(AceCallbackRecord* record) {
  uint32_t status = 0;
  int answer = ACE_CALLBACK_RETURN_CANCEL;
  switch (record->StructureType) {
    case ACE_CALLBACK_TYPE_GLOBAL:
      if (record->Code == ACE_CALLBACK_ERROR_MEMORY) status = AR_NO_MEMORY;
      if (record->Code == ACE_CALLBACK_ERROR_UNCSPACE) status = AR_DISK_FULL;
      break;
    case ACE_CALLBACK_TYPE_ARCHIVE:
      switch (record->Code) {
        case ACE_CALLBACK_ERROR_ARCHIVE_CRC:
          status = AR_ARCHIVE_ERROR;
          answer = ACE_CALLBACK_RETURN_OK;
          break;
        case ACE_CALLBACK_ERROR_READ:
        case ACE_CALLBACK_ERROR_SEEK:
          status = AR_IO_ERROR;
          break;
        case ACE_CALLBACK_ERROR_HEADER:
          status = AR_BAD_HEADER;
          break;
        case ACE_CALLBACK_ERROR_JUNK:
          answer = ACE_CALLBACK_RETURN_OK;
          break;
        case ACE_CALLBACK_ERROR_NOT_ACE:
          status = AR_NOT_ACE;
          break;
        case ACE_CALLBACK_ERROR_VERSION:
          status = AR_UNSUPPORTED;
          break;
        default:
          break;
      }
      break;
    case ACE_CALLBACK_TYPE_ARCHIVEDFILE:
      switch (record->Code) {
        case ACE_CALLBACK_ERROR_OPEN:
        case ACE_CALLBACK_ERROR_CLOSE:
        case ACE_CALLBACK_ERROR_SET_TIME:
        case ACE_CALLBACK_ERROR_MAKE_DIRECTORY:
          status = AR_IO_ERROR;
          break;
        case ACE_CALLBACK_ERROR_METHOD:
          status = AR_UNSUPPORTED;
          break;
        case ACE_CALLBACK_ERROR_WRITE:
          status = AR_DISK_FULL;
          break;
        default:
          break;
      }
      break;
    case ACE_CALLBACK_TYPE_REALFILE:
    case ACE_CALLBACK_TYPE_SPACE:
    case ACE_CALLBACK_TYPE_SFXFILE:
      answer = ACE_CALLBACK_RETURN_OK;
      break;
    default:
      break;
  }
  if (status != 0) SetStatusIfClear(status);
  return answer;
}

int UNACE_CALL UnAceRequestCallback(AceCallbackRecord* record) {
  if (record->StructureType == ACE_CALLBACK_TYPE_ARCHIVE &&
      record->Code == ACE_CALLBACK_REQUEST_CHANGEVOLUME) {
    AceArchiveData* archive = record->ArchiveData;
    const int answer =
        AskNextVolume(archive->ArchiveName, static_cast<int32_t>(archive->VolumeNumber + 1));
    if (answer == ACE_CALLBACK_RETURN_OK) archive->ArchiveName = DriverState().VolumePath;
    return answer;
  }
  if (record->StructureType == ACE_CALLBACK_TYPE_ARCHIVEDFILE) {
    if (record->Code == ACE_CALLBACK_REQUEST_OVERWRITE) return AskOverwrite(record->FileData);
    if (record->Code == ACE_CALLBACK_REQUEST_PASSWORD) {
      return AskPassword(record->GlobalData, record->FileData);
    }
  }
  return ACE_CALLBACK_RETURN_CANCEL;
}

int UNACE_CALL UnAceStateCallback(AceCallbackRecord* record) {
  UnAceDriverState& d = DriverState();
  if (record->StructureType == ACE_CALLBACK_TYPE_ARCHIVEDFILE &&
      record->Code == ACE_CALLBACK_STATE_STARTFILE) {
    AceFileData* file = record->FileData;
    file->DestinationFileName = d.OutputName;
    if (record->Operation == ACE_CALLBACK_OPERATION_EXTRACT) {
      const char* name = file->SourceFileName != nullptr ? file->SourceFileName : "";
      const OutputProblem problem =
          BuildOutputName(name, d.OutputName, (file->Attributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
      if (problem != OutputProblem::kNone) {
        // Left out, and the rest goes on; the status says so at the end.
        d.RefusedOutput = true;
        CallWarning((std::string("refusing to extract ") + name + ": " + OutputProblemText(problem))
                        .c_str());
        return ACE_CALLBACK_RETURN_NO;
      }
      char shown[kUnAceTextBuffer + 1] = "\\";
      AppendText(shown, sizeof shown, name);
      CallFileName(shown, d.OutputName);
    }
    return ACE_CALLBACK_RETURN_OK;
  }
  if (record->StructureType == ACE_CALLBACK_TYPE_PROGRESS &&
      record->Code == ACE_CALLBACK_STATE_PROGRESS && State().progress) {
    const AceProgressData* p = record->ProgressData;
    const int32_t percent = UnAcePercent(p->FileProcessedSize, static_cast<uint32_t>(p->FileSize));
    const uint32_t total = static_cast<uint32_t>(p->TotalProcessedSize);
    if (CallProgress(percent, static_cast<int32_t>(total - d.ProgressBaseline)) == 0) {
      SetStatusIfClear(AR_ABORTED);
      return ACE_CALLBACK_RETURN_CANCEL;
    }
    d.ProgressBaseline = total;
  }
  return ACE_CALLBACK_RETURN_OK;
}

}  // namespace ace
