//===- inprocesshost.h - The component of this binary behind a host -*- C++ -*-===//
//
// The classes register once per process, so one ReferenceHost serves every
// test of a binary: made at the first call, with this binary's own copy of
// the component added in-process, and never taken down (static caches of the
// component release through its manager at exit).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivcomponent.h"
#include "host/referencehost.h"
#include "host/tovcomponentmanager.h"

#include <gtest/gtest.h>

inline ReferenceHost& inProcessHost() {
  static ReferenceHost* host = [] {
    ReferenceHostOptions options;
    options.echo = false;
    options.logFile = false;
    options.abortOnAssert = false;
    auto* h = new ReferenceHost(options);
    h->addLinkedComponent("datamodelcmp (in process)");
    return h;
  }();
  return *host;
}
