// 1,000 undo blocks, each of 10 objects with 20 properties: the time to
// record them (picture before, edit, picture after), to undo them all and to
// redo them all, against the anchor of the same edits on std::map objects
// whose before and after copies go into a std::vector of std::map snapshots.
// Each iteration runs both, so the ratios come from one run. Heap bytes per
// block are the growth of the allocator's in-use bytes while recording.
#include "benchhost.h"
#include "core/kivptr.h"
#include "kivbasictypes/kivvector.h"
#include "model/dynamicdataobject.h"
#include "undo/undomanager.h"

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <chrono>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace {

constexpr int kBlocks = 1000;
constexpr int kObjects = 10;
constexpr int kProperties = 20;  // 8 double, 6 int, 3 string, 3 vector
constexpr uint64_t kContext = 1;

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

size_t heapInUse() { return mallinfo2().uordblks; }

const std::vector<std::string>& names() {
  static const std::vector<std::string> n = [] {
    std::vector<std::string> made;
    for (int i = 0; i < kProperties; ++i) {
      // Built by append: g++ 12 warns falsely (-Wrestrict) on "p" + std::string.
      std::string name = "p";
      name += std::to_string(i);
      made.push_back(std::move(name));
    }
    return made;
  }();
  return n;
}

// The edit of block k on one object: every property gets a new value.
void edit(DynamicDataObject* o, int k) {
  const std::vector<std::string>& n = names();
  for (int i = 0; i < 8; ++i)
    o->set(n[i].c_str(), k * 0.5 + i);
  for (int i = 8; i < 14; ++i)
    o->set(n[i].c_str(), k + i);
  for (int i = 14; i < 17; ++i)
    o->set(n[i].c_str(), KivString(("text " + std::to_string(k)).c_str()));
  for (int i = 17; i < 20; ++i)
    o->set(n[i].c_str(), KivVector(k, i, 1.0));
}

using Value = std::variant<double, int, std::string, KivVector>;
using Snapshot = std::map<std::string, Value>;

void edit(Snapshot& o, int k) {
  const std::vector<std::string>& n = names();
  for (int i = 0; i < 8; ++i)
    o[n[i]] = k * 0.5 + i;
  for (int i = 8; i < 14; ++i)
    o[n[i]] = k + i;
  for (int i = 14; i < 17; ++i)
    o[n[i]] = "text " + std::to_string(k);
  for (int i = 17; i < 20; ++i)
    o[n[i]] = KivVector(k, i, 1.0);
}

struct Times {
  double record = 0, undo = 0, redo = 0;
  double bytesPerBlock = 0;
};

Times runUndo() {
  Times t;
  std::vector<IPtr<DynamicDataObject>> objects;
  for (int j = 0; j < kObjects; ++j) {
    objects.emplace_back(new DynamicDataObject);
    edit(objects.back(), -1);
  }
  IPtr<UndoManager> manager(new UndoManager);
  manager->setMaxStackSize(kBlocks);
  const size_t heapBefore = heapInUse();
  auto start = Clock::now();
  for (int k = 0; k < kBlocks; ++k) {
    manager->startUndoBlock(kContext);
    for (IPtr<DynamicDataObject>& o : objects)
      manager->addUndoObject(kContext, o, false);
    for (IPtr<DynamicDataObject>& o : objects)
      edit(o, k);
    manager->endUndoBlock(kContext);
  }
  t.record = msSince(start);
  t.bytesPerBlock = static_cast<double>(heapInUse() - heapBefore) / kBlocks;
  start = Clock::now();
  while (manager->undo(kContext) == 0) {
  }
  t.undo = msSince(start);
  start = Clock::now();
  while (manager->redo(kContext) == 0) {
  }
  t.redo = msSince(start);
  benchmark::DoNotOptimize(objects.front()->getDouble("p0"));
  return t;
}

Times runAnchor() {
  Times t;
  std::vector<Snapshot> objects(kObjects);
  for (Snapshot& o : objects)
    edit(o, -1);
  // Per block and object: the before and the after copy.
  std::vector<Snapshot> snapshots;
  snapshots.reserve(static_cast<size_t>(kBlocks) * kObjects * 2);
  const size_t heapBefore = heapInUse();
  auto start = Clock::now();
  for (int k = 0; k < kBlocks; ++k) {
    const size_t first = snapshots.size();
    for (Snapshot& o : objects)
      snapshots.push_back(o);
    for (Snapshot& o : objects)
      edit(o, k);
    for (int j = 0; j < kObjects; ++j)
      snapshots.push_back(objects[static_cast<size_t>(j)]);
    benchmark::DoNotOptimize(first);
  }
  t.record = msSince(start);
  t.bytesPerBlock = static_cast<double>(heapInUse() - heapBefore) / kBlocks;
  start = Clock::now();
  for (int k = kBlocks - 1; k >= 0; --k)
    for (int j = kObjects - 1; j >= 0; --j)
      objects[static_cast<size_t>(j)] = snapshots[static_cast<size_t>(k * kObjects * 2 + j)];
  t.undo = msSince(start);
  start = Clock::now();
  for (int k = 0; k < kBlocks; ++k)
    for (int j = 0; j < kObjects; ++j)
      objects[static_cast<size_t>(j)] =
          snapshots[static_cast<size_t>(k * kObjects * 2 + kObjects + j)];
  t.redo = msSince(start);
  benchmark::DoNotOptimize(objects.front().size());
  return t;
}

void BM_UndoBlocksVsMapSnapshots(benchmark::State& state) {
  BenchHostScope scope;
  Times undo, anchor;
  int runs = 0;
  for (auto _ : state) {
    const Times u = runUndo();
    const Times a = runAnchor();
    undo.record += u.record;
    undo.undo += u.undo;
    undo.redo += u.redo;
    undo.bytesPerBlock += u.bytesPerBlock;
    anchor.record += a.record;
    anchor.undo += a.undo;
    anchor.redo += a.redo;
    anchor.bytesPerBlock += a.bytesPerBlock;
    ++runs;
  }
  const double n = runs;
  state.counters["record_ms"] = undo.record / n;
  state.counters["undo_ms"] = undo.undo / n;
  state.counters["redo_ms"] = undo.redo / n;
  state.counters["anchor_record_ms"] = anchor.record / n;
  state.counters["anchor_undo_ms"] = anchor.undo / n;
  state.counters["anchor_redo_ms"] = anchor.redo / n;
  state.counters["record_ratio"] = undo.record / anchor.record;
  state.counters["undo_ratio"] = undo.undo / anchor.undo;
  state.counters["redo_ratio"] = undo.redo / anchor.redo;
  state.counters["bytes_per_block"] = undo.bytesPerBlock / n;
  state.counters["anchor_bytes_per_block"] = anchor.bytesPerBlock / n;
}
BENCHMARK(BM_UndoBlocksVsMapSnapshots)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
