// Every test starts from a plug-in state as the host finds it after loading.
#pragma once

#include <gtest/gtest.h>

#include "aceplug/aceplug.h"
#include "plugin/state.h"

namespace acetest {

inline void ResetPlugin() {
  DoneArcFile();
  SetSetSignalProc(0, nullptr);
  SetSetWarningProc(0, nullptr);
  ace::State().Comp = CompOptions{};
  ace::State().Decomp = DecompOptions{};
}

class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetPlugin(); }
  void TearDown() override { ResetPlugin(); }
  static ace::PluginState& S() { return ace::State(); }
};

}  // namespace acetest
