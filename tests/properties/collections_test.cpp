#include "properties/arrayproperties.h"

#include "core/lookup.h"
#include "kivbasictypes/binio.h"
#include "propertysupport.h"
#include "storedentries.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

struct CollectionsTest : ::testing::Test {
  CollectionsTest() { inProcessHost(); }
};

const char* const kInvalidIndex = "Error in class Collection: Invalid index.";
const char* const kReadOnly = "Error in class Collection: Collection is readonly.";
const char* const kFixedSize = "Error in class Collection: Collection has a fixed size.";

// Distinct element values for a member, from a small number.
template <class T>
T valueOf(int k);
template <> int valueOf<int>(int k) { return k; }
template <> unsigned char valueOf<unsigned char>(int k) { return static_cast<unsigned char>(k); }
template <> double valueOf<double>(int k) { return k + 0.5; }
template <> KivColor valueOf<KivColor>(int k) { return KivColor(k / 8.0f, 0.25f, 0.5f, 1.0f); }
template <> Vector2D valueOf<Vector2D>(int k) { return Vector2D{double(k), -1.0}; }
template <> Vector2F valueOf<Vector2F>(int k) { return Vector2F{float(k), 2.0f}; }
template <> KivVector valueOf<KivVector>(int k) { return KivVector(k, 0, -k); }
template <> KivString valueOf<KivString>(int k) { return KivString(std::to_string(k).c_str()); }
template <> KivMatrix valueOf<KivMatrix>(int k) {
  KivMatrix m;
  m.m[3] = k;
  return m;
}

template <class T>
T element(T v) { return v; }

// The rules every member shares, through its own interface.
template <class A>
void checkRules() {
  using T = std::decay_t<decltype(std::declval<A&>().get(0))>;
  IPtr<A> a(new A);
  EXPECT_EQ(catchCode([&] { a->pop(); }).message, kInvalidIndex);
  a->clear();
  a->append(valueOf<T>(1));
  EXPECT_TRUE(a->get(0) == valueOf<T>(1));
  EXPECT_EQ(catchCode([&] { a->get(1); }).message, kInvalidIndex);
  EXPECT_EQ(catchCode([&] { a->get(-1); }).message, kInvalidIndex);
  a->insert(1, valueOf<T>(2));  // insert(count) appends
  EXPECT_EQ(catchCode([&] { a->insert(3, valueOf<T>(9)); }).message, kInvalidIndex);
  a->insert(0, valueOf<T>(2));  // 2 1 2
  ASSERT_EQ(a->count(), 3);
  EXPECT_TRUE(a->get(1) == valueOf<T>(1));
  EXPECT_EQ(a->indexOf(valueOf<T>(2)), 2);
  EXPECT_EQ(a->indexOf(valueOf<T>(7)), -1);
  a->remove(0);                 // 1 2
  EXPECT_TRUE(a->get(0) == valueOf<T>(1));
  EXPECT_EQ(catchCode([&] { a->remove(2); }).message, kInvalidIndex);
  EXPECT_EQ(catchCode([&] { a->set(2, valueOf<T>(1)); }).message, kInvalidIndex);
  // next() runs over the elements, rewind() starts again.
  int seen = 0;
  while (a->next())
    ++seen;
  a->rewind();
  EXPECT_TRUE(a->next());
  EXPECT_TRUE(a->current() == valueOf<T>(1));
  EXPECT_EQ(seen, 2);

  a->setFixedSize(true);
  a->set(0, valueOf<T>(3));
  EXPECT_TRUE(a->get(0) == valueOf<T>(3));
  for (auto refused : std::vector<std::function<void()>>{
           [&] { a->append(valueOf<T>(4)); }, [&] { a->pop(); }, [&] { a->clear(); },
           [&] { a->insert(0, valueOf<T>(4)); }, [&] { a->remove(0); }})
    EXPECT_EQ(catchCode(refused).message, kFixedSize);
  a->setReadOnly(true);
  // Read-only is tested first, also before the index.
  EXPECT_EQ(catchCode([&] { a->set(9, valueOf<T>(5)); }).message, kReadOnly);
  EXPECT_EQ(catchCode([&] { a->append(valueOf<T>(5)); }).message, kReadOnly);
  EXPECT_EQ(a->count(), 2);
  a->setReadOnly(false);
  a->setFixedSize(false);
  a->pop();
  a->pop();
  EXPECT_EQ(a->count(), 0);
}

// Stored with three elements, read into a fresh map, stored again: the
// bytes agree, and the count is where the form puts it.
template <class P>
void checkStoredForm() {
  using A = std::remove_pointer_t<typename P::ValueType>;
  using T = std::decay_t<decltype(std::declval<A&>().get(0))>;
  IPtr<A> a(new A);
  for (int k : {3, 1, 2})
    a->append(valueOf<T>(k));
  PropertyMap map;
  map.addProperty(new P(KivString("a"), a.get(), false));
  map.addProperty(new P(KivString("none"), nullptr, false));
  const Bytes first = writeEntries(map);
  PropertyMap back;
  ASSERT_EQ(readEntries(first, back), 0);
  EXPECT_EQ(writeEntries(back), first);
  auto* p = kivQuery<P>(back.getProperty("a"), P::kClassName);
  ASSERT_NE(p, nullptr);
  ASSERT_NE(p->get(), nullptr);
  EXPECT_EQ(p->get()->count(), 3);
  EXPECT_TRUE(p->get()->get(2) == valueOf<T>(2));
  EXPECT_EQ(kivQuery<P>(back.getProperty("none"), P::kClassName)->get(), nullptr);
  EXPECT_EQ(std::string(p->typeName()), std::string("kivapi.datamodel.") + A::kClassName);
}

struct FamilyCase {
  const char* name;
  std::function<void()> rules;
  std::function<void()> stored;
};

#define FAMILY_CASE(M) {#M, &checkRules<M>, &checkStoredForm<M##Property>}

TEST_F(CollectionsTest, EveryMemberKeepsTheIndexAndWriteRulesAndStoresIdenticalBytes) {
  const FamilyCase cases[] = {
      FAMILY_CASE(IntArray),     FAMILY_CASE(ByteArray),     FAMILY_CASE(DoubleArray),
      FAMILY_CASE(ColorArray),   FAMILY_CASE(StringArray),   FAMILY_CASE(Vector2DArray),
      FAMILY_CASE(Vector2FArray), FAMILY_CASE(Vector3DArray), FAMILY_CASE(Transform3DArray),
  };
  for (const FamilyCase& c : cases) {
    SCOPED_TRACE(c.name);
    c.rules();
    c.stored();
  }
}

struct UniqueCase {
  const char* name;
  std::vector<int> input;
  std::vector<int> expected;
};

std::vector<int> descendingWithOneDuplicate() {
  std::vector<int> v;
  for (int i = 23; i >= 1; --i)
    v.push_back(i);
  v.insert(v.begin() + 5, 18);
  return v;
}

std::vector<int> elements(IntArray& a) {
  std::vector<int> out;
  for (int i = 0; i < a.count(); ++i)
    out.push_back(a.get(i));
  return out;
}

// Below 24 the stack sorts; from 24 on, and in the other stores, the first
// occurrence stays in its place.
TEST_F(CollectionsTest, UniqueSortsBelowTwentyFourAndKeepsOrderFromThere) {
  std::vector<int> big = descendingWithOneDuplicate();
  ASSERT_EQ(big.size(), 24u);
  std::vector<int> bigUnique = big;
  bigUnique.erase(bigUnique.begin() + 5);
  const UniqueCase cases[] = {
      {"small", {3, 1, 3, 2}, {1, 2, 3}},
      {"signs", {-1, 1}, {-1, 1}},
      {"one", {5}, {5}},
      {"big", big, bigUnique},
  };
  for (const UniqueCase& c : cases) {
    SCOPED_TRACE(c.name);
    IntArray stack;
    IntArray blocks(new IterBlockStack<int>(4));
    IntArray large(new IterLargeStack<int>(4));
    for (int v : c.input) {
      stack.append(v);
      blocks.append(v);
      large.append(v);
    }
    stack.unique();
    EXPECT_EQ(elements(stack), c.expected);
    blocks.unique();
    large.unique();
    // The other stores always keep the order of first occurrence.
    std::vector<int> firstSeen;
    for (int v : c.input)
      if (std::find(firstSeen.begin(), firstSeen.end(), v) == firstSeen.end())
        firstSeen.push_back(v);
    EXPECT_EQ(elements(blocks), firstSeen);
    EXPECT_EQ(elements(large), firstSeen);
  }
}

TEST_F(CollectionsTest, SubtractKeepsTheOrderOnBothSidesOfTwentyFour) {
  struct Case {
    const char* name;
    int otherSize;
  };
  for (Case c : {Case{"search", 5}, Case{"bits", 30}}) {
    SCOPED_TRACE(c.name);
    IntArray mine;
    IntArray blocks(new IterBlockStack<int>(4));
    for (int v : {40, -3, 7, 2, 41, -3, 0}) {
      mine.append(v);
      blocks.append(v);
    }
    IntArray other;
    other.append(-3);
    other.append(2);
    for (int i = 2; i < c.otherSize; ++i)
      other.append(100 + i);
    mine.subtract(&other);
    blocks.subtract(&other);
    EXPECT_EQ(elements(mine), (std::vector<int>{40, 7, 41, 0}));
    EXPECT_EQ(elements(blocks), (std::vector<int>{40, 7, 41, 0}));
  }
}

TEST_F(CollectionsTest, TheArrayStoreHasNoCountAndOnlyCurrentReadsIt) {
  auto* store = new IntArray::MMArray(8);
  store->set(1, 42);
  IntArray a(store);
  EXPECT_EQ(a.count(), 0);
  EXPECT_EQ(catchCode([&] { a.get(0); }).message, kInvalidIndex);
  EXPECT_EQ(a.iterator(), nullptr);
  a.next();
  EXPECT_EQ(a.current(), 42);
  IntArray copy(a);
  copy.next();
  EXPECT_EQ(copy.current(), 42);
}

// A change inside the array fires nothing; set() of the same array fires.
// clone() owns a copy, copyValue() shares.
TEST_F(CollectionsTest, OnlyReplacingTheArrayFiresAndClonesAreDeep) {
  IPtr<IntArrayProperty> p(new IntArrayProperty(KivString("a"), new IntArray, false));
  Changes changes;
  p->subscribe(modified(), &changes);
  p->get()->append(1);
  EXPECT_TRUE(changes.calls.empty());
  p->set(p->get());
  EXPECT_EQ(changes.calls.size(), 1u);
  IPtr<IKivProperty> clone(p->clone());
  auto* c = kivQuery<IntArrayProperty>(clone.get(), "IntArrayProperty");
  EXPECT_NE(c->get(), p->get());
  EXPECT_EQ(c->get()->get(0), 1);
  IPtr<IntArrayProperty> shared(new IntArrayProperty(KivString("b"), nullptr, false));
  shared->copyValue(p.get());
  EXPECT_EQ(shared->get(), p->get());
  shared->clearValue();
  EXPECT_EQ(shared->get(), nullptr);
  KivString out("x");
  p->valueText(KivString(), out);
  EXPECT_EQ(text(out), "");
}

// A count the section can't hold is left unread and the reader stays good;
// a negative count reads as null; rows x columns that overflow 32 bits too.
TEST_F(CollectionsTest, StoredCountsThatLieAreLeftUnread) {
  struct Case {
    const char* name;
    std::vector<int32_t> body;
    bool keepsOld;
  };
  const Case cases[] = {
      {"more than bytes", {1000000000, 1, 2}, true},
      {"negative", {-7}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    PropertyMap source;
    source.addProperty(new DoubleArrayProperty(KivString("d"), nullptr, false));
    const Bytes stored = writeEntries(source, [&](KivFileWrite& w) {
      IPtr<DoubleArrayProperty> fake(new DoubleArrayProperty(KivString("e"), nullptr, false));
      w.beginProperty(KivString("e"));
      w.beginSection(fake.get(), 0);
      fake->Property::write(&w);
      for (int32_t v : c.body)
        w.writeInt32(v);
      w.endSection(fake.get());
      w.endProperty(KivString("e"));
    }, 1);
    PropertyMap back;
    ASSERT_EQ(readEntries(stored, back), 0);
    auto* e = kivQuery<DoubleArrayProperty>(back.getProperty("e"), "DoubleArrayProperty");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->get(), nullptr);
    EXPECT_TRUE(back.hasProperty("d"));
  }
}

TEST_F(CollectionsTest, ByteArrayStreamsACountThenItsBytes) {
  ByteArray a;
  for (unsigned char b : {7, 0, 255})
    a.append(b);
  MemoryOutput out;
  a.writeBytes(out);
  out.flush();
  EXPECT_EQ(hexText(out.bytes()), "00 00 00 03 07 00 FF");
  // A count larger than the stream stops at its end.
  Bytes lying = out.bytes();
  lying[0] = 0x7F;
  MemoryInput in(lying);
  ByteArray b;
  b.append(9);
  b.readBytes(in);
  EXPECT_EQ(b.count(), 3);
  EXPECT_EQ(b.get(2), 255);
}

// Array3D keeps the rules in its own words, each ending in a stop of its own.
TEST_F(CollectionsTest, Array3DFailsInItsOwnWords) {
  IPtr<Array3D> a(new Array3D);
  EXPECT_EQ(catchCode([&] { a->pop(); }).message, "Error in class Array3D: Collection is empty..");
  a->append(KivVector(1, 2, 3));
  a->insert(0, KivVector(0, 0, 1));
  a->append(KivVector(0, 0, 1));
  EXPECT_EQ(a->indexOf(KivVector(0, 0, 1)), 2);
  a->remove(2);
  EXPECT_TRUE(a->get(1) == KivVector(1, 2, 3));
  EXPECT_EQ(catchCode([&] { a->get(2); }).message,
            "Error in class Array3D: Index is out of range..");
  a->setFixedSize(true);
  EXPECT_EQ(catchCode([&] { a->append(KivVector()); }).message,
            "Error in class Array3D: Collection has a fixed size..");
  a->setReadOnly(true);
  EXPECT_EQ(catchCode([&] { a->set(0, KivVector()); }).message,
            "Error in class Array3D: Collection is readonly..");
  a->setReadOnly(false);
  a->setFixedSize(false);
  // Both interfaces reach the same points.
  IKivArray3D* asArray3D = a.get();
  EXPECT_EQ(asArray3D->count(), 2);
  IPtr<Array3D> copy(new Array3D(*a));
  EXPECT_TRUE(copy->get(0) == KivVector(0, 0, 1));
  PropertyMap map;
  map.addProperty(new Array3DProperty(KivString("p"), a.get(), false));
  const Bytes bytes = writeEntries(map);
  PropertyMap back;
  ASSERT_EQ(readEntries(bytes, back), 0);
  EXPECT_EQ(writeEntries(back), bytes);
}

} // namespace

namespace {

std::string walked(IKivStringIter& it) {
  std::string text;
  KivString s;
  for (it.rewind(); it.next();) {
    it.value(s);
    text += std::string(s.utf8Text()) + ";";
  }
  return text;
}

} // namespace

TEST_F(CollectionsTest, StringIterWalksTheStringsOfItsCreation) {
  IPtr<StringArray> array(new StringArray);
  array->append(KivString("a"));
  array->append(KivString("b"));
  IPtr<StringIter> it(array->iterator());
  // Later changes and the array's death don't reach the snapshot.
  array->append(KivString("c"));
  array = nullptr;
  EXPECT_EQ(it->count(), 2);
  KivString before;
  it->value(before);
  EXPECT_TRUE(before.isEmpty());
  EXPECT_EQ(walked(*it), "a;b;");
  EXPECT_EQ(walked(*it), "a;b;");

  // The class table makes an empty one under its interface name.
  void* made = nullptr;
  ASSERT_TRUE(getObject("IKivStringIter", &made));
  IPtr<IKivStringIter> empty(static_cast<IKivStringIter*>(made));
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->count(), 0);
  EXPECT_FALSE(empty->next());
  EXPECT_STREQ(empty->className(), "StringIter");
}
