// Normalisation of KivVector, which rebuilds each component from the others'
// share in extended precision, against plain division by the length.
#include "kivbasictypes/kivvector.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

const std::vector<KivVector>& inputs() {
  static const std::vector<KivVector> table = [] {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> coordinate(-100.0, 100.0);
    std::vector<KivVector> t(4096);
    for (KivVector& v : t)
      v = {coordinate(random), coordinate(random), coordinate(random)};
    return t;
  }();
  return table;
}

void BM_KivVectorNormalize(benchmark::State& state) {
  std::vector<KivVector> work = inputs();
  for (auto _ : state) {
    for (KivVector& v : work)
      benchmark::DoNotOptimize(v.normalize());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(work.size()));
}
BENCHMARK(BM_KivVectorNormalize);

void BM_AnchorDivideByLength(benchmark::State& state) {
  std::vector<KivVector> work = inputs();
  for (auto _ : state) {
    for (KivVector& v : work) {
      const double len = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
      if (len > 0.0)
        v = {v.x / len, v.y / len, v.z / len};
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(work.size()));
}
BENCHMARK(BM_AnchorDivideByLength);

}  // namespace
