#include "machine.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace bench {

MachineFacts GetMachineFacts() {
  MachineFacts f;
  std::ifstream cpuinfo("/proc/cpuinfo");
  for (std::string line; std::getline(cpuinfo, line);) {
    if (line.rfind("model name", 0) == 0) {
      const size_t colon = line.find(':');
      if (colon != std::string::npos) f.cpu = line.substr(line.find_first_not_of(' ', colon + 1));
      break;
    }
  }
  if (f.cpu.empty()) f.cpu = "unknown";
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  f.cores = n > 0 ? static_cast<unsigned>(n) : 0;
#if defined(__clang__)
  f.compiler = "clang " __clang_version__;
#elif defined(__GNUC__)
  f.compiler = "g++ " __VERSION__;
#else
  f.compiler = "unknown";
#endif
  f.flags = std::string(ACE_BENCH_BUILD_TYPE) + ": " + ACE_BENCH_FLAGS;
  utsname u{};
  if (uname(&u) == 0) f.kernel = std::string(u.sysname) + " " + u.release + " " + u.machine;
  return f;
}

std::string MachineTable(const MachineFacts& f, const char* threads) {
  std::ostringstream s;
  s << "| machine | |\n|---|---|\n"
    << "| CPU | " << f.cpu << " |\n"
    << "| cores | " << f.cores << " (" << threads << ") |\n"
    << "| compiler | " << f.compiler << " |\n"
    << "| flags | `" << f.flags << "` |\n"
    << "| kernel | " << f.kernel << " |\n";
  return s.str();
}

}  // namespace bench
