// bench_update: how long adding one small file to a large plain archive takes
// through the plug-in's exports, next to a plain copy of the archive file.
// Adding writes a new archive beside the old one, copying every kept entry
// raw, so a plain copy is the floor it should come close to.
//
//   bench_update [--size-mb N] [--reps N] [--corpus DIR]
//
// Builds an archive of about N MB (default 100) in a temporary folder under
// $TMPDIR (or /tmp) from 1 MiB files, a quarter of them corpus text and the
// rest pseudo-random, then adds a 1 KB file N times (default 5), timing each
// add and each copy. The folder is removed at the end, also after a failure.
// The corpus is --corpus DIR, else ACEPLUG_CORPUS, else ../shared/corpus.
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "aceplug/aceplug.h"
#include "machine.h"
#include "temp_folder.h"

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<uint8_t>;

constexpr size_t kFileSize = size_t{1} << 20;

struct Options {
  double sizeMB = 100;
  int reps = 5;
  std::string corpus =
      std::getenv("ACEPLUG_CORPUS") ? std::getenv("ACEPLUG_CORPUS") : ACE_BENCH_CORPUS;
};

double Seconds(Clock::time_point t0) {
  return std::chrono::duration<double>(Clock::now() - t0).count();
}

// Processor time of the process (user and system), in seconds.
double CpuNow() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

void WriteFile(const fs::path& path, const uint8_t* data, size_t size) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

Bytes CorpusText(const std::string& dir) {
  std::vector<fs::path> paths;
  for (const auto& e : fs::directory_iterator(dir)) {
    if (e.is_regular_file()) paths.push_back(e.path());
  }
  std::sort(paths.begin(), paths.end());
  Bytes all;
  for (const auto& p : paths) {
    std::ifstream in(p, std::ios::binary);
    all.insert(all.end(), std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  if (all.size() < kFileSize) throw std::runtime_error("the corpus in " + dir + " is too small");
  return all;
}

CompOptions Settings(const fs::path& inputDir) {
  CompOptions o{};
  o.DictionaryKB = 4;  // the host's code for 64 KB; a plain archive adds with 64 KB anyway
  o.Level = 1;
  o.Solid = 0;
  o.KeepPaths = 1;
  const std::string input = inputDir.string() + "/";
  std::strncpy(o.InputPath, input.c_str(), sizeof o.InputPath - 1);
  return o;
}

void Check(const char* what) {
  const uint16_t status = GetArchiveStatus();
  if (status != AR_OK) {
    DoneArcFile();
    throw std::runtime_error(std::string(what) + " failed with status " + std::to_string(status));
  }
}

// Runs the operation on `archive` with the files `names` of `inputDir`.
void Compress(const fs::path& archive, const fs::path& inputDir,
              const std::vector<std::string>& names, bool create) {
  if (create) {
    CreateArcFile(archive.c_str());
  } else {
    InitArcFile(archive.c_str());
  }
  Check(create ? "CreateArcFile" : "InitArcFile");
  const CompOptions options = Settings(inputDir);
  SetCompExtraFeatures(&options);
  FileMaskList masks;
  InitFileMaskList(&masks);
  for (const auto& n : names) AppendFileMask(n.c_str(), &masks);
  CompressFileMaskListArc(&masks);
  const uint16_t status = GetArchiveStatus();
  DoneFileMaskList(&masks);
  DoneArcFile();
  if (status != AR_OK) {
    throw std::runtime_error("CompressFileMaskListArc failed with status " +
                             std::to_string(status));
  }
}

uint32_t CountEntries(const fs::path& archive) {
  InitArcFile(archive.c_str());
  Check("InitArcFile");
  ArcFileList list;
  InitArcFileList(&list);
  FileMaskList masks;
  InitFileMaskList(&masks);
  BuildArcFileList(&list, &masks);
  const uint16_t status = GetArchiveStatus();
  const uint32_t count = list.Count;
  DoneArcFileList(&list);
  DoneFileMaskList(&masks);
  DoneArcFile();
  if (status != AR_OK)
    throw std::runtime_error("listing failed with status " + std::to_string(status));
  return count;
}

// A copy as a program makes it: read and write in 1 MiB pieces.
void CopyReadWrite(const fs::path& from, const fs::path& to) {
  const int in = open(from.c_str(), O_RDONLY);
  const int out = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (in < 0 || out < 0) throw std::runtime_error("cannot open for copying");
  std::vector<char> buffer(kFileSize);
  for (;;) {
    const ssize_t n = read(in, buffer.data(), buffer.size());
    if (n < 0) throw std::runtime_error("read failed");
    if (n == 0) break;
    if (write(out, buffer.data(), static_cast<size_t>(n)) != n)
      throw std::runtime_error("write failed");
  }
  close(in);
  if (close(out) != 0) throw std::runtime_error("close failed");
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const size_t n = v.size();
  return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

std::string Fixed(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.1f", v);
  return buf;
}

std::string Ms(double seconds) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.1f ms", seconds * 1000);
  return buf;
}

Options ParseArgs(int argc, char** argv) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) throw std::runtime_error(a + " needs a value");
      return argv[++i];
    };
    if (a == "--size-mb") {
      o.sizeMB = std::stod(value());
    } else if (a == "--reps") {
      o.reps = std::stoi(value());
    } else if (a == "--corpus") {
      o.corpus = value();
    } else if (a == "--help" || a == "-h") {
      std::cout << "usage: bench_update [--size-mb N] [--reps N] [--corpus DIR]\n";
      std::exit(0);
    } else {
      throw std::runtime_error("unknown argument " + a);
    }
  }
  if (o.sizeMB <= 0 || o.reps < 1)
    throw std::runtime_error("size and repetitions must be positive");
  return o;
}

int Main(int argc, char** argv) {
  const Options o = ParseArgs(argc, argv);
  const Bytes text = CorpusText(o.corpus);
  acebench::TempFolder temp("acebench");
  const fs::path input = temp.path() / "in";
  fs::create_directories(input);
  const fs::path archive = temp.path() / "big.ace";

  // Text packs to about 30 %, random data not at all: a quarter text makes an
  // archive of about 0.83 MiB per file.
  const double targetBytes = o.sizeMB * 1e6;
  const auto files =
      static_cast<size_t>(targetBytes / (0.825 * static_cast<double>(kFileSize))) + 1;
  std::mt19937_64 random(12345);
  Bytes data(kFileSize);
  std::vector<std::string> names;
  size_t inputBytes = 0;
  for (size_t i = 0; i < files; ++i) {
    if (i % 4 == 0) {
      const size_t start = (i * 104729) % (text.size() - kFileSize + 1);
      std::memcpy(data.data(), text.data() + start, kFileSize);
    } else {
      for (size_t k = 0; k < kFileSize; k += 8) {
        const uint64_t v = random();
        std::memcpy(data.data() + k, &v, 8);
      }
    }
    char name[32];
    std::snprintf(name, sizeof name, "file%04zu.bin", i);
    WriteFile(input / name, data.data(), data.size());
    names.push_back(name);
    inputBytes += data.size();
  }
  std::cerr << "creating an archive from " << files << " files ..." << std::flush;
  auto t0 = Clock::now();
  Compress(archive, input, names, true);
  const double createSeconds = Seconds(t0);
  const auto archiveBytes = static_cast<uint64_t>(fs::file_size(archive));
  std::cerr << " " << archiveBytes << " bytes\n";

  const std::string small(1024, 'x');
  std::vector<double> adds, addCpu, copies, copyCpu, kernelCopies, kernelCpu;
  for (int r = 0; r < o.reps; ++r) {
    char name[32];
    std::snprintf(name, sizeof name, "added%02d.txt", r);
    std::string content = "added file " + std::to_string(r) + "\n";
    content += small.substr(content.size());
    WriteFile(input / name, reinterpret_cast<const uint8_t*>(content.data()), content.size());

    t0 = Clock::now();
    double c0 = CpuNow();
    Compress(archive, input, {name}, false);
    adds.push_back(Seconds(t0));
    addCpu.push_back(CpuNow() - c0);

    const fs::path copy = temp.path() / "copy.ace";
    t0 = Clock::now();
    c0 = CpuNow();
    CopyReadWrite(archive, copy);
    copies.push_back(Seconds(t0));
    copyCpu.push_back(CpuNow() - c0);
    fs::remove(copy);
    t0 = Clock::now();
    c0 = CpuNow();
    fs::copy_file(archive, copy, fs::copy_options::overwrite_existing);
    kernelCopies.push_back(Seconds(t0));
    kernelCpu.push_back(CpuNow() - c0);
    fs::remove(copy);
    std::cerr << "add " << Ms(adds.back()) << " (cpu " << Ms(addCpu.back()) << "), copy "
              << Ms(copies.back()) << ", kernel copy " << Ms(kernelCopies.back()) << "\n";
  }
  const uint32_t entries = CountEntries(archive);
  if (entries != files + static_cast<size_t>(o.reps)) {
    throw std::runtime_error("the archive lists " + std::to_string(entries) +
                             " entries, expected " +
                             std::to_string(files + static_cast<size_t>(o.reps)));
  }
  const uint64_t finalBytes = fs::file_size(archive);

  const double add = Median(adds), copy = Median(copies), kernel = Median(kernelCopies);
  const double addP = Median(addCpu), copyP = Median(copyCpu), kernelP = Median(kernelCpu);
  auto ratio = [](double a, double b) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1fx", a / b);
    return std::string(buf);
  };
  std::ostringstream out;
  out << "## Adding one file to a large archive\n\n"
      << bench::MachineTable(bench::GetMachineFacts()) << "\n"
      << "Archive: " << files << " files of 1 MiB (a quarter corpus text, the rest random), "
      << "plain, 64 KB level 1, " << archiveBytes << " bytes; created in " << Ms(createSeconds)
      << " (" << Fixed(static_cast<double>(inputBytes) / 1e6 / createSeconds)
      << " MB/s of input). Then " << o.reps << " times: add one 1 KB file through InitArcFile + "
      << "CompressFileMaskListArc, and copy the archive (" << finalBytes
      << " bytes at the end). Medians, files in the page cache; processor time is user plus "
         "system time of the process:\n\n"
      << "| operation | wall | / copy | processor | / copy |\n|---|--:|--:|--:|--:|\n"
      << "| add one 1 KB file | " << Ms(add) << " | " << ratio(add, copy) << " | " << Ms(addP)
      << " | " << ratio(addP, copyP) << " |\n"
      << "| copy, read/write in 1 MiB pieces | " << Ms(copy) << " | 1x | " << Ms(copyP)
      << " | 1x |\n"
      << "| copy, std::filesystem::copy_file | " << Ms(kernel) << " | " << ratio(kernel, copy)
      << " | " << Ms(kernelP) << " | " << ratio(kernelP, copyP) << " |\n\n"
      << "Each add, wall (processor):";
  for (size_t i = 0; i < adds.size(); ++i)
    out << (i ? ", " : " ") << Ms(adds[i]) << " (" << Ms(addCpu[i]) << ")";
  out << "\n";
  std::cout << out.str();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const std::exception& e) {
    std::cerr << "bench_update: " << e.what() << "\n";
    return 1;
  }
}
