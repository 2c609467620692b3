//===- progresscallbackbase.cpp - Throttled progress reporting mix-in -----===//
#include "kivbasictypes/progresscallbackbase.h"

#include "core/lookup.h"
#include "kivbasictypes/ikivprogress.h"

#include <atomic>
#include <utility>

namespace {

int32_t tenths(int32_t percent) {
  int64_t value = int64_t(percent) * 10;
  return value > 1000 ? 1000 : int32_t(value);
}

} // namespace

IKivProgress* ProgressCallbackBase::progressService() {
  static std::atomic<IKivProgress*> cached{nullptr};
  IKivProgress* progress = cached.load(std::memory_order_acquire);
  if (progress)
    return progress;
  void* out = nullptr;
  if (getObject("IKivProgress", &out) && out) {
    progress = static_cast<IKivProgress*>(out);
    cached.store(progress, std::memory_order_release);
  }
  return progress;
}

ProgressCallbackBase::ProgressCallbackBase()
    : from_(0), to_(1000), flags_(kCheckCancel), progress_(progressService()) {}

ProgressCallbackBase::ProgressCallbackBase(const ProgressCallbackBase& other)
    : from_(-1), to_(1000), flags_(other.flags_), progress_(other.progress_) {}

ProgressCallbackBase& ProgressCallbackBase::operator=(const ProgressCallbackBase& other) {
  if (this != &other) {
    from_ = -1;
    to_ = 1000;
    current_ = 0;
    flags_ = other.flags_;
    progress_ = other.progress_;
  }
  return *this;
}

ProgressCallbackBase::~ProgressCallbackBase() = default;

void ProgressCallbackBase::setRange(int32_t fromPercent, int32_t toPercent) {
  if (from_ < 0)
    return;
  if (fromPercent >= 0)
    from_ = tenths(fromPercent);
  if (toPercent >= 0)
    to_ = tenths(toPercent);
  if (from_ > to_)
    from_ = to_;
}

void ProgressCallbackBase::getRange(int32_t* fromPercent, int32_t* toPercent) {
  bool off = from_ < 0;
  if (fromPercent)
    *fromPercent = off ? 0 : from_ / 10;
  if (toPercent)
    *toPercent = off ? 0 : to_ / 10;
}

void ProgressCallbackBase::setState(int32_t from, int32_t to, int32_t current) {
  from_ = from;
  to_ = to;
  current_ = current;
}

void ProgressCallbackBase::getState(int32_t* from, int32_t* to, int32_t* current) {
  if (from)
    *from = from_;
  if (to)
    *to = to_;
  if (current)
    *current = current_;
}

void ProgressCallbackBase::enable(bool flag) {
  if (!flag) {
    from_ = -1;
    return;
  }
  from_ = 0;
  to_ = 1000;
  if (!progress_)
    progress_ = progressService();
}

void ProgressCallbackBase::copyStateTo(ProgressCallbackBase* other) {
  if (!other || other == this)
    return;
  other->from_ = from_;
  other->to_ = to_;
  other->flags_ = flags_;
  other->progress_ = progress_;
  other->current_ = 0;
}

void ProgressCallbackBase::copyStateFrom(ProgressCallbackBase* other) {
  if (other)
    other->copyStateTo(this);
}

bool ProgressCallbackBase::start() {
  if (from_ < 0 || !progress_ || (flags_ & kSuspended))
    return true;
  flags_ &= uint8_t(~kCancelled);
  current_ = 0;
  return progress_->report(0.0f);
}

bool ProgressCallbackBase::reportStep(int32_t i, int32_t n) {
  // n below 1 is a caller's fault; it is taken as 1 rather than dividing by
  // zero, which would hand a NaN on to the clamp.
  return reportFraction(float(i) / float(n < 1 ? 1 : n));
}

bool ProgressCallbackBase::reportFraction(float f) {
  if (from_ < 0 || !progress_ || (flags_ & kSuspended))
    return true;
  if (!(f >= 0.0f))  // also NaN
    f = 0.0f;
  else if (f > 1.0f)
    f = 1.0f;
  int32_t p = from_ + int32_t(float(to_ - from_) * f);
  if (p != current_) {
    current_ = p;
    if (progress_->report(float(p) * 0.001f))
      return true;
    if (flags_ & kCheckCancel)
      flags_ |= kCancelled;
    return false;
  }
  if (!(flags_ & kCheckCancel))
    return true;
  if (flags_ & kCancelled)
    return false;
  if (progress_->isCancelled()) {
    flags_ |= kCancelled;
    return false;
  }
  return true;
}

bool ProgressCallbackBase::finish() {
  if (from_ < 0 || !progress_ || (flags_ & kSuspended))
    return true;
  flags_ &= uint8_t(~kCancelled);
  current_ = 0;
  return progress_->report(1.0f);
}

bool ProgressCallbackBase::setCheckCancel(bool flag) {
  uint8_t old = flags_;
  flags_ = flag ? uint8_t(flags_ | kCheckCancel) : uint8_t(flags_ & ~kCheckCancel);
  return old != flags_;
}

bool ProgressCallbackBase::isCancelled() { return (flags_ & kCancelled) != 0; }

bool ProgressCallbackBase::setReporting(bool flag) {
  uint8_t old = flags_;
  flags_ = flag ? uint8_t(flags_ & ~kSuspended) : uint8_t(flags_ | kSuspended);
  return old != flags_;
}

bool ProgressCallbackBase::setCancelled(bool flag) {
  flags_ = flag ? uint8_t(flags_ | kCancelled) : uint8_t(flags_ & ~kCancelled);
  return true;
}

uint8_t ProgressCallbackBase::getFlags() { return flags_; }

bool ProgressCallbackBase::isProgressCancelled() {
  return progress_ && progress_->isCancelled();
}

bool ProgressCallbackBase::setProgressObject(IKivProgress* progress) {
  progress_ = progress;
  return true;
}

IKivProgress* ProgressCallbackBase::getProgressObject() { return progress_; }

void ProgressCallbackBase::swap(ProgressCallbackBase& other) {
  std::swap(from_, other.from_);
  std::swap(to_, other.to_);
  std::swap(current_, other.current_);
  std::swap(flags_, other.flags_);
  std::swap(progress_, other.progress_);
}
