// What the figures were measured on, for the head of a report.
#pragma once

#include <string>

namespace bench {

struct MachineFacts {
  std::string cpu;       // model name from /proc/cpuinfo
  unsigned cores = 0;    // online processors
  std::string compiler;  // compiler and version
  std::string flags;     // C++ flags of this build
  std::string kernel;    // uname
};

MachineFacts GetMachineFacts();

// "| what | value |" rows of the facts as a Markdown table; `threads` says
// how the figures used the cores.
std::string MachineTable(const MachineFacts& facts,
                         const char* threads = "all figures single-threaded");

}  // namespace bench
