//===- datamodelinit.h - Settings and shutdown of the data model -*- C++ -*-===//
//
// DatamodelInit declares the "Platform" keys in the host's IDataStore from its
// constructor; a failing declaration leaves the store as far as it got.
// DatamodelShutdownListener ends the database's activity when the host shuts
// down. Both are in the class table without an interface name.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ishutdownlistener.h"

class DatamodelInit : public IKivInitializer {
public:
  DatamodelInit();
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DatamodelInit"; }
  void initialize() override {}
};

class DatamodelShutdownListener : public IShutdownListener {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "DatamodelShutdownListener"; }
  void onShutdown() override;
};
