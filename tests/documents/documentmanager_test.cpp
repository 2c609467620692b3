//===- documentmanager_test.cpp - Open documents and the configuration file --===//
#include "documentsupport.h"

#include "documents/documentmanagerlistener.h"
#include "properties/doubleproperty.h"
#include "properties/objectproperty.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

std::string err(const char* label, const std::string& message) {
  return std::string("Error in class ") + label + ": " + message + ".";
}

DocumentManager* manager() {
  inProcessHost();
  return DocumentManager::instance();
}

// Reads `xml` as the configuration, on a manager without earlier records;
// the records are forgotten again when the scope ends.
struct Config {
  explicit Config(const std::string& xml) {
    manager()->clearConfiguration();
    std::ofstream(file.path) << xml;
    manager()->readConfigFile(file.kiv());
  }
  ~Config() { manager()->clearConfiguration(); }
  TempPath file{".xml"};
};

class ManagerLog : public DocumentManagerListener {
public:
  void beforeAddDocument(IKivDocument* d) override { add("beforeAdd", d); }
  void afterAddDocument(IKivDocument* d) override { add("afterAdd", d); }
  void beforeRemoveDocument(IKivDocument* d) override { add("beforeRemove", d); }
  void afterRemoveDocument(IKivDocument* d) override { add("afterRemove", d); }
  void beforeActiveDocumentChange(Document* o, Document* n) override { add("beforeActive", o, n); }
  void afterActiveDocumentChange(Document* o, Document* n) override { add("afterActive", o, n); }

  void add(const char* what, IKivUnknown* a, IKivUnknown* b = nullptr) {
    std::string line = std::string(what) + " " + (a ? itemName(a) : "null");
    if (std::string(what).find("Active") != std::string::npos)
      line += " " + (b ? itemName(b) : "null");
    lines.push_back(line);
  }
  std::vector<std::string> lines;
};

TEST(DocumentManager, RecordsAreAppliedAsTheFileSays) {
  Config config(R"(<?xml version="1.0"?>
<Configuration>
  <Unknown><Property type="int" name="ignored" default="1"/></Unknown>
  <DocumentItem>
    <Property type="bool" name="visible" default="true"/>
    <Property type="bool" name="shouting" default="TRUE"/>
    <Property type="double" name="opacity" default="1.5"/>
    <Property type="int" name="layer" default="3"/>
    <Property name="untyped" default="true"/>
    <Property type="DataObject" name="link" default="whatever"/>
    <Property type="string" name="note" default="hello"/>
    <Property type="bool" name="expanded" default="false" persistable="false"/>
    <Property type="funny" name="odd" default="true"/>
  </DocumentItem>
  <Document><Property type="string" name="author" default="nobody"/></Document>
  <DocumentData datatype="Other"><Property type="int" name="other" default="1"/></DocumentData>
  <DocumentData datatype="DynamicDataObject"><Property type="int" name="first" default="1"/></DocumentData>
  <DocumentData datatype="DynamicDataObject"><Property type="int" name="points" default="42"/></DocumentData>
</Configuration>)");
  IPtr<DocumentData> data = dataOver("scan");
  struct Case {
    const char* property;
    std::string expected;  // the value's text as the property gives it; "-": none
  };
  const Case cases[] = {
      {"visible", "1"}, {"shouting", "0"}, {"opacity", "1.500000"}, {"layer", "3"},
      {"untyped", "1"}, {"note", "hello"}, {"expanded", "1"},       {"odd", "1"},
      {"points", "42"},    {"first", "-"},        {"other", "-"},       {"ignored", "-"},
  };
  for (const Case& c : cases) {
    std::string value = "-";
    if (data->hasProperty(c.property)) {
      KivString out;
      data->getProperty(c.property)->valueText(KivString(c.property), out);
      value = text(out);
    }
    EXPECT_EQ(value, c.expected) << c.property;
  }
  EXPECT_EQ(kivQuery<ObjectProperty>(data->getProperty("link"), "ObjectProperty")->get(), nullptr);
  EXPECT_EQ(data->getProperty("opacity")->typeName(),
            IPtr<IKivProperty>(new DoubleProperty)->typeName());
  EXPECT_FALSE(kivQuery<IKivWriteable>(data->getProperty("expanded"), "IKivWriteable")->isPersistent());
  EXPECT_EQ(text(newDocument()->getString("author")), "nobody");
  // A plain DocumentData (as a load makes) gets only the records of every item.
  IPtr<DocumentData> plain(new DocumentData);
  EXPECT_TRUE(plain->hasProperty("visible"));
  EXPECT_FALSE(plain->hasProperty("points"));
}

TEST(DocumentManager, BadConfigurationFilesSayWhy) {
  TempPath broken(".xml");
  std::ofstream(broken.path) << "<Configuration>\n  <DocumentItem>\n    <P name=/>\n"
                                 "  </DocumentItem>\n</Configuration>\n";
  const std::string message = failure([&] { manager()->readConfigFile(broken.kiv()); });
  const std::string head = "Error in class Document::readConfigFile: Could not open config file '" +
                           broken.path + "'. Error: " + broken.path + ":3:";
  EXPECT_EQ(message.substr(0, head.size()), head);
  const std::string missing = "/nonexistent-dir/config.xml";
  EXPECT_EQ(failure([&] { manager()->readConfigFile(KivString(missing.c_str())); })
                .find("Could not open config file '" + missing + "'. Error: "),
            std::string("Error in class Document::readConfigFile: ").size());
  // A file with no known element changes nothing.
  Config none("<Configuration><Other/></Configuration>");
  IPtr<DocumentData> data = dataOver("x");
  EXPECT_FALSE(data->hasProperty("visible"));
}

TEST(DocumentManager, DocumentsOpenCloseAndTheActiveOne) {
  DocumentManager* m = manager();
  ManagerLog log;
  m->registerListener(&log);
  EXPECT_EQ(failure([&] { m->registerListener(&log); }),
            err("DocumentManager::registerListener", "Listener has already been registered."));
  IKivDocument* a = m->createDocument(KivString("A"));
  IKivDocument* b = m->createDocument(KivString("B"));
  EXPECT_EQ(m->createDocument(KivString("A")), nullptr);
  EXPECT_TRUE(m->hasDocument(KivString("B")));
  EXPECT_EQ(m->getDocument(KivString("B")), b);
  EXPECT_EQ(m->getActiveDocument(), nullptr);
  m->setActiveDocument(a);
  m->setActiveDocument(a);
  m->closeDocument(a);
  IPtr<Document> stranger = newDocument("S");
  EXPECT_EQ(failure([&] { m->closeDocument(stranger.get()); }),
            err("DocumentManager", "Could not find document in documentManager."));
  m->setActiveDocument(b);
  m->closeAll();
  EXPECT_EQ(m->getDocuments()->count(), 0);
  EXPECT_EQ(m->getActiveDocument(), nullptr);
  const std::vector<std::string> expected = {
      "beforeAdd A",          "afterAdd A",        "beforeAdd B",   "afterAdd B",
      "beforeActive null A",  "afterActive null A", "beforeActive A null",
      "afterActive A null",   "beforeRemove A",    "afterRemove A", "beforeActive null B",
      "afterActive null B",   "beforeRemove B",    "afterRemove B"};
  EXPECT_EQ(log.lines, expected);
  m->unregisterListener(&log);
  m->unregisterListener(&log);  // unknown now: ignored
}

TEST(DocumentManager, ShutdownClosesEveryDocument) {
  DocumentManager* m = manager();
  DocLog closing;
  IKivDocument* a = m->createDocument(KivString("one"));
  m->createDocument(KivString("two"));
  a->registerListener(&closing);
  Database::instance()->shutdown();
  EXPECT_EQ(m->getDocuments()->count(), 0);
  EXPECT_EQ(closing.lines, (std::vector<std::string>{"beginUpdate", "endUpdate", "documentClosing"}));
}

} // namespace
