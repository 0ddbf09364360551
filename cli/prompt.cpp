#include "prompt.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>

#include "interrupt.h"

namespace acearc {

namespace {

void WriteAll(int fd, std::string_view text) {
  while (!text.empty()) {
    ssize_t n = write(fd, text.data(), text.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return;
    }
    text.remove_prefix(static_cast<size_t>(n));
  }
}

// Reads one line from stdin, waking up now and then to see whether Ctrl-C was
// pressed (the signal is held back while the plug-in works).
std::optional<std::string> ReadLine() {
  std::string line;
  for (;;) {
    if (TakeInterrupt()) return std::nullopt;
    pollfd pfd{STDIN_FILENO, POLLIN, 0};
    int ready = poll(&pfd, 1, 200);
    if (ready < 0 && errno != EINTR) return std::nullopt;
    if (ready <= 0) continue;
    char c;
    ssize_t n = read(STDIN_FILENO, &c, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return line.empty() ? std::nullopt : std::optional<std::string>(line);
    if (c == '\n' || c == '\r') return line;
    line.push_back(c);
  }
}

std::string Trimmed(std::string text) {
  auto notSpace = [](unsigned char c) { return !std::isspace(c); };
  text.erase(text.begin(), std::find_if(text.begin(), text.end(), notSpace));
  text.erase(std::find_if(text.rbegin(), text.rend(), notSpace).base(), text.end());
  return text;
}

// Echo off for the password; restored on every way out.
class EchoOff {
 public:
  EchoOff() {
    if (tcgetattr(STDIN_FILENO, &saved_) == 0) {
      termios quiet = saved_;
      quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
      quiet.c_lflag |= ECHONL;
      active_ = tcsetattr(STDIN_FILENO, TCSANOW, &quiet) == 0;
    }
  }
  ~EchoOff() {
    if (active_) tcsetattr(STDIN_FILENO, TCSANOW, &saved_);
  }
  EchoOff(const EchoOff&) = delete;
  EchoOff& operator=(const EchoOff&) = delete;

 private:
  termios saved_{};
  bool active_ = false;
};

}  // namespace

bool CanAskQuestions() { return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1; }

std::optional<char> AskChoice(const std::string& question, const std::vector<Choice>& choices) {
  for (;;) {
    WriteAll(STDERR_FILENO, question);
    std::optional<std::string> line = ReadLine();
    if (!line) {
      WriteAll(STDERR_FILENO, "\n");
      return std::nullopt;
    }
    std::string answer = Trimmed(*line);
    std::transform(answer.begin(), answer.end(), answer.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const Choice& choice : choices) {
      if (answer == choice.word || (answer.size() == 1 && answer[0] == choice.key)) {
        return choice.key;
      }
    }
  }
}

std::optional<std::string> AskLine(const std::string& question) {
  WriteAll(STDERR_FILENO, question);
  std::optional<std::string> line = ReadLine();
  if (!line) WriteAll(STDERR_FILENO, "\n");
  return line;
}

std::optional<std::string> AskSecret(const std::string& question) {
  std::optional<std::string> line;
  {
    // Echo goes off before the question shows, so that nothing typed at once
    // is echoed or lost.
    EchoOff echoOff;
    WriteAll(STDERR_FILENO, question);
    line = ReadLine();
  }
  if (!line) WriteAll(STDERR_FILENO, "\n");
  return line;
}

}  // namespace acearc
