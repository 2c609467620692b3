#include "kivbasictypes/progresscallbackbase.h"

#include "progressfakes.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class Reporter : public ProgressCallbackObject {
public:
  explicit Reporter(IKivProgress* progress) { setProgressObject(progress); }
};

TEST(ProgressCallbackBase, RangesMapFractionsToPerMillePositions) {
  struct Case {
    const char* name;
    int fromPercent, toPercent;
    float fraction;
    float reported;
    int getFrom, getTo;
  };
  const Case cases[] = {
      {"full_range_half", -1, -1, 0.5f, 0.5f, 0, 100},
      {"twenty_to_forty", 20, 40, 0.5f, 0.3f, 20, 40},
      {"above_hundred_limited", 50, 250, 1.0f, 1.0f, 50, 100},
      {"from_lowered_to_to", 80, 30, 0.9f, 0.3f, 30, 30},
      {"negative_from_left_alone", -5, 60, 0.5f, 0.3f, 0, 60},
      {"clamped_above_one", -1, -1, 7.0f, 1.0f, 0, 100},
      {"clamped_below_zero", 10, 20, -3.0f, 0.1f, 10, 20},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<RecordingProgress> progress(new RecordingProgress);
    Reporter reporter(progress.get());
    reporter.setRange(c.fromPercent, c.toPercent);
    int32_t from = -7, to = -7;
    reporter.getRange(&from, &to);
    EXPECT_EQ(from, c.getFrom);
    EXPECT_EQ(to, c.getTo);
    EXPECT_TRUE(reporter.reportFraction(c.fraction));
    ASSERT_EQ(progress->raw.size(), 1u);
    EXPECT_FLOAT_EQ(progress->raw[0], c.reported);
  }
}

TEST(ProgressCallbackBase, ReportsReachTheProgressAtMostOncePerMille) {
  IPtr<RecordingProgress> progress(new RecordingProgress);
  Reporter reporter(progress.get());
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(reporter.reportFraction(0.5f));
  EXPECT_EQ(progress->raw, std::vector<float>{0.5f});

  // A fresh pass from start(): 10^6 reports over the whole range.
  EXPECT_TRUE(reporter.start());
  progress->raw.clear();
  const int kReports = 1000000;
  for (int i = 0; i <= kReports; ++i)
    reporter.reportStep(i, kReports);
  EXPECT_LE(progress->raw.size(), 1000u);
  EXPECT_FLOAT_EQ(progress->raw.back(), 1.0f);
  for (size_t i = 1; i < progress->raw.size(); ++i)
    EXPECT_GT(progress->raw[i], progress->raw[i - 1]);
}

TEST(ProgressCallbackBase, CancellationIsRememberedUntilStart) {
  IPtr<RecordingProgress> progress(new RecordingProgress);
  Reporter reporter(progress.get());
  // Unchanged positions only ask whether the user cancelled.
  EXPECT_TRUE(reporter.reportFraction(0.0f));
  EXPECT_EQ(progress->cancelQueries, 1);
  progress->cancelled = true;
  EXPECT_FALSE(reporter.reportFraction(0.0f));
  EXPECT_TRUE(reporter.isCancelled());
  progress->cancelled = false;
  for (int i = 0; i < 3; ++i)
    EXPECT_FALSE(reporter.reportFraction(0.0f));
  EXPECT_EQ(progress->cancelQueries, 2);  // once seen, never asked again

  EXPECT_TRUE(reporter.start());
  EXPECT_FALSE(reporter.isCancelled());
  EXPECT_EQ(progress->raw.back(), 0.0f);

  // A false report sets the bit only while cancellation is looked for.
  progress->answer = false;
  EXPECT_FALSE(reporter.reportFraction(0.4f));
  EXPECT_TRUE(reporter.isCancelled());
  reporter.start();
  EXPECT_TRUE(reporter.setCheckCancel(false));
  EXPECT_FALSE(reporter.setCheckCancel(false));
  EXPECT_FALSE(reporter.reportFraction(0.6f));
  EXPECT_FALSE(reporter.isCancelled());
  EXPECT_TRUE(reporter.reportFraction(0.6f));
}

TEST(ProgressCallbackBase, SilentStatesReportNothing) {
  IPtr<RecordingProgress> progress(new RecordingProgress);
  Reporter reporter(progress.get());
  EXPECT_EQ(reporter.getFlags(), ProgressCallbackBase::kCheckCancel);

  // A copy stays silent until enabled, and ignores setRange while off.
  Reporter copy(reporter);
  copy.setRange(10, 20);
  int32_t from = 1, to = 1;
  copy.getRange(&from, &to);
  EXPECT_EQ(from, 0);
  EXPECT_EQ(to, 0);
  EXPECT_TRUE(copy.reportFraction(0.9f));
  EXPECT_TRUE(copy.start());
  EXPECT_TRUE(progress->raw.empty());
  copy.enable(true);
  copy.reportFraction(0.9f);
  ASSERT_EQ(progress->raw.size(), 1u);
  EXPECT_FLOAT_EQ(progress->raw[0], 0.9f);

  // Suspended reporting.
  progress->raw.clear();
  EXPECT_TRUE(reporter.setReporting(false));
  EXPECT_TRUE(reporter.reportFraction(0.2f));
  EXPECT_TRUE(reporter.finish());
  EXPECT_TRUE(progress->raw.empty());
  EXPECT_TRUE(reporter.setReporting(true));
  EXPECT_TRUE(reporter.finish());
  EXPECT_EQ(progress->raw, std::vector<float>{1.0f});

  // No progress object at all.
  Reporter orphan(nullptr);
  orphan.setProgressObject(nullptr);
  EXPECT_TRUE(orphan.reportFraction(0.5f));
  EXPECT_FALSE(orphan.isProgressCancelled());
}

TEST(ProgressCallbackBase, StateCopiesAndSwaps) {
  IPtr<RecordingProgress> progress(new RecordingProgress);
  Reporter source(progress.get());
  source.setRange(20, 40);
  source.reportFraction(0.5f);
  source.setCancelled(true);
  Reporter target(nullptr);
  target.setProgressObject(nullptr);
  target.setState(5, 6, 7);
  target.copyStateFrom(&source);
  int32_t from = 0, to = 0, current = -1;
  target.getState(&from, &to, &current);
  EXPECT_EQ(from, 200);
  EXPECT_EQ(to, 400);
  EXPECT_EQ(current, 0);
  EXPECT_TRUE(target.isCancelled());
  EXPECT_EQ(target.getProgressObject(), static_cast<IKivProgress*>(progress.get()));

  source.copyStateTo(&source);
  source.copyStateTo(nullptr);
  source.getState(nullptr, nullptr, &current);
  EXPECT_EQ(current, 300);

  Reporter other(nullptr);
  other.setProgressObject(nullptr);
  other.setState(1, 2, 3);
  other.swap(source);
  other.getState(&from, &to, &current);
  EXPECT_EQ(from, 200);
  EXPECT_EQ(current, 300);
  EXPECT_EQ(source.getProgressObject(), nullptr);
}

} // namespace
