//===- modelsupport.h - Helpers shared by the object model tests -*- C++ -*-===//
//
// Recorder hears any event and writes one line per call; it can be told to
// run a hook inside the call. ScriptedAction is a client Action whose
// execute() logs and runs a hook. fileOf() writes through a KivFileWrite in
// memory (64-bit lengths) and gives the bytes; readerOf() opens such bytes
// past the root head. Every helper needs the in-process host; fixtures call
// inProcessHost() first.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "core/kivptr.h"
#include "core/platformexception.h"
#include "inprocesshost.h"
#include "kivbasictypes/binstreams.h"
#include "kivbasictypes/kivfile.h"
#include "model/action.h"
#include "model/database.h"
#include "model/dataobject.h"
#include "properties/ikivproperty.h"
#include "properties/ikivpropertymap.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

inline std::string text(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

inline std::string objectName(IKivDataObject* o) {
  KivString name;
  return o ? text(o->name(name)) : "(null)";
}

// "x=5" for an argument property, "x=-" when it is missing.
inline std::string argText(IKivDataEventArgs* args, const char* key) {
  auto* map = kivQuery<IKivPropertyMap>(args, "IKivPropertyMap");
  IKivProperty* p = map && map->hasProperty(key) ? map->getProperty(key) : nullptr;
  KivString value;
  if (p)
    p->valueText(p->name(), value);
  return std::string(key) + "=" + (p ? text(value) : "-");
}

class Recorder : public IKivEventSubscriber {
public:
  explicit Recorder(std::vector<std::string>* log = nullptr) : log(log ? log : &own) {}

  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name && !kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      kivAnswer(name, "IKivEventSubscriber", static_cast<IKivEventSubscriber*>(this), out);
  }
  const char* className() const override { return "Recorder"; }

  void onEvent(IKivDataEventSource* source, const KivCString& name,
               IKivDataEventArgs* args) override {
    std::string line = tag + name.c_str() + " " + objectName(kivQuery<IKivDataObject>(source,
                                                                  "IKivDataObject"));
    for (const char* key : keys)
      line += " " + argText(args, key);
    log->push_back(line);
    lastArgs = args;
    if (hook)
      hook(source, args);
  }

  std::string tag;
  std::vector<const char*> keys;
  std::vector<std::string>* log;
  std::vector<std::string> own;
  IKivDataEventArgs* lastArgs = nullptr;
  std::function<void(IKivDataEventSource*, IKivDataEventArgs*)> hook;
};

class ScriptedAction : public Action {
public:
  using Hook = std::function<void(IKivDataEventSource*, const KivCString&, IKivDataEventArgs*,
                                  const IterStack<DataObject*>*)>;

  ScriptedAction(std::string tag, std::vector<std::string>* log, Hook hook = nullptr)
      : tag(std::move(tag)), log(log), hook(std::move(hook)) {}
  // The Database keeps a raw pointer: a test's Action leaves it before dying.
  ~ScriptedAction() override;

  const char* className() const override { return "ScriptedAction"; }
  void execute(IKivDataEventSource* source, const KivCString& event, IKivDataEventArgs* args,
               const IterStack<DataObject*>* children) override {
    std::string line = tag + " " + event.c_str() + " " +
                       objectName(kivQuery<IKivDataObject>(source, "IKivDataObject")) + " [";
    for (int32_t i = 1; children && i <= children->count(); ++i)
      line += (i > 1 ? "," : "") + objectName(children->at(i));
    log->push_back(line + "]");
    if (hook)
      hook(source, event, args, children);
  }

  std::string tag;
  std::vector<std::string>* log;
  Hook hook;
};

inline ScriptedAction::~ScriptedAction() {
  if (id() >= 0)
    if (Database* database = Database::instance())
      database->unregisterAction(this);
}

// Counts the deaths it is told of.
class DeathCounter : public IKivLifetimeListener {
public:
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (name)
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out);
  }
  const char* className() const override { return "DeathCounter"; }
  void subjectDying(IKivLifetimeSubject*) override {
    ++deaths;
    if (hook)
      hook();
  }

  int deaths = 0;
  std::function<void()> hook;
};

template <class T>
IPtr<T> makeObject(const char* name) {
  IPtr<T> object(new T);
  object->setName(KivString(name));
  return object;
}

inline Bytes fileOf(const std::function<void(KivFileWrite&)>& body) {
  MemoryOutput out;
  out.setFileVersion(10);
  {
    KivFileWrite writer(&out, true);
    writer.writeRootHead();
    body(writer);
    writer.close();
  }
  return out.bytes();
}

// A reader over `bytes`, entered past the root head; it owns its input.
struct FileReader {
  explicit FileReader(const Bytes& bytes) : input(bytes), reader(&input) {
    rootOk = reader.readRootHead();
  }
  MemoryInput input;
  KivFileRead reader;
  bool rootOk = false;
};

inline PlatformException* caught(const std::function<void()>& call) {
  try {
    call();
  } catch (PlatformException* e) {
    return e;
  }
  return nullptr;
}
