// What acearc shows on stderr while an operation runs: a redrawn progress bar
// when stderr is a terminal (current file, percent, bytes done and total,
// speed, time left), one plain line per file when it is not, nothing at all
// when quiet. Warnings and questions go through Message/Clear so that they do
// not tangle with the bar.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace acearc {

enum class OutputMode { Quiet, Plain, Bar };

// Bar when stderr is a terminal, else plain; quiet wins.
OutputMode ChooseOutputMode(bool quiet);

class ProgressDisplay {
 public:
  explicit ProgressDisplay(OutputMode mode) : mode_(mode) {}
  ~ProgressDisplay() { Clear(); }
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  OutputMode mode() const { return mode_; }

  // Starts an operation: `verb` names what happens to each file ("adding");
  // `total` is the byte count when known in advance, else 0.
  void Begin(const std::string& verb, uint64_t total);
  // A total announced later (the plug-in's signal callback).
  void SetTotal(uint64_t total);
  void StartFile(const std::string& name);
  // `bytes` more are done; `percent` is the plug-in's percent of the file.
  void Advance(uint64_t bytes, int percent);
  // A line of its own (a warning), never lost under the bar; shown even when quiet.
  void Message(const std::string& line);
  // Erases the bar (before a question); it comes back with the next update.
  void Clear();

  uint64_t done() const { return done_; }
  uint64_t total() const { return total_; }

  // The bar's text for a given width; exposed for the tests of its layout.
  std::string BarText(size_t width, double seconds) const;

 private:
  void Draw(bool force);

  OutputMode mode_;
  std::string verb_;
  std::string file_;
  uint64_t total_ = 0;
  uint64_t done_ = 0;
  int filePercent_ = 0;
  bool shown_ = false;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point lastDraw_{};
};

}  // namespace acearc
