//===- hostprogress.h - The host's progress line and callbacks --*- C++ -*-===//
//
// HostProgress is the service "IKivProgress": one progress line on a
// terminal (title, percentage, bar, elapsed and remaining time), redrawn at
// most every `minRedrawSeconds`, but always for 0 %, for each new title and
// for the final 100 %. The shown figure never moves backwards within an
// operation. Nothing is written when the output is not a terminal. While an
// operation runs, Ctrl-C becomes a cancellation that the operation sees at its
// next report (false) or isCancelled(); a second Ctrl-C while one is pending
// ends the process as usual.
//
// HostProgressCallback is the service "IKivProgressCallback" (the callback of
// the process-wide Progress): it forwards to HostProgress and answers
// "IKivProgress" with it. HostProgressCallbackInstance is made anew for each
// request of "IKivProgressCallbackInstance": each job gets its own cancel and
// pause state and its own progress tree. A paused job waits inside its next
// report or cancellation check until it is resumed or cancelled.
//
// Invariants a user must know:
//  - All operations may be called from any thread.
//  - An operation runs from beginOperation() (or the first report after a
//    reset, a title or the previous end) to the report of 100 %,
//    endOperation() or interrupt(); a cancellation lasts until the next one
//    begins.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/tovprogress.h"
#include "model/iprogress.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>

struct HostProgressOptions {
  // Where the line goes; null: stderr.
  std::FILE* out = nullptr;
  // -1: ask the system whether `out` is a terminal; 0 or 1: as given.
  int isTerminal = -1;
  // Seconds on a monotonic clock; empty: the system's.
  std::function<double()> clock;
  double minRedrawSeconds = 0.1;
  // Whether Ctrl-C is caught while an operation runs.
  bool catchInterrupt = true;
  int barWidth = 30;
};

class HostProgress : public TovProgress {
public:
  explicit HostProgress(const HostProgressOptions& options = HostProgressOptions());
  ~HostProgress() override;

  const char* className() const override { return "HostProgress"; }

  bool report(float fraction) override;
  bool isCancelled() override;
  void reset() override;
  bool isPaused() override;
  void cancel() override;
  void pause() override;
  void resume() override;
  void beginOperation() override;
  void endOperation() override;
  KivString title() override;
  void setTitle(const KivString& title) override;
  void clearTitle() override;

  // As the Ctrl-C handler does: a cancellation seen at the next report.
  void simulateInterrupt();
  // Ends the line where it stands (an interrupted operation).
  void interruptOperation();
  void setTitleUtf8(const std::string& title);

  // What the line shows now, 0 to 1, and how many times it was drawn.
  float shownFraction() const;
  int redraws() const;

private:
  double now() const;
  void beginLocked();
  void endLocked(bool complete);
  void drawLocked(float fraction);
  void armInterrupt();
  void disarmInterrupt();

  HostProgressOptions options_;
  bool terminal_;
  mutable std::mutex lock_;
  std::condition_variable resumed_;
  std::string title_;
  bool active_ = false;
  bool titleChanged_ = false;
  bool paused_ = false;
  bool lineOpen_ = false;
  bool armed_ = false;
  std::atomic<bool> cancelled_{false};
  float shown_ = 0.0f;
  double started_ = 0.0;
  double lastDraw_ = -1.0;
  int redraws_ = 0;
  int drawnPercent_ = -1;
};

class HostProgressCallback : public IKivProgressCallback {
public:
  explicit HostProgressCallback(HostProgress* progress) : progress_(progress) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostProgressCallback"; }

  void cancel() override { progress_->cancel(); }
  bool isCancelled() override { return progress_->isCancelled(); }
  void report(float fraction) override { progress_->report(fraction); }
  void interrupt() override { progress_->interruptOperation(); }
  void call4(intptr_t) override {}
  void call5() override {}
  void call6(intptr_t) override {}
  void pause() override { progress_->pause(); }
  void resume() override { progress_->resume(); }
  bool isPaused() override { return progress_->isPaused(); }
  void call10(float) override {}
  void call11() override {}
  bool call12() override { return false; }
  void call14(intptr_t) override {}
  void call15() override {}
  void call16() override {}

private:
  IPtr<HostProgress> progress_;
};

class HostProgressCallbackInstance : public IKivProgressCallbackInstance {
public:
  HostProgressCallbackInstance();
  ~HostProgressCallbackInstance() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostProgressCallbackInstance"; }

  void cancel() override;
  bool isCancelled() override { return cancelled_.load(); }
  void report(float fraction) override;
  void interrupt() override {}
  void call4(intptr_t) override {}
  void call5() override {}
  void call6(intptr_t) override {}
  void pause() override;
  void resume() override;
  bool isPaused() override;
  void call10(float) override {}
  void call11() override {}
  bool call12() override { return false; }
  void call14(intptr_t) override {}
  void call15() override {}
  void call16() override {}

  // The job's last reported fraction of its whole range.
  float fraction() const { return fraction_.load(); }
  // Waits while paused; false once cancelled.
  bool waitWhilePaused();
  // How many times a paused job began to wait; and a wait, for observers,
  // until that count reaches `atLeast` (false on time-out).
  int pausedWaits() const;
  bool waitForPausedWaits(int atLeast, double seconds);

private:
  class Tree;

  IPtr<Tree> tree_;
  mutable std::mutex lock_;
  std::condition_variable changed_;
  bool paused_ = false;
  int pausedWaits_ = 0;
  std::atomic<bool> cancelled_{false};
  std::atomic<float> fraction_{0.0f};
};

// A service that answers its name with a new object each time, for names
// that stand for "a new one per request" ("IKivProgressCallbackInstance",
// "IGuiBusyBlock"). The new object carries no reference.
class HostObjectMaker : public IKivUnknown {
public:
  using Make = std::function<void*()>;
  HostObjectMaker(const char* name, Make make) : name_(name), make_(std::move(make)) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostObjectMaker"; }

private:
  std::string name_;
  Make make_;
};
