// Inversion of KivMatrix by Gauss-Jordan with partial pivoting, against the
// product of two matrices as the anchor of the same size of work.
#include "kivbasictypes/kivmatrix.h"

#include <benchmark/benchmark.h>

namespace {

const KivMatrix& sample() {
  static const KivMatrix m = KivMatrix::translation({1, -2, 3}) *
                             KivMatrix::rotation(KivVector(1, 2, 3), 0.7) *
                             KivMatrix::scaling(2, 3, 0.5);
  return m;
}

void BM_KivMatrixInvert(benchmark::State& state) {
  const KivMatrix& m = sample();
  KivMatrix out;
  for (auto _ : state) {
    benchmark::DoNotOptimize(m.invert(out));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_KivMatrixInvert);

void BM_AnchorMatrixMultiply(benchmark::State& state) {
  const KivMatrix& m = sample();
  KivMatrix out;
  for (auto _ : state) {
    m.multiply(m, out);
    benchmark::DoNotOptimize(out);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_AnchorMatrixMultiply);

}  // namespace
