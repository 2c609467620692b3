//===- irealparray.h - The interface of point arrays ------------*- C++ -*-===//
//
// A numbered list of 3D points in double precision, numbered from 1; index 0
// exists in the storage but holds no point. Places are counted from 0 and are
// a contract. Float and double triples are passed as pointers to three
// values. A getter's result for an index past the storage is the zero point.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

#include <cstdint>

class BinInput;
class BitVector;
class RealPArray;
struct KivMatrix;
struct KivVector;

class IRealPArray : public virtual IKivUnknown {
public:
  virtual int32_t count() = 0;                                              // 0
  virtual bool clear() = 0;                                                 // 1
  virtual bool reserve(int32_t n) = 0;                                      // 2
  virtual IRealPArray* cloneInterface() = 0;                                // 3
  virtual int32_t push(const KivVector& v) = 0;                             // 4
  virtual int32_t push(const float* xyz) = 0;                               // 5
  // A null pointer pushes the zero point.
  virtual int32_t push(const double* xyz) = 0;                              // 6
  virtual int32_t push(double x, double y, double z) = 0;                   // 7
  virtual void setCount(int32_t n) = 0;                                     // 8
  virtual void set(int32_t i, const KivVector& v) = 0;                      // 9
  virtual void set(int32_t i, const float* xyz) = 0;                        // 10
  virtual void setAllocating(int32_t i, const KivVector& v) = 0;            // 11
  virtual void set(int32_t i, double x, double y, double z) = 0;            // 12
  virtual void getPoint(int32_t i, KivVector& out) = 0;                     // 13
  virtual void getPoint(int32_t i, float* xyz) = 0;                         // 14
  virtual void getPoint(int32_t i, double* xyz) = 0;                        // 15
  virtual void getPoint(int32_t i, double& x, double& y, double& z) = 0;    // 16
  virtual bool setHasExtra(bool flag) = 0;                                  // 17
  virtual bool getExtra(int32_t i, float* rgb) = 0;                         // 18
  virtual bool getExtra(int32_t i, double* rgb) = 0;                        // 19
  virtual bool getExtra(int32_t i, double& r, double& g, double& b) = 0;    // 20
  virtual bool hasExtra() = 0;                                              // 21
  virtual void bounds(KivVector& min, KivVector& max, const BitVector& mask) = 0;  // 22
  virtual void bounds(KivVector& min, KivVector& max) = 0;                  // 23
  virtual void transform(const KivMatrix& m) = 0;                           // 24
  virtual bool read(BinInput& in) = 0;                                      // 25
  virtual void unused26() = 0;                                              // 26
  virtual void unused27() = 0;                                              // 27
  virtual RealPArray* clone() = 0;                                          // 28
};
