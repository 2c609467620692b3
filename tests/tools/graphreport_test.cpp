//===- graphreport_test.cpp - dmtool's DOT text, leak report and settings --===//
#include "tools/documentfile.h"
#include "tools/graphreport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

std::string readAll(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string folder() {
  const std::string dir = testing::TempDir() + "graphreport" + std::to_string(getpid());
  std::filesystem::create_directories(dir);
  return dir;
}

TEST(GraphReportTest, DocumentGraphRendersAndLeaksFollow) {
  const std::string dir = folder();
  const std::string doc = dir + "/doc.kiv";
  const std::string dot = dir + "/doc.dot";
  uint64_t bytes = 0;
  std::string error;
  ASSERT_TRUE(createDocumentFile(doc, "a <doc> & \"more\"", "", &bytes, &error)) << error;

  std::FILE* out = std::tmpfile();
  ASSERT_TRUE(writeDocumentGraph(doc, dot, true, out, &error)) << error;
  std::rewind(out);
  std::string report;
  char buffer[4096];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, out)) > 0;)
    report.append(buffer, n);
  std::fclose(out);

  const std::string text = readAll(dot);
  EXPECT_EQ(text.rfind("digraph G {\nnode [style=filled]\n", 0), 0u);
  EXPECT_EQ(text.substr(text.size() - 2), "}\n");
  EXPECT_EQ(report.rfind("DataObjects\n======================================\n", 0), 0u);
  // Once the document is gone, nothing of it stays alive.
  EXPECT_NE(report.find("\nLeaked 0 DataObjects.\n"), std::string::npos) << report;
  EXPECT_NE(report.find("\nLeaked 0 Relationships.\n"), std::string::npos) << report;

  if (std::system("command -v dot >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "Graphviz dot is not installed";
  const std::string errors = dir + "/dot.err";
  EXPECT_EQ(std::system(("dot -Tsvg '" + dot + "' -o /dev/null 2>'" + errors + "'").c_str()), 0);
  EXPECT_EQ(readAll(errors), "");

  EXPECT_FALSE(writeDocumentGraph(dir + "/missing.kiv", "", false, nullptr, &error));
  EXPECT_FALSE(error.empty());
  std::filesystem::remove_all(dir);
}

TEST(GraphReportTest, SettingsRoundTripThroughTheFile) {
  const std::string dir = folder();
  const std::string settings = dir + "/sub/settings";
  struct Case {
    const char* key;
    const char* value;
    const char* type;
    bool ok;
    const char* readBack;  // with details
  };
  const Case cases[] = {
      {"Tool/Count", "12", "", true, "12 (int, from 0 to 0)"},
      {"Tool/Count", "13", "", true, "13 (int, from 0 to 0)"},
      {"Tool/Count", "x", "", false, "13 (int, from 0 to 0)"},
      {"Tool/Count", "1.5", "double", false, "13 (int, from 0 to 0)"},
      {"Tool/Ratio", "0.25", "", true, "0.25 (double, from 0 to 0)"},
      {"Tool/Name", "scan one", "", true, "scan one (string)"},
      {"Tool/Wide", "w", "wide", true, "w (wide)"},
      {"Tool/Bad", "1", "float", false, nullptr},
  };
  for (const Case& test : cases) {
    std::string error;
    EXPECT_EQ(setSetting(settings, test.key, test.value, test.type, &error), test.ok)
        << test.key << " " << test.value << ": " << error;
    if (!test.readBack)
      continue;
    std::FILE* out = std::tmpfile();
    ASSERT_TRUE(getSetting(settings, test.key, true, out, &error)) << error;
    std::rewind(out);
    char line[256] = {};
    ASSERT_NE(std::fgets(line, sizeof line, out), nullptr);
    std::fclose(out);
    EXPECT_EQ(std::string(line), std::string(test.readBack) + "\n") << test.key;
  }
  EXPECT_NE(readAll(settings).find("Tool/Count"), std::string::npos);
  std::filesystem::remove_all(dir);
}

} // namespace
