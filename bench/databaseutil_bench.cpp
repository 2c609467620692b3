// Graph reports against plain text anchors, each pair timed in the same
// benchmark so that the ratio comes from one run:
//  - the DOT text of the live graph with N objects (one int and the name
//    each, one relationship per ten objects) against writing N lines of the
//    same length with one ostream insertion each;
//  - the leak report over the same graph against the same anchor with the
//    report's line count.
// The time per object should stay flat from 1k to 100k: no quadratic path.
#include "benchhost.h"
#include "model/database.h"
#include "model/databaseutil.h"
#include "model/dynamicdataobject.h"
#include "model/ikivrelationship.h"
#include "properties/intproperty.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Graph {
  std::vector<IPtr<DynamicDataObject>> objects;
  std::vector<IPtr<IKivRelationship>> links;
};

Graph makeGraph(int count) {
  Graph graph;
  graph.objects.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    IPtr<DynamicDataObject> object(new DynamicDataObject);
    object->setName(KivString(("object<" + std::to_string(i) + ">").c_str()));
    object->addProperty(new IntProperty(KivString("count"), i, false, false));
    if (i % 10 == 9)
      graph.links.push_back(Database::instance()->createRelationship(
          0, KivString("kids"), graph.objects[static_cast<size_t>(i - 9)].get(), object.get()));
    graph.objects.push_back(object);
  }
  return graph;
}

// Writes `lines` lines of `length` bytes, one insertion and a flush each.
size_t anchorText(size_t lines, size_t length) {
  std::ostringstream out;
  const std::string line(length, 'x');
  for (size_t i = 0; i < lines; ++i)
    out << line << std::endl;
  return out.str().size();
}

size_t lineCount(const std::string& text) {
  size_t lines = 0;
  for (char c : text)
    lines += c == '\n';
  return lines;
}

void BM_DotVsPlainLines(benchmark::State& state) {
  BenchHostScope scope;
  const int count = static_cast<int>(state.range(0));
  Graph graph = makeGraph(count);
  double dot = 0, anchor = 0;
  size_t bytes = 0;
  for (auto _ : state) {
    Clock::time_point start = Clock::now();
    std::ostringstream out;
    DatabaseUtil::writeDatabaseGraph(out);
    const std::string text = out.str();
    dot += secondsSince(start);
    bytes = text.size();
    const size_t lines = lineCount(text);
    start = Clock::now();
    benchmark::DoNotOptimize(anchorText(lines, lines ? bytes / lines - 1 : 0));
    anchor += secondsSince(start);
  }
  const double n = static_cast<double>(state.iterations()) * count;
  state.counters["dot_ns_per_object"] = dot / n * 1e9;
  state.counters["anchor_ns_per_object"] = anchor / n * 1e9;
  state.counters["ratio"] = dot / anchor;
  state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_DotVsPlainLines)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)
    ->Iterations(3);

void BM_LeakReportVsPlainLines(benchmark::State& state) {
  BenchHostScope scope;
  const int count = static_cast<int>(state.range(0));
  Graph graph = makeGraph(count);
  double report = 0, anchor = 0;
  for (auto _ : state) {
    Clock::time_point start = Clock::now();
    std::ostringstream out;
    DatabaseUtil::writeLeakReport(out);
    const std::string text = out.str();
    report += secondsSince(start);
    const size_t lines = lineCount(text);
    start = Clock::now();
    benchmark::DoNotOptimize(anchorText(lines, lines ? text.size() / lines - 1 : 0));
    anchor += secondsSince(start);
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["report_ms"] = report / n * 1e3;
  state.counters["anchor_ms"] = anchor / n * 1e3;
  state.counters["ratio"] = report / anchor;
}
BENCHMARK(BM_LeakReportVsPlainLines)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
