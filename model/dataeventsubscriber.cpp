//===- dataeventsubscriber.cpp - Subscriber on implementation classes -----===//
#include "model/dataeventsubscriber.h"

#include "core/classwalk.h"
#include "model/dataeventargs.h"
#include "model/dataeventsource.h"

void DataEventSubscriber::onDataEvent(DataEventSource*, const KivCString&, DataEventArgs*) {}

void DataEventSubscriber::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DataEventSubscriber");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivEventSubscriber");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "DataEventSubscriber", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivEventSubscriber", static_cast<IKivEventSubscriber*>(this), out);
}

void DataEventSubscriber::onEvent(IKivDataEventSource* source, const KivCString& name,
                                  IKivDataEventArgs* args) {
  onDataEvent(kivQuery<DataEventSource>(source, "DataEventSource"), name,
              kivQuery<DataEventArgs>(args, "DataEventArgs"));
}
