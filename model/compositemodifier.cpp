//===- compositemodifier.cpp - Modifiers run in order as one --------------===//
#include "model/compositemodifier.h"

#include "core/classwalk.h"
#include "kivbasictypes/ikivprogress.h"
#include "kivbasictypes/tovprogress.h"
#include "model/progress.h"
#include "model/progressproperty.h"
#include "properties/intproperty.h"
#include "properties/routedproperty.h"

namespace {

using SizeProperty = RoutedPropertyTemplate<int, IntProperty, CompositeModifier>;

ProgressProperty* progressPropertyOf(IKivModifier* modifier) {
  auto* map = kivQuery<PropertyMap>(modifier, "PropertyMap");
  if (!map || !map->hasProperty("progress"))
    return nullptr;
  return kivQuery<ProgressProperty>(map->getProperty("progress"), "ProgressProperty");
}

} // namespace

CompositeModifier::CompositeModifier() {
  addProperty(new ProgressProperty(KivString("progress"), false, true));
  addProperty(new SizeProperty(KivString("size"), true, this, &CompositeModifier::size));
}

CompositeModifier::~CompositeModifier() { clear(); }

void CompositeModifier::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "CompositeModifier");
    Modifier::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivCompositeModifier");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "CompositeModifier", this, out) ||
      kivAnswer(name, "IKivCompositeModifier", static_cast<IKivCompositeModifier*>(this), out))
    return;
  Modifier::queryInterface(name, out);
}

int CompositeModifier::add(IKivModifier* modifier, float weight) {
  if (!modifier)
    return 0;
  modifiers_.push(modifier);
  modifier->addRef();
  weights_.push(weight);
  return modifiers_.count();
}

IKivModifier* CompositeModifier::modifier(int index) {
  if (index < 0 || index >= modifiers_.count())
    return nullptr;
  return modifiers_.at(index + 1);
}

void CompositeModifier::clear() {
  while (!modifiers_.isEmpty())
    modifiers_.pop()->release();
}

void CompositeModifier::run() {
  IProgress* progress = nullptr;
  if (ProgressProperty* own = progressPropertyOf(this))
    progress = own->get();
  if (!progress)
    progress = processProgress();
  IKivProgressCallback* callback = progress ? progress->callback() : nullptr;
  auto* tree = kivQuery<IKivProgress>(callback, "IKivProgress");

  weights_.push(-1.0f);
  TovProgressSubdivide split(tree);
  split.begin(weights_.data() + 1);
  for (int32_t i = 1; i <= modifiers_.count(); ++i) {
    IKivModifier* child = modifiers_.at(i);
    if (ProgressProperty* childProgress = progressPropertyOf(child))
      childProgress->set(progress);
    child->run();
    if (!split.next())
      break;
  }
  weights_.pop();
  split.end();
}
