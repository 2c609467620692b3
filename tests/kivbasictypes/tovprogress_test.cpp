#include "kivbasictypes/tovprogress.h"

#include "progressfakes.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<float> boundsOf(const TovProgress::Layout* layout) {
  return std::vector<float>(layout->bounds, layout->bounds + layout->count + 1);
}

struct DivisionCase {
  const char* name;
  std::vector<double> weights;  // empty: equal steps
  int steps;
  std::vector<float> bounds;
  float childFrom;
  float childTo;
};

TEST(TovProgress, DivisionsGiveTheirBoundaries) {
  const DivisionCase cases[] = {
      {"four_equal_steps", {}, 4, {0.0f, 0.25f, 0.5f, 0.75f, 1.0f}, 0.0f, 0.25f},
      {"one_step", {}, 1, {0.0f, 1.0f}, 0.0f, 1.0f},
      {"weights_3_1", {3, 1, 0}, 0, {0.0f, 0.75f, 1.0f}, 0.0f, 0.75f},
      {"weights_end_at_negative", {1, 1, -1, 5}, 0, {0.0f, 0.5f, 1.0f}, 0.0f, 0.5f},
      {"weights_start_with_zero", {0, 3}, 0, {0.0f}, 0.0f, 1.0f},
  };
  for (const DivisionCase& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<RecordingProgress> engine(new RecordingProgress);
    TovProgress::Layout* root = engine->top();
    if (c.weights.empty()) {
      TovProgressSplit split(engine.get());
      ASSERT_TRUE(split.begin(c.steps));
      EXPECT_EQ(boundsOf(root), c.bounds);
      EXPECT_EQ(engine->depth(), 2);
      EXPECT_FLOAT_EQ(engine->top()->from, c.childFrom);
      EXPECT_FLOAT_EQ(engine->top()->to, c.childTo);
    } else {
      std::vector<double> weights = c.weights;
      weights.push_back(0);
      TovProgressSubdivide split(engine.get());
      ASSERT_TRUE(split.begin(weights.data()));
      EXPECT_EQ(boundsOf(root), c.bounds);
      EXPECT_FLOAT_EQ(engine->top()->from, c.childFrom);
      EXPECT_FLOAT_EQ(engine->top()->to, c.childTo);
      // The float form divides the same way.
      std::vector<float> floats(weights.begin(), weights.end());
      IPtr<RecordingProgress> other(new RecordingProgress);
      TovProgressSubdivide floatSplit(other.get());
      ASSERT_TRUE(floatSplit.begin(floats.data()));
      EXPECT_EQ(boundsOf(other->at(1)), c.bounds);
    }
  }
}

TEST(TovProgress, ReportsMapThroughNestedSegments) {
  IPtr<RecordingProgress> engine(new RecordingProgress);
  TovProgressSplit outer(4, engine.get());
  ASSERT_TRUE(outer.next());
  EXPECT_FLOAT_EQ(engine->toGlobal(0.5f), 0.375f);
  // Popping the first child reported its completion while it was on top.
  ASSERT_EQ(engine->global.size(), 1u);
  EXPECT_FLOAT_EQ(engine->global[0], 0.25f);

  IPtr<RecordingProgress> halves(new RecordingProgress);
  TovProgressSplit half(2, halves.get());
  half.next();
  {
    TovProgressSplit inner(2, halves.get());
    ASSERT_EQ(halves->depth(), 3);
    EXPECT_EQ(boundsOf(halves->at(2)), (std::vector<float>{0.5f, 0.75f, 1.0f}));
    EXPECT_FLOAT_EQ(halves->top()->from, 0.5f);
    EXPECT_FLOAT_EQ(halves->top()->to, 0.75f);
    inner.next();
    EXPECT_FLOAT_EQ(halves->top()->from, 0.75f);
    EXPECT_FLOAT_EQ(halves->top()->to, 1.0f);
  }
  // The inner scope ended: its child is gone and the half it divided is fresh.
  EXPECT_EQ(halves->depth(), 2);
  EXPECT_FLOAT_EQ(halves->toGlobal(0.0f), 0.5f);
}

TEST(TovProgress, NextPastTheLastSegmentReportsCompletionAndStays) {
  IPtr<RecordingProgress> engine(new RecordingProgress);
  TovProgressSplit split(2, engine.get());
  EXPECT_TRUE(split.next());
  engine->global.clear();
  for (int i = 0; i < 5; ++i)
    EXPECT_TRUE(split.next());
  EXPECT_EQ(engine->global, std::vector<float>(5, 1.0f));
  EXPECT_EQ(engine->depth(), 2);
  EXPECT_FLOAT_EQ(engine->top()->from, 0.5f);

  // A false answer is handed on, the tree keeps working.
  engine->answer = false;
  EXPECT_FALSE(split.next());
  EXPECT_FALSE(split.end());
  EXPECT_TRUE(split.isDone());
  EXPECT_EQ(engine->depth(), 1);
}

TEST(TovProgress, SecondBeginIsRefusedAndKeepsTheFirstDivision) {
  IPtr<RecordingProgress> engine(new RecordingProgress);
  TovProgressSplit split(engine.get());
  ASSERT_TRUE(split.begin(4));
  EXPECT_FALSE(split.begin(2));
  EXPECT_EQ(engine->top()->to, 0.25f);
  EXPECT_EQ(engine->depth(), 2);
  EXPECT_TRUE(split.isActive());
}

TEST(TovProgress, EndReportsAndRestoresAFreshLayout) {
  IPtr<RecordingProgress> engine(new RecordingProgress);
  TovProgress::Layout* root = engine->top();
  {
    TovProgressSplit split(4, engine.get());
    split.next();
    engine->global.clear();
  }
  // Closing the open child (0.25..0.5) and then the division itself.
  EXPECT_EQ(engine->global, (std::vector<float>{0.5f, 1.0f}));
  EXPECT_EQ(engine->depth(), 1);
  EXPECT_EQ(root->count, 1);
  EXPECT_EQ(root->index, 0);
  EXPECT_EQ(boundsOf(root), (std::vector<float>{0.0f, 1.0f}));
}

TEST(TovProgress, ResetLeavesLiveScopesHarmless) {
  IPtr<RecordingProgress> engine(new RecordingProgress);
  TovProgressSplit split(3, engine.get());
  engine->setFlag(7);
  engine->reset();
  EXPECT_EQ(engine->getFlag(), 0);
  EXPECT_EQ(engine->depth(), 1);
  engine->global.clear();
  EXPECT_FALSE(split.next());
  EXPECT_FALSE(split.end());
  EXPECT_TRUE(engine->global.empty());
  EXPECT_EQ(engine->depth(), 1);
}

TEST(TovProgress, BoundsOpenOneSliceUntilDestroyed) {
  struct Case {
    const char* name;
    int i, j, n;
    float from, to;
  };
  const Case cases[] = {
      {"quarter_to_three_quarters", 1, 3, 4, 0.25f, 0.75f},
      {"n_zero_taken_as_one", 0, 1, 0, 0.0f, 1.0f},
      {"whole", 0, 5, 5, 0.0f, 1.0f},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    IPtr<RecordingProgress> engine(new RecordingProgress);
    {
      TovProgressBounds bounds(c.i, c.j, c.n, engine.get());
      EXPECT_FLOAT_EQ(engine->top()->from, c.from);
      EXPECT_FLOAT_EQ(engine->top()->to, c.to);
      EXPECT_FLOAT_EQ(engine->toGlobal(0.5f), (c.from + c.to) / 2);
    }
    EXPECT_EQ(engine->depth(), 1);
    EXPECT_EQ(engine->global, (std::vector<float>{c.to, 1.0f}));
  }
}

TEST(TovProgress, InfiniteStepsShrinkAndNeverOverrun) {
  IPtr<RecordingProgress> engine(new RecordingProgress);
  TovProgressInfinite infinite(1, engine.get());  // scale raised to 2, limit 8
  TovProgress::Layout* root = engine->at(1);
  ASSERT_NE(root, nullptr);
  ASSERT_EQ(root->count, 8);
  float previous = 2.0f;
  for (int i = 0; i < 8; ++i) {
    float width = root->bounds[i + 1] - root->bounds[i];
    EXPECT_LT(width, previous);
    previous = width;
  }
  EXPECT_FLOAT_EQ(root->bounds[8], 1.0f);
  for (int i = 0; i < 20; ++i)
    EXPECT_TRUE(infinite.next());
  EXPECT_EQ(root->index, 7);
}

TEST(TovProgress, SetProgressRebindsOpenLayouts) {
  IPtr<RecordingProgress> first(new RecordingProgress);
  IPtr<RecordingProgress> second(new RecordingProgress);
  TovProgressSplit split(2, first.get());
  split.setProgress(second.get());
  EXPECT_EQ(split.getProgress(), static_cast<IKivProgress*>(second.get()));
  split.next();
  // The report of the closed segment now goes to the new engine.
  EXPECT_TRUE(first->raw.empty());
  EXPECT_EQ(second->raw, (std::vector<float>{1.0f}));
}

int32_t countingCallback(float fraction, void* context) {
  auto* seen = static_cast<std::vector<float>*>(context);
  seen->push_back(fraction);
  return fraction < 0.5f ? 1 : 0;
}

TEST(TovProgress, GlobalCallbackProgressPassesFractionsUnmapped) {
  IPtr<TovGlobalCallbackProgress> progress(new TovGlobalCallbackProgress);
  EXPECT_TRUE(progress->report(0.7f));
  std::vector<float> seen;
  progress->callback = countingCallback;
  progress->context = &seen;
  TovProgressSplit split(4, progress.get());
  split.next();
  EXPECT_TRUE(progress->report(0.25f));
  EXPECT_FALSE(progress->report(0.75f));
  EXPECT_EQ(seen, (std::vector<float>{1.0f, 0.25f, 0.75f}));
}

} // namespace
