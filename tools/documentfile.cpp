//===- documentfile.cpp - Documents in files, for dmtool ------------------===//
#include "tools/documentfile.h"

#include "core/classids.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "documents/document.h"
#include "documents/documentdata.h"
#include "documents/documentgroup.h"
#include "documents/documentlistener.h"
#include "documents/documentmanager.h"
#include "host/referencehost.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/kivfile.h"
#include "properties/ikivproperty.h"
#include "properties/objectproperty.h"
#include "undo/ikivundomanager.h"
#include "tools/graphfile.h"
#include "tools/safefile.h"

#include <filesystem>
#include <vector>

namespace {

constexpr int kSound = 0;
constexpr int kUnreadable = 1;
constexpr int kDamaged = 2;

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }
KivString kiv(const std::string& s) { return KivString::fromUtf8(s.c_str()); }

std::string classText(const KivClassId& id) {
  for (const KivClassRow& row : kClassTable)
    if (row.id == id)
      return row.name;
  return id.toString();
}

std::string tagText(uint32_t tag) {
  struct Name {
    uint32_t tag;
    const char* name;
  };
  static const Name names[] = {{0x544F56, "root"},          {0xB0002, "section"},
                               {0xB00BBE, "object extra"},  {0xB00BBA, "unwritten objects"},
                               {0x10005, "string"},         {0x10003, "cstring"}};
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%X", tag);
  for (const Name& n : names)
    if (n.tag == tag)
      return std::string(n.name) + " (tag " + hex + ")";
  return std::string("tag ") + hex;
}

std::string jsonText(const std::string& s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
      out += buffer;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

bool startHost(std::string* error) { return inProcessComponentHost(error) != nullptr; }

IPtr<Document> newDocument() {
  void* out = nullptr;
  getObject("IKivDocument", &out);
  IPtr<IKivDocument> document(static_cast<IKivDocument*>(out));
  return IPtr<Document>(kivQuery<Document>(document.get(), Document::kClassName));
}

// A reader that notes where it first stopped being good: the stream offset
// before the call that failed, and the innermost block open at that moment.
// It also notes the first class that the tree names but this build can't
// create, which damages the content without damaging the blocks.
class TracingReader : public KivFileRead {
public:
  struct Block {
    uint32_t tag;
    int64_t offset;
  };

  bool openTraced(const std::string& path) {
    if (!open(kiv(path)))
      return false;
    blocks_.push_back({0x544F56, 0});
    base_ = depth() - 1;
    if (!good())
      fail(0, "root block");
    return true;
  }

  bool nextBlock() override {
    const int64_t at = offset();
    const bool was = good();
    const bool ok = KivFileRead::nextBlock();
    if (ok) {
      syncDepth(1);
      blocks_.push_back({static_cast<uint32_t>(tag()), at});
    }
    check(was, at, "block head");
    return ok;
  }
  bool endBlock() override {
    const int64_t at = offset();
    const bool was = good();
    const bool ok = KivFileRead::endBlock();
    syncDepth(0);
    check(was, at, "block end");
    return ok;
  }
  const KivClassId* peekClassId() override {
    const int64_t at = offset();
    const bool was = good();
    const KivClassId* id = KivFileRead::peekClassId();
    check(was, at, "class identifier");
    if (good() && id && !(*id == KivClassId()) && unknownClass_.empty()) {
      void* out = nullptr;
      if (!createObject(id, "IKivUnknown", &out) || !out) {
        unknownClass_ = classText(*id);
        unknownOffset_ = at;
      } else {
        IPtr<IKivUnknown> trial(static_cast<IKivUnknown*>(out));
      }
    }
    return id;
  }
  bool readInt32(int32_t* out) override {
    return traced([&] { return KivFileRead::readInt32(out); }, "number");
  }
  bool readBool(bool* out) override {
    return traced([&] { return KivFileRead::readBool(out); }, "flag");
  }
  bool readString(KivString* out) override {
    return traced([&] { return KivFileRead::readString(out); }, "string");
  }
  bool beginProperty(KivString* name, KivClassId* out) override {
    const int64_t at = offset();
    const bool was = good();
    const bool ok = KivFileRead::beginProperty(name, out);
    check(was, at, "property");
    return ok;
  }

  bool damaged() const { return damageOffset_ >= 0; }
  int64_t damageOffset() const { return damageOffset_; }
  const Block& damageBlock() const { return damageBlock_; }
  const std::string& damageWhat() const { return damageWhat_; }
  const std::string& unknownClass() const { return unknownClass_; }
  int64_t unknownOffset() const { return unknownOffset_; }

private:
  int64_t offset() { return stream() ? stream()->tell() : -1; }
  void syncDepth(int extra) {
    const size_t wanted = static_cast<size_t>(std::max(1, depth() - base_ - extra));
    while (blocks_.size() > wanted)
      blocks_.pop_back();
  }
  // `call` runs the base class's operation (a member pointer would
  // dispatch back to the override).
  template <class Call>
  bool traced(const Call& call, const char* what) {
    const int64_t at = offset();
    const bool was = good();
    const bool ok = call();
    check(was, at, what);
    return ok;
  }
  void check(bool wasGood, int64_t at, const char* what) {
    if (wasGood && !good())
      fail(at, what);
  }
  void fail(int64_t at, const char* what) {
    if (damageOffset_ >= 0)
      return;
    damageOffset_ = at;
    damageWhat_ = what;
    damageBlock_ = blocks_.empty() ? Block{0x544F56, 0} : blocks_.back();
  }

  std::vector<Block> blocks_;
  int base_ = 0;
  int64_t damageOffset_ = -1;
  Block damageBlock_{0, 0};
  std::string damageWhat_;
  std::string unknownClass_;
  int64_t unknownOffset_ = -1;
};

struct Counts {
  int items = 0;
  int dataItems = 0;
};

void countItems(IKivDocumentItem* item, Counts* counts) {
  for (int i = 0; i < item->getChildCount(); ++i) {
    IKivDocumentItem* child = item->getChild(i);
    if (!child)
      continue;
    ++counts->items;
    if (kivQuery<IKivDocumentData>(child, "IKivDocumentData"))
      ++counts->dataItems;
    countItems(child, counts);
  }
}

struct LoadResult {
  IPtr<Document> document;
  bool sound = false;
  TracingReader* reader = nullptr;
};

// Loads as Document::load does, through the tracing reader. The document's
// own load decides soundness; the trace says where the damage is.
bool loadTraced(const std::string& path, LoadResult* result, TracingReader* reader,
                std::string* error) {
  if (!startHost(error))
    return false;
  result->reader = reader;
  result->document = newDocument();
  if (!result->document) {
    *error = "cannot create a document";
    return false;
  }
  if (!reader->openTraced(path)) {
    *error = "cannot open '" + path + "'";
    return false;
  }
  result->document->beginUpdate();
  const bool read = result->document->read(reader);
  reader->close();
  result->document->endUpdate();
  // The library's own verdict on the same bytes, which also counts a tree
  // that stopped without damaging the blocks.
  IPtr<Document> check = newDocument();
  result->sound = read && !reader->damaged() && check->load(kiv(path));
  return true;
}

std::string propertiesText(DataObject* object, bool json) {
  std::string out;
  for (const auto& [key, property] : object->properties()) {
    auto* writeable = kivQuery<IKivWriteable>(property.get(), "IKivWriteable");
    if (!writeable || property->isReadOnly() || !writeable->isPersistent())
      continue;
    KivString value;
    property->valueText(key, value);
    // Some values (bounds, matrices) span lines; a tree line holds one item.
    std::string shown = utf8(value);
    for (char& c : shown)
      if (c == '\n')
        c = ' ';
    while (!shown.empty() && shown.back() == ' ')
      shown.pop_back();
    if (json)
      out += (out.empty() ? "" : ", ") + jsonText(utf8(key)) + ": " + jsonText(utf8(value));
    else
      out += " " + utf8(key) + "=" + shown;
  }
  return out;
}

std::string nameOf(DataObject* object) {
  if (!object->hasProperty("name"))
    return "";
  KivString value;
  object->getProperty("name")->valueText(KivString("name"), value);
  return utf8(value);
}

void printItem(IKivDocumentItem* item, int depth, bool json, std::FILE* out) {
  auto* object = kivQuery<DataObject>(item, DataObject::kClassName);
  auto* asItem = kivQuery<DocumentItem>(item, DocumentItem::kClassName);
  DataObject* data = asItem ? asItem->dataObjectValue() : nullptr;
  const std::string indent(static_cast<size_t>(depth) * 2, ' ');
  if (json) {
    std::fprintf(out, "%s{\"class\": %s, \"name\": %s, \"properties\": {%s}", indent.c_str(),
                 jsonText(object->className()).c_str(), jsonText(nameOf(object)).c_str(),
                 propertiesText(object, true).c_str());
    if (data)
      std::fprintf(out, ", \"data\": {\"class\": %s, \"name\": %s, \"properties\": {%s}}",
                   jsonText(data->className()).c_str(), jsonText(nameOf(data)).c_str(),
                   propertiesText(data, true).c_str());
    std::fprintf(out, ", \"children\": [");
    for (int i = 0; i < item->getChildCount(); ++i) {
      std::fprintf(out, "%s\n", i ? "," : "");
      printItem(item->getChild(i), depth + 1, true, out);
    }
    std::fprintf(out, "%s]}", item->getChildCount() ? ("\n" + indent).c_str() : "");
    return;
  }
  std::fprintf(out, "%s%s \"%s\"%s\n", indent.c_str(), object->className(),
               nameOf(object).c_str(), propertiesText(object, false).c_str());
  if (data)
    std::fprintf(out, "%s  -> %s \"%s\"%s\n", indent.c_str(), data->className(),
                 nameOf(data).c_str(), propertiesText(data, false).c_str());
  for (int i = 0; i < item->getChildCount(); ++i)
    printItem(item->getChild(i), depth + 1, false, out);
}

std::string damageText(const LoadResult& result) {
  const TracingReader& r = *result.reader;
  char text[256];
  if (r.damaged()) {
    std::snprintf(text, sizeof text, "damage at offset %lld (%s) in %s at offset %lld",
                  static_cast<long long>(r.damageOffset()), r.damageWhat().c_str(),
                  tagText(r.damageBlock().tag).c_str(),
                  static_cast<long long>(r.damageBlock().offset));
    return text;
  }
  if (!r.unknownClass().empty()) {
    std::snprintf(text, sizeof text, "object of unknown class %s at offset %lld",
                  r.unknownClass().c_str(), static_cast<long long>(r.unknownOffset()));
    return text;
  }
  return "the tree could not be read entirely";
}

// Writes `document` to `path` with `fileVersion`, crash-safely.
bool writeDocument(Document* document, const std::string& path, int fileVersion,
                   uint64_t* bytes, std::string* error) {
  const bool ok = replaceFileSafely(
      path,
      [&](const std::string& temporary, std::string* why) {
        KivFileWrite writer;
        writer.setFileVersion(fileVersion);
        if (!writer.open(kiv(temporary))) {
          *why = "cannot create '" + path + "'";
          return false;
        }
        bool written = document->write(&writer);
        written = writer.good() && written;
        written = writer.close() && written;
        if (!written)
          *why = "cannot write '" + path + "' (disk full?)";
        return written;
      },
      error);
  if (ok && bytes) {
    std::error_code ignored;
    *bytes = std::filesystem::file_size(path, ignored);
  }
  return ok;
}

} // namespace

bool isDocumentFile(const std::string& path) {
  std::string error;
  if (!startHost(&error))
    return false;
  KivFileRead reader;
  if (!reader.open(kiv(path)) || !reader.good())
    return false;
  const KivClassId* id = reader.peekClassId();
  const bool document = id && *id == classIdOf(Document::kClassName);
  reader.close();
  return document;
}

bool createDocumentFile(const std::string& path, const std::string& name,
                        const std::string& configPath, uint64_t* bytes, std::string* error) {
  if (!startHost(error))
    return false;
  if (!configPath.empty())
    DocumentManager::instance()->readConfigFile(kiv(configPath));
  IPtr<Document> document = newDocument();
  document->set("name", kiv(name));
  return writeDocument(document.get(), path, 10, bytes, error);
}

int printDocumentTree(const std::string& path, bool json, std::FILE* out, std::string* error) {
  LoadResult result;
  TracingReader reader;
  if (!loadTraced(path, &result, &reader, error))
    return kUnreadable;
  Document* document = result.document.get();
  if (json) {
    std::fprintf(out, "{\"file\": %s, \"sound\": %s, \"class\": \"Document\", \"name\": %s, "
                      "\"properties\": {%s}, \"root\":\n",
                 jsonText(path).c_str(), result.sound ? "true" : "false",
                 jsonText(nameOf(document)).c_str(), propertiesText(document, true).c_str());
    printItem(kivQuery<IKivDocumentItem>(document->getRootItem(), "IKivDocumentItem"), 1, true,
              out);
    std::fprintf(out, "}\n");
  } else {
    std::fprintf(out, "Document \"%s\"%s\n", nameOf(document).c_str(),
                 propertiesText(document, false).c_str());
    printItem(kivQuery<IKivDocumentItem>(document->getRootItem(), "IKivDocumentItem"), 1, false,
              out);
  }
  if (result.sound)
    return kSound;
  *error = "'" + path + "' is damaged: " + damageText(result) + "; shown is what could be read";
  return kDamaged;
}

int verifyDocumentFile(const std::string& path, bool json, std::FILE* out, std::string* error) {
  LoadResult result;
  TracingReader reader;
  if (!loadTraced(path, &result, &reader, error))
    return kUnreadable;
  Counts counts;
  countItems(kivQuery<IKivDocumentItem>(result.document->getRootItem(), "IKivDocumentItem"),
             &counts);
  const std::string name = nameOf(result.document.get());
  std::error_code ignored;
  const auto size = static_cast<unsigned long long>(std::filesystem::file_size(path, ignored));
  if (json) {
    std::fprintf(out, "{\"file\": %s, \"sound\": %s, \"bytes\": %llu", jsonText(path).c_str(),
                 result.sound ? "true" : "false", size);
    if (!result.sound) {
      const TracingReader& r = reader;
      std::fprintf(out, ", \"damage\": {\"text\": %s", jsonText(damageText(result)).c_str());
      if (r.damaged())
        std::fprintf(out, ", \"offset\": %lld, \"block\": {\"tag\": %u, \"name\": %s, "
                          "\"offset\": %lld}",
                     static_cast<long long>(r.damageOffset()), r.damageBlock().tag,
                     jsonText(tagText(r.damageBlock().tag)).c_str(),
                     static_cast<long long>(r.damageBlock().offset));
      std::fprintf(out, "}");
    }
    std::fprintf(out, ", \"read\": {\"name\": %s, \"items\": %d, \"dataItems\": %d}}\n",
                 jsonText(name).c_str(), counts.items, counts.dataItems);
  } else if (result.sound) {
    std::fprintf(out, "sound: %s: document \"%s\", %d items (%d data), %llu bytes\n",
                 path.c_str(), name.c_str(), counts.items, counts.dataItems, size);
  } else {
    std::fprintf(out, "damaged: %s: %s\n", path.c_str(), damageText(result).c_str());
    std::fprintf(out, "still read: document \"%s\", %d items (%d data)\n", name.c_str(),
                 counts.items, counts.dataItems);
  }
  if (result.sound)
    return kSound;
  *error = "'" + path + "' is damaged";
  return kDamaged;
}

bool convertDocumentFile(const std::string& in, const std::string& out, int fileVersion,
                         int* items, uint64_t* bytes, std::string* error) {
  LoadResult result;
  TracingReader reader;
  if (!loadTraced(in, &result, &reader, error))
    return false;
  if (!result.sound) {
    *error = "'" + in + "' is damaged (" + damageText(result) + "); nothing written";
    return false;
  }
  Counts counts;
  countItems(kivQuery<IKivDocumentItem>(result.document->getRootItem(), "IKivDocumentItem"),
             &counts);
  *items = counts.items;
  return writeDocument(result.document.get(), out, fileVersion, bytes, error);
}

namespace {

// Reports what a document tells its listeners, one line each.
class SampleListener : public DocumentListener {
public:
  explicit SampleListener(std::FILE* out) : out_(out) {}
  void itemPropertyChanged(DocumentItem* item, const KivString& name) override {
    std::fprintf(out_, "    listener: itemPropertyChanged(%s, %s)\n", nameOf(item).c_str(),
                 utf8(name).c_str());
  }
  void beginUpdate(IKivDocument*) override { std::fprintf(out_, "    listener: beginUpdate\n"); }
  void endUpdate(IKivDocument*) override { std::fprintf(out_, "    listener: endUpdate\n"); }

private:
  std::FILE* out_;
};

IPtr<DynamicDataObject> sampleObject(const char* name, int points) {
  IPtr<DynamicDataObject> object(new DynamicDataObject);
  object->set("name", kiv(name));
  object->set("points", points);
  object->set("boundingBox", KivBounds(KivVector(0, 0, 0), KivVector(points, 1, 1)));
  return object;
}

std::string shapeOf(IKivDocumentItem* item) {
  std::string text = nameOf(kivQuery<DataObject>(item, DataObject::kClassName));
  if (item->getChildCount() == 0)
    return text;
  text += "(";
  for (int i = 0; i < item->getChildCount(); ++i)
    text += (i ? " " : "") + shapeOf(item->getChild(i));
  return text + ")";
}

} // namespace

bool runDocumentSample(const std::string& path, const std::string& configPath, std::FILE* out,
                       std::string* error) {
  if (!startHost(error))
    return false;
  if (!configPath.empty()) {
    DocumentManager::instance()->readConfigFile(kiv(configPath));
    std::fprintf(out, "1. configuration %s read: new items get its properties\n",
                 configPath.c_str());
  }
  // Build: Scans(scan-1 scan-2) Reference; scan-2 refers to the reference's
  // object, so the file holds that object once and both find it again.
  IPtr<Document> document = newDocument();
  document->set("name", KivString("sample"));
  IPtr<DynamicDataObject> reference = sampleObject("reference", 10);
  IPtr<DynamicDataObject> scan1 = sampleObject("scan-1", 1000);
  IPtr<DynamicDataObject> scan2 = sampleObject("scan-2", 2500);
  scan2->addProperty(new ObjectProperty(KivString("alignedTo"), reference.get(), false));
  void* made = nullptr;
  getObject("IKivDocumentGroup", &made);
  IPtr<IKivDocumentGroup> scans(static_cast<IKivDocumentGroup*>(made));
  auto* scansItem = kivQuery<DocumentGroup>(scans.get(), DocumentGroup::kClassName);
  scansItem->set("name", KivString("Scans"));
  IPtr<DocumentData> item1(new DocumentData(static_cast<IKivDataObject*>(scan1.get())));
  IPtr<DocumentData> item2(new DocumentData(static_cast<IKivDataObject*>(scan2.get())));
  IPtr<DocumentData> item3(new DocumentData(static_cast<IKivDataObject*>(reference.get())));
  scansItem->addChild(item1.get());
  scansItem->addChild(item2.get());
  auto* root = kivQuery<IKivDocumentItem>(document->getRootItem(), "IKivDocumentItem");
  root->addChild(scansItem);
  root->addChild(item3.get());
  std::fprintf(out, "2. built document \"sample\": %s\n", shapeOf(root).c_str());

  uint64_t bytes = 0;
  if (!writeDocument(document.get(), path, 10, &bytes, error))
    return false;
  std::fprintf(out, "3. saved to %s: %llu bytes\n", path.c_str(),
               static_cast<unsigned long long>(bytes));

  IPtr<Document> loaded = newDocument();
  if (!loaded->load(kiv(path))) {
    *error = "the saved document did not load back";
    return false;
  }
  auto* loadedRoot = kivQuery<IKivDocumentItem>(loaded->getRootItem(), "IKivDocumentItem");
  IKivDocumentItem* loadedScan2 = loadedRoot->getChild(0)->getChild(1);
  DataObject* object2 = kivQuery<DocumentItem>(loadedScan2, DocumentItem::kClassName)
                            ->dataObjectValue();
  DataObject* link = object2 ? kivQuery<ObjectProperty>(object2->getProperty("alignedTo"),
                                                         ObjectProperty::kClassName)
                                   ->get()
                             : nullptr;
  DataObject* loadedReference =
      kivQuery<DocumentItem>(loadedRoot->getChild(1), DocumentItem::kClassName)->dataObjectValue();
  std::fprintf(out, "4. loaded into a fresh document: %s; scan-2 still refers to %s (%s)\n",
               shapeOf(loadedRoot).c_str(), link ? nameOf(link).c_str() : "nothing",
               link == loadedReference ? "the same object as the reference item" : "a copy");

  auto* edited = kivQuery<DocumentItem>(loadedScan2, DocumentItem::kClassName);
  if (!edited->hasProperty("visible"))
    edited->set("visible", true);
  SampleListener listener(out);
  loaded->registerListener(&listener);
  IKivUndoManager* undo = loaded->getUndoManager();
  const uint64_t context = 1;
  std::fprintf(out, "5. edit: hide scan-2 inside an undo block and an update block\n");
  undo->startUndoBlock(context);
  undo->addUndoObject(context, static_cast<IKivDataObject*>(edited), false);
  loaded->beginUpdate();
  edited->set("visible", false);
  loaded->endUpdate();
  undo->endUndoBlock(context);
  auto visibleText = [&] { return edited->getBool("visible") ? "visible" : "hidden"; };
  auto boundsText = [&] {
    const KivBounds b = loadedRoot->getChild(0) ? kivQuery<DataObject>(loadedRoot->getChild(0),
                                                                       "DataObject")
                                                      ->getBounds("visibleBoundingBox")
                                                : KivBounds();
    char text[64];
    std::snprintf(text, sizeof text, "x from %g to %g", b.min.x, b.max.x);
    return std::string(text);
  };
  std::fprintf(out, "   scan-2 is %s; visible bounds of Scans: %s\n", visibleText(),
               boundsText().c_str());
  std::fprintf(out, "6. undo:\n");
  undo->undo(context);
  std::fprintf(out, "   scan-2 is %s; visible bounds of Scans: %s\n", visibleText(),
               boundsText().c_str());
  std::fprintf(out, "7. redo, in an update block:\n");
  loaded->beginUpdate();
  undo->redo(context);
  loaded->endUpdate();
  std::fprintf(out, "   scan-2 is %s; visible bounds of Scans: %s\n", visibleText(),
               boundsText().c_str());
  loaded->unregisterListener(&listener);
  return true;
}
