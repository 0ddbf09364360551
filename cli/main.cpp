// acearc: a command-line host for the aceplug format plug-in.
#include <CLI/CLI.hpp>
#include <iostream>
#include <string>
#include <vector>

#include "commands.h"
#include "text_output.h"

namespace {

using namespace acearc;

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0  success\n"
    "  1  warnings: something was skipped or left out (missing files, files not overwritten)\n"
    "  2  the operation failed\n"
    "  3  damaged archive or CRC error\n"
    "  4  stopped by the user\n"
    "  5  bad command line\n";

constexpr const char* kQuestions =
    "Questions (overwrite, password, next volume, unreadable file) are asked when stdin and "
    "stderr are terminals. Otherwise existing files are not overwritten and a password request "
    "stops the operation.\n";

// Two option spellings of the archiver tradition that CLI11 cannot name
// directly: "-ep" (a two-letter short option) and "-r-" (a negated flag).
std::vector<std::string> TraditionalSpellings(int argc, char** argv) {
  std::vector<std::string> args(argv, argv + argc);
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--") break;
    if (args[i] == "-ep") args[i] = "--ep";
    if (args[i] == "-r-") args[i] = "--no-recurse";
  }
  return args;
}

constexpr const char* kCommandList = "a, l, t, x, e, d, mkdir";

constexpr const char* kMaskRules =
    "Masks are matched against the names the listing shows (\"/\" between folders), ignoring "
    "case: * stands for any characters, \"/\" and \".\" included, and ? for one. A mask that "
    "matches a folder selects everything in it: \"docs\" and \"docs/*\" select all of docs, "
    "\"*.txt\" every .txt file in every folder, \"*\" every entry. -x MASK leaves out what MASK "
    "selects; give it once per mask.\n";

// The word that names the command: the first one that is not an option of
// acearc itself (-p takes a value). Empty when there is none.
std::string CommandWord(const std::vector<std::string>& args) {
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--") return i + 1 < args.size() ? args[i + 1] : std::string();
    if (args[i] == "-p" || args[i] == "--password") {
      ++i;
    } else if (args[i].empty() || args[i][0] != '-') {
      return args[i];
    }
  }
  return {};
}

// CLI11 would call an unknown command "A subcommand is required".
bool CheckCommandWord(CLI::App& app, const std::vector<std::string>& args) {
  for (size_t i = 1; i < args.size() && args[i] != "--"; ++i) {
    if (args[i] == "-h" || args[i] == "--help" || args[i] == "--version") return true;
  }
  std::string word = CommandWord(args);
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->get_name() == word) return true;
  }
  if (word.empty()) {
    std::cerr << "acearc: a command is required, one of " << kCommandList << "\n";
  } else {
    std::cerr << "acearc: unknown command \"" << word << "\"; the commands are " << kCommandList
              << "\n";
  }
  std::cerr << "Run with --help for more information.\n";
  return false;
}

void AddExcludeOption(CLI::App* app, std::vector<std::string>& excludes, const char* what) {
  app->add_option("-x,--exclude", excludes, what)->allow_extra_args(false);
}

void AddCommonOptions(CLI::App* app, CommonOptions& common) {
  app->add_flag("-y,--yes", common.yes, "answer yes to every question (overwrite, skip)");
  app->add_flag("-n,--never", common.never, "never overwrite existing files");
  app->add_option("-p,--password", common.password, "password for encrypted entries");
  app->add_flag("-q,--quiet", common.quiet, "no progress and no summary; warnings and errors only");
}

}  // namespace

int main(int argc, char** argv) {
  UseUtf8Console();
  CLI::App app{"acearc: create, list, test and extract ACE archives.", "acearc"};
  app.set_version_flag("--version", std::string("acearc ") + ACEARC_VERSION);
  app.require_subcommand(1);
  app.footer(std::string(kQuestions) + "\n" + kExitCodes);
  app.fallthrough();

  CommonOptions common;
  AddCommonOptions(&app, common);

  AddOptions add;
  CLI::App* a = app.add_subcommand("a", "create an archive, or add files to an existing one");
  a->add_option("archive", add.archive, "the archive")->required();
  a->add_option("paths", add.paths,
                "files and directories to add; directories are added with everything they hold, "
                "names are stored relative to the common folder of the paths, and DIR/. adds what "
                "DIR holds without DIR's name")
      ->required();
  a->add_option("-d,--dictionary", add.dictionaryKB, "dictionary size in KB (default 1024)")
      ->check(CLI::IsMember({64u, 128u, 256u, 512u, 1024u}));
  a->add_option("-m,--level", add.level,
                "compression level, 0 fastest .. 4 best (default 1); none stores:\n"
                "  1  fast: hash-chain walks of up to 31 candidates\n"
                "  2  hash-chain walks of up to 47 candidates\n"
                "  3  hash-chain walks of up to 63 candidates\n"
                "  4  best: optimal parsing with the 1024 KB dictionary, hash-chain walks of "
                "up to 255 candidates with smaller ones\n"
                "  0  fastest: each match taken as found after hash-chain walks of up to 8 "
                "candidates; about 3.5 times as fast as 1 and some 10 % larger")
      ->check(CLI::Range(0, 4));
  a->add_flag("-s,--solid", add.solid, "solid archive: files share one compression history");
  a->add_flag("--ep", add.excludePaths, "store names without their directories (also -ep)");
  bool recurseFlag = false;
  bool noRecurse = false;
  a->add_flag("-r,--recurse", recurseFlag, "go into subdirectories (the default)");
  a->add_flag("--no-recurse", noRecurse,
              "only the files directly inside the directories named (also -r-)");
  a->add_option("--prefix", add.prefix, "folder stored in front of every name");
  a->add_option("-T,--threads", add.threads,
                "compress on N threads (default: every core, capped so that the engines take "
                "at most 256 MiB; 1: one thread). The archive is the same whatever N; level 4 "
                "with the 1024 KB dictionary always uses one thread. The environment variable "
                "ACEPLUG_THREADS does the same for any host")
      ->check(CLI::Range(1, 64));
  AddExcludeOption(a, add.excludes,
                   "leave out the files and folders this mask selects, matched against the names "
                   "below the common folder (\"*.o\", \"build\")");
  a->footer(kMaskRules);
  AddCommonOptions(a, common);

  ListOptions list;
  CLI::App* l = app.add_subcommand(
      "l",
      "list the entries: name, size, packed size, ratio, date and time, attributes, "
      "method and dictionary, CRC; then the summary and the archive's comment");
  l->add_option("archive", list.archive, "the archive")->required();
  l->add_option("masks", list.masks, "only the entries these masks select (\"*.txt\", \"docs\")");
  l->add_flag("--json", list.json, "print the listing as JSON");
  AddExcludeOption(l, list.excludes, "leave out the entries this mask selects");
  l->footer(kMaskRules);
  AddCommonOptions(l, common);

  std::string testArchive;
  CLI::App* t = app.add_subcommand("t", "test every entry of the archive");
  t->add_option("archive", testArchive, "the archive")->required();
  AddCommonOptions(t, common);

  ExtractOptions extract;
  ExtractOptions extractFlat;
  extractFlat.restorePaths = false;
  CLI::App* x = app.add_subcommand("x", "extract entries with their directories");
  CLI::App* e = app.add_subcommand("e", "extract entries without their directories");
  for (auto [sub, options] : {std::pair{x, &extract}, std::pair{e, &extractFlat}}) {
    sub->add_option("archive", options->archive, "the archive")->required();
    sub->add_option("masks", options->masks, "only the entries these masks select");
    sub->add_option("-o,--output", options->outputDir, "folder to extract into (default: .)");
    AddExcludeOption(sub, options->excludes, "leave out the entries this mask selects");
    sub->footer(kMaskRules);
    AddCommonOptions(sub, common);
  }

  DeleteOptions del;
  CLI::App* d = app.add_subcommand("d", "delete the entries that the masks select");
  d->add_option("archive", del.archive, "the archive")->required();
  d->add_option("masks", del.masks, "masks of the entries to delete")->required();
  AddExcludeOption(d, del.excludes, "keep the entries this mask selects");
  d->footer(kMaskRules);
  AddCommonOptions(d, common);

  MakeDirectoryOptions mkdir;
  CLI::App* m = app.add_subcommand("mkdir", "add an empty directory entry to the archive");
  m->add_option("archive", mkdir.archive, "the archive")->required();
  m->add_option("name", mkdir.name, "name of the directory")->required();
  AddCommonOptions(m, common);

  std::vector<std::string> args = TraditionalSpellings(argc, argv);
  if (!CheckCommandWord(app, args)) return kExitUsage;
  std::vector<char*> pointers;
  for (std::string& arg : args) pointers.push_back(arg.data());
  try {
    app.parse(static_cast<int>(pointers.size()), pointers.data());
  } catch (const CLI::ParseError& error) {
    int code = app.exit(error, std::cout, std::cerr);
    return code == 0 ? kExitOk : kExitUsage;
  }
  common.hasPassword = app.count("-p") + l->count("-p") + a->count("-p") + t->count("-p") +
                           x->count("-p") + e->count("-p") + d->count("-p") + m->count("-p") >
                       0;
  if (common.yes && common.never) {
    std::cerr << "acearc: -y and -n cannot be given together\n";
    return kExitUsage;
  }

  if (a->parsed()) {
    add.recurse = !noRecurse;
    return RunAdd(add, common);
  }
  if (l->parsed()) return RunList(list, common);
  if (t->parsed()) return RunTest(testArchive, common);
  if (x->parsed()) return RunExtract(extract, common);
  if (e->parsed()) return RunExtract(extractFlat, common);
  if (d->parsed()) return RunDelete(del, common);
  if (m->parsed()) return RunMakeDirectory(mkdir, common);
  return kExitUsage;
}
