// Every parameter a dictionary size and a compression level decide, stated
// once: the engines copy or instantiate what they need from here, and the
// README's and acearc's descriptions of the levels are tested against it.
// Levels 1 to 4 are fixed by the packed bytes they must give; level 0 is ours.
#pragma once

#include <cstdint>
#include <iterator>

namespace ace {

enum class EngineKind { kNone, kHashChain, kOptimal };

namespace levels {

inline constexpr int32_t kMinLevel = 0;
inline constexpr int32_t kMaxLevel = 4;

// How the hash-chain engines choose among the matches a walk finds.
enum class Parse : uint8_t {
  kGreedy,  // each match taken where it is found
  kLazy,    // a match held one position and taken when the next offers no longer one
};

struct LevelRow {
  Parse parse;
  // Where a chain walk's counter starts: a walk examines at most one
  // candidate fewer.
  uint32_t chainLimit;
};

// Indexed by level. Level 0 is about 3.5 times as fast as level 1 at 1024 KB
// and some 10 % larger.
inline constexpr LevelRow kLevels[] = {
    {Parse::kGreedy, 9}, {Parse::kLazy, 32},  {Parse::kLazy, 48},
    {Parse::kLazy, 64},  {Parse::kLazy, 256},
};
static_assert(std::size(kLevels) == kMaxLevel - kMinLevel + 1);

// A dictionary of 2^dictBits bytes and the hash family of its hash-chain
// engine: hash := ((hash & hashMask) << hashShift) ^ byte, over 2^hashBits
// values.
struct DictionaryRow {
  int32_t dictionaryKB;
  uint32_t dictBits;
  uint32_t hashMask;
  uint32_t hashShift;
  uint32_t hashBits;
};

inline constexpr DictionaryRow kDictionaries[] = {
    {64, 16, 0x1FF, 6, 15},  {128, 17, 0x7FF, 6, 17},   {256, 18, 0xFFF, 6, 18},
    {512, 19, 0xFFF, 7, 19}, {1024, 20, 0x1FFF, 7, 20},
};

// The optimal engine: the one dictionary and level it serves, its binary-tree
// match finder's limits and its price model.
struct OptimalRow {
  int32_t dictionaryKB;
  int32_t level;
  uint32_t treeMatchLimit;       // lengths reported per position; a longer match is extended
  uint32_t treeCutValue;         // tree nodes one search visits at most
  uint32_t planEntries;          // positions one plan looks ahead, plus one
  uint32_t pricePeriod;          // tokens between two periodic price rebuilds
  uint32_t unseenLiteral;        // price in bits of a literal not seen in the block yet
  uint32_t unseenLength;         // of a length symbol not seen yet
  uint32_t unseenDistanceExtra;  // of a distance symbol not seen yet, beyond its extra bits
};

inline constexpr OptimalRow kOptimal = {1024, 4, 32, 255, 4096, 1024, 13, 10, 6};

// The row of a dictionary size; null for a size no engine serves.
constexpr const DictionaryRow* DictionaryRowFor(int32_t dictionaryKB) {
  for (const DictionaryRow& row : kDictionaries) {
    if (row.dictionaryKB == dictionaryKB) return &row;
  }
  return nullptr;
}

// The row of a level; null outside 0..4.
constexpr const LevelRow* LevelRowFor(int32_t level) {
  if (level < kMinLevel || level > kMaxLevel) return nullptr;
  return &kLevels[level - kMinLevel];
}

// The engine that packs with a dictionary and level; kNone for a pair no
// engine serves.
constexpr EngineKind EngineFor(int32_t dictionaryKB, int32_t level) {
  if (DictionaryRowFor(dictionaryKB) == nullptr || LevelRowFor(level) == nullptr) {
    return EngineKind::kNone;
  }
  if (dictionaryKB == kOptimal.dictionaryKB && level == kOptimal.level) return EngineKind::kOptimal;
  return EngineKind::kHashChain;
}

}  // namespace levels
}  // namespace ace
