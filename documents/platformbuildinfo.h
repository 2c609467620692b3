//===- platformbuildinfo.h - Which build of the application runs -*- C++ -*-===//
//
// PlatformBuildInfo is a DataObject with one read-only routed property,
// "buildVersion", whose text comes from the host's core library in the
// directory of components. The text is cached process-wide after the first
// read that finds it; "0.0.0.0" (a missing or unreadable library) is not
// cached, so a later read tries again.
//
// Invariants a user must know:
//  - The cache isn't guarded: two first reads on two threads both compute.
//  - No classId() of its own: writing one to a file fails.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/dataobject.h"

#include <cstddef>
#include <cstdint>
#include <string>

class IKivPlatformBuildInfo : public virtual IKivUnknown {};

class PlatformBuildInfo : public DataObject, public IKivPlatformBuildInfo {
public:
  static constexpr const char* kClassName = "PlatformBuildInfo";
  // The file looked for in the directory "components".
  static constexpr const char* kLibraryName = "libhostcore.so";

  PlatformBuildInfo();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;
  void initialize() override;

  KivString getBuildVersion() const;

  // The version text of the library at `path`: "0.0.0.0" if it can't be
  // read, empty if it has no version key. Commas become full stops.
  static KivString versionOfFile(const KivString& path, bool* readable);
  // The search over raw bytes: the null-terminated 16-bit text behind the
  // first "ProductVersion" key; false without a key.
  static bool findProductVersion(const uint8_t* bytes, size_t size, std::u16string& out);
};
