// Map with 64-bit keys against std::unordered_map: 1M insertions into an
// empty map, and 1M successful look-ups.
#include "basic_types/map.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

namespace {

constexpr int kKeys = 1'000'000;

const std::vector<uint64_t>& keys() {
  static const std::vector<uint64_t> table = [] {
    std::mt19937_64 random(11);
    std::vector<uint64_t> t(kKeys);
    for (uint64_t& key : t)
      key = random();
    return t;
  }();
  return table;
}

void BM_MapInsert(benchmark::State& state) {
  const std::vector<uint64_t>& k = keys();
  for (auto _ : state) {
    Map<uint64_t, uint64_t> map;
    for (int i = 0; i < kKeys; ++i)
      map[k[i]] = static_cast<uint64_t>(i);
    benchmark::DoNotOptimize(map.count());
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_MapInsert)->Unit(benchmark::kMillisecond);

void BM_AnchorUnorderedMapInsert(benchmark::State& state) {
  const std::vector<uint64_t>& k = keys();
  for (auto _ : state) {
    std::unordered_map<uint64_t, uint64_t> map;
    for (int i = 0; i < kKeys; ++i)
      map[k[i]] = static_cast<uint64_t>(i);
    benchmark::DoNotOptimize(map.size());
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_AnchorUnorderedMapInsert)->Unit(benchmark::kMillisecond);

void BM_MapFind(benchmark::State& state) {
  const std::vector<uint64_t>& k = keys();
  Map<uint64_t, uint64_t> map;
  for (int i = 0; i < kKeys; ++i)
    map[k[i]] = static_cast<uint64_t>(i);
  for (auto _ : state) {
    uint64_t sum = 0;
    for (int i = 0; i < kKeys; ++i)
      sum += map.find(k[i])->value;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_MapFind)->Unit(benchmark::kMillisecond);

void BM_AnchorUnorderedMapFind(benchmark::State& state) {
  const std::vector<uint64_t>& k = keys();
  std::unordered_map<uint64_t, uint64_t> map;
  for (int i = 0; i < kKeys; ++i)
    map[k[i]] = static_cast<uint64_t>(i);
  for (auto _ : state) {
    uint64_t sum = 0;
    for (int i = 0; i < kKeys; ++i)
      sum += map.find(k[i])->second;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}
BENCHMARK(BM_AnchorUnorderedMapFind)->Unit(benchmark::kMillisecond);

} // namespace
