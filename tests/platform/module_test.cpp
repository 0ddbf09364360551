#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/win32.h"
#include "support/test_support.h"

namespace {

TEST(PlatformModule, OwnProgramAndLibraries) {
  char path[4096];
  const DWORD n = GetModuleFileNameA(nullptr, path, sizeof path);
  ASSERT_GT(n, 0u);
  EXPECT_EQ(std::strlen(path), n);
  EXPECT_NE(std::string(path).find("test_platform"), std::string::npos);

  char small[4];
  EXPECT_EQ(GetModuleFileNameA(nullptr, small, sizeof small), sizeof small);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  // Terminated or not: Windows before Vista (and Wine) leave out the NUL.
  EXPECT_EQ(std::string(small, 3), std::string(path, 3));

  // The module holding this function is the test program itself.
  HMODULE self = ModuleOfAddress(reinterpret_cast<const void*>(&acetest::BinDir));
  ASSERT_NE(self, nullptr);
  char selfPath[4096];
  ASSERT_GT(GetModuleFileNameA(self, selfPath, sizeof selfPath), 0u);
  EXPECT_STREQ(selfPath, path);
}

TEST(PlatformModule, LoadAndResolve) {
  const std::string plugin = acetest::PluginPath().string();
  HMODULE module = LoadLibraryA(plugin.c_str());
  ASSERT_NE(module, nullptr) << plugin;
  FARPROC proc = GetProcAddress(module, "InitFileMaskList");
  EXPECT_NE(proc, nullptr);
  EXPECT_EQ(GetProcAddress(module, "NoSuchExport"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
  // The module of an address inside the library is the library.
  HMODULE owner = ModuleOfAddress(reinterpret_cast<const void*>(proc));
  EXPECT_EQ(owner, module);
  char name[4096];
  ASSERT_GT(GetModuleFileNameA(owner, name, sizeof name), 0u);
  EXPECT_NE(std::string(name).find(acetest::PluginPath().filename().string()), std::string::npos);
  EXPECT_TRUE(FreeLibrary(module));

  EXPECT_EQ(LoadLibraryA((acetest::BinDir() / "missing.so").string().c_str()), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
}

}  // namespace
