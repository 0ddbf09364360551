#include "platform/fault_injection.h"

#include <atomic>

namespace platform::faults {

namespace {

constexpr int kKinds = static_cast<int>(Kind::Count_);

struct Counters {
  std::atomic<int64_t> calls[kKinds] = {};
  std::atomic<int64_t> failAt[kKinds] = {};  // call number that fails, 0 when disarmed
  std::atomic<int64_t> actAt[kKinds] = {};   // call number that runs the action first
  std::atomic<void (*)()> action[kKinds] = {};
};

Counters& Table() {
  static Counters counters;
  return counters;
}

bool Valid(Kind kind) { return static_cast<int>(kind) >= 0 && static_cast<int>(kind) < kKinds; }

}  // namespace

void Arm(Kind kind, int64_t nth) {
  if (!Valid(kind)) return;
  const auto i = static_cast<size_t>(kind);
  Table().failAt[i] = nth > 0 ? Table().calls[i].load() + nth : 0;
}

void Before(Kind kind, int64_t nth, void (*action)()) {
  if (!Valid(kind)) return;
  const auto i = static_cast<size_t>(kind);
  Table().action[i] = action;
  Table().actAt[i] = nth > 0 && action != nullptr ? Table().calls[i].load() + nth : 0;
}

void Reset() {
  for (int i = 0; i < kKinds; ++i) {
    Table().calls[i] = 0;
    Table().failAt[i] = 0;
    Table().actAt[i] = 0;
    Table().action[i] = nullptr;
  }
}

int64_t Calls(Kind kind) {
  return Valid(kind) ? Table().calls[static_cast<size_t>(kind)].load() : 0;
}

bool ShouldFail(Kind kind) {
  if (!Valid(kind)) return false;
  const auto i = static_cast<size_t>(kind);
  const int64_t call = ++Table().calls[i];
  int64_t due = call;
  if (Table().actAt[i].compare_exchange_strong(due, 0)) Table().action[i].load()();
  int64_t target = call;
  // Fires once: the armed call number is cleared by the call that hits it.
  return Table().failAt[i].compare_exchange_strong(target, 0);
}

}  // namespace platform::faults
