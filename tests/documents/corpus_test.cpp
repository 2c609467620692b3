//===- corpus_test.cpp - The fuzz corpus of documents, replayed -----------===//
#include "documentsupport.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

// Every input the document fuzzer keeps: seeds (real saved documents, named
// "seed-*") load as sound; anything else may be damaged but must load
// without a crash, with the update block closed. A stored value that breaks
// its property's rule raises that property's failure, which is allowed.
TEST(DocumentCorpus, EveryInputLoadsSafely) {
  const auto folder = std::filesystem::path(DM_TEST_DATA_DIR) / "documents" / "corpus";
  ASSERT_TRUE(std::filesystem::is_directory(folder)) << folder;
  int seeds = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    IPtr<Document> document = newDocument();
    bool sound = false;
    if (PlatformException* e =
            caught([&] { sound = document->load(KivString(entry.path().string().c_str())); })) {
      EXPECT_EQ(e->code, 6) << name;
      delete e;
    }
    EXPECT_FALSE(document->inUpdate()) << name;
    if (name.rfind("seed-", 0) == 0) {
      ++seeds;
      EXPECT_TRUE(sound) << name;
    }
  }
  EXPECT_GE(seeds, 4);
}

} // namespace
