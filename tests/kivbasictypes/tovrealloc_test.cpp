#include "kivbasictypes/tovrealloc.h"

#include "core/kivassert.h"
#include "memfakes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace memfakes;

namespace {

constexpr int32_t kElement = 64;
// Attempts below this size are the strings built on the way; they pass.
constexpr int64_t kRecordFrom = 2048;
constexpr unsigned char kPattern = 0x5A;

// Records every attempt of kRecordFrom bytes or more, in elements, and fails
// the first `failFirst` of them (or all).
struct AllocScript {
  int32_t elementSize = kElement;
  size_t failFirst = 0;
  bool failAll = false;
  std::vector<int64_t> attempts;
  std::function<void(int64_t)> onAttempt;
};

bool scriptedFailure(void* context, int64_t bytes) {
  auto* script = static_cast<AllocScript*>(context);
  if (bytes < kRecordFrom)
    return false;
  script->attempts.push_back(bytes / script->elementSize);
  if (script->onAttempt)
    script->onAttempt(bytes / script->elementSize);
  return script->failAll || script->attempts.size() <= script->failFirst;
}

// Leaves freed chunks full of non-zero bytes in the heap, so that a block
// that is handed out again uncleared shows it.
void dirtyHeap() {
  std::vector<void*> blocks;
  for (size_t size : {1024u, 4096u, 12800u, 16384u, 38400u, 64000u, 64000u}) {
    void* p = std::malloc(size);
    std::memset(p, 0xEE, size);
    blocks.push_back(p);
  }
  void* guard = std::malloc(64);
  for (void* p : blocks)
    std::free(p);
  std::free(guard);
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The spill files this process holds open, whatever became of their names.
std::vector<std::string> openSpillFiles() {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    fs::path target = fs::read_symlink(entry.path(), error);
    if (!error && target.string().find("/kiv-") != std::string::npos)
      found.push_back(target.string());
  }
  return found;
}

class TovReallocTest : public MemFixture {
protected:
  void SetUp() override {
    MemFixture::SetUp();
    folder = fs::temp_directory_path() / ("tovrealloc-test-" + std::to_string(getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder / "temp");
    fs::create_directories(folder / "logs");
    store = install("IDataStore", new FakeDataStore);
    store->strings["Directories/Temp Directory"] = (folder / "temp").string();
    store->strings["Directories/Logs Directory"] = (folder / "logs").string();
  }
  void TearDown() override {
    tovFree(block);
    MemFixture::TearDown();
    fs::remove_all(folder);
  }

  // A block of `count` elements filled with the pattern.
  void makeBlock(int32_t count, int32_t elementSize = kElement) {
    tovMalloc(&block, elementSize, count);
    std::memset(block, kPattern, size_t(count) * elementSize);
  }
  void inject(AllocScript& script) { setTovAllocFailureInjector(scriptedFailure, &script); }

  // The old contents survive and everything past them up to `now` is zero.
  void expectGrown(int32_t before, int32_t now) {
    const unsigned char* bytes = static_cast<const unsigned char*>(block);
    size_t kept = size_t(std::min(before, now)) * kElement;
    size_t firstWrong = kept;
    for (size_t i = 0; i < kept && firstWrong == kept; ++i)
      if (bytes[i] != kPattern)
        firstWrong = i;
    EXPECT_EQ(firstWrong, kept) << "old contents lost";
    size_t total = size_t(now) * kElement;
    size_t firstDirty = total;
    for (size_t i = kept; i < total && firstDirty == total; ++i)
      if (bytes[i] != 0)
        firstDirty = i;
    EXPECT_EQ(firstDirty, total) << "grown part not cleared";
  }

  fs::path folder;
  FakeDataStore* store = nullptr;
  void* block = nullptr;
};

using TovReallocDeathTest = TovReallocTest;

TEST_F(TovReallocTest, ResizesThatNeedNoMeasures) {
  struct Case {
    const char* name;
    int32_t cur;
    bool nullBlock;
    int32_t min;
    uint32_t max;
    int32_t result;
    std::vector<int64_t> attempts;
  };
  const Case cases[] = {
      {"min_equals_cur_returns_at_once", 100, false, 100, 500, 100, {}},
      {"zero_to_zero_keeps_null", 0, true, 0, kTovNoMax, 0, {}},
      {"shrink_without_max", 100, false, 50, kTovNoMax, 50, {50}},
      {"max_covers_cur_keeps_block", 100, false, 50, 120, 100, {}},
      {"shrink_to_max_below_cur", 100, false, 50, 80, 80, {80}},
      {"shrink_to_zero_frees", 100, false, 0, kTovNoMax, 0, {}},
      {"null_block_ignores_max", 0, true, 40, 1000, 40, {40}},
      {"empty_block_ignores_max", 0, false, 40, 1000, 40, {40}},
      {"grow_takes_max", 100, false, 150, 300, 300, {300}},
      {"grow_without_max_takes_min", 100, false, 150, kTovNoMax, 150, {150}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    dirtyHeap();
    block = nullptr;
    if (!c.nullBlock)
      makeBlock(c.cur);
    void* before = block;
    AllocScript script;
    inject(script);
    int32_t result = tovRealloc(&block, kElement, c.cur, c.min, c.max);
    setTovAllocFailureInjector(nullptr, nullptr);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(script.attempts, c.attempts);
    if (c.attempts.empty() && c.result != 0) {
      EXPECT_EQ(block, before);
    }
    if (c.result == 0) {
      EXPECT_EQ(block, nullptr);
    } else {
      expectGrown(c.nullBlock ? 0 : c.cur, result);
    }
    tovFree(block);
    block = nullptr;
  }
}

TEST_F(TovReallocTest, SettlesForLessHalfwayToTheMinimumThenSpillsThroughAFile) {
  // No memory manager: every rung fails, and the old contents go through a
  // file in the configured temporary folder while the new block is made.
  makeBlock(100);
  dirtyHeap();
  AllocScript script;
  script.failFirst = 9;
  std::vector<std::string> spilled;
  script.onAttempt = [&](int64_t) {
    if (script.attempts.size() == 10)
      spilled = openSpillFiles();
  };
  inject(script);
  EXPECT_EQ(tovRealloc(&block, kElement, 100, 200, 1000), 200);
  EXPECT_EQ(script.attempts,
            (std::vector<int64_t>{1000, 600, 400, 300, 250, 225, 212, 206, 200, 200}));
  expectGrown(100, 200);

  ASSERT_EQ(spilled.size(), 1u);
  std::string prefix = (folder / "temp").string() + "/kiv-";
  EXPECT_EQ(spilled[0].rfind(prefix, 0), 0u) << spilled[0];
  EXPECT_NE(spilled[0].find("-temp (deleted)"), std::string::npos) << spilled[0];
  EXPECT_TRUE(openSpillFiles().empty());
  EXPECT_TRUE(fs::is_empty(folder / "temp"));
}

TEST_F(TovReallocTest, StopsHalfwayWhenARungSucceeds) {
  makeBlock(100);
  dirtyHeap();
  AllocScript script;
  script.failFirst = 2;
  inject(script);
  EXPECT_EQ(tovRealloc(&block, kElement, 100, 200, 1000), 400);
  EXPECT_EQ(script.attempts, (std::vector<int64_t>{1000, 600, 400}));
  expectGrown(100, 400);
}

TEST_F(TovReallocTest, AsksTheManagerForThePagesTheGrowthNeeds) {
  // One element is one manager page: growing from 1 to 5 needs 4 pages, so
  // the manager is asked 4 + 1 + 1 times at the last rung before the file.
  FakeMManager* mm = install("IKivMManager", new FakeMManager);
  mm->answers.assign(20, true);
  makeBlock(1, 24576);
  AllocScript script;
  script.elementSize = 24576;
  script.failFirst = 10;
  inject(script);
  void* p = block;
  EXPECT_EQ(tovRealloc(&p, 24576, 1, 5, 9), 5);
  block = p;
  EXPECT_EQ(script.attempts, (std::vector<int64_t>{9, 7, 6, 5, 5, 5, 5, 5, 5, 5, 5}));
  EXPECT_EQ(mm->releaseCalls.load(), 6);
}

TEST_F(TovReallocTest, ManagerAnswersShapeTheLadder) {
  struct Case {
    const char* name;
    std::deque<bool> answers;
    size_t failFirst;
    int32_t result;
    std::vector<int64_t> attempts;
    int releases;
  };
  const Case cases[] = {
      // The first two rounds never ask; the third asks and wins at once.
      {"release_then_success", {true}, 4, 300, {1000, 600, 400, 300, 300}, 1},
      // A false answer still earns the retry, but no further question.
      {"false_answer_stops_asking",
       {false},
       10,
       200,
       {1000, 600, 400, 300, 300, 250, 225, 212, 206, 200, 200},
       1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    resetServiceCaches();
    FakeMManager* mm = install("IKivMManager", new FakeMManager);
    mm->answers = c.answers;
    makeBlock(100);
    dirtyHeap();
    AllocScript script;
    script.failFirst = c.failFirst;
    inject(script);
    EXPECT_EQ(tovRealloc(&block, kElement, 100, 200, 1000), c.result);
    setTovAllocFailureInjector(nullptr, nullptr);
    EXPECT_EQ(script.attempts, c.attempts);
    EXPECT_EQ(mm->releaseCalls.load(), c.releases);
    expectGrown(100, c.result);
    tovFree(block);
    block = nullptr;
  }
}

TEST_F(TovReallocTest, MallocRetriesWhileTheManagerGivesMemoryBack) {
  FakeMManager* mm = install("IKivMManager", new FakeMManager);
  mm->answers = {true, true, true};
  AllocScript script;
  script.failFirst = 2;
  inject(script);
  EXPECT_EQ(tovMalloc(&block, kElement, 500), 500);
  EXPECT_EQ(script.attempts, (std::vector<int64_t>{500, 500, 500}));
  EXPECT_EQ(mm->releaseCalls.load(), 2);
}

TEST_F(TovReallocTest, MaxBelowMinIsAProgrammerFault) {
  struct Seen {
    std::string expression, file;
  } seen;
  setAssertHandler(
      [](void* context, const char* expression, const char* file, int) {
        static_cast<Seen*>(context)->expression = expression;
        static_cast<Seen*>(context)->file = file;
      },
      &seen);
  makeBlock(100);
  EXPECT_EQ(tovRealloc(&block, kElement, 100, 200, 150), 200);
  setAssertHandler(nullptr, nullptr);
  EXPECT_EQ(seen.expression, "maxNewSize >= minNewSize");
  EXPECT_EQ(seen.file, "kivbasictypes/tovrealloc");
  expectGrown(100, 200);
}

TEST_F(TovReallocTest, MemoryLogReportsSystemAndManagerFigures) {
  FakeMemChecker* checker = install("IMemChecker", new FakeMemChecker);
  checker->figures[0] = 1000;
  checker->figures[1] = 2000000;
  checker->figures[2] = 30;
  checker->figures[3] = 4000;
  fs::path log = folder / "logs" / "memory.log";
  const std::string system = "system free:         1000k\n"
                             "system total:     2000000k\n"
                             "swap free:             30k\n"
                             "swap total:          4000k\n"
                             "\n";

  // Without a manager, and with no attempted size: the report starts with
  // the system figures.
  writeMemoryLog(0);
  EXPECT_EQ(readFile(log), system + "kivmm not available\n\n");

  FakeMManager* mm = install("IKivMManager", new FakeMManager);
  mm->coreNow = 2;
  mm->coreLimit = 1000;
  mm->swapNow = 0;
  mm->swapLimit = 50000;
  resetServiceCaches();
  writeMemoryLog(12345);
  EXPECT_EQ(readFile(log), "attempted:          12345b\n\n" + system +
                               "kivmm core now:        48k\n"
                               "kivmm core limit:   24000k\n"
                               "kivmm swap now:         0k\n"
                               "kivmm swap limit: 1200000k\n"
                               "\n");

  // Each report replaces the last one.
  manager.services.erase("IKivMManager");
  resetServiceCaches();
  writeMemoryLog(0);
  EXPECT_EQ(readFile(log), system + "kivmm not available\n\n");
}

TEST_F(TovReallocTest, MemoryQueriesPreferAnActiveChecker) {
  FakeMemChecker* checker = install("IMemChecker", new FakeMemChecker);
  checker->figures[0] = 10;
  checker->figures[1] = 20;
  checker->figures[2] = 3;
  checker->figures[3] = 8;
  checker->processMemory = 777;
  EXPECT_EQ(getAvailableMemory(0.5, 1), 11);  // 10 + 3 * 0.5, truncated
  EXPECT_EQ(getFreePhysicalMemory(1), 10);
  EXPECT_EQ(getProcessMemory(1), 777);
  checker->status = 0xFFFFFFFFu;
  EXPECT_EQ(getAvailableMemory(0.5, 1), -1);
  EXPECT_EQ(getFreePhysicalMemory(1), -1);

  // An inactive checker leaves the figures to the system.
  checker->active = false;
  uint64_t sysFree = 0, sysTotal = 0, swapFree = 0, swapTotal = 0;
  ASSERT_EQ(getMemoryStatus(&sysFree, &sysTotal, &swapFree, &swapTotal, 1024), 0u);
  EXPECT_GT(sysTotal, 0u);
  EXPECT_LE(sysFree, sysTotal);
  EXPECT_LE(swapFree, swapTotal);
  EXPECT_GT(getProcessMemory(1024), 0);
  uint64_t current = 0, peak = 0;
  ASSERT_TRUE(getProcessWorkingSet(&current, &peak, 1024));
  EXPECT_GT(current, 0u);
  EXPECT_LE(current, peak);
  EXPECT_GT(getFreeVirtual(1024), 0);
  EXPECT_GT(getFreeAddressSpace(0, 1024), 0);
}

TEST_F(TovReallocDeathTest, MemLimitFollowsTheSetting) {
  // The listener lives once per process: run in a fresh one.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  store->doubles["Memory/MemLimit"] = 1.5e9;
  EXPECT_EXIT(
      {
        bool ok = getMemLimit() == 1500000000;
        ok = ok && store->listeners.size() == 1 && store->listeners[0].first == "Memory/MemLimit";
        auto* receiver = kivQuery<IKivDataReceiver>(store->listeners[0].second, "IKivDataReceiver");
        ok = ok && receiver;
        if (ok) {
          receiver->receiveDouble("Memory/MemLimit", 2e9);
          receiver->receiveDouble("Memory/Other", 5.0);
          ok = getMemLimit() == 2000000000;
        }
        std::exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  GTEST_FLAG_SET(death_test_style, "fast");
}

const char* const kMessage = "While running this function, you have run out of memory\\.\n"
                             "The application will close\\. After restarting, please read\n"
                             "the online help about \"Memory Optimization\"\\.";

TEST_F(TovReallocDeathTest, StopShowsTheMessageUnlessTheHostWantsItsServiceAndHasNone) {
  struct Case {
    const char* name;
    int useErrorService;
    bool errorService;
    bool renderer;
    int code;
    std::string output;
  };
  const std::string box = std::string("Out of Memory\n") + kMessage + "\n";
  const Case cases[] = {
      {"plain_box", 0, false, false, -4, "^" + box + "$"},
      {"box_between_hooks", 0, false, true, -1,
       "^\\[before hook\\]\n" + box + "\\[after hook\\]\n$"},
      {"service_not_wanted", 0, true, false, -2, "^" + box + "$"},
      {"service_wanted_and_present", 1, true, true, -3,
       std::string("^\\[before hook\\]\nreportError\\(realloc, modal=1, fatal=1\\): ") + kMessage +
           "\n\\[after hook\\]\n$"},
      {"service_wanted_but_missing", 1, false, true, -4, "^$"},
      {"code_out_of_range", 0, false, true, 0, "^$"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    manager.services.erase("IKivErrorService");
    manager.services.erase("IGfxRenderer");
    resetServiceCaches();
    store->ints["Memory/UseErrorService"] = c.useErrorService;
    if (c.errorService)
      install("IKivErrorService", new FakeErrorService);
    if (c.renderer)
      install("IGfxRenderer", new FakeRenderer);
    EXPECT_EXIT(stopForMemory(c.code), ::testing::ExitedWithCode(255), c.output);
  }
}

TEST_F(TovReallocDeathTest, ExhaustionEndsTheProcessWithAReport) {
  fs::path log = folder / "logs" / "memory.log";
  const std::string box = std::string("^Out of Memory\n") + kMessage + "\n$";

  // tovMalloc with nothing to give back.
  AllocScript all;
  all.failAll = true;
  inject(all);
  EXPECT_EXIT(tovMalloc(&block, kElement, 500), ::testing::ExitedWithCode(255), box);
  EXPECT_EQ(readFile(log).rfind("attempted:          32000b\n\nsystem free:", 0), 0u);
  fs::remove(log);

  // The spill file cannot be opened.
  setTovAllocFailureInjector(nullptr, nullptr);
  makeBlock(100);
  store->strings["Directories/Temp Directory"] = (folder / "missing").string();
  inject(all);
  EXPECT_EXIT(tovRealloc(&block, kElement, 100, 200, 1000), ::testing::ExitedWithCode(255), box);
  EXPECT_EQ(readFile(log).rfind("attempted:          12800b\n\n", 0), 0u);
  fs::remove(log);

  // The file takes the old contents, but the new block never comes; the
  // file is gone with the process.
  store->strings["Directories/Temp Directory"] = (folder / "temp").string();
  EXPECT_EXIT(tovRealloc(&block, kElement, 100, 200, 1000), ::testing::ExitedWithCode(255), box);
  EXPECT_EQ(readFile(log).rfind("attempted:          12800b\n\n", 0), 0u);
  EXPECT_TRUE(fs::is_empty(folder / "temp"));
}

} // namespace
