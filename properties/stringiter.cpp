//===- stringiter.cpp - The snapshot iterator of a StringArray ------------===//
#include "properties/stringiter.h"

#include "core/classwalk.h"

StringIter::StringIter() : copy_(20) {}

StringIter::StringIter(const IterStack<KivString>& strings) : copy_(strings) {}

void StringIter::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, kInterfaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, kInterfaceName, static_cast<IKivStringIter*>(this), out);
}

void StringIter::value(KivString& out) {
  if (index_ >= 1 && index_ <= copy_.count())
    out = copy_.at(index_);
  else
    out = KivString();
}
