//===- realparray.h - The abstract point array ------------------*- C++ -*-===//
//
// RealPArray says everything about a point array in terms of a few
// primitives (count, get, set, push) that a storing subclass supplies; the
// primitives' bodies here stop with a failed assertion. Points are numbered
// from 1, and a loop over them runs from 1 to count() inclusive.
//
// Invariants a user must know:
//  - Colours live outside the array, in the host's "IKivPointExtraInfo"
//    service, made by setHasExtra(true); an array without colours pays one
//    null pointer. Colour operations without colours give false and change
//    nothing.
//  - The colour entry of point i is entry i of the service.
//  - Records: a float or double "point with colour" record is x, y, z, one
//    pad, r, g, b (7 values); a record with intensity adds the intensity as
//    an eighth value.
//  - Reference counted through IKivUnknown; no lock, one thread at a time.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "kivbasictypes/irealparray.h"
#include "kivbasictypes/kivmmarray.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/progresscallbackbase.h"
#include "kivbasictypes/quicksort.h"
#include "kivbasictypes/tovcolor.h"

#include <cstdint>

class BinOutput;
class IKivPointExtraInfo;
struct KivPlane;

// Told before a colour goes in through the notifying paths.
class RealPArrayColourListener {
public:
  virtual void colourChanging(int32_t index) = 0;  // the first operation
  virtual ~RealPArrayColourListener() = default;
};

class RealPArray : public ProgressCallbackBase, public virtual IRealPArray {
public:
  using OrderArray = KivMM::Array<int, KivMM::Splitter<int>>;

  // Used by the sort: lexicographic x, y, z with exact comparison.
  class Compare final : public QuickSort_Compare {
  public:
    explicit Compare(RealPArray* array) : array_(array) {}
    int compare(int32_t a, int32_t b) override;

  private:
    RealPArray* array_;
  };
  // Moves points through getPoint and set; -1 is the one scratch point.
  class Assign final : public QuickSort_Assign {
  public:
    explicit Assign(RealPArray* array) : array_(array) {}
    void assign(int32_t from, int32_t to) override;

  private:
    RealPArray* array_;
    KivVector scratch_;
  };

  RealPArray();
  RealPArray(const RealPArray& source, bool copyExtra);
  RealPArray(const RealPArray&) = delete;
  RealPArray& operator=(const RealPArray&) = delete;
  ~RealPArray() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "RealPArray"; }

  // IRealPArray.
  int32_t count() override;
  bool clear() override;
  bool reserve(int32_t n) override;
  IRealPArray* cloneInterface() override;
  int32_t push(const KivVector& v) override;
  int32_t push(const float* xyz) override;
  int32_t push(const double* xyz) override;
  int32_t push(double x, double y, double z) override;
  void setCount(int32_t n) override;
  void set(int32_t i, const KivVector& v) override;
  void set(int32_t i, const float* xyz) override;
  void setAllocating(int32_t i, const KivVector& v) override;
  void set(int32_t i, double x, double y, double z) override;
  void getPoint(int32_t i, KivVector& out) override;
  void getPoint(int32_t i, float* xyz) override;
  void getPoint(int32_t i, double* xyz) override;
  void getPoint(int32_t i, double& x, double& y, double& z) override;
  bool setHasExtra(bool flag) override;
  bool getExtra(int32_t i, float* rgb) override;
  bool getExtra(int32_t i, double* rgb) override;
  bool getExtra(int32_t i, double& r, double& g, double& b) override;
  bool hasExtra() override;
  void bounds(KivVector& min, KivVector& max, const BitVector& mask) override;
  void bounds(KivVector& min, KivVector& max) override;
  void transform(const KivMatrix& m) override;
  bool read(BinInput& in) override;
  void unused26() override;
  void unused27() override;
  RealPArray* clone() override;

  // Places 20 to 53, after the 20 of the progress base.
  virtual int32_t capacity();                                              // 20
  virtual int32_t padTo(int32_t n);                                        // 21
  virtual int32_t pushWithColour(const float* record);                     // 22
  virtual int32_t pushWithColour(const double* record);                    // 23
  virtual void removeLast();                                               // 24
  virtual void removeLast(int32_t n);                                      // 25
  virtual bool coloursToGrey();                                            // 26
  virtual bool setColour(int32_t i, const float* rgb);                     // 27
  virtual bool setColourNotifying(int32_t i, const float* rgb);            // 28
  virtual bool setColourNotifying(int32_t i, const double* rgb);           // 29
  virtual bool setColour(int32_t i, double r, double g, double b);         // 30
  virtual void setWithColour(int32_t i, const float* record);              // 31
  virtual void setWithColour(int32_t i, const double* record);             // 32
  virtual KivVector getPoint(int32_t i);                                   // 33
  virtual KivColor getColour(int32_t i);                                   // 34
  virtual void getWithColour(int32_t i, float* record);                    // 35
  virtual void getWithColour(int32_t i, double* record);                   // 36
  virtual void getWithIntensity(int32_t i, float* record);                 // 37
  virtual void getWithIntensity(int32_t i, double* record);                // 38
  virtual bool scaleColours(float factor);                                 // 39
  virtual RealPArray* clone(bool copyExtra);                               // 40
  virtual void noOp41();                                                   // 41
  // Sorts into x, y, z order; gives the count afterwards.
  virtual int32_t sort(bool removeDuplicates, OrderArray* order, BitVector* mask);  // 42
  virtual RealPArray* createSameKind(int32_t capacity);                    // 43
  virtual double getScale();                                               // 44
  virtual void setScale(double value);                                     // 45
  virtual void noOp46();                                                   // 46
  virtual int32_t reserved47();                                            // 47
  virtual void permute(const OrderArray& order);                           // 48
  virtual void compact(const BitVector& mask);                             // 49
  virtual void abstract50();                                               // 50
  virtual void allocateAll();                                              // 51
  virtual bool extraOperation21();                                         // 52
  virtual bool extraOperation23();                                         // 53

  // Not virtual.
  double maxAbsCoordinate();
  void projectOnPlane(const KivPlane& plane);
  void assignFrom(RealPArray& other);
  bool equals(RealPArray& other);
  bool writeExtra(BinOutput& out, int32_t last, const BitVector* mask);
  bool readExtra(BinInput& in);
  // A new, empty array of the kind the stream's next record holds, through
  // the "IRealPArrayFactory" service; null without it. Reads nothing.
  static RealPArray* createFromStream(BinInput& in);

  IKivPointExtraInfo* extraInfo() const { return extraInfo_.get(); }
  void setColourListener(RealPArrayColourListener* listener) { colourListener_ = listener; }
  bool packedColours() const { return packedColours_ != 0; }
  void setPackedColours(bool on) { packedColours_ = on ? 1 : 0; }

protected:
  // The assertion of an operation a subclass must supply.
  void abstractCalled(const char* what);
  // Makes the colour store if there is none.
  IKivPointExtraInfo* ensureExtra();

  IPtr<IKivPointExtraInfo> extraInfo_;
  double scale_ = 1.0;
  RealPArrayColourListener* colourListener_ = nullptr;
  uint8_t packedColours_ = 0;
};

// Reads vertices only.
class VertexArrayImp : public IKivUnknown {
public:
  virtual void getVertex(int32_t i, double* xyz) = 0;
  virtual void getVertex(int32_t i, float* xyz) = 0;
};

// A vertex view of a point array (not counted: the array must outlive it).
class VertexArrayRPA : public VertexArrayImp {
public:
  explicit VertexArrayRPA(RealPArray* array) : array_(array) {}
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "VertexArrayRPA"; }
  void getVertex(int32_t i, double* xyz) override { array_->getPoint(i, xyz); }
  void getVertex(int32_t i, float* xyz) override { array_->getPoint(i, xyz); }

private:
  RealPArray* array_;
};
