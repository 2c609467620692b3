//===- datastorevalue.cpp - Modifiers that read and write settings --------===//
#include "model/datastorevalue.h"

#include "core/classwalk.h"
#include "core/idatastore.h"
#include "core/kivptr.h"
#include "core/platformexception.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/messageformat.h"
#include "properties/doubleproperty.h"
#include "properties/intproperty.h"
#include "properties/stringproperty.h"

#include <cstring>
#include <string>

namespace {

// The modifier's numbering of kinds, carried in "type".
enum ValueType { kAnyType = 0, kWideType = 1, kNarrowType = 2, kIntType = 3, kFloatType = 4 };

IDataStore* dataStore() {
  static SPtr<IDataStore> store("IDataStore");
  return store.get();
}

// Adds the nine properties behind "name", read-only as the class says.
void addValueProperties(PropertyMap& map, bool readOnly, bool events) {
  map.addProperty(new StringProperty(KivString("option"), KivString(), false, events));
  map.addProperty(new IntProperty(KivString("type"), 0, readOnly, events));
  map.addProperty(new IntProperty(KivString("intValue"), 0, readOnly, events));
  map.addProperty(new IntProperty(KivString("minIntValue"), 0, readOnly, events));
  map.addProperty(new IntProperty(KivString("maxIntValue"), 0, readOnly, events));
  map.addProperty(new DoubleProperty(KivString("floatValue"), 0.0, readOnly, events));
  map.addProperty(new DoubleProperty(KivString("minFloatValue"), 0.0, readOnly, events));
  map.addProperty(new DoubleProperty(KivString("maxFloatValue"), 0.0, readOnly, events));
  map.addProperty(new StringProperty(KivString("stringValue"), KivString(), readOnly, events));
}

// Writes through the property itself, past its read-only mark.
void store(PropertyMap& map, const char* name, int value) {
  kivQuery<IKivIntProperty>(map.getProperty(name), IntProperty::kInterfaceName)->set(value);
}
void store(PropertyMap& map, const char* name, double value) {
  kivQuery<IKivDoubleProperty>(map.getProperty(name), DoubleProperty::kInterfaceName)->set(value);
}
void store(PropertyMap& map, const char* name, const KivString& value) {
  kivQuery<IKivStringProperty>(map.getProperty(name), StringProperty::kInterfaceName)->set(value);
}

[[noreturn]] void optionNotSet(const char* className) {
  KivString text;
  formatMessage(text, "%1 not set", KivString("option"));
  throwClassErrorText(className, text);
}

// The name of a store kind in the mismatch message; empty for others.
const char* kindName(int kind) {
  switch (kind) {
  case kDataStoreString: return "KivStringValueType";
  case kDataStoreCString: return "StringValueType";
  case kDataStoreInt: return "IntValueType";
  case kDataStoreDouble: return "FloatValueType";
  default: return "";
  }
}

[[noreturn]] void mismatch(int kind) {
  KivString text;
  formatMessage(text, "type mismatch, %1 is expected", KivString(kindName(kind)));
  throwClassErrorText(SetDataStoreValue::kClassName, text);
}

template <class T>
void answer(T* self, const char* className, const char* interfaceName, void* interface,
            const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, className);
    self->Modifier::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, interfaceName);
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, className, self, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<PropertyMap*>(self)),
                out))
    return;
  self->Modifier::queryInterface(name, out);
  if (*out)
    return;
  if (std::strcmp(name, interfaceName) == 0)
    *out = interface;
}

} // namespace

// --- GetDataStoreValue -------------------------------------------------------

GetDataStoreValue::GetDataStoreValue() {
  addValueProperties(*this, true, (PropertyMap::flags_ & kMapPropertyEvents) != 0);
}

void GetDataStoreValue::queryInterface(const char* name, void** out) {
  answer(this, kClassName, "IKivGetDataStoreValue",
         static_cast<IKivGetDataStoreValue*>(this), name, out);
}

void GetDataStoreValue::run() {
  const KivString option = getString("option");
  if (option.isEmpty())
    optionNotSet(kClassName);
  const KivCString key(option.c_str());
  IDataStore* settings = dataStore();
  if (!settings || !settings->hasKey(key.c_str())) {
    store(*this, "type", static_cast<int>(kAnyType));
    throwClassError(kClassName, "value doesn't exist");
  }
  int kind = kDataStoreUnknown;
  settings->getKind(key.c_str(), &kind);
  bool found = false;
  switch (kind) {
  case kDataStoreInt: {
    const int value = settings->getInt(key.c_str(), &found);
    if (!found)
      break;
    int min = 0, max = 0;
    settings->getIntRange(key.c_str(), &min, &max, &found);
    store(*this, "intValue", value);
    store(*this, "minIntValue", min);
    store(*this, "maxIntValue", max);
    store(*this, "type", static_cast<int>(kIntType));
    return;
  }
  case kDataStoreDouble: {
    // Read as a double, so a fractional setting keeps its fraction.
    const double value = settings->getDouble(key.c_str(), &found);
    if (!found)
      break;
    double min = 0.0, max = 0.0;
    settings->getDoubleRange(key.c_str(), &min, &max, &found);
    store(*this, "floatValue", value);
    store(*this, "minFloatValue", min);
    store(*this, "maxFloatValue", max);
    store(*this, "type", static_cast<int>(kFloatType));
    return;
  }
  case kDataStoreString: {
    const KivString value = settings->getString(key.c_str(), &found);
    if (!found)
      break;
    store(*this, "stringValue", value);
    store(*this, "type", static_cast<int>(kWideType));
    return;
  }
  case kDataStoreCString: {
    const char* value = settings->getCString(key.c_str(), &found);
    if (!found)
      break;
    store(*this, "stringValue", KivString(value ? value : ""));
    store(*this, "type", static_cast<int>(kNarrowType));
    return;
  }
  default:
    break;
  }
  store(*this, "type", static_cast<int>(kAnyType));
}

// --- SetDataStoreValue -------------------------------------------------------

SetDataStoreValue::SetDataStoreValue() {
  addValueProperties(*this, false, (PropertyMap::flags_ & kMapPropertyEvents) != 0);
}

void SetDataStoreValue::queryInterface(const char* name, void** out) {
  answer(this, kClassName, "IKivSetDataStoreValue",
         static_cast<IKivSetDataStoreValue*>(this), name, out);
}

void SetDataStoreValue::run() {
  const KivString option = getString("option");
  if (option.isEmpty())
    optionNotSet(kClassName);
  const int type = getInt("type");
  const KivCString key(option.c_str());
  IDataStore* settings = dataStore();
  if (!settings)
    throwClassError(kClassName, "value doesn't exist");

  if (!settings->hasKey(key.c_str())) {
    const std::string path = key.c_str();
    const size_t slash = path.rfind('/');
    if (slash != std::string::npos)
      settings->addGroup(path.substr(0, slash).c_str());
    switch (type) {
    case kWideType:
      settings->addString(key.c_str(), 256, getString("stringValue"), 1);
      break;
    case kNarrowType:
      settings->addCString(key.c_str(), 256, getString("stringValue").c_str(), 1);
      break;
    case kIntType:
      settings->addInt(key.c_str(), getInt("intValue"), getInt("minIntValue"),
                       getInt("maxIntValue"), 1);
      break;
    case kFloatType:
      settings->addDouble(key.c_str(), getDouble("floatValue"), getDouble("minFloatValue"),
                          getDouble("maxFloatValue"), 1);
      break;
    default:
      break;  // nothing to declare, and no message
    }
    return;
  }

  int kind = kDataStoreUnknown;
  settings->getKind(key.c_str(), &kind);
  switch (kind) {
  case kDataStoreInt:
    if (type != kIntType && type != kAnyType)
      mismatch(kind);
    settings->setInt(0, key.c_str(), getInt("intValue"));
    return;
  case kDataStoreDouble:
    if (type != kFloatType && type != kAnyType)
      mismatch(kind);
    settings->setDouble(0, key.c_str(), getDouble("floatValue"));
    return;
  case kDataStoreCString:
  case kDataStoreString: {
    if (type != kAnyType && type != kWideType && type != kNarrowType)
      mismatch(kind);
    const KivString value = getString("stringValue");
    if (kind == kDataStoreString)
      settings->setString(0, key.c_str(), value);
    else
      settings->setCString(0, key.c_str(), value.c_str());
    return;
  }
  default:
    mismatch(kind);
  }
}
