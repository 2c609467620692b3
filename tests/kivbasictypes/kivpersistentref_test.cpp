#include "kivbasictypes/kivpersistentref.h"

#include "basic_types/iterstack.h"
#include "binstreams.h"
#include "core/kivclassid.h"
#include "kivbasictypes/ikivpersistentrefmap.h"
#include "kivbasictypes/kivfile.h"
#include "memfakes.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace memfakes;

namespace {

constexpr KivClassId kThingId =
    makeClassId(0xA1B2C3D4, 0x1122, 0x3344, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC);

class Thing : public KivPersistentRef {
public:
  const KivClassId* classId() override { return &kThingId; }
};

// Records what the reference section asks of the table.
class RecordingRefMap : public FakeService<IKivPersistentRefMap> {
public:
  RecordingRefMap() : FakeService("IKivPersistentRefMap") {}
  bool find(uint32_t, IKivPersistentRef** out) override {
    *out = nullptr;
    return false;
  }
  void setObject(uint32_t refId, IKivPersistentRef* object) override {
    claimed.emplace_back(refId, object);
  }
  bool contains(IKivPersistentRef*) override { return false; }
  uint32_t getId(IKivPersistentRef* object) override {
    asked.push_back(object);
    return number;
  }
  void reset() override {}
  void addCallback(uint32_t, IKivPersistentRefCallback*) override {}
  void setWritten(uint32_t refId) override { written.push_back(refId); }
  void getUnwritten(IterStack<int32_t>&) override {}

  uint32_t number = 0;
  std::vector<IKivPersistentRef*> asked;
  std::vector<std::pair<uint32_t, IKivPersistentRef*>> claimed;
  std::vector<uint32_t> written;
};

class KivPersistentRefTest : public MemFixture {};

Bytes slice(const Bytes& b, size_t from, size_t count) {
  return Bytes(b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(from + count));
}

Bytes fileOf(const std::function<void(KivFileWrite&)>& body) {
  MemoryOutput out;
  out.setFileVersion(10);
  {
    KivFileWrite writer(&out, true);
    writer.writeRootHead();
    body(writer);
    writer.close();
  }
  return out.bytes();
}

TEST_F(KivPersistentRefTest, WritesItsNumberInASectionOfItsClassAndMarksItWritten) {
  RecordingRefMap* table = install("IKivPersistentRefMap", new RecordingRefMap);
  table->number = 0x01020304;
  IPtr<Thing> thing(new Thing);
  Bytes bytes = fileOf([&](KivFileWrite& w) { EXPECT_TRUE(thing->write(&w)); });

  // Root head (12 bytes), then the section: head, length 32, identifier, number.
  ASSERT_EQ(bytes.size(), 12u + 32u);
  EXPECT_EQ(hexText(slice(bytes, 12, 32)),
            "0B 00 02 00 00 00 00 00 00 00 00 20 "
            "A1 B2 C3 D4 11 22 33 44 55 66 77 88 99 AA BB CC "
            "01 02 03 04");
  ASSERT_EQ(table->asked.size(), 1u);
  EXPECT_EQ(table->asked[0], static_cast<IKivPersistentRef*>(thing.get()));
  EXPECT_EQ(table->written, std::vector<uint32_t>{0x01020304});

  // Without the service the number is 0 and nobody is told.
  manager.services.clear();
  resetServiceCaches();
  bytes = fileOf([&](KivFileWrite& w) { EXPECT_TRUE(thing->write(&w)); });
  EXPECT_EQ(hexText(slice(bytes, 40, 4)), "00 00 00 00");
  EXPECT_EQ(table->written.size(), 1u);
}

TEST_F(KivPersistentRefTest, ReadingAnnouncesTheNumberOnlyForAVersionItKnows) {
  RecordingRefMap* table = install("IKivPersistentRefMap", new RecordingRefMap);
  IPtr<Thing> writer(new Thing);
  struct Case {
    const char* name;
    int version;
    uint32_t number;
    bool result;
    bool claims;
  };
  const Case cases[] = {
      {"version_0_claims_its_number", 0, 42, true, true},
      {"number_0_is_not_registered", 0, 0, true, false},
      {"newer_version_is_skipped", 1, 42, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    table->claimed.clear();
    // The section, then a value behind it that the reader must reach in step.
    Bytes bytes = fileOf([&](KivFileWrite& w) {
      w.beginSection(writer.get(), c.version);
      w.writeUInt32(c.number);
      w.writeUInt32(0xFEEDF00D);  // a longer record: skipped by endSection
      w.endSection(writer.get());
      w.writeUInt32(0xC0FFEE);
    });
    MemoryInput in(bytes);
    KivFileRead r(&in);
    ASSERT_TRUE(r.readRootHead());
    IPtr<Thing> thing(new Thing);
    EXPECT_EQ(thing->read(&r), c.result);
    uint32_t after = 0;
    EXPECT_TRUE(r.readUInt32(&after));
    EXPECT_EQ(after, 0xC0FFEEu);
    EXPECT_TRUE(r.good());
    if (c.claims) {
      ASSERT_EQ(table->claimed.size(), 1u);
      EXPECT_EQ(table->claimed[0].first, c.number);
      EXPECT_EQ(table->claimed[0].second, static_cast<IKivPersistentRef*>(thing.get()));
    } else {
      EXPECT_TRUE(table->claimed.empty());
    }
  }

  // Another block where the section should stand: nothing read, nothing
  // claimed, and the damage shows in good().
  Bytes bytes = fileOf([&](KivFileWrite& w) {
    w.beginBlock(0xB00BBE, 0);
    w.writeUInt32(7);
    w.endBlock();
  });
  MemoryInput in(bytes);
  KivFileRead r(&in);
  ASSERT_TRUE(r.readRootHead());
  table->claimed.clear();
  IPtr<Thing> thing(new Thing);
  EXPECT_TRUE(thing->read(&r));
  EXPECT_FALSE(r.good());
  EXPECT_TRUE(table->claimed.empty());
}

TEST_F(KivPersistentRefTest, CopyTakesTheFlagButTheBaseHasNoIdentifier) {
  IPtr<Thing> thing(new Thing);
  thing->setPersistent(false);
  IPtr<Thing> copy(new Thing(*thing));
  EXPECT_FALSE(copy->isPersistent());
  IPtr<KivPersistentRef> base(new KivPersistentRef);
  EXPECT_TRUE(base->isPersistent());
  EXPECT_EQ(*base->classId(), KivClassId());
  EXPECT_EQ(kivQuery<IKivWriteable>(base.get(), "IKivWriteable"),
            static_cast<IKivWriteable*>(base.get()));
}

} // namespace
