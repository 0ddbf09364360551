// The terminal as acearc uses it for the progress bar and for questions: POSIX
// terminals in cli/posix, the Windows console in cli/windows.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace acearc::terminal {

bool StdinIsTerminal();
bool StderrIsTerminal();

// Columns of the terminal on stderr; 80 when unknown or narrower than 20.
size_t StderrColumns();

// All of `text` to stderr, past any buffering.
void WriteStderr(std::string_view text);

enum class Input { Byte, Nothing, End };
// Waits up to `timeoutMs` for one typed byte; a line ends in '\n' on every
// platform. Nothing: the time ran out; End: end of input or an error.
Input ReadStdinByte(int timeoutMs, char* byte);

// Typed input is not echoed while an EchoOff lives.
class EchoOff {
 public:
  EchoOff();
  ~EchoOff();
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  struct Saved;
  std::unique_ptr<Saved> saved_;
};

}  // namespace acearc::terminal
