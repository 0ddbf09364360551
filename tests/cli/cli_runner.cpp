#include "cli/cli_runner.h"

#include <gtest/gtest.h>
#ifdef _WIN32
#  include <windows.h>
#else
#  include <fcntl.h>
#  include <grp.h>
#  include <poll.h>
#  include <pty.h>
#  include <signal.h>
#  include <sys/wait.h>
#  include <unistd.h>
#endif

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "support/test_support.h"

namespace clitest {

namespace fs = std::filesystem;

namespace {

std::string Slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

#ifndef _WIN32
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
#else
// One argument of a command line, quoted as the C runtime splits it again.
std::wstring Quoted(const std::wstring& arg) {
  if (!arg.empty() && arg.find_first_of(L" \t\"") == std::wstring::npos) return arg;
  std::wstring out = L"\"";
  size_t slashes = 0;
  for (wchar_t c : arg) {
    if (c == L'\\') {
      ++slashes;
      continue;
    }
    out.append(c == L'"' ? 2 * slashes + 1 : slashes, L'\\').push_back(c);
    slashes = 0;
  }
  return out.append(2 * slashes, L'\\') + L"\"";
}

HANDLE Inheritable(const wchar_t* path, DWORD access, DWORD creation) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  return CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, creation, 0,
                     nullptr);
}
#endif

}  // namespace

#ifdef _WIN32
fs::path AcearcPath() { return acetest::BinDir() / "acearc.exe"; }

AcearcProcess::AcearcProcess(const std::vector<std::string>& args, const fs::path& cwd, int) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = Inheritable(L"NUL", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = Inheritable((capture_.path() / "out").c_str(), GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = Inheritable((capture_.path() / "err").c_str(), GENERIC_WRITE, CREATE_ALWAYS);
  std::wstring line = Quoted(AcearcPath().wstring());
  for (const std::string& arg : args) line += L" " + Quoted(fs::path(arg).wstring());
  PROCESS_INFORMATION process{};
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                     cwd.empty() ? nullptr : cwd.c_str(), &startup, &process)) {
    CloseHandle(process.hThread);
    child_ = reinterpret_cast<intptr_t>(process.hProcess);
  }
  for (HANDLE h : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) CloseHandle(h);
}

AcearcProcess::~AcearcProcess() {
  if (child_ == -1) return;
  const auto process = reinterpret_cast<HANDLE>(child_);
  TerminateProcess(process, 1);
  WaitForSingleObject(process, INFINITE);
  CloseHandle(process);
}

RunResult AcearcProcess::Wait(std::chrono::seconds timeout) {
  RunResult result;
  if (child_ != -1) {
    const auto process = reinterpret_cast<HANDLE>(child_);
    DWORD code = 0;
    if (WaitForSingleObject(process, static_cast<DWORD>(timeout.count() * 1000)) != WAIT_OBJECT_0) {
      TerminateProcess(process, 1);
      WaitForSingleObject(process, INFINITE);
      result.exitCode = -2;
    } else if (GetExitCodeProcess(process, &code)) {
      result.exitCode = static_cast<int>(code);
    }
    CloseHandle(process);
    child_ = -1;
  }
  result.out = Slurp(capture_.path() / "out");
  result.err = Slurp(capture_.path() / "err");
  return result;
}

// No pseudo-terminals to drive on Windows: the terminal tests are POSIX only
// and skip before they open a session.
TerminalSession::TerminalSession(const std::vector<std::string>&, const fs::path&) {}
TerminalSession::~TerminalSession() = default;
bool TerminalSession::WaitFor(const std::string&, std::chrono::seconds) { return false; }
void TerminalSession::Type(const std::string&) {}
int TerminalSession::Finish(std::chrono::seconds) { return -1; }
#else
fs::path AcearcPath() { return acetest::BinDir() / "acearc"; }

AcearcProcess::AcearcProcess(const std::vector<std::string>& args, const fs::path& cwd,
                             int asUser) {
  fs::path outPath = capture_.path() / "out";
  fs::path errPath = capture_.path() / "err";
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
  child_ = child;
}

AcearcProcess::~AcearcProcess() {
  if (child_ > 0) {
    kill(static_cast<pid_t>(child_), SIGKILL);
    waitpid(static_cast<pid_t>(child_), nullptr, 0);
  }
}

void AcearcProcess::Interrupt() { kill(static_cast<pid_t>(child_), SIGINT); }

RunResult AcearcProcess::Wait(std::chrono::seconds timeout) {
  RunResult result;
  result.exitCode = WaitChild(static_cast<pid_t>(child_), timeout);
  child_ = -1;
  result.out = Slurp(capture_.path() / "out");
  result.err = Slurp(capture_.path() / "err");
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

#endif

RunResult RunAcearc(const std::vector<std::string>& args, const fs::path& cwd, int asUser) {
  return AcearcProcess(args, cwd, asUser).Wait();
}

}  // namespace clitest

namespace {

// The 32-bit build leaves acearc out; its tests then have nothing to run.
class AcearcBuilt : public testing::Environment {
 public:
  void SetUp() override {
    if (!std::filesystem::exists(clitest::AcearcPath())) {
      GTEST_SKIP() << "acearc is not built here (ACEPLUG_BUILD_CLI=OFF)";
    }
  }
};

testing::Environment* const kAcearcBuilt = testing::AddGlobalTestEnvironment(new AcearcBuilt);

}  // namespace
