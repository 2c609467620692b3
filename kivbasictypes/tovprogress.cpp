//===- tovprogress.cpp - The tree of nested progress ranges ---------------===//
#include "kivbasictypes/tovprogress.h"

#include "core/classwalk.h"
#include "core/lookup.h"
#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/tovrealloc.h"

#include <cmath>

namespace {

constexpr int32_t kInitialDepth = 20;

float* newBounds(int32_t count) {
  float* bounds = nullptr;
  tovMallocT(&bounds, count + 1);
  return bounds;
}

} // namespace

//===- Layout ----------------------------------------------------------===//

TovProgress::Layout::Layout(TovProgress* owner, float from, float to)
    : owner(owner), from(from), to(to), bounds(newBounds(1)), index(0), count(1) {
  bounds[0] = 0.0f;
  bounds[1] = 1.0f;
}

TovProgress::Layout::~Layout() { tovFree(bounds); }

void TovProgress::Layout::setCount(int32_t n) {
  if (n != count) {
    tovFree(bounds);
    bounds = newBounds(n);
  }
  count = n;
  index = 0;
}

void TovProgress::Layout::clearDivision() {
  setCount(1);
  bounds[0] = 0.0f;
  bounds[1] = 1.0f;
}

void TovProgress::Layout::divideEqual(int32_t steps) {
  // A negative count would size the boundary array below one entry; it is
  // taken as 0, which gives the child the whole slice.
  int32_t n = steps < 0 ? 0 : steps;
  setCount(n);
  for (int32_t i = 0; i <= n; ++i)
    bounds[i] = n == 0 ? from : (float(i) / float(n)) * (to - from) + from;
}

template <class W>
void TovProgress::Layout::divideByWeights(const W* weights) {
  int32_t n = 0;
  double total = 0.0;
  if (weights)
    for (; weights[n] > 0; ++n)
      total += double(weights[n]);
  if (n == 0)
    total = 1.0;
  setCount(n);
  bounds[0] = from;
  double running = 0.0;
  for (int32_t i = 1; i <= n; ++i) {
    running += double(weights[i - 1]);
    bounds[i] = float(double(to - from) * (running / total) + double(from));
  }
}

void TovProgress::Layout::divideWeights(const float* weights) { divideByWeights(weights); }
void TovProgress::Layout::divideWeights(const double* weights) { divideByWeights(weights); }

void TovProgress::Layout::divideFractions(double a, double b) {
  setCount(1);
  bounds[0] = float(from + (to - from) * a);
  bounds[1] = float(from + (to - from) * b);
}

TovProgress::Layout* TovProgress::Layout::pushChild() {
  float childFrom = count == 0 ? from : bounds[index];
  float childTo = count == 0 ? to : bounds[index + 1];
  if (!owner)
    owner = TovProgress::serviceEngine();
  if (!owner)
    return nullptr;
  Layout* layout = new Layout(owner, childFrom, childTo);
  owner->push(layout);
  child = layout;
  return layout;
}

bool TovProgress::Layout::popChild() {
  bool result = owner ? owner->report(1.0f) : true;
  if (owner && child.get())
    owner->pop();
  child.clear();
  ++index;
  return result;
}

//===- TovProgress -----------------------------------------------------===//

TovProgress::TovProgress() : stack_(new IterStack<IPtr<Layout, KivShared>>(kInitialDepth)) {
  reset();
}

TovProgress::~TovProgress() { delete stack_; }

void TovProgress::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, className());
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivProgress");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "TovProgress", this, out) ||
      kivAnswer(name, "IKivProgress", static_cast<IKivProgress*>(this), out))
    return;
  kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}

bool TovProgress::report(float) { return true; }
bool TovProgress::isCancelled() { return false; }

void TovProgress::reset() {
  flag_ = 0;
  while (!stack_->isEmpty())
    pop();
  push(new Layout(this, 0.0f, 1.0f));
}

bool TovProgress::isPaused() { return false; }
void TovProgress::cancel() {}
void TovProgress::pause() {}
void TovProgress::resume() {}
void TovProgress::beginOperation() {}
void TovProgress::endOperation() {}
KivString TovProgress::title() { return KivString(); }
void TovProgress::setTitle(const KivString&) {}
void TovProgress::clearTitle() {}

float TovProgress::toGlobal(float fraction) {
  Layout* layout = top();
  return layout ? layout->from + (layout->to - layout->from) * fraction : fraction;
}

uint8_t TovProgress::getFlag() { return flag_; }
void TovProgress::setFlag(uint8_t value) { flag_ = value; }

TovProgress::Layout* TovProgress::top() const {
  return stack_->isEmpty() ? nullptr : stack_->at(stack_->count()).get();
}

TovProgress::Layout* TovProgress::at(int32_t level) const {
  return level >= 1 && level <= stack_->count() ? stack_->at(level).get() : nullptr;
}

void TovProgress::push(Layout* layout) { stack_->push(IPtr<Layout, KivShared>(layout)); }

void TovProgress::pop() {
  if (!stack_->isEmpty())
    stack_->pop().clear();
}

TovProgress* TovProgress::engineOf(IKivProgress* progress) {
  return kivQuery<TovProgress>(progress, "TovProgress");
}

TovProgress* TovProgress::serviceEngine() {
  static TovProgress* engine = [] {
    void* out = nullptr;
    if (!getObject("IKivProgress", &out) || !out)
      return static_cast<TovProgress*>(nullptr);
    return engineOf(static_cast<IKivProgress*>(out));
  }();
  return engine;
}

//===- Scoped objects --------------------------------------------------===//

TovProgressScope::TovProgressScope(IKivProgress* progress)
    : progress_(TovProgress::engineOf(progress)) {}

void TovProgressScope::setProgress(IKivProgress* progress) {
  TovProgress* engine = TovProgress::engineOf(progress);
  progress_ = engine;
  for (TovProgress::Layout* layout = layout_.get(); layout; layout = layout->child.get())
    layout->owner = engine;
}

IKivProgress* TovProgressScope::getProgress() { return progress_.get(); }

TovProgress::Layout* TovProgressScope::takeTop() {
  if (active_)
    return nullptr;
  if (!progress_)
    progress_ = TovProgress::serviceEngine();
  return progress_ ? progress_->top() : nullptr;
}

void TovProgressScope::open(TovProgress::Layout* layout) {
  if (!layout->owner)
    layout->owner = progress_.get();
  layout->pushChild();
  layout_ = layout;
  active_ = 1;
}

bool TovProgressScope::nextSegment() {
  TovProgress::Layout* layout = layout_.get();
  if (!layout)
    return false;
  if (layout->index + 1 >= layout->count)
    return layout->owner ? layout->owner->report(1.0f) : true;
  bool result = layout->popChild();
  layout->pushChild();
  return result;
}

bool TovProgressScope::endDivision() {
  bool result = false;
  if (TovProgress::Layout* layout = layout_.get()) {
    if (layout->child.get())
      layout->popChild();
    result = layout->owner ? layout->owner->report(1.0f) : true;
    layout->clearDivision();
  }
  layout_.clear();
  active_ = 0;
  return result;
}

namespace {

// The common enumeration and look-up of a scoped object.
template <class Scope, class Iface>
void answerScope(Scope* self, const char* className, const char* ifaceName, const char* name,
                 void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, className);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivProgressAccessor");
    kivWalkInterface(walk, ifaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, className, self, out) ||
      kivAnswer(name, "IKivProgressAccessor", static_cast<IKivProgressAccessor*>(self), out) ||
      kivAnswer(name, ifaceName, static_cast<Iface*>(self), out))
    return;
  kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<Iface*>(self)), out);
}

// A split and a subdivision also answer to their common base.
template <class Scope, class Iface>
void answerSplitScope(Scope* self, const char* className, const char* ifaceName, const char* name,
                      void** out) {
  if (name && std::strcmp(name, "IKivProgressSplitBase") == 0) {
    *out = static_cast<IKivProgressSplitBase*>(self);
    return;
  }
  answerScope<Scope, Iface>(self, className, ifaceName, name, out);
}

} // namespace

TovProgressSplit::TovProgressSplit(IKivProgress* progress) : TovProgressScope(progress) {}
TovProgressSplit::TovProgressSplit(int32_t steps, IKivProgress* progress)
    : TovProgressScope(progress) {
  begin(steps);
}
TovProgressSplit::~TovProgressSplit() {
  if (active_)
    endDivision();
}

void TovProgressSplit::queryInterface(const char* name, void** out) {
  answerSplitScope<TovProgressSplit, IKivProgressSplit>(this, "TovProgressSplit",
                                                        "IKivProgressSplit", name, out);
}

bool TovProgressSplit::begin(int32_t steps) {
  TovProgress::Layout* layout = takeTop();
  if (!layout)
    return false;
  layout->divideEqual(steps);
  open(layout);
  return true;
}

TovProgressSubdivide::TovProgressSubdivide(IKivProgress* progress) : TovProgressScope(progress) {}
TovProgressSubdivide::TovProgressSubdivide(const float* weights, IKivProgress* progress)
    : TovProgressScope(progress) {
  begin(weights);
}
TovProgressSubdivide::TovProgressSubdivide(const double* weights, IKivProgress* progress)
    : TovProgressScope(progress) {
  begin(weights);
}
TovProgressSubdivide::~TovProgressSubdivide() {
  if (active_)
    endDivision();
}

void TovProgressSubdivide::queryInterface(const char* name, void** out) {
  answerSplitScope<TovProgressSubdivide, IKivProgressSubdivide>(this, "TovProgressSubdivide",
                                                                "IKivProgressSubdivide", name, out);
}

bool TovProgressSubdivide::begin(const float* weights) {
  TovProgress::Layout* layout = takeTop();
  if (!layout)
    return false;
  layout->divideWeights(weights);
  open(layout);
  return true;
}

bool TovProgressSubdivide::begin(const double* weights) {
  TovProgress::Layout* layout = takeTop();
  if (!layout)
    return false;
  layout->divideWeights(weights);
  open(layout);
  return true;
}

TovProgressInfinite::TovProgressInfinite(IKivProgress* progress) : TovProgressScope(progress) {}
TovProgressInfinite::TovProgressInfinite(int32_t scale, IKivProgress* progress)
    : TovProgressScope(progress) {
  begin(scale);
}
TovProgressInfinite::~TovProgressInfinite() {
  if (active_)
    endDivision();
  tovFree(weights_);
}

void TovProgressInfinite::queryInterface(const char* name, void** out) {
  if (name && std::strcmp(name, "IKivProgressSplitBase") == 0) {
    *out = static_cast<IKivProgressSplitBase*>(this);
    return;
  }
  answerScope<TovProgressInfinite, IKivProgressInfinite>(this, "TovProgressInfinite",
                                                         "IKivProgressInfinite", name, out);
}

bool TovProgressInfinite::begin(int32_t scale) {
  TovProgress::Layout* layout = takeTop();
  if (!layout)
    return false;
  scale_ = scale < 2 ? 2 : scale;
  limit_ = 4 * scale_;
  tovFree(weights_);
  weights_ = nullptr;
  tovMallocT(&weights_, limit_ + 2);
  for (int32_t i = 0; i < limit_; ++i)
    weights_[i] = float(std::exp(-double(i) / double(scale_)));
  weights_[limit_] = 0.0f;
  weights_[limit_ + 1] = -1.0f;
  layout->divideWeights(weights_);
  position_ = 0;
  open(layout);
  return true;
}

bool TovProgressInfinite::next() {
  if (position_ > limit_)
    return true;
  ++position_;
  return nextSegment();
}

TovProgressBounds::TovProgressBounds(IKivProgress* progress) : TovProgressScope(progress) {}
TovProgressBounds::TovProgressBounds(int32_t i, int32_t j, int32_t n, IKivProgress* progress)
    : TovProgressScope(progress) {
  set(i, j, n);
}
TovProgressBounds::TovProgressBounds(double a, double b, IKivProgress* progress)
    : TovProgressScope(progress) {
  set(a, b);
}
TovProgressBounds::~TovProgressBounds() {
  if (active_)
    endDivision();
}

void TovProgressBounds::queryInterface(const char* name, void** out) {
  answerScope<TovProgressBounds, IKivProgressBounds>(this, "TovProgressBounds",
                                                     "IKivProgressBounds", name, out);
}

void TovProgressBounds::set(int32_t i, int32_t j, int32_t n) {
  double m = n < 1 ? 1.0 : double(n);
  set(double(i) / m, double(j) / m);
}

void TovProgressBounds::set(double a, double b) {
  TovProgress::Layout* layout = takeTop();
  if (!layout)
    return;
  layout->divideFractions(a, b);
  open(layout);
}

bool TovGlobalCallbackProgress::report(float fraction) {
  if (!callback)
    return true;
  return callback(fraction, context) != 0;
}
