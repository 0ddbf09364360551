#include "compress/optimal_engine.h"

#include <cstring>
#include <new>

#include "compress/huffman.h"

namespace ace {
namespace {

constexpr uint32_t kMinReportStep = 32768;

OptimalEngineState& StateOf(CompressorCore& core) {
  return *static_cast<OptimalEngineState*>(core.engine);
}

uint32_t ReadForTree(void* context, uint8_t* destination, uint32_t count) {
  const int32_t n =
      ReadInput(*static_cast<CompressorCore*>(context), destination, static_cast<int32_t>(count));
  return n > 0 ? static_cast<uint32_t>(n) : 0;
}

// The recorders in their counting form: every token also enters the block's
// counts, and a periodic rebuild comes before every 1,025th token (before the
// block is coded when both fall together).
inline void BeforeToken(OptimalPrices& prices) {
  if (prices.sinceRebuild == kPricePeriod) {
    RebuildPrices(prices);
    prices.sinceRebuild = 0;
  }
}

inline void CountLiteral(CompressorCore& core, OptimalPrices& prices, uint8_t byte) {
  BeforeToken(prices);
  RecordLiteral(core, byte);
  ++prices.mainCount[byte];
  ++prices.sinceRebuild;
}

inline void CountMatch(CompressorCore& core, OptimalPrices& prices, uint32_t length, uint32_t d) {
  BeforeToken(prices);
  RecordMatch(core, lz77::NewDistanceLengthSymbol(length, d), d + 1);
  // The coder chose the form (repeat or new distance); count what it chose.
  const uint32_t t = core.tokenCount - 1;
  ++prices.mainCount[core.tokenMain[t]];
  ++prices.lengthCount[core.tokenLength[t]];
  ++prices.sinceRebuild;
}

void Report(CompressorCore& core, OptimalEngineState& s) {
  const uint64_t step = s.coded - s.lastReported;
  s.lastReported = s.coded;
  if (core.io.progress == nullptr) return;
  uint64_t percent = 100;
  if (core.unpackedSize != 0) percent = uint64_t{core.processed} * 100 / core.unpackedSize;
  if (percent > 100) percent = 100;  // the file grew while it was read
  const int32_t answer = core.io.progress(core.io.progressContext, static_cast<int32_t>(percent),
                                          static_cast<int32_t>(step));
  if (answer == 0 && core.status == 0) core.status = kCompressAborted;
}

bool Setup(CompressorCore& core) {
  auto* s = new (std::nothrow) OptimalEngineState;
  if (s == nullptr) return false;
  if (!SetupTreeMatchFinder(s->mf)) {
    delete s;
    return false;
  }
  // The repeat symbols cost nothing until the first rebuild prices them.
  ResetOptimalPrices(s->prices);
  core.engine = s;
  return true;
}

void Release(CompressorCore& core) {
  auto* s = static_cast<OptimalEngineState*>(core.engine);
  if (s == nullptr) return;
  ReleaseTreeMatchFinder(s->mf);
  delete s;
  core.engine = nullptr;
}

void Start(CompressorCore& core) {
  OptimalEngineState& s = StateOf(core);
  ResetPlanner(s.planner);
  StartTreeMatchFinder(s.mf, &ReadForTree, &core, s.firstPosition);
}

void Resume(CompressorCore& core) {
  OptimalEngineState& s = StateOf(core);
  ResetPlanner(s.planner);
  ContinueTreeMatchFinder(s.mf, &ReadForTree, &core);
}

void ResetStats(CompressorCore& core) { ResetOptimalPrices(StateOf(core).prices); }

// The block's counts have served their block: prices follow them one last
// time, and the next block counts afresh.
void BlockClosed(CompressorCore& core) {
  OptimalPrices& prices = StateOf(core).prices;
  RebuildPrices(prices);
  std::memset(prices.mainCount, 0, sizeof prices.mainCount);
  std::memset(prices.lengthCount, 0, sizeof prices.lengthCount);
}

// Run checks the status word before every token; nothing else is needed.
void Abort(CompressorCore&) {}

void Run(CompressorCore& core) {
  OptimalEngineState& s = StateOf(core);
  TreeMatchFinder& mf = s.mf;
  const uint64_t reportStep =
      core.unpackedSize / 100 > kMinReportStep ? core.unpackedSize / 100 : kMinReportStep;
  core.processed = 0;
  s.coded = 0;
  s.lastReported = 0;
  if (InputExhausted(mf)) return;  // nothing to code

  // The first byte can only be a literal; its matches are looked for all the
  // same, which puts it into the tables.
  FindMatches(mf);
  CountLiteral(core, s.prices, ByteAt(mf, mf.pos - 1));
  core.processed = 1;
  s.coded = 1;

  if (!InputExhausted(mf)) {
    while (core.status == 0) {
      const PlanStep step =
          NextPlanStep(s.planner, mf, s.prices, RingView{core.ring, core.ringIndex});
      if (step.distance < 0) {
        CountLiteral(core, s.prices, step.literal);
      } else {
        CountMatch(core, s.prices, step.length, static_cast<uint32_t>(step.distance));
      }
      core.processed += step.length;
      s.coded += step.length;
      if (s.coded - s.lastReported >= reportStep) Report(core, s);
      if (s.planner.ahead == 0 && InputExhausted(mf)) break;
    }
  }
  // A host that asked to stop hears nothing more.
  if (core.status == 0) Report(core, s);
}

}  // namespace

void RebuildPrices(OptimalPrices& prices) {
  // The widths the block coder would give these counts.
  constexpr int kWidthLimit = lz77::kMaxCodeWidth;
  uint8_t mainWidths[lz77::kMainSymbols];
  uint8_t lengthWidths[lz77::kLengthSymbols];
  uint16_t codes[lz77::kMainSymbols];
  BuildHuffmanCode(prices.mainCount, lz77::kMainSymbols, kWidthLimit, mainWidths, codes);
  BuildHuffmanCode(prices.lengthCount, lz77::kLengthSymbols, kWidthLimit, lengthWidths, codes);
  SetPricesFromWidths(prices, mainWidths, lengthWidths);
}

const EngineOps* OptimalEngineOps() {
  static const EngineOps ops = [] {
    EngineOps o;
    o.kind = EngineKind::kOptimal;
    o.reportsOwnProgress = true;
    o.setup = &Setup;
    o.release = &Release;
    o.start = &Start;
    o.resume = &Resume;
    o.run = &Run;
    o.abort = &Abort;
    o.blockClosed = &BlockClosed;
    o.resetStats = &ResetStats;
    return o;
  }();
  return &ops;
}

}  // namespace ace
