// FileMaskList: masks split into directory, base name and extension, and the
// matcher that selects names with them.
#pragma once

#include "aceplug/aceplug.h"

namespace ace {

// Internal forms of the exports (same behaviour, callable without the C ABI).
void InitMaskList(FileMaskList* list);
int AppendMask(const char* mask, FileMaskList* list);  // status 8 and 0 on no memory
void DoneMaskList(FileMaskList* list);

int MatchesMaskList(const char* name, const FileMaskList* list);
int MatchesMask(const char* upperName, const FileMaskNode* node);

// The node's path: directory + base name + ("." + extension when not empty).
void MaskNodePath(const FileMaskNode* node, char* target, size_t size);

}  // namespace ace
