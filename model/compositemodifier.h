//===- compositemodifier.h - Modifiers run in order as one ------*- C++ -*-===//
//
// CompositeModifier runs its children on the calling thread, first to last,
// and divides its progress among them by weight: each child with a
// "progress" property reports into the composite's progress, scaled to its
// segment. A cancellation seen between two children ends the run; an
// exception from a child passes through, leaving the later children unrun.
// One reference is held on each child. Indices of modifier() count from 0.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"
#include "model/modifier.h"

class IKivCompositeModifier : public virtual IKivUnknown {
public:
  virtual void run() = 0;                                     // 1
  virtual int add(IKivModifier* modifier, float weight) = 0;  // 2
  virtual IKivModifier* modifier(int index) = 0;              // 3
  virtual void clear() = 0;                                   // 4
};

class CompositeModifier : public Modifier, public IKivCompositeModifier {
public:
  CompositeModifier();
  ~CompositeModifier() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "CompositeModifier"; }

  void run() override;
  int add(IKivModifier* modifier, float weight) override;
  IKivModifier* modifier(int index) override;
  // Drops the children, last first. The weights stay: a composite that is
  // filled again appends its new weights behind the old ones. We keep that
  // as it is, since callers may rely on it; refilling a cleared composite
  // therefore needs a fresh object to pair new weights with new children.
  void clear() override;

  int size() const { return modifiers_.count(); }

private:
  IterStack<IKivModifier*> modifiers_{2};
  IterStack<float> weights_{2};
};
