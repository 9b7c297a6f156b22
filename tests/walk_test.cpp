// The three ways to share rows among threads, on their own.
#include "core/walk.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace zopi {
namespace {

using Part = std::pair<std::ptrdiff_t, std::ptrdiff_t>;

class Teams : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { omp_set_num_threads(GetParam()); }
  void TearDown() override { omp_set_num_threads(omp_get_num_procs()); }
};

TEST_P(Teams, RowsAreSharedWithoutGapOrOverlap) {
  for (const int height : {1, 2, 4, 5, 17}) {
    std::vector<unsigned char> image(height * 10);
    std::atomic<int> bands = 0;
    walkRows(
        true, {7, height},
        [&](Image<unsigned char> rows, Extent e) {
          ++bands;
          for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
            for (std::ptrdiff_t x = 0; x < e.length; ++x) ++rows.row(y)[x];
          }
        },
        Image<unsigned char>{image.data(), 10});
    for (std::size_t i = 0; i < image.size(); ++i) ASSERT_EQ(i % 10 < 7 ? 1 : 0, image[i]);
    EXPECT_EQ(std::min(GetParam(), height), bands);
  }
}

TEST_P(Teams, SlicesBelongToOneThreadAndPartsDifferByOneRow) {
  std::mutex mutex;
  std::vector<Part> parts;
  EXPECT_EQ(zopStatusOk,
            walkSlices(true, 7, 100, [&](unsigned char* slice, std::ptrdiff_t begin, std::ptrdiff_t end) {
              for (int i = 0; i < 100; ++i) slice[i] = static_cast<unsigned char>(begin);
              const std::lock_guard lock(mutex);
              parts.emplace_back(begin, end);
              EXPECT_EQ(begin, slice[99]);
            }));
  std::sort(parts.begin(), parts.end());
  std::ptrdiff_t next = 0;
  for (const Part& part : parts) {
    EXPECT_EQ(next, part.first);
    EXPECT_NEAR(7.0 / GetParam(), static_cast<double>(part.second - part.first), 1.0);
    next = part.second;
  }
  EXPECT_EQ(7, next);
}

TEST_P(Teams, NoMemoryForSlicesTouchesNoRow) {
  bool called = false;
  const auto body = [&](unsigned char*, std::ptrdiff_t, std::ptrdiff_t) { called = true; };
  EXPECT_EQ(zopStatusNoMemory, walkSlices(true, 7, 0, body));
  if (GetParam() > 1) {
    EXPECT_EQ(zopStatusNoMemory, walkSlices(true, 7, INT32_MAX, body));  // above 31 bits in all
  }
  EXPECT_FALSE(called);
}

TEST_P(Teams, TheLastBandTakesTheRemainder) {
  for (const int height : {2, 7, 11}) {
    std::mutex mutex;
    std::vector<Part> bands;
    walkBands(height, [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
      const std::lock_guard lock(mutex);
      bands.emplace_back(begin, end);
    });
    std::sort(bands.begin(), bands.end());
    ASSERT_EQ(static_cast<std::size_t>(GetParam()), bands.size());
    for (int t = 0; t + 1 < GetParam(); ++t) EXPECT_EQ(height / GetParam(), bands[t].second - bands[t].first);
    EXPECT_EQ(height, bands.back().second);
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Teams, testing::Values(1, 2, 3, 5));

TEST(Walk, FoldsRegionsWithoutGaps) {
  std::vector<unsigned char> image(60);
  const auto rowsOf = [&](Extent e, auto... images) {
    std::ptrdiff_t rows = 0;
    walkSerial(
        e, [&](auto... rest) { rows = std::get<sizeof...(rest) - 1>(std::tuple(rest...)).rows; }, images...);
    return rows;
  };
  const Image<unsigned char> gapFree = {image.data(), 10}, gaps = {image.data(), 12};
  EXPECT_EQ(1, rowsOf({10, 5}, gapFree));
  EXPECT_EQ(5, rowsOf({10, 5}, gaps));
  EXPECT_EQ(5, rowsOf({10, 5}, gapFree, gaps));
  EXPECT_EQ(1, rowsOf({5, 6}, gapFree.as<unsigned char, 2>(), Image<unsigned char>{image.data(), 5}));
}

TEST(Walk, GatesAreExact) {
  EXPECT_FALSE(gate8u({320, 1}));
  EXPECT_TRUE(gate8u({336, 1}));
  EXPECT_FALSE(gate8u({1, 83}));
  EXPECT_TRUE(gate8u({1, 84}));
  EXPECT_FALSE(gate16s({160, 3}));
  EXPECT_TRUE(gate16s({160, 4}));
}

TEST(Walk, WholeSamplesDropTheRestOfAStep) {
  Zop16s sample = 0;
  EXPECT_EQ(4, inWholeSamples(Image<Zop16s>{&sample, 5}).step);
  EXPECT_EQ(4, inWholeSamples(Image<Zop16s>{&sample, 4}).step);
}

}  // namespace
}  // namespace zopi
