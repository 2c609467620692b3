// Binary file streams against raw stdio: 10 million doubles (80 MB) written
// and read in one call each. The stream converts every double to big-endian
// through its 1024-byte buffer; the anchors move the same number of bytes
// as they lie in memory.
#include "kivbasictypes/binio.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr size_t kCount = 10'000'000;

const std::vector<double>& values() {
  static const std::vector<double> v = [] {
    std::vector<double> out(kCount);
    for (size_t i = 0; i < kCount; ++i)
      out[i] = static_cast<double>(i) * 0.001 - 5.0;
    return out;
  }();
  return v;
}

const std::string& benchPath() {
  static const std::string path =
      "/tmp/binio-bench-" + std::to_string(kivplatform::processId()) + ".bin";
  return path;
}

// The file the readers read, written once by the stream.
void ensureFile() {
  static const bool written = [] {
    BinOutputFile out(KivString(benchPath().c_str()));
    out.write(values().data(), kCount);
    out.flush();
    return true;
  }();
  (void)written;
}

void finish(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(kCount * sizeof(double)));
}

void BM_BinOutputFileWrite(benchmark::State& state) {
  const std::vector<double>& v = values();
  for (auto _ : state) {
    BinOutputFile out(KivString(benchPath().c_str()));
    benchmark::DoNotOptimize(out.write(v.data(), kCount));
    out.flushBuffer();
    out.close();
  }
  finish(state);
}

void BM_AnchorFwrite(benchmark::State& state) {
  const std::vector<double>& v = values();
  for (auto _ : state) {
    std::FILE* f = std::fopen(benchPath().c_str(), "w+b");
    benchmark::DoNotOptimize(std::fwrite(v.data(), sizeof(double), kCount, f));
    std::fclose(f);
  }
  finish(state);
}

// The same with the data pushed to the disk, as flush() always does.
void BM_BinOutputFileWriteCommit(benchmark::State& state) {
  const std::vector<double>& v = values();
  for (auto _ : state) {
    BinOutputFile out(KivString(benchPath().c_str()));
    benchmark::DoNotOptimize(out.write(v.data(), kCount));
    out.flush();
    out.close();
  }
  finish(state);
}

void BM_AnchorFwriteCommit(benchmark::State& state) {
  const std::vector<double>& v = values();
  for (auto _ : state) {
    std::FILE* f = std::fopen(benchPath().c_str(), "w+b");
    benchmark::DoNotOptimize(std::fwrite(v.data(), sizeof(double), kCount, f));
    kivplatform::commitStream(f);
    std::fclose(f);
  }
  finish(state);
}

void BM_BinInputFileRead(benchmark::State& state) {
  ensureFile();
  std::vector<double> back(kCount);
  for (auto _ : state) {
    BinInputFile in(KivString(benchPath().c_str()));
    benchmark::DoNotOptimize(in.read(back.data(), kCount));
    benchmark::ClobberMemory();
  }
  finish(state);
}

void BM_AnchorFread(benchmark::State& state) {
  ensureFile();
  std::vector<double> back(kCount);
  for (auto _ : state) {
    std::FILE* f = std::fopen(benchPath().c_str(), "rb");
    benchmark::DoNotOptimize(std::fread(back.data(), sizeof(double), kCount, f));
    benchmark::ClobberMemory();
    std::fclose(f);
  }
  finish(state);
}

BENCHMARK(BM_BinOutputFileWrite)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_AnchorFwrite)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_BinOutputFileWriteCommit)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_AnchorFwriteCommit)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_BinInputFileRead)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_AnchorFread)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Removes the file when the benchmark binary ends. The path is made first, so
// it outlives this object.
struct RemoveAtExit {
  RemoveAtExit() { benchPath(); }
  ~RemoveAtExit() { std::remove(benchPath().c_str()); }
} removeAtExit;

} // namespace
