//===- hostprogress.cpp - The host's progress line and callbacks ----------===//
#include "host/hostprogress.h"

#include "kivbasictypes/kivstring.h"

#include <algorithm>
#include <chrono>
#include <csignal>

#include <unistd.h>

namespace {

// Ctrl-C while an operation runs: 0 none, 1 one pending. A second one while
// one is pending gives the signal its usual effect.
std::atomic<int> gInterrupt{0};
struct sigaction gPreviousAction;

void onInterrupt(int signal) {
  if (gInterrupt.exchange(1) == 1) {
    std::signal(signal, SIG_DFL);
    std::raise(signal);
  }
}

double steadySeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

std::string clockText(double seconds) {
  if (!(seconds >= 0.0) || seconds > 359999.0)
    return "--:--";
  long total = long(seconds);
  char text[32];
  if (total >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", total / 3600, total / 60 % 60, total % 60);
  else
    std::snprintf(text, sizeof text, "%02ld:%02ld", total / 60, total % 60);
  return text;
}

} // namespace

//===- HostProgress ----------------------------------------------------===//

HostProgress::HostProgress(const HostProgressOptions& options) : options_(options) {
  if (!options_.out)
    options_.out = stderr;
  terminal_ = options_.isTerminal >= 0 ? options_.isTerminal != 0
                                        : isatty(fileno(options_.out)) != 0;
}

HostProgress::~HostProgress() {
  std::lock_guard<std::mutex> guard(lock_);
  if (active_)
    endLocked(false);
}

double HostProgress::now() const { return options_.clock ? options_.clock() : steadySeconds(); }

void HostProgress::armInterrupt() {
  if (!options_.catchInterrupt || armed_)
    return;
  gInterrupt.store(0);
  struct sigaction action {};
  action.sa_handler = onInterrupt;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &gPreviousAction);
  armed_ = true;
}

void HostProgress::disarmInterrupt() {
  if (!armed_)
    return;
  sigaction(SIGINT, &gPreviousAction, nullptr);
  armed_ = false;
}

void HostProgress::beginLocked() {
  active_ = true;
  cancelled_.store(false);
  shown_ = 0.0f;
  started_ = now();
  lastDraw_ = -1.0;
  drawnPercent_ = -1;
  armInterrupt();
  drawLocked(0.0f);
}

void HostProgress::endLocked(bool complete) {
  if (complete)
    drawLocked(1.0f);
  if (lineOpen_) {
    std::fputc('\n', options_.out);
    std::fflush(options_.out);
    lineOpen_ = false;
  }
  active_ = false;
  disarmInterrupt();
}

void HostProgress::drawLocked(float fraction) {
  titleChanged_ = false;
  double t = now();
  lastDraw_ = t;
  if (!terminal_)
    return;
  int percent = int(fraction * 100.0f);
  int filled = int(fraction * float(options_.barWidth));
  std::string bar(size_t(std::clamp(filled, 0, options_.barWidth)), '#');
  bar.resize(size_t(options_.barWidth), '-');
  double elapsed = t - started_;
  double remaining = fraction > 0.0f ? elapsed * (1.0 - fraction) / fraction : -1.0;
  std::fprintf(options_.out, "\r%s%s%3d%% [%s] %s elapsed, %s left\x1b[K", title_.c_str(),
               title_.empty() ? "" : " ", percent, bar.c_str(), clockText(elapsed).c_str(),
               clockText(remaining).c_str());
  std::fflush(options_.out);
  lineOpen_ = true;
  drawnPercent_ = percent;
  ++redraws_;
}

bool HostProgress::report(float fraction) {
  float global = toGlobal(fraction);
  if (!(global >= 0.0f))
    global = 0.0f;
  global = std::min(global, 1.0f);
  std::unique_lock<std::mutex> guard(lock_);
  if (gInterrupt.load() == 1 && active_)
    cancelled_.store(true);
  resumed_.wait(guard, [this] { return !paused_ || cancelled_.load(); });
  if (!active_) {
    // Repeated ends of a finished operation start nothing new.
    if (global >= 1.0f)
      return !cancelled_.load();
    beginLocked();
  }
  global = std::max(global, shown_);  // never backwards on screen
  shown_ = global;
  if (global >= 1.0f) {
    endLocked(true);
  } else if (titleChanged_ || now() - lastDraw_ >= options_.minRedrawSeconds) {
    drawLocked(global);
  }
  return !cancelled_.load();
}

bool HostProgress::isCancelled() {
  std::lock_guard<std::mutex> guard(lock_);
  if (gInterrupt.load() == 1 && active_)
    cancelled_.store(true);
  return cancelled_.load();
}

void HostProgress::reset() {
  TovProgress::reset();
  std::lock_guard<std::mutex> guard(lock_);
  if (active_)
    endLocked(false);
  cancelled_.store(false);
}

bool HostProgress::isPaused() {
  std::lock_guard<std::mutex> guard(lock_);
  return paused_;
}

void HostProgress::cancel() {
  {
    std::lock_guard<std::mutex> guard(lock_);
    cancelled_.store(true);
  }
  resumed_.notify_all();
}

void HostProgress::pause() {
  std::lock_guard<std::mutex> guard(lock_);
  paused_ = true;
}

void HostProgress::resume() {
  {
    std::lock_guard<std::mutex> guard(lock_);
    paused_ = false;
  }
  resumed_.notify_all();
}

void HostProgress::beginOperation() {
  std::lock_guard<std::mutex> guard(lock_);
  if (active_)
    endLocked(false);
  beginLocked();
}

void HostProgress::endOperation() {
  std::lock_guard<std::mutex> guard(lock_);
  if (active_)
    endLocked(false);
}

void HostProgress::interruptOperation() { endOperation(); }

KivString HostProgress::title() {
  std::lock_guard<std::mutex> guard(lock_);
  return KivString(title_.c_str());
}

void HostProgress::setTitle(const KivString& title) {
  const char* text = title.utf8Text();
  setTitleUtf8(text ? text : "");
}

void HostProgress::setTitleUtf8(const std::string& title) {
  std::lock_guard<std::mutex> guard(lock_);
  if (title == title_)
    return;
  title_ = title;
  titleChanged_ = true;
  if (active_)
    drawLocked(shown_);
}

void HostProgress::clearTitle() { setTitleUtf8(std::string()); }

void HostProgress::simulateInterrupt() { onInterrupt(SIGINT); }

float HostProgress::shownFraction() const {
  std::lock_guard<std::mutex> guard(lock_);
  return shown_;
}

int HostProgress::redraws() const {
  std::lock_guard<std::mutex> guard(lock_);
  return redraws_;
}

//===- Callbacks -------------------------------------------------------===//

void HostProgressCallback::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (kivAnswer(name, "IKivProgressCallback", static_cast<IKivProgressCallback*>(this), out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  if (std::strcmp(name, "IKivProgress") == 0)
    *out = static_cast<IKivProgress*>(progress_.get());
}

// The job's own tree: reports record the fraction and wait while the job is
// paused; both answer false / true once it is cancelled.
class HostProgressCallbackInstance::Tree : public TovProgress {
public:
  explicit Tree(HostProgressCallbackInstance* owner) : owner_(owner) {}
  const char* className() const override { return "HostProgressCallbackInstance::Tree"; }
  bool report(float fraction) override {
    owner_->fraction_.store(toGlobal(fraction));
    return owner_->waitWhilePaused();
  }
  bool isCancelled() override { return !owner_->waitWhilePaused(); }

private:
  HostProgressCallbackInstance* owner_;  // owns this tree
};

HostProgressCallbackInstance::HostProgressCallbackInstance() : tree_(new Tree(this)) {}
HostProgressCallbackInstance::~HostProgressCallbackInstance() = default;

void HostProgressCallbackInstance::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (kivAnswer(name, "HostProgressCallbackInstance", this, out) ||
      kivAnswer(name, "IKivProgressCallbackInstance",
                static_cast<IKivProgressCallbackInstance*>(this), out) ||
      kivAnswer(name, "IKivProgressCallback", static_cast<IKivProgressCallback*>(this), out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  if (std::strcmp(name, "IKivProgress") == 0)
    *out = static_cast<IKivProgress*>(tree_.get());
}

void HostProgressCallbackInstance::cancel() {
  {
    std::lock_guard<std::mutex> guard(lock_);
    cancelled_.store(true);
  }
  changed_.notify_all();
}

void HostProgressCallbackInstance::report(float fraction) { fraction_.store(fraction); }

void HostProgressCallbackInstance::pause() {
  std::lock_guard<std::mutex> guard(lock_);
  paused_ = true;
}

void HostProgressCallbackInstance::resume() {
  {
    std::lock_guard<std::mutex> guard(lock_);
    paused_ = false;
  }
  changed_.notify_all();
}

bool HostProgressCallbackInstance::isPaused() {
  std::lock_guard<std::mutex> guard(lock_);
  return paused_;
}

bool HostProgressCallbackInstance::waitWhilePaused() {
  std::unique_lock<std::mutex> guard(lock_);
  if (paused_ && !cancelled_.load()) {
    ++pausedWaits_;
    changed_.notify_all();
  }
  changed_.wait(guard, [this] { return !paused_ || cancelled_.load(); });
  return !cancelled_.load();
}

bool HostProgressCallbackInstance::waitForPausedWaits(int atLeast, double seconds) {
  std::unique_lock<std::mutex> guard(lock_);
  return changed_.wait_for(guard, std::chrono::duration<double>(seconds),
                           [this, atLeast] { return pausedWaits_ >= atLeast; });
}

int HostProgressCallbackInstance::pausedWaits() const {
  std::lock_guard<std::mutex> guard(lock_);
  return pausedWaits_;
}

void HostObjectMaker::queryInterface(const char* name, void** out) {
  *out = nullptr;
  if (!name)
    return;
  if (name_ == name)
    *out = make_();
  else
    kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
}
