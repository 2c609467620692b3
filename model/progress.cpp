//===- progress.cpp - The process-wide progress and its instances ---------===//
#include "model/progress.h"

#include "core/classwalk.h"

Progress::Progress() : Progress(true) {}

Progress::Progress(bool connect) {
  if (connect)
    callback();
}

// The callback's reference goes with the IPtr; nothing is called on it.
Progress::~Progress() = default;

void Progress::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "Progress");
    Primitive::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IProgress");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "Progress", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<IProgress*>(this)), out))
    return;
  Primitive::queryInterface(name, out);
  if (!*out)
    kivAnswer(name, "IProgress", static_cast<IProgress*>(this), out);
}

IKivProgressCallback* Progress::callback() {
  if (callback_)
    return callback_.get();
  callback_.clear();
  void* out = nullptr;
  if (getObject("IKivProgressCallback", &out) && out)
    callback_ = static_cast<IKivProgressCallback*>(out);
  return callback_.get();
}

bool Progress::setCallback(IKivProgressCallback* cb) {
  callback_ = cb;
  return true;
}

// Connecting operations.
void Progress::hostCall0(intptr_t arg) {
  if (IKivProgressCallback* cb = callback())
    cb->call6(arg);
}
void Progress::cancel() {
  if (IKivProgressCallback* cb = callback())
    cb->cancel();
}
void Progress::resume() {
  if (IKivProgressCallback* cb = callback())
    cb->resume();
}
void Progress::report(float fraction) {
  if (IKivProgressCallback* cb = callback())
    cb->report(fraction);
}
void Progress::interrupt() {
  if (IKivProgressCallback* cb = callback())
    cb->interrupt();
}
void Progress::hostCall8(float value) {
  if (IKivProgressCallback* cb = callback())
    cb->call10(value);
}
void Progress::hostCall14(intptr_t arg) {
  if (IKivProgressCallback* cb = callback())
    cb->call4(arg);
}

// Present-only operations: a missing callback is not fetched.
bool Progress::isCancelled() { return callback_ ? callback_->isCancelled() : false; }
void Progress::pause() {
  if (callback_)
    callback_->pause();
}
bool Progress::isPaused() { return callback_ ? callback_->isPaused() : false; }
bool Progress::hostCall10() { return callback_ ? callback_->call12() : false; }
void Progress::hostCall15() {
  if (callback_)
    callback_->call5();
}

// Required operations: the caller guarantees that a callback exists.
void Progress::hostCall9() { callback_->call11(); }
void Progress::hostCall11(intptr_t arg) { callback()->call14(arg); }
void Progress::hostCall12() { callback()->call15(); }
void Progress::hostCall13() { callback()->call16(); }

ProgressInstance::ProgressInstance() : Progress(false) {}

void ProgressInstance::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "ProgressInstance");
    Progress::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IProgressInstance");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "ProgressInstance", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<Progress*>(this)), out) ||
      kivAnswer(name, "IProgressInstance", static_cast<IProgressInstance*>(this), out))
    return;
  Progress::queryInterface(name, out);
}

IKivProgressCallback* ProgressInstance::callback() {
  if (callback_)
    return callback_.get();
  void* out = nullptr;
  IKivProgressCallback* cb = nullptr;
  if (getObject("IKivProgressCallbackInstance", &out) && out)
    cb = static_cast<IKivProgressCallback*>(out);
  setCallback(cb);
  return callback_.get();
}

IProgress* processProgress() {
  static SPtr<IProgress> progress("IProgress");
  return progress.get();
}

Progress* processProgressObject() {
  static Progress* object = kivQuery<Progress>(processProgress(), "Progress");
  return object;
}
