// The masks of the fixed filters, as data.
//
// A window is summed along its rows first: `across` holds the kinds of sums that a row is good for, from its
// left tap to its right one. `down` says how often each kind of each row counts, top row first. Most masks
// have one kind: they are products of a column and a row.
#pragma once

namespace zopi {

struct Mask {
  int radius, kinds, divisor;
  int across[3][5];
  int down[5][3];

  constexpr int taps() const { return 2 * radius + 1; }
};

namespace masks {

constexpr Mask product(const int (&down)[3], const int (&across)[3], int divisor = 1) {
  return {1, 1, divisor, {{across[0], across[1], across[2]}}, {{down[0]}, {down[1]}, {down[2]}}};
}
constexpr Mask product(const int (&down)[5], const int (&across)[5], int divisor = 1) {
  return {2,
          1,
          divisor,
          {{across[0], across[1], across[2], across[3], across[4]}},
          {{down[0]}, {down[1]}, {down[2]}, {down[3]}, {down[4]}}};
}

// `weight` times the middle sample, less the sum of the window.
constexpr Mask middleLessSum3(int weight, int divisor = 1) {
  return {1, 2, divisor, {{-1, -1, -1}, {0, 1, 0}}, {{1, 0}, {1, weight}, {1, 0}}};
}
constexpr Mask middleLessSum5(int weight) {
  return {2, 2, 1, {{-1, -1, -1, -1, -1}, {0, 0, 1, 0, 0}}, {{1, 0}, {1, 0}, {1, weight}, {1, 0}, {1, 0}}};
}

// Symmetric from top to bottom: the outermost row, the one beside the middle, and the middle one.
constexpr Mask threeRows(const int (&outer)[5], const int (&beside)[5], const int (&middle)[5], int divisor) {
  Mask mask = {2, 3, divisor, {}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 1, 0}, {1, 0, 0}}};
  for (int i = 0; i < 5; ++i) {
    mask.across[0][i] = outer[i];
    mask.across[1][i] = beside[i];
    mask.across[2][i] = middle[i];
  }
  return mask;
}

inline constexpr Mask kPrewittVert = product({1, 1, 1}, {1, 0, -1});
inline constexpr Mask kPrewittHoriz = product({-1, 0, 1}, {1, 1, 1});
inline constexpr Mask kSobelVert3 = product({1, 2, 1}, {1, 0, -1});
inline constexpr Mask kSobelHoriz3 = product({-1, 0, 1}, {1, 2, 1});
inline constexpr Mask kSobelVert5 = product({1, 4, 6, 4, 1}, {1, 2, 0, -2, -1});
inline constexpr Mask kSobelHoriz5 = product({-1, -2, 0, 2, 1}, {1, 4, 6, 4, 1});
inline constexpr Mask kSobelVertSecond3 = product({1, 2, 1}, {1, -2, 1});
inline constexpr Mask kSobelHorizSecond3 = product({1, -2, 1}, {1, 2, 1});
inline constexpr Mask kSobelVertSecond5 = product({1, 4, 6, 4, 1}, {1, 0, -2, 0, 1});
inline constexpr Mask kSobelHorizSecond5 = product({1, 0, -2, 0, 1}, {1, 4, 6, 4, 1});
inline constexpr Mask kSobelCross3 = product({-1, 0, 1}, {1, 0, -1});
inline constexpr Mask kSobelCross5 = product({-1, -2, 0, 2, 1}, {1, 2, 0, -2, -1});
inline constexpr Mask kScharrVert = product({3, 10, 3}, {-1, 0, 1});
inline constexpr Mask kScharrHoriz = product({-1, 0, 1}, {3, 10, 3});
inline constexpr Mask kGauss3 = product({1, 2, 1}, {1, 2, 1}, 16);
inline constexpr Mask kGauss5 = threeRows({2, 7, 12, 7, 2}, {7, 31, 52, 31, 7}, {12, 52, 127, 52, 12}, 571);
inline constexpr Mask kLaplace3 = middleLessSum3(9);
inline constexpr Mask kLaplace5 = threeRows({-1, -3, -4, -3, -1}, {-3, 0, 6, 0, -3}, {-4, 6, 20, 6, -4}, 1);
inline constexpr Mask kHipass5 = middleLessSum5(25);
inline constexpr Mask kLowpass3 = product({1, 1, 1}, {1, 1, 1}, 9);
inline constexpr Mask kLowpass5 = product({1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}, 25);
inline constexpr Mask kSharpen = middleLessSum3(17, 8);

}  // namespace masks
}  // namespace zopi
