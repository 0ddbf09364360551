// The binary-tree match finder of the optimal engine: for every position it
// reports, per match length 2 to 32, the nearest earlier position that
// matches at least that long within the last 1 MB, and extends a 32-byte
// match to at most 256 bytes.
//
// How it works: the positions of one 4-byte hash form a binary search tree
// keyed by their next 32 bytes, newest at the root, so every path down runs
// from newer to older positions. Inserting a position walks down from the
// root: at each node the common length with the position's bytes is
// measured, and the first node to reach a length is the nearest match of that
// length. The walk re-links the nodes it passes into the position's smaller
// and larger subtrees, so that the position becomes the new root: search and
// insertion are one pass. Lengths 2 and 3 come from tables of the newest
// position per 2- and 3-byte hash.
//
// Why it is fast: the comparison at a node starts at the smaller of the
// common lengths known on its smaller and larger side (every node below
// shares that prefix), so bytes are seldom compared twice, and a walk visits
// at most kTreeCutValue nodes. A node's two links sit side by side, one cache
// line per visit, in a ring of dictionary slots that never moves when the
// history does. Positions only grow and are lowered once they near 2^31, so
// nothing is rebased per byte.
#pragma once

#include <cstdint>

#include "format/lz77_format.h"

namespace ace {

inline constexpr uint32_t kTreeDictionary = 1u << 20;
inline constexpr uint32_t kTreeMatchLimit = 32;
inline constexpr uint32_t kTreeMaxMatch = lz77::kMaxEmittedMatch;
inline constexpr uint32_t kTreeCutValue = 255;
// Bytes kept before the position: the dictionary plus room for the coder,
// which trails the match finder by up to a plan's length.
inline constexpr uint32_t kTreeHistoryBefore = kTreeDictionary + 4096;
inline constexpr uint32_t kTreeReserve = kTreeDictionary / 2;
inline constexpr uint32_t kTreeLookahead = 256;
inline constexpr uint32_t kTreeHistorySize = kTreeHistoryBefore + kTreeReserve + kTreeLookahead;
inline constexpr uint32_t kTreeStagingSize = kTreeDictionary;
inline constexpr uint32_t kTreePairEntries = 1025;
inline constexpr uint32_t kTreeTripleEntries = 262145;
inline constexpr uint32_t kTreeHeadEntries = 1048577;
// Positions never reach this value: every stored position is lowered first.
inline constexpr uint32_t kTreePositionCeiling = 0x7FFFFFFFu;

// Where the match finder's input comes from: returns the bytes placed at
// `destination` (at most `count`), 0 at the end of the input or on failure.
using TreeInputReader = uint32_t (*)(void* context, uint8_t* destination, uint32_t count);

struct TreeMatchFinder {
  uint8_t* history = nullptr;  // kTreeHistorySize bytes; history[0] holds position `base`
  uint8_t* staging = nullptr;  // kTreeStagingSize bytes between the reader and `history`
  uint32_t* pairHead = nullptr;
  uint32_t* tripleHead = nullptr;
  uint32_t* treeHead = nullptr;
  // Tree links, used as a ring of kTreeDictionary slots: position p owns slot
  // (p + linkOffset) mod kTreeDictionary, which holds its smaller-side link
  // and then its larger-side link, so that a node visited is one cache line.
  // Only positions of the last dictionary's length are ever reached, so a
  // ring loses nothing, and the content never has to move with the history.
  uint32_t* links = nullptr;
  uint32_t linkOffset = 0;

  uint32_t base = 1;      // position of history[0] (modulo 2^32)
  uint32_t pos = 1;       // the match finder's position
  uint32_t end = 1;       // one past the last byte read so far
  uint32_t posLimit = 0;  // moving past it reads more input
  bool inputEnded = false;

  uint32_t stagePlace = 0;  // where the next read into `staging` lands
  uint32_t waitStart = 0;   // staged bytes not yet taken by `history`
  uint32_t waitLength = 0;

  TreeInputReader reader = nullptr;
  void* readerContext = nullptr;

  // matchDistance[m]: distance value (distance - 1) of the nearest match of
  // at least m bytes found by the last FindMatches, for m up to its result
  // (and up to 32).
  uint32_t matchDistance[kTreeMatchLimit + 1] = {};
};

// Allocates every table; false (with nothing held) when an allocation fails.
bool SetupTreeMatchFinder(TreeMatchFinder& mf);
void ReleaseTreeMatchFinder(TreeMatchFinder& mf);

// A fresh file: empties the tables and reads the first input; the first
// position is `firstPosition` (1; other values only for tests of lowering).
void StartTreeMatchFinder(TreeMatchFinder& mf, TreeInputReader reader, void* context,
                          uint32_t firstPosition = 1);
// The next file of a solid run: its bytes follow the current position, and
// the tree and the history stay, so matches reach into the earlier files.
void ContinueTreeMatchFinder(TreeMatchFinder& mf, TreeInputReader reader, void* context);

// Finds the matches at the position and moves on by one. Returns the longest
// length found (0, or 2 to 256); matchDistance holds the distances.
uint32_t FindMatches(TreeMatchFinder& mf);
// Inserts the position without reporting matches and moves on by one.
void SkipPosition(TreeMatchFinder& mf);

inline uint8_t ByteAt(const TreeMatchFinder& mf, uint32_t position) {
  return mf.history[position - mf.base];
}
// Bytes read but not yet passed by the match finder.
inline uint32_t BytesAhead(const TreeMatchFinder& mf) { return mf.end - mf.pos; }
inline bool InputExhausted(const TreeMatchFinder& mf) { return mf.inputEnded && mf.pos >= mf.end; }

}  // namespace ace
