//===- documentitemconfig.cpp - Property records of the configuration -----===//
#include "documents/documentitemconfig.h"

#include "documents/ikivdomxml.h"
#include "kivbasictypes/ikivwriteable.h"
#include "model/dataobject.h"
#include "properties/objectproperty.h"

PropertyConfig* PropertyConfig::parse(const IKivDOMXmlElement& element) {
  auto* record = new PropertyConfig;
  const KivString type = element.attribute(KivString("type"));
  record->name = element.attribute(KivString("name"));
  record->defaultValue = element.attribute(KivString("default"));
  record->persistable = element.attribute(KivString("persistable")) == "false" ? 0 : 1;
  if (type == "bool")
    record->type = kBool;
  else if (type == "double")
    record->type = kDouble;
  else if (type == "int")
    record->type = kInt;
  else if (type == "string")
    record->type = kString;
  else if (type == "DataObject")
    record->type = kDataObject;
  return record;
}

void PropertyConfig::applyTo(DataObject* object) const {
  // A record without a name describes no property.
  if (name.isEmpty())
    return;
  const KivString key = name;
  const char* text = key.utf8Text();
  if (!object->hasProperty(name)) {
    switch (type) {
    case kDouble:
      object->set(text, defaultValue.toDouble());
      break;
    case kInt:
      object->set(text, defaultValue.toInt());
      break;
    case kDataObject:
      object->addProperty(new ObjectProperty(name, nullptr, false));
      break;
    case kString:
      object->set(text, defaultValue);
      break;
    default:
      object->set(text, defaultValue == "true");
      break;
    }
  }
  if (auto* writeable = kivQuery<IKivWriteable>(object->getProperty(name), "IKivWriteable"))
    writeable->setPersistent(persistable != 0);
}

DocumentItemConfig::~DocumentItemConfig() {
  for (int32_t i = 1; i <= records_.count(); ++i)
    delete records_.at(i);
}

void DocumentItemConfig::applyTo(DataObject* object) const {
  if (!object)
    return;
  for (int32_t i = 1; i <= records_.count(); ++i)
    records_.at(i)->applyTo(object);
}
