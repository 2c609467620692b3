// The shared library as a host sees it: loaded through ReferenceHost, its
// classes built by name and identifier, and the dmtool binary run over it.
#include "host/referencehost.h"

#include "core/ikivcomponent.h"
#include "core/kivclassid.h"
#include "host/hostdatastore.h"
#include "host/hosterrorservice.h"
#include "host/tovcomponentmanager.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"
#include "model/iprogress.h"

#include "classtable.h"
#include "runcommand.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// The library registers its classes once per process, so one host serves
// every test of this binary; its destructor runs the real shutdown at the end.
ReferenceHost* gHost = nullptr;
IKivComponent* gComponent = nullptr;

class LibraryEnvironment : public ::testing::Environment {
public:
  void SetUp() override {
    ReferenceHostOptions options;
    options.logsDirectory = ::testing::TempDir() + "dm_integration_logs_" + std::to_string(getpid());
    options.echo = false;
    options.abortOnAssert = false;
    gHost = new ReferenceHost(options);
    gComponent = gHost->loadLibrary(DM_LIBRARY_PATH);
  }
  void TearDown() override {
    delete gHost;
    gHost = nullptr;
  }
};

const auto* const gEnvironment = ::testing::AddGlobalTestEnvironment(new LibraryEnvironment);

struct ClassRow {
  KivClassId id;
  std::string name;
  std::vector<std::string> interfaces;
};

std::vector<ClassRow> classRows() {
  std::vector<ClassRow> rows;
  auto* internal = kivQuery<IKivCompInternal>(gComponent, "IKivCompInternal");
  if (!internal)
    return rows;
  KivClassId id;
  for (bool more = internal->firstClass(&id); more; more = internal->nextClass(&id)) {
    const char* name = internal->classNameOf(id);
    rows.push_back(ClassRow{id, name ? name : "", gHost->manager()->interfacesOf(id)});
  }
  return rows;
}

TEST(LoadLibrary, ComponentStartsAndItsClassesAreBuiltByIdentifier) {
  ASSERT_NE(gComponent, nullptr) << gHost->lastError();
  EXPECT_STREQ(gComponent->version(), "5.3.21.373382");
  auto* internal = kivQuery<IKivCompInternal>(gComponent, "IKivCompInternal");
  ASSERT_NE(internal, nullptr);
  EXPECT_STREQ(internal->name(), "datamodelcmp");
  EXPECT_EQ(internal->classId()->toString(), "{FE4E624C-0C88-4C53-8C1F-CB97D41C5F25}");

  // Loading again hands back the same component instead of starting anew.
  EXPECT_EQ(gHost->loadLibrary(DM_LIBRARY_PATH), gComponent);

  // The library lists every row of the class table, each with its
  // identifier and interface name.
  std::vector<ClassRow> rows = classRows();
  std::vector<classtable::ListedClass> listed;
  for (const ClassRow& row : rows)
    listed.push_back(classtable::ListedClass{row.name, row.id.toString(), row.interfaces});
  std::string notBuilt;
  EXPECT_EQ(classtable::mismatches(listed, &notBuilt), "");
  EXPECT_EQ(notBuilt, "");
  EXPECT_EQ(listed.size(), std::size(classtable::kRows));
  for (const ClassRow& row : rows) {
    SCOPED_TRACE(row.name);
    const classtable::Row* tableRow = classtable::rowOf(row.name.c_str());
    ASSERT_NE(tableRow, nullptr);
    KivClassId id = row.id;
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(gHost->manager()->createObject(&id, KivCString::view("IKivUnknown"), &first), 1)
        << gHost->lastError();
    IPtr<IKivUnknown> a(static_cast<IKivUnknown*>(first));
    ASSERT_EQ(gHost->manager()->createObject(&id, KivCString::view("IKivUnknown"), &second), 1);
    IPtr<IKivUnknown> b(static_cast<IKivUnknown*>(second));
    EXPECT_STREQ(a->className(), row.name.c_str());
    EXPECT_EQ(a.get() == b.get(), tableRow->singleton);
    for (const std::string& interfaceName : row.interfaces)
      EXPECT_NE(kivQuery<IKivUnknown>(a.get(), interfaceName.c_str()), nullptr) << interfaceName;
  }
  // The host ran DatamodelInit at load.
  EXPECT_TRUE(gHost->dataStore()->hasKey("Platform/Status"));
  EXPECT_EQ(std::string(gHost->dataStore()->getString("Platform/Status", nullptr).utf8Text()),
            "Not Started");
}

TEST(LoadLibrary, ObjectsByInterfaceNameAndServicesFromTheHost) {
  ASSERT_NE(gComponent, nullptr) << gHost->lastError();
  // IProgress is a singleton: the same object each time, held by its factory.
  void* out = nullptr;
  ASSERT_EQ(gHost->manager()->getObject(KivCString::view("IProgress"), &out), 1);
  auto* progress = static_cast<IProgress*>(out);
  ASSERT_EQ(gHost->manager()->getObject(KivCString::view("IProgress"), &out), 1);
  EXPECT_EQ(out, progress);
  uint32_t before = progress->refCount();
  EXPECT_GE(before, 1u);
  {
    IPtr<IProgress> held(progress);
    EXPECT_EQ(progress->refCount(), before + 1);
    EXPECT_NE(kivQuery<IKivUnknown>(held.get(), "Progress"), nullptr);
  }
  EXPECT_EQ(progress->refCount(), before);

  // IProgressInstance is no singleton: each request by name builds another.
  void* first = nullptr;
  void* second = nullptr;
  ASSERT_EQ(gHost->manager()->getObject(KivCString::view("IProgressInstance"), &first), 1);
  ASSERT_EQ(gHost->manager()->getObject(KivCString::view("IProgressInstance"), &second), 1);
  EXPECT_NE(first, second);
  {
    IPtr<IProgressInstance> a(static_cast<IProgressInstance*>(first));
    IPtr<IProgressInstance> b(static_cast<IProgressInstance*>(second));
    EXPECT_EQ(a->refCount(), 1u);
    EXPECT_NE(kivQuery<IKivUnknown>(a.get(), "IProgress"), nullptr);
  }

  // A class that is no singleton gives a new object per request, which dies
  // with its last reference. IKivDataEventArgs is the first choice once it
  // exists; until then any registered class that is no singleton serves.
  std::vector<ClassRow> rows = classRows();
  const ClassRow* pick = nullptr;
  for (const ClassRow& row : rows) {
    const classtable::Row* tableRow = classtable::rowOf(row.name.c_str());
    if (row.interfaces.empty() || !tableRow || tableRow->singleton)
      continue;
    if (!pick || row.name == "DataEventArgs")
      pick = &row;
  }
  ASSERT_NE(pick, nullptr);
  KivClassId id = pick->id;
  void* raw = nullptr;
  ASSERT_EQ(gHost->manager()->createObject(&id, KivCString::view("IKivUnknown"), &raw), 1);
  auto* object = static_cast<IKivUnknown*>(raw);
  EXPECT_EQ(object->refCount(), 0u);
  IPtr<IKivUnknown> held(object);
  EXPECT_EQ(object->refCount(), 1u);
  KivWeakRef* cell = object->weakRef();
  cell->addRef();
  held.clear();
  EXPECT_EQ(cell->target, nullptr);  // the object died with its last reference
  cell->release();

  // The component reaches the host's error service and the manager's last
  // error through its own look-up.
  auto* internal = kivQuery<IKivCompInternal>(gComponent, "IKivCompInternal");
  ASSERT_NE(internal, nullptr);
  int reports = gHost->errorService()->reportCount();
  internal->runTests(nullptr);
  EXPECT_EQ(gHost->errorService()->reportCount(), reports + 2);
  EXPECT_EQ(gHost->errorService()->lastMessage(), gHost->lastError());
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos)
      end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

TEST(Dmtool, WrongLibraryGivesOneLineAndFailure) {
  struct Case {
    const char* name;
    const char* arguments;
    const char* expectedStart;
  } cases[] = {
      {"missing", "info --library /nonexistent/libdatamodelcmp.so",
       "dmtool: cannot open library /nonexistent/libdatamodelcmp.so: "},
      {"no_entry_point", "info --library libm.so.6", "dmtool: libm.so.6 has no EntryPoint"},
  };
  for (const Case& c : cases) {
    std::string output;
    int status = runCommand(std::string(DM_TOOL_PATH) + " " + c.arguments, &output);
    EXPECT_NE(status, 0) << c.name;
    std::vector<std::string> lines = linesOf(output);
    ASSERT_EQ(lines.size(), 1u) << c.name << ": " << output;
    EXPECT_EQ(lines[0].rfind(c.expectedStart, 0), 0u) << c.name << ": " << lines[0];
  }
  std::string output;
  EXPECT_EQ(runCommand(std::string(DM_TOOL_PATH) + " frobnicate", &output), 2);
  EXPECT_EQ(output.rfind("dmtool: unknown command 'frobnicate'", 0), 0u) << output;
  EXPECT_EQ(runCommand(std::string(DM_TOOL_PATH) + " --help", &output), 0);
  EXPECT_NE(output.find("info"), std::string::npos);
}

TEST(Dmtool, InfoListsEveryClass) {
  std::string output;
  ASSERT_EQ(runCommand(std::string(DM_TOOL_PATH) + " info", &output), 0) << output;
  std::vector<std::string> lines = linesOf(output);
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(lines[0], "component: datamodelcmp");
  EXPECT_EQ(lines[1], "version: 5.3.21.373382");
  EXPECT_EQ(lines[2], "API version: 100");
  std::set<std::string> ids;
  int rows = 0;
  for (size_t i = 5; i < lines.size(); ++i) {
    size_t brace = lines[i].rfind('{');
    ASSERT_NE(brace, std::string::npos) << lines[i];
    KivClassId id;
    EXPECT_TRUE(KivClassId::parse(lines[i].substr(brace).c_str(), &id)) << lines[i];
    ids.insert(lines[i].substr(brace));
    ++rows;
    // Every listed class is a row of the class table, under its own identifier.
    std::string name = lines[i].substr(0, lines[i].find_first_of(" \t"));
    const classtable::Row* row = classtable::rowOf(name.c_str());
    ASSERT_NE(row, nullptr) << lines[i];
    EXPECT_EQ(id.toString(), row->id) << lines[i];
  }
  EXPECT_EQ(lines[4], "classes: " + std::to_string(rows));
  EXPECT_EQ(ids.size(), static_cast<size_t>(rows));
  // All 91 rows of the class table, each once.
  EXPECT_EQ(rows, 91);
  EXPECT_EQ(static_cast<size_t>(rows), std::size(classtable::kRows));
  EXPECT_NE(output.find("DatamodelInit"), std::string::npos);
  EXPECT_NE(output.find("{3818D800-C6E0-4E1A-BC54-BF5C2D9F49D4}"), std::string::npos);
}

} // namespace
