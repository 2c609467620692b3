// The change path, object lifetime and undo against the anchors users would
// embed instead, each ratio from one process run:
//  - an int set with its change delivered (DynamicDataObject with one outside
//    subscriber, with none, a PropertyMap property with one subscriber)
//    against Qt's dynamic property set plus a signal to one direct slot and
//    Qt's declared Q_PROPERTY path; a set without events against a
//    std::map<std::string, int> assignment;
//  - the Qt paths alone with 0..4 slots, for reference;
//  - N objects with an int and a double property created and released, and
//    1,000 undo blocks of 10 changes (addUndoObject + set) recorded, undone
//    and redone, against an OCAF document with N labels holding
//    TDataStd_Integer + TDataStd_Real (one command), 1,000 commands of 10
//    sets, their undo and redo, and the document closed; N = 1k, 10k, 100k.
// Each figure has its heap blocks per operation beside it. Without an anchor
// library the anchor's counters are left out.
#include "anchors.h"
#include "benchhost.h"
#include "core/kivptr.h"
#include "model/dataeventsubscriber.h"
#include "model/dynamicdataobject.h"
#include "properties/propertymap.h"
#include "undo/undomanager.h"

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace {

class CountingSubscriber : public DataEventSubscriber {
public:
  void onDataEvent(DataEventSource*, const KivCString&, DataEventArgs*) override { ++calls; }
  int64_t calls = 0;
};

void report(benchmark::State& state, const char* name, const PerOp& ours) {
  state.counters[std::string(name) + "_ns"] = ours.ns;
  state.counters[std::string(name) + "_allocs"] = ours.allocs;
}

void reportAgainst(benchmark::State& state, const char* name, const PerOp& ours, bool available,
                   const PerOp& anchor) {
  if (!available)
    return;
  state.counters[std::string(name) + "_ns"] = anchor.ns;
  state.counters[std::string(name) + "_allocs"] = anchor.allocs;
  state.counters[std::string(name) + "_ratio"] = ours.ns / anchor.ns;
}

constexpr int64_t kSets = 1000000;

// 0: DynamicDataObject, one subscriber on the object's "property_modified";
// 1: DynamicDataObject, nobody outside listening;
// 2: PropertyMap, one subscriber on the property;
// 3: PropertyMap without events, against std::map assignment.
void BM_SetIntVsQt(benchmark::State& state) {
  BenchHostScope scope;
  const int mode = static_cast<int>(state.range(0));
  const KivCString modified = KivCString::view("property_modified");
  PerOp ours, qtDynamic, qtDeclared, stdMap;
  bool qt = false;
  int64_t heard = 0;
  for (auto _ : state) {
    CountingSubscriber subscriber;
    if (mode <= 1) {
      IPtr<DynamicDataObject> object(new DynamicDataObject);
      object->set("count", 0);
      if (mode == 0)
        object->subscribe(modified, &subscriber);
      ours = measurePerOp(kSets, [&](int64_t i) { object->set("count", static_cast<int>(i + 1)); });
      if (mode == 0)
        object->unsubscribe(modified, &subscriber);
    } else {
      PropertyMap map;
      if (mode == 3)
        map.setFlags(0);
      map.set("count", 0);
      if (mode == 2)
        map.getProperty("count")->subscribe(modified, &subscriber);
      ours = measurePerOp(kSets, [&](int64_t i) { map.set("count", static_cast<int>(i + 1)); });
      if (mode == 2)
        map.getProperty("count")->unsubscribe(modified, &subscriber);
    }
    heard += subscriber.calls;
    if (mode == 3) {
      std::map<std::string, int> plain;
      plain["count"] = 0;
      stdMap = measurePerOp(kSets, [&](int64_t i) {
        plain["count"] = static_cast<int>(i + 1);
        benchmark::ClobberMemory();
      });
    } else {
      const QtAnchor dynamic = runQtAnchor(QtPath::Dynamic, 1, kSets);
      const QtAnchor declared = runQtAnchor(QtPath::Declared, 1, kSets);
      qt = dynamic.available;
      qtDynamic = dynamic.set;
      qtDeclared = declared.set;
    }
  }
  benchmark::DoNotOptimize(heard);
  report(state, "ours", ours);
  if (mode == 3) {
    reportAgainst(state, "std_map", ours, true, stdMap);
  } else {
    reportAgainst(state, "qt_dynamic", ours, qt, qtDynamic);
    reportAgainst(state, "qt_declared", ours, qt, qtDeclared);
  }
  static const char* const kLabels[] = {"object, one subscriber", "object, nobody outside",
                                        "map, one subscriber", "no events vs std::map"};
  state.SetLabel(kLabels[mode]);
}
BENCHMARK(BM_SetIntVsQt)->DenseRange(0, 3)->Iterations(1)->Unit(benchmark::kMillisecond);

// The Qt anchor alone: declared and dynamic set with 0..4 direct slots.
void BM_QtAnchorSlots(benchmark::State& state) {
  const int slotCount = static_cast<int>(state.range(0));
  QtAnchor declared, dynamic;
  for (auto _ : state) {
    declared = runQtAnchor(QtPath::Declared, slotCount, kSets);
    dynamic = runQtAnchor(QtPath::Dynamic, slotCount, kSets);
  }
  if (!declared.available) {
    state.SetLabel("Qt5 not built in");
    return;
  }
  report(state, "declared", declared.set);
  report(state, "dynamic", dynamic.set);
}
BENCHMARK(BM_QtAnchorSlots)->DenseRange(0, 4)->Iterations(1)->Unit(benchmark::kMillisecond);

constexpr int kBlocks = 1000;
constexpr int kChanges = 10;

int blockValue(int k, int j) { return k < 0 ? j : (k + 1) * 16 + j; }

bool objectsHold(const std::vector<IPtr<DynamicDataObject>>& objects, int k) {
  for (int j = 0; j < kChanges; ++j)
    if (objects[static_cast<size_t>(j)]->getInt("i") != blockValue(k, j))
      return false;
  return true;
}

// Per-object times at 1k objects, for the growth to 10k and 100k.
double gCreateAt1k = 0;
double gReleaseAt1k = 0;

void BM_LifetimeAndUndoVsOcaf(benchmark::State& state) {
  BenchHostScope scope;
  const int count = static_cast<int>(state.range(0));
  PerOp create, release, record, undo, redo;
  OcafAnchor ocaf;
  bool checked = true;
  for (auto _ : state) {
    std::vector<IPtr<DynamicDataObject>> objects;
    objects.reserve(static_cast<size_t>(count));
    create = measurePerOp(count, [&](int64_t j) {
      IPtr<DynamicDataObject> object(new DynamicDataObject);
      object->set("i", static_cast<int>(j));
      object->set("d", static_cast<double>(j) * 0.25);
      objects.push_back(std::move(object));
    });

    IPtr<UndoManager> manager(new UndoManager);
    manager->setMaxStackSize(kBlocks);
    constexpr uint64_t kContext = 1;
    record = measurePerOp(kBlocks, [&](int64_t k) {
      manager->startUndoBlock(kContext);
      for (int j = 0; j < kChanges; ++j) {
        DynamicDataObject* object = objects[static_cast<size_t>(j)];
        manager->addUndoObject(kContext, object, false);
        object->set("i", blockValue(static_cast<int>(k), j));
      }
      manager->endUndoBlock(kContext);
    });
    checked = checked && objectsHold(objects, kBlocks - 1);
    undo = measurePerOp(kBlocks, [&](int64_t) { manager->undo(kContext); });
    checked = checked && objectsHold(objects, -1);
    redo = measurePerOp(kBlocks, [&](int64_t) { manager->redo(kContext); });
    checked = checked && objectsHold(objects, kBlocks - 1);
    manager = nullptr;

    release = measurePerOp(1, [&](int64_t) { objects.clear(); });
    release.ns /= count;
    release.allocs /= count;

    ocaf = runOcafAnchor(count, kBlocks, kChanges);
  }
  if (!checked) {
    state.SkipWithError("our values after undo or redo differ");
    return;
  }
  if (ocaf.available && !ocaf.valuesChecked) {
    state.SkipWithError("the OCAF values after undo or redo differ");
    return;
  }
  report(state, "create", create);
  report(state, "release", release);
  report(state, "block", record);
  report(state, "undo", undo);
  report(state, "redo", redo);
  reportAgainst(state, "ocaf_create", create, ocaf.available, ocaf.createPerLabel);
  reportAgainst(state, "ocaf_close", release, ocaf.available, ocaf.closePerLabel);
  reportAgainst(state, "ocaf_block", record, ocaf.available, ocaf.commandPerBlock);
  reportAgainst(state, "ocaf_undo", undo, ocaf.available, ocaf.undoPerBlock);
  reportAgainst(state, "ocaf_redo", redo, ocaf.available, ocaf.redoPerBlock);
  if (count == 1000) {
    gCreateAt1k = create.ns;
    gReleaseAt1k = release.ns;
  } else if (gCreateAt1k > 0) {
    state.counters["create_growth_vs_1k"] = create.ns / gCreateAt1k;
    state.counters["release_growth_vs_1k"] = release.ns / gReleaseAt1k;
  }
}
BENCHMARK(BM_LifetimeAndUndoVsOcaf)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

} // namespace
