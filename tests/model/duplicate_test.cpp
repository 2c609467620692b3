#include "model/duplicate.h"

#include "host/hostbusystate.h"
#include "host/hostlog.h"
#include "kivbasictypes/kivbounds.h"
#include "kivbasictypes/kivgridpoint.h"
#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivquaternion.h"
#include "kivbasictypes/kivrect.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/tovcolor.h"
#include "model/dynamicdataobject.h"
#include "modelsupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

class DuplicateTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }
};

std::string valueOf(PropertyMap* map, const char* name) {
  KivString out;
  IKivProperty* p = map->getProperty(name);
  p->valueText(p->name(), out);
  return text(out);
}

TEST_F(DuplicateTest, CopiesEveryValueClassIntoBothResults) {
  IPtr<DynamicDataObject> source = makeObject<DynamicDataObject>("source");
  IPtr<DynamicDataObject> target = makeObject<DynamicDataObject>("target");
  KivMatrix matrix;
  KivColor color;
  KivMaterial material;
  source->set("flag", true);
  source->set("count", 42);
  source->set("ratio", 0.25);
  source->set("label", KivString("text"));
  source->set("point", KivVector(1, 2, 3));
  source->set("uv", Vector2D(4, 5));
  source->set("uvf", Vector2F(6, 7));
  source->set("matrix", matrix);
  source->set("bounds", KivBounds());
  source->set("color", color);
  source->set("material", material);
  source->set("rect", KivRect());
  source->set("turn", KivQuaternion());
  source->set("cell", KivGridPoint());
  source->set("link", target.get());

  IPtr<Duplicate> duplicate(new Duplicate);
  HostBusyState* busy = inProcessHost().busyState();
  const int blocksBefore = busy->totalBlocks();
  duplicate->set("object", static_cast<DataObject*>(source.get()));
  duplicate->run();
  EXPECT_EQ(busy->totalBlocks(), blocksBefore + 1);
  EXPECT_EQ(busy->openBlocks(), 0);

  DataObject* lower = duplicate->getDataObject("clonedobject");
  DataObject* upper = duplicate->getDataObject("clonedObject");
  ASSERT_NE(lower, nullptr);
  EXPECT_EQ(lower, upper);
  EXPECT_NE(lower, static_cast<DataObject*>(source.get()));
  EXPECT_NE(lower->id(), source->id());
  EXPECT_EQ(objectName(lower), "source");
  EXPECT_STREQ(lower->className(), "DynamicDataObject");
  for (const char* name : {"flag", "count", "ratio", "label", "point", "uv", "uvf", "matrix",
                           "bounds", "color", "material", "rect", "turn", "cell", "link"}) {
    ASSERT_TRUE(lower->hasProperty(name)) << name;
    EXPECT_EQ(valueOf(lower, name), valueOf(source.get(), name)) << name;
  }
  EXPECT_EQ(lower->getDataObject("link"), target.get());

  // A second run replaces the copy in both places; the first one goes.
  IPtr<DataObject> first(lower);
  duplicate->run();
  EXPECT_NE(duplicate->getDataObject("clonedobject"), first.get());
  EXPECT_EQ(duplicate->getDataObject("clonedobject"), duplicate->getDataObject("clonedObject"));
  EXPECT_EQ(first->refCount(), 1u);
}

TEST_F(DuplicateTest, FailuresUseTheirExactTexts) {
  struct Case {
    const char* what;
    std::function<void(Duplicate&)> act;
    int code;
    const char* message;
  };
  const Case cases[] = {
      {"run without object", [](Duplicate& d) { d.run(); }, 6,
       "Internal Error in class Duplicate::run: internal dataObject object is null."},
      {"set of a result", [](Duplicate& d) { d.set("clonedObject", static_cast<DataObject*>(nullptr)); },
       2, nullptr},
      {"set of the other result",
       [](Duplicate& d) { d.set("clonedobject", static_cast<DataObject*>(nullptr)); }, 2, nullptr},
  };
  HostLog* log = inProcessHost().log();
  for (const Case& test : cases) {
    IPtr<Duplicate> duplicate(new Duplicate);
    const int linesBefore = log->lineCount();
    try {
      test.act(*duplicate);
      ADD_FAILURE() << test.what << ": no exception";
    } catch (PlatformException* e) {
      std::unique_ptr<PlatformException> owned(e);
      EXPECT_EQ(e->code, test.code) << test.what;
      if (test.message) {
        EXPECT_STREQ(e->message.c_str(), test.message);
        EXPECT_GT(log->lineCount(), linesBefore) << test.what;
      }
    }
    EXPECT_EQ(duplicate->getDataObject("clonedObject"), nullptr) << test.what;
  }
}

TEST_F(DuplicateTest, AnswersItsNames) {
  IPtr<Duplicate> duplicate(new Duplicate);
  for (const char* name : {"Duplicate", "IKivUnknown", "Modifier", "IKivModifier", "IKivDuplicate"}) {
    void* out = nullptr;
    duplicate->queryInterface(name, &out);
    EXPECT_NE(out, nullptr) << name;
  }
  for (const char* name : {"name", "object", "clonedobject", "clonedObject"})
    EXPECT_TRUE(duplicate->hasProperty(name)) << name;
}

} // namespace
