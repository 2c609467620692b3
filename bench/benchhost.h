//===- benchhost.h - The reference host of the benchmark binary -*- C++ -*-===//
//
// The component registers its class table once per process, with the
// manager of the first host that loads it, so every benchmark of the binary
// shares this one host. BenchHostScope installs its manager for the
// lifetime of the scope; benchmarks without a scope run with none.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/lookup.h"
#include "host/referencehost.h"
#include "host/tovcomponentmanager.h"

inline ReferenceHost& benchHost() {
  static ReferenceHost* host = [] {
    ReferenceHostOptions options;
    options.echo = false;
    options.logFile = false;
    auto* made = new ReferenceHost(options);
    made->addLinkedComponent("datamodelcmp (bench)");
    return made;
  }();
  return *host;
}

class BenchHostScope {
public:
  BenchHostScope() { setComponentManager(benchHost().manager()); }
  ~BenchHostScope() { setComponentManager(nullptr); }
  BenchHostScope(const BenchHostScope&) = delete;
  BenchHostScope& operator=(const BenchHostScope&) = delete;
};
