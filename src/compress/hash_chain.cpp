#include "compress/hash_chain.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

namespace ace {
namespace {

constexpr uint32_t kWindowSpare = 600;  // searches read up to 263 bytes past the position
constexpr uint32_t kMaxMatch = 256;
constexpr uint32_t kMaxCrowdDepth = 253;
constexpr uint32_t kAbortLookahead = 300;
// Level 0 walks whole chains and can take seconds over the input behind one
// 16 KB output write, which is where progress is reported; it reports after
// this many input bytes as well, so that a host's stop takes effect at once.
constexpr uint32_t kUnlimitedReportBytes = 4096;

// A family member: dictionary D = 2^kDictBits, hash update
// hash := ((hash & kMask) << kShift) ^ byte over 2^kHashBits values.
template <uint32_t kDictBits, uint32_t kMask, uint32_t kShift, uint32_t kHashBits>
struct Member {
  static constexpr uint32_t D = 1u << kDictBits;
  static constexpr uint32_t kHashValues = 1u << kHashBits;
  // 2-byte matches are sought only this far into the window.
  static constexpr uint32_t kPairStart = D + 256;

  static uint32_t Update(uint32_t h, uint32_t byte) { return ((h & kMask) << kShift) ^ byte; }
  // The hash depends on the three bytes at p only.
  static uint32_t HashAt(const uint8_t* w, uint32_t p) {
    return Update(Update(Update(0, w[p]), w[p + 1]), w[p + 2]);
  }
};

using Member64 = Member<16, 0x1FF, 6, 15>;
using Member128 = Member<17, 0x7FF, 6, 17>;
using Member256 = Member<18, 0xFFF, 6, 18>;
using Member512 = Member<19, 0xFFF, 7, 19>;
using Member1024 = Member<20, 0x1FFF, 7, 20>;

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

template <class M>
struct Engine {
  static constexpr uint32_t D = M::D;

  static bool Setup(CompressorCore& core) {
    auto* s = new (std::nothrow) HashChainState;
    if (s == nullptr) return false;
    s->window = static_cast<uint8_t*>(std::calloc(2 * D + kWindowSpare, 1));
    s->head = static_cast<uint32_t*>(std::malloc(D * sizeof(uint32_t)));
    s->chain = static_cast<uint32_t*>(std::malloc(D * sizeof(uint32_t)));
    s->crowd = static_cast<uint8_t*>(std::malloc(D));
    core.engine = s;
    if (s->window && s->head && s->chain && s->crowd) return true;
    Release(core);
    return false;
  }

  static void Release(CompressorCore& core) {
    auto* s = static_cast<HashChainState*>(core.engine);
    if (s == nullptr) return;
    std::free(s->window);
    std::free(s->head);
    std::free(s->chain);
    std::free(s->crowd);
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
      for (uint32_t p = 0; p <= last + kMaxCrowdDepth; ++p) s.crowd[M::HashAt(w, p)] = 0;
    } else {
      std::memset(s.head, 0, D * sizeof(uint32_t));
      std::memset(s.chain, 0, D * sizeof(uint32_t));
      std::memset(s.crowd, 0, D);
    }
    ClearPairs(s);
    s.tablesTraceable = true;
  }

  // The upper half of the window moves down by D and D more bytes are read;
  // table entries are rebased and those that fall out of the window drop.
  static void Slide(CompressorCore& core, HashChainState& s) {
    uint8_t* w = s.window;
    std::memmove(w, w + D, D);
    s.lookahead += static_cast<uint32_t>(ReadInput(core, w + D, static_cast<int32_t>(D)));
    s.position -= D;
    std::memset(s.crowd, 0, D);
    ClearPairs(s);
    uint32_t* head = s.head;
    for (uint32_t h = 0; h < M::kHashValues; ++h) head[h] = head[h] > D ? head[h] - D : 0;
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
  }

  static inline void Insert(HashChainState& s) {
    const uint32_t p = s.position;
    s.chain[p & (D - 1)] = s.head[s.hash];
    s.head[s.hash] = p;
    s.pairChain[p & 255] = s.pairHead[s.pairHash];
    s.pairHead[s.pairHash] = p;
  }

  // Longest acceptable match at the position that beats the match length on
  // entry (at least 2); the position is inserted afterwards.
  static inline void FindMatch(HashChainState& s) {
    const uint32_t p = s.position;
    const uint8_t* w = s.window;
    const uint8_t* here = w + p;
    uint8_t* crowd = s.crowd;
    uint32_t best = s.matchLength < 2 ? 2u : static_cast<uint32_t>(s.matchLength);
    uint32_t bestPosition = p;
    uint32_t maxLength = kMaxMatch;
    uint32_t k = 0;  // look-ahead depth: h is the hash of p + k
    uint32_t h = s.hash;
    while (crowd[h] == 1 && k < kMaxCrowdDepth) {
      ++k;
      h = M::Update(h, here[k + 2]);
    }
    bool walk = true;
    if (k == kMaxCrowdDepth) {
      crowd[h] = 0;
      walk = false;
    }
    for (;;) {
      if (walk) {
        const uint32_t limit = p > D ? p + k - D : k;
        uint32_t candidate = s.head[h];
        uint32_t counter = s.chainLimit;
        for (;;) {
          if (candidate <= limit) {
            crowd[h] = 0;
            break;
          }
          if (--counter == 0) {
            crowd[h] = 1;
            break;
          }
          // The next link does not depend on this candidate's bytes: load it
          // now and start fetching its bytes while this one is compared, since
          // both loads miss the cache on large windows.
          const uint32_t next = s.chain[candidate & (D - 1)];
          if (next > limit) __builtin_prefetch(w + (next - k) + best - 1);
          const uint32_t start = candidate - k;
          const uint8_t* there = w + start;
          // Only a candidate that agrees in the bytes at best - 1 and best can
          // be longer; two bytes filter better than one.
          if (Load16(there + best - 1) == Load16(here + best - 1)) {
            uint32_t length = CommonLength(there, here, maxLength);
            const uint32_t distance = p - start;
            if (length < 5) {
              if (length == 4) {
                if (distance >= 0x80000) length = 1;
              } else if (distance > 0x2000) {
                length = 1;
              }
            }
            if (length > best) {
              best = length;
              bestPosition = start;
              if (length == maxLength) break;
            }
          }
          candidate = next;
        }
      }
      if (best > k + 2 || k == 0) break;
      // The deeper walk cannot see matches of k + 2 bytes or less: look for
      // them at depth 0.
      maxLength = k + 2;
      k = 0;
      h = s.hash;
      walk = true;
    }
    if (bestPosition == p) {
      best = 1;
      if (p > M::kPairStart) {
        uint32_t candidate = s.pairHead[s.pairHash];
        while (candidate > p - 256) {
          if (w[candidate] == here[0] && w[candidate + 1] == here[1]) {
            best = 2;
            bestPosition = candidate;
            break;
          }
          candidate = s.pairChain[candidate & 255];
        }
      }
    }
    s.matchLength = static_cast<int32_t>(best);
    s.matchPosition = bestPosition;
    Insert(s);
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
    s.matchLength = n > 0 ? 1 : 0;
    s.matchPosition = 0;
    s.pairHash = 0;
    s.hash = M::HashAt(s.window, 0);
    Insert(s);
    s.chainLimit = ChainLimitForLevel(core.level);
  }

  static void Resume(CompressorCore& core) {
    HashChainState& s = StateOf(core);
    std::memset(s.crowd, 0, D);
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

  static void Abort(CompressorCore& core) { StateOf(core).lookahead = kAbortLookahead; }

  static void Run(CompressorCore& core) {
    HashChainState& s = StateOf(core);
    core.processed = 0;
    if (s.lookahead == 0) return;
    const uint8_t* w = s.window;  // the window never moves, only its contents
    uint32_t nextReport = s.chainLimit == 0 ? kUnlimitedReportBytes : UINT32_MAX;
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
        RecordMatch(core, NewDistanceLengthSymbol(length, distance - 1), distance);
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
      if (core.processed >= nextReport) {
        if (core.status == 0) ReportProgress(core);
        nextReport = core.processed + kUnlimitedReportBytes;
      }
    } while (s.lookahead != 0);
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
      o.abort = &Abort;
      return o;
    }();
    return ops;
  }
};

}  // namespace

uint32_t ChainLimitForLevel(int32_t level) {
  switch (level) {
    case 1:
      return 32;
    case 2:
      return 48;
    case 3:
      return 64;
    case 4:
      return 256;
    default:
      return 0;  // level 0: walks run to the end of the chain
  }
}

const EngineOps* HashChainEngineOps(int32_t dictionaryKB) {
  switch (dictionaryKB) {
    case 64:
      return &Engine<Member64>::Ops();
    case 128:
      return &Engine<Member128>::Ops();
    case 256:
      return &Engine<Member256>::Ops();
    case 512:
      return &Engine<Member512>::Ops();
    case 1024:
      return &Engine<Member1024>::Ops();
    default:
      return nullptr;
  }
}

}  // namespace ace
