// Images: the library's own file writers against a raw fwrite of the same
// number of bytes (4096 × 4096 RGBA, 64 MB), PNG through the host at its
// fast default level against libpng's usual level 6 on one texture-like
// image (time and bytes), and a compress + decompress round trip of a
// 2048 × 2048 texture, as megapixels per second.
#include "base/basic/kivimage.h"
#include "benchhost.h"
#include "host/hostimagecodecs.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kLarge = 4096;
constexpr int kTexture = 2048;

// Gradients with a little deterministic noise, like a scanned texture.
IPtr<KivImage> makeTexture(int side) {
  IPtr<KivImage> image(new KivImage(side, side, 4));
  uint32_t state = 12345;
  for (int y = 0; y < side; ++y) {
    uint8_t* p = image->row(y);
    for (int x = 0; x < side; ++x, p += 4) {
      state = state * 1664525u + 1013904223u;
      const int noise = static_cast<int>(state >> 28) - 8;
      p[0] = static_cast<uint8_t>((x * 255 / side + noise) & 0xFF);
      p[1] = static_cast<uint8_t>((y * 255 / side + noise) & 0xFF);
      p[2] = static_cast<uint8_t>(((x + y) * 127 / side + noise) & 0xFF);
      p[3] = 255;
    }
  }
  return image;
}

KivImage& largeImage() {
  static IPtr<KivImage> image = makeTexture(kLarge);
  return *image;
}

std::string benchPath(const char* extension) {
  return "/tmp/kivimage-bench-" + std::to_string(kivplatform::processId()) + "." + extension;
}

void finish(benchmark::State& state, int64_t bytes) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
}

const int64_t kLargeBytes = int64_t(kLarge) * kLarge * 4;

void BM_RawFwriteAnchor(benchmark::State& state) {
  std::vector<uint8_t> bytes(static_cast<size_t>(kLargeBytes), 7);
  const std::string path = benchPath("raw");
  for (auto _ : state) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    benchmark::DoNotOptimize(std::fwrite(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
  }
  std::remove(path.c_str());
  finish(state, kLargeBytes);
}

template <class Write>
void writeFile(benchmark::State& state, const char* extension, Write write) {
  KivImage& image = largeImage();
  const std::string path = benchPath(extension);
  const KivString target(path.c_str());
  for (auto _ : state)
    benchmark::DoNotOptimize(write(image, target));
  std::remove(path.c_str());
  finish(state, kLargeBytes);
}

void BM_WritePpm(benchmark::State& state) {
  writeFile(state, "ppm", [](KivImage& i, const KivString& p) { return i.writePpm(p); });
}
void BM_WriteBmp(benchmark::State& state) {
  writeFile(state, "bmp", [](KivImage& i, const KivString& p) { return i.writeBmp(p, false); });
}
void BM_WriteRgb(benchmark::State& state) {
  writeFile(state, "rgb", [](KivImage& i, const KivString& p) { return i.writeRgb(p); });
}
void BM_WriteTiff(benchmark::State& state) {
  writeFile(state, "tif", [](KivImage& i, const KivString& p) { return i.writeTiff(p); });
}

void encodeAtLevel(benchmark::State& state, int level) {
  static IPtr<KivImage> texture = makeTexture(kTexture);
  std::vector<uint8_t> out;
  std::string error;
  for (auto _ : state)
    benchmark::DoNotOptimize(hostimage::encodePng(texture.get(), level, false, out, error));
  state.counters["bytes"] = static_cast<double>(out.size());
  finish(state, int64_t(kTexture) * kTexture * 4);
}

void BM_PngLevel6Anchor(benchmark::State& state) { encodeAtLevel(state, 6); }
void BM_PngHostDefault(benchmark::State& state) {
  encodeAtLevel(state, HostCompressPNG::kDefaultLevel);
}

void BM_CompressDecompress(benchmark::State& state) {
  BenchHostScope scope;
  IPtr<KivImage> texture = makeTexture(kTexture);
  for (auto _ : state) {
    benchmark::DoNotOptimize(texture->compress());
    benchmark::DoNotOptimize(texture->decompress());
  }
  state.counters["MPix"] = benchmark::Counter(
      static_cast<double>(state.iterations()) * kTexture * kTexture / 1e6,
      benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(BM_RawFwriteAnchor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WritePpm)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteBmp)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteRgb)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteTiff)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PngLevel6Anchor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PngHostDefault)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompressDecompress)->Unit(benchmark::kMillisecond);
