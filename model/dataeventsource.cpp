//===- dataeventsource.cpp - Implementation base of what fires ------------===//
#include "model/dataeventsource.h"

#include "core/classwalk.h"

void DataEventSource::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DataEventSource");
    Primitive::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDataEventSource");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "DataEventSource", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  Primitive::queryInterface(name, out);
  if (!*out)
    kivAnswer(name, "IKivDataEventSource", static_cast<IKivDataEventSource*>(this), out);
}
