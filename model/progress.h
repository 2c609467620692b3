//===- progress.h - The process-wide progress and its instances -*- C++ -*-===//
//
// Progress forwards every request to the host's IKivProgressCallback and
// keeps no state of its own. "Connecting" operations fetch a missing callback
// first (and do nothing if there still is none); "present only" operations use
// the stored one; the "required" ones (hostCall9, 11, 12, 13) may only be
// called once a callback exists. A ProgressInstance gets its own callback
// object ("IKivProgressCallbackInstance") on first connection. No lock: the
// first connection must happen before threads share the object.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "model/iprogress.h"
#include "model/primitive.h"

class Progress : public Primitive, public IProgress {
public:
  Progress();
  explicit Progress(bool connect);
  ~Progress() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "Progress"; }

  void hostCall0(intptr_t arg) override;
  void cancel() override;
  bool isCancelled() override;
  void pause() override;
  void resume() override;
  bool isPaused() override;
  void report(float fraction) override;
  void interrupt() override;
  void hostCall8(float value) override;
  void hostCall9() override;
  bool hostCall10() override;
  void hostCall11(intptr_t arg) override;
  void hostCall12() override;
  void hostCall13() override;
  void hostCall14(intptr_t arg) override;
  void hostCall15() override;
  IKivProgressCallback* callback() override;
  bool setCallback(IKivProgressCallback* callback) override;

protected:
  IPtr<IKivProgressCallback> callback_;
};

class ProgressInstance : public Progress, public IProgressInstance {
public:
  ProgressInstance();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "ProgressInstance"; }
  IKivProgressCallback* callback() override;

  // IProgressInstance reaches the same operations as Progress.
  void hostCall0(intptr_t arg) override { Progress::hostCall0(arg); }
  void cancel() override { Progress::cancel(); }
  bool isCancelled() override { return Progress::isCancelled(); }
  void pause() override { Progress::pause(); }
  void resume() override { Progress::resume(); }
  bool isPaused() override { return Progress::isPaused(); }
  void report(float fraction) override { Progress::report(fraction); }
  void interrupt() override { Progress::interrupt(); }
  void hostCall8(float value) override { Progress::hostCall8(value); }
  void hostCall9() override { Progress::hostCall9(); }
  bool hostCall10() override { return Progress::hostCall10(); }
  void hostCall11(intptr_t arg) override { Progress::hostCall11(arg); }
  void hostCall12() override { Progress::hostCall12(); }
  void hostCall13() override { Progress::hostCall13(); }
  void hostCall14(intptr_t arg) override { Progress::hostCall14(arg); }
  void hostCall15() override { Progress::hostCall15(); }
  bool setCallback(IKivProgressCallback* cb) override { return Progress::setCallback(cb); }
};

// The process-wide progress service, cached at first use (empty for good if
// the service was missing then), and the same object as its class.
IProgress* processProgress();
Progress* processProgressObject();
