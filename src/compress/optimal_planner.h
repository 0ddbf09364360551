// The optimal engine's token choice: a shortest path, in priced bits, over
// the positions ahead of the coder, through literals and the matches that
// the tree match finder offers at each position.
#pragma once

#include <cstdint>

#include "compress/optimal_prices.h"
#include "compress/tree_match_finder.h"

namespace ace {

inline constexpr uint32_t kPlanEntries = levels::kOptimal.planEntries;

struct PlanEntry {
  uint32_t price;
  uint32_t previous;  // plan index the best path arrives from
  int32_t distance;   // distance value of the arriving match; -1 for a literal
  uint32_t next;      // successor on the chosen path, once traced
};

struct OptimalPlanner {
  PlanEntry plan[kPlanEntries];
  uint32_t current = 0;  // index of the coder on the chosen path
  uint32_t end = 0;      // the chosen path's last index; current == end: no plan
  uint32_t carried = 0;  // length of a long match found where the last plan was cut
  uint32_t ahead = 0;    // positions the match finder is ahead of the coder
};

struct PlanStep {
  uint32_t length;   // 1 for a literal
  int32_t distance;  // distance value, -1 for a literal
  uint8_t literal;   // the byte, for a literal
};

// Drops any plan and carried match (a fresh or continued file).
void ResetPlanner(OptimalPlanner& planner);

// The next token at the coder's position; the coder's position moves past it.
// Needs at least one byte ahead of the coder.
PlanStep NextPlanStep(OptimalPlanner& planner, TreeMatchFinder& mf, const OptimalPrices& prices,
                      RingView ring);

inline uint32_t CoderPosition(const OptimalPlanner& planner, const TreeMatchFinder& mf) {
  return mf.pos - planner.ahead;
}

}  // namespace ace
