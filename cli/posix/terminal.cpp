#include "terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>

namespace acearc::terminal {

bool StdinIsTerminal() { return isatty(STDIN_FILENO) == 1; }
bool StderrIsTerminal() { return isatty(STDERR_FILENO) == 1; }

size_t StderrColumns() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= 20) return size.ws_col;
  return 80;
}

void WriteStderr(std::string_view text) {
  while (!text.empty()) {
    ssize_t n = write(STDERR_FILENO, text.data(), text.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return;
    }
    text.remove_prefix(static_cast<size_t>(n));
  }
}

Input ReadStdinByte(int timeoutMs, char* byte) {
  pollfd pfd{STDIN_FILENO, POLLIN, 0};
  const int ready = poll(&pfd, 1, timeoutMs);
  if (ready < 0) return errno == EINTR ? Input::Nothing : Input::End;
  if (ready == 0) return Input::Nothing;
  const ssize_t n = read(STDIN_FILENO, byte, 1);
  if (n < 0 && errno == EINTR) return Input::Nothing;
  if (n <= 0) return Input::End;
  // A terminal in raw mode sends Enter as '\r'.
  if (*byte == '\r') *byte = '\n';
  return Input::Byte;
}

struct EchoOff::Saved {
  termios mode{};
};

EchoOff::EchoOff() {
  auto saved = std::make_unique<Saved>();
  if (tcgetattr(STDIN_FILENO, &saved->mode) != 0) return;
  termios quiet = saved->mode;
  quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  quiet.c_lflag |= ECHONL;
  if (tcsetattr(STDIN_FILENO, TCSANOW, &quiet) == 0) saved_ = std::move(saved);
}

EchoOff::~EchoOff() {
  if (saved_) tcsetattr(STDIN_FILENO, TCSANOW, &saved_->mode);
}

}  // namespace acearc::terminal
