#include "host/hostprogress.h"

#include "core/lookup.h"
#include "host/hostbusystate.h"
#include "host/referencehost.h"
#include "kivbasictypes/kivstring.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

// A progress line written into a temporary file, on a clock the test moves.
struct Line {
  explicit Line(bool terminal, bool catchInterrupt = false) {
    file = std::tmpfile();
    HostProgressOptions options;
    options.out = file;
    options.isTerminal = terminal ? 1 : 0;
    options.clock = [this] { return now; };
    options.catchInterrupt = catchInterrupt;
    options.barWidth = 10;
    progress = new HostProgress(options);
  }
  ~Line() {
    progress.clear();
    std::fclose(file);
  }
  std::string text() {
    std::fflush(file);
    std::rewind(file);
    std::string out;
    char buffer[512];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0)
      out.append(buffer, n);
    return out;
  }

  std::FILE* file;
  double now = 0.0;
  IPtr<HostProgress> progress;
};

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(HostProgress, DrawsThrottledLinesThatNeverGoBack) {
  struct Step {
    double time;
    float fraction;
    int redrawsAfter;
  };
  const Step steps[] = {
      {0.00, 0.05f, 1},  // the operation begins: 0 % is always shown
      {0.05, 0.10f, 1},  // within a tenth of a second: nothing drawn
      {0.20, 0.20f, 2},
      {0.40, 0.15f, 3},  // drawn, but still at 20 %
      {0.45, 1.00f, 4},  // the final 100 % is always shown
      {0.46, 1.00f, 4},  // a repeated end starts nothing new
  };
  Line line(true);
  for (const Step& step : steps) {
    line.now = step.time;
    EXPECT_TRUE(line.progress->report(step.fraction));
    EXPECT_EQ(line.progress->redraws(), step.redrawsAfter) << step.time;
  }
  std::string out = line.text();
  EXPECT_TRUE(contains(out, "\r  0% [----------] 00:00 elapsed, --:-- left"));
  EXPECT_TRUE(contains(out, "\r 20% [##--------] 00:00 elapsed, 00:01 left"));
  EXPECT_TRUE(contains(out, "\r100% [##########] 00:00 elapsed, 00:00 left"));
  EXPECT_FALSE(contains(out, " 15%"));
  EXPECT_EQ(out.back(), '\n');
}

TEST(HostProgress, TitleChangesAreShownAtOnce) {
  Line line(true);
  line.progress->beginOperation();
  line.now = 0.01;
  line.progress->setTitleUtf8("Converting");
  EXPECT_EQ(line.progress->redraws(), 2);
  EXPECT_TRUE(contains(line.text(), "\rConverting   0%"));
  line.progress->setTitle(KivString("Converting"));  // unchanged: no redraw
  EXPECT_EQ(line.progress->redraws(), 2);
  line.progress->endOperation();
  EXPECT_EQ(line.text().back(), '\n');
}

TEST(HostProgress, WritesNothingWithoutATerminal) {
  Line line(false);
  EXPECT_TRUE(line.progress->report(0.5f));
  EXPECT_TRUE(line.progress->report(1.0f));
  EXPECT_EQ(line.text(), "");
  EXPECT_FLOAT_EQ(line.progress->shownFraction(), 1.0f);
}

TEST(HostProgress, InterruptBecomesACancellationAtTheNextReport) {
  Line line(false, true);
  EXPECT_TRUE(line.progress->report(0.1f));
  line.progress->simulateInterrupt();
  EXPECT_TRUE(line.progress->isCancelled());
  EXPECT_FALSE(line.progress->report(0.2f));
  // A new operation starts uncancelled.
  line.progress->beginOperation();
  EXPECT_FALSE(line.progress->isCancelled());
  EXPECT_TRUE(line.progress->report(0.3f));
  line.progress->cancel();
  EXPECT_FALSE(line.progress->report(0.4f));
  line.progress->endOperation();
}

TEST(HostProgress, ReferenceHostOffersProgressAndBusyServices) {
  ReferenceHostOptions options;
  options.echo = false;
  options.logFile = false;
  options.progress.isTerminal = 0;
  ReferenceHost host(options);
  void* out = nullptr;
  ASSERT_TRUE(getObject("IKivProgress", &out));
  EXPECT_EQ(out, static_cast<void*>(static_cast<IKivProgress*>(host.progress())));

  // Two requests, two callback instances, each with its own tree.
  void* first = nullptr;
  void* second = nullptr;
  ASSERT_TRUE(getObject("IKivProgressCallbackInstance", &first));
  ASSERT_TRUE(getObject("IKivProgressCallbackInstance", &second));
  IPtr<IKivProgressCallbackInstance> a(static_cast<IKivProgressCallbackInstance*>(first));
  IPtr<IKivProgressCallbackInstance> b(static_cast<IKivProgressCallbackInstance*>(second));
  EXPECT_NE(a.get(), b.get());
  EXPECT_NE(kivQuery<IKivProgress>(a.get(), "IKivProgress"), nullptr);
  a->cancel();
  EXPECT_TRUE(a->isCancelled());
  EXPECT_FALSE(b->isCancelled());

  // Busy blocks count while they live.
  ASSERT_TRUE(getObject("IGuiBusyState", &out));
  auto* state = static_cast<IGuiBusyState*>(out);
  EXPECT_FALSE(state->isBusy());
  {
    ASSERT_TRUE(getObject("IGuiBusyBlock", &out));
    IPtr<IGuiBusyBlock> block(static_cast<IGuiBusyBlock*>(out));
    block->begin(KivString(), 0);
    block->begin(KivString(), 0);  // one block, however often begun
    EXPECT_TRUE(state->isBusy());
    EXPECT_EQ(host.busyState()->openBlocks(), 1);
  }
  EXPECT_FALSE(state->isBusy());
  EXPECT_EQ(host.busyState()->totalBlocks(), 1);
}

} // namespace
