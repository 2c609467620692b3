// Bulk data against plain C++ in the same run:
//  - quickSort of 10M indices by a double key vs std::sort with the same
//    comparison, on five distributions;
//  - BitVector get/set vs a raw uint64_t array, and counting 100M bits;
//  - KivVectorArray push and reads vs std::vector;
//  - a 10M-point KivVectorArray saved and loaded through the binary file
//    streams vs fwrite/fread of the same 240 MB.
#include "benchhost.h"
#include "kivbasictypes/binio.h"
#include "kivbasictypes/bitvector.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/kivvectorarray.h"
#include "kivbasictypes/quicksort.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int32_t kSortCount = 10'000'000;
constexpr int32_t kPoints = 10'000'000;

// ---- quickSort vs std::sort ---------------------------------------------------

enum Distribution { Random, Sorted, Reversed, FewDistinct, SortedNoisy };

const std::vector<double>& keys(int d) {
  static std::vector<double> cache[5];
  std::vector<double>& k = cache[d];
  if (k.empty()) {
    k.resize(kSortCount + 1);
    std::mt19937_64 rng(42);
    for (int32_t i = 1; i <= kSortCount; ++i) {
      switch (d) {
      case Random:
        k[i] = static_cast<double>(rng() % 1000000007);
        break;
      case Sorted:
        k[i] = i;
        break;
      case Reversed:
        k[i] = kSortCount - i;
        break;
      case FewDistinct:
        k[i] = static_cast<double>(rng() % 100);
        break;
      case SortedNoisy:
        k[i] = rng() % 100 == 0 ? static_cast<double>(rng() % kSortCount) : i;
        break;
      }
    }
  }
  return k;
}

class KeyCompare final : public QuickSort_Compare {
public:
  explicit KeyCompare(const double* k) : k_(k) {}
  int compare(int32_t a, int32_t b) override { return k_[a] < k_[b] ? -1 : k_[a] > k_[b] ? 1 : 0; }

private:
  const double* k_;
};

void BM_QuickSort(benchmark::State& state) {
  const double* k = keys(static_cast<int>(state.range(0))).data();
  SortIndexArray order(kSortCount + 2);
  for (auto _ : state) {
    state.PauseTiming();
    for (int32_t i = 1; i <= kSortCount; ++i)
      order.set(i, i);
    state.ResumeTiming();
    KeyCompare compare(k);
    quickSort(order, 1, kSortCount, compare);
    benchmark::DoNotOptimize(order.get(1));
  }
}

void BM_AnchorStdSort(benchmark::State& state) {
  const double* k = keys(static_cast<int>(state.range(0))).data();
  std::vector<int32_t> order(kSortCount);
  for (auto _ : state) {
    state.PauseTiming();
    for (int32_t i = 0; i < kSortCount; ++i)
      order[i] = i + 1;
    state.ResumeTiming();
    KeyCompare compare(k);
    QuickSort_Compare& c = compare;  // the same virtual comparison
    std::sort(order.begin(), order.end(), [&](int32_t a, int32_t b) { return c.compare(a, b) < 0; });
    benchmark::DoNotOptimize(order[0]);
  }
}

// ---- BitVector vs raw words ---------------------------------------------------------

constexpr int32_t kBits = 10'000'000;

const std::vector<int32_t>& randomIndices() {
  static const std::vector<int32_t> v = [] {
    std::vector<int32_t> out(kBits);
    std::mt19937 rng(5);
    for (int32_t& i : out)
      i = static_cast<int32_t>(rng() % kBits);
    return out;
  }();
  return v;
}

void BM_BitVectorSetGetSequential(benchmark::State& state) {
  BenchHostScope scope;
  BitVector bits(kBits);
  for (auto _ : state) {
    for (int32_t i = 0; i < kBits; i += 3)
      bits.set(i);
    int64_t n = 0;
    for (int32_t i = 0; i < kBits; ++i)
      n += bits.get(i);
    benchmark::DoNotOptimize(n);
  }
}

void BM_AnchorRawSetGetSequential(benchmark::State& state) {
  std::vector<uint64_t> words(kBits / 64 + 1);
  for (auto _ : state) {
    for (int32_t i = 0; i < kBits; i += 3)
      words[i >> 6] |= uint64_t{1} << (i & 63);
    int64_t n = 0;
    for (int32_t i = 0; i < kBits; ++i)
      n += (words[i >> 6] >> (i & 63)) & 1;
    benchmark::DoNotOptimize(n);
  }
}

void BM_BitVectorRandomGet(benchmark::State& state) {
  BenchHostScope scope;
  BitVector bits(kBits);
  for (int32_t i = 0; i < kBits; i += 7)
    bits.set(i);
  const std::vector<int32_t>& idx = randomIndices();
  for (auto _ : state) {
    int64_t n = 0;
    for (int32_t i : idx)
      n += bits.get(i);
    benchmark::DoNotOptimize(n);
  }
}

void BM_AnchorRawRandomGet(benchmark::State& state) {
  std::vector<uint64_t> words(kBits / 64 + 1);
  for (int32_t i = 0; i < kBits; i += 7)
    words[i >> 6] |= uint64_t{1} << (i & 63);
  const std::vector<int32_t>& idx = randomIndices();
  for (auto _ : state) {
    int64_t n = 0;
    for (int32_t i : idx)
      n += (words[i >> 6] >> (i & 63)) & 1;
    benchmark::DoNotOptimize(n);
  }
}

void BM_BitVectorCount100M(benchmark::State& state) {
  BenchHostScope scope;
  BitVector bits(100'000'000);
  bits.setRange(0, 100'000'000 - 1);
  bits.clearRange(5, 77'777);
  for (auto _ : state) {
    bits.clear(3);  // drops nothing but keeps the count known; force a recount
    bits.setRange(3, 3);
    benchmark::DoNotOptimize(bits.numberSet());
  }
  state.counters["hardware_popcount"] = hardwarePopcount() ? 1 : 0;
}

void BM_AnchorRawCount100M(benchmark::State& state) {
  std::vector<uint64_t> words(100'000'000 / 64 + 1, ~uint64_t{0});
  for (auto _ : state) {
    words[0] ^= 8;
    int64_t n = 0;
    for (uint64_t w : words)
      n += __builtin_popcountll(w);
    benchmark::DoNotOptimize(n);
  }
}

// ---- KivVectorArray vs std::vector ----------------------------------------------

void BM_KivVectorArrayPush(benchmark::State& state) {
  BenchHostScope scope;
  for (auto _ : state) {
    IPtr<KivVectorArray> a(new KivVectorArray);
    for (int32_t i = 0; i < kPoints; ++i)
      a->push(KivVector(i, 1.0, 2.0));
    benchmark::DoNotOptimize(a->count());
  }
}

void BM_AnchorVectorPush(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<KivVector> v;
    for (int32_t i = 0; i < kPoints; ++i)
      v.push_back(KivVector(i, 1.0, 2.0));
    benchmark::DoNotOptimize(v.data());
  }
}

void BM_AnchorVectorPushReserved(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<KivVector> v;
    v.reserve(kPoints + 1);
    for (int32_t i = 0; i < kPoints; ++i)
      v.push_back(KivVector(i, 1.0, 2.0));
    benchmark::DoNotOptimize(v.data());
  }
}

IPtr<KivVectorArray>& filledArray() {
  static IPtr<KivVectorArray> a = [] {
    BenchHostScope scope;
    IPtr<KivVectorArray> made(new KivVectorArray);
    for (int32_t i = 0; i < kPoints; ++i)
      made->push(KivVector(i, i * 0.5, -i));
    return made;
  }();
  return a;
}

const std::vector<KivVector>& filledVector() {
  static const std::vector<KivVector> v = [] {
    std::vector<KivVector> out(kPoints + 1);
    for (int32_t i = 1; i <= kPoints; ++i)
      out[i] = KivVector(i - 1, (i - 1) * 0.5, -(i - 1));
    return out;
  }();
  return v;
}

void BM_KivVectorArraySequentialRead(benchmark::State& state) {
  KivVectorArray& a = *filledArray();
  for (auto _ : state) {
    double sum = 0;
    KivVector p;
    for (int32_t i = 1; i <= kPoints; ++i) {
      a.getPoint(i, p);
      sum += p.y;
    }
    benchmark::DoNotOptimize(sum);
  }
}

void BM_AnchorVectorSequentialRead(benchmark::State& state) {
  const std::vector<KivVector>& v = filledVector();
  for (auto _ : state) {
    double sum = 0;
    for (int32_t i = 1; i <= kPoints; ++i)
      sum += v[i].y;
    benchmark::DoNotOptimize(sum);
  }
}

void BM_KivVectorArrayRandomRead(benchmark::State& state) {
  KivVectorArray& a = *filledArray();
  const std::vector<int32_t>& idx = randomIndices();
  for (auto _ : state) {
    double sum = 0;
    KivVector p;
    for (int32_t i : idx) {
      a.getPoint(i + 1, p);
      sum += p.y;
    }
    benchmark::DoNotOptimize(sum);
  }
}

void BM_AnchorVectorRandomRead(benchmark::State& state) {
  const std::vector<KivVector>& v = filledVector();
  const std::vector<int32_t>& idx = randomIndices();
  for (auto _ : state) {
    double sum = 0;
    for (int32_t i : idx)
      sum += v[i + 1].y;
    benchmark::DoNotOptimize(sum);
  }
}

// ---- save and load ------------------------------------------------------------------

const std::string& pointsPath() {
  static const std::string path =
      "/tmp/bulkdata-bench-" + std::to_string(kivplatform::processId()) + ".bin";
  return path;
}

void bytesDone(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * int64_t{kPoints} * 24);
}

void BM_KivVectorArraySave(benchmark::State& state) {
  KivVectorArray& a = *filledArray();
  for (auto _ : state) {
    BinOutputFile out(KivString(pointsPath().c_str()));
    benchmark::DoNotOptimize(a.write(out));
    out.flushBuffer();
    out.close();
  }
  bytesDone(state);
}

void BM_AnchorFwritePoints(benchmark::State& state) {
  const std::vector<KivVector>& v = filledVector();
  for (auto _ : state) {
    std::FILE* f = std::fopen(pointsPath().c_str(), "w+b");
    benchmark::DoNotOptimize(std::fwrite(v.data() + 1, sizeof(KivVector), kPoints, f));
    std::fclose(f);
  }
  bytesDone(state);
}

void BM_KivVectorArrayLoad(benchmark::State& state) {
  BenchHostScope scope;
  {
    BinOutputFile out(KivString(pointsPath().c_str()));
    filledArray()->write(out);
    out.flush();
  }
  IPtr<KivVectorArray> back(new KivVectorArray);
  for (auto _ : state) {
    BinInputFile in(KivString(pointsPath().c_str()));
    benchmark::DoNotOptimize(back->read(in));
  }
  bytesDone(state);
}

void BM_AnchorFreadPoints(benchmark::State& state) {
  std::vector<KivVector> v(kPoints);
  {
    std::FILE* f = std::fopen(pointsPath().c_str(), "w+b");
    std::fwrite(filledVector().data() + 1, sizeof(KivVector), kPoints, f);
    std::fclose(f);
  }
  for (auto _ : state) {
    std::FILE* f = std::fopen(pointsPath().c_str(), "rb");
    benchmark::DoNotOptimize(std::fread(v.data(), sizeof(KivVector), kPoints, f));
    benchmark::ClobberMemory();
    std::fclose(f);
  }
  bytesDone(state);
}

void distributions(benchmark::internal::Benchmark* b) {
  for (int d = Random; d <= SortedNoisy; ++d)
    b->Arg(d);
}

BENCHMARK(BM_QuickSort)->Apply(distributions)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_AnchorStdSort)->Apply(distributions)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_BitVectorSetGetSequential)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AnchorRawSetGetSequential)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BitVectorRandomGet)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AnchorRawRandomGet)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BitVectorCount100M)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AnchorRawCount100M)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_KivVectorArrayPush)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AnchorVectorPush)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AnchorVectorPushReserved)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KivVectorArraySequentialRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AnchorVectorSequentialRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KivVectorArrayRandomRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AnchorVectorRandomRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KivVectorArraySave)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_AnchorFwritePoints)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_KivVectorArrayLoad)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_AnchorFreadPoints)->Unit(benchmark::kMillisecond)->Iterations(3);

struct RemoveAtExit {
  RemoveAtExit() { pointsPath(); }
  ~RemoveAtExit() { std::remove(pointsPath().c_str()); }
} removeAtExit;

} // namespace
