// Collections against plain C++ in the same run:
//  - DoubleArray append and sequential get of 10M values through its
//    interface vs std::vector<double> (reported: time ratios, goals 1.5 and
//    1.3 at most);
//  - a document whose item holds a Vector3DArray of 1M points and a
//    DoubleArray of 1M values, saved and loaded, vs fwrite/fread of the same
//    32 MB (reported: speed relative to the anchor, goal 0.5 at least).
#include "benchhost.h"
#include "core/kivptr.h"
#include "documents/document.h"
#include "documents/documentdata.h"
#include "kivbasictypes/kivplatform.h"
#include "model/dynamicdataobject.h"
#include "properties/arrayproperties.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kValues = 10'000'000;
constexpr int kPoints = 1'000'000;

double usSince(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

void BM_DoubleArrayVsVector(benchmark::State& state) {
  double append = 0, anchorAppend = 0, get = 0, anchorGet = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    std::vector<double> v;
    for (int i = 0; i < kValues; ++i)
      v.push_back(i * 0.5);
    benchmark::DoNotOptimize(v.data());
    anchorAppend += usSince(start);

    start = Clock::now();
    IPtr<DoubleArray> a(new DoubleArray);
    IKivDoubleArray* in = a.get();
    for (int i = 0; i < kValues; ++i)
      in->append(i * 0.5);
    benchmark::DoNotOptimize(a.get());
    append += usSince(start);

    start = Clock::now();
    double sum = 0;
    for (int i = 0; i < kValues; ++i)
      sum += v[static_cast<size_t>(i)];
    benchmark::DoNotOptimize(sum);
    anchorGet += usSince(start);

    start = Clock::now();
    sum = 0;
    for (int i = 0; i < kValues; ++i)
      sum += in->get(i);
    benchmark::DoNotOptimize(sum);
    get += usSince(start);
  }
  state.counters["append_ratio"] = append / anchorAppend;
  state.counters["get_ratio"] = get / anchorGet;
}
BENCHMARK(BM_DoubleArrayVsVector)->Unit(benchmark::kMillisecond)->Iterations(3);

IPtr<Document> newDocument() {
  void* out = nullptr;
  getObject("IKivDocument", &out);
  IPtr<IKivDocument> document(static_cast<IKivDocument*>(out));
  return IPtr<Document>(kivQuery<Document>(document.get(), Document::kClassName));
}

void BM_ArrayDocumentVsFwrite(benchmark::State& state) {
  BenchHostScope scope;
  const std::string path = "/tmp/collections-bench-" + std::to_string(kivplatform::processId());
  double save = 0, load = 0, anchorSave = 0, anchorLoad = 0;
  for (auto _ : state) {
    {
      IPtr<Document> document = newDocument();
      IPtr<DynamicDataObject> object(new DynamicDataObject);
      IPtr<Vector3DArray> points(new Vector3DArray);
      IPtr<DoubleArray> values(new DoubleArray);
      points->reserve(kPoints);
      for (int i = 0; i < kPoints; ++i) {
        points->append(KivVector(i, i * 0.5, -i));
        values->append(i * 0.25);
      }
      object->set("points", points.get());
      object->set("values", values.get());
      IPtr<DocumentData> data(new DocumentData(static_cast<IKivDataObject*>(object.get())));
      kivQuery<IKivDocumentItem>(document->getRootItem(), "IKivDocumentItem")->addChild(data.get());
      auto start = Clock::now();
      document->save(KivString((path + ".kiv").c_str()));
      save += usSince(start);
    }
    {
      IPtr<Document> loaded = newDocument();
      auto start = Clock::now();
      loaded->load(KivString((path + ".kiv").c_str()));
      load += usSince(start);
      benchmark::DoNotOptimize(loaded->getRootItem());
    }
    std::vector<double> raw(static_cast<size_t>(kPoints) * 4);
    for (size_t i = 0; i < raw.size(); ++i)
      raw[i] = static_cast<double>(i);
    auto start = Clock::now();
    std::FILE* out = std::fopen((path + ".bin").c_str(), "wb");
    std::fwrite(raw.data(), sizeof(double), raw.size(), out);
    std::fflush(out);
    kivplatform::commitStream(out);
    std::fclose(out);
    anchorSave += usSince(start);
    std::vector<double> back(raw.size());
    start = Clock::now();
    std::FILE* in = std::fopen((path + ".bin").c_str(), "rb");
    benchmark::DoNotOptimize(std::fread(back.data(), sizeof(double), back.size(), in));
    std::fclose(in);
    anchorLoad += usSince(start);
  }
  std::filesystem::remove(path + ".kiv");
  std::filesystem::remove(path + ".bin");
  // Speed relative to the raw bytes: anchor time over our time.
  state.counters["save_speed_vs_fwrite"] = anchorSave / save;
  state.counters["load_speed_vs_fread"] = anchorLoad / load;
}
BENCHMARK(BM_ArrayDocumentVsFwrite)->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace
