#include "compress/optimal_planner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "compress/compress_support.h"

namespace {

using ace::PlanStep;
using acetest::Bytes;
using acetest::ChunkInput;
using acetest::Letters;

// Plans a whole input with fixed prices and a ring that never changes, the
// way the engine drives the planner.
class OptimalPlannerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(ace::SetupTreeMatchFinder(*mf_));
    ace::ResetOptimalPrices(*prices_);
  }
  void TearDown() override { ace::ReleaseTreeMatchFinder(*mf_); }

  std::vector<PlanStep> PlanAll(const Bytes& data, uint32_t firstPosition = 1) {
    input_ = ChunkInput{&data};
    ace::StartTreeMatchFinder(*mf_, &ChunkInput::Read, &input_, firstPosition);
    ace::ResetPlanner(*planner_);
    std::vector<PlanStep> steps;
    ace::FindMatches(*mf_);
    steps.push_back(PlanStep{1, -1, data[0]});
    while (!(planner_->ahead == 0 && ace::InputExhausted(*mf_))) {
      steps.push_back(ace::NextPlanStep(*planner_, *mf_, *prices_, ace::RingView{ring_, 0}));
      EXPECT_LE(planner_->end, ace::kPlanEntries - 1);
      longestPlan_ = std::max(longestPlan_, planner_->end);
      EXPECT_LE(planner_->ahead, ace::kPlanEntries);
    }
    return steps;
  }

  std::unique_ptr<ace::TreeMatchFinder> mf_ = std::make_unique<ace::TreeMatchFinder>();
  std::unique_ptr<ace::OptimalPlanner> planner_ = std::make_unique<ace::OptimalPlanner>();
  std::unique_ptr<ace::OptimalPrices> prices_ = std::make_unique<ace::OptimalPrices>();
  uint32_t ring_[4] = {};
  uint32_t longestPlan_ = 0;
  ChunkInput input_;
};

// Replays the steps; also checks the forms the prices forbid.
Bytes Replay(const std::vector<PlanStep>& steps) {
  Bytes out;
  for (const PlanStep& s : steps) {
    if (s.distance < 0) {
      EXPECT_EQ(s.length, 1u);
      out.push_back(s.literal);
      continue;
    }
    const size_t distance = static_cast<size_t>(s.distance) + 1;
    EXPECT_GE(s.length, 2u);
    EXPECT_LE(s.length, ace::kTreeMaxMatch);
    EXPECT_LE(distance, std::min<size_t>(out.size(), ace::kTreeDictionary));
    if (s.length == 2) EXPECT_LT(distance, 256u);
    if (s.length == 3) EXPECT_LT(distance, 8192u);
    if (distance > out.size()) return out;
    for (uint32_t i = 0; i < s.length; ++i) out.push_back(out[out.size() - distance]);
  }
  return out;
}

TEST_F(OptimalPlannerTest, StepsRebuildTheInput) {
  const Bytes inputs[] = {
      Letters(1, 1, 3),
      Letters(5, 1, 3),
      Letters(40000, 2, 3),
      Letters(40000, 3, 12),
      acetest::RandomBytes(30000, 4),
      Bytes(70000, 0),
  };
  for (const Bytes& data : inputs) {
    EXPECT_EQ(Replay(PlanAll(data)), data) << data.size();
  }
  // Short matches overlap all the way on three letters: plans reach the horizon.
  EXPECT_EQ(longestPlan_, ace::kPlanEntries - 1);
}

TEST_F(OptimalPlannerTest, RunsAreTakenGreedilyAndTheLastThreeBytesAreLiterals) {
  const Bytes run(1 + 256 * 4 + 10, 'q');
  auto steps = PlanAll(run);
  ASSERT_GE(steps.size(), 6u);
  EXPECT_EQ(steps[0].distance, -1);
  for (size_t i = 1; i <= 4; ++i) {
    EXPECT_EQ(steps[i].length, 256u);
    EXPECT_EQ(steps[i].distance, 0);
  }
  EXPECT_EQ(Replay(steps), run);

  Bytes data = Letters(500, 5, 26);
  data.insert(data.end(), data.begin() + 100, data.begin() + 103);
  steps = PlanAll(data);
  ASSERT_GE(steps.size(), 3u);
  for (size_t i = steps.size() - 3; i < steps.size(); ++i) EXPECT_EQ(steps[i].distance, -1);
}

TEST_F(OptimalPlannerTest, LongMatchCutsThePlanAndComesWhole) {
  // Short matches everywhere, then a copy of 100 bytes starting mid-plan.
  Bytes data = Letters(3000, 6, 4);
  const Bytes copy(data.begin() + 200, data.begin() + 300);
  const size_t at = data.size();
  data.insert(data.end(), copy.begin(), copy.end());
  const Bytes tail = Letters(500, 7, 4);
  data.insert(data.end(), tail.begin(), tail.end());
  const auto steps = PlanAll(data);
  EXPECT_EQ(Replay(steps), data);
  size_t position = 0;
  bool found = false;
  for (const PlanStep& s : steps) {
    if (position <= at && at < position + s.length && s.length > ace::kTreeMatchLimit) {
      found = true;
      EXPECT_GE(position + s.length, at + copy.size() - 1);
    }
    position += s.length;
  }
  EXPECT_TRUE(found);
}

TEST_F(OptimalPlannerTest, PricesDecideBetweenLiteralsNewDistancesAndRepeats) {
  // With literals at 1 bit and matches at 13 or more, nothing but literals
  // pays, however much repeats.
  for (uint32_t s = 0; s < 256; ++s) prices_->main[s] = 1;
  for (const PlanStep& s : PlanAll(Letters(5000, 8, 3))) {
    if (s.length <= ace::kTreeMatchLimit) ASSERT_EQ(s.distance, -1);
  }

  // Literals 5 bits, new distances 20 more, repeats nothing, lengths 3: a
  // 3-byte match pays only at a distance the ring holds.
  for (uint32_t s = 0; s < 256; ++s) prices_->main[s] = 5;
  for (uint32_t s = 256; s < 260; ++s) prices_->main[s] = 0;
  for (uint32_t s = 260; s < ace::kPriceMainSymbols; ++s) prices_->main[s] = 20;
  for (uint32_t& l : prices_->length) l = 3;
  Bytes data = Letters(300, 9, 26);
  const Bytes planted = {'Q', 'R', 'S'};
  std::copy(planted.begin(), planted.end(), data.begin() + 100);
  std::copy(planted.begin(), planted.end(), data.begin() + 150);
  for (uint32_t ringEntry : {49u, 1234u}) {
    ring_[0] = ringEntry;
    const auto steps = PlanAll(data);
    EXPECT_EQ(Replay(steps), data);
    size_t position = 0;
    bool repeatAt150 = false;
    for (const PlanStep& s : steps) {
      if (position == 150 && s.distance == 49 && s.length == 3) repeatAt150 = true;
      position += s.length;
    }
    EXPECT_EQ(repeatAt150, ringEntry == 49) << ringEntry;
  }
}

TEST_F(OptimalPlannerTest, LoweringPositionsInsideAPlanChangesNoStep) {
  // Short matches everywhere: the lowering falls inside a plan.
  const Bytes data = Letters(1'150'000, 10, 12);
  const auto plain = PlanAll(data);
  const uint32_t first = ace::kTreePositionCeiling - 1'100'000;
  const auto lowered = PlanAll(data, first);
  EXPECT_LT(mf_->pos, first);
  ASSERT_EQ(plain.size(), lowered.size());
  for (size_t i = 0; i < plain.size(); ++i) {
    ASSERT_EQ(plain[i].length, lowered[i].length) << i;
    ASSERT_EQ(plain[i].distance, lowered[i].distance) << i;
    ASSERT_EQ(plain[i].literal, lowered[i].literal) << i;
  }
}

}  // namespace
