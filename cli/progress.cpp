#include "progress.h"

#include <algorithm>
#include <cstdio>

#include "entry_format.h"
#include "terminal.h"
#include "text_output.h"

namespace acearc {

namespace {

// Code points in a UTF-8 text (each counted one column wide).
size_t Columns(const std::string& text) {
  size_t n = 0;
  for (unsigned char c : text) n += (c & 0xC0) != 0x80;
  return n;
}

// The last `columns` code points of the text, with "..." in front when cut.
std::string TailColumns(const std::string& text, size_t columns) {
  if (Columns(text) <= columns) return text;
  if (columns <= 3) return std::string(columns, '.');
  size_t keep = columns - 3;
  size_t i = text.size();
  while (i > 0 && keep > 0) {
    --i;
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) --keep;
  }
  return "..." + text.substr(i);
}

std::string FormatDuration(double seconds) {
  long s = static_cast<long>(seconds + 0.5);
  char text[32];
  if (s >= 3600) {
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
  } else {
    std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
  }
  return text;
}

void Emit(const std::string& text) {
  std::fputs(Utf8Text(text).c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace

OutputMode ChooseOutputMode(bool quiet) {
  if (quiet) return OutputMode::Quiet;
  return terminal::StderrIsTerminal() ? OutputMode::Bar : OutputMode::Plain;
}

void ProgressDisplay::Begin(const std::string& verb, uint64_t total) {
  verb_ = verb;
  total_ = total;
  done_ = 0;
  file_.clear();
  start_ = std::chrono::steady_clock::now();
  Draw(true);
}

void ProgressDisplay::SetTotal(uint64_t total) {
  total_ = total;
  Draw(false);
}

void ProgressDisplay::StartFile(const std::string& name) {
  file_ = EscapeControls(name);
  filePercent_ = 0;
  if (mode_ == OutputMode::Plain) Emit(verb_ + " " + file_ + "\n");
  Draw(false);
}

void ProgressDisplay::Advance(uint64_t bytes, int percent) {
  done_ += bytes;
  filePercent_ = std::clamp(percent, 0, 100);
  Draw(false);
}

void ProgressDisplay::Message(const std::string& line) {
  Clear();
  // Names in messages may come from archives or disks; escaping again is harmless.
  Emit(EscapeControls(line) + "\n");
}

void ProgressDisplay::Clear() {
  if (mode_ == OutputMode::Bar && shown_) Emit("\r\x1b[K");
  shown_ = false;
}

std::string ProgressDisplay::BarText(size_t width, double seconds) const {
  int percent = filePercent_;
  if (total_ > 0) percent = static_cast<int>(std::min<uint64_t>(100, RatioPercent(done_, total_)));
  char head[16];
  std::snprintf(head, sizeof head, "%3d%%", percent);
  std::string text = head;
  if (width >= 100) {
    constexpr size_t kBarWidth = 20;
    size_t filled = kBarWidth * static_cast<size_t>(percent) / 100;
    text += " [" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "]";
  }
  text.append(" ").append(FormatBytes(done_));
  if (total_ > 0) text.append(" / ").append(FormatBytes(total_));
  if (seconds >= 0.5 && done_ > 0) {
    double speed = static_cast<double>(done_) / seconds;
    text.append("  ").append(FormatBytes(static_cast<uint64_t>(speed))).append("/s");
    if (total_ > done_) {
      text.append("  ")
          .append(FormatDuration(static_cast<double>(total_ - done_) / speed))
          .append(" left");
    }
  }
  std::string label = verb_;
  if (!file_.empty()) label.append(" ").append(file_);
  size_t used = Columns(text) + 2;
  if (width > used + 8) text.append("  ").append(TailColumns(label, width - used - 1));
  return text;
}

void ProgressDisplay::Draw(bool force) {
  if (mode_ != OutputMode::Bar) return;
  auto now = std::chrono::steady_clock::now();
  if (!force && shown_ && now - lastDraw_ < std::chrono::milliseconds(100)) return;
  lastDraw_ = now;
  double seconds = std::chrono::duration<double>(now - start_).count();
  std::string line = "\r";
  line.append(BarText(terminal::StderrColumns(), seconds)).append("\x1b[K");
  Emit(line);
  shown_ = true;
}

}  // namespace acearc
