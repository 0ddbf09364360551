// The optimal engine's plan: the cheapest way, in priced bits, from the
// coder's position through the bytes ahead.
//
// How it works: plan[i] holds the cheapest known price of reaching i bytes
// ahead and the step that arrives there. From each index reached, the
// literal and every match length the tree finder offers there are relaxed
// forward, a shortest path over positions in order. The plan ends at the
// first index that every path passes (cur == end); it is traced back into
// successor links and handed out one token per call. Matches are priced
// with the ring as it stands at the plan's start and with the prices of the
// block's running counts. A match longer than kTreeMatchLimit ends the plan
// and is taken as it comes.
//
// Why it is fast: the finder reports every length's nearest distance in one
// tree walk, so each position is searched once; the plan is a fixed array,
// reused without allocation; the positions a long match covers are only
// inserted, never searched; and plans end where no path crosses, so on
// ordinary data they stay short.
#include "compress/optimal_planner.h"

namespace ace {
namespace {

PlanStep TakeStep(OptimalPlanner& pl, const TreeMatchFinder& mf) {
  const uint32_t from = pl.current;
  const uint32_t to = pl.plan[from].next;
  PlanStep step;
  step.length = to - from;
  step.distance = pl.plan[to].distance;
  step.literal = ByteAt(mf, CoderPosition(pl, mf));
  pl.current = to;
  pl.ahead -= step.length;
  return step;
}

// Turns the best path to `last` into successor links and returns its first step.
PlanStep TraceBack(OptimalPlanner& pl, const TreeMatchFinder& mf, uint32_t last) {
  for (uint32_t i = last; i != 0;) {
    const uint32_t previous = pl.plan[i].previous;
    pl.plan[previous].next = i;
    i = previous;
  }
  pl.current = 0;
  pl.end = last;
  return TakeStep(pl, mf);
}

PlanStep Literal(OptimalPlanner& pl, const TreeMatchFinder& mf) {
  PlanStep step{1, -1, ByteAt(mf, CoderPosition(pl, mf))};
  pl.ahead -= 1;
  return step;
}

}  // namespace

void ResetPlanner(OptimalPlanner& planner) {
  planner.current = 0;
  planner.end = 0;
  planner.carried = 0;
  planner.ahead = 0;
}

PlanStep NextPlanStep(OptimalPlanner& pl, TreeMatchFinder& mf, const OptimalPrices& prices,
                      RingView ring) {
  if (pl.current < pl.end) return TakeStep(pl, mf);
  pl.current = 0;
  pl.end = 0;

  uint32_t mainLength = pl.carried;
  if (mainLength != 0) {
    pl.carried = 0;
  } else {
    mainLength = FindMatches(mf);
    ++pl.ahead;
  }
  const uint32_t* dist = mf.matchDistance;
  if (mainLength > kTreeMatchLimit) {
    // Long matches are taken as they come: no plan could do much better.
    for (uint32_t i = 1; i < mainLength; ++i) SkipPosition(mf);
    // The finder moved mainLength - 1 positions on, the coder mainLength.
    --pl.ahead;
    return PlanStep{mainLength, static_cast<int32_t>(dist[kTreeMatchLimit]), 0};
  }

  const uint32_t start = CoderPosition(pl, mf);
  PlanEntry* plan = pl.plan;
  plan[0].price = 0;
  plan[1] = PlanEntry{prices.main[ByteAt(mf, start)], 0, -1, 0};
  if (mainLength < 2) return Literal(pl, mf);
  for (uint32_t m = 2; m <= mainLength; ++m) {
    plan[m] = PlanEntry{MatchPrice(prices, ring, dist[m], m), 0, static_cast<int32_t>(dist[m]), 0};
  }
  uint32_t end = mainLength;

  for (uint32_t cur = 1;; ++cur) {
    if (cur == end) return TraceBack(pl, mf, end);
    uint32_t n = FindMatches(mf);
    ++pl.ahead;
    if (n > kTreeMatchLimit) {
      pl.carried = n;
      return TraceBack(pl, mf, cur);
    }
    const uint32_t base = plan[cur].price;
    // The byte just searched; positions may have been lowered since `start`.
    const uint32_t viaLiteral = base + prices.main[ByteAt(mf, mf.pos - 1)];
    if (viaLiteral < plan[cur + 1].price) plan[cur + 1] = PlanEntry{viaLiteral, cur, -1, 0};
    if (n >= 2 && cur + n > end) {
      if (n > kPlanEntries - 1 - cur) n = kPlanEntries - 1 - cur;
      for (uint32_t i = end + 1; i <= cur + n; ++i) plan[i].price = kNoPrice;
      end = cur + n;
    }
    if (n >= 2 && mf.end > mf.pos) {
      for (uint32_t m = 2; m <= n; ++m) {
        const uint32_t price = base + MatchPrice(prices, ring, dist[m], m);
        if (price < plan[cur + m].price) {
          plan[cur + m] = PlanEntry{price, cur, static_cast<int32_t>(dist[m]), 0};
        }
      }
    }
  }
}

}  // namespace ace
