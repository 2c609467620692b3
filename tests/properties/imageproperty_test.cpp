#include "properties/imageproperty.h"

#include "base/basic/kivimage.h"
#include "core/classids.h"
#include "core/kivclassid.h"
#include "core/lookup.h"
#include "kivbasictypes/binstreams.h"
#include "kivbasictypes/kivfile.h"
#include "properties/intproperty.h"
#include "properties/propertymap.h"
#include "propertysupport.h"

#include <gtest/gtest.h>

namespace {

struct ImagePropertyTest : ::testing::Test {
  ImagePropertyTest() { inProcessHost(); }
};

TEST_F(ImagePropertyTest, RowOfTheClassTableAndWhatItReports) {
  void* out = nullptr;
  ASSERT_EQ(getObject("IKivImageProperty", &out), 1);
  IPtr<IKivImageProperty> created(static_cast<IKivImageProperty*>(out));
  auto* p = kivQuery<ImageProperty>(created.get(), "ImageProperty");
  ASSERT_NE(p, nullptr);
  EXPECT_STREQ(p->className(), "ImageProperty");
  EXPECT_EQ(*p->classId(), makeClassId(0x3AFB9D60, 0xF0DC, 0x4EC2, 0x81, 0xC1, 0xBE, 0xD6, 0x78,
                                       0x76, 0x5E, 0xC0));
  EXPECT_STREQ(p->typeName(), "kivapi.datamodel.Image");
  KivString value;
  p->valueText(p->name(), value);
  EXPECT_EQ(text(value), "None");
  EXPECT_EQ(p->memorySize(), sizeof(ImageProperty));

  IPtr<KivImage> image(new KivImage(2, 3, 4));
  p->set(image.get());
  EXPECT_EQ(p->get(), image.get());
  p->valueText(p->name(), value);
  EXPECT_EQ(text(value), "KivImage");
  EXPECT_EQ(p->memorySize(), sizeof(ImageProperty) + 24);

  Changes changes;
  p->subscribe(modified(), &changes);
  p->clearValue();
  EXPECT_EQ(p->get(), nullptr);
  EXPECT_TRUE(changes.calls.empty());
  p->unsubscribe(modified(), &changes);
}

TEST_F(ImagePropertyTest, MapSetsAndGetsImagesAndRefusesOtherClasses) {
  PropertyMap map;
  IPtr<KivImage> first(new KivImage(1, 1, 3));
  IPtr<KivImage> second(new KivImage(1, 1, 1));
  map.set("picture", static_cast<IKivImage*>(first.get()));
  EXPECT_EQ(map.getImage("picture"), first.get());
  EXPECT_EQ(map.getImageInterface(KivString("picture")), static_cast<IKivImage*>(first.get()));
  EXPECT_EQ(map.getImage("absent"), nullptr);

  Changes changes;
  map.getProperty("picture")->subscribe(modified(), &changes);
  map.set("picture", static_cast<IKivImage*>(second.get()));
  map.set("picture", static_cast<IKivImage*>(second.get()));
  EXPECT_EQ(changes.calls,
            (std::vector<std::string>{"property_modified KivImage KivImage",
                                      "property_modified KivImage KivImage"}));
  EXPECT_EQ(map.getImage(KivString("picture")), second.get());
  map.getProperty("picture")->unsubscribe(modified(), &changes);

  map.set("number", 3);
  map.addProperty(new ImageProperty(KivString("fixed"), nullptr, true));
  struct Case {
    const char* name;
    std::function<void()> call;
    int code;
    std::string message;
  };
  const Case cases[] = {
      {"image_into_int", [&] { map.set("number", static_cast<IKivImage*>(first.get())); }, 3,
       "Wrong type (int) for attribute 'number'. Should be Image"},
      {"read_only", [&] { map.set("fixed", static_cast<IKivImage*>(first.get())); }, 2,
       "Cannot modify read only attribute 'fixed'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Thrown t = catchCode(c.call);
    EXPECT_EQ(t.code, c.code);
    EXPECT_EQ(t.message, c.message);
  }
  Thrown t = catchCode([&] { map.getImage("number"); });
  EXPECT_EQ(t.code, 3);
  EXPECT_EQ(t.message.rfind("Wrong type (KivImage) for attribute 'number'. Should be ", 0), 0u);
  EXPECT_EQ(map.getInt("number"), 3);
}

TEST_F(ImagePropertyTest, SectionHoldsThePropertyAndReadsBackWithoutAnImage) {
  IPtr<ImageProperty> p(new ImageProperty(KivString("picture"), new KivImage(1, 1, 1), false));
  MemoryOutput out;
  out.setFileVersion(10);
  {
    KivFileWrite writer(&out, false);
    EXPECT_TRUE(p->write(&writer));
    EXPECT_TRUE(writer.good());
  }
  out.flush();
  const Bytes bytes = out.bytes();
  // A section, version 0, headed by the class identifier of the row.
  EXPECT_EQ(hexText(Bytes(bytes.begin(), bytes.begin() + 4)), "0B 00 02 00");
  EXPECT_EQ(hexText(Bytes(bytes.begin() + 12, bytes.begin() + 28)),
            "3A FB 9D 60 F0 DC 4E C2 81 C1 BE D6 78 76 5E C0");
  EXPECT_FALSE(p->isPersistent());

  MemoryInput in(bytes);
  KivFileRead reader(&in);
  in.useLength64();
  IPtr<ImageProperty> back(new ImageProperty);
  back->set(new KivImage(2, 2, 2));
  EXPECT_TRUE(back->read(&reader));
  EXPECT_TRUE(reader.good());
  EXPECT_EQ(back->get(), nullptr);
}

} // namespace
