#include "host/hostdirservice.h"

#include "core/kivptr.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

TEST(HostDirService, NamesAndTheirAliasesReachOneDirectory) {
  IPtr<HostDirService> directories(new HostDirService);
  directories->setPath("Logs Directory", "/var/log/dm/");
  directories->setDirectory("temp", KivString::fromUtf8("/tmp/\xC3\xA9t\xC3\xA9"));
  directories->setPath("Custom", "/opt/custom");

  struct Case {
    const char* name;
    const char* expected;
  } cases[] = {
      {"Logs Directory", "/var/log/dm"}, {"logs", "/var/log/dm"},
      {"LOGS", "/var/log/dm"},           {"Temp Directory", "/tmp/\xC3\xA9t\xC3\xA9"},
      {"temp", "/tmp/\xC3\xA9t\xC3\xA9"}, {"custom", "/opt/custom"},
      {"no such name", ""},               {"", ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(utf8(directories->directory(c.name)), c.expected) << "'" << c.name << "'";
}

} // namespace
