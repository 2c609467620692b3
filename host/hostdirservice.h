//===- hostdirservice.h - The reference host's named directories -*- C++ -*-===//
//
// Names are matched without regard to case, and each has a long and a short
// form: "Logs Directory"/"logs" ($HOME/.datamodel/logs), "Temp Directory"/
// "temp" ($TMPDIR, else /tmp), "components" (the directory of the loaded
// library, set by whoever loads it) and "home" ($HOME). setDirectory adds or
// overrides a name. An unknown name gives an empty text. Paths are UTF-8 on
// the host side. Thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivdirservice.h"

#include <map>
#include <mutex>
#include <string>

class HostDirService : public IKivDirService {
public:
  HostDirService();
  ~HostDirService() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostDirService"; }

  KivString directory(const char* name) override;
  void setDirectory(const char* name, const KivString& path) override;

  // The same two operations in UTF-8.
  std::string path(const char* name) const;
  void setPath(const char* name, const std::string& path);

private:
  std::map<std::string, std::string> directories_;  // by canonical name
  mutable std::mutex mutex_;
};
