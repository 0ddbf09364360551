// The hash-chain engines: one member per dictionary size (64 KB to 1024 KB),
// all sharing one set of rules. Each position is searched through the chain
// of its 3-byte hash (and, far enough into the data, the chain of its 2-byte
// hash), and a match is taken one position late when the next position does
// not offer a longer one. Chains that once ran out of their walk limit are
// marked crowded; later searches at a crowded hash walk the chain of a hash
// further ahead instead.
#pragma once

#include <cstdint>

#include "compress/compressor_core.h"

namespace ace {

// The operations of the member for a dictionary of 64, 128, 256, 512 or
// 1024 KB; null for any other size.
const EngineOps* HashChainEngineOps(int32_t dictionaryKB);

// Candidates a chain walk may examine, plus one: 32, 48, 64 and 256 for levels
// 1 to 4. Level 0 takes each match as it finds it, after 8 candidates at most.
uint32_t ChainLimitForLevel(int32_t level);

// The engine's state, process-wide for an operation and kept from file to
// file of a solid run. Positions index `window`; 0 stands for "none".
struct HashChainState {
  // One allocation, owned through `head`.
  uint8_t* window = nullptr;  // 2·D bytes of history and 600 spare, zeroed once
  // Per 3-byte hash the newest position and, in the top bit, whether the
  // hash's last walk ran out of its limit.
  uint32_t* head = nullptr;
  uint32_t* chain = nullptr;     // previous position with the same hash, at p mod D
  uint32_t pairHead[256] = {};   // newest position per 2-byte hash
  uint32_t pairChain[256] = {};  // previous position with the same 2-byte hash, at p mod 256

  uint32_t position = 0;
  uint32_t lookahead = 0;  // valid bytes from the position on
  uint32_t hash = 0;
  uint32_t pairHash = 0;
  int32_t matchLength = 0;
  uint32_t matchPosition = 0;
  int32_t previousLength = 0;
  uint32_t previousDistance = 0;
  uint32_t chainLimit = 0;
  uint32_t crowdingFrom = 0;  // no crowding flag is set for a position before it
  uint32_t shadowEnd = 0;     // where the last loads of a chain walked ahead stopped

  // The tables were cleared by the last fresh start and neither a slide nor a
  // continuation has happened since: every entry in use can then be found
  // again from the window's bytes, so a small file's tables clear cheaply.
  bool tablesTraceable = false;
};

}  // namespace ace
