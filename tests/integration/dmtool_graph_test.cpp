// dmtool create and convert, run as a user would: round trips between the
// two length widths, and inputs that convert must refuse without output.
#include "core/classids.h"
#include "kivbasictypes/kivfile.h"
#include "runcommand.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace {

int runTool(const std::string& arguments, std::string* output) {
  return runCommand(std::string(DM_TOOL_PATH) + " " + arguments, output);
}

std::string contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

constexpr KivClassId kStrangerId =
    makeClassId(0x0BADC0DE, 0x1, 0x2, 0x3, 0x4, 0x5, 0x6, 0x7, 0x8, 0x9, 0xA);

// One object as DataObject::write stores it: name, empty extra block,
// reference number, and at most one object reference to number `refersTo`.
void writeObject(KivFileWrite& w, const KivClassId& id, const char* name, uint32_t number,
                 uint32_t refersTo) {
  w.beginClassBlock(id, 5);
  w.writeString(KivString(name));
  w.beginBlock(0xB00BBE, 2);
  w.endBlock();
  w.beginClassBlock(id, 0);
  w.writeUInt32(number);
  w.endBlock();
  w.writeInt32(refersTo ? 1 : 0);
  if (refersTo) {
    w.writeString(KivString("child"));
    w.beginClassBlock(classIdOf("ObjectProperty"), 1);
    w.writeUInt32(refersTo);
    w.endBlock();
  }
  w.endBlock();
}

class DmtoolGraph : public ::testing::Test {
protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() / ("dmtool-graph-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::string path(const char* name) const { return (dir_ / name).string(); }

  // A graph by hand: a top object referring to a child of class `childId`.
  std::string writeGraph(const char* name, const KivClassId& childId) {
    KivFileWrite w;
    w.setFileVersion(10);
    EXPECT_TRUE(w.open(KivString(path(name).c_str())));
    const KivClassId& dynamic = classIdOf("DynamicDataObject");
    w.beginClassBlock(dynamic, 5);
    writeObject(w, dynamic, "top", 1, 2);
    w.writeBool(true);
    writeObject(w, childId, "child", 2, 0);
    w.writeBool(false);
    w.endBlock();
    EXPECT_TRUE(w.close());
    return path(name);
  }

  std::filesystem::path dir_;
};

// Shared children and the cycle come back as one object each, so that a
// round trip through the other width gives the same bytes.
TEST_F(DmtoolGraph, ConvertsBetweenWidthsWithoutChangingTheGraph) {
  std::string output;
  const std::string original = path("a.kiv");
  ASSERT_EQ(runTool("create " + original, &output), 0) << output;
  const std::string bytes = contents(original);
  EXPECT_EQ(output, "created " + original + ": 4 objects, " + std::to_string(bytes.size()) +
                        " bytes, file version 10 (64-bit lengths)\n");
  ASSERT_EQ(runTool("blocks " + original, &output), 0) << output;
  EXPECT_NE(output.find("section v5"), std::string::npos) << output;
  EXPECT_NE(output.find("\"part3\""), std::string::npos) << output;
  EXPECT_EQ(output.find("\"part4\""), std::string::npos) << output;

  ASSERT_EQ(runTool("convert " + original + " " + path("b.kiv") + " --version 9", &output), 0)
      << output;
  EXPECT_NE(output.find(": 4 objects, "), std::string::npos) << output;
  EXPECT_LT(contents(path("b.kiv")).size(), bytes.size());
  ASSERT_EQ(runTool("convert " + path("b.kiv") + " " + path("c.kiv"), &output), 0) << output;
  EXPECT_EQ(contents(path("c.kiv")), bytes);

  // From 32-bit lengths out and back, over a longer chain.
  ASSERT_EQ(runTool("create " + path("d.kiv") + " --objects 40 --version 9", &output), 0)
      << output;
  EXPECT_NE(output.find(": 41 objects, "), std::string::npos) << output;
  ASSERT_EQ(runTool("convert " + path("d.kiv") + " " + path("e.kiv"), &output), 0) << output;
  ASSERT_EQ(runTool("convert --version 9 " + path("e.kiv") + " " + path("f.kiv"), &output), 0);
  EXPECT_EQ(contents(path("f.kiv")), contents(path("d.kiv")));
}

TEST_F(DmtoolGraph, RefusedInputsGiveOneLineAndLeaveNoOutput) {
  std::string output;
  const std::string out = path("out.kiv");
  std::ofstream(out) << "kept";
  ASSERT_EQ(runTool("convert " + writeGraph("known.kiv", classIdOf("DynamicDataObject")) + " " +
                        path("known-out.kiv"), &output),
            0)
      << output;
  ASSERT_EQ(runTool("create " + path("cut.kiv"), &output), 0) << output;
  std::filesystem::resize_file(path("cut.kiv"), contents(path("cut.kiv")).size() / 2);
  std::ofstream(path("text.txt")) << "plain text\n";
  std::ofstream(path("twice.kiv"), std::ios::binary)
      << contents(path("known.kiv")) << contents(path("known.kiv"));
  KivFileWrite property;
  ASSERT_TRUE(property.open(KivString(path("property.kiv").c_str())));
  property.beginClassBlock(classIdOf("BoolProperty"), 0);
  property.writeBool(true);
  property.endBlock();
  ASSERT_TRUE(property.close());

  struct Case {
    const char* name;
    std::string in;
    std::string line;
  } cases[] = {
      {"stranger", writeGraph("stranger.kiv", kStrangerId),
       "holds a stored object of class {0BADC0DE-0001-0002-0304-05060708090A} that this build "
       "doesn't know"},
      {"cut", path("cut.kiv"), "is cut short or damaged (its root block is longer than the file)"},
      {"text", path("text.txt"), "is not a data-model file (no root block)"},
      {"twice", path("twice.kiv"), "holds data behind its root block"},
      {"property", path("property.kiv"),
       "holds no object graph (its top section is of class BoolProperty)"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(runTool("convert " + c.in + " " + out, &output), 1) << c.name;
    EXPECT_EQ(output, "dmtool: convert: '" + c.in + "' " + c.line + "\n") << c.name;
  }
  EXPECT_EQ(runTool("convert " + path("missing.kiv") + " " + out, &output), 1);
  EXPECT_EQ(output, "dmtool: convert: cannot open '" + path("missing.kiv") + "'\n");
  EXPECT_EQ(contents(out), "kept");

  const std::string known = path("known.kiv");
  EXPECT_EQ(runTool("convert " + known + " " + dir_.string() + "/./known.kiv", &output), 2);
  EXPECT_EQ(output.rfind("dmtool: convert: IN and OUT are the same file\n", 0), 0u) << output;
  EXPECT_EQ(runTool("convert " + known, &output), 2);
  EXPECT_EQ(runTool("convert " + known + " " + out + " --version 8", &output), 2);
  EXPECT_EQ(runTool("create " + out + " --objects 0", &output), 2);
  EXPECT_EQ(contents(out), "kept");

  // Nothing was left beside the outputs.
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir_))
    files += entry.path().string().find(".part") == std::string::npos ? 1 : 100;
  EXPECT_EQ(files, 8);
}

} // namespace
