//===- propertysupport.h - Helpers shared by the property tests -*- C++ -*-===//
//
// Changes records each "property_modified" it hears: the source and the
// values of "oldValue" and "newValue" as text, plus the argument object,
// which it keeps alive. catchCode runs a call that must throw a
// PlatformException and gives its code and text.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "core/platformexception.h"
#include "model/dataeventargs.h"
#include "model/dataeventsubscriber.h"
#include "model/inprocesshost.h"
#include "properties/ikivproperty.h"

#include <functional>
#include <string>
#include <vector>

inline std::string text(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

class Changes : public DataEventSubscriber {
public:
  void onDataEvent(DataEventSource* source, const KivCString& name, DataEventArgs* args) override {
    std::string entry = name.c_str();
    if (args) {
      for (const char* key : {"oldValue", "newValue"}) {
        IKivProperty* p = args->getProperty(key);
        KivString value;
        if (p)
          p->valueText(p->name(), value);
        entry += std::string(" ") + (p ? text(value) : "-");
      }
    }
    calls.push_back(entry);
    sources.push_back(source);
    kept.push_back(IPtr<IKivDataEventArgs>(args));
    if (onCall)
      onCall();
  }
  std::string last() const { return calls.empty() ? "" : calls.back(); }

  std::vector<std::string> calls;
  std::vector<DataEventSource*> sources;
  std::vector<IPtr<IKivDataEventArgs>> kept;
  std::function<void()> onCall;
};

struct Thrown {
  int code = 0;
  std::string message;
};

inline Thrown catchCode(const std::function<void()>& call) {
  Thrown result;
  try {
    call();
    result.message = "(nothing thrown)";
  } catch (PlatformException* e) {
    result.code = e->code;
    result.message = text(e->message);
    delete e;
  }
  return result;
}

inline const KivCString& modified() {
  static const KivCString name = KivCString::view("property_modified");
  return name;
}
