//===- progressproperty.cpp - A property that hands a progress object on --===//
#include "model/progressproperty.h"

#include "core/classwalk.h"

ProgressProperty::ProgressProperty() : ProgressProperty(KivString(), nullptr, false, true) {}

ProgressProperty::ProgressProperty(const KivString& name, bool readOnly, bool events)
    : ProgressProperty(name, nullptr, readOnly, events) {}

ProgressProperty::ProgressProperty(const KivString& name, IProgress* value, bool readOnly,
                                   bool events)
    : Property(name, readOnly, events), value_(value) {}

ProgressProperty::ProgressProperty(const ProgressProperty& other)
    : IKivUnknown(other), Property(other), IProgressProperty(other), value_(other.get()) {}

ProgressProperty::~ProgressProperty() = default;

void ProgressProperty::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    Property::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IProgressProperty");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out) ||
      kivAnswer(name, "IProgressProperty", static_cast<IProgressProperty*>(this), out))
    return;
  Property::queryInterface(name, out);
}

const char* ProgressProperty::typeName() const { return "kivapi.datamodel.Progress"; }

void ProgressProperty::valueText(const KivString&, KivString& out) const {
  out = KivString("Progress\n");
}

void ProgressProperty::copyValue(IKivProperty* source) {
  if (auto* from = kivQuery<ProgressProperty>(source, kClassName))
    set(from->get());
}

void ProgressProperty::init(const KivString& name, IProgress* value, bool readOnly) {
  setName(name);
  if (value != value_.get())
    value_ = value;
  setReadOnly(readOnly);
}

void ProgressProperty::set(IProgress* value) {
  IPtr<IProgress> old(value_);
  if (value != value_.get())
    value_ = value;
  notifyChanged<ProgressProperty, IProgress*>(old.get(), value_.get());
}

const KivClassId* ProgressProperty::classId() { return tableClassId(kClassName); }

// A progress object never goes to a file: the frame around the property
// stays empty, and reading leaves the property empty.
bool ProgressProperty::write(IKivDataModelWriter*) { return true; }

bool ProgressProperty::read(IKivDataModelReader*) {
  value_.clear();
  return true;
}
