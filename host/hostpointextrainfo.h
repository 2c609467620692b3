//===- hostpointextrainfo.h - The reference host's per-point colours -*- C++ -*-===//
//
// HostPointExtraInfo is the service behind "IKivPointExtraInfo". The object
// registered under the name stays empty: a point array takes its own store
// from it through clone(). Entries are packed colours in a paged array of
// 2048 words a block, so colours that are never set take no memory:
// red | green << 8 | blue << 16 | 0xff << 24, each channel the float times
// 255, truncated and limited to 0..255; a read gives the byte / 255.
//
// Invariants a user must know:
//  - The array passes point indices (from 1). setSize(n) and resize(n) make
//    the store hold indices 0 .. n, so that a point count covers every
//    point, and count() is the number of entries, n + 1; writing past the
//    end grows it. Reads past it give black.
//  - hasData() from the first setSize, write or assign until clear();
//    isDisposable() is true once cleared.
//  - One thread at a time per store.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivpointextrainfo.h"

#include <cstdint>

class HostPointExtraInfo : public IKivPointExtraInfo {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostPointExtraInfo"; }

  IKivPointExtraInfo* clone() override;
  bool hasData() override { return held_; }
  void setSize(int32_t n) override;
  void clear() override;
  void setColour(int32_t i, const double* rgb) override;
  void setColour(int32_t i, const float* rgb) override;
  void getColour(int32_t i, double* rgb) override;
  void getColour(int32_t i, float* rgb) override;
  uint32_t getPacked(int32_t i) override;
  int32_t count() override { return count_; }
  bool equals(IKivPointExtraInfo* other, int32_t n) override;
  void copy(int32_t to, int32_t from) override;
  void resize(int32_t n) override;
  bool isDisposable() override { return !held_; }
  void onInsert(int32_t i, int32_t count) override;
  void onRemove(int32_t i, int32_t count) override;
  void assign(IKivPointExtraInfo* other) override;
  void permute(const OrderArray& order, int32_t first, int32_t last) override;
  // No meaning in this host: 21 gives false, 23 true (as an array without a
  // store answers).
  bool hostOperation21() override { return false; }
  bool hostOperation23() override { return true; }
  PackedArray* packedArray() override { return &packed_; }

  static uint32_t pack(float r, float g, float b);

private:
  void put(int32_t i, uint32_t packed);

  PackedArray packed_;
  int32_t count_ = 0;
  bool held_ = false;
};
