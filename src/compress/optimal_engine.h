// The optimal engine: the compressor's engine for the 1024 KB dictionary at
// level 4. A binary-tree match finder offers, per position, the nearest match
// of every length; a shortest-path search prices literals and matches by the
// code widths the current block would give them and picks the cheapest way
// through the next positions.
#pragma once

#include <cstdint>

#include "compress/compressor_core.h"
#include "compress/optimal_planner.h"
#include "compress/optimal_prices.h"
#include "compress/tree_match_finder.h"

namespace ace {

const EngineOps* OptimalEngineOps();

// The engine's state for one archive operation (CompressorCore::engine).
struct OptimalEngineState {
  TreeMatchFinder mf;
  OptimalPlanner planner;
  OptimalPrices prices;
  uint64_t coded = 0;         // bytes turned into tokens in this file
  uint64_t lastReported = 0;  // `coded` at the last progress report
  // Test hook: the position a fresh file starts at (1), to reach the lowering
  // of positions without gigabytes of input.
  uint32_t firstPosition = 1;
};

// Rebuilds the prices from the current block's counts (the counts stay).
void RebuildPrices(OptimalPrices& prices);

}  // namespace ace
