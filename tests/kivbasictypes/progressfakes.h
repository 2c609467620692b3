//===- progressfakes.h - Progress engines that record what they hear -*- C++ -*-===//
#pragma once

#include "kivbasictypes/tovprogress.h"

#include <vector>

// Records every report, raw and mapped onto the whole range; answers with
// `answer` and reports `cancelled` when asked.
class RecordingProgress : public TovProgress {
public:
  bool report(float fraction) override {
    raw.push_back(fraction);
    global.push_back(toGlobal(fraction));
    return answer;
  }
  bool isCancelled() override {
    ++cancelQueries;
    return cancelled;
  }

  std::vector<float> raw;
  std::vector<float> global;
  bool answer = true;
  bool cancelled = false;
  int cancelQueries = 0;
};
