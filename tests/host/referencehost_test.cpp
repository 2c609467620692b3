#include "host/referencehost.h"

#include "core/idatastore.h"
#include "core/ikivlog3.h"
#include "core/lookup.h"
#include "host/hostasserthandler.h"
#include "host/hostdatastore.h"
#include "host/tovcomponentmanager.h"
#include "kivbasictypes/ikivtranslator.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

TEST(ReferenceHost, ServicesAreFoundByNameWhileTheHostLives) {
  std::string table = ::testing::TempDir() + "referencehost_" + std::to_string(getpid()) + ".txt";
  {
    std::ofstream file(table);
    file << "Hello\tHallo\n";
  }
  struct Case {
    const char* name;
    const char* table;
    bool hasTranslator;
  } cases[] = {{"without_table", "", false}, {"with_table", table.c_str(), true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    {
      ReferenceHostOptions options;
      options.logsDirectory = "/nonexistent/logs";
      options.tempDirectory = "/tmp/dm-temp";
      options.translationTable = c.table;
      options.echo = false;
      options.logFile = false;
      options.abortOnAssert = false;
      ReferenceHost host(options);
      ASSERT_EQ(componentManager(), host.manager());

      // Through this process's own look-up, as the library code does it.
      for (const char* service : {"IDataStore", "IKivLog3", "IKivErrorService",
                                  "IKivAssertHandlerCB", "IKivDirService", "IKivMManager",
                                  "IKivRandom", "IKivPointExtraInfo", "IRealPArrayFactory"}) {
        void* out = nullptr;
        EXPECT_EQ(getObject(service, &out), 1) << service;
        EXPECT_NE(out, nullptr) << service;
      }
      void* out = nullptr;
      EXPECT_EQ(getObject("IKivTranslatorService", &out), c.hasTranslator ? 1 : 0);
      EXPECT_EQ(host.translatorService() != nullptr, c.hasTranslator);

      auto* store = static_cast<IDataStore*>(nullptr);
      ASSERT_EQ(getObject("IDataStore", reinterpret_cast<void**>(&store)), 1);
      EXPECT_EQ(utf8(store->getString("Directories/Logs Directory", nullptr)), "/nonexistent/logs");
      EXPECT_EQ(utf8(store->getString("Directories/Temp Directory", nullptr)), "/tmp/dm-temp");

      // Counting mode: an assertion is told and execution goes on.
      host.assertHandler()->handleAssert("start >= 0", "basic_types/map", 12);
      EXPECT_EQ(host.assertHandler()->lastFailure(), "start >= 0 (basic_types/map:12)");

      EXPECT_EQ(host.loadLibrary("/nonexistent/lib.so"), nullptr);
      EXPECT_EQ(host.lastError().rfind("cannot open library /nonexistent/lib.so", 0), 0u);
    }
    EXPECT_EQ(componentManager(), nullptr);
  }
  std::remove(table.c_str());
}

} // namespace
