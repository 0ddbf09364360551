#include "compress/tree_match_finder.h"

#include <bit>
#include <cstdlib>
#include <cstring>

#include "compress/table_alloc.h"
#include "format/crc32.h"

namespace ace {
namespace {

constexpr uint32_t kLinkMask = kTreeDictionary - 1;

static_assert(uint64_t{kTreeHistorySize} + kTreeLookahead <= 0x7FFFFFFFu);
static_assert((kTreeDictionary & kLinkMask) == 0, "the link rings are indexed by masking");

template <typename T>
void Free(T*& p) {
  std::free(p);
  p = nullptr;
}

uint32_t LastSafe(const TreeMatchFinder& mf) { return mf.base + kTreeHistorySize - kTreeLookahead; }

void SetPosLimit(TreeMatchFinder& mf) {
  if (!mf.inputEnded) {
    mf.posLimit = mf.end - kTreeLookahead;
  } else {
    const uint32_t lastSafe = LastSafe(mf);
    mf.posLimit = mf.end < lastSafe ? mf.end : lastSafe;
  }
}

// Fills the history from the end of the data towards its end, until the data
// reaches kTreeLookahead bytes past the position or the input ends.
void Fill(TreeMatchFinder& mf) {
  while (!mf.inputEnded) {
    const uint32_t room = mf.base + kTreeHistorySize - mf.end;
    if (room == 0) break;
    if (mf.waitLength == 0) {
      if (mf.stagePlace == kTreeStagingSize) mf.stagePlace = 0;
      const uint32_t n =
          mf.reader(mf.readerContext, mf.staging + mf.stagePlace, kTreeStagingSize - mf.stagePlace);
      if (n == 0) {
        mf.inputEnded = true;
        break;
      }
      mf.waitStart = mf.stagePlace;
      mf.waitLength = n;
      mf.stagePlace += n;
    }
    const uint32_t take = mf.waitLength < room ? mf.waitLength : room;
    std::memcpy(mf.history + (mf.end - mf.base), mf.staging + mf.waitStart, take);
    mf.end += take;
    mf.waitStart += take;
    mf.waitLength -= take;
    if (mf.end - mf.pos >= kTreeLookahead) break;
  }
  SetPosLimit(mf);
}

// Keeps exactly kTreeHistoryBefore bytes before the position.
void MoveDown(TreeMatchFinder& mf) {
  const uint32_t newBase = mf.pos - kTreeHistoryBefore;
  const uint32_t shift = newBase - mf.base;
  std::memmove(mf.history, mf.history + shift, mf.end - newBase);
  mf.base = newBase;
}

void LowerTable(uint32_t* table, uint32_t count, uint32_t amount) {
  for (uint32_t i = 0; i < count; ++i) table[i] = table[i] > amount ? table[i] - amount : 0;
}

// Positions that would fall below the oldest usable one become "none".
void LowerPositions(TreeMatchFinder& mf) {
  const uint32_t amount = mf.pos - kTreeDictionary - 1;
  LowerTable(mf.pairHead, kTreePairEntries, amount);
  LowerTable(mf.tripleHead, kTreeTripleEntries, amount);
  LowerTable(mf.treeHead, kTreeHeadEntries, amount);
  LowerTable(mf.links, 2 * kTreeDictionary, amount);
  mf.linkOffset += amount;  // each position keeps its link entries
  mf.pos -= amount;
  mf.end -= amount;
  mf.posLimit -= amount;
  mf.base -= amount;
}

void Advance(TreeMatchFinder& mf) {
  ++mf.pos;
  if (mf.pos > mf.posLimit) {
    if (mf.pos > LastSafe(mf)) MoveDown(mf);
    Fill(mf);
  }
  if (mf.pos == kTreePositionCeiling) LowerPositions(mf);
}

// Extends a common length of a and b up to `limit`, eight bytes at a time
// while whole words fit; never reads at or past `limit`.
inline uint32_t ExtendMatch(const uint8_t* a, const uint8_t* b, uint32_t length, uint32_t limit) {
  while (length + 8 <= limit) {
    uint64_t x, y;
    std::memcpy(&x, a + length, 8);
    std::memcpy(&y, b + length, 8);
    if (const uint64_t diff = x ^ y; diff != 0) {
      if constexpr (std::endian::native == std::endian::little) {
        return length + (static_cast<uint32_t>(std::countr_zero(diff)) >> 3);
      } else {
        return length + (static_cast<uint32_t>(std::countl_zero(diff)) >> 3);
      }
    }
    length += 8;
  }
  while (length < limit && a[length] == b[length]) ++length;
  return length;
}

// Inserts position p into the tree of its 4-byte hash. With `record`, every
// new longest common length enters matchDistance; returns the longest.
template <bool record>
uint32_t InsertIntoTree(TreeMatchFinder& mf, uint32_t hash, uint32_t limit, uint32_t minPos) {
  const uint32_t p = mf.pos;
  const uint8_t* cur = mf.history + (p - mf.base);
  uint32_t c = mf.treeHead[hash];
  mf.treeHead[hash] = p;
  uint32_t* links = mf.links;
  const uint32_t offset = mf.linkOffset;
  uint32_t* openSmaller = &links[2 * ((p + offset) & kLinkMask)];
  uint32_t* openLarger = openSmaller + 1;
  if (limit < kTreeMatchLimit) {
    // Too close to the end of the data to sort p among full-length keys.
    *openSmaller = 0;
    *openLarger = 0;
    return 0;
  }
  // The candidate exactly one dictionary back shares p's link entries; it is
  // still compared, but since it drops out of reach with this step its
  // subtrees are never needed again, and the walk ends there.
  const uint32_t ringTwin = p > kTreeDictionary ? p - kTreeDictionary : 0;
  uint32_t lenSmaller = 0;
  uint32_t lenLarger = 0;
  uint32_t best = 0;
  uint32_t visits = kTreeCutValue;
  while (c >= minPos && visits-- > 0) {
    const uint8_t* cand = mf.history + (c - mf.base);
    uint32_t len = lenSmaller < lenLarger ? lenSmaller : lenLarger;
    len = ExtendMatch(cand, cur, len, limit);
    if constexpr (record) {
      if (len > best) {
        const uint32_t distance = p - c - 1;
        for (uint32_t m = best + 1; m <= len; ++m) mf.matchDistance[m] = distance;
        best = len;
      }
    }
    if (c == ringTwin) break;
    uint32_t* const node = &links[2 * ((c + offset) & kLinkMask)];  // smaller, larger
    if (len == limit) {
      *openSmaller = node[0];
      *openLarger = node[1];
      return best;
    }
    if (cand[len] > cur[len]) {
      *openLarger = c;
      openLarger = &node[0];
      c = *openLarger;
      lenLarger = len;
    } else {
      *openSmaller = c;
      openSmaller = &node[1];
      c = *openSmaller;
      lenSmaller = len;
    }
  }
  *openSmaller = 0;
  *openLarger = 0;
  return best;
}

struct Hashes {
  uint32_t pair;
  uint32_t triple;
  uint32_t tree;
};

inline Hashes HashAt(const uint8_t* b) {
  const uint32_t t1 = kCrcTable[b[1]];
  Hashes h;
  h.pair = (t1 ^ (b[0] + 256u * b[1])) & 0x3FFu;
  h.triple = ((t1 ^ b[2]) & 0x3FFFFu) ^ (uint32_t{b[0]} << 10);
  h.tree = ((kCrcTable[b[2]] ^ b[3]) & 0xFFFFFu) ^ (((t1 & 0xFFFu) ^ (uint32_t{b[0]} << 4)) << 8);
  return h;
}

// Limit of the tree comparison at the position; 0 when fewer than 4 bytes
// remain, in which case nothing is inserted.
inline uint32_t CompareLimit(const TreeMatchFinder& mf) {
  const uint32_t available = mf.end - mf.pos;
  if (available < 4) return 0;
  return available < kTreeMatchLimit ? available : kTreeMatchLimit;
}

inline uint32_t OldestUsable(uint32_t p) { return p > kTreeDictionary ? p - kTreeDictionary : 1; }

}  // namespace

bool SetupTreeMatchFinder(TreeMatchFinder& mf) {
  ReleaseTreeMatchFinder(mf);
  mf.history = AllocateTable<uint8_t>(kTreeHistorySize);
  mf.staging = AllocateTable<uint8_t>(kTreeStagingSize);
  mf.pairHead = AllocateTable<uint32_t>(kTreePairEntries);
  mf.tripleHead = AllocateTable<uint32_t>(kTreeTripleEntries);
  mf.treeHead = AllocateTable<uint32_t>(kTreeHeadEntries);
  mf.links = AllocateTable<uint32_t>(2 * size_t{kTreeDictionary});
  if (!mf.history || !mf.staging || !mf.pairHead || !mf.tripleHead || !mf.treeHead || !mf.links) {
    ReleaseTreeMatchFinder(mf);
    return false;
  }
  return true;
}

void ReleaseTreeMatchFinder(TreeMatchFinder& mf) {
  Free(mf.history);
  Free(mf.staging);
  Free(mf.pairHead);
  Free(mf.tripleHead);
  Free(mf.treeHead);
  Free(mf.links);
}

void StartTreeMatchFinder(TreeMatchFinder& mf, TreeInputReader reader, void* context,
                          uint32_t firstPosition) {
  mf.reader = reader;
  mf.readerContext = context;
  mf.stagePlace = 0;
  mf.waitStart = 0;
  mf.waitLength = 0;
  mf.inputEnded = false;
  mf.linkOffset = 0;
  mf.base = firstPosition;
  mf.pos = firstPosition;
  mf.end = firstPosition;
  std::memset(mf.pairHead, 0, kTreePairEntries * sizeof(uint32_t));
  std::memset(mf.tripleHead, 0, kTreeTripleEntries * sizeof(uint32_t));
  std::memset(mf.treeHead, 0, kTreeHeadEntries * sizeof(uint32_t));
  Fill(mf);
}

void ContinueTreeMatchFinder(TreeMatchFinder& mf, TreeInputReader reader, void* context) {
  mf.reader = reader;
  mf.readerContext = context;
  mf.waitStart = mf.stagePlace;
  mf.waitLength = 0;
  mf.inputEnded = false;
  // Whatever an interrupted file left unread is not part of the history.
  mf.end = mf.pos;
  if (mf.pos > LastSafe(mf)) MoveDown(mf);
  Fill(mf);
}

uint32_t FindMatches(TreeMatchFinder& mf) {
  const uint32_t limit = CompareLimit(mf);
  if (limit == 0) {
    Advance(mf);
    return 0;
  }
  const uint32_t p = mf.pos;
  const uint8_t* cur = mf.history + (p - mf.base);
  const uint32_t minPos = OldestUsable(p);
  const Hashes h = HashAt(cur);

  constexpr uint32_t kNone = 0xFFFFFFFFu;
  uint32_t near2 = kNone;
  uint32_t near3 = kNone;
  const uint32_t q2 = mf.pairHead[h.pair];
  mf.pairHead[h.pair] = p;
  if (q2 >= minPos) {
    const uint8_t* q = mf.history + (q2 - mf.base);
    if (q[0] == cur[0] && q[1] == cur[1]) near2 = p - q2 - 1;
  }
  const uint32_t q3 = mf.tripleHead[h.triple];
  mf.tripleHead[h.triple] = p;
  if (q3 >= minPos) {
    const uint8_t* q = mf.history + (q3 - mf.base);
    if (q[0] == cur[0] && q[1] == cur[1] && q[2] == cur[2]) near3 = p - q3 - 1;
  }
  // A 3-byte match also serves length 2 when it is the nearer one.
  if (near3 < near2) near2 = near3;

  uint32_t best = InsertIntoTree<true>(mf, h.tree, limit, minPos);
  uint32_t* dist = mf.matchDistance;
  if (near2 != kNone) {
    if (best < 2) {
      dist[2] = near2;
      best = 2;
    } else if (near2 < dist[2]) {
      dist[2] = near2;
    }
  }
  if (near3 != kNone) {
    if (best < 3) {
      dist[3] = near3;
      best = 3;
    } else if (near3 < dist[3]) {
      dist[3] = near3;
    }
  }
  if (best == kTreeMatchLimit) {
    const uint32_t available = mf.end - p;
    const uint32_t most = available < kTreeMaxMatch ? available : kTreeMaxMatch;
    const uint8_t* src = cur - dist[kTreeMatchLimit] - 1;
    best = ExtendMatch(src, cur, best, most);
  }
  Advance(mf);
  return best;
}

void SkipPosition(TreeMatchFinder& mf) {
  const uint32_t limit = CompareLimit(mf);
  if (limit != 0) {
    const uint32_t p = mf.pos;
    const Hashes h = HashAt(mf.history + (p - mf.base));
    mf.pairHead[h.pair] = p;
    mf.tripleHead[h.triple] = p;
    InsertIntoTree<false>(mf, h.tree, limit, OldestUsable(p));
  }
  Advance(mf);
}

}  // namespace ace
