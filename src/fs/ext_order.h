// Orders a solid run's files by extension so that files of one kind follow
// each other in the shared history.
#pragma once

#include "fs/work_list.h"

namespace ace {

int CompareByExtension(const FileWorkEntry* a, const FileWorkEntry* b);
void OrderByExtension(FileWorkList* work);

}  // namespace ace
