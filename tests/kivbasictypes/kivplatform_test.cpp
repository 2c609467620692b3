#include "kivbasictypes/kivplatform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

TEST(KivPlatformTest, SpillFileKeepsItsDataButNotItsName) {
  fs::path path = fs::temp_directory_path() / ("kivplatform-test-" + std::to_string(getpid()));
  int file = kivplatform::openDeleteOnClose(path.c_str());
  ASSERT_GE(file, 0);
  EXPECT_FALSE(fs::exists(path));

  const char text[] = "old contents of a block";
  EXPECT_EQ(kivplatform::writeFile(file, text, sizeof text), int64_t(sizeof text));
  ASSERT_TRUE(kivplatform::rewindFile(file));
  char back[sizeof text] = {};
  EXPECT_EQ(kivplatform::readFile(file, back, sizeof back), int64_t(sizeof back));
  EXPECT_EQ(std::memcmp(back, text, sizeof text), 0);
  // Reading past the end gives a short count, which the caller takes for failure.
  EXPECT_EQ(kivplatform::readFile(file, back, sizeof back), 0);
  kivplatform::closeFile(file);

  EXPECT_EQ(kivplatform::openDeleteOnClose((path / "no" / "such" / "folder").c_str()), -1);
}

TEST(KivPlatformTest, FiguresAreConsistent) {
  kivplatform::MemoryStatus status;
  ASSERT_TRUE(kivplatform::memoryStatus(&status));
  EXPECT_GT(status.totalPhysical, 0u);
  EXPECT_LE(status.availablePhysical, status.totalPhysical);
  EXPECT_LE(status.availablePageFile, status.totalPageFile);
  EXPECT_GT(status.availableVirtual, 0u);
  EXPECT_LE(status.availableVirtual, status.totalVirtual);

  uint64_t current = 0, peak = 0;
  ASSERT_TRUE(kivplatform::processWorkingSet(&current, &peak));
  EXPECT_GT(current, 0u);
  EXPECT_LE(current, peak);

  EXPECT_EQ(kivplatform::processId(), static_cast<uint32_t>(getpid()));
  uint64_t before = kivplatform::highResolutionCounter();
  EXPECT_LE(before, kivplatform::highResolutionCounter());
}

} // namespace
