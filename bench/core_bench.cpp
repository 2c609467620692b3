// Object model, strings and reference counting, each against a plain C++ anchor.
#include "core/kivobject.h"
#include "core/lookup.h"
#include "host/tovcomponentmanager.h"
#include "kivbasictypes/kivstring.h"
#include "kivbasictypes/messageformat.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <string>

namespace {

// A four-deep chain of implementation classes; the query for the deepest
// class's interface walks every level, as a class derived four times does.
class IKivLeaf : public virtual IKivUnknown {
public:
  virtual int leaf() = 0;
};

class Level1 : public IKivLeaf {
public:
  int leaf() override { return 1; }
  const char* className() const override { return "Level1"; }
  void queryInterface(const char* name, void** out) override {
    *out = nullptr;
    if (kivAnswer(name, "Level1", this, out) ||
        kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
      return;
    kivAnswer(name, "IKivLeaf", static_cast<IKivLeaf*>(this), out);
  }
};

#define LEVEL(N, BASE)                                                                            \
  class Level##N : public BASE {                                                                  \
  public:                                                                                         \
    const char* className() const override { return "Level" #N; }                                \
    void queryInterface(const char* name, void** out) override {                                  \
      *out = nullptr;                                                                             \
      if (kivAnswer(name, "Level" #N, this, out) ||                                               \
          kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))                   \
        return;                                                                                   \
      BASE::queryInterface(name, out);                                                            \
    }                                                                                             \
  };
LEVEL(2, Level1)
LEVEL(3, Level2)
LEVEL(4, Level3)

void BM_QueryInterfaceFourDeep(benchmark::State& state) {
  Level4 object;
  IKivUnknown* unknown = &object;
  for (auto _ : state) {
    benchmark::DoNotOptimize(unknown);
    void* out = nullptr;
    unknown->queryInterface("IKivLeaf", &out);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_QueryInterfaceFourDeep);

void BM_AnchorDynamicCastFourDeep(benchmark::State& state) {
  Level4 object;
  IKivUnknown* unknown = &object;
  for (auto _ : state) {
    benchmark::DoNotOptimize(unknown);
    auto* leaf = dynamic_cast<IKivLeaf*>(unknown);
    benchmark::DoNotOptimize(leaf);
  }
}
BENCHMARK(BM_AnchorDynamicCastFourDeep);

void BM_KivStringFromLiteral(benchmark::State& state) {
  for (auto _ : state) {
    KivString s("Advanced/Max Number of Threads");
    benchmark::DoNotOptimize(s.wide());
  }
}
BENCHMARK(BM_KivStringFromLiteral);

void BM_AnchorStdStringFromLiteral(benchmark::State& state) {
  for (auto _ : state) {
    std::string s("Advanced/Max Number of Threads");
    benchmark::DoNotOptimize(s.data());
  }
}
BENCHMARK(BM_AnchorStdStringFromLiteral);

void BM_FormatMessageTwoArguments(benchmark::State& state) {
  KivString className("Collection");
  KivString text("Collection is readonly");
  for (auto _ : state) {
    KivString out;
    formatMessage(out, "Error in class %1: %2.", className, text);
    benchmark::DoNotOptimize(out.wide());
  }
}
BENCHMARK(BM_FormatMessageTwoArguments);

void BM_AnchorSnprintfTwoArguments(benchmark::State& state) {
  std::string className("Collection");
  std::string text("Collection is readonly");
  for (auto _ : state) {
    char buffer[128];
    int n = std::snprintf(buffer, sizeof buffer, "Error in class %s: %s.", className.c_str(),
                          text.c_str());
    std::string out(buffer, static_cast<size_t>(n));
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(BM_AnchorSnprintfTwoArguments);

void BM_AddRefReleaseThroughHost(benchmark::State& state) {
  TovComponentManager* manager = new TovComponentManager();
  manager->addRef();
  setComponentManager(manager);
  Level1 object;
  object.addRef();
  for (auto _ : state) {
    object.addRef();
    object.release();
  }
  setComponentManager(nullptr);
  object.releaseNoDelete();
  manager->release();
}
BENCHMARK(BM_AddRefReleaseThroughHost);

void BM_AnchorAtomicIncrementDecrement(benchmark::State& state) {
  std::atomic<int> counter{1};
  for (auto _ : state) {
    counter.fetch_add(1, std::memory_order_acq_rel);
    benchmark::DoNotOptimize(counter.fetch_sub(1, std::memory_order_acq_rel) == 1);
  }
}
BENCHMARK(BM_AnchorAtomicIncrementDecrement);

} // namespace
