//===- ikivprogress.h - Progress reporting and the range-dividing scopes -*- C++ -*-===//
//
// IKivProgress is what a long operation reports to: report(fraction) returns
// false to ask the caller to stop; isCancelled() asks without reporting. The
// component itself only ever calls places 0 and 1 of a progress object it did
// not make; the other places are for the host's subclass. The interfaces of
// the scoped range objects (TovProgressSplit and its kin) are declared here as
// well. Slot orders are a contract: nothing may be inserted or reordered.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class KivString;

class IKivProgress : public virtual IKivUnknown {
public:
  virtual bool report(float fraction) = 0;  // 0
  virtual bool isCancelled() = 0;           // 1
  virtual void reset() = 0;                 // 2
  // Places 3 to 11 are hooks that the component never calls. Their meaning is
  // ours to choose: we give them the vocabulary the host's terminal progress
  // uses (pause state, cancel, titles) and the base does nothing with it.
  virtual bool isPaused() = 0;                          // 3
  virtual void cancel() = 0;                            // 4
  virtual void pause() = 0;                             // 5
  virtual void resume() = 0;                            // 6
  virtual void beginOperation() = 0;                    // 7
  virtual void endOperation() = 0;                      // 8
  virtual KivString title() = 0;                        // 9
  virtual void setTitle(const KivString& title) = 0;    // 10
  virtual void clearTitle() = 0;                        // 11
  virtual float toGlobal(float fraction) = 0;           // 12
  virtual uint8_t getFlag() = 0;                        // 13
  virtual void setFlag(uint8_t value) = 0;              // 14
};

// Rebinds a scoped range object to another progress engine.
class IKivProgressAccessor : public virtual IKivUnknown {
public:
  virtual void setProgress(IKivProgress* progress) = 0;  // 0
  virtual IKivProgress* getProgress() = 0;               // 1
};

class IKivProgressSplitBase : public virtual IKivUnknown {
public:
  virtual bool isDone() = 0;    // 0
  virtual bool isActive() = 0;  // 1
  virtual bool next() = 0;      // 2
  virtual bool end() = 0;       // 3
};

class IKivProgressSplit : public IKivProgressSplitBase {
public:
  virtual bool begin(int32_t steps) = 0;
};

class IKivProgressSubdivide : public IKivProgressSplitBase {
public:
  // Weights end at the first value not greater than 0.
  virtual bool begin(const float* weights) = 0;
  virtual bool begin(const double* weights) = 0;
};

class IKivProgressInfinite : public IKivProgressSplitBase {
public:
  virtual bool begin(int32_t scale) = 0;
};

class IKivProgressBounds : public virtual IKivUnknown {
public:
  virtual void set(int32_t i, int32_t j, int32_t n) = 0;  // 0
  virtual void set(double a, double b) = 0;               // 1
};
