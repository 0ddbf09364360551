#include "fs/path_ops.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/test_support.h"

namespace {

using namespace ace;

struct TextCase {
  const char* in;
  const char* out;
};

TEST(PathOps, TrailingBackslash) {
  const TextCase add[] = {
      {"C:\\dir", "C:\\dir\\"}, {"C:\\dir\\", "C:\\dir\\"}, {"C:", "C:\\"}, {"", ""}, {"a", "a\\"}};
  for (const TextCase& c : add) {
    char buf[kPathBuffer];
    EXPECT_STREQ(AddTrailingBackslash(c.in, buf), c.out) << c.in;
  }
  const TextCase strip[] = {
      {"C:\\dir\\", "C:\\dir"}, {"C:\\", "C:\\"},       {"\\", "\\"}, {"ab\\", "ab\\"},
      {"abc\\", "abc"},         {"C:\\dir", "C:\\dir"}, {"", ""}};
  for (const TextCase& c : strip) {
    char buf[kPathBuffer];
    EXPECT_STREQ(StripTrailingBackslash(c.in, buf), c.out) << c.in;
  }
  char same[kPathBuffer] = "C:\\x";
  AddTrailingBackslash(same, same);
  EXPECT_STREQ(same, "C:\\x\\");
  StripTrailingBackslash(same, same);
  EXPECT_STREQ(same, "C:\\x");
}

TEST(PathOps, StripUncPrefix) {
  const TextCase cases[] = {
      {"\\\\server\\share\\dir\\name", "\\dir\\name"},
      {"\\\\server\\share", ""},
      {"\\\\server\\share\\", "\\"},
      {"\\\\server", "server"},
      {"C:\\dir", "C:\\dir"},
      {"\\dir\\name", "\\dir\\name"},
      {"", ""},
  };
  for (const TextCase& c : cases) {
    char buf[kPathBuffer];
    EXPECT_STREQ(StripUncPrefix(c.in, buf), c.out) << c.in;
  }
}

TEST(PathOps, CutString) {
  struct Case {
    const char* in;
    size_t position;
    int count;
    const char* out;
  };
  const Case cases[] = {
      {"abcdef", 1, 2, "adef"},   {"abcdef", 0, 6, ""},        {"abcdef", 4, 10, "abcd"},
      {"abcdef", 2, 0, "abcdef"}, {"abcdef", 2, -3, "abcdef"}, {"abc", 5, 1, "abc"},
  };
  for (const Case& c : cases) {
    char buf[16];
    std::strcpy(buf, c.in);
    CutString(buf, c.position, c.count);
    EXPECT_STREQ(buf, c.out) << c.in << " " << c.position << " " << c.count;
  }
}

TEST(PathOps, UpperCopy) {
  char buf[64];
  EXPECT_STREQ(UpperCopy("docs\\read me.txt", buf), "DOCS\\READ ME.TXT");
  EXPECT_EQ(std::string(UpperCopy(acetest::Ansi("\xC3\xA4pfel").c_str(), buf)),
            acetest::Ansi("\xC3\x84PFEL"));  // äpfel
  std::string longText(3000, 'a');
  std::string out(3000, '#');
  UpperCopy(longText.c_str(), out.data());
  EXPECT_EQ(std::strlen(out.c_str()), kUpperCopyLimit);
  EXPECT_EQ(out.substr(0, 3), "AAA");
}

TEST(PathOps, SplitPath) {
  struct Case {
    const char* path;
    const char* drive;
    const char* directory;
    const char* base;
    const char* extension;
  };
  const Case cases[] = {
      {"D:\\arc\\x.ace", "D:", "\\arc\\", "x", ".ace"},
      {"x.tar.gz", "", "", "x.tar", ".gz"},
      {"dir.d\\name", "", "dir.d\\", "name", ""},
      {"/tmp/w/a.b/.cfg", "", "/tmp/w/a.b/", "", ".cfg"},
      {"C:name.", "C:", "", "name", "."},
      {"", "", "", "", ""},
  };
  for (const Case& c : cases) {
    char drive[kPathBuffer];
    char directory[kPathBuffer];
    char base[kPathBuffer];
    char extension[kPathBuffer];
    SplitPath(c.path, drive, directory, base, extension);
    EXPECT_STREQ(drive, c.drive) << c.path;
    EXPECT_STREQ(directory, c.directory) << c.path;
    EXPECT_STREQ(base, c.base) << c.path;
    EXPECT_STREQ(extension, c.extension) << c.path;
  }
  std::string longName = std::string(300, 'n') + ".e";
  char base[kPathBuffer];
  char extension[kPathBuffer];
  SplitPath(longName.c_str(), nullptr, nullptr, base, extension);
  EXPECT_EQ(std::strlen(base), kPathBuffer - 1);
  EXPECT_STREQ(extension, ".e");
}

}  // namespace

// The three bounded writers differ only in what they do with a text that does
// not fit: CopyText and AppendText cut it, AppendWhole leaves the buffer alone.
TEST(PathOps, BoundedCopyAndAppend) {
  struct Case {
    const char* start;
    const char* add;
    bool copyFits, appendFits, wholeFits;
    const char* copied;
    const char* appended;
    const char* whole;
  };
  // A buffer of 6 bytes holds 5 characters.
  const Case cases[] = {
      {"ab", "cd", true, true, true, "cd", "abcd", "abcd"},
      {"ab", "cde", true, true, true, "cde", "abcde", "abcde"},
      {"ab", "cdef", true, false, false, "cdef", "abcde", "ab"},
      {"", "abcdefg", false, false, false, "abcde", "abcde", ""},
      {"abcde", "", true, true, true, "", "abcde", "abcde"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.start) + " + " + c.add);
    char buffer[6];
    EXPECT_EQ(CopyText(buffer, sizeof buffer, c.add), c.copyFits);
    EXPECT_STREQ(buffer, c.copied);
    std::strcpy(buffer, c.start);
    EXPECT_EQ(AppendText(buffer, sizeof buffer, c.add), c.appendFits);
    EXPECT_STREQ(buffer, c.appended);
    std::strcpy(buffer, c.start);
    EXPECT_EQ(AppendWhole(buffer, sizeof buffer, c.add), c.wholeFits);
    EXPECT_STREQ(buffer, c.whole);
  }
}
