// PropertyMap::set of an int property by name (events off; events on with no
// subscriber; one subscriber) against a std::map<std::string, int> assignment
// and a std::function call; look-up of one of 50 properties by const char*
// against std::map<std::string, ...>::find. Heap allocations per operation
// are counted by the binary's malloc counter and reported as allocs_per_op.
#include "allocationcounter.h"
#include "benchhost.h"
#include "model/dataeventsubscriber.h"
#include "properties/propertymap.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>


namespace {

// Allocations made inside the timed loop, per iteration.
class AllocationCount {
public:
  AllocationCount() {
    start_ = allocationsSoFar();
    countAllocations(true);
  }
  void report(benchmark::State& state) {
    countAllocations(false);
    if (!allocationsCounted())
      return;
    const double n = static_cast<double>(allocationsSoFar() - start_);
    state.counters["allocs_per_op"] = n / static_cast<double>(state.iterations());
  }

private:
  uint64_t start_ = 0;
};

// The shared host of the binary, installed while a benchmark of this file runs.
using HostScope = BenchHostScope;

class CountingSubscriber : public DataEventSubscriber {
public:
  void onDataEvent(DataEventSource*, const KivCString&, DataEventArgs*) override { ++calls; }
  int calls = 0;
};

// mode 0: the property has no events; 1: events, no subscriber; 2: one
// subscriber on the property that the map holds.
void BM_PropertyMapSetInt(benchmark::State& state) {
  HostScope scope;
  const int mode = static_cast<int>(state.range(0));
  {
    PropertyMap map;
    if (mode == 0)
      map.setFlags(0);
    map.set("count", 0);
    CountingSubscriber subscriber;
    if (mode == 2)
      map.getProperty("count")->subscribe(KivCString::view("property_modified"), &subscriber);
    int value = 0;
    AllocationCount allocations;
    for (auto _ : state)
      map.set("count", ++value);  // a new value each time: every set is a change
    allocations.report(state);
    if (mode == 2)
      map.getProperty("count")->unsubscribe(KivCString::view("property_modified"), &subscriber);
    benchmark::DoNotOptimize(subscriber.calls);
  }
  state.SetLabel(mode == 0 ? "events off" : mode == 1 ? "events, no subscriber" : "one subscriber");
}
BENCHMARK(BM_PropertyMapSetInt)->Arg(0)->Arg(1)->Arg(2);

void BM_AnchorStdMapAssign(benchmark::State& state) {
  std::map<std::string, int> map;
  map["count"] = 0;
  int value = 0;
  AllocationCount allocations;
  for (auto _ : state) {
    map["count"] = ++value;
    benchmark::ClobberMemory();
  }
  allocations.report(state);
}
BENCHMARK(BM_AnchorStdMapAssign);

void BM_AnchorStdFunctionCall(benchmark::State& state) {
  int stored = 0;
  std::function<void(int)> setter = [&stored](int v) { stored = v; };
  benchmark::DoNotOptimize(setter);
  int value = 0;
  AllocationCount allocations;
  for (auto _ : state) {
    setter(++value);
    benchmark::ClobberMemory();
  }
  allocations.report(state);
}
BENCHMARK(BM_AnchorStdFunctionCall);

constexpr int kProperties = 50;

const std::vector<std::string>& propertyNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> n;
    for (int i = 0; i < kProperties; ++i)
      n.push_back("property_" + std::to_string(i * 7919 % 1000));
    return n;
  }();
  return names;
}

void BM_PropertyMapLookupOf50(benchmark::State& state) {
  HostScope scope;
  {
    PropertyMap map;
    map.setFlags(0);
    for (const std::string& name : propertyNames())
      map.set(name.c_str(), 1);
    std::vector<const char*> keys;
    for (const std::string& name : propertyNames())
      keys.push_back(name.c_str());
    size_t i = 0;
    AllocationCount allocations;
    for (auto _ : state) {
      benchmark::DoNotOptimize(map.getProperty(keys[i]));
      i = i + 1 == keys.size() ? 0 : i + 1;
    }
    allocations.report(state);
  }
}
BENCHMARK(BM_PropertyMapLookupOf50);

void BM_AnchorStdMapFindOf50(benchmark::State& state) {
  std::map<std::string, int> map;
  for (const std::string& name : propertyNames())
    map[name] = 1;
  std::vector<const char*> keys;
  for (const std::string& name : propertyNames())
    keys.push_back(name.c_str());
  size_t i = 0;
  AllocationCount allocations;
  for (auto _ : state) {
    benchmark::DoNotOptimize(map.find(keys[i]));
    i = i + 1 == keys.size() ? 0 : i + 1;
  }
  allocations.report(state);
}
BENCHMARK(BM_AnchorStdMapFindOf50);

} // namespace
