// The numbers of the luma and chroma conversions, with 16 fraction bits. Members of the family differ in
// coefficients, rounding and the treatment of odd pixels; every difference is meant.
#pragma once

#include <cstdint>

namespace zopi {

// Forward: Y = (yr R + yg G + yb B + offset) >> 16, and in the same way Cb and Cr over the sums of a chroma
// sample's pixels; of 2^n pixels, >> 16 + n.
struct ToYCbCr {
  struct Row {
    int r, g, b;
  };
  static constexpr Row kY = {16843, 33030, 6423};
  static constexpr Row kCb = {-9699, -19071, 28770};
  static constexpr Row kCr = {28770, -24117, -4653};

  int lumaOffset, oddLumaOffset;  // of even and of odd columns
  int chromaOffset;
};

inline constexpr ToYCbCr kYCbCrPixel = {0x108000, 0x108000, 0x808000};
inline constexpr ToYCbCr kYCbCrPairOf422 = {0x108000, 0x100000, 0x1010000};
inline constexpr ToYCbCr kYCbCrPairOf420 = {0x108000, 0x108000, 16793600};
inline constexpr ToYCbCr kYCbCrBlock = {0x108000, 0x108000, 33587200};

// Forward: with acc the weighted sum of a chroma sample's pixels, Y = acc >> 16, and
// U = ((sum(B) << 16) - acc + rounding) >> 16, times its factor, >> 16 + n for 2^n pixels, + 128; V in the
// same way.
struct ToYuv {
  static constexpr int kR = 19595, kG = 38470, kB = 7471;
  static constexpr int kU = 32244, kV = 57475;

  int rounding;
};

inline constexpr ToYuv kYuvPixel = {32767};
inline constexpr ToYuv kYuvPairOf422 = {65535};
inline constexpr ToYuv kYuvPairOf420 = {0};
inline constexpr ToYuv kYuvBlock = {0x1FFFF};
inline constexpr ToYuv kYuvCornerOf420 = {0};

// Inverse: R = (y Y + rv V + r) >> 16, G = (y Y + gu U + gv V + g) >> 16, B = (y Y + bu U + b) >> 16, all
// saturated, with U and V as they are stored.
struct FromLumaChroma {
  int y, rv, gu, gv, bu, r, g, b;
};

// The same, written for U - 128 and V - 128 and one offset.
constexpr FromLumaChroma centred(int y, int rv, int gu, int gv, int bu, int offset) {
  return {y, rv, gu, gv, bu, offset - 128 * rv, offset - 128 * (gu + gv), offset - 128 * bu};
}

inline constexpr FromLumaChroma kYCbCr = centred(76284, 104595, -25690, -53281, 132186, -1220544);
inline constexpr FromLumaChroma kYCbCrOfPlanes = centred(76282, 104593, -25689, -53279, 132184, -1187744);
inline constexpr FromLumaChroma kYCbCrOf422 = {76284,  104595,    -25690,  -53281,
                                               132186, -14608761, 8887730, -18140365};
inline constexpr FromLumaChroma kYCbCrRounded = centred(76284, 104595, -25690, -53281, 132186, -1187776);
inline constexpr FromLumaChroma kYCbCrOf411 = centred(76294, 104595, -25625, -53281, 132186, -1220704);
inline constexpr FromLumaChroma kYuv = centred(65536, 74711, -25821, -38076, 133169, 0);
inline constexpr FromLumaChroma kYuvOfPlanes = centred(65536, 74710, -25820, -38075, 133168, 0);
inline constexpr FromLumaChroma kYuvRounded = centred(65536, 74711, -25821, -38076, 133169, 32768);

// Blue first: what stands for red and blue, and for U and V, changes places. The caller hands over its
// planes of chroma the other way round.
constexpr FromLumaChroma blueFirst(FromLumaChroma set) {
  return {set.y, set.bu, set.gv, set.gu, set.rv, set.b, set.g, set.r};
}

// A 16-bit pixel of three fields: the sample of each is shifted right within R | G << 8 | B << 16 and masked.
// The low field is red's, or blue's where red and blue change places.
struct Packing {
  int shifts[3];
  uint32_t masks[3];
  bool lowBlue = false;
};

inline constexpr Packing kRGB565 = {{3, 5, 8}, {0x001f, 0x07e0, 0xf800}};
inline constexpr Packing kRGB555 = {{3, 6, 9}, {0x001f, 0x03e0, 0x7c00}};
inline constexpr Packing kRGB444 = {{4, 8, 12}, {0x000f, 0x00f0, 0x0f00}};
constexpr Packing withLowBlue(Packing packing) {
  packing.lowBlue = true;
  return packing;
}
inline constexpr Packing kBGR565 = withLowBlue(kRGB565);
inline constexpr Packing kBGR555 = withLowBlue(kRGB555);
inline constexpr Packing kBGR444 = withLowBlue(kRGB444);

}  // namespace zopi
