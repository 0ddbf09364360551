// Words for the plug-in's status codes, and the exit code each one leads to.
#pragma once

#include <cstdint>
#include <string>

#include "exit_codes.h"

namespace acearc {

// "AR_LOCKED" for 9954; "AR_UNKNOWN" for a code the header does not name.
const char* StatusName(uint16_t status);
// A short description: "archive is locked".
const char* StatusDescription(uint16_t status);
// "archive is locked (9954 AR_LOCKED)".
std::string DescribeStatus(uint16_t status);
// The same with another description in front of the code, for codes whose
// meaning depends on the operation (2 is a missing archive when opening, a
// missing extraction library when testing).
std::string DescribeStatus(uint16_t status, const std::string& description);

// 0 for success; 3 for damage; 4 for an abort; 2 otherwise.
ExitCode ExitCodeForStatus(uint16_t status);

}  // namespace acearc
