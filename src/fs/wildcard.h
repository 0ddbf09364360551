// Wildcard matching by the plug-in's rules: "?" is exactly one character,
// "*" any run; both sides upper case already.
#pragma once

namespace ace {

[[nodiscard]] int WildcardMatch(const char* text, const char* pattern);

}  // namespace ace
