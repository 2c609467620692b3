// Small buffers through the bucket pool against the plain allocator: one
// buffer at a time, and batches that are taken and given back together.
#include "kivbasictypes/bucketmemorypool.h"
#include "kivbasictypes/stringbuffer.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

constexpr int kBatch = 256;

// String-sized requests, 16 to 200 bytes, in a fixed random order.
const std::vector<int32_t>& sizes() {
  static const std::vector<int32_t> table = [] {
    std::mt19937 random(7);
    std::vector<int32_t> t(4096);
    for (int32_t& size : t)
      size = static_cast<int32_t>(16 + random() % 185);
    return t;
  }();
  return table;
}

void BM_BucketPoolAllocFree(benchmark::State& state) {
  const std::vector<int32_t>& table = sizes();
  size_t i = 0;
  for (auto _ : state) {
    int32_t capacity = 0;
    void* p = allocBuffer(table[i++ & 4095], &capacity);
    benchmark::DoNotOptimize(p);
    freeBuffer(capacity, p);
  }
}
BENCHMARK(BM_BucketPoolAllocFree);

void BM_AnchorMallocFree(benchmark::State& state) {
  const std::vector<int32_t>& table = sizes();
  size_t i = 0;
  for (auto _ : state) {
    void* p = std::malloc(static_cast<size_t>(table[i++ & 4095]));
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
}
BENCHMARK(BM_AnchorMallocFree);

void BM_BucketPoolBatch(benchmark::State& state) {
  const std::vector<int32_t>& table = sizes();
  std::vector<void*> blocks(kBatch);
  std::vector<int32_t> capacities(kBatch);
  size_t i = 0;
  for (auto _ : state) {
    for (int k = 0; k < kBatch; ++k)
      blocks[k] = allocBuffer(table[i++ & 4095], &capacities[k]);
    benchmark::DoNotOptimize(blocks.data());
    for (int k = 0; k < kBatch; ++k)
      freeBuffer(capacities[k], blocks[k]);
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_BucketPoolBatch);

void BM_AnchorMallocBatch(benchmark::State& state) {
  const std::vector<int32_t>& table = sizes();
  std::vector<void*> blocks(kBatch);
  size_t i = 0;
  for (auto _ : state) {
    for (int k = 0; k < kBatch; ++k)
      blocks[k] = std::malloc(static_cast<size_t>(table[i++ & 4095]));
    benchmark::DoNotOptimize(blocks.data());
    for (int k = 0; k < kBatch; ++k)
      std::free(blocks[k]);
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_AnchorMallocBatch);

} // namespace
