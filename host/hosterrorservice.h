//===- hosterrorservice.h - The reference host's error presentation -*- C++ -*-===//
//
// A console host has no dialogs: each report is one line on stderr,
// "error: <message>" or "error (<source>): <message>", and is counted.
// Thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikiverrorservice.h"

#include <mutex>
#include <string>

class HostErrorService : public IKivErrorService {
public:
  HostErrorService();
  ~HostErrorService() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostErrorService"; }

  int reportCount() override;
  void reportError(const KivString& message, const ErrorOptions& options,
                   const KivCString& source) override;

  // The text of the last report, UTF-8; empty before the first.
  std::string lastMessage();
  void setEcho(bool echo);

private:
  std::mutex mutex_;
  int count_ = 0;
  std::string lastMessage_;
  bool echo_ = true;
};
