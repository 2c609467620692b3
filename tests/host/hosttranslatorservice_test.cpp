#include "host/hosttranslatorservice.h"

#include "core/kivclassid.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

TEST(HostTranslatorService, TranslatesAndFillsPlaceholdersOnce) {
  IPtr<HostTranslatorService> service(new HostTranslatorService);
  EXPECT_EQ(service->translatorFor(KivClassId()), nullptr);  // no table, no translator

  std::string path = ::testing::TempDir() + "translations_" + std::to_string(getpid()) + ".txt";
  {
    std::ofstream file(path, std::ios::binary);
    file << "# German\n"
            "Error in class %1: %2.\tFehler in Klasse %1: %2.\r\n"
            "Collection is readonly\tSammlung ist schreibgesch\xC3\xBCtzt\n"
            "a line without a tab\n"
            "\n";
  }
  ASSERT_TRUE(service->loadTable(path.c_str()));
  std::remove(path.c_str());
  EXPECT_EQ(service->badLines(), 1);
  IKivTranslator* translator = service->translatorFor(KivClassId());
  ASSERT_NE(translator, nullptr);

  KivString out;
  translator->translate(out, "Collection is readonly");
  EXPECT_EQ(utf8(out), "Sammlung ist schreibgesch\xC3\xBCtzt");
  translator->translate(out, "Untranslated");
  EXPECT_EQ(utf8(out), "Untranslated");
  EXPECT_FALSE(translator->lookup("Untranslated", &out));

  struct Case {
    const char* name;
    const char* key;
    int count;
    const char* expected;
  } cases[] = {
      {"translated", "Error in class %1: %2.", 2, "Fehler in Klasse A: %1 and %2."},
      {"inserted_text_not_rescanned", "%2%1", 2, "%1 and %2A"},
      {"missing_argument_stays", "%1 %3", 2, "A %3"},
      {"percent_alone", "100% %", 2, "100% %"},
  };
  KivString args[] = {KivString("A"), KivString("%1 and %2")};
  for (const Case& c : cases) {
    translator->format(out, c.key, c.count, args);
    EXPECT_EQ(utf8(out), c.expected) << c.name;
  }
  translator->format(out, "%1-%2-%3-%4-%5-%6", KivString("1"), KivString("2"), KivString("3"),
                     KivString("4"), KivString("5"), KivString("6"));
  EXPECT_EQ(utf8(out), "1-2-3-4-5-6");

  EXPECT_FALSE(service->loadTable("/nonexistent/table.txt"));
  EXPECT_EQ(service->translatorFor(KivClassId()), translator);  // the old table stays
}

} // namespace
