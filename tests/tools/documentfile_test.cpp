//===- documentfile_test.cpp - dmtool's document files and crash-safe saving --===//
#include "documents/document.h"
#include "documents/documentmanager.h"
#include "kivbasictypes/tempfile.h"
#include "tools/documentfile.h"
#include "tools/graphfile.h"
#include "tools/safefile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

void writeBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::string run(int (*report)(const std::string&, bool, std::FILE*, std::string*),
                const std::string& path, bool json, int* status) {
  std::FILE* out = std::tmpfile();
  std::string error;
  *status = report(path, json, out, &error);
  std::rewind(out);
  std::string text;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, out)) > 0)
    text.append(buffer, n);
  std::fclose(out);
  return text;
}

bool leftovers(const std::string& folder, const std::string& name) {
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().filename().string().find("." + name + ".tmp") == 0)
      return true;
  return false;
}

TEST(SafeFile, AFailedWriteLeavesTheOldFileByteForByte) {
  TempPath target(".kiv");
  std::string error;
  ASSERT_TRUE(createDocumentFile(target.path, "A", "", nullptr, &error)) << error;
  const std::vector<uint8_t> before = fileBytes(target.path);
  ASSERT_EQ(before.size(), 251u);
  const std::string name = std::filesystem::path(target.path).filename().string();
  // A write that stops half-way: half of a new content, then a failure.
  EXPECT_FALSE(replaceFileSafely(
      target.path,
      [&](const std::string& temporary, std::string* why) {
        std::vector<uint8_t> half(before.size() / 2, 0xEE);
        writeBytes(temporary, half);
        *why = "disk full";
        return false;
      },
      &error));
  EXPECT_EQ(error, "disk full");
  EXPECT_EQ(fileBytes(target.path), before);
  EXPECT_FALSE(leftovers("/tmp", name));
  // A target in a folder that doesn't exist: nothing is written anywhere.
  EXPECT_FALSE(createDocumentFile("/nonexistent-dir/x.kiv", "A", "", nullptr, &error));
  // A good write replaces the file whole.
  uint64_t bytes = 0;
  ASSERT_TRUE(createDocumentFile(target.path, "Longer name", "", &bytes, &error)) << error;
  EXPECT_EQ(bytes, 251u + 2 * 10);
  EXPECT_FALSE(leftovers("/tmp", name));
}

TEST(DocumentFile, VerifyNamesWhereDamageStarts) {
  TempPath sound(".kiv"), zeroLength(".kiv"), junk(".kiv");
  std::string error;
  ASSERT_TRUE(createDocumentFile(sound.path, "A", "", nullptr, &error)) << error;
  std::vector<uint8_t> bytes = fileBytes(sound.path);
  // The group's extra data (head at 106, length at 110) with the length 0,
  // which no finished block has.
  for (size_t i = 110; i < 118; ++i)
    bytes[i] = 0;
  writeBytes(zeroLength.path, bytes);
  writeBytes(junk.path, {'j', 'u', 'n', 'k'});
  struct Case {
    const char* name;
    const std::string& path;
    int status;
    std::string text;
  };
  const Case cases[] = {
      {"sound", sound.path, 0, "sound: " + sound.path + ": document \"A\", 0 items (0 data), 251 bytes\n"},
      {"inner_length_zero", zeroLength.path, 2,
       "damaged: " + zeroLength.path +
           ": damage at offset 106 (block head) in section (tag 0xB0002) at offset 66\n"
           "still read: document \"A\", 0 items (0 data)\n"},
      {"not_a_document", junk.path, 2,
       "damaged: " + junk.path + ": damage at offset 0 (block head) in root (tag 0x544F56) at "
                                 "offset 0\nstill read: document \"\", 0 items (0 data)\n"},
  };
  for (const Case& c : cases) {
    int status = -1;
    EXPECT_EQ(run(verifyDocumentFile, c.path, false, &status), c.text) << c.name;
    EXPECT_EQ(status, c.status) << c.name;
  }
  int status = -1;
  const std::string json = run(verifyDocumentFile, zeroLength.path, true, &status);
  EXPECT_NE(json.find("\"sound\": false"), std::string::npos) << json;
  EXPECT_NE(json.find("\"offset\": 106, \"block\": {\"tag\": 720898"), std::string::npos) << json;
  EXPECT_EQ(verifyDocumentFile("/nonexistent-dir/x.kiv", false, stdout, &error), 1);
}

TEST(DocumentFile, TreeShowsItemsAndTheirStoredProperties) {
  TempPath file(".kiv"), config(".xml");
  std::ofstream(config.path) << "<C><DocumentItem><P type=\"int\" name=\"layer\" default=\"4\"/>"
                                "</DocumentItem><Document><P type=\"string\" name=\"author\" "
                                "default=\"me\"/></Document></C>";
  std::string error;
  ASSERT_TRUE(createDocumentFile(file.path, "Scan", config.path, nullptr, &error)) << error;
  int status = -1;
  EXPECT_EQ(run(printDocumentTree, file.path, false, &status),
            "Document \"Scan\" author=me\n  DocumentGroup \"\" expanded=1 layer=4\n");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(run(printDocumentTree, file.path, true, &status),
            "{\"file\": \"" + file.path + "\", \"sound\": true, \"class\": \"Document\", "
            "\"name\": \"Scan\", \"properties\": {\"author\": \"me\"}, \"root\":\n"
            "  {\"class\": \"DocumentGroup\", \"name\": \"\", \"properties\": {\"expanded\": "
            "\"1\", \"layer\": \"4\"}, \"children\": []}}\n");
  DocumentManager::instance()->clearConfiguration();
}

} // namespace
