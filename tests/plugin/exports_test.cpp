// The built plug-in exports the functions its header declares, and nothing else.

#include <cstdio>
#include <regex>
#include <set>

#include "support/test_support.h"

namespace {

TEST(Exports, TheLibraryExportsExactlyTheDeclaredFunctions) {
  ACE_POSIX_ONLY("nm reads the ELF table; scripts/test-windows.sh checks the DLL's with objdump");
  std::set<std::string> declared;
  const std::string header = acetest::ReadFileText(ACE_SOURCE_DIR "/include/aceplug/aceplug.h");
  const std::regex declaration(R"(ACEPLUG_API \w+ ACEPLUG_CALL (\w+)\()");
  for (std::sregex_iterator it(header.begin(), header.end(), declaration), end; it != end; ++it) {
    declared.insert((*it)[1]);
  }
  EXPECT_EQ(declared.size(), 43u);

  const std::string command = "nm -D --defined-only '" + acetest::PluginPath().string() + "'";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::set<std::string> exported;
  char line[1024], name[900];
  char type = 0;
  while (std::fgets(line, sizeof line, pipe) != nullptr) {
    if (std::sscanf(line, "%*s %c %899s", &type, name) != 2) continue;
    const std::string symbol = std::string(name).substr(0, std::string(name).find('@'));
    exported.insert(type == 'T' ? symbol : symbol + " (not a function)");
  }
  ASSERT_EQ(pclose(pipe), 0) << command;
  EXPECT_EQ(exported, declared);
}

}  // namespace
