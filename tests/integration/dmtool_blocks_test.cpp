// dmtool blocks, run as a user would, on files written by KivFileWrite.
#include "core/classids.h"
#include "kivbasictypes/kivfile.h"
#include "kivbasictypes/kivvector.h"
#include "runcommand.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

int runTool(const std::string& arguments, std::string* output) {
  return runCommand(std::string(DM_TOOL_PATH) + " " + arguments, output);
}

class DmtoolBlocks : public ::testing::Test {
protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("dmtool-blocks-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  // A root holding a named section with a vector, a bare count and one
  // string past the count, in the given file version.
  std::string writeSample(const char* name, int fileVersion) {
    std::string path = (dir_ / name).string();
    KivFileWrite w;
    w.setFileVersion(fileVersion);
    EXPECT_TRUE(w.open(KivString(path.c_str())));
    w.beginClassBlock(classIdOf("BoolProperty"), 5);
    w.writeString(KivString::fromUtf8("n\xC3\xA4me"));
    w.writeVector(KivVector(1, 2.5, -3));
    w.writeInt32(2);
    w.writeCString(KivCString("tail"));
    w.endBlock();
    EXPECT_TRUE(w.close());
    return path;
  }

  std::filesystem::path dir_;
};

// The tree as written, with offsets from the right length width, values
// decoded and the bare count found between blocks; a cut file still prints
// what is there, with a note.
TEST_F(DmtoolBlocks, PrintsTheTreeWithValuesAndBareRuns) {
  std::string output;
  std::string path = writeSample("v10.kiv", 10);
  ASSERT_EQ(runTool("blocks " + path, &output), 0) << output;
  EXPECT_EQ(output.substr(output.find('\n') + 1),
            "@0          root v1  116 bytes\n"
            "@12           section v5  104 bytes  {BB34609A-22FD-4EB0-909C-7E7BC819515C} "
            "BoolProperty\n"
            "@40             string v0  20 bytes  \"n\xC3\xA4me\"\n"
            "@60             vector v0  36 bytes  (1, 2.5, -3)\n"
            "@96             bare 4 bytes: 00 00 00 02\n"
            "@100            cstring v0  16 bytes  \"tail\"\n");

  std::string v9 = writeSample("v9.kiv", 9);
  ASSERT_EQ(runTool("blocks " + v9, &output), 0) << output;
  EXPECT_NE(output.find("32-bit lengths"), std::string::npos) << output;
  EXPECT_NE(output.find("@8            section v5  88 bytes"), std::string::npos) << output;

  // Cut in the middle of the vector: the root promises more than there is.
  std::filesystem::resize_file(path, 60);
  ASSERT_EQ(runTool("blocks " + path, &output), 0) << output;
  EXPECT_NE(output.find("note: the root states"), std::string::npos) << output;
  EXPECT_NE(output.find("section v5  104 bytes (cut: 56 bytes missing)"), std::string::npos)
      << output;
  EXPECT_NE(output.find("\"n\xC3\xA4me\""), std::string::npos) << output;
}

TEST_F(DmtoolBlocks, BadInputGivesOneLineAndFailure) {
  std::string output;
  std::string text = (dir_ / "text.txt").string();
  std::ofstream(text) << "plain text\n";
  EXPECT_EQ(runTool("blocks " + text, &output), 1);
  EXPECT_EQ(output, "dmtool: blocks: '" + text + "' is not a data-model file (no root block)\n");
  EXPECT_EQ(runTool("blocks " + (dir_ / "missing").string(), &output), 1);
  EXPECT_EQ(output.rfind("dmtool: blocks: cannot open", 0), 0u) << output;
  EXPECT_EQ(runTool("blocks " + dir_.string(), &output), 1);
  EXPECT_EQ(runTool("blocks", &output), 2);
  EXPECT_EQ(runTool("blocks " + text + " --depth x", &output), 2);
}

} // namespace
