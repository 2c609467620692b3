#include "properties/arrayproperties.h"

#include "properties/dataobjectarrayproperty.h"
#include "properties/orientedtriangle.h"
#include "propertysupport.h"
#include "storedentries.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

fs::path corpusFolder() {
  return fs::path(DM_TEST_DATA_DIR) / "properties" / "collectioncorpus";
}

// A map with every stored collection and mesh value, three elements each.
PropertyMap& familyMap(PropertyMap& map) {
  auto add = [&](auto* property) { map.addProperty(property); };
  IPtr<IntArray> ints(new IntArray);
  IPtr<ByteArray> bytes(new ByteArray);
  IPtr<DoubleArray> doubles(new DoubleArray);
  IPtr<ColorArray> colors(new ColorArray);
  IPtr<StringArray> strings(new StringArray);
  IPtr<Vector2DArray> v2d(new Vector2DArray);
  IPtr<Vector2FArray> v2f(new Vector2FArray);
  IPtr<Vector3DArray> v3d(new Vector3DArray);
  IPtr<Transform3DArray> matrices(new Transform3DArray);
  IPtr<OrientedTriangleStack> path(new OrientedTriangleStack);
  IPtr<OrientedTriangleStackList> paths(new OrientedTriangleStackList);
  for (int k = 1; k <= 3; ++k) {
    ints->append(-k);
    bytes->append(static_cast<unsigned char>(k));
    doubles->append(k / 4.0);
    colors->append(KivColor(0.1f * k, 0.2f, 0.3f, 1.0f));
    strings->append(KivString(std::string(k, 'x').c_str()));
    v2d->append(Vector2D{double(k), 1.0});
    v2f->append(Vector2F{float(k), 2.0f});
    v3d->append(KivVector(k, k, k));
    matrices->append(KivMatrix());
    path->append(IPtr<OrientedTriangle>(new OrientedTriangle(k, k)).get());
  }
  paths->append(path.get());
  add(new IntArrayProperty(KivString("ints"), ints.get(), false));
  add(new ByteArrayProperty(KivString("bytes"), bytes.get(), false));
  add(new DoubleArrayProperty(KivString("doubles"), doubles.get(), false));
  add(new ColorArrayProperty(KivString("colors"), colors.get(), false));
  add(new StringArrayProperty(KivString("strings"), strings.get(), false));
  add(new Vector2DArrayProperty(KivString("v2d"), v2d.get(), false));
  add(new Vector2FArrayProperty(KivString("v2f"), v2f.get(), false));
  add(new Vector3DArrayProperty(KivString("v3d"), v3d.get(), false));
  add(new Transform3DArrayProperty(KivString("matrices"), matrices.get(), false));
  add(new DoubleArray2DProperty(KivString("grid"), new DoubleArray2D, false));
  add(new Vector3DArray2DProperty(KivString("vgrid"), nullptr, false));
  add(new OrientedTriangleProperty(KivString("t"), new OrientedTriangle(4, 5), false));
  add(new OrientedTriangleStackProperty(KivString("path"), path.get(), false));
  add(new OrientedTriangleStackListProperty(KivString("paths"), paths.get(), false));
  add(new ImageArrayProperty(KivString("images"), nullptr, false));
  return map;
}

// An entry of class P whose body is the given int32 words.
template <class P>
std::function<void(KivFileWrite&)> lyingEntry(std::vector<int32_t> words) {
  return [words](KivFileWrite& w) {
    IPtr<P> fake(new P(KivString("lie"), nullptr, false));
    w.beginProperty(KivString("lie"));
    w.beginSection(fake.get(), 0);
    fake->Property::write(&w);
    for (int32_t v : words)
      w.writeInt32(v);
    w.endSection(fake.get());
    w.endProperty(KivString("lie"));
  };
}

// Writes the seeds into the source tree: run the corpus test with
// DM_WRITE_COLLECTION_SEEDS set when a stored form changes.
void writeSeeds() {
  fs::create_directories(corpusFolder());
  auto save = [](const char* name, const Bytes& bytes) {
    std::ofstream(corpusFolder() / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  };
  PropertyMap family;
  save("seed-family", writeEntries(familyMap(family)));
  PropertyMap empty;
  save("seed-count-lies", writeEntries(empty, lyingEntry<DoubleArrayProperty>({0x7FFFFFFF, 1}), 1));
  save("seed-count-negative", writeEntries(empty, lyingEntry<IntArrayProperty>({-5, 1}), 1));
  save("seed-2d-overflow",
       writeEntries(empty, lyingEntry<Vector3DArray2DProperty>({0x10000, 0x10000, 1}), 1));
  save("seed-stack-lies",
       writeEntries(empty, lyingEntry<OrientedTriangleStackListProperty>({0x40000000, 3}), 1));
}

// Every input the collections fuzzer keeps reads without a crash or a huge
// allocation; the seeds read whole, and the family reads back to the same
// bytes.
TEST(CollectionCorpus, EveryInputReadsSafely) {
  inProcessHost();
  if (std::getenv("DM_WRITE_COLLECTION_SEEDS"))
    writeSeeds();
  ASSERT_TRUE(fs::is_directory(corpusFolder())) << corpusFolder();
  int seeds = 0;
  for (const auto& entry : fs::directory_iterator(corpusFolder())) {
    const std::string name = entry.path().filename().string();
    std::ifstream in(entry.path(), std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    PropertyMap map;
    const int skipped = readEntries(bytes, map);
    if (name.rfind("seed-", 0) == 0) {
      ++seeds;
      EXPECT_EQ(skipped, 0) << name;
    }
  }
  EXPECT_GE(seeds, 5);

  PropertyMap family;
  const Bytes written = writeEntries(familyMap(family));
  PropertyMap back;
  ASSERT_EQ(readEntries(written, back), 0);
  EXPECT_EQ(writeEntries(back), written);
  // Lying counts leave the property without an array, and the reader
  // goes on to the end.
  auto readSeed = [](const char* name, PropertyMap& map) {
    std::ifstream in(corpusFolder() / name, std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return readEntries(bytes, map);
  };
  PropertyMap lied, overflow, listed;
  ASSERT_EQ(readSeed("seed-count-lies", lied), 0);
  ASSERT_TRUE(lied.hasProperty("lie"));
  EXPECT_EQ(lied.getDoubleArray("lie"), nullptr);
  ASSERT_EQ(readSeed("seed-2d-overflow", overflow), 0);
  ASSERT_TRUE(overflow.hasProperty("lie"));
  EXPECT_EQ(overflow.getVector3DArray2D("lie"), nullptr);
  ASSERT_EQ(readSeed("seed-stack-lies", listed), 0);
  EXPECT_EQ(listed.getOrientedTriangleStackList("lie"), nullptr);
}

} // namespace
