// Data objects against plain C++ anchors, each pair timed in the same
// benchmark so that the ratio comes from one run:
//  - 1M DataObjects created and destroyed (registration and unregistration
//    under the Database lock included) against 1M new/delete of a block of
//    the same size with an std::unordered_map insert and erase;
//  - one property change delivered through a relationship to an Action that
//    walks 10 children (one virtual call per child) against 11 direct
//    virtual calls.
#include "benchhost.h"
#include "model/action.h"
#include "model/database.h"
#include "model/dataobject.h"
#include "model/ikivrelationship.h"
#include "properties/intproperty.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <unordered_map>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

struct SameSize {
  unsigned char bytes[sizeof(DataObject)];
};

void BM_CreateDestroyVsNewDeleteWithMap(benchmark::State& state) {
  BenchHostScope scope;
  constexpr int kCount = 1000000;
  double objects = 0;
  double anchor = 0;
  for (auto _ : state) {
    Clock::time_point start = Clock::now();
    for (int i = 0; i < kCount; ++i) {
      IPtr<DataObject> object(new DataObject);
      benchmark::DoNotOptimize(object.get());
    }
    objects += secondsSince(start);

    std::unordered_map<int64_t, SameSize*> table;
    start = Clock::now();
    for (int64_t i = 0; i < kCount; ++i) {
      auto* block = new SameSize;
      benchmark::DoNotOptimize(block);
      table.emplace(i, block);
      table.erase(i);
      delete block;
    }
    anchor += secondsSince(start);
  }
  const double n = static_cast<double>(state.iterations()) * kCount;
  state.counters["object_ns"] = objects / n * 1e9;
  state.counters["anchor_ns"] = anchor / n * 1e9;
  state.counters["ratio"] = objects / anchor;
}
BENCHMARK(BM_CreateDestroyVsNewDeleteWithMap)->Unit(benchmark::kMillisecond)->Iterations(3);

// Reads each child through a virtual call, as an Action would.
class WalkChildren : public Action {
public:
  const char* className() const override { return "WalkChildren"; }
  void execute(IKivDataEventSource*, const KivCString&, IKivDataEventArgs*,
               const IterStack<DataObject*>* children) override {
    for (int32_t i = 1; i <= children->count(); ++i)
      sum += static_cast<IKivDataObject*>(children->at(i))->id();
  }
  int64_t sum = 0;
};

struct Target {
  virtual ~Target() = default;
  virtual void touch(int64_t value) = 0;
};
struct Counter final : Target {
  void touch(int64_t value) override { sum += value; }
  int64_t sum = 0;
};

void BM_ChangeThroughRelationshipVsVirtualCalls(benchmark::State& state) {
  BenchHostScope scope;
  constexpr int kChanges = 200000;
  Database* database = Database::instance();
  IPtr<DataObject> parent(new DataObject);
  auto* x = new IntProperty(KivString("x"), 0, false);
  parent->addProperty(x);
  IKivRelationship* link = database->createRelationship(0, KivString("kids"), parent, nullptr);
  for (int i = 0; i < 10; ++i) {
    IPtr<DataObject> child(new DataObject);
    link->addChild(child);
  }
  WalkChildren action;
  link->addAction(KivCString("property_modified"), &action);

  Counter counters[11];
  Target* targets[11];
  for (int i = 0; i < 11; ++i)
    targets[i] = &counters[i];

  double chain = 0;
  double anchor = 0;
  int value = 0;
  for (auto _ : state) {
    Clock::time_point start = Clock::now();
    for (int i = 0; i < kChanges; ++i)
      x->set(++value);  // a new value each time, so every change is delivered
    chain += secondsSince(start);

    start = Clock::now();
    for (int i = 0; i < kChanges; ++i)
      for (Target* target : targets) {
        benchmark::DoNotOptimize(target);
        target->touch(i);
      }
    anchor += secondsSince(start);
  }
  benchmark::DoNotOptimize(action.sum);
  benchmark::DoNotOptimize(counters[0].sum);
  database->unregisterAction(&action);
  const double n = static_cast<double>(state.iterations()) * kChanges;
  state.counters["change_ns"] = chain / n * 1e9;
  state.counters["anchor_ns"] = anchor / n * 1e9;
  state.counters["ratio"] = chain / anchor;
}
BENCHMARK(BM_ChangeThroughRelationshipVsVirtualCalls)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

} // namespace
