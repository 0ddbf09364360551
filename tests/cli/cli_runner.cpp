#include "cli/cli_runner.h"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "support/test_support.h"

namespace clitest {

namespace fs = std::filesystem;

namespace {

std::vector<char*> Argv(std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  return argv;
}

int ExitCodeOf(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return -1;
}

std::string Slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Waits for the child with a time limit, killing it when the limit passes.
int WaitChild(pid_t child, std::chrono::seconds timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  int status = 0;
  for (;;) {
    pid_t done = waitpid(child, &status, WNOHANG);
    if (done == child) return ExitCodeOf(status);
    if (done < 0 && errno != EINTR) return -1;
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return -2;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

}  // namespace

fs::path AcearcPath() { return acetest::BinDir() / "acearc"; }

RunResult RunAcearc(const std::vector<std::string>& args, const fs::path& cwd, int asUser) {
  acetest::TempDir capture;
  fs::path outPath = capture.path() / "out";
  fs::path errPath = capture.path() / "err";
  std::vector<std::string> full{AcearcPath().string()};
  full.insert(full.end(), args.begin(), args.end());
  std::vector<char*> argv = Argv(full);

  pid_t child = fork();
  if (child == 0) {
    if (!cwd.empty() && chdir(cwd.c_str()) != 0) _exit(126);
    int in = open("/dev/null", O_RDONLY);
    int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in < 0 || out < 0 || err < 0) _exit(126);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    if (asUser >= 0) {
      gid_t group = static_cast<gid_t>(asUser);
      if (setgroups(0, nullptr) != 0 || setgid(group) != 0 ||
          setuid(static_cast<uid_t>(asUser)) != 0) {
        _exit(125);
      }
    }
    execv(argv[0], argv.data());
    _exit(127);
  }
  RunResult result;
  result.exitCode = WaitChild(child, std::chrono::seconds(300));
  result.out = Slurp(outPath);
  result.err = Slurp(errPath);
  return result;
}

TerminalSession::TerminalSession(const std::vector<std::string>& args, const fs::path& cwd) {
  std::vector<std::string> full{AcearcPath().string()};
  full.insert(full.end(), args.begin(), args.end());
  std::vector<char*> argv = Argv(full);
  winsize size{};
  size.ws_row = 24;
  size.ws_col = 100;
  child_ = forkpty(&master_, nullptr, nullptr, &size);
  if (child_ == 0) {
    if (!cwd.empty() && chdir(cwd.c_str()) != 0) _exit(126);
    execv(argv[0], argv.data());
    _exit(127);
  }
}

TerminalSession::~TerminalSession() {
  if (child_ > 0) {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  if (master_ >= 0) close(master_);
}

bool TerminalSession::ReadSome(int timeoutMs) {
  pollfd pfd{master_, POLLIN, 0};
  if (poll(&pfd, 1, timeoutMs) <= 0) return true;  // nothing yet, still running
  char buffer[4096];
  ssize_t n = read(master_, buffer, sizeof buffer);
  if (n <= 0) return false;  // EIO: the program closed the terminal
  screen_.append(buffer, static_cast<size_t>(n));
  return true;
}

bool TerminalSession::WaitFor(const std::string& text, std::chrono::seconds timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (screen_.find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    if (!ReadSome(100)) return screen_.find(text) != std::string::npos;
  }
  return true;
}

void TerminalSession::Type(const std::string& keys) {
  ssize_t written = write(master_, keys.data(), keys.size());
  (void)written;
}

int TerminalSession::Finish(std::chrono::seconds timeout) {
  // The terminal reports EIO once the program has ended and everything it
  // wrote has been read.
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (std::chrono::steady_clock::now() < deadline && ReadSome(100)) {
  }
  int code = WaitChild(child_, std::chrono::seconds(5));
  child_ = -1;
  return code;
}

}  // namespace clitest
