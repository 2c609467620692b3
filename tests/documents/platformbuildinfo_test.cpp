#include "documents/platformbuildinfo.h"

#include "core/platformexception.h"
#include "host/hostdirservice.h"
#include "model/inprocesshost.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <unistd.h>

namespace {

// "ProductVersion" and its null in 16 bits, then `value` and its null.
std::string block(const std::string& before, const std::u16string& value,
                  const std::string& after, bool terminated = true) {
  std::string out = before;
  for (char c : std::string("ProductVersion")) {
    out += c;
    out += '\0';
  }
  out += std::string(2, '\0');
  for (char16_t unit : value) {
    out += static_cast<char>(unit & 0xFF);
    out += static_cast<char>(unit >> 8);
  }
  if (terminated)
    out += std::string(2, '\0');
  return out + after;
}

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

TEST(PlatformBuildInfoTest, SearchesTheRawBytes) {
  struct Case {
    const char* what;
    std::string bytes;
    bool found;
    std::u16string value;
  };
  const Case cases[] = {
      {"plain", block("xx", u"1.2.3.4", "tail"), true, u"1.2.3.4"},
      {"odd offset", block("odd", u"5, 6, 7", ""), true, u"5, 6, 7"},
      {"a P before the key", block("PPProduct", u"9", "P"), true, u"9"},
      {"first match wins", block("", u"1", "") + block("", u"2", ""), true, u"1"},
      {"value cut by the end", block("", u"77", "", false), true, u"77"},
      {"no key", "ProductVersio", false, u""},
      {"8-bit key only", std::string("ProductVersion\0\0001.0", 18), false, u""},
  };
  for (const Case& test : cases) {
    std::u16string out;
    EXPECT_EQ(PlatformBuildInfo::findProductVersion(
                  reinterpret_cast<const uint8_t*>(test.bytes.data()), test.bytes.size(), out),
              test.found)
        << test.what;
    if (test.found) {
      EXPECT_EQ(out, test.value) << test.what;
    }
  }
}

TEST(PlatformBuildInfoTest, BuildVersionReadsTheComponentsLibrary) {
  ReferenceHost& host = inProcessHost();
  const std::string dir = testing::TempDir() + "pbi" + std::to_string(getpid());
  ASSERT_EQ(std::system(("mkdir -p '" + dir + "'").c_str()), 0);
  host.directories()->setDirectory("components", KivString(dir.c_str()));
  const std::string library = dir + "/" + PlatformBuildInfo::kLibraryName;
  std::remove(library.c_str());

  IPtr<PlatformBuildInfo> info(new PlatformBuildInfo);
  // Missing: "0.0.0.0", and not kept.
  EXPECT_EQ(utf8(info->getString("buildVersion")), "0.0.0.0");
  EXPECT_EQ(utf8(info->getString("buildVersion")), "0.0.0.0");

  struct FileCase {
    std::string bytes;
    const char* expected;
  };
  const FileCase files[] = {
      {block("ELF", u"", ""), ""},                    // key without value: empty, not kept
      {"no version here", ""},                         // no key: empty, not kept
      {block("ELF", u"3, 1,4,1", "more"), "3. 1.4.1"},  // kept from here on
      {block("ELF", u"8.8.8.8", ""), "3. 1.4.1"},
  };
  for (const FileCase& file : files) {
    std::ofstream(library, std::ios::binary) << file.bytes;
    EXPECT_EQ(utf8(info->getString("buildVersion")), file.expected) << file.bytes;
  }
  std::remove(library.c_str());
  IPtr<PlatformBuildInfo> later(new PlatformBuildInfo);
  EXPECT_EQ(utf8(later->getString("buildVersion")), "3. 1.4.1");

  try {
    info->set("buildVersion", KivString("1"));
    ADD_FAILURE() << "read-only property was set";
  } catch (PlatformException* e) {
    std::unique_ptr<PlatformException> owned(e);
    EXPECT_EQ(e->code, 2);
  }
  EXPECT_STREQ(info->scriptClassName(), "kivapi.datamodel.PlatformBuildInfo");
  for (const char* name : {"PlatformBuildInfo", "IKivUnknown", "IKivPlatformBuildInfo",
                           "DataObject", "IKivDataObject"}) {
    void* out = nullptr;
    info->queryInterface(name, &out);
    EXPECT_NE(out, nullptr) << name;
  }
}

} // namespace
