// The hash-chain match finder and its lazy parse.
//
// How it works: `head` maps the 3-byte hash of a position to the newest
// earlier position with that hash, and `chain` (at position mod D) links each
// position to the previous one with the same hash, so candidates are walked
// newest, hence nearest, first. A walk ends at the level's chain limit or at
// the dictionary's edge. A hash whose walk ran out of its limit is flagged
// crowded; the next search there walks the chain of the hash k bytes further
// on instead (a rarer hash, whose candidates moved back by k still line up
// with the position) and returns to its own chain only for matches too short
// to be seen from there. 2-byte matches come from a small pair chain within
// 255 bytes. The parse is lazy: a match found at p is held for one position
// and taken only when p + 1 offers no longer one.
//
// Why it is fast: the window is 2·D bytes and slides by D, so positions stay
// small and the tables are rebased once per D bytes, never per byte. Most
// candidates are rejected by one 16-bit load at the current best length
// before any full comparison, and comparisons run eight bytes at a time. The
// next link and its bytes are prefetched while a candidate is compared, and
// the head entry two positions on while the current one is searched. One
// load of a head entry gives both the position and the crowding flag, and
// crowding bounds the cost of long runs of one hash (zeros, say).
#include "compress/hash_chain.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "compress/levels.h"
#include "compress/table_alloc.h"

namespace ace {
namespace {

constexpr uint32_t kWindowSpare = 600;  // searches read up to 263 bytes past the position
constexpr uint32_t kMaxMatch = lz77::kMaxEmittedMatch;
constexpr uint32_t kMaxCrowdDepth = 253;
// An abort ends the run by setting the look-ahead to this: the run loops end
// when it reaches 0, with no status test per position. It exceeds what the
// token in progress can still consume (kMaxMatch moves and one search), so
// the count cannot wrap; the few positions left are coded into a sink that
// takes nothing more.
constexpr uint32_t kAbortLookahead = 300;
static_assert(kAbortLookahead > kMaxMatch + 1);
// A head entry holds a position (below 2^21) and, in its top bit, the hash's
// crowding flag, so that one load gives both.
constexpr uint32_t kCrowded = 1u << 31;
constexpr uint32_t kPositionMask = kCrowded - 1;

// A family member: the hash-chain engine for one dictionary row.
template <levels::DictionaryRow kRow>
struct Member {
  static constexpr uint32_t D = 1u << kRow.dictBits;
  static constexpr uint32_t kHashValues = 1u << kRow.hashBits;
  // 2-byte matches are sought only this far into the window.
  static constexpr uint32_t kPairStart = D + 256;

  static uint32_t Update(uint32_t h, uint32_t byte) {
    return ((h & kRow.hashMask) << kRow.hashShift) ^ byte;
  }
  // The hash depends on the three bytes at p only.
  static uint32_t HashAt(const uint8_t* w, uint32_t p) {
    return Update(Update(Update(0, w[p]), w[p + 1]), w[p + 2]);
  }
};

inline HashChainState& StateOf(CompressorCore& core) {
  return *static_cast<HashChainState*>(core.engine);
}

inline uint16_t Load16(const uint8_t* p) {
  uint16_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

inline uint64_t Load64(const uint8_t* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// Equal leading bytes of a and b, at most `limit`. Reads whole words, up to
// 7 bytes past `limit`.
inline uint32_t CommonLength(const uint8_t* a, const uint8_t* b, uint32_t limit) {
  uint32_t length = 0;
  while (length < limit) {
    const uint64_t diff = Load64(a + length) ^ Load64(b + length);
    if (diff != 0) {
      if constexpr (std::endian::native == std::endian::little) {
        length += static_cast<uint32_t>(std::countr_zero(diff)) >> 3;
      } else {
        length += static_cast<uint32_t>(std::countl_zero(diff)) >> 3;
      }
      return length < limit ? length : limit;
    }
    length += 8;
  }
  return limit;
}

// Equal leading bytes of the candidate's data and the position's, at most
// `maxLength`, as far as the length can be used at the candidate's distance: a
// 4-byte match only below 512 KB, 3 bytes or less only within 8 KB; otherwise 1.
inline uint32_t AcceptedLength(const uint8_t* there, const uint8_t* here, uint32_t maxLength) {
  uint32_t length = CommonLength(there, here, maxLength);
  if (length < 5) {
    const auto distance = static_cast<size_t>(here - there);
    if (length == 4) {
      if (distance >= 0x80000) length = 1;
    } else if (distance > 0x2000) {
      length = 1;
    }
  }
  return length;
}

// Takes the candidate whose bytes start at `there` (match start `start`) when
// it is longer than `best`; true when it reached `maxLength`, which ends the
// walk. Only a candidate that agrees in the bytes at best - 1 and best can be
// longer; two bytes filter better than one.
inline bool Consider(const uint8_t* there, const uint8_t* here, uint32_t start, uint32_t maxLength,
                     uint32_t& best, uint32_t& bestPosition) {
  if (Load16(there + best - 1) != Load16(here + best - 1)) return false;
  const uint32_t length = AcceptedLength(there, here, maxLength);
  if (length <= best) return false;
  best = length;
  bestPosition = start;
  return length == maxLength;
}

template <class M>
struct Engine {
  static constexpr uint32_t D = M::D;

  static bool Setup(CompressorCore& core) {
    auto* s = new (std::nothrow) HashChainState;
    if (s == nullptr) return false;
    // One block: heads and links first, so that the tables start on a
    // huge-page boundary, then the window.
    constexpr size_t kTables = size_t{D} * 2 * sizeof(uint32_t);
    auto* block = static_cast<uint8_t*>(AllocateBlock(kTables + 2 * D + kWindowSpare));
    if (block == nullptr) {
      delete s;
      return false;
    }
    s->head = reinterpret_cast<uint32_t*>(block);
    s->chain = s->head + D;
    s->window = block + kTables;
    std::memset(s->window, 0, 2 * D + kWindowSpare);
    // The level was checked when the engine was chosen and stays for its life.
    s->chainLimit = levels::kLevels[core.level].chainLimit;
    core.engine = s;
    return true;
  }

  static void Release(CompressorCore& core) {
    auto* s = static_cast<HashChainState*>(core.engine);
    if (s == nullptr) return;
    std::free(s->head);
    delete s;
    core.engine = nullptr;
  }

  static void ClearPairs(HashChainState& s) {
    std::memset(s.pairHead, 0, sizeof s.pairHead);
    std::memset(s.pairChain, 0, sizeof s.pairChain);
  }

  // Everything back to "no positions". While the tables are traceable, the
  // positions in use are 0..position and the crowding flags were touched only
  // at the hashes of positions up to 253 beyond those, all computable from the
  // unchanged window.
  static void ClearTables(HashChainState& s) {
    const uint32_t last = s.position;
    if (s.tablesTraceable && last < D / 8) {
      const uint8_t* w = s.window;
      for (uint32_t p = 0; p <= last; ++p) {
        s.head[M::HashAt(w, p)] = 0;
        s.chain[p] = 0;
      }
      for (uint32_t p = last + 1; p <= last + kMaxCrowdDepth; ++p) s.head[M::HashAt(w, p)] = 0;
    } else {
      std::memset(s.head, 0, D * sizeof(uint32_t));
      std::memset(s.chain, 0, D * sizeof(uint32_t));
    }
    ClearPairs(s);
    s.tablesTraceable = true;
  }

  // Flags are set only at the hashes of the positions searched since the
  // last clearing, up to 253 further on; the window still holds their bytes
  // (a slide clears the flags), so a short stretch is cleared by itself.
  static void ClearCrowding(HashChainState& s) {
    uint32_t* head = s.head;
    if (s.position - s.crowdingFrom < D / 8) {
      const uint8_t* w = s.window;
      for (uint32_t p = s.crowdingFrom; p <= s.position + kMaxCrowdDepth; ++p) {
        head[M::HashAt(w, p)] &= kPositionMask;
      }
    } else {
      for (uint32_t h = 0; h < M::kHashValues; ++h) head[h] &= kPositionMask;
    }
    s.crowdingFrom = s.position;
  }

  // The upper half of the window moves down by D and D more bytes are read;
  // table entries are rebased and those that fall out of the window drop.
  static void Slide(CompressorCore& core, HashChainState& s) {
    uint8_t* w = s.window;
    std::memmove(w, w + D, D);
    s.lookahead += static_cast<uint32_t>(ReadInput(core, w + D, static_cast<int32_t>(D)));
    s.position -= D;
    s.crowdingFrom = s.position;
    ClearPairs(s);
    uint32_t* head = s.head;  // the crowding flags clear too
    for (uint32_t h = 0; h < M::kHashValues; ++h) {
      const uint32_t v = head[h] & kPositionMask;
      head[h] = v > D ? v - D : 0;
    }
    uint32_t* chain = s.chain;
    for (uint32_t i = 0; i < D; ++i) chain[i] = chain[i] > D ? chain[i] - D : 0;
    s.tablesTraceable = false;
  }

  static inline void Advance(CompressorCore& core, HashChainState& s) {
    ++s.position;
    --s.lookahead;
    if (s.position == 2 * D) Slide(core, s);
    const uint8_t* w = s.window;
    s.hash = M::Update(s.hash, w[s.position + 2]);
    s.pairHash = w[s.position + 1] ^ ((s.pairHash & 15) << 4);
    // Every search and insertion starts with a cold miss on its head entry;
    // the hash two positions on is known already, so fetching starts here.
    const uint32_t aheadHash = M::Update(M::Update(s.hash, w[s.position + 3]), w[s.position + 4]);
    __builtin_prefetch(&s.head[aheadHash]);
  }

  static inline void Insert(HashChainState& s) {
    const uint32_t p = s.position;
    const uint32_t old = s.head[s.hash];
    s.chain[p & (D - 1)] = old & kPositionMask;
    s.head[s.hash] = p | (old & kCrowded);
    s.pairChain[p & 255] = s.pairHead[s.pairHash];
    s.pairHead[s.pairHash] = p;
  }

  // Longest acceptable match at the position that beats the match length on
  // entry (at least 2); the position is inserted afterwards.
  static inline void FindMatch(HashChainState& s) {
    const uint32_t p = s.position;
    const uint8_t* w = s.window;
    const uint8_t* here = w + p;
    uint32_t* head = s.head;
    uint32_t best = s.matchLength < 2 ? 2u : static_cast<uint32_t>(s.matchLength);
    uint32_t bestPosition = p;
    uint32_t maxLength = kMaxMatch;
    uint32_t k = 0;  // look-ahead depth: h is the hash of p + k
    uint32_t h = s.hash;
    while ((head[h] & kCrowded) != 0 && k < kMaxCrowdDepth) {
      ++k;
      h = M::Update(h, here[k + 2]);
    }
    bool walk = true;
    // A walk at depth k may be followed by one at depth 0: its chain is loaded
    // alongside, so that the two walks' cache misses overlap.
    uint32_t shadow = k != 0 ? head[s.hash] & kPositionMask : 0;
    if (k == kMaxCrowdDepth) {
      head[h] &= kPositionMask;
      walk = false;
    }
    for (;;) {
      if (walk) {
        const uint32_t limit = p > D ? p + k - D : k;
        uint32_t candidate = head[h] & kPositionMask;
        uint32_t counter = s.chainLimit;
        for (;;) {
          if (candidate <= limit) {
            head[h] &= kPositionMask;
            break;
          }
          if (--counter == 0) {
            head[h] |= kCrowded;
            break;
          }
          // The next link does not depend on this candidate's bytes: load it
          // now and start fetching its bytes while this one is compared, since
          // both loads miss the cache on large windows.
          const uint32_t next = s.chain[candidate & (D - 1)];
          if (next > limit) __builtin_prefetch(w + (next - k) + best - 1);
          if (shadow != 0) shadow = s.chain[shadow & (D - 1)];
          const uint32_t start = candidate - k;
          if (Consider(w + start, here, start, maxLength, best, bestPosition)) break;
          candidate = next;
        }
      }
      s.shadowEnd = shadow;  // a use, so that the loads stay
      if (best > k + 2 || k == 0) break;
      // The deeper walk cannot see matches of k + 2 bytes or less: look for
      // them at depth 0.
      maxLength = k + 2;
      shadow = 0;
      k = 0;
      h = s.hash;
      walk = true;
    }
    if (bestPosition == p) {
      best = PairMatch(s, bestPosition);
    }
    s.matchLength = static_cast<int32_t>(best);
    s.matchPosition = bestPosition;
    Insert(s);
  }

  // Level 0: the first matches of the position's own chain, taken as found
  // (no crowding, no lazy evaluation); the walk ends after a few candidates.
  static inline void FindGreedyMatch(HashChainState& s) {
    const uint32_t p = s.position;
    const uint8_t* w = s.window;
    const uint8_t* here = w + p;
    uint32_t best = 2;
    uint32_t bestPosition = p;
    const uint32_t limit = p > D ? p - D : 0;
    uint32_t candidate = s.head[s.hash] & kPositionMask;
    for (uint32_t n = s.chainLimit; --n != 0 && candidate > limit;) {
      if (Consider(w + candidate, here, candidate, kMaxMatch, best, bestPosition)) break;
      candidate = s.chain[candidate & (D - 1)];
    }
    if (bestPosition == p) best = PairMatch(s, bestPosition);
    s.matchLength = static_cast<int32_t>(best);
    s.matchPosition = bestPosition;
    Insert(s);
  }

  // A 2-byte match through the pair chain (within 255 bytes, and only far
  // enough into the window): 2 and its start, else 1 and the start unchanged.
  static uint32_t PairMatch(const HashChainState& s, uint32_t& start) {
    const uint32_t p = s.position;
    const uint8_t* w = s.window;
    if (p <= M::kPairStart) return 1;
    uint32_t candidate = s.pairHead[s.pairHash];
    while (candidate > p - 256) {
      if (w[candidate] == w[p] && w[candidate + 1] == w[p + 1]) {
        start = candidate;
        return 2;
      }
      candidate = s.pairChain[candidate & 255];
    }
    return 1;
  }

  // Keeps the match inside the data read so far and within what the length
  // symbols can say.
  static inline void Clamp(HashChainState& s) {
    const uint32_t d = s.position - s.matchPosition - 1;
    uint32_t length = static_cast<uint32_t>(s.matchLength);
    if (length > s.lookahead) {
      if (s.lookahead >= 4) {
        length = s.lookahead;
      } else if (s.lookahead == 3 && d < 8191) {
        length = 3;
      } else {
        length = 1;
      }
    }
    if (length <= 4 && d >= 0x80000) length = 1;
    if (length == 3 && d > 8191) length = 1;
    s.matchLength = static_cast<int32_t>(length);
  }

  static void Start(CompressorCore& core) {
    HashChainState& s = StateOf(core);
    ClearTables(s);
    const int32_t n = ReadInput(core, s.window, static_cast<int32_t>(2 * D));
    s.lookahead = static_cast<uint32_t>(n);
    s.position = 0;
    s.crowdingFrom = 0;
    s.matchLength = n > 0 ? 1 : 0;
    s.matchPosition = 0;
    s.pairHash = 0;
    s.hash = M::HashAt(s.window, 0);
    Insert(s);
  }

  static void Resume(CompressorCore& core) {
    HashChainState& s = StateOf(core);
    ClearCrowding(s);
    s.tablesTraceable = false;
    if (s.position < 2 * D) {
      const int32_t room = static_cast<int32_t>(2 * D - s.position);
      s.lookahead += static_cast<uint32_t>(ReadInput(core, s.window + s.position, room));
    } else {
      Slide(core, s);
    }
    s.pairHash = 0;
    s.hash = M::HashAt(s.window, s.position);
    s.matchLength = s.lookahead > 0 ? 1 : 0;
  }

  // Whether the level takes each match where it is found.
  static bool Greedy(const CompressorCore& core) {
    return levels::kLevels[core.level].parse == levels::Parse::kGreedy;
  }

  static void Abort(CompressorCore& core) { StateOf(core).lookahead = kAbortLookahead; }

  // Level 0: each match is taken where it is found.
  static void RunGreedy(CompressorCore& core, HashChainState& s) {
    const uint8_t* w = s.window;
    RecordLiteral(core, w[s.position]);  // nothing before it to match
    core.processed += 1;
    Advance(core, s);
    while (s.lookahead != 0) {
      s.matchLength = 1;
      FindGreedyMatch(s);
      Clamp(s);
      if (s.matchLength < 2) {
        RecordLiteral(core, w[s.position]);
        core.processed += 1;
        Advance(core, s);
        continue;
      }
      const auto length = static_cast<uint32_t>(s.matchLength);
      const uint32_t distance = s.position - s.matchPosition;
      RecordMatch(core, lz77::NewDistanceLengthSymbol(length, distance - 1), distance);
      core.processed += length;
      for (uint32_t i = 1; i < length; ++i) {
        Advance(core, s);
        Insert(s);
      }
      Advance(core, s);
    }
  }

  static void Run(CompressorCore& core) {
    HashChainState& s = StateOf(core);
    core.processed = 0;
    if (s.lookahead == 0) return;
    if (Greedy(core)) {
      RunGreedy(core, s);
      return;
    }
    const uint8_t* w = s.window;  // the window never moves, only its contents
    do {
      s.previousLength = s.matchLength;
      s.previousDistance = s.position - s.matchPosition;
      s.matchLength -= 1;
      Advance(core, s);
      FindMatch(s);
      Clamp(s);
      if (s.matchLength > s.previousLength || s.previousLength < 2) {
        RecordLiteral(core, w[s.position - 1]);
        core.processed += 1;
      } else {
        const uint32_t length = static_cast<uint32_t>(s.previousLength);
        const uint32_t distance = s.previousDistance;
        RecordMatch(core, lz77::NewDistanceLengthSymbol(length, distance - 1), distance);
        core.processed += length;
        for (uint32_t i = 2; i < length; ++i) {
          Advance(core, s);
          Insert(s);
        }
        Advance(core, s);
        s.matchLength = 1;
        FindMatch(s);
        Clamp(s);
      }
    } while (s.lookahead != 0);
  }

  // Every position goes into the tables in the order Run enters them; the
  // lazy levels enter the one behind the data too, level 0 does not. Skipping
  // sets no crowding flag, and Run's would be cleared by the next continuation
  // or fresh start: none is left, so the next clearing has nothing to walk.
  static void Skip(CompressorCore& core) {
    HashChainState& s = StateOf(core);
    const bool enterBehind = !Greedy(core);
    while (s.lookahead != 0) {
      Advance(core, s);
      if (s.lookahead != 0 || enterBehind) Insert(s);
    }
    s.crowdingFrom = s.position;
  }

  static const EngineOps& Ops() {
    static const EngineOps ops = [] {
      EngineOps o;
      o.kind = EngineKind::kHashChain;
      o.setup = &Setup;
      o.release = &Release;
      o.start = &Start;
      o.resume = &Resume;
      o.run = &Run;
      o.skip = &Skip;
      o.abort = &Abort;
      return o;
    }();
    return ops;
  }
};

// The members, in the order of the dictionary rows.
template <size_t... kRows>
const EngineOps* MemberOps(size_t row, std::index_sequence<kRows...>) {
  static const EngineOps* const ops[] = {&Engine<Member<levels::kDictionaries[kRows]>>::Ops()...};
  return ops[row];
}

}  // namespace

const EngineOps* HashChainEngineOps(int32_t dictionaryKB) {
  const levels::DictionaryRow* row = levels::DictionaryRowFor(dictionaryKB);
  if (row == nullptr) return nullptr;
  return MemberOps(static_cast<size_t>(row - levels::kDictionaries),
                   std::make_index_sequence<std::size(levels::kDictionaries)>());
}

}  // namespace ace
