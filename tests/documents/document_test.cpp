//===- document_test.cpp - Document: update blocks, listeners, save and load --===//
#include "documentsupport.h"
#include "base/basic/kivimage.h"
#include "kivbasictypes/binstreams.h"

#include "kivbasictypes/kivfile.h"
#include "properties/objectproperty.h"
#include "undo/ikivundomanager.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>

namespace {

std::string err(const char* label, const std::string& message) {
  return std::string("Error in class ") + label + ": " + message + ".";
}

class Bytes8 {
public:
  Bytes8& raw(std::initializer_list<int> values) {
    for (int v : values)
      bytes.push_back(static_cast<uint8_t>(v));
    return *this;
  }
  Bytes8& u32(uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8)
      bytes.push_back(static_cast<uint8_t>(v >> shift));
    return *this;
  }
  Bytes8& u64(uint64_t v) {
    for (int shift = 56; shift >= 0; shift -= 8)
      bytes.push_back(static_cast<uint8_t>(v >> shift));
    return *this;
  }
  std::vector<uint8_t> bytes;
};

void writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TEST(Document, EmptyDocumentNamedASavesTo251Bytes) {
  const std::initializer_list<int> documentId = {0xDA, 0x18, 0x41, 0x9A, 0x62, 0xFF, 0x42, 0xC7,
                                                 0xAB, 0x3C, 0x72, 0x6F, 0xE1, 0x6F, 0x41, 0x85};
  const std::initializer_list<int> groupId = {0x0C, 0x88, 0x7E, 0x07, 0xD2, 0xA4, 0x4C, 0xF0,
                                              0x9C, 0xB3, 0xB4, 0x8F, 0xFA, 0x84, 0x35, 0xD5};
  Bytes8 e;
  e.raw({0x54, 0x4F, 0x56, 0x01}).u64(251);
  e.raw({0x0B, 0x00, 0x02, 0x05}).u64(239).raw(documentId);
  e.raw({0x01, 0x00, 0x05, 0x00}).u64(14).raw({0x00, 0x41});
  e.raw({0xB0, 0x0B, 0xBE, 0x02}).u64(161);
  e.raw({0x0B, 0x00, 0x02, 0x05}).u64(149).raw(groupId);
  e.raw({0x01, 0x00, 0x05, 0x00}).u64(12);
  e.raw({0xB0, 0x0B, 0xBE, 0x02}).u64(16).u32(0);
  e.raw({0x0B, 0x00, 0x02, 0x00}).u64(32).raw(groupId).u32(0xFFFFFFFF).u32(1);
  // "expanded", true.
  e.raw({0x01, 0x00, 0x05, 0x00}).u64(28);
  e.raw({0x00, 0x65, 0x00, 0x78, 0x00, 0x70, 0x00, 0x61, 0x00, 0x6E, 0x00, 0x64, 0x00, 0x65, 0x00, 0x64});
  e.raw({0x0B, 0x00, 0x02, 0x00}).u64(29);
  e.raw({0xBB, 0x34, 0x60, 0x9A, 0x22, 0xFD, 0x4E, 0xB0, 0x90, 0x9C, 0x7E, 0x7B, 0xC8, 0x19, 0x51, 0x5C});
  e.raw({0x01});
  e.raw({0x0B, 0x00, 0x02, 0x00}).u64(32).raw(documentId).u32(0xFFFFFFFF).u32(0);
  ASSERT_EQ(e.bytes.size(), 251u);

  IPtr<Document> document = newDocument("A");
  DocLog log;
  document->registerListener(&log);
  TempPath path(".kiv");
  ASSERT_TRUE(document->save(path.kiv()));
  std::vector<uint8_t> saved = fileBytes(path.path);
  ASSERT_EQ(saved.size(), 251u);
  // The two reference numbers are the table's to hand out.
  for (size_t offset : {150u, 243u})
    for (size_t i = offset; i < offset + 4; ++i)
      saved[i] = 0xFF;
  EXPECT_EQ(saved, e.bytes);
  EXPECT_TRUE(log.lines.empty());
  document->unregisterListener(&log);
}

// root: G(a b) c; a's object refers to a shared object that c's object
// refers to as well.
IPtr<Document> sampleDocument() {
  IPtr<Document> document = newDocument("sample");
  document->set("author", KivString("me"));
  IPtr<DynamicDataObject> shared(new DynamicDataObject);
  shared->set("name", KivString("shared"));
  shared->set("weight", 2.5);
  IPtr<DocumentGroup> g = newGroup("G");
  g->set("expanded", false);
  IPtr<DynamicDataObject> objectA, objectC;
  IPtr<DocumentData> a = dataOver("a", &objectA);
  IPtr<DocumentData> b = dataOver("b");
  IPtr<DocumentData> c = dataOver("c", &objectC);
  objectA->set("count", 7);
  objectA->addProperty(new ObjectProperty(KivString("link"), shared.get(), false));
  objectC->addProperty(new ObjectProperty(KivString("link"), shared.get(), false));
  g->addChild(a.get());
  g->addChild(b.get());
  asItem(document->getRootItem())->addChild(g.get());
  asItem(document->getRootItem())->addChild(c.get());
  return document;
}

DataObject* objectIn(IKivDocumentItem* item) {
  return kivQuery<DocumentItem>(item, "DocumentItem")->dataObjectValue();
}

TEST(Document, SaveLoadSaveGivesTheSameTreeAndBytes) {
  TempPath first(".kiv"), second(".kiv");
  {
    IPtr<Document> original = sampleDocument();
    ASSERT_TRUE(original->save(first.kiv()));
  }
  IPtr<Document> loaded = newDocument();
  DocLog log;
  loaded->registerListener(&log);
  ASSERT_TRUE(loaded->load(first.kiv()));
  EXPECT_EQ(log.lines, (std::vector<std::string>{"beginUpdate", "endUpdate"}));
  loaded->unregisterListener(&log);

  EXPECT_EQ(text(loaded->getString("name")), "sample");
  EXPECT_EQ(text(loaded->getString("author")), "me");
  IKivDocumentItem* root = asItem(loaded->getRootItem());
  EXPECT_EQ(shape(root), "(G(a b) c)");
  IKivDocumentItem* g = root->getChild(0);
  EXPECT_FALSE(kivQuery<DataObject>(g, "DataObject")->getBool("expanded"));
  IKivDocumentItem* a = g->getChild(0);
  IKivDocumentItem* c = root->getChild(1);
  DataObject* objectA = objectIn(a);
  ASSERT_NE(objectA, nullptr);
  EXPECT_EQ(objectA->getInt("count"), 7);
  EXPECT_EQ(loaded->getDocumentData(objectA), kivQuery<IKivDocumentData>(a, "IKivDocumentData"));
  EXPECT_EQ(loaded->getDocumentData(objectIn(c)), kivQuery<IKivDocumentData>(c, "IKivDocumentData"));
  // The shared object stands once in the file and is shared again.
  auto link = [](DataObject* o) {
    return kivQuery<ObjectProperty>(o->getProperty("link"), "ObjectProperty")->get();
  };
  ASSERT_NE(link(objectA), nullptr);
  EXPECT_EQ(link(objectA), link(objectIn(c)));
  EXPECT_EQ(link(objectA)->getDouble("weight"), 2.5);

  ASSERT_TRUE(loaded->save(second.kiv()));
  EXPECT_EQ(fileBytes(first.path), fileBytes(second.path));
}

TEST(Document, LoadAppendsAndLeavesTheUndoStack) {
  TempPath path(".kiv");
  ASSERT_TRUE(sampleDocument()->save(path.kiv()));
  IPtr<Document> document = newDocument("mine");
  IPtr<DocumentData> own = dataOver("own");
  asItem(document->getRootItem())->addChild(own.get());
  IKivUndoManager* undo = document->getUndoManager();
  undo->startUndoBlock(1);
  undo->addUndoObject(1, static_cast<IKivDataObject*>(own.get()), false);
  own->set("expanded", false);
  undo->endUndoBlock(1);
  const int stack = undo->getStackSize();
  ASSERT_TRUE(document->load(path.kiv()));
  EXPECT_EQ(shape(asItem(document->getRootItem())), "(own G(a b) c)");
  EXPECT_EQ(text(document->getString("name")), "sample");
  EXPECT_EQ(undo->getStackSize(), stack);

  DocLog log;
  document->registerListener(&log);
  document->clear();
  EXPECT_EQ(log.lines, (std::vector<std::string>{"beginUpdate", "endUpdate"}));
  EXPECT_EQ(asItem(document->getRootItem())->getChildCount(), 0);
  EXPECT_EQ(text(document->getString("name")), "sample");
  document->unregisterListener(&log);
}

TEST(Document, RulesAndFilesFailWithTheirTexts) {
  IPtr<Document> document = newDocument("d");
  DocLog log, stranger;
  const std::string missing = "/nonexistent-dir/none.kiv";
  struct Case {
    const char* name;
    std::function<void()> call;
    std::string expected;
  };
  const Case cases[] = {
      {"register_twice", [&] { document->registerListener(&log); },
       err("Document::registerListener", "Listener has already been registered.")},
      {"begin_twice",
       [&] {
         document->beginUpdate();
         document->beginUpdate();
       },
       err("Document::beginUpdate",
           "Already in update block. Call endUpdate after calling beginUpdate.")},
      {"end_closes_the_open_block", [&] { document->endUpdate(); }, "(none)"},
      {"end_without_block", [&] { document->endUpdate(); },
       err("Document::endUpdate", "Not in update block. Call beginUpdate before calling endUpdate.")},
      {"load_missing", [&] { document->load(KivString(missing.c_str())); },
       err("Document::load", "Could not open file " + missing)},
      {"loadkv_missing", [&] { document->loadKV(KivString(missing.c_str()), KivString()); },
       err("Document::loadKV", "Could not open file " + missing)},
      {"save_uncreatable", [&] { document->save(KivString(missing.c_str())); },
       err("Document::save", "Could not save file " + missing)},
      {"unregister_unknown", [&] { document->unregisterListener(&stranger); },
       err("Document::unregisterListener", "Listener has not been registered.")},
  };
  document->registerListener(&log);
  for (const Case& c : cases)
    EXPECT_EQ(failure(c.call), c.expected) << c.name;
  // A failed load closed its update block.
  EXPECT_FALSE(document->inUpdate());
  document->unregisterListener(&log);
}

TEST(Document, DamagedFilesGiveFalseAndKeepWhatWasRead) {
  TempPath good(".kiv"), cut(".kiv"), wrong(".kiv");
  ASSERT_TRUE(sampleDocument()->save(good.kiv()));
  std::vector<uint8_t> bytes = fileBytes(good.path);
  writeFile(cut.path, std::vector<uint8_t>(bytes.begin(), bytes.begin() + bytes.size() / 2));
  writeFile(wrong.path, {'n', 'o', 't', ' ', 'a', ' ', 'f', 'i', 'l', 'e'});
  struct Case {
    const char* name;
    const std::string& path;
    bool result;
  };
  const Case cases[] = {{"sound", good.path, true}, {"cut", cut.path, false},
                        {"wrong_root", wrong.path, false}};
  for (const Case& c : cases) {
    IPtr<Document> document = newDocument();
    EXPECT_EQ(document->load(KivString(c.path.c_str())), c.result) << c.name;
    EXPECT_FALSE(document->inUpdate()) << c.name;
  }
  // A write that fails (a full device) gives false.
  if (std::ifstream("/dev/full").good()) {
    EXPECT_FALSE(sampleDocument()->save(KivString("/dev/full")));
  }
}

TEST(Document, SecondFormSkipsItsHeader) {
  TempPath plain(".kiv"), second(".kv"), image(".png");
  ASSERT_TRUE(sampleDocument()->save(plain.kiv()));
  std::vector<uint8_t> body = fileBytes(plain.path);
  // The document's section, behind the root head of 12 bytes.
  const std::vector<uint8_t> section(body.begin() + 12, body.end());
  for (int headerVersion : {0, 1}) {
    Bytes8 f;
    // header: version v; inner blocks only with v >= 1; second inner block
    // of version 1 with flag 0 (no preview).
    Bytes8 header;
    if (headerVersion >= 1) {
      header.raw({0x00, 0x12, 0x34, 0x00}).u64(16).u32(0xABCDEF01);
      header.raw({0x00, 0x12, 0x35, 0x01}).u64(13).raw({0x00});
    }
    f.raw({0x54, 0x4F, 0x56, 0x01}).u64(12 + 12 + header.bytes.size() + section.size());
    f.raw({0x00, 0x99, 0x99, headerVersion}).u64(12 + header.bytes.size());
    f.bytes.insert(f.bytes.end(), header.bytes.begin(), header.bytes.end());
    f.bytes.insert(f.bytes.end(), section.begin(), section.end());
    writeFile(second.path, f.bytes);
    for (const KivString& imagePath : {KivString(), image.kiv()}) {
      IPtr<Document> document = newDocument();
      EXPECT_TRUE(document->loadKV(second.kiv(), imagePath)) << headerVersion;
      EXPECT_EQ(shape(asItem(document->getRootItem())), "(G(a b) c)") << headerVersion;
      EXPECT_TRUE(fileBytes(image.path).empty());
    }
  }
  IPtr<Document> document = newDocument();
  writeFile(second.path, {'b', 'a', 'd', '!', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(failure([&] { document->loadKV(second.kiv(), KivString()); }),
            err("Document::loadKV", "Invalid file header."));
  EXPECT_FALSE(document->inUpdate());
}

TEST(Document, SecondFormSavesItsPreviewImage) {
  TempPath plain(".kiv"), second(".kv"), preview(".ppm");
  ASSERT_TRUE(sampleDocument()->save(plain.kiv()));
  std::vector<uint8_t> body = fileBytes(plain.path);
  const std::vector<uint8_t> section(body.begin() + 12, body.end());
  // A 2 x 1 RGB image in its stored form, with the 64-bit lengths of the file.
  IPtr<KivImage> image(new KivImage(2, 1, 3));
  const uint8_t pixels[] = {1, 2, 3, 250, 251, 252};
  std::memcpy(image->row(0), pixels, sizeof pixels);
  MemoryOutput stored;
  stored.setFileVersion(10);
  ASSERT_TRUE(image->write(stored));
  stored.flush();
  Bytes8 header;
  header.raw({0x00, 0x12, 0x34, 0x00}).u64(16).u32(0xABCDEF01);
  header.raw({0x00, 0x12, 0x35, 0x01}).u64(12 + 1 + stored.bytes().size()).raw({0x01});
  header.bytes.insert(header.bytes.end(), stored.bytes().begin(), stored.bytes().end());
  Bytes8 f;
  f.raw({0x54, 0x4F, 0x56, 0x01}).u64(12 + 12 + header.bytes.size() + section.size());
  f.raw({0x00, 0x99, 0x99, 0x01}).u64(12 + header.bytes.size());
  f.bytes.insert(f.bytes.end(), header.bytes.begin(), header.bytes.end());
  f.bytes.insert(f.bytes.end(), section.begin(), section.end());
  writeFile(second.path, f.bytes);

  IPtr<Document> document = newDocument();
  EXPECT_TRUE(document->loadKV(second.kiv(), preview.kiv()));
  EXPECT_EQ(shape(asItem(document->getRootItem())), "(G(a b) c)");
  const std::vector<uint8_t> written = fileBytes(preview.path);
  ASSERT_GE(written.size(), 8u);
  EXPECT_EQ(std::string(written.begin(), written.begin() + 2), "P6");
  EXPECT_EQ(std::vector<uint8_t>(written.end() - 6, written.end()),
            std::vector<uint8_t>(std::begin(pixels), std::end(pixels)));
}

TEST(Document, ClosingTellsListenersThatMayLeave) {
  DocLog first, second;
  {
    IPtr<Document> document = newDocument("d");
    asItem(document->getRootItem())->addChild(dataOver("a").get());
    document->registerListener(&first);
    document->registerListener(&second);
    Document* raw = document.get();
    first.closingHook = [&first, raw] { raw->unregisterListener(&first); };
    document->addReference(&first);
    document->addReference(&first);
    EXPECT_EQ(document->referenceCount(), 1);
    document->removeReference(&second);
    EXPECT_EQ(document->referenceCount(), 1);
  }
  const std::vector<std::string> expected = {"beginUpdate", "endUpdate", "documentClosing"};
  EXPECT_EQ(first.lines, expected);
  EXPECT_EQ(second.lines, expected);
}

TEST(Document, UndoOfAnItemTellsTheDocument) {
  IPtr<Document> document = newDocument("d");
  IPtr<DocumentData> a = dataOver("a");
  asItem(document->getRootItem())->addChild(a.get());
  IKivUndoManager* undo = document->getUndoManager();
  undo->startUndoBlock(7);
  undo->addUndoObject(7, static_cast<IKivDataObject*>(a.get()), false);
  document->beginUpdate();
  a->set("expanded", false);
  document->endUpdate();
  undo->endUndoBlock(7);
  DocLog log;
  document->registerListener(&log);
  undo->undo(7);
  EXPECT_TRUE(a->getBool("expanded"));
  // The property's event and the record both tell the document, in the
  // picture's name order; the routed "name" fires nothing of its own, so
  // only the record tells of it.
  const std::vector<std::string> expected = {
      "itemProperty a dataObject", "itemProperty a dataObject", "itemProperty a expanded",
      "itemProperty a expanded", "itemProperty a name"};
  EXPECT_EQ(log.lines, expected);
  log.lines.clear();
  document->beginUpdate();
  undo->redo(7);
  document->endUpdate();
  EXPECT_FALSE(a->getBool("expanded"));
  EXPECT_EQ(log.lines, (std::vector<std::string>{"beginUpdate", "endUpdate"}));
  document->unregisterListener(&log);
}

} // namespace
