//===- component.h - The component object and its entry ---------*- C++ -*-===//
//
// EntryPoint hands the host a KivStaticBaseComponent with refCount 0. The
// component keeps no state of its own: the manager, the customizer, the
// class factory, the container name and the break flag are process-wide.
// initialize(manager) installs the manager (from then on counting and look-ups
// run through the host) and registers the class table once. shutdown() only
// tells the customizer: the manager stays installed, look-ups keep working
// and references keep counting through the host, so a host's manager must
// outlive every object of the component (ReferenceHost keeps it).
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivcomponent.h"

class KivCString;

class IKivComponentFactory {
public:
  virtual ~IKivComponentFactory();
  virtual IKivComponent* create() = 0;
};

class IKivComponentCustomizer {
public:
  virtual ~IKivComponentCustomizer();
  virtual bool initialize() = 0;
  virtual bool shutdown() = 0;
};

// Registers the class table on initialize; shutdown has nothing to undo.
class dataModelCmpInternalComponentCustomizer : public IKivComponentCustomizer {
public:
  bool initialize() override;
  bool shutdown() override { return true; }
};

// The operations shared by both component classes.
class KivComponentBase : public IKivComponent, public IKivCompInternal {
public:
  void initialize(IKivComponentManager* manager) override;
  void shutdown() override;
  int32_t createInstance(const KivClassId& id, IKivUnknown** out) override;

  const KivClassId* classId() override;
  const char* name() override;
  int32_t classCount() override;
  bool firstClass(KivClassId* out) override;
  bool nextClass(KivClassId* out) override;
  const char* classNameOf(const KivClassId& id) override;
  void runTests(IKivUnknown* testService) override;
  void setContainerName(const KivCString& name) override;
  const KivCString& containerName() override;
  void setBreakEnabled(bool enabled) override;
  bool breakEnabled() override;

protected:
  void answer(const char* name, void** out);
  void walk(const char* ownName, void** out);
};

class KivStaticBaseComponent : public KivComponentBase {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivStaticBaseComponent"; }
  const char* version() override;
};

// The same component without a version.
class KivBaseComponent : public KivComponentBase {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivBaseComponent"; }
  const char* version() override { return nullptr; }
};

class KivStaticBaseComponentFact : public IKivComponentFactory {
public:
  IKivComponent* create() override;
};

// Process-wide pieces, replaceable by tests.
IKivComponentFactory* componentFactory();
void setComponentFactory(IKivComponentFactory* factory);
IKivComponentCustomizer* componentCustomizer();
void setComponentCustomizer(IKivComponentCustomizer* customizer);
IKivComponent* currentComponent();

// KIV_BREAK_ENABLED: unset gives true; exactly "0" gives false; else true.
bool parseBreakEnabled(const char* value);

// The tests behind runTests: entries are handed, in order, to the first
// operation of the test service, asked of the object itself and not through
// queryInterface. The list is created empty on first use.
class IKivTestService : public virtual IKivUnknown {
public:
  virtual void runTest(IKivUnknown* test) = 0;
};
void registerComponentTest(IKivUnknown* test);
