// bench_compare: ratio, compression and decompression speed and peak heap of
// our compressor and decoder next to zlib, bzip2, xz and zstd, on each file of
// a corpus and on the corpus concatenated. Prints Markdown on stdout and
// progress on stderr. Every round trip is compared byte for byte.
//
//   bench_compare [--corpus DIR] [--quick] [--only ID,ID...] [--no-files]
//                 [--min-time SECONDS] [--profile ID [--reps N] [--decode]] [--heap-trace BYTES]
//
// --quick measures the key settings once on the concatenated corpus; --only
// keeps the codecs whose id contains one of the given strings (ace/1024/l1,
// zlib-6, ...); --profile compresses the concatenated corpus N times with one
// codec and nothing else (--decode: decompresses it N times), to run under
// perf or callgrind or to compare two builds. The corpus is --corpus DIR, else
// ACEPLUG_CORPUS, else ../shared/corpus beside the project.
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "alloc_counter.h"
#include "codecs.h"
#include "machine.h"

namespace fs = std::filesystem;

namespace bench {
namespace {

using Bytes = std::vector<uint8_t>;
using Clock = std::chrono::steady_clock;

// The codecs shown per file, and measured in --quick mode.
const std::vector<std::string> kKeyCodecs = {
    "ace/1024/l0", "ace/1024/l1", "ace/1024/l3", "ace/1024/l4", "zlib-6",
    "zlib-9",      "bzip2-9",     "xz-6",        "zstd-3",      "zstd-19"};

struct Options {
  std::string corpus =
      std::getenv("ACEPLUG_CORPUS") ? std::getenv("ACEPLUG_CORPUS") : ACE_BENCH_CORPUS;
  bool quick = false;
  bool perFile = true;
  std::vector<std::string> only;
  double minTime = 1.0;  // seconds of repetitions per figure (a third of it per file)
  int minReps = 5;       // (3 per file)
  int maxReps = 30;
  std::string profile;
  int profileReps = 5;
  bool profileDecode = false;  // --profile times the decoder instead
  size_t heapTrace = 0;        // list heap blocks of this size or more on stderr
};

struct DataSet {
  std::string name;
  Bytes bytes;
};

struct Result {
  size_t size = 0;
  size_t packed = 0;
  double compressSeconds = 0;    // best repetition
  double decompressSeconds = 0;  // best repetition; ours with the CRC check
  double decodeOnlySeconds = 0;  // ours without the CRC check; 0 for the others
  // The same runs by the thread's processor time (best repetition after the first), which
  // other tenants of a shared machine disturb less than the wall clock.
  double compressCpuSeconds = 0;
  double decompressCpuSeconds = 0;
  size_t compressPeak = 0;  // heap bytes above the baseline: set-up plus one run
  size_t decompressPeak = 0;
  size_t compressResident = 0;  // see ResidentPeak; concatenated corpus only
  int compressReps = 0;
  int decompressReps = 0;

  double Ratio() const {
    return size == 0 ? 0 : 100.0 * static_cast<double>(packed) / static_cast<double>(size);
  }
};

double MBps(size_t bytes, double seconds) {
  return seconds <= 0 ? 0 : static_cast<double>(bytes) / 1e6 / seconds;
}

// Processor time of the calling thread.
double ThreadSeconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

double MiB(size_t bytes) { return static_cast<double>(bytes) / (1024.0 * 1024.0); }

std::string Fixed(double v, int digits) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", digits, v);
  return buf;
}

Bytes ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return bytes;
}

std::vector<DataSet> LoadCorpus(const std::string& dir) {
  std::vector<fs::path> paths;
  for (const auto& e : fs::directory_iterator(dir)) {
    if (e.is_regular_file()) paths.push_back(e.path());
  }
  std::sort(paths.begin(), paths.end());
  if (paths.empty()) throw std::runtime_error("no files in " + dir);
  std::vector<DataSet> sets;
  for (const auto& p : paths) sets.push_back({p.filename().string(), ReadFile(p)});
  return sets;
}

// Times `run` until it has taken minTime in total and run minReps times, or
// maxReps times; the best single time. `first` is the time of a run already
// done (the one that measured the heap). `bestCpu`, when given, holds that
// run's processor time of the calling thread and receives the best.
template <typename Fn>
double BestTime(const Options& o, double first, int* reps, Fn run, double* bestCpu = nullptr) {
  double best = first;
  double total = first;
  double cpu = bestCpu != nullptr ? *bestCpu : 0;
  *reps = 1;
  while (*reps < o.maxReps && (total < o.minTime || *reps < o.minReps)) {
    const auto t0 = Clock::now();
    const double c0 = ThreadSeconds();
    run();
    cpu = std::min(cpu, ThreadSeconds() - c0);
    const double t = std::chrono::duration<double>(Clock::now() - t0).count();
    best = std::min(best, t);
    total += t;
    ++*reps;
  }
  if (bestCpu != nullptr) *bestCpu = cpu;
  return best;
}

void Verify(const Codec& c, const DataSet& d, const Bytes& decoded) {
  if (decoded != d.bytes) {
    size_t i = 0;
    while (i < d.bytes.size() && decoded[i] == d.bytes[i]) ++i;
    throw std::runtime_error(c.Id() + " on " + d.name + ": round trip differs at byte " +
                             std::to_string(i));
  }
}

// Findings that the tables cannot show, printed under them.
std::vector<std::string> notes;

Result Measure(Codec& c, const DataSet& d, const Options& o) {
  Result r;
  r.size = d.bytes.size();
  const uint8_t* in = d.bytes.data();
  Bytes packed(c.Bound(r.size));
  Bytes decoded(r.size);

  // Set-up and the first run count for the heap; the first run is timed too.
  size_t base = AllocResetPeak();
  c.SetupCompress();
  auto t0 = Clock::now();
  double c0 = ThreadSeconds();
  r.packed = c.Compress(in, r.size, packed.data(), packed.size());
  r.compressCpuSeconds = ThreadSeconds() - c0;
  double first = std::chrono::duration<double>(Clock::now() - t0).count();
  r.compressPeak = AllocPeak() - base;
  const Bytes firstPacked(packed.begin(), packed.begin() + static_cast<ptrdiff_t>(r.packed));
  size_t lastSize = r.packed;
  r.compressSeconds = BestTime(
      o, first, &r.compressReps,
      [&] { lastSize = c.Compress(in, r.size, packed.data(), packed.size()); },
      &r.compressCpuSeconds);
  // A fresh file should come out the same however many the compressor coded
  // before it. When it does not, the later output must still decode.
  if (lastSize != r.packed || !std::equal(firstPacked.begin(), firstPacked.end(), packed.begin())) {
    notes.push_back(c.Id() + " on " + d.name + ": a repeated run gave different output (" +
                    std::to_string(lastSize) + " bytes after " + std::to_string(r.packed) +
                    " the first time); both decode to the input");
    c.SetupDecompress();
    c.Decompress(packed.data(), lastSize, decoded.data(), r.size);
    Verify(c, d, decoded);
    c.Release();
  }
  std::copy(firstPacked.begin(), firstPacked.end(), packed.begin());

  base = AllocResetPeak();
  c.SetupDecompress();
  t0 = Clock::now();
  c0 = ThreadSeconds();
  c.Decompress(packed.data(), r.packed, decoded.data(), r.size);
  r.decompressCpuSeconds = ThreadSeconds() - c0;
  first = std::chrono::duration<double>(Clock::now() - t0).count();
  r.decompressPeak = AllocPeak() - base;
  Verify(c, d, decoded);
  // Our timed runs leave the output in the decoder's window, as extraction
  // does; each still checks its CRC. The first one, which copied, is timed
  // again without.
  auto* ace = dynamic_cast<AceCodec*>(&c);
  if (ace != nullptr) {
    ace->SetCopyOutput(false);
    t0 = Clock::now();
    c0 = ThreadSeconds();
    c.Decompress(packed.data(), r.packed, decoded.data(), r.size);
    r.decompressCpuSeconds = ThreadSeconds() - c0;
    first = std::chrono::duration<double>(Clock::now() - t0).count();
  }
  r.decompressSeconds = BestTime(
      o, first, &r.decompressReps,
      [&] { c.Decompress(packed.data(), r.packed, decoded.data(), r.size); },
      &r.decompressCpuSeconds);
  Verify(c, d, decoded);
  if (ace != nullptr) {
    ace->SetCheckCrc(false);
    t0 = Clock::now();
    c.Decompress(packed.data(), r.packed, decoded.data(), r.size);
    first = std::chrono::duration<double>(Clock::now() - t0).count();
    int reps = 0;
    r.decodeOnlySeconds = BestTime(
        o, first, &reps, [&] { c.Decompress(packed.data(), r.packed, decoded.data(), r.size); });
    ace->SetCheckCrc(true);
    ace->SetCopyOutput(true);
    Verify(c, d, decoded);
  }
  c.Release();
  return r;
}

size_t ResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  size_t pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// The resident peak of set-up plus one compression, in a child process: the
// rise of its RSS high-water mark over its RSS at the start. Large blocks come
// fresh from mmap (see Main), so pages freed by earlier codecs cannot hide a
// table. Counts the pages touched, where the heap figure counts what was
// allocated. 0 when the child fails.
size_t ResidentPeak(Codec& c, const DataSet& d) {
  Bytes packed(c.Bound(d.bytes.size()));
  int fds[2];
  if (pipe(fds) != 0) return 0;
  std::cout.flush();
  std::cerr.flush();
  const pid_t pid = fork();
  if (pid < 0) {
    close(fds[0]);
    close(fds[1]);
    return 0;
  }
  if (pid == 0) {
    close(fds[0]);
    uint64_t rise = 0;
    const size_t before = ResidentBytes();
    try {
      c.SetupCompress();
      c.Compress(d.bytes.data(), d.bytes.size(), packed.data(), packed.size());
      rusage u{};
      getrusage(RUSAGE_SELF, &u);
      const size_t peak = static_cast<size_t>(u.ru_maxrss) * 1024;
      rise = peak > before ? peak - before : 0;
    } catch (...) {
    }
    const ssize_t n = write(fds[1], &rise, sizeof rise);
    _exit(n == sizeof rise ? 0 : 1);
  }
  close(fds[1]);
  uint64_t rise = 0;
  if (read(fds[0], &rise, sizeof rise) != sizeof rise) rise = 0;
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return static_cast<size_t>(rise);
}

bool Selected(const Options& o, const std::string& id) {
  if (o.only.empty()) {
    return !o.quick || std::find(kKeyCodecs.begin(), kKeyCodecs.end(), id) != kKeyCodecs.end();
  }
  for (const auto& s : o.only) {
    if (id.find(s) != std::string::npos) return true;
  }
  return false;
}

std::vector<std::string> Split(const std::string& s) {
  std::vector<std::string> parts;
  std::stringstream in(s);
  for (std::string part; std::getline(in, part, ',');) {
    if (!part.empty()) parts.push_back(part);
  }
  return parts;
}

Options ParseArgs(int argc, char** argv) {
  Options o;
  auto value = [&](int& i) -> std::string {
    if (i + 1 >= argc) throw std::runtime_error(std::string(argv[i]) + " needs a value");
    return argv[++i];
  };
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--corpus") {
      o.corpus = value(i);
    } else if (a == "--quick") {
      o.quick = true;
    } else if (a == "--no-files") {
      o.perFile = false;
    } else if (a == "--only") {
      o.only = Split(value(i));
    } else if (a == "--min-time") {
      o.minTime = std::stod(value(i));
    } else if (a == "--profile") {
      o.profile = value(i);
    } else if (a == "--heap-trace") {
      o.heapTrace = std::stoul(value(i));
    } else if (a == "--decode") {
      o.profileDecode = true;
    } else if (a == "--reps") {
      o.profileReps = std::stoi(value(i));
    } else if (a == "--help" || a == "-h") {
      std::cout
          << "usage: bench_compare [--corpus DIR] [--quick] [--only ID,ID...] [--no-files]\n"
             "                     [--min-time SECONDS] [--profile ID [--reps N] [--decode]]\n"
             "                     [--heap-trace BYTES]\n"
             "ids: ace/<64|128|256|512|1024>/l<0..3>, ace/1024/l4, zlib-6, zlib-9,\n"
             "     bzip2-9, xz-6, zstd-3, zstd-19 (--only matches substrings)\n";
      std::exit(0);
    } else if (i == argc - 1 && a.rfind("--", 0) != 0) {
      o.corpus = a;  // a bare last argument names the corpus
    } else {
      throw std::runtime_error("unknown argument " + a);
    }
  }
  o.corpus = fs::path(o.corpus).lexically_normal().string();
  if (o.quick) {
    o.perFile = false;
    o.minReps = 1;
    o.minTime = 0;
  }
  return o;
}

// Compresses the concatenated corpus repeatedly with one codec, or once and
// then decompresses it repeatedly (--decode); the round trip is checked.
// Prints the best repetition by wall time and by the thread's processor time,
// which other tenants of a shared machine disturb less.
int Profile(const Options& o, const DataSet& all) {
  for (auto& c : AllCodecs()) {
    if (c->Id() != o.profile) continue;
    Bytes packed(c->Bound(all.bytes.size()));
    Bytes decoded(all.bytes.size());
    c->SetupCompress();
    c->SetupDecompress();
    size_t n = 0;
    double wall = 1e30, cpu = 1e30;
    auto timed = [&](auto run) {
      const auto t0 = Clock::now();
      const double c0 = ThreadSeconds();
      run();
      cpu = std::min(cpu, ThreadSeconds() - c0);
      wall = std::min(wall, std::chrono::duration<double>(Clock::now() - t0).count());
    };
    auto compress = [&] {
      n = c->Compress(all.bytes.data(), all.bytes.size(), packed.data(), packed.size());
    };
    auto decompress = [&] { c->Decompress(packed.data(), n, decoded.data(), decoded.size()); };
    auto* ace = dynamic_cast<AceCodec*>(c.get());
    if (o.profileDecode) compress();
    if (ace != nullptr) ace->SetCopyOutput(false);  // as in Measure
    for (int i = 0; i < o.profileReps; ++i) {
      if (o.profileDecode) {
        timed(decompress);
      } else {
        timed(compress);
      }
    }
    if (ace != nullptr) ace->SetCopyOutput(true);
    decompress();
    Verify(*c, all, decoded);
    std::printf(
        "%s: %d x %s %zu bytes (%zu packed, %.2f%%), best %.2f MB/s wall, %.2f MB/s "
        "processor\n",
        c->Id().c_str(), o.profileReps, o.profileDecode ? "decoding" : "coding", all.bytes.size(),
        n, 100.0 * static_cast<double>(n) / static_cast<double>(all.bytes.size()),
        MBps(all.bytes.size(), wall), MBps(all.bytes.size(), cpu));
    return 0;
  }
  std::cerr << "bench_compare: no codec " << o.profile << "\n";
  return 2;
}

// ---- report ----

struct Target {
  std::string what;
  double reached;  // the ratio measured
  double floor;    // the target
  std::string detail;
};

std::string TargetRow(const Target& t) {
  const bool met = t.reached >= t.floor;
  return "| " + t.what + " | " + Fixed(t.reached, 2) + "x | " + Fixed(t.floor, 2) + "x | " +
         (met ? "met" : "**missed**") + " | " + t.detail + " |\n";
}

void PrintReport(const Options& o, const std::vector<DataSet>& files, const DataSet& all,
                 const std::vector<std::unique_ptr<Codec>>& codecs,
                 const std::map<std::string, Result>& overall,
                 const std::map<std::string, std::map<std::string, Result>>& perFile) {
  std::ostringstream out;
  const MachineFacts m = GetMachineFacts();
  out << "## Machine\n\n" << MachineTable(m) << "| libraries | " << LibraryVersions() << " |\n\n";
  out << "Corpus: `" << o.corpus << "`, " << files.size() << " files, " << all.bytes.size()
      << " bytes concatenated (in name order). MB/s counts 10^6 unpacked bytes per second, the "
         "best of "
      << "at least " << o.minReps << " runs and " << Fixed(o.minTime, 1) << " s"
      << (o.perFile ? " (per file 3 runs and " + Fixed(o.minTime / 3, 2) + " s)" : "")
      << "; contexts are set up once per codec, outside the timing. Ratio is packed / unpacked. "
         "Peak heap: the most bytes held above the baseline during set-up and one run. Every round "
         "trip was compared byte for byte.\n\n";

  out << "## Concatenated corpus\n\n"
      << "| setting | packed bytes | ratio % | compress MB/s | decompress MB/s | decode w/o CRC "
         "MB/s "
         "| compress heap MiB | compress resident MiB | decompress heap MiB |\n"
      << "|---|--:|--:|--:|--:|--:|--:|--:|--:|\n";
  for (const auto& c : codecs) {
    auto it = overall.find(c->Id());
    if (it == overall.end()) continue;
    const Result& r = it->second;
    out << "| " << c->Id() << " | " << r.packed << " | " << Fixed(r.Ratio(), 2) << " | "
        << Fixed(MBps(r.size, r.compressSeconds), 2) << " | "
        << Fixed(MBps(r.size, r.decompressSeconds), 1) << " | "
        << (r.decodeOnlySeconds > 0 ? Fixed(MBps(r.size, r.decodeOnlySeconds), 1) : "") << " | "
        << Fixed(MiB(r.compressPeak), 2) << " | " << Fixed(MiB(r.compressResident), 2) << " | "
        << Fixed(MiB(r.decompressPeak), 2) << " |\n";
  }
  out << "\nOur decompress figure includes the CRC-32 of the output, as extraction checks it "
         "(zlib checks its Adler-32, xz its CRC-64, bzip2 its CRCs; zstd frames carry no "
         "checksum by default). Our decoder's output stays in its window, from where extraction "
         "writes it: the timed runs do not copy it out (the first run does, for the "
         "comparison).\n\n";

  if (!perFile.empty()) {
    std::vector<std::string> cols;
    for (const auto& c : codecs) {
      if (perFile.count(c->Id())) cols.push_back(c->Id());
    }
    auto table = [&](const std::string& title, auto cell) {
      out << "### Per file: " << title << "\n\n| file | bytes |";
      for (const auto& id : cols) out << " " << id << " |";
      out << "\n|---|--:|";
      for (size_t i = 0; i < cols.size(); ++i) out << "--:|";
      out << "\n";
      for (const auto& f : files) {
        out << "| " << f.name << " | " << f.bytes.size() << " |";
        for (const auto& id : cols) out << " " << cell(perFile.at(id).at(f.name)) << " |";
        out << "\n";
      }
      out << "\n";
    };
    table("ratio %", [](const Result& r) { return Fixed(r.Ratio(), 2); });
    table("compress MB/s",
          [](const Result& r) { return Fixed(MBps(r.size, r.compressSeconds), 1); });
    table("decompress MB/s",
          [](const Result& r) { return Fixed(MBps(r.size, r.decompressSeconds), 0); });
  }

  // The tables each engine should hold: the hash-chain engines a window of
  // 2·D and 4-byte heads (with the crowding flags in their top bit) and links
  // per position of D (10·D); the optimal engine 1.5 MiB of history, two
  // 4-byte links per position of its 1 MiB dictionary and 4 MiB of tree heads.
  out << "## Compressor memory (peak heap above the baseline)\n\n"
      << "| setting | heap MiB | resident MiB | tables MiB | heap - tables MiB |\n"
      << "|---|--:|--:|--:|--:|\n";
  for (const auto& c : codecs) {
    auto* ace = dynamic_cast<const AceCodec*>(c.get());
    auto it = overall.find(c->Id());
    if (ace == nullptr || it == overall.end()) continue;
    if (ace->Level() != 1 && ace->Level() != 4) continue;
    const double d = ace->DictionaryKB() / 1024.0;
    const double tables = ace->Level() == 4 ? 1.5 + 8 + 4 : 10 * d;
    const double measured = MiB(it->second.compressPeak);
    out << "| " << c->Id() << (ace->Level() == 4 ? " (optimal)" : " (hash chain)") << " | "
        << Fixed(measured, 2) << " | " << Fixed(MiB(it->second.compressResident), 2) << " | "
        << Fixed(tables, 2) << " | " << Fixed(measured - tables, 2) << " |\n";
  }
  out << "\nLevels 0..3 of one dictionary hold the same tables (see the full table above).\n\n";

  auto get = [&](const std::string& id) -> const Result* {
    auto it = overall.find(id);
    return it == overall.end() ? nullptr : &it->second;
  };
  std::vector<Target> targets;
  auto speed = [&](const std::string& ours, const std::string& theirs, double floor,
                   const std::string& what) {
    const Result* a = get(ours);
    const Result* b = get(theirs);
    if (!a || !b) return;
    const double x = MBps(a->size, a->compressSeconds), y = MBps(b->size, b->compressSeconds);
    targets.push_back(
        {what, x / y, floor,
         Fixed(x, 2) + " vs " + Fixed(y, 2) + " MB/s; by processor time " +
             Fixed(a->compressCpuSeconds > 0 ? b->compressCpuSeconds / a->compressCpuSeconds : 0,
                   2) +
             "x"});
  };
  speed("ace/1024/l1", "zlib-6", 1.0, "level 1, 1024 KB compression vs zlib -6 (aim 2x)");
  speed("ace/1024/l3", "zlib-9", 1.0, "level 3, 1024 KB compression vs zlib -9");
  speed("ace/1024/l0", "ace/1024/l1", 2.0, "level 0 (fastest), 1024 KB compression vs level 1");
  // Extraction as testing and extracting run it: the decoder and the CRC-32
  // of its output. The detail gives the decoder alone.
  for (const char* id : {"ace/1024/l1", "ace/1024/l4"}) {
    const Result* a = get(id);
    const Result* z = get("zlib-6");
    if (!a || !z) continue;
    const double raw = MBps(a->size, a->decodeOnlySeconds);
    const double crc = MBps(a->size, a->decompressSeconds);
    const double y = MBps(z->size, z->decompressSeconds);
    targets.push_back(
        {std::string("extraction (decoder + CRC-32) vs zlib inflate, data of ") + id, crc / y, 2.0,
         Fixed(crc, 1) + " vs " + Fixed(y, 1) + " MB/s; by processor time " +
             Fixed(z->decompressCpuSeconds / a->decompressCpuSeconds, 2) + "x; the decoder alone " +
             Fixed(raw, 1) + " MB/s = " + Fixed(raw / y, 2) + "x"});
  }
  speed("ace/1024/l4", "xz-6", 1.0, "level 4 (optimal) compression vs xz -6");
  if (const Result* a = get("ace/1024/l4"); a && get("bzip2-9")) {
    const Result* b = get("bzip2-9");
    targets.push_back({"level 4 output no larger than bzip2 -9 (bzip2 size / ours)",
                       static_cast<double>(b->packed) / static_cast<double>(a->packed), 1.0,
                       std::to_string(a->packed) + " vs " + std::to_string(b->packed) + " bytes"});
  }
  if (!notes.empty()) {
    out << "## Notes\n\n";
    for (const auto& n : notes) out << "- " << n << "\n";
    out << "\n";
  }
  if (!targets.empty()) {
    out << "## Targets (concatenated corpus)\n\n| target | reached | needed | | figures |\n"
        << "|---|--:|--:|---|---|\n";
    for (const auto& t : targets) out << TargetRow(t);
    if (const Result* a = get("ace/1024/l1")) {
      out << "| level 1 ratio near 30 % | " << Fixed(a->Ratio(), 2) << " % | 30 % | "
          << (std::fabs(a->Ratio() - 30.0) <= 2.0 ? "met" : "**missed**")
          << " | within 2 points |\n";
    }
    out << "\nReached: the ratio of the best runs by the wall clock. The figures add the ratio "
           "of the best runs by the measuring thread's processor time: on a machine shared with "
           "other jobs the two can differ, and the processor time is the steadier.\n\n";
  }
  std::cout << out.str();
}

int Main(int argc, char** argv) {
  const Options o = ParseArgs(argc, argv);
  const std::vector<DataSet> files = LoadCorpus(o.corpus);
  DataSet all{"corpus", {}};
  for (const auto& f : files) all.bytes.insert(all.bytes.end(), f.bytes.begin(), f.bytes.end());
  if (!o.profile.empty()) return Profile(o, all);
  // A fixed threshold: every block of 128 KiB or more is mapped on its own and
  // unmapped when freed, whatever was freed before, so one codec's tables never
  // reuse another's pages.
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);
  AllocTrace(o.heapTrace);
  if (!AllocCounterActive()) std::cerr << "bench_compare: heap counting is off in this build\n";

  auto codecs = AllCodecs();
  std::map<std::string, Result> overall;
  for (auto& c : codecs) {
    if (!Selected(o, c->Id())) continue;
    std::cerr << "corpus  " << c->Id() << " ..." << std::flush;
    Result r = Measure(*c, all, o);
    r.compressResident = ResidentPeak(*c, all);
    std::cerr << " " << Fixed(r.Ratio(), 2) << "%, " << Fixed(MBps(r.size, r.compressSeconds), 2)
              << " / " << Fixed(MBps(r.size, r.decompressSeconds), 1) << " MB/s\n";
    overall[c->Id()] = r;
  }
  if (overall.empty()) throw std::runtime_error("no codec matches the filter");

  std::map<std::string, std::map<std::string, Result>> perFile;
  if (o.perFile) {
    for (auto& c : codecs) {
      if (!Selected(o, c->Id())) continue;
      if (o.only.empty() &&
          std::find(kKeyCodecs.begin(), kKeyCodecs.end(), c->Id()) == kKeyCodecs.end()) {
        continue;
      }
      std::cerr << "files   " << c->Id() << "\n";
      Options fileOptions = o;
      fileOptions.minTime = o.minTime / 3;
      fileOptions.minReps = std::min(o.minReps, 3);
      for (const auto& f : files) perFile[c->Id()][f.name] = Measure(*c, f, fileOptions);
    }
  }
  PrintReport(o, files, all, codecs, overall, perFile);
  return 0;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  try {
    return bench::Main(argc, argv);
  } catch (const std::exception& e) {
    std::cerr << "bench_compare: " << e.what() << "\n";
    return 1;
  }
}
