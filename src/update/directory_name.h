// The name check of a directory entry made inside an archive.
#pragma once

namespace ace {

// Refuses a forbidden character after the first ("?*><:\"/|"; "\\" separates
// levels), a final part that names a device (AUX, CON, PRN, with any extension, any case)
// and a name without any character but "\\".
[[nodiscard]] bool IsAcceptableDirectoryName(const char* name);

}  // namespace ace
