#include "model/databaseutil.h"

#include "model/dynamicdataobject.h"
#include "model/modifier.h"
#include "model/relationship.h"
#include "modelsupport.h"
#include "properties/intproperty.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

const std::string kTable =
    "<TABLE COLOR=\"#98AFC7\" CELLBORDER=\"1\" BORDER=\"1\" ALIGN=\"LEFT\">";
const std::string kHead = "   <TR>      <TD ALIGN=\"CENTER\" BGCOLOR=\"#98AFC7\">Property</TD>"
                          "      <TD ALIGN=\"CENTER\" BGCOLOR=\"#98AFC7\">Value</TD>   </TR>";

std::string title(const std::string& text) {
  return "   <TR>      <TD ALIGN=\"CENTER\" COLSPAN=\"2\">" + text + "</TD>   </TR>";
}
std::string pair(const std::string& name, const std::string& value) {
  return "   <TR>      <TD ALIGN=\"LEFT\">" + name + "</TD>      <TD ALIGN=\"LEFT\">" + value +
         "</TD>   </TR>";
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string tempPath(const char* stem) {
  return testing::TempDir() + stem + std::to_string(getpid()) + ".dot";
}

// Renders with Graphviz; the text it printed on stderr, or "missing dot".
bool renderWithDot(const std::string& path, std::string& complaints) {
  if (std::system("command -v dot >/dev/null 2>&1") != 0) {
    complaints = "missing dot";
    return false;
  }
  const std::string errors = path + ".err";
  const std::string command = "dot -Tsvg '" + path + "' -o /dev/null 2>'" + errors + "'";
  const int status = std::system(command.c_str());
  complaints = readFile(errors);
  std::remove(errors.c_str());
  return status == 0;
}

class DatabaseUtilTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }
  Database* db() { return Database::instance(); }
  DatabaseUtil util;
};

TEST_F(DatabaseUtilTest, ObjectNodeIsOneEscapedLine) {
  IPtr<DynamicDataObject> object = makeObject<DynamicDataObject>("a<b>&\"c\"");
  object->addProperty(new IntProperty(KivString("count"), 7, false, false));
  object->set("note", KivString("two\nlines"));
  const std::string id = std::to_string(object->id());
  const std::string path = tempPath("object");
  util.dumpObject(path.c_str(), object.get());

  const std::vector<std::string> expected = {
      "digraph G {",
      "node [style=filled]",
      "dataobject_" + id + "[shape=box,fontcolor=black,color=palegreen1,label=<" + kTable +
          title("DynamicDataObject (id = " + id + " refcount = 1)") + kHead +
          pair("count", "7") + pair("name", "a&lt;b&gt;&amp;&quot;c&quot;") +
          pair("note", "two<BR/>lines") + "</TABLE>>]",
      "}",
  };
  EXPECT_EQ(linesOf(readFile(path)), expected);
  std::string complaints;
  EXPECT_TRUE(renderWithDot(path, complaints)) << complaints;
  EXPECT_EQ(complaints, "");
  std::remove(path.c_str());

  // A path that can't be opened: no file, no message, no failure.
  util.dumpObject("/nonexistent-dir/x.dot", object.get());
  EXPECT_FALSE(std::ifstream("/nonexistent-dir/x.dot").good());
}

TEST_F(DatabaseUtilTest, ModifierNodeAlwaysCarriesNumberOne) {
  IPtr<Modifier> modifier(new Modifier);
  const std::string path = tempPath("modifier");
  util.dumpModifier(path.c_str(), modifier.get());
  const std::vector<std::string> expected = {
      "digraph G {",
      "node [style=filled]",
      "modifier_1[shape=box,fontcolor=black,color=palegreen1,label=<" + kTable +
          title("Modifier (id = 1 refcount = 1)") + kHead + pair("name", "None") + "</TABLE>>]",
      "}",
  };
  EXPECT_EQ(linesOf(readFile(path)), expected);
  std::remove(path.c_str());
}

TEST_F(DatabaseUtilTest, DatabaseGraphHasEveryNodeAndEdge) {
  std::vector<std::string> log;
  IPtr<DynamicDataObject> parent = makeObject<DynamicDataObject>("parent");
  IPtr<DynamicDataObject> child = makeObject<DynamicDataObject>("child");
  IPtr<DynamicDataObject> orphan = makeObject<DynamicDataObject>("orphan");
  IPtr<IKivRelationship> kids = db()->createRelationship(0, KivString("kids"), parent, child);
  IPtr<IKivRelationship> lonely =
      db()->createRelationship(0, KivString("lone<ly>"), nullptr, orphan);
  IPtr<IKivRelationship> empty = db()->createRelationship(0, KivString("empty"), parent, nullptr);
  ScriptedAction action("a", &log);
  db()->registerAction(&action);
  db()->bindAction(kids, KivCString("up\"dated"), &action);
  db()->addClassAction(&action, KivCString("moved"), KivCString("Parent<X>"),
                       KivCString("Child"));
  db()->addClassAction(&action, KivCString("eventOnly"), KivCString(""), KivCString(""));

  std::ostringstream out;
  DatabaseUtil::writeDatabaseGraph(out);
  const std::vector<std::string> lines = linesOf(out.str());
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[0], "digraph G {");
  EXPECT_EQ(lines[1], "node [style=filled]");
  EXPECT_EQ(lines.back(), "}");

  const std::string p = std::to_string(parent->id());
  const std::string c = std::to_string(child->id());
  const std::string o = std::to_string(orphan->id());
  const std::string k = std::to_string(kids->id());
  const std::string l = std::to_string(lonely->id());
  const std::string e = std::to_string(empty->id());
  const std::string a = std::to_string(action.id());
  // Exactly one registration edge leads to this action: the rule with only
  // an event name gets none.
  std::vector<std::string> ruleEdges;
  for (const std::string& line : lines)
    if (line.rfind("action_registrations_", 0) == 0 &&
        line.size() > a.size() + 11 && line.substr(line.size() - a.size() - 11) == " -> action_" + a)
      ruleEdges.push_back(line);
  ASSERT_EQ(ruleEdges.size(), 1u);
  const std::string r = ruleEdges[0].substr(21, ruleEdges[0].find(' ') - 21);
  struct Case {
    std::string line;
    bool present;
  };
  const Case cases[] = {
      {"dataobject_" + p + " -> relationship_" + k + "[label=\"parent\"]", true},
      {"relationship_" + k + " -> dataobject_" + c + "[label=\"child\"]", true},
      {"relationship_" + l + " -> dataobject_" + o + "[label=\"child\"]", true},
      {"dataobject_" + p + " -> relationship_" + e + "[label=\"parent\"]", true},
      {"relationship_" + k + "[shape=box,fontcolor=black,color=deepskyblue1,label=<" + kTable +
           title("kids Relationship (id=" + k + ")") + "</TABLE>>]",
       true},
      {"relationship_" + l + "[shape=box,fontcolor=black,color=deepskyblue1,label=<" + kTable +
           title("lone&lt;ly&gt; Relationship (id=" + l + ")") + "</TABLE>>]",
       true},
      {"action_" + a + "[shape=box,fontcolor=black,color=goldenrod1,label=<" + kTable +
           title("ScriptedAction") + "</TABLE>>]",
       true},
      {"action_registrations_" + r + "[shape=box,fontcolor=black,color=gainsboro,label=<" +
           kTable + title("Registered action") + kHead + pair("parent class", "Parent&lt;X&gt;") +
           pair("child class", "Child") + "</TABLE>>]",
       true},
      {"relationship_" + k + " -> action_" + a + "[label=\"up\\\"dated\"]", true},
  };
  for (const Case& test : cases)
    EXPECT_EQ(std::count(lines.begin(), lines.end(), test.line), test.present ? 1 : 0)
        << test.line;
  // No parent edge into the relationship without a parent.
  for (const std::string& line : lines)
    EXPECT_EQ(line.find("-> relationship_" + l + "["), std::string::npos) << line;
  // Nodes come before the edges that name them.
  auto at = [&](const std::string& prefix) {
    return std::find_if(lines.begin(), lines.end(),
                        [&](const std::string& x) { return x.rfind(prefix, 0) == 0; }) -
           lines.begin();
  };
  EXPECT_LT(at("dataobject_" + c + "["), at("relationship_" + k + "["));
  EXPECT_LT(at("relationship_" + k + " -> dataobject_"), at("action_" + a + "["));

  const std::string path = tempPath("database");
  util.dumpDatabase(path.c_str());
  std::string complaints;
  EXPECT_TRUE(renderWithDot(path, complaints)) << complaints;
  EXPECT_EQ(complaints, "");
  std::remove(path.c_str());

  // A big graph renders too.
  std::vector<IPtr<DynamicDataObject>> many;
  std::vector<IPtr<IKivRelationship>> links;
  for (int i = 0; i < 300; ++i) {
    many.push_back(makeObject<DynamicDataObject>(("n&" + std::to_string(i)).c_str()));
    links.push_back(db()->createRelationship(0, KivString("l"), i ? many[i - 1].get() : nullptr,
                                             many[i].get()));
  }
  util.dumpDatabase(path.c_str());
  EXPECT_TRUE(renderWithDot(path, complaints)) << complaints;
  EXPECT_EQ(complaints, "");
  std::remove(path.c_str());
  db()->unregisterAction(&action);
}

TEST_F(DatabaseUtilTest, LeakReportNamesWhatIsRegistered) {
  IPtr<DynamicDataObject> parent = makeObject<DynamicDataObject>("kept");
  IPtr<DynamicDataObject> child = makeObject<DynamicDataObject>("leaf");
  IPtr<IKivRelationship> link = db()->createRelationship(0, KivString("sub"), parent, child);
  IPtr<IKivRelationship> orphan = db()->createRelationship(0, KivString("loose"), nullptr, nullptr);
  std::ostringstream out;
  DatabaseUtil::writeLeakReport(out);
  const std::string report = out.str();
  const std::vector<std::string> lines = linesOf(report);

  ASSERT_GE(lines.size(), 6u);
  EXPECT_EQ(report.rfind("DataObjects\n======================================\n", 0), 0u);
  struct Case {
    std::string text;
  };
  const Case cases[] = {
      {"      class = DynamicDataObject id = " + std::to_string(parent->id()) +
       " name = 'kept' owners = " + std::to_string(parent->refCount()) + "\n"},
      {"      class = DynamicDataObject id = " + std::to_string(child->id()) +
       " name = 'leaf' owners = "},
      {"     name = 'sub'\n            parent = DynamicDataObject owners = " +
       std::to_string(link->refCount()) +
       "\n            children\n                   DynamicDataObject\n"},
      {"     name = 'loose'\n            parent = None owners = "},
      {"\nRelationships\n======================================\n"},
  };
  for (const Case& test : cases)
    EXPECT_NE(report.find(test.text), std::string::npos) << test.text;
  const std::string objects = "\nLeaked " + std::to_string(db()->dataObjectCount()) +
                              " DataObjects.\n";
  const std::string relationships =
      "\nLeaked " + std::to_string(db()->relationshipCount()) + " Relationships.\n";
  EXPECT_NE(report.find(objects), std::string::npos);
  EXPECT_EQ(report.size() - report.rfind(relationships), relationships.size());
}

constexpr KivClassId kUnknownClass =
    makeClassId(0x0BADF00D, 0x1, 0x2, 0x3, 0x4, 0x5, 0x6, 0x7, 0x8, 0x9, 0xA);

class UnknownClass : public DynamicDataObject {
public:
  const KivClassId* classId() override { return &kUnknownClass; }
};

// A class that refuses to be stored, as every DataObject class without an
// identifier of its own does.
class Unstorable : public DynamicDataObject {
public:
  const char* className() const override { return "Unstorable"; }
  const KivClassId* classId() override { return DataObject::classId(); }
};

TEST_F(DatabaseUtilTest, StreamsObjectsWithoutADocument) {
  struct Case {
    const char* what;
    std::vector<std::string> sections;  // "dynamic" or "unknown", in order
    bool result;
    int64_t created;  // objects the read made
  };
  const Case cases[] = {
      {"empty stream", {}, true, 0},
      {"two objects", {"dynamic", "dynamic"}, true, 2},
      {"unknown class stops the loop", {"dynamic", "unknown", "dynamic"}, false, 1},
  };
  for (const Case& test : cases) {
    std::vector<IPtr<DynamicDataObject>> objects;
    for (const std::string& kind : test.sections)
      objects.push_back(kind == "dynamic" ? IPtr<DynamicDataObject>(new DynamicDataObject)
                                          : IPtr<DynamicDataObject>(new UnknownClass));
    Bytes file = fileOf([&](KivFileWrite& w) {
      for (auto& object : objects)
        object->write(&w);
    });
    objects.clear();
    FileReader in(file);
    ASSERT_TRUE(in.rootOk);
    const int64_t before = db()->nextDataObjectId();
    EXPECT_EQ(util.read(&in.reader), test.result) << test.what;
    EXPECT_EQ(db()->nextDataObjectId() - before, test.created) << test.what;
  }

  // Writing goes over every registered object; one that refuses doesn't
  // stop the others, and the result is false.
  IPtr<DynamicDataObject> kept = makeObject<DynamicDataObject>("zq-kept-object");
  IPtr<Unstorable> refusing(new Unstorable);
  bool written = true;
  Bytes file = fileOf([&](KivFileWrite& w) { written = util.write(&w); });
  EXPECT_FALSE(written);
  const std::string bytes(file.begin(), file.end());
  std::string wide;
  for (char c : std::string("zq-kept-object")) {
    wide += '\0';  // the file's units are big-endian
    wide += c;
  }
  EXPECT_NE(bytes.find(wide), std::string::npos);
}

} // namespace
