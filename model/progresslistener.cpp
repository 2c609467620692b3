//===- progresslistener.cpp - Base of an observer of progress -------------===//
#include "model/progresslistener.h"

#include "core/classwalk.h"

ProgressListener::~ProgressListener() {
  if (source_)
    source_->forgetListener(this);
}

void ProgressListener::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "ProgressListener");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IProgressListener");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "ProgressListener", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IProgressListener", static_cast<IProgressListener*>(this), out);
}
