//===- hostbusystate.h - The host's busy state and busy blocks --*- C++ -*-===//
//
// HostBusyState is the service "IGuiBusyState": it counts the busy blocks
// that are open (isBusy() while any is) and logs each begin and end through
// the host's log, when one is given. HostBusyBlock is made anew for every
// request of "IGuiBusyBlock"; begin() opens its block and the last release
// closes it. All counts are atomic: blocks may open on any thread.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "model/iguibusy.h"

#include <atomic>
#include <string>

class IKivLog3;

class HostBusyState : public IGuiBusyState {
public:
  // `log` may be null; no reference is held, it must outlive this object.
  explicit HostBusyState(IKivLog3* log = nullptr) : log_(log) {}

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostBusyState"; }

  bool isBusy() override { return open_.load() > 0; }

  // A new block, without a reference.
  IGuiBusyBlock* newBlock();
  int openBlocks() const { return open_.load(); }
  int totalBlocks() const { return total_.load(); }

  void blockBegan(const std::string& text);
  void blockEnded(const std::string& text);

private:
  IKivLog3* log_;
  std::atomic<int> open_{0};
  std::atomic<int> total_{0};
};

class HostBusyBlock : public IGuiBusyBlock {
public:
  explicit HostBusyBlock(HostBusyState* state) : state_(state) {}
  ~HostBusyBlock() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostBusyBlock"; }

  // A second begin() on the same object opens nothing more.
  void begin(const KivString& text, int flags) override;

private:
  IPtr<HostBusyState> state_;
  std::string text_;
  bool open_ = false;
};
