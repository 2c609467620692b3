//===- iprogress.h - The model-side progress interfaces ---------*- C++ -*-===//
//
// IProgress forwards every request to a callback object of the host
// (IKivProgressCallback); it keeps no fraction, title or flag of its own. A
// host's callback answers queryInterface("IKivProgress") with the progress
// tree its reports go to.
// Slot orders are a contract.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

// The host's progress callback: 17 operations behind those of IKivUnknown.
class IKivProgressCallback : public virtual IKivUnknown {
public:
  virtual void cancel() = 0;                    // 0
  virtual bool isCancelled() = 0;               // 1
  virtual void report(float fraction) = 0;      // 2
  virtual void interrupt() = 0;                 // 3
  virtual void call4(intptr_t arg) = 0;         // 4
  virtual void call5() = 0;                     // 5
  virtual void call6(intptr_t arg) = 0;         // 6
  virtual void pause() = 0;                     // 7
  virtual void resume() = 0;                    // 8
  virtual bool isPaused() = 0;                  // 9
  virtual void call10(float value) = 0;         // 10
  virtual void call11() = 0;                    // 11
  virtual bool call12() = 0;                    // 12
  virtual void reserved13() {}                  // 13
  virtual void call14(intptr_t arg) = 0;        // 14
  virtual void call15() = 0;                    // 15
  virtual void call16() = 0;                    // 16
};

// A callback of its own for each ProgressInstance; adds nothing used here.
class IKivProgressCallbackInstance : public IKivProgressCallback {};

class IProgress : public virtual IKivUnknown {
public:
  virtual void hostCall0(intptr_t arg) = 0;                      // 0
  virtual void cancel() = 0;                                     // 1
  virtual bool isCancelled() = 0;                                // 2
  virtual void pause() = 0;                                      // 3
  virtual void resume() = 0;                                     // 4
  virtual bool isPaused() = 0;                                   // 5
  virtual void report(float fraction) = 0;                       // 6
  virtual void interrupt() = 0;                                  // 7
  virtual void hostCall8(float value) = 0;                       // 8
  virtual void hostCall9() = 0;                                  // 9
  virtual bool hostCall10() = 0;                                 // 10
  virtual void hostCall11(intptr_t arg) = 0;                     // 11
  virtual void hostCall12() = 0;                                 // 12
  virtual void hostCall13() = 0;                                 // 13
  virtual void hostCall14(intptr_t arg) = 0;                     // 14
  virtual void hostCall15() = 0;                                 // 15
  virtual IKivProgressCallback* callback() = 0;                  // 16
  virtual bool setCallback(IKivProgressCallback* callback) = 0;  // 17
};

class IProgressInstance : public IProgress {};
