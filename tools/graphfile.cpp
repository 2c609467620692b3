#include "tools/graphfile.h"

#include "core/classids.h"
#include "core/ikivcomponent.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "host/hostpersistentrefmap.h"
#include "host/referencehost.h"
#include "host/tovcomponentmanager.h"
#include "kivbasictypes/kivfile.h"
#include "kivbasictypes/kivmatrix.h"
#include "kivbasictypes/kivvector.h"
#include "kivbasictypes/tovcolor.h"
#include "model/dataobject.h"
#include "model/dynamicdataobject.h"
#include "properties/ikivproperty.h"
#include "properties/objectproperty.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>
#include <unordered_set>
#include <vector>

namespace {

// This binary's copy of the component behind a host that stays quiet and
// never aborts. Never taken down: see the header.
ReferenceHost* componentHost(std::string* error) {
  static ReferenceHost* host = nullptr;
  static bool ready = [] {
    ReferenceHostOptions options;
    options.echo = false;
    options.abortOnAssert = false;
    options.logFile = false;
    host = new ReferenceHost(options);
    return host->addLinkedComponent("datamodelcmp (in process)") != nullptr;
  }();
  if (!ready) {
    *error = "cannot start the component: " + host->lastError();
    return nullptr;
  }
  return host;
}

// The host's progress line for one command, titled with it: ended however
// the command leaves. Ctrl-C shows up as a false from step().
class CommandProgress {
public:
  CommandProgress(ReferenceHost* host, const std::string& title) : progress_(host->progress()) {
    progress_->setTitleUtf8(title);
    progress_->beginOperation();
  }
  ~CommandProgress() { progress_->endOperation(); }
  bool step(float fraction) { return progress_->report(fraction); }

private:
  HostProgress* progress_;
};

constexpr const char* kCancelledText = "cancelled by the user";
} // namespace

ReferenceHost* inProcessComponentHost(std::string* error) { return componentHost(error); }

namespace {

std::string classText(const KivClassId& id) {
  for (const KivClassRow& row : kClassTable)
    if (row.id == id)
      return row.name;
  return id.toString();
}

// Whether the class table makes an object of `id` that answers to
// `interfaceName`: the test by which the graph reader keeps or skips a
// stored object ("DataObject") or property ("IKivProperty").
bool canCreate(const KivClassId& id, const char* interfaceName) {
  if (id == KivClassId())
    return false;
  void* out = nullptr;
  if (!createObject(&id, interfaceName, &out) || !out)
    return false;
  // Held once so that the trial object dies again.
  if (std::strcmp(interfaceName, "DataObject") == 0) {
    IPtr<DataObject> made(static_cast<DataObject*>(out));
  } else {
    IPtr<IKivProperty> made(static_cast<IKivProperty*>(out));
  }
  return true;
}

// A reader that notes every class identifier the graph code peeks at before
// it decides to create the object or property or to step over it. The reader
// itself says nothing about what it stepped over; these notes do.
class CheckingReader : public KivFileRead {
public:
  const KivClassId* peekClassId() override {
    const KivClassId* id = KivFileRead::peekClassId();
    if (good())
      note(*id, inProperty_ ? "IKivProperty" : "DataObject");
    return id;
  }
  bool beginProperty(KivString* name, KivClassId* out) override {
    inProperty_ = true;
    const bool ok = KivFileRead::beginProperty(name, out);
    inProperty_ = false;
    return ok;
  }

  // The first noted class that the reader can't have created; empty if none.
  std::string firstUnknown() const {
    for (const Seen& seen : seen_)
      if (!canCreate(seen.id, seen.interfaceName))
        return std::string(seen.interfaceName[0] == 'D' ? "object" : "property") +
               " of class " + classText(seen.id);
    return std::string();
  }

private:
  struct Seen {
    KivClassId id;
    const char* interfaceName;
  };
  void note(const KivClassId& id, const char* interfaceName) {
    for (const Seen& seen : seen_)
      if (seen.id == id && seen.interfaceName == interfaceName)
        return;
    seen_.push_back({id, interfaceName});
  }

  std::vector<Seen> seen_;
  bool inProperty_ = false;
};

// Every object reachable from `top` through ObjectProperty values, top first.
std::vector<IPtr<DataObject>> reachableFrom(DataObject* top) {
  std::vector<IPtr<DataObject>> found{IPtr<DataObject>(top)};
  std::unordered_set<DataObject*> known{top};
  for (size_t i = 0; i < found.size(); ++i) {
    for (const auto& entry : found[i]->properties()) {
      auto* reference = kivQuery<ObjectProperty>(entry.second.get(), ObjectProperty::kClassName);
      DataObject* target = reference ? reference->get() : nullptr;
      if (target && known.insert(target).second)
        found.emplace_back(target);
    }
  }
  return found;
}

// Holds every object reachable from the top one; when it goes, it drops
// every object reference among them first, so that cycles don't keep the
// objects alive and a long chain doesn't die by deep recursion.
class Graph {
public:
  explicit Graph(DataObject* top) : objects_(reachableFrom(top)) {}
  ~Graph() {
    for (IPtr<DataObject>& object : objects_) {
      std::vector<ObjectProperty*> references;
      for (const auto& entry : object->properties())
        if (auto* reference =
                kivQuery<ObjectProperty>(entry.second.get(), ObjectProperty::kClassName))
          references.push_back(reference);
      for (ObjectProperty* reference : references)
        reference->clearValue();
    }
  }
  Graph(const Graph&) = delete;
  Graph& operator=(const Graph&) = delete;

  size_t size() const { return objects_.size(); }

private:
  std::vector<IPtr<DataObject>> objects_;
};

// Removes the file at its path when it goes, unless kept.
class TemporaryFile {
public:
  explicit TemporaryFile(std::string path) : path_(std::move(path)) {}
  ~TemporaryFile() {
    if (!kept_)
      std::remove(path_.c_str());
  }
  const std::string& path() const { return path_; }
  void keep() { kept_ = true; }

private:
  std::string path_;
  bool kept_ = false;
};

bool writeGraphFile(DataObject* top, const std::string& path, int fileVersion,
                    HostPersistentRefMap* refs, uint64_t* bytes, std::string* error) {
  TemporaryFile temporary(path + ".part" + std::to_string(::getpid()));
  bool written = false;
  {
    KivFileWrite writer;
    writer.setFileVersion(fileVersion);
    if (!writer.open(KivString::fromUtf8(temporary.path().c_str()))) {
      *error = "cannot create '" + path + "'";
      return false;
    }
    refs->reset();
    top->writeGraph(&writer);
    written = writer.good();
    written = writer.close() && written;
    refs->reset();
  }
  if (!written) {
    *error = "cannot write '" + path + "'" +
             (fileVersion >= 1 && fileVersion <= 9 ? " (a block may be too long for 32-bit lengths)"
                                                   : "");
    return false;
  }
  std::error_code failure;
  std::filesystem::rename(temporary.path(), path, failure);
  if (failure) {
    *error = "cannot write '" + path + "': " + failure.message();
    return false;
  }
  temporary.keep();
  *bytes = std::filesystem::file_size(path, failure);
  return true;
}

// Why a file that opened gave no root block: a root that promises more than
// the file holds, or no root at all.
std::string badRootText(const std::string& path) {
  char head[4] = {};
  std::ifstream(path, std::ios::binary).read(head, sizeof head);
  if (head[0] == 'T' && head[1] == 'O' && head[2] == 'V' && (head[3] == 0 || head[3] == 1))
    return "'" + path + "' is cut short or damaged (its root block is longer than the file)";
  return "'" + path + "' is not a data-model file (no root block)";
}

void addSampleValues(DynamicDataObject* object, int index) {
  object->set("index", index);
  object->set("weight", 0.5 + 1.25 * index);
  object->set("label", KivString::fromUtf8(("part " + std::to_string(index)).c_str()));
  object->set("selected", index % 2 == 1);
  object->set("position", KivVector(index, -index, 0.5 * index));
  object->set("colour", KivColor(0.1f * (index % 10), 0.5f, 1.0f, 0.75f));
}

void refer(DataObject* from, const char* name, DataObject* to) {
  from->addProperty(new ObjectProperty(KivString(name), to, false));
}

} // namespace

bool createSampleGraphFile(const std::string& path, int children, int fileVersion,
                           GraphFileResult* result, std::string* error) {
  ReferenceHost* host = componentHost(error);
  if (!host)
    return false;

  CommandProgress progress(host, "create " + path);
  // Links are object references: writeGraph follows those, while
  // relationships aren't part of an object's stored form.
  IPtr<DynamicDataObject> top(new DynamicDataObject);
  top->setName(KivString("document"));
  top->set("title", KivString::fromUtf8("Sample document"));
  top->set("revision", 3);
  top->set("scale", 0.25);
  top->set("visible", true);
  top->set("up", KivVector(0, 0, 1));
  top->set("background", KivColor(0.2f, 0.3f, 0.4f, 1.0f));
  top->set("placement", KivMatrix::scaling(2.0));

  std::vector<IPtr<DynamicDataObject>> parts;
  for (int i = 1; i <= children; ++i) {
    IPtr<DynamicDataObject> part(new DynamicDataObject);
    part->setName(KivString::fromUtf8(("part" + std::to_string(i)).c_str()));
    addSampleValues(part, i);
    refer(top, ("item" + std::to_string(i)).c_str(), part);
    parts.push_back(part);
    // Building is the first half of the work, writing the second.
    if (!progress.step(0.5f * float(i) / float(children))) {
      *error = kCancelledText;
      return false;
    }
  }
  // The first part is shared: the top object holds it twice, and each part
  // holds the next; the last one refers back to the top.
  refer(top, "current", parts.front());
  for (size_t i = 0; i + 1 < parts.size(); ++i)
    refer(parts[i], "next", parts[i + 1]);
  refer(parts.back(), "owner", top);
  parts.clear();

  Graph graph(top);
  result->objects = static_cast<int>(graph.size());
  if (!writeGraphFile(top, path, fileVersion, host->persistentRefMap(), &result->bytes, error))
    return false;
  progress.step(1.0f);
  return true;
}

bool convertGraphFile(const std::string& in, const std::string& out, int fileVersion,
                      GraphFileResult* result, std::string* error) {
  ReferenceHost* host = componentHost(error);
  if (!host)
    return false;
  HostPersistentRefMap* refs = host->persistentRefMap();
  CommandProgress progress(host, "convert " + in);

  CheckingReader reader;
  if (!reader.open(KivString::fromUtf8(in.c_str()))) {
    *error = "cannot open '" + in + "'";
    return false;
  }
  if (!reader.good()) {
    *error = badRootText(in);
    return false;
  }
  int version = -1;
  if (!reader.peekBlock(kivtag::kSection, &version)) {
    *error = "'" + in + "' holds no object graph";
    return false;
  }
  const KivClassId topClass = *reader.peekClassId();
  void* made = nullptr;
  if (!reader.good() || !createObject(&topClass, "DataObject", &made) || !made) {
    *error = "'" + in + "' holds no object graph (its top section is of class " +
             classText(topClass) + ")";
    return false;
  }
  IPtr<DataObject> top(static_cast<DataObject*>(made));

  refs->reset();
  const bool readOk = top->readGraph(&reader);
  const size_t waiting = refs->waitingCount();
  const size_t numbered = refs->objectCount();
  refs->reset();
  Graph graph(top);

  const std::string unknown = reader.firstUnknown();
  // Past the graph, only the end of the root and of the file may follow.
  const bool graphEndsRoot = reader.depth() == 1 && reader.bytesLeft() == 0;
  if (graphEndsRoot)
    reader.endBlock();
  const bool rootEndsFile = graphEndsRoot && reader.bytesLeft() == 0;
  std::string problem;
  if (!readOk || !reader.good())
    problem = "is cut short or damaged";
  else if (!unknown.empty())
    problem = "holds a stored " + unknown + " that this build doesn't know";
  else if (waiting > 0)
    problem = "refers to objects that it doesn't hold";
  else if (numbered > graph.size())
    problem = "holds objects that its top object doesn't reach";
  else if (!graphEndsRoot)
    problem = "holds more than one object graph";
  else if (!rootEndsFile)
    problem = "holds data behind its root block";
  if (!problem.empty()) {
    *error = "'" + in + "' " + problem;
    return false;
  }

  // Reading was the first half; nothing is written after a Ctrl-C.
  if (!progress.step(0.5f)) {
    *error = kCancelledText;
    return false;
  }
  result->objects = static_cast<int>(graph.size());
  if (!writeGraphFile(top, out, fileVersion, refs, &result->bytes, error))
    return false;
  progress.step(1.0f);
  return true;
}
