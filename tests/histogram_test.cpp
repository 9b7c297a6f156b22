// Histograms against the definition of a bin.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
using Level = std::conditional_t<std::is_same_v<T, Zop32f>, Zop32f, Zop32s>;
template <class L>
using LevelSet = std::vector<L>;

// `count` levels from `first` on, `gap` apart.
template <class L>
LevelSet<L> evenly(L first, L gap, int count) {
  LevelSet<L> result(count);
  for (int k = 0; k < count; ++k) result[k] = first + static_cast<L>(k) * gap;
  return result;
}
template <class L>
LevelSet<L> reversed(LevelSet<L> levels) {
  std::reverse(levels.begin(), levels.end());
  return levels;
}
template <class L>
LevelSet<L> shuffled(LevelSet<L> levels) {
  std::shuffle(levels.begin(), levels.end(), std::mt19937(7));
  return levels;
}

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

// Sets of one, few and many levels, in and out of order, within and beyond the type.
template <class T>
std::vector<LevelSet<Level<T>>> levelSets() {
  if constexpr (std::is_same_v<T, Zop8u>)
    return {{0, 255},
            {10, 5, 20},
            {kMin, -7, 3, 3, 90, 256, kMax},
            evenly(0, 1, 257),
            shuffled(evenly(0, 1, 257))};
  else if constexpr (std::is_same_v<T, Zop16s>)
    return {{-32768, 32767},          {kMin, -32768, 0, 32767, 32768, kMax}, {100, -5, 20000, 20000, -30000},
            evenly(-33000, 220, 300), shuffled(evenly(-32768, 500, 131)),    reversed(evenly(-9, 3, 6))};
  else
    return {{-1.0f, 1.0f},
            {-INFINITY, -3.5f, 0.0f, 1e-40f, 100.0f, INFINITY},
            {0.0f, -10.0f, 200.0f, 200.0f, NAN, 1.0f},
            evenly(-1000.0f, 20.25f, 100),
            shuffled(evenly(-1000.0f, 20.25f, 20))};
}

template <class T>
std::vector<Zop32s> countsOf(const Call& call, int channel, const LevelSet<Level<T>>& levels) {
  std::vector<Zop32s> counts(levels.size() - 1);
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      const auto sample = call.sources[0].get<T>(x, y, channel);
      for (std::size_t k = 0; k < counts.size(); ++k)
        counts[k] += levels[k] <= sample && sample < levels[k + 1];
    }
  }
  return counts;
}

int colours(const registry::Function& f) {
  const std::string layout = f.sourceLayout;
  return layout == "C1" ? 1 : layout == "C4" ? 4 : 3;
}

// What a call gets for its channels, each with a set of levels of its own.
template <class T>
struct Channels {
  std::vector<LevelSet<Level<T>>> levels;
  std::vector<std::vector<Zop32s>> counts, expected;
  std::vector<Zop32s*> countsAt;
  std::vector<Level<T>*> levelsAt;
  std::vector<int> levelCounts;

  explicit Channels(std::vector<LevelSet<Level<T>>> ofEach)
      : levels(std::move(ofEach)), expected(levels.size()) {
    for (auto& set : levels) {
      counts.emplace_back(set.size() - 1, -1);
      countsAt.push_back(counts.back().data());
      levelsAt.push_back(set.data());
      levelCounts.push_back(static_cast<int>(set.size()));
    }
  }
  std::vector<registry::Value> values() {
    if (levels.size() == 1) return {countsAt[0], levelsAt[0], levelCounts[0]};
    return {countsAt.data(), levelsAt.data(), levelCounts.data()};
  }
};

template <class T>
void compareRange(const registry::Function& f, const std::vector<sweep::Shape>& shapes) {
  const auto sets = levelSets<T>();
  std::size_t next = 0;
  for (const sweep::Shape& shape : shapes) {
    std::vector<LevelSet<Level<T>>> chosen;
    for (int c = 0; c < colours(f); ++c) chosen.push_back(sets[next++ % sets.size()]);
    Channels<T> channels(chosen);
    sweep::Options options;
    options.parameters = {channels.values()};
    sweep::run(f, options,
               [&](const Call& call) {
                 for (int c = 0; c < colours(f); ++c)
                   channels.expected[c] = countsOf<T>(call, c, channels.levels[c]);
                 return zopStatusOk;
               },
               {shape});
    ASSERT_EQ(channels.expected, channels.counts) << f.name << " on " << shape.width;
  }
}

TEST(HistogramRange, EqualsTheDefinitionAtEveryShape) {
  sweep::onEveryTarget([] {
    const auto functions = sweep::functionsOf("HistogramRange");
    EXPECT_EQ(12u, functions.size());
    for (const registry::Function* f : functions) {
      auto shapes = sweep::shapes(*f);
      shapes.insert(shapes.end(), 5, {130, 97, 2, {true, 0}});  // enough for a table of words
      const std::string type = f->sourceType;
      const auto compare = type == "8u"    ? compareRange<Zop8u>
                           : type == "16s" ? compareRange<Zop16s>
                                           : compareRange<Zop32f>;
      ASSERT_NO_FATAL_FAILURE(compare(*f, shapes));
    }
  });
}

struct Even {
  int count, lower, upper;
};

LevelSet<Zop32s> evenLevels(Even e) {
  LevelSet<Zop32s> levels = {e.lower};
  const int n = e.count - 1, d = e.upper - e.lower;
  int rest = d % n;
  for (int k = 1; k <= n; ++k) {
    int next = levels.back() + d / n;
    if (d / n >= 0 && rest > 0) ++next, --rest;
    if (d / n < 0 && rest < 0) --next, ++rest;
    levels.push_back(next);
  }
  return levels;
}

template <class T>
void compareEven(const registry::Function& f, const std::vector<Even>& evens,
                 const std::vector<sweep::Shape>& shapes) {
  std::size_t next = 0;
  for (const sweep::Shape& shape : shapes) {
    std::vector<LevelSet<Zop32s>> unset;
    std::vector<Even> chosen;
    std::vector<int> lower, upper;
    for (int c = 0; c < colours(f); ++c) {
      chosen.push_back(evens[next++ % evens.size()]);
      unset.emplace_back(chosen[c].count, 77);
      lower.push_back(chosen[c].lower);
      upper.push_back(chosen[c].upper);
    }
    Channels<T> channels(unset);
    sweep::Options options;
    options.parameters = {channels.values()};
    if (colours(f) == 1)
      options.parameters[0].insert(options.parameters[0].end(), {lower[0], upper[0]});
    else
      options.parameters[0].insert(options.parameters[0].end(), {lower.data(), upper.data()});
    sweep::run(f, options,
               [&](const Call& call) {
                 for (int c = 0; c < colours(f); ++c)
                   channels.expected[c] = countsOf<T>(call, c, evenLevels(chosen[c]));
                 return zopStatusOk;
               },
               {shape});
    for (int c = 0; c < colours(f); ++c) ASSERT_EQ(evenLevels(chosen[c]), channels.levels[c]) << f.name;
    ASSERT_EQ(channels.expected, channels.counts) << f.name << " on " << shape.width;
  }
}

TEST(HistogramEven, EqualsTheDefinitionAtEveryShape) {
  const std::vector<Even> ofBytes = {{257, 0, 256}, {5, 0, 256}, {4, 0, 10},
                                     {7, 200, 100}, {9, 5, 0},   {3, -90, 1000}};
  // Bins of one width, few and many; with a rest; descending, flat, and so wide that one bin holds all.
  const std::vector<Even> ofWords = {{257, -32768, 32768},
                                     {6, -100, 100},
                                     {301, -32000, 28000},
                                     {8, 1000, -1000},
                                     {9, 5, 5},
                                     {1001, -30000, 30000},
                                     {1001, -30000, 30001},
                                     {300, kMin, kMin + 299 * 7000000},
                                     {3, 0, kMax - 1}};
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf("HistogramEven")) {
      auto shapes = sweep::shapes(*f);
      shapes.insert(shapes.end(), 9, {130, 97, 2, {true, 0}});
      if (f->sourceType == std::string("8u"))
        ASSERT_NO_FATAL_FAILURE(compareEven<Zop8u>(*f, ofBytes, shapes));
      else
        ASSERT_NO_FATAL_FAILURE(compareEven<Zop16s>(*f, ofWords, shapes));
    }
  });
}

// Every word in bins of every width: the division is never off by one.
TEST(HistogramEven, DividesExactly) {
  std::vector<Zop16s> words(65536);
  for (int i = 0; i < 65536; ++i) words[i] = static_cast<Zop16s>(i);
  for (int width = 1; width < 700; width += 3) {
    const int bins = std::max(65536 / width, 200), lower = -32768 - 5 * width, upper = lower + bins * width;
    std::vector<Zop32s> counts(bins), levels(bins + 1);
    ASSERT_EQ(zopStatusOk, zopiHistogramEven_16s_C1R(words.data(), 131072, {65536, 1}, counts.data(),
                                                     levels.data(), bins + 1, lower, upper));
    for (int k = 0; k < bins; ++k) {
      const int from = std::clamp(lower + k * width, -32768, 32768);
      ASSERT_EQ(std::clamp(lower + (k + 1) * width, -32768, 32768) - from, counts[k])
          << width << ", bin " << k;
    }
  }
}

TEST(HistogramByHand, BoundsAndChecks) {
  const Zop8u bytes[6] = {255, 0, 10, 5, 19, 20};
  Zop32s count[3] = {9, 9, 9};
  const Zop32s all[2] = {0, 256}, notAll[2] = {0, 255}, mixed[3] = {10, 5, 20};
  ASSERT_EQ(zopStatusOk, zopiHistogramRange_8u_C1R(bytes, 6, {6, 1}, count, all, 2));
  EXPECT_EQ(6, count[0]);
  ASSERT_EQ(zopStatusOk, zopiHistogramRange_8u_C1R(bytes, 6, {6, 1}, count, notAll, 2));
  EXPECT_EQ(5, count[0]);
  ASSERT_EQ(zopStatusOk, zopiHistogramRange_8u_C1R(bytes, 6, {6, 1}, count, mixed, 3));
  EXPECT_EQ(0, count[0]);
  EXPECT_EQ(3, count[1]);
  EXPECT_EQ(9, count[2]);

  Zop32s levels[5];
  ASSERT_EQ(zopStatusOk, zopiHistogramEven_8u_C1R(bytes, 6, {6, 1}, count, levels, 4, 0, 10));
  for (int k = 0; k < 4; ++k) EXPECT_EQ((std::vector<Zop32s>{0, 4, 7, 10})[k], levels[k]);

  // Of several channels, each is checked for both before the next, and the image last.
  Zop32s *counts[3] = {count, count, nullptr}, *someLevels[3] = {levels, levels, levels};
  const int good[3] = {2, 2, 2}, bad[3] = {2, 1, 2};
  EXPECT_EQ(zopStatusNullPointer, zopiHistogramRange_8u_C3R(bytes, 0, {0, 0}, counts, someLevels, good));
  EXPECT_EQ(zopStatusBadHistogramLevels,
            zopiHistogramRange_8u_C3R(bytes, 0, {0, 0}, counts, someLevels, bad));
  counts[2] = count;
  EXPECT_EQ(zopStatusBadSize, zopiHistogramRange_8u_AC4R(bytes, 0, {0, 0}, counts, someLevels, good));
  EXPECT_EQ(zopStatusBadSize, zopiHistogramRange_8u_C1R(bytes, 0, {0, 0}, count, levels, 1));
  EXPECT_EQ(zopStatusBadHistogramLevels, zopiHistogramRange_8u_C1R(bytes, 6, {6, 1}, count, levels, 1));
}

}  // namespace
