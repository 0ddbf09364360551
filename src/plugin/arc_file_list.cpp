#include "plugin/arc_file_list.h"

#include <cstdlib>

#include "plugin/state.h"

namespace ace {

ArcFileEntry* NewArcFileEntry() {
  return static_cast<ArcFileEntry*>(std::calloc(1, sizeof(ArcFileEntry)));
}

char* NewEntryComment(int32_t length) {
  if (length < 0) return nullptr;
  return static_cast<char*>(std::calloc(static_cast<size_t>(length) + 255, 1));
}

void AppendArcFileEntry(ArcFileList* list, ArcFileEntry* entry) {
  entry->Next = nullptr;
  if (list->First == nullptr) {
    list->First = entry;
  } else {
    list->Last->Next = entry;
  }
  list->Last = entry;
  ++list->Count;
}

}  // namespace ace

extern "C" {

ACEPLUG_API void ACEPLUG_CALL InitArcFileList(ArcFileList* list) {
  if (list == nullptr) {
    ace::SetStatus(AR_IO_ERROR);
    return;
  }
  *list = ArcFileList{};
}

// Every comment block is released, whatever CommentLength says: a block with a
// length of 0 is still the plug-in's memory.
ACEPLUG_API void ACEPLUG_CALL DoneArcFileList(ArcFileList* list) {
  if (list == nullptr) {
    ace::SetStatus(AR_IO_ERROR);
    return;
  }
  ArcFileEntry* entry = list->First;
  while (entry != nullptr) {
    ArcFileEntry* next = entry->Next;
    std::free(entry->Comment);
    std::free(entry);
    entry = next;
  }
  *list = ArcFileList{};
}

}  // extern "C"
