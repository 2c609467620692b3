//===- classregistry.cpp - Registration of the class table ----------------===//
#include "core/classregistry.h"

#include "basic_types/iterstack.h"
#include "basic_types/map.h"
#include "core/classfactory.h"
#include "core/classids.h"
#include "core/datamodelinit.h"
#include "core/ikivcomponentmanager.h"
#include "core/lookup.h"
#include "documents/document.h"
#include "documents/documentdata.h"
#include "documents/documentgroup.h"
#include "documents/documentlistener.h"
#include "documents/documentmanager.h"
#include "documents/documentmanagerlistener.h"
#include "documents/platformbuildinfo.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/writequeue.h"
#include "model/dataevent.h"
#include "model/dataeventargs.h"
#include "model/database.h"
#include "model/databaseutil.h"
#include "model/datastorevalue.h"
#include "model/duplicate.h"
#include "model/dataobject.h"
#include "model/dataobjectarraylistener.h"
#include "model/dataobjectinstance.h"
#include "model/dynamicdataobject.h"
#include "model/internaldataobject.h"
#include "model/opaquedata.h"
#include "model/appproxymanager.h"
#include "model/compositemodifier.h"
#include "model/modifier.h"
#include "model/modifierjobqueue.h"
#include "model/progress.h"
#include "model/progresslistener.h"
#include "model/progressproperty.h"
#include "model/relationship.h"
#include "properties/boolproperty.h"
#include "properties/dataobjectarray.h"
#include "properties/dirindex.h"
#include "properties/doubleproperty.h"
#include "properties/gridindex.h"
#include "properties/intproperty.h"
#include "properties/kivboundsproperty.h"
#include "properties/kivcolorproperty.h"
#include "properties/kivmaterialproperty.h"
#include "properties/kivpythontypeconversionservice.h"
#include "properties/objectproperty.h"
#include "properties/propertymap.h"
#include "properties/stringiter.h"
#include "properties/stringproperty.h"
#include "properties/transform3dproperty.h"
#include "properties/vectorproperty.h"
#include "undo/undoinfo.h"
#include "undo/undomanager.h"
#include "undo/undomanagerlistener.h"
#include "properties/imageproperty.h"
#include "properties/arrayproperties.h"
#include "properties/dataobjectarrayproperty.h"
#include "properties/orientedtriangle.h"

namespace {

// Owns the name arrays; they go with the process-wide map at exit.
class InterfaceRegistry : public Map<KivClassId, IterStack<KivCString>*> {
public:
  InterfaceRegistry() : Map(17) {}
  ~InterfaceRegistry() {
    Iterator it(*this);
    for (bool more = it.first(); more; more = it.next())
      delete it.value();
  }
};

InterfaceRegistry& interfaceRegistry() {
  static InterfaceRegistry registry;
  return registry;
}

// Each class gets one static item factory, made at its first registration.
template <class T>
KivItemFactory* newInstanceFactory(const KivClassRow& row) {
  static KivTClassItemFactory<T> factory(row.id, row.name);
  return &factory;
}

template <class T>
KivItemFactory* singletonFactory(const KivClassRow& row) {
  static KivSingletonTClassItemFactory<T> factory(row.id, row.name);
  return &factory;
}

struct BuiltClass {
  const char* name;
  KivItemFactory* (*makeFactory)(const KivClassRow& row);
};

// The classes of the table that exist in this build. A row without an entry
// here is not registered, so the manager never hands out a class that is not
// there.
const BuiltClass kBuiltClasses[] = {
    {"Progress", &singletonFactory<Progress>},
    {"ProgressInstance", &newInstanceFactory<ProgressInstance>},
    {"ProgressListener", &newInstanceFactory<ProgressListener>},
    {"ProgressProperty", &newInstanceFactory<ProgressProperty>},
    {"Modifier", &newInstanceFactory<Modifier>},
    {"CompositeModifier", &newInstanceFactory<CompositeModifier>},
    {"ModifierJobQueue", &newInstanceFactory<ModifierJobQueue>},
    {"ModifierJobQueueCBObject", &newInstanceFactory<ModifierJobQueueCBObject>},
    {"DatamodelInit", &newInstanceFactory<DatamodelInit>},
    {"DatamodelShutdownListener", &newInstanceFactory<DatamodelShutdownListener>},
    {"WriteQueue", &singletonFactory<WriteQueue>},
    {"DataEvent", &newInstanceFactory<DataEvent>},
    {"DataEventArgs", &newInstanceFactory<DataEventArgs>},
    {"PropertyMap", &newInstanceFactory<PropertyMap>},
    {"BoolProperty", &newInstanceFactory<BoolProperty>},
    {"IntProperty", &newInstanceFactory<IntProperty>},
    {"DoubleProperty", &newInstanceFactory<DoubleProperty>},
    {"StringProperty", &newInstanceFactory<StringProperty>},
    {"DataObject", &newInstanceFactory<DataObject>},
    {"DynamicDataObject", &newInstanceFactory<DynamicDataObject>},
    {"InternalDataObject", &newInstanceFactory<InternalDataObject>},
    {"OpaqueData", &newInstanceFactory<OpaqueData>},
    {"DataObjectArrayListener", &newInstanceFactory<DataObjectArrayListener>},
    {"DataObjectInstance", &newInstanceFactory<DataObjectInstance>},
    {"Relationship", &newInstanceFactory<Relationship>},
    {"Database", &singletonFactory<Database>},
    {"Vector2DProperty", &newInstanceFactory<Vector2DProperty>},
    {"Vector2FProperty", &newInstanceFactory<Vector2FProperty>},
    {"Vector3DProperty", &newInstanceFactory<Vector3DProperty>},
    {"Transform3DProperty", &newInstanceFactory<Transform3DProperty>},
    {"KivBoundsProperty", &newInstanceFactory<KivBoundsProperty>},
    {"KivColorProperty", &newInstanceFactory<KivColorProperty>},
    {"KivMaterialProperty", &newInstanceFactory<KivMaterialProperty>},
    {"GridIndex", &newInstanceFactory<GridIndex>},
    {"GridIndexProperty", &newInstanceFactory<GridIndexProperty>},
    {"DirIndex", &newInstanceFactory<DirIndex>},
    {"DirIndexProperty", &newInstanceFactory<DirIndexProperty>},
    {"ObjectProperty", &newInstanceFactory<ObjectProperty>},
    {"UndoInfo", &newInstanceFactory<UndoInfo>},
    {"UndoManager", &newInstanceFactory<UndoManager>},
    {"UndoManagerListener", &newInstanceFactory<UndoManagerListener>},
    {"ImageProperty", &newInstanceFactory<ImageProperty>},
    {"DataObjectArray", &newInstanceFactory<DataObjectArray>},
    {"DataObjectArrayProperty", &newInstanceFactory<DataObjectArrayProperty>},
    {"Document", &newInstanceFactory<Document>},
    {"DocumentItem", &newInstanceFactory<DocumentItem>},
    {"DocumentData", &newInstanceFactory<DocumentData>},
    {"DocumentGroup", &newInstanceFactory<DocumentGroup>},
    {"DocumentListener", &newInstanceFactory<DocumentListener>},
    {"DocumentManager", &singletonFactory<DocumentManager>},
    {"DocumentManagerListener", &newInstanceFactory<DocumentManagerListener>},
    {"DatabaseUtil", &newInstanceFactory<DatabaseUtil>},
    {"Duplicate", &newInstanceFactory<Duplicate>},
    {"GetDataStoreValue", &newInstanceFactory<GetDataStoreValue>},
    {"SetDataStoreValue", &newInstanceFactory<SetDataStoreValue>},
    {"AppProxyManager", &singletonFactory<AppProxyManager>},
    {"KivPythonTypeConversionService", &singletonFactory<KivPythonTypeConversionService>},
    {"PlatformBuildInfo", &newInstanceFactory<PlatformBuildInfo>},
    {"IntArray", &newInstanceFactory<IntArray>},
    {"IntArrayProperty", &newInstanceFactory<IntArrayProperty>},
    {"ByteArray", &newInstanceFactory<ByteArray>},
    {"ByteArrayProperty", &newInstanceFactory<ByteArrayProperty>},
    {"DoubleArray", &newInstanceFactory<DoubleArray>},
    {"DoubleArrayProperty", &newInstanceFactory<DoubleArrayProperty>},
    {"DoubleArray2D", &newInstanceFactory<DoubleArray2D>},
    {"DoubleArray2DProperty", &newInstanceFactory<DoubleArray2DProperty>},
    {"StringArray", &newInstanceFactory<StringArray>},
    {"StringArrayProperty", &newInstanceFactory<StringArrayProperty>},
    {"ColorArray", &newInstanceFactory<ColorArray>},
    {"ColorArrayProperty", &newInstanceFactory<ColorArrayProperty>},
    {"Vector2DArray", &newInstanceFactory<Vector2DArray>},
    {"Vector2DArrayProperty", &newInstanceFactory<Vector2DArrayProperty>},
    {"Vector2FArray", &newInstanceFactory<Vector2FArray>},
    {"Vector2FArrayProperty", &newInstanceFactory<Vector2FArrayProperty>},
    {"Vector3DArray", &newInstanceFactory<Vector3DArray>},
    {"Vector3DArrayProperty", &newInstanceFactory<Vector3DArrayProperty>},
    {"Vector3DArray2D", &newInstanceFactory<Vector3DArray2D>},
    {"Vector3DArray2DProperty", &newInstanceFactory<Vector3DArray2DProperty>},
    {"Transform3DArray", &newInstanceFactory<Transform3DArray>},
    {"Transform3DArrayProperty", &newInstanceFactory<Transform3DArrayProperty>},
    {"ImageArray", &newInstanceFactory<ImageArray>},
    {"Array3D", &newInstanceFactory<Array3D>},
    {"Array3DProperty", &newInstanceFactory<Array3DProperty>},
    {"ImageArrayProperty", &newInstanceFactory<ImageArrayProperty>},
    {"OrientedTriangle", &newInstanceFactory<OrientedTriangle>},
    {"OrientedTriangleProperty", &newInstanceFactory<OrientedTriangleProperty>},
    {"OrientedTriangleStack", &newInstanceFactory<OrientedTriangleStack>},
    {"OrientedTriangleStackProperty", &newInstanceFactory<OrientedTriangleStackProperty>},
    {"OrientedTriangleStackList", &newInstanceFactory<OrientedTriangleStackList>},
    {"OrientedTriangleStackListProperty", &newInstanceFactory<OrientedTriangleStackListProperty>},
    {"StringIter", &newInstanceFactory<StringIter>},
};

const BuiltClass* builtClass(const char* name) {
  for (const BuiltClass& built : kBuiltClasses)
    if (std::strcmp(built.name, name) == 0)
      return &built;
  return nullptr;
}

} // namespace

void registerInterface(const KivClassId& id, const char* name) {
  InterfaceRegistry& registry = interfaceRegistry();
  IterStack<KivCString>*& names = registry[id];
  if (!names)
    names = new IterStack<KivCString>(20);
  names->push(KivCString(name));
  if (IKivComponentManager* manager = componentManager())
    manager->registerInterface(KivCString::view(name), id);
}

const IterStack<KivCString>* registeredInterfaces(const KivClassId& id) {
  auto* node = interfaceRegistry().find(id);
  return node ? node->value : nullptr;
}

bool registerClasses() {
  static bool registered = false;
  if (registered)
    return true;
  registered = true;
  for (const KivClassRow& row : kClassTable) {
    const BuiltClass* built = builtClass(row.name);
    if (!built)
      continue;
    built->makeFactory(row);
    if (row.interfaceName)
      registerInterface(row.id, row.interfaceName);
  }
  return true;
}
