//===- component.cpp - The component object and its entry -----------------===//
#include "core/component.h"

#include "basic_types/iterstack.h"
#include "core/classfactory.h"
#include "core/classregistry.h"
#include "core/classwalk.h"
#include "core/componentinfo.h"
#include "core/ikivcomponentmanager.h"
#include "core/ikiverrorservice.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "kivbasictypes/kivstring.h"

#include <cstdlib>

IKivComponentFactory::~IKivComponentFactory() = default;
IKivComponentCustomizer::~IKivComponentCustomizer() = default;

bool parseBreakEnabled(const char* value) {
  return !value || std::strcmp(value, "0") != 0;
}

namespace {

// Static objects of the component, made when the library is loaded.
dataModelCmpInternalComponentCustomizer gDefaultCustomizer;
KivStaticBaseComponentFact gDefaultComponentFactory;
IKivComponentCustomizer* gCustomizer = &gDefaultCustomizer;
IKivComponentFactory* gComponentFactory = &gDefaultComponentFactory;
IKivComponent* gComponent = nullptr;
bool gBreakEnabled = parseBreakEnabled(std::getenv("KIV_BREAK_ENABLED"));
bool gRunningTests = false;

IterStack<IKivUnknown*>& componentTests() {
  static IterStack<IKivUnknown*> tests(21);
  return tests;
}

} // namespace

IKivComponentFactory* componentFactory() { return gComponentFactory; }
void setComponentFactory(IKivComponentFactory* factory) { gComponentFactory = factory; }
IKivComponentCustomizer* componentCustomizer() { return gCustomizer; }
void setComponentCustomizer(IKivComponentCustomizer* customizer) { gCustomizer = customizer; }
IKivComponent* currentComponent() { return gComponent; }

void registerComponentTest(IKivUnknown* test) { componentTests().push(test); }

bool dataModelCmpInternalComponentCustomizer::initialize() { return registerClasses(); }

IKivComponent* KivStaticBaseComponentFact::create() { return new KivStaticBaseComponent(); }

void KivComponentBase::initialize(IKivComponentManager* manager) {
  setComponentManager(manager);
  if (gCustomizer)
    gCustomizer->initialize();
}

void KivComponentBase::shutdown() {
  if (gCustomizer)
    gCustomizer->shutdown();
}

int32_t KivComponentBase::createInstance(const KivClassId& id, IKivUnknown** out) {
  KivDefaultClassFactory* factory = defaultClassFactory();
  if (!factory) {
    *out = nullptr;
    return 0;
  }
  return factory->createInstance(id, out);
}

const KivClassId* KivComponentBase::classId() { return &kComponentClassId; }
const char* KivComponentBase::name() { return kComponentName; }

int32_t KivComponentBase::classCount() {
  KivDefaultClassFactory* factory = defaultClassFactory();
  return factory ? factory->count() : 0;
}

bool KivComponentBase::firstClass(KivClassId* out) {
  KivDefaultClassFactory* factory = defaultClassFactory();
  return factory ? factory->first(out) : false;
}

bool KivComponentBase::nextClass(KivClassId* out) {
  KivDefaultClassFactory* factory = defaultClassFactory();
  return factory ? factory->next(out) : false;
}

const char* KivComponentBase::classNameOf(const KivClassId& id) {
  KivDefaultClassFactory* factory = defaultClassFactory();
  return factory ? factory->classNameOf(id) : nullptr;
}

void KivComponentBase::runTests(IKivUnknown* testService) {
  if (gRunningTests)
    return;
  gRunningTests = true;
  struct ClearGuard {
    ~ClearGuard() { gRunningTests = false; }
  } clearGuard;

  if (!testService) {
    SPtr<IKivErrorService> errors("IKivErrorService");
    if (!errors)
      return;
    ErrorOptions options;
    errors->reportError(KivString("Unable to get test service"), options, KivCString(""));
    if (IKivComponentManager* manager = componentManager())
      errors->reportError(manager->lastError(), options, KivCString(""));
    return;
  }
  // The service's first operation gets the tests, whatever names its
  // queryInterface answers to. An object that has no such operation at all
  // gets nothing: calling into an unknown object would crash the host.
  auto* service = dynamic_cast<IKivTestService*>(testService);
  if (!service)
    return;
  IterStack<IKivUnknown*>& tests = componentTests();
  for (int32_t i = 1; i <= tests.count(); ++i)
    service->runTest(tests.at(i));
}

void KivComponentBase::setContainerName(const KivCString& name) { setComponentContainerName(name); }
const KivCString& KivComponentBase::containerName() { return componentContainerName(); }
void KivComponentBase::setBreakEnabled(bool enabled) { gBreakEnabled = enabled; }
bool KivComponentBase::breakEnabled() { return gBreakEnabled; }

// After the class's own name: "IKivUnknown", then the interfaces in
// declaration order.
void KivComponentBase::answer(const char* name, void** out) {
  if (kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<IKivComponent*>(this)),
                out) ||
      kivAnswer(name, "IKivComponent", static_cast<IKivComponent*>(this), out))
    return;
  kivAnswer(name, "IKivCompInternal", static_cast<IKivCompInternal*>(this), out);
}

void KivComponentBase::walk(const char* ownName, void** out) {
  KivClassWalk* classWalk = kivWalkOf(out);
  kivWalkClass(classWalk, ownName);
  kivWalkEnd(classWalk);
  kivWalkInterface(classWalk, "IKivComponent");
  kivWalkInterface(classWalk, "IKivCompInternal");
}

void KivStaticBaseComponent::queryInterface(const char* name, void** out) {
  if (!name)
    return walk("KivStaticBaseComponent", out);
  *out = nullptr;
  if (!kivAnswer(name, "KivStaticBaseComponent", this, out))
    answer(name, out);
}

const char* KivStaticBaseComponent::version() { return kComponentVersion; }

void KivBaseComponent::queryInterface(const char* name, void** out) {
  if (!name)
    return walk("KivBaseComponent", out);
  *out = nullptr;
  if (!kivAnswer(name, "KivBaseComponent", this, out))
    answer(name, out);
}

extern "C" __attribute__((visibility("default"))) int32_t EntryPoint(uint32_t* apiVersion,
                                                                    IKivComponent** component) {
  if (!component || !gComponentFactory)
    return 0;
  IKivComponent* created = nullptr;
  try {
    created = gComponentFactory->create();
  } catch (...) {
    // Nothing may cross the boundary; a failed creation is reported as 0.
    if (apiVersion)
      *apiVersion = 0;
    *component = nullptr;
    return 0;
  }
  gComponent = created;
  *component = created;
  if (apiVersion)
    *apiVersion = kComponentApiVersion;
  return 1;
}
