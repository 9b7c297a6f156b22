// The limits of this machine, then the rows of every subsystem.
//
//   zopi_bench --benchmark_filter='zopiAdd_8u.*'
#include <benchmark/benchmark.h>
#include <omp.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "harness.h"

namespace {

void printLimits() {
  std::printf("%12s %12s %12s %12s\n", "bytes", "copy GB/s", "read GB/s", "write GB/s");
  for (const std::size_t bytes : {4096u, 307200u, 8294400u, 33177600u}) {
    std::vector<unsigned char> from(bytes, 1), to(bytes, 2);
    const int times = static_cast<int>(200'000'000 / bytes) + 1;
    const double gigabytes = static_cast<double>(bytes) * times * 1e-9;
    std::printf("%12zu %12.1f %12.1f %12.1f\n", bytes,
                gigabytes / bench::secondsOfCopy(to.data(), from.data(), bytes, times),
                gigabytes / bench::secondsOfRead(from.data(), bytes, times),
                gigabytes / bench::secondsOfWrite(to.data(), bytes, times));
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
