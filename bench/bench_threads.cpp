// bench_threads: creating archives on several threads against one thread,
// through the plug-in's exports, with every archive compared byte for byte
// with the one-thread archive.
//
//   bench_threads [--corpus DIR] [--piece KB] [--reps N] [--threads N,N..]
//                 [--only SETTING,..] [--all] [--speculation]
//
// The corpus is cut into pieces of 64 KB (--piece) in a temporary folder, a
// folder per corpus file: a tree of many files. Each setting (dictionary and
// level, plain or solid) is written with one thread and with each thread
// count (default 2, and every core when there are more), the counts in turn,
// the best of --reps rounds (default 5). --all checks the bytes of every dictionary,
// level and solidity once, without timing. The thread count reaches the
// plug-in through ACEPLUG_THREADS, as any host may set it. The corpus is
// --corpus DIR, else ACEPLUG_CORPUS, else ../shared/corpus beside the project.
//
// --speculation measures, instead, what speculative coding could keep (the
// design note in RESULTS.md): how far into a 256 KB chunk of one long input a
// parse begun at the chunk's start with the right tables but a fresh parse
// state goes before it agrees with the true parse to the chunk's end; and how
// often the optimal engine's carried repeat prices equal the previous file's.
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "aceplug/aceplug.h"
#include "compress/compressor.h"
#include "compress/compressor_core.h"
#include "compress/optimal_engine.h"
#include "machine.h"
#include "temp_folder.h"

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<uint8_t>;

struct Setting {
  int dictionaryKB;
  int level;
  bool solid;
  std::string Id() const {
    return std::to_string(dictionaryKB) + "/l" + std::to_string(level) + (solid ? "/solid" : "");
  }
};

struct Options {
  std::string corpus =
      std::getenv("ACEPLUG_CORPUS") ? std::getenv("ACEPLUG_CORPUS") : ACE_BENCH_CORPUS;
  size_t pieceKB = 64;
  int reps = 5;
  std::vector<int> threads;
  std::vector<std::string> only;
  bool all = false;
  bool speculation = false;
};

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream in(text);
  for (std::string item; std::getline(in, item, ',');) {
    if (!item.empty()) out.push_back(item);
  }
  return out;
}

Options ParseOptions(int argc, char** argv) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) throw std::runtime_error(a + " needs a value");
      return argv[++i];
    };
    if (a == "--corpus") {
      o.corpus = value();
    } else if (a == "--piece") {
      o.pieceKB = std::stoul(value());
    } else if (a == "--reps") {
      o.reps = std::stoi(value());
    } else if (a == "--threads") {
      for (const std::string& n : SplitList(value())) o.threads.push_back(std::stoi(n));
    } else if (a == "--only") {
      o.only = SplitList(value());
    } else if (a == "--all") {
      o.all = true;
    } else if (a == "--speculation") {
      o.speculation = true;
    } else {
      throw std::runtime_error("unknown option " + a);
    }
  }
  if (o.threads.empty()) {
    const int cores = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    o.threads.push_back(2);
    if (cores > 2) o.threads.push_back(cores);
  }
  return o;
}

Bytes ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

// Cuts every corpus file into pieces below `root`; returns the pieces' names
// relative to it and adds their bytes to `total`.
std::vector<std::string> CutCorpus(const Options& o, const fs::path& root, uint64_t& total) {
  std::vector<fs::path> files;
  for (const auto& e : fs::directory_iterator(o.corpus)) {
    if (e.is_regular_file()) files.push_back(e.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> names;
  const size_t piece = o.pieceKB * 1024;
  for (const fs::path& file : files) {
    const Bytes data = ReadAll(file);
    const std::string folder = file.stem().string();
    fs::create_directories(root / folder);
    for (size_t at = 0, k = 0; at < data.size(); at += piece, ++k) {
      char part[32];
      std::snprintf(part, sizeof part, "part%03zu", k);
      const std::string name = folder + "/" + part + file.extension().string();
      std::ofstream out(root / name, std::ios::binary);
      out.write(reinterpret_cast<const char*>(data.data() + at),
                static_cast<std::streamsize>(std::min(piece, data.size() - at)));
      names.push_back(name);
    }
    total += data.size();
  }
  return names;
}

int HostDictionaryCode(int kb) {
  int code = 3;
  for (int size = 32; size < kb; size *= 2) ++code;
  return code;
}

// Writes the archive through the exports, as a host does.
void CreateArchive(const std::string& archive, const fs::path& root,
                   const std::vector<std::string>& names, const Setting& s, int threads) {
  setenv("ACEPLUG_THREADS", std::to_string(threads).c_str(), 1);
  std::error_code ec;
  fs::remove(archive, ec);
  CreateArcFile(archive.c_str());
  CompOptions o{};
  o.DictionaryKB = HostDictionaryCode(s.dictionaryKB);
  o.Level = s.level;
  o.Solid = s.solid ? 1 : 0;
  o.KeepPaths = 1;
  const std::string input = root.string() + "/";
  std::strncpy(o.InputPath, input.c_str(), sizeof o.InputPath - 1);
  SetCompExtraFeatures(&o);
  SetInputPath(input.c_str());
  FileMaskList masks;
  InitFileMaskList(&masks);
  for (const std::string& n : names) AppendFileMask(n.c_str(), &masks);
  CompressFileMaskListArc(&masks);
  const uint16_t status = GetArchiveStatus();
  DoneFileMaskList(&masks);
  DoneArcFile();
  if (status != AR_OK) {
    throw std::runtime_error(s.Id() + " with " + std::to_string(threads) + " threads: status " +
                             std::to_string(status));
  }
}

std::string LoadAverage() {
  std::ifstream in("/proc/loadavg");
  std::string a, b, c;
  in >> a >> b >> c;
  return a + " " + b + " " + c;
}

// The peak resident size since the last call, in MiB (0 when unknown).
double PeakResidentMiB() {
  std::ifstream status("/proc/self/status");
  double peak = 0;
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) peak = std::stod(line.substr(6)) / 1024.0;
  }
  std::ofstream("/proc/self/clear_refs") << "5";
  return peak;
}

// Processor time in seconds: of the process (all threads), or of the calling thread.
double CpuNow(clockid_t clock = CLOCK_PROCESS_CPUTIME_ID) {
  timespec t{};
  clock_gettime(clock, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

struct Timing {
  double best = 0;     // wall seconds, best run
  double cpu = 0;      // processor seconds, least over the runs
  double calling = 0;  // of that, the calling thread's (reading, writing, the host)
  double peakMiB = 0;
  Bytes archive;
};

// One setting on one thread and on each count of `threads`, the runs of the
// counts taken in turn, so that a change in the machine's load between runs
// falls on all of them alike. The first timing is the one thread's.
std::vector<Timing> Measure(const std::string& archive, const fs::path& root,
                            const std::vector<std::string>& names, const Setting& s,
                            const std::vector<int>& threads, int reps) {
  std::vector<int> counts{1};
  counts.insert(counts.end(), threads.begin(), threads.end());
  std::vector<Timing> out(counts.size());
  for (int r = 0; r < reps; ++r) {
    for (size_t k = 0; k < counts.size(); ++k) {
      Timing& t = out[k];
      PeakResidentMiB();
      const auto t0 = Clock::now();
      const double c0 = CpuNow();
      const double m0 = CpuNow(CLOCK_THREAD_CPUTIME_ID);
      CreateArchive(archive, root, names, s, counts[k]);
      const double cpu = CpuNow() - c0;
      const double calling = CpuNow(CLOCK_THREAD_CPUTIME_ID) - m0;
      const double seconds = std::chrono::duration<double>(Clock::now() - t0).count();
      if (r == 0 || seconds < t.best) t.best = seconds;
      if (r == 0 || cpu < t.cpu) t.cpu = cpu;
      if (r == 0 || calling < t.calling) t.calling = calling;
      t.peakMiB = std::max(t.peakMiB, PeakResidentMiB());
      if (r == 0) t.archive = ReadAll(archive);
    }
  }
  return out;
}

std::vector<Setting> Settings(const Options& o) {
  std::vector<Setting> out;
  if (o.all) {
    for (int solid : {0, 1}) {
      for (int kb : {64, 128, 256, 512, 1024}) {
        for (int level = 0; level <= 4; ++level) out.push_back({kb, level, solid != 0});
      }
    }
    return out;
  }
  for (int solid : {0, 1}) {
    for (const auto& [kb, level] : {std::pair{64, 1}, {1024, 1}, {1024, 3}, {512, 4}, {1024, 4}}) {
      Setting s{kb, level, solid != 0};
      if (o.only.empty() || std::find(o.only.begin(), o.only.end(), s.Id()) != o.only.end()) {
        out.push_back(s);
      }
    }
  }
  return out;
}

// ---- --speculation ----

// A token as the parse chose it: where it starts, its length, its distance
// value (0 for a literal).
struct Token {
  uint32_t pos, length, distance;
  bool operator==(const Token&) const = default;
};

// Collects a file's tokens from each block before it is coded, undoing the
// repeat forms with the ring of recent distances.
struct TokenTap {
  std::vector<Token>* out;
  uint32_t pos;
  uint32_t ring[4];
  uint32_t newest;
  const ace::EngineOps* engine;
};
TokenTap* g_tap = nullptr;

void TapBlock(ace::CompressorCore& c) {
  TokenTap& t = *g_tap;
  for (uint32_t i = 0; i < c.tokenCount; ++i) {
    const uint32_t m = c.tokenMain[i];
    Token k{t.pos, 1, 0};
    if (m >= 260) {
      k.distance = c.tokenDistance[i];
      k.length = c.tokenLength[i] + 2u + (k.distance > 255) + (k.distance > 8191);
      t.newest = (t.newest + 1) & 3;
      t.ring[t.newest] = k.distance;
    } else if (m >= 256) {
      const uint32_t r = m - 256;
      k.distance = t.ring[(t.newest - r) & 3];
      k.length = c.tokenLength[i] + (r <= 1 ? 2u : 3u);
      for (uint32_t j = (t.newest - r) & 3; j != t.newest; j = (j + 1) & 3)
        t.ring[j] = t.ring[(j + 1) & 3];
      t.ring[t.newest] = k.distance;
    }
    t.out->push_back(k);
    t.pos += k.length;
  }
  if (t.engine->blockClosed != nullptr) t.engine->blockClosed(c);
}

struct MemoryInput {
  const uint8_t* data;
  uint32_t size;
  uint32_t at = 0;
};
int32_t ReadMemory(void* context, uint8_t* destination, int32_t count) {
  auto& m = *static_cast<MemoryInput*>(context);
  const uint32_t n = std::min<uint32_t>(static_cast<uint32_t>(count), m.size - m.at);
  std::memcpy(destination, m.data + m.at, n);
  m.at += n;
  return static_cast<int32_t>(n);
}
int32_t DropOutput(void*, const uint8_t*, int32_t count) { return count; }

// Codes one file on `c`; with `tokens`, collects them (positions from `pos`).
void CodeFile(ace::Compressor& c, const uint8_t* data, uint32_t size, bool solidContinue,
              std::vector<Token>* tokens, uint32_t pos) {
  MemoryInput input{data, size};
  ace::CompressorIo io;
  io.read = ReadMemory;
  io.readContext = &input;
  io.write = DropOutput;
  c.SetIo(io);
  const ace::EngineOps* engine = c.Core().ops;
  ace::EngineOps tapped = *engine;
  TokenTap tap{tokens, pos, {}, 0, engine};
  if (tokens != nullptr) {
    tapped.blockClosed = TapBlock;
    c.Core().ops = &tapped;
    g_tap = &tap;
  }
  c.StartFile(size, solidContinue);
  c.Run();
  c.Finish();
  c.Core().ops = engine;
}

Bytes Concatenated(const std::string& corpus) {
  std::vector<fs::path> files;
  for (const auto& e : fs::directory_iterator(corpus)) {
    if (e.is_regular_file()) files.push_back(e.path());
  }
  std::sort(files.begin(), files.end());
  Bytes all;
  for (const fs::path& f : files) {
    const Bytes b = ReadAll(f);
    all.insert(all.end(), b.begin(), b.end());
  }
  return all;
}

int RunSpeculation(const Options& o) {
  const Bytes data = Concatenated(o.corpus);
  const uint32_t chunk = 256 * 1024;
  const uint32_t margin = 300;  // the chunk's own end is coded differently
  std::printf("Corpus concatenated, %zu bytes; chunks of %u KB.\n\n", data.size(), chunk / 1024);
  std::printf("| setting | chunk starts | bytes before agreement: median | mean | max | kept |\n");
  std::printf("|---|--:|--:|--:|--:|--:|\n");
  for (const auto& [kb, level] :
       {std::pair{64, 1}, {64, 3}, {128, 1}, {256, 1}, {512, 1}, {1024, 1}, {1024, 3}, {64, 0}}) {
    ace::Compressor whole;
    if (!whole.Init(kb, level)) throw std::runtime_error("no memory for an engine");
    std::vector<Token> truth;
    CodeFile(whole, data.data(), static_cast<uint32_t>(data.size()), false, &truth, 0);
    std::vector<uint32_t> gaps;
    for (uint32_t x = chunk; x + chunk <= data.size(); x += chunk) {
      // Up to x as one file, then the chunk as its continuation: the tables
      // hold every position before x, the parse state starts afresh.
      ace::Compressor c;
      if (!c.Init(kb, level)) throw std::runtime_error("no memory for an engine");
      CodeFile(c, data.data(), x, false, nullptr, 0);
      std::vector<Token> guess;
      CodeFile(c, data.data() + x, chunk, true, &guess, x);
      auto byPos = [](const Token& t, uint32_t v) { return t.pos < v; };
      const uint32_t end = x + chunk - margin;
      auto g = std::lower_bound(guess.begin(), guess.end(), end, byPos);
      auto t = std::lower_bound(truth.begin(), truth.end(), end, byPos);
      const auto tFirst = std::lower_bound(truth.begin(), truth.end(), x, byPos);
      uint32_t agree = end;
      if (g != guess.end() && t != truth.end() && g->pos == t->pos) {
        while (g != guess.begin() && t != tFirst && *(g - 1) == *(t - 1)) --g, --t;
        agree = g->pos;
      }
      gaps.push_back(agree - x);
    }
    std::sort(gaps.begin(), gaps.end());
    double mean = 0;
    for (uint32_t gap : gaps) mean += gap;
    mean /= static_cast<double>(gaps.size());
    std::printf("| %d/l%d | %zu | %u | %.0f | %u | %.1f %% |\n", kb, level, gaps.size(),
                gaps[gaps.size() / 2], mean, gaps.back(), 100.0 * (1.0 - mean / chunk));
    std::fflush(stdout);
  }

  // The optimal engine: its carried repeat prices against the guess "as the
  // file before left them", over the corpus cut into pieces.
  std::printf("\n| optimal engine, %zu KB pieces | files | carried prices as the file before's |\n",
              o.pieceKB);
  std::printf("|---|--:|--:|\n");
  for (int solid : {0, 1}) {
    ace::Compressor c;
    if (!c.Init(1024, 4)) throw std::runtime_error("no memory for the optimal engine");
    const auto& prices = static_cast<ace::OptimalEngineState*>(c.Core().engine)->prices;
    uint32_t before[4] = {};
    int same = 0;
    int files = 0;
    const size_t piece = o.pieceKB * 1024;
    for (size_t at = 0; at < data.size(); at += piece, ++files) {
      const uint32_t n = static_cast<uint32_t>(std::min(piece, data.size() - at));
      CodeFile(c, data.data() + at, n, solid != 0 && at != 0, nullptr, 0);
      if (at != 0 && std::equal(before, before + 4, prices.main + 256)) ++same;
      std::copy(prices.main + 256, prices.main + 260, before);
    }
    std::printf("| %s | %d | %d |\n", solid ? "solid" : "plain", files, same);
  }
  return 0;
}

int Run(const Options& o) {
  if (o.speculation) return RunSpeculation(o);
  acebench::TempFolder temp("acethreads");
  const fs::path root = temp.path() / "tree";
  uint64_t total = 0;
  const std::vector<std::string> names = CutCorpus(o, root, total);
  const std::string archive = (temp.path() / "bench.ace").string();

  std::printf("%s\n",
              bench::MachineTable(bench::GetMachineFacts(), "threads as in each row").c_str());
  std::printf(
      "Tree: %s cut into %zu KB pieces, %zu files, %llu bytes. Load average before: %s.\n\n",
      o.corpus.c_str(), o.pieceKB, names.size(), static_cast<unsigned long long>(total),
      LoadAverage().c_str());
  if (o.all) {
    int failures = 0;
    for (const Setting& s : Settings(o)) {
      const std::vector<Timing> t = Measure(archive, root, names, s, o.threads, 1);
      for (size_t k = 0; k < o.threads.size(); ++k) {
        const bool same = t[k + 1].archive == t[0].archive;
        failures += same ? 0 : 1;
        std::printf("%-16s %2d threads: %s\n", s.Id().c_str(), o.threads[k],
                    same ? "same bytes" : "DIFFERENT");
      }
    }
    std::printf("\n%d setting(s) differ\n", failures);
    return failures == 0 ? 0 : 1;
  }

  std::printf(
      "| setting | threads | MB/s | speed-up | target | processor s | / one thread | calling "
      "thread s | peak resident MiB | bytes |\n");
  std::printf("|---|--:|--:|--:|---|--:|--:|--:|--:|---|\n");
  bool allSame = true;
  for (const Setting& s : Settings(o)) {
    const std::vector<Timing> timings = Measure(archive, root, names, s, o.threads, o.reps);
    const Timing& one = timings[0];
    const double mbps1 = static_cast<double>(total) / 1e6 / one.best;
    std::printf("| %s | 1 | %.2f | 1.00x | | %.3f | 1.00x | %.3f | %.1f | |\n", s.Id().c_str(),
                mbps1, one.cpu, one.calling, one.peakMiB);
    for (size_t k = 0; k < o.threads.size(); ++k) {
      const int n = o.threads[k];
      const Timing& t = timings[k + 1];
      const double speedup = one.best / t.best;
      const bool same = t.archive == one.archive;
      allSame = allSame && same;
      std::string target;
      if (s.dictionaryKB == 1024 && s.level == 4) {
        target = "one thread by design";
      } else if (s.solid) {
        if (n == 2) target = speedup >= 1.25 ? "met (1.25x)" : "**missed** (1.25x)";
      } else {
        char text[48];
        std::snprintf(text, sizeof text, "%s (%.2fx)", speedup >= 0.8 * n ? "met" : "**missed**",
                      0.8 * n);
        target = text;
      }
      std::printf("| %s | %d | %.2f | %.2fx | %s | %.3f | %.2fx | %.3f | %.1f | %s |\n",
                  s.Id().c_str(), n, static_cast<double>(total) / 1e6 / t.best, speedup,
                  target.c_str(), t.cpu, t.cpu / one.cpu, t.calling, t.peakMiB,
                  same ? "same" : "**DIFFERENT**");
      std::fflush(stdout);
    }
  }
  std::printf(
      "\nLoad average after: %s. Engines: %.2f MiB each at 1024 KB (levels 0-3), "
      "%.2f MiB for the optimal engine, %.2f MiB at 64 KB.\n",
      LoadAverage().c_str(), static_cast<double>(ace::EngineMemoryBytes(1024, 1)) / 1048576.0,
      static_cast<double>(ace::EngineMemoryBytes(1024, 4)) / 1048576.0,
      static_cast<double>(ace::EngineMemoryBytes(64, 1)) / 1048576.0);
  return allSame ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(ParseOptions(argc, argv));
  } catch (const std::exception& e) {
    std::fprintf(stderr, "bench_threads: %s\n", e.what());
    return 2;
  }
}
