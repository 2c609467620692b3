//===- documentfile.cpp - Documents in files, for dmtool ------------------===//
#include "tools/documentfile.h"

#include "core/classids.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "documents/document.h"
#include "documents/documentdata.h"
#include "documents/documentgroup.h"
#include "documents/documentmanager.h"
#include "host/referencehost.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/kivfile.h"
#include "properties/ikivproperty.h"
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
    if (json)
      out += (out.empty() ? "" : ", ") + jsonText(utf8(key)) + ": " + jsonText(utf8(value));
    else
      out += " " + utf8(key) + "=" + utf8(value);
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
