#include "cli/runner.h"

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
#include <thread>

#include "support/test_support.h"

namespace clitest {

namespace fs = std::filesystem;

#ifdef _WIN32
namespace {

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

}  // namespace

// There is no other user to run as on Windows: `asUser` is ignored.
RunResult RunAcearc(const std::vector<std::string>& args, const fs::path& cwd, int,
                    const fs::path& watched, const std::function<void(pid_t)>& once) {
  acetest::TempDir capture;
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = Inheritable(L"NUL", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = Inheritable((capture.path() / "out").c_str(), GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = Inheritable((capture.path() / "err").c_str(), GENERIC_WRITE, CREATE_ALWAYS);
  std::wstring line = Quoted((acetest::BinDir() / "acearc.exe").wstring());
  for (const std::string& arg : args)
    line += L" " + Quoted(fs::path(std::u8string(arg.begin(), arg.end())).wstring());
  PROCESS_INFORMATION process{};
  const bool started = CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                      cwd.empty() ? nullptr : cwd.c_str(), &startup, &process);
  for (HANDLE h : {startup.hStdInput, startup.hStdOutput, startup.hStdError}) CloseHandle(h);
  RunResult result;
  if (started) {
    CloseHandle(process.hThread);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(300);
    bool done = false;
    DWORD waited = WAIT_TIMEOUT;
    while ((waited = WaitForSingleObject(process.hProcess, 5)) == WAIT_TIMEOUT &&
           std::chrono::steady_clock::now() < deadline) {
      if (!done && once && fs::exists(watched)) {
        done = true;
        once(static_cast<pid_t>(process.dwProcessId));
      }
    }
    DWORD code = 0;
    if (waited != WAIT_OBJECT_0) {
      TerminateProcess(process.hProcess, 1);
      WaitForSingleObject(process.hProcess, INFINITE);
      result.exitCode = -2;
    } else if (GetExitCodeProcess(process.hProcess, &code)) {
      result.exitCode = static_cast<int>(code);
    }
    CloseHandle(process.hProcess);
  }
  // Text output ends its lines in "\r\n" on Windows; a lone "\r" stays visible.
  for (auto [text, file] : {std::pair{&result.out, "out"}, {&result.err, "err"}}) {
    *text = acetest::ReadFileText(capture.path() / file);
    for (size_t at = 0; (at = text->find("\r\n", at)) != std::string::npos;) text->erase(at, 1);
  }
  return result;
}

// No pseudo-terminals to drive on Windows: the terminal tests are POSIX only
// and skip before they open a session.
TerminalSession::TerminalSession(const std::vector<std::string>&, const fs::path&) {}
TerminalSession::~TerminalSession() = default;
bool TerminalSession::WaitFor(const std::string&) { return false; }
void TerminalSession::Type(const std::string&) {}
int TerminalSession::Finish() { return -1; }
bool TerminalSession::ReadSome(int) { return false; }
#else
namespace {

std::vector<char*> Argv(std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  return argv;
}

std::vector<std::string> Command(const std::vector<std::string>& args) {
  std::vector<std::string> full{(acetest::BinDir() / "acearc").string()};
  full.insert(full.end(), args.begin(), args.end());
  return full;
}

// Waits for the child, killing it after `seconds`; its exit code.
int WaitChild(pid_t child, int seconds, const fs::path& watched = {},
              const std::function<void(pid_t)>& once = {}) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  bool done = false;
  for (int status = 0;; std::this_thread::sleep_for(std::chrono::milliseconds(5))) {
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (ended < 0 && errno != EINTR) return -1;
    if (!done && once && fs::exists(watched)) {
      done = true;
      once(child);
    }
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return -2;
    }
  }
}

}  // namespace

RunResult RunAcearc(const std::vector<std::string>& args, const fs::path& cwd, int asUser,
                    const fs::path& watched, const std::function<void(pid_t)>& once) {
  acetest::TempDir capture;
  std::vector<std::string> full = Command(args);
  std::vector<char*> argv = Argv(full);
  const pid_t child = fork();
  if (child == 0) {
    const int in = open("/dev/null", O_RDONLY);
    const int out = open((capture / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = open((capture / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (chdir(cwd.c_str()) != 0 || in < 0 || out < 0 || err < 0) _exit(126);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    if (asUser >= 0 && (setgroups(0, nullptr) != 0 || setgid(static_cast<gid_t>(asUser)) != 0 ||
                        setuid(static_cast<uid_t>(asUser)) != 0)) {
      _exit(125);
    }
    execv(argv[0], argv.data());
    _exit(127);
  }
  RunResult result;
  result.exitCode = WaitChild(child, 300, watched, once);
  result.out = acetest::ReadFileText(capture / "out");
  result.err = acetest::ReadFileText(capture / "err");
  return result;
}

TerminalSession::TerminalSession(const std::vector<std::string>& args, const fs::path& cwd) {
  std::vector<std::string> full = Command(args);
  std::vector<char*> argv = Argv(full);
  winsize size{};
  size.ws_row = 24;
  size.ws_col = 100;
  child_ = forkpty(&master_, nullptr, nullptr, &size);
  if (child_ == 0) {
    if (chdir(cwd.c_str()) != 0) _exit(126);
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
  const ssize_t n = read(master_, buffer, sizeof buffer);
  if (n <= 0) return false;  // EIO: the program closed the terminal
  screen_.append(buffer, static_cast<size_t>(n));
  return true;
}

bool TerminalSession::WaitFor(const std::string& text) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (screen_.find(text) == std::string::npos) {
    if (std::chrono::steady_clock::now() > deadline || !ReadSome(100)) {
      return screen_.find(text) != std::string::npos;
    }
  }
  return true;
}

void TerminalSession::Type(const std::string& keys) {
  if (write(master_, keys.data(), keys.size()) < 0) screen_ += "[typing failed]";
}

int TerminalSession::Finish() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::chrono::steady_clock::now() < deadline && ReadSome(100)) {
  }
  const int code = WaitChild(child_, 5);
  child_ = -1;
  return code;
}

#endif

}  // namespace clitest
