// Runs the built acearc in a child process for the end-to-end tests: without
// a terminal (stdin from the null device, output captured), or (POSIX only)
// under a pseudo-terminal driven like a user at the keyboard.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "support/test_support.h"

namespace clitest {

struct RunResult {
  int exitCode = -1;  // 128 + signal when killed
  std::string out;
  std::string err;
};

std::filesystem::path AcearcPath();

// acearc started with `args` in `cwd` (the test's folder when empty); with
// `asUser` >= 0 (POSIX) it runs under that user id (the tests run as root in CI).
class AcearcProcess {
 public:
  AcearcProcess(const std::vector<std::string>& args, const std::filesystem::path& cwd = {},
                int asUser = -1);
  ~AcearcProcess();  // ends it if it still runs
  AcearcProcess(const AcearcProcess&) = delete;
  AcearcProcess& operator=(const AcearcProcess&) = delete;
#ifndef _WIN32
  void Interrupt();  // Ctrl-C
#endif
  // Waits for the end (-2 as exit code when the time ran out) and collects the output.
  RunResult Wait(std::chrono::seconds timeout = std::chrono::seconds(300));

 private:
  acetest::TempDir capture_;
  intptr_t child_ = -1;  // the process id; on Windows the process handle
};

// Runs acearc to its end.
RunResult RunAcearc(const std::vector<std::string>& args, const std::filesystem::path& cwd = {},
                    int asUser = -1);

// acearc under a pseudo-terminal: stdin, stdout and stderr are the terminal.
class TerminalSession {
 public:
  TerminalSession(const std::vector<std::string>& args, const std::filesystem::path& cwd);
  ~TerminalSession();
  TerminalSession(const TerminalSession&) = delete;
  TerminalSession& operator=(const TerminalSession&) = delete;

  // Reads until `text` has appeared in what the terminal showed; false on
  // timeout or when the program ended first.
  bool WaitFor(const std::string& text, std::chrono::seconds timeout = std::chrono::seconds(30));
  // Types `keys` as a user would.
  void Type(const std::string& keys);
  // Waits for the program to end, reading what it still shows; its exit code.
  int Finish(std::chrono::seconds timeout = std::chrono::seconds(60));
  // Everything the terminal showed so far.
  const std::string& screen() const { return screen_; }

 private:
  bool ReadSome(int timeoutMs);
  int master_ = -1;
  pid_t child_ = -1;
  std::string screen_;
};

}  // namespace clitest
