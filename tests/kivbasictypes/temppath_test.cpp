#include "kivbasictypes/temppath.h"

#include "memfakes.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <string>
#include <unistd.h>

using namespace memfakes;

namespace {

class TemporaryPathTest : public MemFixture {};

TEST_F(TemporaryPathTest, FolderComesFromSettingsThenDirectoriesThenTmp) {
  struct Case {
    const char* name;
    bool store;
    const char* setting;  // null: key absent
    bool dirService;
    const char* dirTemp;
    const char* folder;   // what precedes "kiv-"
  };
  const Case cases[] = {
      {"setting", true, "/data/scratch", true, "/var/other", "/data/scratch/"},
      {"setting_with_separator", true, "/data/scratch/", false, "", "/data/scratch/"},
      {"empty_setting_asks_directories", true, "", true, "/var/other", "/var/other/"},
      {"no_store_asks_directories", false, nullptr, true, "/var/other", "/var/other/"},
      {"bare_drive_gets_its_root", false, nullptr, true, "D:", "D:\\"},
      {"no_services_use_tmp", false, nullptr, false, "", "/tmp/"},
      {"unknown_directory_uses_tmp", true, nullptr, true, "", "/tmp/"},
  };
  char pid[16];
  std::snprintf(pid, sizeof pid, "%08x", static_cast<unsigned>(getpid()));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    manager.services.clear();
    if (c.store) {
      FakeDataStore* store = install("IDataStore", new FakeDataStore);
      if (c.setting)
        store->strings["Directories/Temp Directory"] = c.setting;
    }
    if (c.dirService)
      install("IKivDirService", new FakeDirService)->temp = c.dirTemp;
    KivString out;
    temporaryPath(out);
    std::string path = out.c_str();
    std::smatch parts;
    ASSERT_TRUE(std::regex_match(path, parts, std::regex("(.*)kiv-([0-9a-f]{8})-([0-9a-f]{8})-temp")))
        << path;
    EXPECT_EQ(parts[1].str(), c.folder);
    EXPECT_EQ(parts[2].str(), pid);
  }
}

TEST_F(TemporaryPathTest, NamesDifferFromCallToCall) {
  KivString first, second;
  temporaryPath(first);
  temporaryPath(second);
  EXPECT_NE(std::string(first.c_str()), std::string(second.c_str()));
}

} // namespace
