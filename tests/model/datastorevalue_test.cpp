#include "model/datastorevalue.h"

#include "host/hostdatastore.h"
#include "modelsupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

class DataStoreValueTest : public ::testing::Test {
protected:
  void SetUp() override {
    inProcessHost();
    store = inProcessHost().dataStore();
    if (!store->hasKey("Dm14/int")) {
      store->addGroup("Dm14");
      store->addInt("Dm14/int", 5, -10, 10, 1);
      store->addDouble("Dm14/double", 1.5, 0.5, 2.5, 1);
      store->addCString("Dm14/narrow", 64, "narrow text", 1);
      store->addString("Dm14/wide", 64, KivString("wide text"), 1);
    }
  }
  // The message of the exception `run` throws, or "" without one.
  template <class M>
  std::string failureOf(M& modifier) {
    try {
      modifier.run();
    } catch (PlatformException* e) {
      std::unique_ptr<PlatformException> owned(e);
      EXPECT_EQ(e->code, 6);
      return e->message.c_str();
    }
    return "";
  }
  HostDataStore* store = nullptr;
};

TEST_F(DataStoreValueTest, ReadGivesKindValueAndBounds) {
  struct Case {
    const char* key;
    int type;
    const char* values;  // the nine properties after "option", as text
  };
  const Case cases[] = {
      {"Dm14/int", 3, "5 -10 10"},
      {"Dm14/double", 4, "1.5 0.5 2.5"},
      {"Dm14/narrow", 2, "narrow text"},
      {"Dm14/wide", 1, "wide text"},
  };
  for (const Case& test : cases) {
    IPtr<GetDataStoreValue> get(new GetDataStoreValue);
    get->set("option", KivString(test.key));
    get->run();
    EXPECT_EQ(get->getInt("type"), test.type) << test.key;
    std::string got;
    if (test.type == 3)
      got = std::to_string(get->getInt("intValue")) + " " +
            std::to_string(get->getInt("minIntValue")) + " " +
            std::to_string(get->getInt("maxIntValue"));
    else if (test.type == 4)
      got = std::to_string(get->getDouble("floatValue")).substr(0, 3) + " " +
            std::to_string(get->getDouble("minFloatValue")).substr(0, 3) + " " +
            std::to_string(get->getDouble("maxFloatValue")).substr(0, 3);
    else
      got = text(get->getString("stringValue"));
    EXPECT_EQ(got, test.values) << test.key;

    // Reading back and writing the same kind changes nothing and fails not.
    IPtr<SetDataStoreValue> put(new SetDataStoreValue);
    put->set("option", KivString(test.key));
    put->set("type", test.type);
    put->set("intValue", get->getInt("intValue"));
    put->set("floatValue", get->getDouble("floatValue"));
    put->set("stringValue", get->getString("stringValue"));
    EXPECT_EQ(failureOf(*put), "") << test.key;
  }

  // The results are read-only for PropertyMap callers.
  IPtr<GetDataStoreValue> get(new GetDataStoreValue);
  for (const char* name : {"type", "intValue", "minIntValue", "maxIntValue", "floatValue",
                           "minFloatValue", "maxFloatValue", "stringValue"})
    EXPECT_TRUE(get->getProperty(name)->isReadOnly()) << name;
  EXPECT_FALSE(get->getProperty("option")->isReadOnly());

  get->set("option", KivString("Dm14/missing"));
  EXPECT_EQ(failureOf(*get),
            "Error in class GetDataStoreValue: value doesn't exist.");
  EXPECT_EQ(get->getInt("type"), 0);
  IPtr<GetDataStoreValue> empty(new GetDataStoreValue);
  EXPECT_EQ(failureOf(*empty), "Error in class GetDataStoreValue: option not set.");
}

TEST_F(DataStoreValueTest, WriteChecksTheKindOfAnExistingKey) {
  struct Case {
    const char* key;
    int type;
    const char* failure;
  };
  const Case cases[] = {
      {"Dm14/int", 0, ""},
      {"Dm14/double", 0, ""},
      {"Dm14/narrow", 0, ""},
      {"Dm14/wide", 0, ""},
      {"Dm14/int", 4, "Error in class SetDataStoreValue: type mismatch, IntValueType is expected."},
      {"Dm14/int", 1, "Error in class SetDataStoreValue: type mismatch, IntValueType is expected."},
      {"Dm14/double", 3,
       "Error in class SetDataStoreValue: type mismatch, FloatValueType is expected."},
      {"Dm14/wide", 3,
       "Error in class SetDataStoreValue: type mismatch, KivStringValueType is expected."},
      {"Dm14/narrow", 3,
       "Error in class SetDataStoreValue: type mismatch, StringValueType is expected."},
      {"Dm14/narrow", 4,
       "Error in class SetDataStoreValue: type mismatch, StringValueType is expected."},
      {"Dm14/wide", 2, ""},
      {"Dm14/narrow", 1, ""},
  };
  for (const Case& test : cases) {
    const int intBefore = store->getInt("Dm14/int", nullptr);
    IPtr<SetDataStoreValue> put(new SetDataStoreValue);
    put->set("option", KivString(test.key));
    put->set("type", test.type);
    put->set("intValue", 7);
    put->set("floatValue", 2.0);
    put->set("stringValue", KivString("changed"));
    EXPECT_EQ(failureOf(*put), test.failure) << test.key << " " << test.type;
    if (*test.failure) {
      EXPECT_EQ(store->getInt("Dm14/int", nullptr), intBefore);
    }
  }
  bool found = false;
  EXPECT_EQ(store->getInt("Dm14/int", &found), 7);
  EXPECT_DOUBLE_EQ(store->getDouble("Dm14/double", &found), 2.0);
  EXPECT_STREQ(store->getCString("Dm14/narrow", &found), "changed");
  EXPECT_EQ(text(store->getString("Dm14/wide", &found)), "changed");
  int kind = 5;
  store->getKind("Dm14/wide", &kind);
  EXPECT_EQ(kind, 4);  // a type 2 write stays wide
  IPtr<SetDataStoreValue> empty(new SetDataStoreValue);
  EXPECT_EQ(failureOf(*empty), "Error in class SetDataStoreValue: option not set.");
}

TEST_F(DataStoreValueTest, WriteCreatesMissingKeysWithBounds) {
  struct Case {
    const char* key;
    int type;
    int kind;          // the store's kind afterwards, 0 for no key
    const char* group; // declared ahead of the key, or null
  };
  const Case cases[] = {
      {"Dm14new/a/int", 3, 1, "Dm14new/a"},
      {"Dm14new/double", 4, 2, "Dm14new"},
      {"Dm14new/narrow", 2, 3, "Dm14new"},
      {"Dm14new/wide", 1, 4, "Dm14new"},
      {"Dm14flat", 3, 1, nullptr},
      {"Dm14new/none", 0, 0, nullptr},
  };
  for (const Case& test : cases) {
    IPtr<SetDataStoreValue> put(new SetDataStoreValue);
    put->set("option", KivString(test.key));
    put->set("type", test.type);
    put->set("intValue", 3);
    put->set("minIntValue", 1);
    put->set("maxIntValue", 9);
    put->set("floatValue", 0.75);
    put->set("minFloatValue", 0.5);
    put->set("maxFloatValue", 1.0);
    put->set("stringValue", KivString("made"));
    EXPECT_EQ(failureOf(*put), "") << test.key;
    EXPECT_EQ(store->hasKey(test.key), test.kind != 0) << test.key;
    if (test.group) {
      EXPECT_TRUE(store->hasGroup(test.group)) << test.key;
    }
    if (!test.kind)
      continue;
    IPtr<GetDataStoreValue> get(new GetDataStoreValue);
    get->set("option", KivString(test.key));
    get->run();
    switch (test.kind) {
    case 1:
      EXPECT_EQ(get->getInt("intValue"), 3);
      EXPECT_EQ(get->getInt("minIntValue"), 1);
      EXPECT_EQ(get->getInt("maxIntValue"), 9);
      break;
    case 2:
      EXPECT_DOUBLE_EQ(get->getDouble("floatValue"), 0.75);
      EXPECT_DOUBLE_EQ(get->getDouble("minFloatValue"), 0.5);
      EXPECT_DOUBLE_EQ(get->getDouble("maxFloatValue"), 1.0);
      break;
    default:
      EXPECT_EQ(text(get->getString("stringValue")), "made");
    }
  }
  EXPECT_FALSE(store->hasGroup("Dm14flat"));
}

} // namespace
