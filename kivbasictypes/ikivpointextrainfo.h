//===- ikivpointextrainfo.h - The host's per-point colour store -*- C++ -*-===//
//
// Found by the name "IKivPointExtraInfo" and created on demand by a point
// array. Places are counted from 0 and are a contract; the array never looks
// inside. An entry index is the index the array passes (points count from
// 1); the service grows to hold whatever index is written. Places this system
// does not call keep their order as reserved operations.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"
#include "kivbasictypes/kivmmarray.h"

#include <cstdint>

class IKivPointExtraInfo : public virtual IKivUnknown {
public:
  using OrderArray = KivMM::Array<int, KivMM::Splitter<int>>;
  using PackedArray = KivMM::Array<unsigned, KivMM::Splitter<unsigned>>;

  // A new object with the same contents; its reference count may be 0.
  virtual IKivPointExtraInfo* clone() = 0;                                  // 0
  virtual bool hasData() = 0;                                               // 1
  virtual void setSize(int32_t n) = 0;                                      // 2
  virtual void clear() = 0;                                                 // 3
  virtual void setColour(int32_t i, const double* rgb) = 0;                 // 4
  virtual void setColour(int32_t i, const float* rgb) = 0;                  // 5
  virtual void reserved6() {}                                               // 6
  virtual void getColour(int32_t i, double* rgb) = 0;                       // 7
  virtual void getColour(int32_t i, float* rgb) = 0;                        // 8
  virtual uint32_t getPacked(int32_t i) = 0;                                // 9
  virtual int32_t count() = 0;                                              // 10
  virtual bool equals(IKivPointExtraInfo* other, int32_t n) = 0;            // 11
  virtual void copy(int32_t to, int32_t from) = 0;                          // 12
  virtual void resize(int32_t n) = 0;                                       // 13
  virtual bool isDisposable() = 0;                                          // 14
  virtual void onInsert(int32_t i, int32_t count) = 0;                      // 15
  virtual void onRemove(int32_t i, int32_t count) = 0;                      // 16
  virtual void reserved17() {}                                              // 17
  virtual void reserved18() {}                                              // 18
  virtual void assign(IKivPointExtraInfo* other) = 0;                       // 19
  // new[i] = old[order[i]] for i in first..last.
  virtual void permute(const OrderArray& order, int32_t first, int32_t last) = 0;  // 20
  // Places 21 and 23: their meaning is the host's; the array forwards them.
  virtual bool hostOperation21() = 0;                                       // 21
  virtual void reserved22() {}                                              // 22
  virtual bool hostOperation23() = 0;                                       // 23
  virtual void reserved24() {}                                              // 24
  virtual void reserved25() {}                                              // 25
  virtual void reserved26() {}                                              // 26
  // The entries as 32-bit packed colours, 2048 to a block.
  virtual PackedArray* packedArray() = 0;                                   // 27
};
