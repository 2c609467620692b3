// Reads of 10M doubles from a paged array against a std::vector, in order
// and at random places.
#include "kivbasictypes/kivmmarray.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

constexpr int32_t kCount = 10'000'000;
constexpr int32_t kRandomReads = 1 << 20;

struct Data {
  KivMM::Array<double> array{kCount};
  std::vector<double> vector = std::vector<double>(kCount);
  std::vector<int32_t> places = std::vector<int32_t>(kRandomReads);

  Data() {
    for (int32_t i = 0; i < kCount; ++i) {
      const double value = i * 0.5 + 1;
      array.set(i, value);
      vector[i] = value;
    }
    std::mt19937 random(3);
    for (int32_t& place : places)
      place = static_cast<int32_t>(random() % kCount);
  }
};

Data& data() {
  static Data* d = new Data;
  return *d;
}

void BM_KivMMArraySequentialRead(benchmark::State& state) {
  const KivMM::Array<double>& a = data().array;
  for (auto _ : state) {
    double sum = 0;
    for (int32_t i = 0; i < kCount; ++i)
      sum += a.get(i);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}
BENCHMARK(BM_KivMMArraySequentialRead)->Unit(benchmark::kMillisecond);

void BM_AnchorVectorSequentialRead(benchmark::State& state) {
  const std::vector<double>& v = data().vector;
  for (auto _ : state) {
    double sum = 0;
    for (int32_t i = 0; i < kCount; ++i)
      sum += v[i];
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}
BENCHMARK(BM_AnchorVectorSequentialRead)->Unit(benchmark::kMillisecond);

void BM_KivMMArrayRandomRead(benchmark::State& state) {
  const KivMM::Array<double>& a = data().array;
  const std::vector<int32_t>& places = data().places;
  for (auto _ : state) {
    double sum = 0;
    for (int32_t place : places)
      sum += a.get(place);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kRandomReads);
}
BENCHMARK(BM_KivMMArrayRandomRead)->Unit(benchmark::kMillisecond);

void BM_AnchorVectorRandomRead(benchmark::State& state) {
  const std::vector<double>& v = data().vector;
  const std::vector<int32_t>& places = data().places;
  for (auto _ : state) {
    double sum = 0;
    for (int32_t place : places)
      sum += v[place];
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kRandomReads);
}
BENCHMARK(BM_AnchorVectorRandomRead)->Unit(benchmark::kMillisecond);

} // namespace
