//===- progresscallbackbase.h - Throttled progress reporting mix-in -*- C++ -*-===//
//
// ProgressCallbackBase turns a worker's positions into reports to an
// IKivProgress. Positions are kept in tenths of a percent (0 to 1000), and a
// report reaches the progress object only when the position changes, so at
// most 1000 times across the range whatever the caller's rate. A cancellation
// that was seen is remembered: an unchanged position keeps returning false
// until start() clears it.
//
// Invariants a user must know:
//  - `progress` is not counted: the service outlives its users.
//  - A negative `from` turns reporting off; a copy starts that way and stays
//    silent until enable(true) or setState().
//  - The 20 virtual operations are a contract that subclasses continue;
//    nothing may be inserted or reordered.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class IKivProgress;

class ProgressCallbackBase {
public:
  // Flag bits.
  static constexpr uint8_t kCancelled = 1;
  static constexpr uint8_t kCheckCancel = 2;
  static constexpr uint8_t kSuspended = 8;

  ProgressCallbackBase();
  ProgressCallbackBase(const ProgressCallbackBase& other);
  // Assignment follows the copy rule: the target goes silent.
  ProgressCallbackBase& operator=(const ProgressCallbackBase& other);

  virtual ~ProgressCallbackBase();                                            // 0
  virtual void setRange(int32_t fromPercent, int32_t toPercent);              // 1
  virtual void getRange(int32_t* fromPercent, int32_t* toPercent);            // 2
  virtual void setState(int32_t from, int32_t to, int32_t current);           // 3
  virtual void getState(int32_t* from, int32_t* to, int32_t* current);        // 4
  virtual void enable(bool flag);                                             // 5
  virtual void copyStateTo(ProgressCallbackBase* other);                      // 6
  virtual void copyStateFrom(ProgressCallbackBase* other);                    // 7
  virtual bool start();                                                       // 8
  virtual bool reportStep(int32_t i, int32_t n);                              // 9
  virtual bool reportFraction(float f);                                       // 10
  virtual bool finish();                                                      // 11
  virtual bool setCheckCancel(bool flag);                                     // 12
  virtual bool isCancelled();                                                 // 13
  virtual bool setReporting(bool flag);                                       // 14
  virtual bool setCancelled(bool flag);                                       // 15
  virtual uint8_t getFlags();                                                 // 16
  virtual bool isProgressCancelled();                                         // 17
  virtual bool setProgressObject(IKivProgress* progress);                     // 18
  virtual IKivProgress* getProgressObject();                                  // 19

  // Exchanges every field.
  void swap(ProgressCallbackBase& other);

  // The "IKivProgress" service, or null; looked up until it is found.
  static IKivProgress* progressService();

protected:
  int32_t from_;
  int32_t to_;
  int32_t current_ = 0;
  uint8_t flags_;
  IKivProgress* progress_;
};

class ProgressCallbackObject : public KivObject, public ProgressCallbackBase {};

class IKivProgressObject : public ProgressCallbackBase, public virtual IKivUnknown {};
