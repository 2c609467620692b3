#include "properties/orientedtriangle.h"

#include "kivbasictypes/binio.h"
#include "propertysupport.h"
#include "storedentries.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

struct OrientedTriangleTest : ::testing::Test {
  OrientedTriangleTest() { inProcessHost(); }
};

// Corners of each version, from the table of directed edges.
struct Edge {
  int from, to;
};
const Edge kEdges[6] = {{0, 1}, {1, 0}, {1, 2}, {2, 1}, {2, 0}, {0, 2}};

// Worked by hand on a triangle with corners 0, 1, 2: the next edge in the
// same sense starts where the edge ends; reversing swaps the corners.
TEST_F(OrientedTriangleTest, WalksAgreeWithTheCornersOfEachVersion) {
  for (uint32_t v = 0; v < 6; ++v) {
    SCOPED_TRACE(v);
    const Edge e = kEdges[v];
    EXPECT_EQ(ortri::versionOf(e.from, e.to), v);
    const Edge next = kEdges[ortri::nextEdge(v)];
    EXPECT_EQ(next.from, e.to);
    EXPECT_EQ(ortri::versionOf(next.from, next.to) & 1, v & 1);  // same sense
    EXPECT_EQ(kEdges[ortri::previousEdge(v)].to, e.from);
    EXPECT_EQ(ortri::nextEdge(ortri::nextEdge(ortri::nextEdge(v))), v);
    EXPECT_EQ(ortri::applyVersion(v, 3), ortri::nextEdge(v) ^ 1);
    EXPECT_EQ(ortri::applyVersion(v, 5), ortri::previousEdge(v) ^ 1);
    EXPECT_EQ(ortri::compose(ortri::make(9, 3), ortri::make(4, v)),
              ortri::make(4, ortri::nextEdge(v) ^ 1));
  }
  EXPECT_EQ(ortri::versionOf(2, 0), 4u);
  EXPECT_EQ(ortri::reverse(ortri::reverse(ortri::make(7, 2))), ortri::make(7, 2));
}

TEST_F(OrientedTriangleTest, EdgeStacksReverseRenumberAndPrint) {
  struct Case {
    const char* name;
    std::vector<uint32_t> in;
    std::vector<uint32_t> reversed;
  };
  const Case cases[] = {
      {"one", {ortri::make(3, 0)}, {ortri::make(3, 1)}},
      {"odd", {8, 17, 26}, {27, 16, 9}},
      {"even", {8, 17}, {16, 9}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ClassifiedEdgeStack s;
    for (uint32_t e : c.in)
      s.push(e);
    EXPECT_TRUE(s.reverse());
    for (size_t i = 0; i < c.reversed.size(); ++i)
      EXPECT_EQ(s.at(static_cast<int32_t>(i) + 1), c.reversed[i]);
    s.renumberCorners();
    s.renumberCorners();
    EXPECT_EQ(s.at(1), c.reversed[0]);
  }
  ClassifiedEdgeStack empty;
  EXPECT_FALSE(empty.reverse());
  std::ostringstream printed;
  empty.setClosed(true);
  empty.print(printed);
  EXPECT_EQ(printed.str(), "Edge Stack (size = 0, closed, non-bd)\n\n");
  ClassifiedEdgeStack one;
  one.push(ortri::make(2, 5));
  one.setBoundary(true);
  std::ostringstream line;
  one.print(line);
  EXPECT_EQ(line.str(), "Edge Stack (size = 1, open, bd)\n\t1: (2, 5) \n\n");
}

TEST_F(OrientedTriangleTest, EdgeStackListsSortRemoveAndCompact) {
  ClassifiedEdgeStackList list;
  for (int size : {1, 3, 2}) {
    auto* s = new ClassifiedEdgeStack;
    for (int k = 0; k < size; ++k)
      s->push(ortri::make(static_cast<uint32_t>(k), 0));
    s->setClosed(size != 2);
    list.push(s);
  }
  list.sortBySize();
  ASSERT_EQ(list.count(), 3);
  EXPECT_EQ(list.at(1)->count(), 3);
  EXPECT_EQ(list.at(2)->count(), 2);
  EXPECT_EQ(list.at(3)->count(), 1);
  EXPECT_EQ(list.totalEdges(), 6);
  ClassifiedEdgeStackList copy(list);
  EXPECT_TRUE(copy.at(1)->isClosed());
  list.removeClosed();
  ASSERT_EQ(list.count(), 1);
  EXPECT_EQ(list.at(1)->count(), 2);
  list.removeOpen();
  EXPECT_EQ(list.count(), 0);
  copy.remove(2, false);
  EXPECT_EQ(copy.totalEdges(), 4);
  copy.compact();
  EXPECT_EQ(copy.count(), 2);
}

TEST_F(OrientedTriangleTest, TriangleWordsAndVersionChecks) {
  struct Case {
    int triangle, version;
    uint32_t value;
    int shownTriangle;
  };
  for (Case c : {Case{0, 0, 8, 0}, Case{-1, 3, 3, -1}, Case{2, 1, 25, 2}}) {
    OrientedTriangle t(c.triangle, c.version);
    EXPECT_EQ(t.value(), c.value);
    EXPECT_EQ(t.triangle(), c.shownTriangle);
  }
  OrientedTriangle t(4, 2);
  for (int bad : {6, -1}) {
    Thrown thrown = catchCode([&] { t.set(2, bad); });
    EXPECT_EQ(thrown.message,
              "Error in class OrientedTriangle: version must have a value >= 0 and <= 5.");
  }
  EXPECT_EQ(t.value(), 42u);
  t.setValue(13);
  EXPECT_EQ(t.value(), 13u);
  t.setValue(15);
  EXPECT_EQ(t.value(), 13u);
  IPtr<OrientedTriangle> r(t.reversedTriangle());
  IPtr<OrientedTriangle> rr(r->reversedTriangle());
  EXPECT_EQ(rr->value(), 13u);
  EXPECT_EQ(t.value(), 13u);
  IPtr<OrientedTriangle> n(t.nextEdgeTriangle());
  EXPECT_EQ(n->version(), 3);
}

TEST_F(OrientedTriangleTest, StacksTryWithoutFailingAndPropertiesPrintAndStore) {
  IPtr<OrientedTriangleStack> s(new OrientedTriangleStack);
  for (int k : {1, 2, 3})
    s->append(IPtr<OrientedTriangle>(new OrientedTriangle(k, 1)).get());
  IPtr<OrientedTriangle> none(s->tryGet(3));
  EXPECT_EQ(none->value(), 0u);
  EXPECT_EQ(catchCode([&] { IPtr<OrientedTriangle>(s->getTriangle(3)); }).message,
            "Error in class Collection: Invalid index.");
  s->rewind();
  IPtr<IKivOrientedTriangle> first(s->current());
  EXPECT_EQ(first->triangle(), 1);

  PropertyMap map;
  map.addProperty(new OrientedTriangleStackProperty(KivString("s"), s.get(), false));
  map.addProperty(new OrientedTriangleProperty(KivString("t"), new OrientedTriangle(2, 1), false));
  IPtr<OrientedTriangleStackList> list(new OrientedTriangleStackList);
  list->append(s.get());
  map.addProperty(new OrientedTriangleStackListProperty(KivString("l"), list.get(), false));
  KivString out;
  map.getProperty("s")->valueText(KivString(), out);
  EXPECT_EQ(text(out), "(3)");
  map.getProperty("t")->valueText(KivString(), out);
  EXPECT_EQ(text(out), "(2, 1)");
  const Bytes bytes = writeEntries(map);
  PropertyMap back;
  ASSERT_EQ(readEntries(bytes, back), 0);
  EXPECT_EQ(writeEntries(back), bytes);
}

} // namespace
