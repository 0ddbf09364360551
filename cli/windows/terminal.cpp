#include "terminal.h"

#include <io.h>
#include <windows.h>

#include <cstdio>

namespace acearc::terminal {

namespace {

HANDLE Stdin() { return GetStdHandle(STD_INPUT_HANDLE); }
HANDLE Stderr() { return GetStdHandle(STD_ERROR_HANDLE); }

}  // namespace

bool StdinIsTerminal() { return _isatty(_fileno(stdin)) != 0; }
bool StderrIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

size_t StderrColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (GetConsoleScreenBufferInfo(Stderr(), &info)) {
    const int columns = info.srWindow.Right - info.srWindow.Left + 1;
    if (columns >= 20) return static_cast<size_t>(columns);
  }
  return 80;
}

void WriteStderr(std::string_view text) {
  std::fflush(stderr);  // what the C library still holds goes first
  while (!text.empty()) {
    DWORD written = 0;
    if (!WriteFile(Stderr(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
        written == 0) {
      return;
    }
    text.remove_prefix(written);
  }
}

Input ReadStdinByte(int timeoutMs, char* byte) {
  for (;;) {
    const DWORD wait = WaitForSingleObject(Stdin(), static_cast<DWORD>(timeoutMs));
    if (wait == WAIT_TIMEOUT) return Input::Nothing;
    if (wait != WAIT_OBJECT_0) return Input::End;
    DWORD read = 0;
    if (!ReadFile(Stdin(), byte, 1, &read, nullptr) || read == 0) return Input::End;
    // The console ends a line with "\r\n"; the '\n' alone ends it here.
    if (*byte != '\r') return Input::Byte;
  }
}

struct EchoOff::Saved {
  DWORD mode = 0;
};

EchoOff::EchoOff() {
  auto saved = std::make_unique<Saved>();
  if (!GetConsoleMode(Stdin(), &saved->mode)) return;
  if (SetConsoleMode(Stdin(), saved->mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT))) {
    saved_ = std::move(saved);
  }
}

EchoOff::~EchoOff() {
  if (saved_) SetConsoleMode(Stdin(), saved_->mode);
}

}  // namespace acearc::terminal
