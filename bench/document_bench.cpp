// Saving and loading documents of N DocumentData items (1k, 10k, 100k), each
// over a DynamicDataObject with 5 stored properties (int, double, string,
// vector, and a reference to the item before's object on every tenth),
// against the anchor of the same values written with fwrite as fixed records
// and read back with fread into a vector, in the same iteration. Reported:
// microseconds per item for save and load, their ratios to the anchor, the
// load/save ratio and the file's bytes per item. Growth from 1k to 100k is
// the ratio of the per-item costs of the two runs.
#include "benchhost.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "documents/document.h"
#include "documents/documentdata.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivvector.h"
#include "properties/objectproperty.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double usSince(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

std::string benchPath(const char* what) {
  return "/tmp/document-bench-" + std::to_string(kivplatform::processId()) + "-" + what;
}

IPtr<Document> newDocument() {
  void* out = nullptr;
  getObject("IKivDocument", &out);
  IPtr<IKivDocument> document(static_cast<IKivDocument*>(out));
  return IPtr<Document>(kivQuery<Document>(document.get(), Document::kClassName));
}

IPtr<Document> buildDocument(int items) {
  IPtr<Document> document = newDocument();
  document->set("name", KivString("bench"));
  auto* root = kivQuery<IKivDocumentItem>(document->getRootItem(), "IKivDocumentItem");
  IPtr<DynamicDataObject> previous;
  for (int i = 0; i < items; ++i) {
    IPtr<DynamicDataObject> object(new DynamicDataObject);
    object->set("name", KivString(("scan " + std::to_string(i)).c_str()));
    object->set("points", i);
    object->set("area", i * 0.25);
    object->set("note", KivString("measured"));
    object->set("center", KivVector(i, 1, 2));
    object->addProperty(new ObjectProperty(KivString("link"), i % 10 == 9 ? previous.get() : nullptr,
                                           false));
    IPtr<DocumentData> data(new DocumentData(static_cast<IKivDataObject*>(object.get())));
    root->addChild(data.get());
    previous = object;
  }
  return document;
}

struct Record {
  int32_t points;
  double area;
  char note[16];
  double center[3];
  int32_t link;
  char name[24];
};

struct Costs {
  double save = 0, load = 0, anchorSave = 0, anchorLoad = 0, bytes = 0;
};

Costs measure(int items) {
  Costs c;
  const std::string path = benchPath("doc.kiv");
  {
    IPtr<Document> document = buildDocument(items);
    auto start = Clock::now();
    document->save(KivString(path.c_str()));
    c.save = usSince(start);
  }
  c.bytes = static_cast<double>(std::filesystem::file_size(path));
  {
    IPtr<Document> loaded = newDocument();
    auto start = Clock::now();
    loaded->load(KivString(path.c_str()));
    c.load = usSince(start);
    benchmark::DoNotOptimize(loaded->getRootItem());
  }
  std::filesystem::remove(path);

  const std::string anchorPath = benchPath("anchor.bin");
  std::vector<Record> records(static_cast<size_t>(items));
  for (int i = 0; i < items; ++i) {
    Record& r = records[static_cast<size_t>(i)];
    r = Record{i, i * 0.25, "measured", {double(i), 1, 2}, i % 10 == 9 ? i - 1 : -1, {}};
    std::snprintf(r.name, sizeof r.name, "scan %d", i);
  }
  auto start = Clock::now();
  std::FILE* out = std::fopen(anchorPath.c_str(), "wb");
  for (const Record& r : records)
    std::fwrite(&r, sizeof r, 1, out);
  std::fflush(out);
  kivplatform::commitStream(out);
  std::fclose(out);
  c.anchorSave = usSince(start);
  start = Clock::now();
  std::vector<Record> back;
  std::FILE* in = std::fopen(anchorPath.c_str(), "rb");
  Record r;
  while (std::fread(&r, sizeof r, 1, in) == 1)
    back.push_back(r);
  std::fclose(in);
  c.anchorLoad = usSince(start);
  benchmark::DoNotOptimize(back.data());
  std::filesystem::remove(anchorPath);
  return c;
}

void BM_DocumentSaveLoad(benchmark::State& state) {
  BenchHostScope scope;
  const int items = static_cast<int>(state.range(0));
  Costs sum;
  int runs = 0;
  for (auto _ : state) {
    const Costs c = measure(items);
    sum.save += c.save;
    sum.load += c.load;
    sum.anchorSave += c.anchorSave;
    sum.anchorLoad += c.anchorLoad;
    sum.bytes = c.bytes;
    ++runs;
  }
  const double n = runs * static_cast<double>(items);
  state.counters["save_us_per_item"] = sum.save / n;
  state.counters["load_us_per_item"] = sum.load / n;
  state.counters["save_ratio"] = sum.save / sum.anchorSave;
  state.counters["load_ratio"] = sum.load / sum.anchorLoad;
  state.counters["load_vs_save"] = sum.load / sum.save;
  state.counters["bytes_per_item"] = sum.bytes / items;
}
BENCHMARK(BM_DocumentSaveLoad)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(2);

} // namespace
