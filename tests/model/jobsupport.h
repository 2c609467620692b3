//===- jobsupport.h - Modifiers and callbacks for the job tests -*- C++ -*-===//
#pragma once

#include "core/classwalk.h"
#include "host/hostprogress.h"
#include "kivbasictypes/kivstring.h"
#include "model/modifier.h"
#include "model/modifierjobqueue.h"
#include "model/progress.h"
#include "model/progressproperty.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

// A modifier whose run() is a test's function, with a "progress" property
// when asked for.
class ScriptedJob : public Modifier {
public:
  using Body = std::function<void(ScriptedJob&)>;
  ScriptedJob(const std::string& name, Body body, bool withProgress = true)
      : body_(std::move(body)) {
    setName(KivString(name.c_str()));
    if (withProgress)
      addProperty(new ProgressProperty(KivString("progress"), false, true));
  }
  void run() override {
    if (body_)
      body_(*this);
  }
  // The host's callback object behind this job's ProgressInstance.
  HostProgressCallbackInstance* hostCallback() {
    IProgress* progress = progressObject();
    return progress ? kivQuery<HostProgressCallbackInstance>(progress->callback(),
                                                             "HostProgressCallbackInstance")
                    : nullptr;
  }

private:
  Body body_;
};

// Counts the states each job's callback saw, by job name.
class StateRecorder : public ModifierJobQueueCBObject {
public:
  void jobStateChanged(const KivString& name, int state) override {
    {
      std::lock_guard<std::mutex> guard(lock_);
      const char* text = name.utf8Text();
      states_[text ? text : ""].push_back(state);
      ++calls_;
    }
    changed_.notify_all();
  }
  std::map<std::string, std::vector<int>> states() {
    std::lock_guard<std::mutex> guard(lock_);
    return states_;
  }
  std::vector<int> statesOf(const std::string& name) {
    std::lock_guard<std::mutex> guard(lock_);
    return states_[name];
  }
  // Waits until `done` holds for the recorded states.
  bool waitUntil(const std::function<bool(const std::map<std::string, std::vector<int>>&)>& done,
                 double seconds = 60.0) {
    std::unique_lock<std::mutex> guard(lock_);
    return changed_.wait_for(guard, std::chrono::duration<double>(seconds),
                             [&] { return done(states_); });
  }
  bool waitForState(const std::string& name, int state, double seconds = 60.0) {
    return waitUntil([&](const std::map<std::string, std::vector<int>>& all) {
      auto it = all.find(name);
      if (it == all.end())
        return false;
      for (int s : it->second)
        if (s == state)
          return true;
      return false;
    }, seconds);
  }

private:
  std::mutex lock_;
  std::condition_variable changed_;
  std::map<std::string, std::vector<int>> states_;
  int calls_ = 0;
};
