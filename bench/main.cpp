// The limits of this machine, then the rows of every subsystem.
//
//   zopi_bench --benchmark_filter='zopiAdd_8u.*'
#include <benchmark/benchmark.h>
#include <omp.h>

#include <cstdio>
#include <cstdlib>

#include "harness.h"

namespace {

// The speed of one thread: a copy counts the bytes it reads and those it writes.
void printLimits() {
  std::printf("%12s %12s %12s %12s\n", "bytes", "copy GB/s", "read GB/s", "write GB/s");
  for (const int height : {1, 75, 2025, 8100}) {
    const ZopImageSize size = {4096, height};
    const double bytes = 4096.0 * height;
    const int times = static_cast<int>(1e8 / bytes) + 1;
    const auto speed = [&](const std::vector<bench::PixelBytes>& sources,
                           const std::vector<bench::PixelBytes>& destinations, double moved) {
      const bench::Frame frame(size, bench::Contents::Noise, sources, destinations);
      frame.secondsOfTraversal(1);
      return moved * times * 1e-9 / frame.secondsOfTraversal(times);
    };
    std::printf("%12.0f %12.1f %12.1f %12.1f\n", bytes, speed({1}, {1}, 2 * bytes), speed({1}, {}, bytes),
                speed({}, {1}, bytes));
  }
}

}  // namespace

int main(int argc, char** argv) {
  // The limits are those of one thread, so the calls get one thread too, unless asked otherwise.
  if (std::getenv("OMP_NUM_THREADS") == nullptr) omp_set_num_threads(1);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  printLimits();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
