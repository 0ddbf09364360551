#include "text_output.h"

namespace acearc {

std::string Utf8Text(std::string_view systemText) { return std::string(systemText); }

void UseUtf8Console() {}

}  // namespace acearc
