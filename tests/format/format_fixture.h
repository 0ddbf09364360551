#pragma once

#include <gtest/gtest.h>

#include "aceplug/aceplug.h"
#include "plugin/state.h"

namespace acetest {

class FormatTest : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }
  static void Reset() {
    DoneArcFile();
    ace::State().Comp = CompOptions{};
  }
  // The host's way of choosing whether stored names keep their directories.
  static void SetKeepPaths(int32_t keep) {
    CompOptions options{};
    options.KeepPaths = keep;
    SetCompExtraFeatures(&options);
  }
};

}  // namespace acetest
