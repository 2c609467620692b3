#include "kivbasictypes/kivfilepath.h"

#include "core/kivassert.h"
#include "memfakes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <unistd.h>

using namespace memfakes;

namespace {

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

TEST(KivFilePath, NormalFormIsOneFormWhateverTheSeparators) {
  struct Case {
    const char* name;
    const char* in;
    const char* out;
  };
  const Case cases[] = {
      {"forward_slashes_stay", "C:/data/x.bin", "C:/data/x.bin"},
      {"backslashes_become_slashes", "C:\\data\\x.bin", "C:/data/x.bin"},
      {"mixed_separators", "a\\b/c\\d", "a/b/c/d"},
      {"drive_form_with_trailing_slash", "//c/data/", "c:/data"},
      {"drive_form_in_backslashes", "\\\\c\\data\\", "c:/data"},
      {"drive_form_mixed", "/\\c\\data", "c:/data"},
      {"drive_form_bare", "//d/", "d:"},
      {"network_path_keeps_two_slashes", "\\\\server\\share\\", "//server/share"},
      {"three_slashes_are_no_drive", "///x/y", "///x/y"},
      {"two_trailing_backslashes", "dir\\\\", "dir"},
      {"lone_slash_stays_root", "/", "/"},
      {"lone_backslash_becomes_root", "\\", "/"},
      {"only_separators_give_root", "\\\\//", "/"},
      {"drive_root_loses_separator", "c:\\", "c:"},
      {"posix_absolute", "/tmp/a/b/", "/tmp/a/b"},
      {"inner_doubles_and_dots_stay", "a//./b/../c", "a//./b/../c"},
      {"empty_stays_empty", "", ""},
      {"short_text_is_no_drive", "//c", "//c"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KivFilePath path{KivString(c.in)};
    EXPECT_EQ(utf8(path.text()), c.out);
    KivString again = path.text();
    normalizePath(again);
    EXPECT_EQ(utf8(again), c.out) << "normalizing a normal form changed it";
  }
  KivString null;
  normalizePath(null);
  EXPECT_TRUE(null.isNull());
}

TEST(KivFilePath, AppendRootsAndExtensions) {
  struct AppendCase {
    const char* name;
    const char* base;
    const char* part;
    const char* out;
  };
  const AppendCase appends[] = {
      {"bare_drive", "c:", "memory.log", "c:/memory.log"},
      {"empty_path_becomes_part", "", "memory.log", "memory.log"},
      {"root_gets_no_second_separator", "/", "tmp", "/tmp"},
      {"part_in_windows_form", "/var", "logs\\today\\", "/var/logs/today"},
      {"part_with_leading_separator", "/var", "/log", "/var//log"},
  };
  for (const AppendCase& c : appends) {
    SCOPED_TRACE(c.name);
    KivFilePath path{KivString(c.base)};
    EXPECT_EQ(utf8(path.append(KivString(c.part)).text()), c.out);
  }

  struct RootCase {
    const char* name;
    const char* in;
    const char* out;
  };
  const RootCase roots[] = {
      {"bare_drive_gets_root", "c:", "c:/"},
      {"drive_root_restored", "c:\\", "c:/"},
      {"single_letter_unchanged", "c", "c"},
      {"drive_with_dir_unchanged", "c:/dir", "c:/dir"},
      {"posix_root_unchanged", "/", "/"},
  };
  for (const RootCase& c : roots) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(utf8(withDriveRoot(KivFilePath(KivString(c.in)))), c.out);
  }

  struct ExtensionCase {
    const char* name;
    const char* path;
    const char* extension;
  };
  const ExtensionCase extensions[] = {
      {"dot_before_backslash", "a.b\\c", ""},
      {"dot_before_slash", "a.b/c", ""},
      {"last_dot_wins", "a.tar.gz", "gz"},
      {"trailing_dot", "name.", ""},
      {"hidden_file", "dir/.profile", "profile"},
      {"no_dot", "README", ""},
  };
  for (const ExtensionCase& c : extensions) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(utf8(pathExtension(KivString(c.path))), c.extension);
  }

  struct SetCase {
    const char* name;
    const char* path;
    const char* extension;
    const char* out;
  };
  const SetCase sets[] = {
      {"replace", "a.bmp", "png", "a.png"},
      {"replace_with_dot", "a.bmp", ".png", "a.png"},
      {"remove", "a.bmp", "", "a"},
      {"dotted_directory_untouched", "dir.d\\file", "x", "dir.d\\file.x"},
      {"only_last_extension", "a.tar.gz", "bz2", "a.tar.bz2"},
      {"add_to_none", "file", "txt", "file.txt"},
  };
  for (const SetCase& c : sets) {
    SCOPED_TRACE(c.name);
    KivString path(c.path);
    setPathExtension(path, KivString(c.extension));
    EXPECT_EQ(utf8(path), c.out);
  }
}

TEST(KivFilePath, OpenAndRemoveHandTheSystemUtf8InTheNormalForm) {
  struct Log {
    std::string expression;
    int count = 0;
  } log;
  setAssertHandler(
      [](void* context, const char* expression, const char*, int) {
        auto* l = static_cast<Log*>(context);
        l->expression = expression;
        ++l->count;
      },
      &log);
  EXPECT_EQ(openFile(KivString(), "rb"), nullptr);
  EXPECT_EQ(openFile(KivString(""), "wb"), nullptr);
  EXPECT_EQ(log.count, 0);
  EXPECT_EQ(openFile(KivString("/tmp/never-opened"), std::string(256, 'r').c_str()), nullptr);
  EXPECT_EQ(log.count, 1);
  EXPECT_EQ(log.expression, "strlen(mode) < 256");
  setAssertHandler(nullptr, nullptr);

  // A name outside ASCII, given in Windows form with a trailing separator.
  const std::string dir = ::testing::TempDir();
  const std::string name = "kivfilepath-" + std::to_string(getpid()) + "-\xC3\xA9t\xC3\xA9.bin";
  std::string windowsForm = dir + name + "\\";
  for (char& c : windowsForm)
    if (c == '/')
      c = '\\';
  KivString path = KivString::fromUtf8(windowsForm.c_str());
  ASSERT_FALSE(path.isEmpty());

  std::FILE* file = openFile(path, "wb");
  ASSERT_NE(file, nullptr);
  std::fputs("x", file);
  std::fclose(file);
  const std::string posixForm = dir + name;
  std::FILE* check = std::fopen(posixForm.c_str(), "rb");
  ASSERT_NE(check, nullptr) << posixForm;
  EXPECT_EQ(std::fgetc(check), 'x');
  std::fclose(check);

  removeFile(path);
  EXPECT_EQ(std::fopen(posixForm.c_str(), "rb"), nullptr);
  removeFile(path);  // gone already: nothing happens
}

class NamedDirectoryTest : public MemFixture {};

TEST_F(NamedDirectoryTest, AsksTheHostsServiceAndKeepsTheAnswerUntilReset) {
  EXPECT_TRUE(namedDirectory("temp").isEmpty()) << "no service";

  // The missing service is remembered until the caches are reset.
  FakeDirService* dirs = install("IKivDirService", new FakeDirService);
  dirs->temp = "/var/scratch";
  EXPECT_TRUE(namedDirectory("temp").isEmpty());

  resetServiceCaches();
  EXPECT_EQ(utf8(namedDirectory("temp")), "/var/scratch");
  EXPECT_TRUE(namedDirectory("components").isEmpty()) << "unknown to the service";
  // Each call asks the service again, so a changed directory shows at once.
  dirs->temp = "/var/other";
  EXPECT_EQ(utf8(namedDirectory("temp")), "/var/other");
}

} // namespace
