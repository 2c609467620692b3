#include "properties/kivpythontypeconversionservice.h"

#include "core/lookup.h"
#include "documents/platformbuildinfo.h"
#include "kivbasictypes/kivvector.h"
#include "model/dataobjectinstance.h"
#include "model/dynamicdataobject.h"
#include "model/internaldataobject.h"
#include "model/opaquedata.h"
#include "properties/intproperty.h"
#include "properties/objectproperty.h"
#include "properties/vectorproperty.h"
#include "model/inprocesshost.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace {

intptr_t one(IKivUnknown*) { return 1; }
intptr_t two(IKivUnknown*) { return 2; }
intptr_t root(IKivUnknown*) { return 99; }

// Captures what goes to the standard log stream.
class ClogCapture {
public:
  ClogCapture() : old_(std::clog.rdbuf(text_.rdbuf())) {}
  ~ClogCapture() { std::clog.rdbuf(old_); }
  std::string text() const { return text_.str(); }

private:
  std::ostringstream text_;
  std::streambuf* old_;
};

const char* const kMissingVector =
    "No conversion found for type kivapi.math.Vector3D. You may need to add an import "
    "statement.\n";

TEST(KivPythonTypeConversionServiceTest, EveryScriptTypeNameIsItsOwnKey) {
  inProcessHost();
  void* out = nullptr;
  ASSERT_EQ(getObject("IKivPythonTypeConversionService", &out), 1);
  auto* service = static_cast<IKivPythonTypeConversionService*>(out);
  IPtr<IKivPythonTypeConversionService> hold(service);

  const char* const names[] = {
      "kivapi.datamodel.DataObject", "kivapi.math.Vector3D", "kivapi.datamodel.Progress",
      "kivapi.mesh.DirIndex", "kivapi.math.Vector2F", "kivapi.math.Vector2D",
      "kivapi.math.Transform3D", "kivapi.math.KivBounds", "kivapi.datamodel.Material",
      "kivapi.datamodel.KivRect", "kivapi.datamodel.KivQuaternion",
      "kivapi.datamodel.KivGridPoint", "kivapi.datamodel.KivColor", "kivapi.datamodel.Image",
      "kivapi.datamodel.DynamicDataObject", "kivapi.datamodel.Vector3DArray2D",
      "kivapi.datamodel.Vector3DArray", "kivapi.datamodel.Vector2FArray",
      "kivapi.datamodel.Vector2DArray", "kivapi.datamodel.Transform3DArray",
      "kivapi.datamodel.StringArray", "kivapi.datamodel.PlatformBuildInfo",
      "kivapi.datamodel.OpaqueData", "kivapi.datamodel.InternalDataObject",
      "kivapi.datamodel.IntArray", "kivapi.datamodel.ImageArray", "kivapi.datamodel.GridIndex",
      "kivapi.datamodel.DoubleArray2D", "kivapi.datamodel.DoubleArray",
      "kivapi.datamodel.DocumentItem", "kivapi.datamodel.DocumentGroup",
      "kivapi.datamodel.DocumentData", "kivapi.datamodel.Document",
      "kivapi.datamodel.DataObjectInstance", "kivapi.datamodel.DataObjectArray",
      "kivapi.datamodel.ColorArray", "kivapi.datamodel.ByteArray", "int", "double", "bool",
  };
  // Every name registers under both tables; a second registration wins.
  for (const char* name : names) {
    EXPECT_TRUE(service->registerPropertyConversion("all", name, &one)) << name;
    EXPECT_TRUE(service->registerPropertyConversion("all", name, &two)) << name;
    EXPECT_TRUE(service->registerObjectConversion("all", name, &two)) << name;
  }

  IPtr<Vector3DProperty> vector(new Vector3DProperty(KivString("v"), KivVector(), false));
  IPtr<IntProperty> number(new IntProperty(KivString("n"), 1, false, false));
  IPtr<DataObject> plain(new DataObject);
  IPtr<DataObject> dynamic(new DynamicDataObject);
  IPtr<DataObject> build(new PlatformBuildInfo);
  IPtr<DataObject> opaque(new OpaqueData);
  IPtr<DataObject> instance(new DataObjectInstance);
  IPtr<ObjectProperty> holding(new ObjectProperty(KivString("o"), dynamic.get(), false));
  struct Case {
    const char* what;
    std::function<intptr_t()> convert;
    intptr_t expected;
    const char* logged;
  };
  const Case cases[] = {
      {"null property", [&] { return service->convertProperty("all", nullptr); }, 0, ""},
      {"vector", [&] { return service->convertProperty("all", vector.get()); }, 2, ""},
      {"int", [&] { return service->convertProperty("all", number.get()); }, 2, ""},
      {"object property by its value",
       [&] { return service->convertProperty("all", holding.get()); }, 2, ""},
      {"DataObject", [&] { return service->convertObject("all", plain.get()); }, 2, ""},
      {"DynamicDataObject", [&] { return service->convertObject("all", dynamic.get()); }, 2, ""},
      {"PlatformBuildInfo", [&] { return service->convertObject("all", build.get()); }, 2, ""},
      {"OpaqueData", [&] { return service->convertObject("all", opaque.get()); }, 2, ""},
      {"DataObjectInstance", [&] { return service->convertObject("all", instance.get()); }, 2,
       ""},
      {"no function at all", [&] { return service->convertProperty("none", vector.get()); }, 0,
       kMissingVector},
  };
  for (const Case& test : cases) {
    ClogCapture capture;
    EXPECT_EQ(test.convert(), test.expected) << test.what;
    EXPECT_EQ(capture.text(), test.logged) << test.what;
  }

  // A type without its own function falls back to the root's, after a line.
  ASSERT_TRUE(service->registerPropertyConversion("root", "kivapi.datamodel.DataObject", &root));
  ClogCapture capture;
  EXPECT_EQ(service->convertProperty("root", vector.get()), 99);
  EXPECT_EQ(capture.text(), kMissingVector);
}

} // namespace
