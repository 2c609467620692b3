//===- propertymap.cpp - The ordered bag of named properties --------------===//
#include "properties/propertymap.h"

#include "base/basic/kivimage.h"
#include "core/classtree.h"
#include "core/classwalk.h"
#include "core/idatastore.h"
#include "core/platformexception.h"
#include "kivbasictypes/messageformat.h"
#include "model/dataobject.h"
#include "properties/boolproperty.h"
#include "properties/descriptions.h"
#include "properties/dirindex.h"
#include "properties/doubleproperty.h"
#include "properties/gridindex.h"
#include "properties/imageproperty.h"
#include "properties/intproperty.h"
#include "properties/kivboundsproperty.h"
#include "properties/kivcolorproperty.h"
#include "properties/kivgridpointproperty.h"
#include "properties/kivmaterialproperty.h"
#include "properties/kivquaternionproperty.h"
#include "properties/kivrectproperty.h"
#include "properties/objectproperty.h"
#include "properties/propertymapiter.h"
#include "properties/stringproperty.h"
#include "properties/transform3dproperty.h"
#include "properties/vectorproperty.h"
#include "model/progress.h"
#include "model/progressproperty.h"
#include "properties/arrayproperties.h"
#include "properties/dataobjectarrayproperty.h"
#include "properties/orientedtriangle.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <typeinfo>

namespace {

const char* const kWarnKey = "Advanced/Warning About Non-Existing Properties";
const char* const kDocumentationMissing = "Property Documentation missing. \n";

// 2 unknown, 0 off, 1 on. Two first readers compute the same value.
std::atomic<int8_t> gWarnSetting{2};

bool isType(const IKivProperty* p, const char* typeName) {
  return std::strcmp(p->typeName(), typeName) == 0;
}

// What the language's run-time type information reports for the object,
// demangled so that the message names the class as it is written.
KivString runtimeTypeName(const IKivProperty* p) {
  const char* mangled = typeid(*p).name();
  int status = 0;
  char* demangled = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
  KivString name(status == 0 && demangled ? demangled : mangled);
  std::free(demangled);
  return name;
}

KivString mapKey(const char* className, const KivString& name) {
  KivString key(className);
  key.append(":");
  key.append(name);
  return key;
}

// The type check of a set() and the write through the class's value
// interface. A property whose typeName() matches but which isn't of class P
// fails as a wrong type too.
template <class P, class V>
void storeChecked(IKivProperty* p, const char* name, const V& value) {
  const char* type = p->typeName();
  P* target = std::strcmp(type, P::kTypeName) == 0 ? kivQuery<P>(p, P::kClassName) : nullptr;
  if (!target)
    throwWrongType(KivString(P::kTypeName), KivString(name), KivString(type));
  target->set(value);
}

} // namespace

PropertyMap::PropertyMap() : flags_(defaultFlags()) {}

PropertyMap::PropertyMap(const PropertyMap& other)
    : DataEventSource(other), IKivPropertyMap(other), flags_(other.flags_) {
  for (const auto& [key, property] : other.properties_)
    properties_[key] = property->clone();
}

PropertyMap::PropertyMap(PropertyMap&& other) noexcept
    : DataEventSource(other), IKivPropertyMap(other), properties_(std::move(other.properties_)),
      flags_(other.flags_) {
  other.flags_ &= static_cast<uint8_t>(~(kMapWarnNonExisting | kMapPropertyEvents));
}

PropertyMap::~PropertyMap() = default;

void PropertyMap::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "PropertyMap");
    DataEventSource::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivPropertyMap");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "PropertyMap", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  DataEventSource::queryInterface(name, out);
  if (!*out)
    kivAnswer(name, "IKivPropertyMap", static_cast<IKivPropertyMap*>(this), out);
}

// --- Flags -------------------------------------------------------------------

uint8_t PropertyMap::defaultFlags() { return warnNonExisting() ? 30 : 28; }

bool PropertyMap::warnNonExisting() {
  int8_t setting = gWarnSetting.load(std::memory_order_relaxed);
  if (setting == 2) {
    SPtr<IDataStore> store("IDataStore");
    setting = store && store->getInt(kWarnKey, nullptr) != 0 ? 1 : 0;
    gWarnSetting.store(setting, std::memory_order_relaxed);
  }
  return setting == 1;
}

void PropertyMap::resetWarnNonExistingSetting() {
  gWarnSetting.store(2, std::memory_order_relaxed);
}

void PropertyMap::setWarnNonExisting(bool on) {
  if (on)
    flags_ |= kMapWarnNonExisting;
  else
    flags_ &= static_cast<uint8_t>(~kMapWarnNonExisting);
}

// --- Look-up -----------------------------------------------------------------

IKivProperty* PropertyMap::getProperty(const char* name) const {
  if (const IPtr<IKivProperty>* slot = const_cast<Properties&>(properties_).value(name))
    return slot->get();
  if (flags_ & kMapWarnNonExisting)
    throwNoSuchProperty(KivString(name));
  return nullptr;
}

IKivProperty* PropertyMap::getProperty(const KivString& name) const {
  if (const IPtr<IKivProperty>* slot = const_cast<Properties&>(properties_).value(name))
    return slot->get();
  if (flags_ & kMapWarnNonExisting)
    throwNoSuchProperty(name);
  return nullptr;
}

bool PropertyMap::hasProperty(const char* name) const { return properties_.contains(name); }

bool PropertyMap::hasProperty(const KivString& name) const { return properties_.contains(name); }

Property* PropertyMap::getPropertyObject(const char* name) const {
  return kivQuery<Property>(getProperty(name), "Property");
}

Property* PropertyMap::getPropertyObject(const KivString& name) const {
  return kivQuery<Property>(getProperty(name), "Property");
}

IKivPropertyMapIter* PropertyMap::iterator() const { return new PropertyMapIter(&properties_); }

KivString PropertyMap::propertyNames() const {
  KivString names;
  bool first = true;
  for (const auto& entry : properties_) {
    if (!first)
      names.append(",");
    names.append(entry.first);
    first = false;
  }
  return names;
}

// --- Setting values ----------------------------------------------------------

IKivProperty* PropertyMap::writableProperty(const char* name) {
  IKivProperty* p = getProperty(name);
  if (p && p->isReadOnly())
    throwReadOnly(KivString(name));
  return p;
}

template <class P, class V>
void PropertyMap::setValue(const char* name, const V& value) {
  IKivProperty* p = writableProperty(name);
  if (!p) {
    // Nothing fires: a new property has no subscribers yet.
    addProperty(new P(KivString(name), value, false, (flags_ & kMapPropertyEvents) != 0));
    return;
  }
  storeChecked<P>(p, name, value);
}

void PropertyMap::set(const char* name, const KivString& value) {
  setValue<StringProperty>(name, value);
}

void PropertyMap::set(const char* name, const char* value) {
  setValue<StringProperty>(name, KivString(value));
}

void PropertyMap::setUtf8(const char* name, const char* text) {
  set(name, KivString::fromUtf8(text));
}

void PropertyMap::set(const char* name, double value) { setValue<DoubleProperty>(name, value); }

void PropertyMap::set(const char* name, const KivRect& value) {
  setValue<KivRectProperty>(name, value);
}

void PropertyMap::set(const char* name, const KivQuaternion& value) {
  setValue<KivQuaternionProperty>(name, value);
}

void PropertyMap::set(const char* name, const KivMaterial& value) {
  setValue<KivMaterialProperty>(name, value);
}

void PropertyMap::set(const char* name, const KivColor& value) {
  setValue<KivColorProperty>(name, value);
}

void PropertyMap::set(const char* name, KivGridPoint value) {
  setValue<KivGridPointProperty>(name, value);
}

void PropertyMap::set(const char* name, GridIndex* value) {
  setValue<GridIndexProperty>(name, value);
}

void PropertyMap::set(const char* name, DirIndex* value) {
  setValue<DirIndexProperty>(name, value);
}

void PropertyMap::set(const char* name, const KivBounds& value) {
  setValue<KivBoundsProperty>(name, value);
}

void PropertyMap::set(const char* name, const KivMatrix& value) {
  setValue<Transform3DProperty>(name, value);
}

void PropertyMap::set(const char* name, const Vector2F& value) {
  setValue<Vector2FProperty>(name, value);
}

void PropertyMap::set(const char* name, const Vector2D& value) {
  setValue<Vector2DProperty>(name, value);
}

void PropertyMap::set(const char* name, const KivVector& value) {
  setValue<Vector3DProperty>(name, value);
}

void PropertyMap::setObject(const char* name, IKivProperty* p, DataObject* value,
                            bool checkDeclared) {
  if (!p) {
    addProperty(
        new ObjectProperty(KivString(name), value, false, (flags_ & kMapPropertyEvents) != 0));
    return;
  }
  auto* target = checkDeclared ? kivQuery<ObjectProperty>(p, ObjectProperty::kClassName)
                               : kivQuery<IKivObjectProperty>(p, ObjectProperty::kInterfaceName);
  if (!target)
    throwWrongType(KivString(p->typeName()), KivString(name), KivString("DataObject"));
  if (checkDeclared && value) {
    // A property declared as plain DataObject takes any object.
    const char* declared = static_cast<ObjectProperty*>(target)->declaredType();
    if (std::strcmp(declared, ObjectProperty::kTypeName) != 0 &&
        std::strcmp(value->scriptClassName(), declared) != 0)
      throwWrongType(KivString(value->scriptClassName()), KivString(name), KivString(declared));
  }
  target->set(value);
}

void PropertyMap::set(const char* name, DataObject* value) {
  setObject(name, writableProperty(name), value, true);
}

void PropertyMap::set(const char* name, IKivDataObject* value) {
  setObject(name, writableProperty(name), kivQuery<DataObject>(value, DataObject::kClassName),
            false);
}

// bool and int may be written into each other's property; reading has no
// such leniency.
void PropertyMap::set(const char* name, bool value) {
  IKivProperty* p = writableProperty(name);
  if (p && isType(p, IntProperty::kTypeName)) {
    storeChecked<IntProperty>(p, name, value ? 1 : 0);
    return;
  }
  if (!p) {
    addProperty(new BoolProperty(KivString(name), value, false, (flags_ & kMapPropertyEvents) != 0));
    return;
  }
  storeChecked<BoolProperty>(p, name, value);
}

void PropertyMap::set(const char* name, int value) {
  IKivProperty* p = writableProperty(name);
  if (p && isType(p, BoolProperty::kTypeName)) {
    storeChecked<BoolProperty>(p, name, value != 0);
    return;
  }
  if (!p) {
    addProperty(new IntProperty(KivString(name), value, false, (flags_ & kMapPropertyEvents) != 0));
    return;
  }
  storeChecked<IntProperty>(p, name, value);
}

void PropertyMap::replaceProperty(const char* name, IKivProperty* p) {
  if (hasProperty(name))
    detachProperty(name);
  else if (flags_ & kMapWarnNonExisting)
    throwNoSuchProperty(KivString(name));
  addProperty(p, name);
}

// --- Images: the property is asked for its interface, not its type name ----

void PropertyMap::set(const char* name, IKivImage* value) {
  KivImage* image = kivQuery<KivImage>(value, "KivImage");
  IKivProperty* p = writableProperty(name);
  if (!p) {
    addProperty(new ImageProperty(KivString(name), image, false, (flags_ & kMapPropertyEvents) != 0));
    return;
  }
  auto* target = kivQuery<IKivImageProperty>(p, "IKivImageProperty");
  if (!target)
    throwWrongType(KivString(p->typeName()), KivString(name), KivString("Image"));
  target->set(image);
}

KivImage* PropertyMap::getImage(const char* name) const {
  return getValue<ImageProperty>(name, "KivImage");
}

KivImage* PropertyMap::getImage(const KivString& name) const {
  return getValue<ImageProperty>(name, "KivImage");
}

IKivImage* PropertyMap::getImageInterface(const char* name) const { return getImage(name); }

IKivImage* PropertyMap::getImageInterface(const KivString& name) const { return getImage(name); }

void PropertyMap::clearProperty(const char* name) {
  if (IKivProperty* p = writableProperty(name))
    p->clearValue();
}

// --- Getters -----------------------------------------------------------------

template <class P, class Name>
typename P::ValueType PropertyMap::getValue(const Name& name, const char* label) const {
  IKivProperty* p = getProperty(name);
  if (!p)
    return typename P::ValueType();
  if (P* value = kivQuery<P>(p, P::kClassName))
    return value->get();
  throwWrongType(KivString(label), KivString(name), runtimeTypeName(p));
}

int PropertyMap::getInt(const char* name) const { return getValue<IntProperty>(name, "int"); }

bool PropertyMap::getBool(const char* name) const { return getValue<BoolProperty>(name, "bool"); }

double PropertyMap::getDouble(const char* name) const {
  return getValue<DoubleProperty>(name, "double");
}

KivString PropertyMap::getString(const char* name) const {
  return getValue<StringProperty>(name, "string");
}

KivVector PropertyMap::getVector3D(const char* name) const {
  return getValue<Vector3DProperty>(name, "Vector3D");
}

DataObject* PropertyMap::getDataObject(const char* name) const {
  return getValue<ObjectProperty>(name, "DataObject");
}

DataObject* PropertyMap::getDataObject(const KivString& name) const {
  return getValue<ObjectProperty>(name, "DataObject");
}

Vector2D PropertyMap::getVector2D(const char* name) const {
  return getValue<Vector2DProperty>(name, "Vector2D");
}

Vector2F PropertyMap::getVector2F(const char* name) const {
  return getValue<Vector2FProperty>(name, "Vector2F");
}

KivMatrix PropertyMap::getMatrix(const char* name) const {
  return getValue<Transform3DProperty>(name, "KivMatrix");
}

KivBounds PropertyMap::getBounds(const char* name) const {
  return getValue<KivBoundsProperty>(name, "KivBounds");
}

DirIndex* PropertyMap::getDirIndex(const char* name) const {
  return getValue<DirIndexProperty>(name, "DirIndex");
}

DirIndex* PropertyMap::getDirIndex(const KivString& name) const {
  return getValue<DirIndexProperty>(name, "DirIndex");
}

GridIndex* PropertyMap::getGridIndex(const char* name) const {
  return getValue<GridIndexProperty>(name, "GridIndex");
}

GridIndex* PropertyMap::getGridIndex(const KivString& name) const {
  return getValue<GridIndexProperty>(name, "GridIndex");
}

KivGridPoint PropertyMap::getGridPoint(const char* name) const {
  return getValue<KivGridPointProperty>(name, "KivGridPoint");
}

KivGridPoint PropertyMap::getGridPoint(const KivString& name) const {
  return getValue<KivGridPointProperty>(name, "KivGridPoint");
}

KivColor PropertyMap::getColor(const char* name) const {
  return getValue<KivColorProperty>(name, "KivColor");
}

KivMaterial PropertyMap::getMaterial(const char* name) const {
  return getValue<KivMaterialProperty>(name, "KivMaterial");
}

KivQuaternion PropertyMap::getQuaternion(const char* name) const {
  return getValue<KivQuaternionProperty>(name, "KivQuaternion");
}

KivRect PropertyMap::getRect(const char* name) const {
  return getValue<KivRectProperty>(name, "KivRect");
}

// --- Entering and removing ---------------------------------------------------

void PropertyMap::addProperty(IKivProperty* p) {
  if (p)
    properties_[p->name()] = p;
}

void PropertyMap::addProperty(IKivProperty* p, const char* name) {
  if (!p)
    return;
  if (IPtr<IKivProperty>* slot = properties_.value(name)) {
    if (slot->get() != p)
      *slot = p;
    return;
  }
  properties_[KivString(name)] = p;
}

bool PropertyMap::removeProperty(const KivString& name) { return properties_.remove(name); }

void PropertyMap::copyFrom(const PropertyMap& other) {
  flags_ = other.flags_;
  for (const auto& [key, property] : other.properties_) {
    if (IPtr<IKivProperty>* mine = properties_.value(key))
      (*mine)->copyValue(property.get());
    else
      properties_[key] = property->clone();
  }
}

// No code of the component calls this. Decided as a swap in the two trees:
// each side's property of that name goes to the other map, and a side that
// had none leaves the other without one. False if neither has the name.
// detachProperty and addProperty aren't involved; a class that keeps
// subscriptions on its properties overrides this.
bool PropertyMap::exchangeProperty(PropertyMap* other, const KivString& name) {
  IPtr<IKivProperty> mine;
  IPtr<IKivProperty> theirs;
  properties_.find(name, &mine);
  if (other)
    other->properties_.find(name, &theirs);
  if (!mine && !theirs)
    return false;
  if (theirs)
    properties_[name] = theirs.get();
  else
    properties_.remove(name);
  if (other) {
    if (mine)
      other->properties_[name] = mine.get();
    else
      other->properties_.remove(name);
  }
  return true;
}

uint64_t PropertyMap::memorySize() const {
  uint64_t size = 8;
  for (const auto& entry : properties_)
    size += entry.second->memorySize();
  return size;
}

// --- Documentation -----------------------------------------------------------

bool PropertyMap::findDocumentation(const KivString& name, KivString& out) {
  Descriptions& store = Descriptions::instance();
  KivString key = mapKey(className(), name);
  if (store.contains(key)) {
    out = store.get(key);
    return true;
  }
  IterStack<KivClassEntry> entries;
  classTree(static_cast<IKivUnknown*>(this), entries);
  for (int32_t i = 1; i <= entries.count(); ++i) {
    key = mapKey(entries.at(i).name, name);
    if (store.contains(key)) {
      out = store.get(key);
      return true;
    }
  }
  return false;
}

bool PropertyMap::getDocumentation(const char* name, KivString& out) {
  return findDocumentation(KivString(name), out);
}

bool PropertyMap::setDocumentation(const char* name, const KivString& text) {
  if (!hasProperty(name))
    return false;
  Descriptions::instance().set(mapKey(className(), KivString(name)), text);
  return true;
}

KivString PropertyMap::documentationText() {
  KivString result;
  for (const auto& [key, property] : properties_) {
    KivString type(property->typeName());
    KivString value;
    property->valueText(key, value);
    KivString documentation;
    if (!findDocumentation(key, documentation))
      documentation = kDocumentationMissing;
    KivString line;
    formatMessage(line,
                  property->isReadOnly() ? "   %1   %2 = %3   %4 (Read Only)\n"
                                         : "   %1   %2 = %3   %4\n",
                  type, key, value, documentation);
    result.append(line);
  }
  return result;
}

KivString PropertyMap::documentationTable() {
  KivString result;
  if (properties_.count() == 0)
    return result;
  KivString no, yes, minusInf, plusInf;
  translateMessage(no, "No");
  translateMessage(yes, "Yes");
  translateMessage(minusInf, "-INF");
  translateMessage(plusInf, "+INF");

  for (const auto& [key, property] : properties_) {
    IKivProperty* p = property.get();
    const bool readOnly = p->isReadOnly();

    const char* typeName = p->typeName();
    const char* dot = std::strrchr(typeName, '.');
    KivString type(dot ? dot + 1 : typeName);

    KivString text;
    p->valueText(key, text);
    KivString value;
    formatMessage(value, "%1", text);

    // Writable numbers show their range, and values beyond the printable
    // limits as infinities; an empty box and the identity show as words.
    KivString range;
    if (!readOnly) {
      if (auto* ip = kivQuery<IntProperty>(p, IntProperty::kClassName)) {
        int min = 0, max = 0;
        ip->getBounds(&min, &max);
        formatMessage(range, "%1 - %2", min > -1073741823 ? KivString(min) : minusInf,
                      max < 1073741823 ? KivString(max) : plusInf);
        const double v = ip->get();
        if (v > 1073741823.0)
          value = plusInf;
        else if (v < -1073741823.0)
          value = minusInf;
      } else if (auto* dp = kivQuery<DoubleProperty>(p, DoubleProperty::kClassName)) {
        const double limit = 1.7014117331926443e38;
        double min = 0, max = 0;
        dp->getBounds(&min, &max);
        formatMessage(range, "%1 - %2", min > -limit ? KivString(min) : minusInf,
                      max < limit ? KivString(max) : plusInf);
        const double v = dp->get();
        if (v > limit)
          value = plusInf;
        else if (v < -limit)
          value = minusInf;
        else
          formatMessage(value, "%1", KivString(v));
      } else if (auto* bp = kivQuery<KivBoundsProperty>(p, KivBoundsProperty::kClassName)) {
        const KivBounds b = bp->get();
        if (b.min.x > b.max.x)
          value = "empty";
      } else if (auto* mp = kivQuery<Transform3DProperty>(p, Transform3DProperty::kClassName)) {
        if (mp->get().isIdentity())
          value = "identity";
      }
    }

    KivString documentation;
    if (!findDocumentation(key, documentation))
      documentation = kDocumentationMissing;

    KivString row;
    formatMessage(row, "%1@     - %2@     - %3@     - %4@     - %5@     - %6@@", key,
                  readOnly ? yes : no, type, range, value, documentation);
    result.append(row);
  }
  return result;
}

// --- Collections, progress and mesh values -----------------------------------

IKivProperty* PropertyMap::getProperty(const char* name) {
  return static_cast<const PropertyMap*>(this)->getProperty(name);
}

IKivProperty* PropertyMap::getProperty(const KivString& name) {
  return static_cast<const PropertyMap*>(this)->getProperty(name);
}

template <class P, class V>
void PropertyMap::setUnchecked(const char* name, V* value) {
  IKivProperty* p = writableProperty(name);
  if (!p) {
    addProperty(new P(KivString(name), value, false, (flags_ & kMapPropertyEvents) != 0));
    return;
  }
  // No type name is compared: the class query decides, and a property of
  // another class is left as it is.
  if (P* target = kivQuery<P>(p, P::kClassName))
    target->set(value);
}

void PropertyMap::set(const char* name, ImageArray* value) {
  setValue<ImageArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, Progress* value) {
  set(name, static_cast<IProgress*>(value));
}
void PropertyMap::set(const char* name, Array3D* value) { setValue<Array3DProperty>(name, value); }
void PropertyMap::set(const char* name, StringArray* value) {
  setValue<StringArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, IntArray* value) {
  setValue<IntArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, DoubleArray2D* value) {
  setValue<DoubleArray2DProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector3DArray2D* value) {
  setValue<Vector3DArray2DProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector3DArray* value) {
  setValue<Vector3DArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector2FArray* value) {
  setValue<Vector2FArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, Vector2DArray* value) {
  setValue<Vector2DArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, ColorArray* value) {
  setValue<ColorArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, DoubleArray* value) {
  setValue<DoubleArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, DataObjectArray* value) {
  setValue<DataObjectArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, ByteArray* value) {
  setValue<ByteArrayProperty>(name, value);
}
void PropertyMap::set(const char* name, OrientedTriangleStackList* value) {
  setUnchecked<OrientedTriangleStackListProperty>(name, value);
}
void PropertyMap::set(const char* name, OrientedTriangleStack* value) {
  setUnchecked<OrientedTriangleStackProperty>(name, value);
}
void PropertyMap::set(const char* name, OrientedTriangle* value) {
  setUnchecked<OrientedTriangleProperty>(name, value);
}
void PropertyMap::set(const char* name, Transform3DArray* value) {
  setValue<Transform3DArrayProperty>(name, value);
}

void PropertyMap::set(const char* name, IProgress* value) {
  static const char* const kProgressType = "kivapi.datamodel.Progress";
  IKivProperty* p = writableProperty(name);
  if (!p) {
    addProperty(new ProgressProperty(KivString(name), value, false,
                                     (flags_ & kMapPropertyEvents) != 0));
    return;
  }
  const char* type = p->typeName();
  auto* target = std::strcmp(type, kProgressType) == 0
                     ? kivQuery<ProgressProperty>(p, ProgressProperty::kClassName)
                     : nullptr;
  if (!target)
    throwWrongType(KivString(kProgressType), KivString(name), KivString(type));
  target->set(value);
}

IProgress* PropertyMap::getProgressInterface(const char* name) const {
  IKivProperty* p = getProperty(name);
  if (!p)
    return nullptr;
  if (auto* value = kivQuery<ProgressProperty>(p, ProgressProperty::kClassName))
    return value->get();
  throwWrongType(KivString("IProgress"), KivString(name), runtimeTypeName(p));
}

Progress* PropertyMap::getProgress(const char* name) const {
  return kivQuery<Progress>(getProgressInterface(name), "Progress");
}

ImageArray* PropertyMap::getImageArray(const char* name) const {
  return getValue<ImageArrayProperty>(name, "ImageArray");
}

#define KIV_MAP_GETTER_PAIR(Type, Getter, Label)                                                   \
  Type* PropertyMap::Getter(const char* name) const {                                              \
    return getValue<Type##Property>(name, Label);                                                  \
  }                                                                                                \
  Type* PropertyMap::Getter(const KivString& name) const {                                         \
    return getValue<Type##Property>(name, Label);                                                  \
  }

KIV_MAP_GETTER_PAIR(DataObjectArray, getDataObjectArray, "DataObjectArray")
KIV_MAP_GETTER_PAIR(Transform3DArray, getTransform3DArray, "Transform3DArray")
KIV_MAP_GETTER_PAIR(OrientedTriangle, getOrientedTriangle, "OrientedTriangle")
KIV_MAP_GETTER_PAIR(OrientedTriangleStack, getOrientedTriangleStack, "OrientedTriangleStack")
KIV_MAP_GETTER_PAIR(OrientedTriangleStackList, getOrientedTriangleStackList,
                    "OrientedTriangleStackList")
KIV_MAP_GETTER_PAIR(Array3D, getArray3D, "Array3D")
KIV_MAP_GETTER_PAIR(ByteArray, getByteArray, "ByteArray")
KIV_MAP_GETTER_PAIR(StringArray, getStringArray, "StringArray")
KIV_MAP_GETTER_PAIR(IntArray, getIntArray, "IntArray")
KIV_MAP_GETTER_PAIR(DoubleArray, getDoubleArray, "DoubleArray")
KIV_MAP_GETTER_PAIR(ColorArray, getColorArray, "ColorArray")
KIV_MAP_GETTER_PAIR(Vector2DArray, getVector2DArray, "Vector2DArray")
KIV_MAP_GETTER_PAIR(Vector2FArray, getVector2FArray, "Vector2FArray")
KIV_MAP_GETTER_PAIR(Vector3DArray, getVector3DArray, "Vector3DArray")
KIV_MAP_GETTER_PAIR(DoubleArray2D, getDoubleArray2D, "DoubleArray2D")
KIV_MAP_GETTER_PAIR(Vector3DArray2D, getVector3DArray2D, "Vector3DArray2D")

#undef KIV_MAP_GETTER_PAIR
