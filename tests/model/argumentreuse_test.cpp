// Argument maps that a property reuses from one firing to the next carry
// exactly the entries of each firing, and one a subscriber keeps stays as
// it was delivered.
#include "model/dataeventargs.h"
#include "model/dynamicdataobject.h"
#include "modelsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// "key=value,..." in key order.
std::string entries(IKivDataEventArgs* args) {
  auto* map = kivQuery<PropertyMap>(args, "PropertyMap");
  std::string out;
  for (const auto& [key, property] : map->properties()) {
    KivString value;
    property->valueText(property->name(), value);
    out += (out.empty() ? "" : ",") + text(key) + "=" + text(value);
  }
  return out;
}

TEST(ArgumentReuse, EachFiringCarriesItsOwnEntries) {
  inProcessHost();
  IPtr<DynamicDataObject> object(new DynamicDataObject);
  object->set("a", 1);
  object->set("b", KivString("x"));
  std::vector<std::string> seen;
  IPtr<IKivDataEventArgs> kept;
  Recorder recorder;
  recorder.hook = [&](IKivDataEventSource*, IKivDataEventArgs* args) {
    seen.push_back(entries(args));
    if (seen.size() == 2)
      kept = args;
  };
  object->subscribe(KivCString::view("property_modified"), &recorder);

  struct Step {
    const char* name;
    int number;        // for "a"
    const char* text;  // for "b"
  };
  const Step steps[] = {{"a", 2, nullptr}, {"b", 0, "y"}, {"a", 3, nullptr},
                        {"b", 0, "z"},     {"a", 4, nullptr}};
  for (const Step& step : steps) {
    if (step.text)
      object->set(step.name, KivString(step.text));
    else
      object->set(step.name, step.number);
  }
  object->unsubscribe(KivCString::view("property_modified"), &recorder);

  EXPECT_EQ(seen, (std::vector<std::string>{
                      "a=2,name=a,newValue=2,oldValue=1",
                      "b=y,name=b,newValue=y,oldValue=x",
                      "a=3,name=a,newValue=3,oldValue=2",
                      "b=z,name=b,newValue=z,oldValue=y",
                      "a=4,name=a,newValue=4,oldValue=3",
                  }));
  // The map kept by the subscriber still holds the second firing's entries,
  // with the property itself, which has moved on.
  EXPECT_EQ(entries(kept), "b=z,name=b,newValue=y,oldValue=x");
}

} // namespace
