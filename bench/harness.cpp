#include "harness.h"

#include <benchmark/benchmark.h>
#include <hwy/cache_control.h>
#include <hwy/highway.h>
#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <random>

namespace hn = hwy::HWY_NAMESPACE;

namespace bench {

// The ways to go through memory; a machine's limit is the fastest of them.
struct Way {
  void (*copy)(unsigned char* to, const unsigned char* from, std::size_t bytes);
  void (*write)(unsigned char* to, std::size_t bytes);
};

namespace {

using Clock = std::chrono::steady_clock;
using D = hn::ScalableTag<std::uint8_t>;
constexpr std::size_t kVector = hn::MaxLanes(D());

// A run before the clock starts leaves the caches as the run itself does.
template <class F>
double seconds(int times, const F& f) {
  f();
  const auto start = Clock::now();
  for (int i = 0; i < times; ++i) {
    f();
    benchmark::ClobberMemory();
  }
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void copyByVectors(unsigned char* to, const unsigned char* from, std::size_t bytes) {
  const D d;
  for (std::size_t i = 0; i + kVector <= bytes; i += kVector) hn::StoreU(hn::LoadU(d, from + i), d, to + i);
}

void copyByStreaming(unsigned char* to, const unsigned char* from, std::size_t bytes) {
  const D d;
  const std::size_t head = (kVector - reinterpret_cast<std::uintptr_t>(to) % kVector) % kVector;
  std::memcpy(to, from, std::min(head, bytes));
  for (std::size_t i = head; i + kVector <= bytes; i += kVector)
    hn::Stream(hn::LoadU(d, from + i), d, to + i);
  hwy::FlushStream();
}

void read(const unsigned char* from, std::size_t bytes) {
  const D d;
  auto a = hn::Zero(d), b = a, c = a, e = a;
  for (std::size_t i = 0; i + 4 * kVector <= bytes; i += 4 * kVector) {
    a = hn::Add(a, hn::LoadU(d, from + i));
    b = hn::Add(b, hn::LoadU(d, from + i + kVector));
    c = hn::Add(c, hn::LoadU(d, from + i + 2 * kVector));
    e = hn::Add(e, hn::LoadU(d, from + i + 3 * kVector));
  }
  benchmark::DoNotOptimize(hn::GetLane(hn::Add(hn::Add(a, b), hn::Add(c, e))));
}

void writeByStreaming(unsigned char* to, std::size_t bytes) {
  const D d;
  const std::size_t head = (kVector - reinterpret_cast<std::uintptr_t>(to) % kVector) % kVector;
  std::memset(to, 7, std::min(head, bytes));
  for (std::size_t i = head; i + kVector <= bytes; i += kVector) hn::Stream(hn::Set(d, 7), d, to + i);
  hwy::FlushStream();
}

void fill(unsigned char* to, std::size_t bytes) { std::memset(to, 7, bytes); }
void copy(unsigned char* to, const unsigned char* from, std::size_t bytes) { std::memcpy(to, from, bytes); }

constexpr Way kWays[] = {{copy, fill}, {copyByVectors, fill}, {copyByStreaming, writeByStreaming}};

double median(std::vector<double>& values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

void runRow(benchmark::State& state, Contents contents, const std::vector<PixelBytes>& sources,
            const std::vector<PixelBytes>& destinations, const Call& call, int border, int halo,
            double scale) {
  const ZopImageSize size = {static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
  const Frame frame(size, contents, sources, destinations, border, halo, scale);
  call(frame);
  // Batches of half a millisecond and at least four calls, so that neither the clock nor one slow call shows.
  const double once = std::max(seconds(3, [&] { call(frame); }) / 3, 1e-9);
  const int batch = std::clamp(static_cast<int>(5e-4 / once), 4, 50000);
  std::vector<double> calls, traversals;
  for (auto _ : state) {
    calls.push_back(seconds(batch, [&] { call(frame); }) / batch);
    state.SetIterationTime(calls.back());
    traversals.push_back(frame.secondsOfTraversal(batch) / batch);
  }
  const double time = median(calls);
  state.counters["ns_per_pixel"] = time * 1e9 / (static_cast<double>(size.width) * size.height);
  state.counters["limit_fraction"] = median(traversals) / time;
}

}  // namespace

Frame::Image Frame::allocate(ZopImageSize size, Contents contents, PixelBytes pixelBytes, unsigned seed) {
  int step = 0;
  unsigned char* data = zopiMalloc_8u_C1(pixelBytes.ofRow(size.width), size.height, &step);
  const std::size_t bytes = static_cast<std::size_t>(step) * size.height;
  std::mt19937 random(seed);
  for (std::size_t i = 0; i + 4 <= bytes; i += 4) {
    const std::uint32_t word = static_cast<std::uint32_t>(random());
    const float number = static_cast<float>(word >> 8) * 0x1p-16f;
    std::memcpy(data + i, contents == Contents::Numbers ? static_cast<const void*>(&number) : &word, 4);
  }
  return {{data, zopiFree}, step, bytes, 0};
}

Frame::Frame(ZopImageSize frameSize, Contents contents, const std::vector<PixelBytes>& sourcePixelBytes,
             const std::vector<PixelBytes>& destinationPixelBytes, int border, int halo, double scale)
    : size(frameSize),
      sizeWithBorder{static_cast<int>(size.width * scale) + 2 * border,
                     static_cast<int>(size.height * scale) + 2 * border} {
  unsigned seed = 0;
  const ZopImageSize sizeWithHalo = {size.width + 2 * halo, size.height + 2 * halo};
  for (const PixelBytes bytes : sourcePixelBytes) {
    sources_.push_back(allocate(sizeWithHalo, contents, bytes, ++seed));
    sources_.back().before = static_cast<std::ptrdiff_t>(halo) * sources_.back().step + bytes.ofRow(halo);
  }
  for (const PixelBytes bytes : destinationPixelBytes)
    destinations_.push_back(allocate(sizeWithBorder, contents, bytes, ++seed));
}

void Frame::traverse(const Way& way) const {
  std::size_t s = 0, d = 0, readBytes = 0, writtenBytes = 0;
  while (s < sources_.size() && d < destinations_.size()) {
    const std::size_t left = sources_[s].bytes - readBytes, room = destinations_[d].bytes - writtenBytes;
    const std::size_t bytes = std::min(left, room);
    way.copy(destinations_[d].data.get() + writtenBytes, sources_[s].data.get() + readBytes, bytes);
    readBytes = left == bytes ? (++s, 0) : readBytes + bytes;
    writtenBytes = room == bytes ? (++d, 0) : writtenBytes + bytes;
  }
  for (; s < sources_.size(); ++s, readBytes = 0) {
    read(sources_[s].data.get() + readBytes, sources_[s].bytes - readBytes);
  }
  for (; d < destinations_.size(); ++d, writtenBytes = 0) {
    way.write(destinations_[d].data.get() + writtenBytes, destinations_[d].bytes - writtenBytes);
  }
}

double Frame::secondsOfTraversal(int times) const {
  double best = 1e9;
  for (const Way& way : kWays) best = std::min(best, seconds(times, [&] { traverse(way); }));
  return best;
}

void addAt(const std::vector<ZopImageSize>& sizes, const std::string& name,
           std::vector<PixelBytes> sourcePixelBytes, std::vector<PixelBytes> destinationPixelBytes, Call call,
           int border, int halo, double scale) {
  const Contents contents = name.find("_32f") != std::string::npos ? Contents::Numbers : Contents::Noise;
  auto* row = benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    runRow(state, contents, sourcePixelBytes, destinationPixelBytes, call, border, halo, scale);
  });
  for (const ZopImageSize size : sizes) row->Args({size.width, size.height});
  row->UseManualTime()->Iterations(40);
}

void add(const std::string& name, std::vector<PixelBytes> sourcePixelBytes,
         std::vector<PixelBytes> destinationPixelBytes, Call call, int border, int halo, double scale) {
  addAt({{64, 64}, {640, 480}, {3840, 2160}}, name, std::move(sourcePixelBytes),
        std::move(destinationPixelBytes), std::move(call), border, halo, scale);
}

}  // namespace bench
