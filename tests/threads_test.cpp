// The same results whoever calls: with teams of any size, on every vector target, and from many threads at
// once.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/arguments.h"
#include "support/targets.h"

namespace {

using registry::Arguments;
using registry::Function;

using Bytes = std::vector<std::vector<unsigned char>>;

std::vector<const Function*> functions() {
  std::vector<const Function*> result;
  for (const Function& function : registry::functions()) {
    if (!function.makesOrReleasesContext()) result.push_back(&function);
  }
  return result;
}

struct Outcome {
  ZopStatus status;
  Bytes bytes;

  bool operator==(const Outcome&) const = default;
};

// Which not-a-number arithmetic gives is nobody's business.
void forgetNaNs(std::vector<unsigned char>& block) {
  for (std::size_t i = 0; i + sizeof(Zop32f) <= block.size(); i += sizeof(Zop32f)) {
    Zop32f number;
    std::memcpy(&number, block.data() + i, sizeof number);
    if (std::isnan(number)) std::memset(block.data() + i, 0xff, sizeof number);
  }
}

Outcome outcomeOf(const Function& function, ZopImageSize size) {
  Arguments arguments(function, size);
  const ZopStatus status = function.invoke(arguments.values.data());
  Outcome outcome = {status, arguments.bytes()};
  if (std::strncmp(function.destinationType, "32f", 3) == 0) {
    for (std::vector<unsigned char>& block : outcome.bytes) forgetNaNs(block);
  }
  return outcome;
}

// Results that are defined but for the rounding of a transform.
bool isDefinedToTheBit(const Function& function) {
  for (const char* start : {"FFT", "DCT8x8", "Conv", "CrossCorr", "SqrDistance"}) {
    if (std::strncmp(function.operation, start, std::strlen(start)) == 0) return false;
  }
  return true;
}

// The running sums of floats start anew with the rows of each thread.
bool dependsOnTheTeam(const Function& function) {
  return std::strncmp(function.name, "zopiFilterBox_32f", std::strlen("zopiFilterBox_32f")) == 0;
}

// Regions that are worth a team.
constexpr ZopImageSize kLarge = {205, 131};

TEST(Threads, TeamsAndTargetsChangeNothing) {
  const int team = omp_get_max_threads();
  for (const Function* function : functions()) {
    SCOPED_TRACE(function->name);
    omp_set_num_threads(1);
    const Outcome alone = outcomeOf(*function, kLarge);
    for (const int threads : {2, 3, 5}) {
      if (dependsOnTheTeam(*function)) break;
      omp_set_num_threads(threads);
      EXPECT_TRUE(alone == outcomeOf(*function, kLarge)) << threads << " threads";
    }
    omp_set_num_threads(1);
    if (!isDefinedToTheBit(*function)) continue;
    targets::forEach(
        [&](const std::string& target) { EXPECT_TRUE(alone == outcomeOf(*function, kLarge)) << target; });
  }
  omp_set_num_threads(team);
}

// Eight threads on images of their own: all at the same function, and each at another one.
TEST(Threads, CallAtOnce) {
  constexpr int kThreads = 8;
  constexpr ZopImageSize kSize = {67, 9};
  const std::vector<const Function*> all = functions();
  std::vector<Outcome> alone;
  for (const Function* function : all) alone.push_back(outcomeOf(*function, kSize));

  for (const bool apart : {false, true}) {
    std::vector<std::atomic<int>> wrong(all.size());
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        const std::size_t first = apart ? all.size() * t / kThreads : 0;
        for (std::size_t i = 0; i < all.size(); ++i) {
          const std::size_t at = (first + i) % all.size();
          if (outcomeOf(*all[at], kSize) != alone[at]) ++wrong[at];
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (std::size_t i = 0; i < all.size(); ++i) EXPECT_EQ(0, wrong[i]) << all[i]->name;
  }
}

}  // namespace
