// Runs the built acearc in a child process: without a terminal (stdin from
// /dev/null, output captured), or under a pseudo-terminal driven like a user
// at the keyboard.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace clitest {

struct RunResult {
  int exitCode = -1;  // 128 + signal when killed
  std::string out, err;
};

// Runs acearc with `args` in `cwd`; as user `asUser` when it is >= 0 (the
// tests run as root in CI); `once` runs (with the child's id) as soon as
// `watched` exists.
RunResult RunAcearc(const std::vector<std::string>& args, const std::filesystem::path& cwd,
                    int asUser = -1, const std::filesystem::path& watched = {},
                    const std::function<void(pid_t)>& once = {});

class TerminalSession {
 public:
  TerminalSession(const std::vector<std::string>& args, const std::filesystem::path& cwd);
  ~TerminalSession();
  TerminalSession(const TerminalSession&) = delete;
  TerminalSession& operator=(const TerminalSession&) = delete;

  // Reads until `text` has appeared on the screen; false on timeout or when
  // the program ended first.
  bool WaitFor(const std::string& text);
  void Type(const std::string& keys);
  // Reads on until the program ends; its exit code.
  int Finish();
  const std::string& screen() const { return screen_; }

 private:
  bool ReadSome(int timeoutMs);
  int master_ = -1;
  pid_t child_ = -1;
  std::string screen_;
};

}  // namespace clitest
