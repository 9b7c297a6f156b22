#include "tiles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace {

// A copy of the picture. Functions that work in place go on from here.
Image copyOf(const Image& picture) {
  Image copy = newColourImage(picture.size);
  check(zopiCopy_8u_C3R(picture.data(), picture.step, copy.data(), copy.step, picture.size));
  return copy;
}

// One of the three planes, as an image of its own.
Image planeOf(const Image& picture, int channel) {
  Image planes[3] = {newGrayImage(picture.size), newGrayImage(picture.size), newGrayImage(picture.size)};
  Zop8u* const starts[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
  check(zopiCopy_8u_C3P3R(picture.data(), picture.step, starts, planes[0].step, picture.size));
  return std::move(planes[channel]);
}

// One plane in its own colour: the other two stay black.
Image inItsColour(const Image& picture, int channel) {
  const Image plane = planeOf(picture, channel);
  const Zop8u black[3] = {0, 0, 0};
  Image tile = newColourImage(picture.size);
  check(zopiSet_8u_C3R(black, tile.data(), tile.step, tile.size));
  check(zopiCopy_8u_C1C3R(plane.data(), plane.step, tile.data() + channel, tile.step, tile.size));
  return tile;
}

Image red(const Image& picture) { return inItsColour(picture, 0); }
Image green(const Image& picture) { return inItsColour(picture, 1); }
Image blue(const Image& picture) { return inItsColour(picture, 2); }

Image brightened(const Image& picture) {
  const Zop8u amount[3] = {60, 60, 60};
  Image tile = newColourImage(picture.size);
  check(zopiAddC_8u_C3RSfs(picture.data(), picture.step, amount, tile.data(), tile.step, tile.size, 0));
  return tile;
}

Image halved(const Image& picture) {
  const Zop8u one[3] = {1, 1, 1};
  Image tile = newColourImage(picture.size);
  check(zopiMulC_8u_C3RSfs(picture.data(), picture.step, one, tile.data(), tile.step, tile.size, 1));
  return tile;
}

Image squared(const Image& picture) {
  Image tile = newColourImage(picture.size);
  check(zopiMul_8u_C3RSfs(picture.data(), picture.step, picture.data(), picture.step, tile.data(), tile.step,
                          tile.size, 8));
  return tile;
}

Image tinted(const Image& picture) {
  const Zop8u sepia[3] = {150, 118, 84};  // in 128ths
  Image tile = newColourImage(picture.size);
  check(zopiMulC_8u_C3RSfs(picture.data(), picture.step, sepia, tile.data(), tile.step, tile.size, 7));
  return tile;
}

// The picture moved right and down; what it uncovers keeps the picture.
Image shifted(const Image& picture, int distance) {
  Image copy = copyOf(picture);
  const int dx = std::min(distance, picture.size.width - 1);
  const int dy = std::min(distance, picture.size.height - 1);
  check(zopiCopy_8u_C3R(picture.data(), picture.step, copy.row(dy) + dx * 3, copy.step,
                        {picture.size.width - dx, picture.size.height - dy}));
  return copy;
}

Image difference(const Image& picture) {
  const Image neighbours = shifted(picture, 1);
  Image forth = newColourImage(picture.size);
  check(zopiSub_8u_C3RSfs(neighbours.data(), neighbours.step, picture.data(), picture.step, forth.data(),
                          forth.step, forth.size, -2));
  Image tile = newColourImage(picture.size);
  check(zopiSub_8u_C3RSfs(picture.data(), picture.step, neighbours.data(), neighbours.step, tile.data(),
                          tile.step, tile.size, -2));
  // Negative differences are 0, so one of the two is 0 everywhere and their sum is the magnitude.
  check(zopiAdd_8u_C3IRSfs(forth.data(), forth.step, tile.data(), tile.step, tile.size, 0));
  return tile;
}

Image averaged(const Image& picture) {
  const Image other = shifted(picture, 12);
  Image tile = newColourImage(picture.size);
  check(zopiAdd_8u_C3RSfs(picture.data(), picture.step, other.data(), other.step, tile.data(), tile.step,
                          tile.size, 1));
  return tile;
}

Image filledOutsideEllipse(const Image& picture) {
  const ZopImageSize size = picture.size;
  const Image mask = newGrayImage(size);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double dx = (2 * x + 1.0) / size.width - 1;
      const double dy = (2 * y + 1.0) / size.height - 1;
      mask.row(y)[x] = dx * dx + dy * dy > 0.9;
    }
  }
  const Zop8u paper[3] = {238, 232, 216};
  Image tile = copyOf(picture);
  check(zopiSet_8u_C3MR(paper, tile.data(), tile.step, size, mask.data(), mask.step));
  return tile;
}

Image replacedWhereDark(const Image& picture) {
  // Scaled by 2 to the power of -7, a sample up to 64 becomes 0: the mask is where green is brighter.
  const Image mask = planeOf(picture, 1);
  check(zopiMulC_8u_C1IRSfs(1, mask.data(), mask.step, mask.size, 7));
  const Zop8u violet[3] = {92, 40, 150};
  Image tile = newColourImage(picture.size);
  check(zopiSet_8u_C3R(violet, tile.data(), tile.step, tile.size));
  check(zopiCopy_8u_C3MR(picture.data(), picture.step, tile.data(), tile.step, tile.size, mask.data(),
                         mask.step));
  return tile;
}

Image lifted(const Image& picture) {
  // The root of 255 times 16 is 255: full scale stays full scale.
  Image tile = newColourImage(picture.size);
  check(zopiSqrt_8u_C3RSfs(picture.data(), picture.step, tile.data(), tile.step, tile.size, -4));
  return tile;
}

Image logarithmic(const Image& picture) {
  // No logarithm of a byte is above 5.54: times 46, they fill the range. What is black has none, and stays
  // black.
  const Zop8u most[3] = {184, 184, 184};
  Image tile = newColourImage(picture.size);
  const ZopStatus status =
      zopiLn_8u_C3RSfs(picture.data(), picture.step, tile.data(), tile.step, tile.size, -5);
  if (status != zopStatusLnZero) check(status);
  check(zopiMulC_8u_C3IRSfs(most, tile.data(), tile.step, tile.size, 7));
  return tile;
}

Image ratio(const Image& picture) {
  // Equal neighbours give 128; a warning tells of black ones, by which nothing can be divided.
  const Image neighbours = shifted(picture, 2);
  Image tile = newColourImage(picture.size);
  const ZopStatus status = zopiDiv_8u_C3RSfs(neighbours.data(), neighbours.step, picture.data(), picture.step,
                                             tile.data(), tile.step, tile.size, -7);
  if (status != zopStatusZeroDenominator) check(status);
  return tile;
}

// Every sample black or full: eight colours are left.
Image inEightColours(const Image& picture) {
  const Zop8u levels[3] = {112, 112, 112}, below[3] = {111, 111, 111};
  const Zop8u black[3] = {0, 0, 0}, full[3] = {255, 255, 255};
  Image tile = newColourImage(picture.size);
  check(zopiThreshold_LTVal_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size, levels,
                                   black));
  check(zopiThreshold_GTVal_8u_C3IR(tile.data(), tile.step, tile.size, below, full));
  return tile;
}

// Ink where neighbours differ, paper where all channels are close.
Image inkedWhereDifferent(const Image& picture) {
  const Image distance = difference(picture);
  const Image mask = newGrayImage(picture.size);
  const Zop8u close[3] = {90, 90, 90}, ink[3] = {40, 36, 60}, paper[3] = {238, 232, 216};
  check(zopiCompareC_8u_C3R(distance.data(), distance.step, close, mask.data(), mask.step, mask.size,
                            zopCmpLess));
  Image tile = newColourImage(picture.size);
  check(zopiSet_8u_C3R(ink, tile.data(), tile.step, tile.size));
  check(zopiSet_8u_C3MR(paper, tile.data(), tile.step, tile.size, mask.data(), mask.step));
  return tile;
}

Image inItsOwnBorder(const Image& picture) {
  const ZopImageSize middle = {picture.size.width / 2, picture.size.height / 2};
  const int left = picture.size.width / 4, top = picture.size.height / 4;
  Image tile = newColourImage(picture.size);
  check(zopiCopyReplicateBorder_8u_C3R(picture.data() + top * picture.step + 3 * left, picture.step, middle,
                                       tile.data(), tile.step, tile.size, top, left));
  return tile;
}

Image turnedOverInOtherColours(const Image& picture) {
  const Zop32s order[3] = {1, 2, 0};
  Image tile = newColourImage(picture.size);
  check(zopiMirror_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size, 1));
  check(zopiSwapChannels_8u_C3IR(tile.data(), tile.step, tile.size, order));
  return tile;
}

// The picture, opaque in the middle and fading outwards, over a ramp.
Image composedOverRamp(const Image& picture) {
  const ZopImageSize size = picture.size;
  const Image ramp = newGrayImage(size), alpha = newGrayImage(size), opaque = newGrayImage(size);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double dx = (2 * x + 1.0) / size.width - 1;
      const double dy = (2 * y + 1.0) / size.height - 1;
      ramp.row(y)[x] = static_cast<Zop8u>(255 * x / size.width);
      alpha.row(y)[x] = static_cast<Zop8u>(255 * std::clamp(1.6 - 1.3 * (dx * dx + dy * dy), 0.0, 1.0));
    }
  }
  check(zopiSet_8u_C1R(255, opaque.data(), opaque.step, size));
  const Image planes[3] = {planeOf(picture, 0), planeOf(picture, 1), planeOf(picture, 2)};
  const Image composedAlpha = newGrayImage(size);
  const Zop8u* const front[4] = {planes[0].data(), planes[1].data(), planes[2].data(), alpha.data()};
  const Zop8u* const back[4] = {ramp.data(), ramp.data(), ramp.data(), opaque.data()};
  Zop8u* const result[4] = {planes[0].data(), planes[1].data(), planes[2].data(), composedAlpha.data()};
  check(zopiAlphaComp_8u_AP4R(front, alpha.step, back, ramp.step, result, alpha.step, size, zopAlphaOver));
  Image tile = newColourImage(size);
  check(zopiCopy_8u_P3C3R(result, alpha.step, tile.data(), tile.step, size));
  return tile;
}

// The two highest bits of each sample, with the middle of their interval below.
Image posterised(const Image& picture) {
  const Zop8u highest[3] = {0xc0, 0xc0, 0xc0}, middle[3] = {0x20, 0x20, 0x20};
  Image tile = newColourImage(picture.size);
  check(zopiAndC_8u_C3R(picture.data(), picture.step, highest, tile.data(), tile.step, tile.size));
  check(zopiOrC_8u_C3IR(middle, tile.data(), tile.step, tile.size));
  return tile;
}

// Numbers from 0 to 1, of which the middle becomes full scale.
Image stretched(const Image& picture) {
  const ZopImageSize size = picture.size;
  const int step = size.width * 3 * static_cast<int>(sizeof(Zop32f));
  std::vector<Zop32f> numbers(static_cast<std::size_t>(size.width) * 3 * size.height);
  check(zopiScale_8u32f_C3R(picture.data(), picture.step, numbers.data(), step, size, 0.0f, 1.0f));
  Image tile = newColourImage(size);
  check(zopiScale_32f8u_C3R(numbers.data(), step, tile.data(), tile.step, size, 0.2f, 0.7f));
  return tile;
}

// YCbCr in 4:2:0: a plane of luma, and two with a sample for each 2 by 2 pixels.
struct Planes420 {
  Image planes[3];
  Zop8u* starts[3];
  int steps[3];

  explicit Planes420(const Image& picture) {
    const ZopImageSize half = {(picture.size.width + 1) / 2, (picture.size.height + 1) / 2};
    for (int i = 0; i < 3; ++i) {
      planes[i] = newGrayImage(i == 0 ? picture.size : half);
      starts[i] = planes[i].data();
      steps[i] = planes[i].step;
    }
    check(zopiRGBToYCbCr420_8u_C3P3R(picture.data(), picture.step, starts, steps, picture.size));
  }
  Image picture() const {
    Image result = newColourImage(planes[0].size);
    check(zopiYCbCr420ToRGB_8u_P3C3R(starts, steps, result.data(), result.step, result.size));
    return result;
  }
  void flatten(int plane, Zop8u value) {
    const Image& image = planes[plane];
    check(zopiSet_8u_C1R(value, image.data(), image.step, image.size));
  }
};

Image lumaOnly(const Image& picture) {
  Planes420 planes(picture);
  planes.flatten(1, 128);
  planes.flatten(2, 128);
  return planes.picture();
}

// One of the two chromas, on gray of medium luma.
Image chromaOnly(const Image& picture, int plane) {
  Planes420 planes(picture);
  planes.flatten(0, 128);
  planes.flatten(3 - plane, 128);
  return planes.picture();
}
Image blueChroma(const Image& picture) { return chromaOnly(picture, 1); }
Image redChroma(const Image& picture) { return chromaOnly(picture, 2); }

// The hue of every pixel, as pure as it gets. Grays have none, and show as red.
Image pureHues(const Image& picture) {
  const Zop8u keepHue[3] = {255, 0, 0}, full[3] = {0, 255, 255};
  Image tile = newColourImage(picture.size);
  check(zopiRGBToHSV_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size));
  check(zopiAndC_8u_C3IR(keepHue, tile.data(), tile.step, tile.size));
  check(zopiOrC_8u_C3IR(full, tile.data(), tile.step, tile.size));
  check(zopiHSVToRGB_8u_C3R(tile.data(), tile.step, tile.data(), tile.step, tile.size));
  return tile;
}

Image saturated(const Image& picture) {
  const Zop8u more[3] = {2, 2, 5};  // in halves
  Image tile = newColourImage(picture.size);
  check(zopiRGBToHLS_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size));
  check(zopiMulC_8u_C3IRSfs(more, tile.data(), tile.step, tile.size, 1));
  check(zopiHLSToRGB_8u_C3R(tile.data(), tile.step, tile.data(), tile.step, tile.size));
  return tile;
}

Image linearLight(const Image& picture) {
  Image tile = newColourImage(picture.size);
  check(zopiGammaInv_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size));
  return tile;
}

Image sepia(const Image& picture) {
  const Zop32f twist[12] = {0.393f, 0.769f, 0.189f, 0, 0.349f, 0.686f, 0.168f, 0, 0.272f, 0.534f, 0.131f, 0};
  Image tile = newColourImage(picture.size);
  check(zopiColorTwist32f_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size, twist));
  return tile;
}

Image gray(const Image& picture) {
  const Image luma = newGrayImage(picture.size);
  check(zopiRGBToGray_8u_C3C1R(picture.data(), picture.step, luma.data(), luma.step, luma.size));
  Image tile = newColourImage(picture.size);
  for (int c = 0; c < 3; ++c)
    check(zopiCopy_8u_C1C3R(luma.data(), luma.step, tile.data() + c, tile.step, tile.size));
  return tile;
}

// A copy of the picture that has two more pixels on each side, as a filter wants them.
Image withHalo(const Image& picture) {
  const ZopImageSize size = {picture.size.width + 4, picture.size.height + 4};
  Image wide = newColourImage(size);
  check(zopiCopyReplicateBorder_8u_C3R(picture.data(), picture.step, picture.size, wide.data(), wide.step,
                                       size, 2, 2));
  return wide;
}

// What a filter makes of the picture.
template <class... P>
Image filtered(const Image& picture, ZopStatus (*filter)(const Zop8u*, int, Zop8u*, int, ZopImageSize, P...),
               P... parameters) {
  const Image wide = withHalo(picture);
  Image tile = newColourImage(picture.size);
  check(filter(wide.row(2) + 2 * 3, wide.step, tile.data(), tile.step, tile.size, parameters...));
  return tile;
}

Image smoothed(const Image& picture) { return filtered(picture, zopiFilterGauss_8u_C3R, 55); }
Image sharpened(const Image& picture) { return filtered(picture, zopiFilterSharpen_8u_C3R); }
Image details(const Image& picture) { return filtered(picture, zopiFilterLaplace_8u_C3R, 55); }

// Edges that rise from top to bottom, and those that fall from left to right.
Image edges(const Image& picture) {
  Image tile = filtered(picture, zopiFilterSobelHoriz_8u_C3R);
  const Image falling = filtered(picture, zopiFilterSobelVert_8u_C3R);
  check(zopiAdd_8u_C3IRSfs(falling.data(), falling.step, tile.data(), tile.step, tile.size, 0));
  return tile;
}

Image averagedBy5x5(const Image& picture) {
  return filtered(picture, zopiFilterBox_8u_C3R, ZopImageSize{5, 5}, ZopImagePoint{2, 2});
}

// The picture with every eighth sample or so at one end of its range.
Image salted(const Image& picture) {
  Image tile = copyOf(picture);
  std::uint32_t random = 1;
  for (int y = 0; y < tile.size.height; ++y) {
    for (int i = 0; i < 3 * tile.size.width; ++i) {
      random = random * 1664525 + 1013904223;
      if (random >> 29 == 0) tile.row(y)[i] = (random & 0x10000000) == 0 ? 0 : 255;
    }
  }
  return tile;
}
Image cleaned(const Image& picture) {
  return filtered(salted(picture), zopiFilterMedian_8u_C3R, ZopImageSize{3, 3}, ZopImagePoint{1, 1});
}

Image brightest(const Image& picture) {
  return filtered(picture, zopiFilterMax_8u_C3R, ZopImageSize{5, 5}, ZopImagePoint{2, 2});
}

// An opening by a disc of 5x5: light details that are smaller than it disappear.
Image opened(const Image& picture) {
  const Zop8u disc[25] = {0, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1, 1, 1, 0};
  const Zop8u* const mask = disc;
  const ZopImageSize size = {5, 5};
  const ZopImagePoint middle = {2, 2};
  return filtered(filtered(picture, zopiErode_8u_C3R, mask, size, middle), zopiDilate_8u_C3R, mask, size,
                  middle);
}

// A pixel, and by how much those above and left of it are brighter than those below and right.
Image embossed(const Image& picture) {
  const Zop32s kernel[9] = {-2, -1, 0, -1, 1, 1, 0, 1, 2};
  const Zop32s* const weights = kernel;
  return filtered(picture, zopiFilter_8u_C3R, weights, ZopImageSize{3, 3}, ZopImagePoint{1, 1}, 1);
}

// The picture at 0.4 of its size in the middle of itself.
Image withThumbnail(const Image& picture) {
  Image tile = copyOf(picture);
  const ZopImageSize small = {picture.size.width * 2 / 5, picture.size.height * 2 / 5};
  Zop8u* middle =
      tile.row((picture.size.height - small.height) / 2) + (picture.size.width - small.width) / 2 * 3;
  check(zopiResize_8u_C3R(picture.data(), picture.size, picture.step,
                          {0, 0, picture.size.width, picture.size.height}, middle, tile.step, small, 0.4, 0.4,
                          zopInterSuper));
  return tile;
}

// The middle of the picture, enlarged: its left half by one interpolation, its right half by another.
Image enlargedTwoWays(const Image& picture, double factor, int left, int right) {
  Image tile = newColourImage(picture.size);
  const ZopImageSize half = {picture.size.width / 2, picture.size.height};
  for (const int side : {0, 1}) {
    const ZopImageRect all = {0, 0, picture.size.width, picture.size.height};
    check(zopiResizeCenter_8u_C3R(
        picture.data(), picture.size, picture.step, all, tile.data() + side * half.width * 3, tile.step, half,
        factor, factor, picture.size.width / 2.0, picture.size.height / 2.0, side == 0 ? left : right));
  }
  return tile;
}
Image enlargedSmoothly(const Image& picture) {
  return enlargedTwoWays(picture, 1.5, zopInterLinear, zopInterCubic);
}
Image enlargedByRepeating(const Image& picture) {
  return enlargedTwoWays(picture, 6, zopInterNearest, zopInterLinear);
}

constexpr ZopImageRect whole(ZopImageSize size) { return {0, 0, size.width, size.height}; }

Image blackImage(ZopImageSize size) {
  const Zop8u black[3] = {0, 0, 0};
  Image image = newColourImage(size);
  check(zopiSet_8u_C3R(black, image.data(), image.step, size));
  return image;
}

// Turned about its middle by 20 degrees and made smaller, its edges blended with the ground.
Image turned(const Image& picture) {
  const auto [width, height] = picture.size;
  constexpr double kScale = 0.75, kCosine = 0.93969262 * kScale, kSine = 0.34202014 * kScale;
  const double x = (width - 1) / 2.0, y = (height - 1) / 2.0;
  const double coeffs[2][3] = {{kCosine, kSine, x - kCosine * x - kSine * y},
                               {-kSine, kCosine, y + kSine * x - kCosine * y}};
  Image tile = blackImage(picture.size);
  check(zopiWarpAffine_8u_C3R(picture.data(), picture.size, picture.step, whole(picture.size), tile.data(),
                              tile.step, whole(tile.size), coeffs, int{zopInterCubic} | zopSmoothEdge));
  return tile;
}

// Leaning back.
Image inPerspective(const Image& picture) {
  const double w = picture.size.width - 1, h = picture.size.height - 1;
  const double quad[4][2] = {
      {0.27 * w, 0.12 * h}, {0.77 * w, 0.08 * h}, {0.97 * w, 0.93 * h}, {0.03 * w, 0.88 * h}};
  double coeffs[3][3];
  check(zopiGetPerspectiveTransform(whole(picture.size), quad, coeffs));
  Image tile = blackImage(picture.size);
  check(zopiWarpPerspective_8u_C3R(picture.data(), picture.size, picture.step, whole(picture.size),
                                   tile.data(), tile.step, whole(tile.size), coeffs,
                                   int{zopInterLinear} | zopSmoothEdge));
  return tile;
}

// The middle of the picture, stretched to another quad.
Image stretchedBetweenQuads(const Image& picture) {
  const double w = picture.size.width - 1, h = picture.size.height - 1;
  const double from[4][2] = {{0.2 * w, 0.2 * h}, {0.8 * w, 0.1 * h}, {0.9 * w, 0.9 * h}, {0.1 * w, 0.8 * h}};
  const double to[4][2] = {
      {0.02 * w, 0.3 * h}, {0.95 * w, 0.05 * h}, {0.75 * w, 0.7 * h}, {0.2 * w, 0.97 * h}};
  Image tile = blackImage(picture.size);
  check(zopiWarpBilinearQuad_8u_C3R(picture.data(), picture.size, picture.step, whole(picture.size), from,
                                    tile.data(), tile.step, whole(tile.size), to, zopInterLinear));
  return tile;
}

// A swirl: pixels turn about the middle, the more so the closer they are to it.
Image swirled(const Image& picture) {
  const auto [width, height] = picture.size;
  std::vector<Zop32f> xMap(static_cast<std::size_t>(width) * height), yMap(xMap.size());
  const double cx = (width - 1) / 2.0, cy = (height - 1) / 2.0, reach = std::min(cx, cy);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double dx = x - cx, dy = y - cy, near = std::max(0.0, 1 - std::hypot(dx, dy) / reach);
      const double angle = 3 * near * near, c = std::cos(angle), s = std::sin(angle);
      const std::size_t i = static_cast<std::size_t>(y) * width + x;
      xMap[i] = static_cast<Zop32f>(cx + c * dx - s * dy);
      yMap[i] = static_cast<Zop32f>(cy + s * dx + c * dy);
    }
  }
  const int step = width * static_cast<int>(sizeof(Zop32f));
  Image tile = copyOf(picture);
  check(zopiRemap_8u_C3R(picture.data(), picture.size, picture.step, whole(picture.size), xMap.data(), step,
                         yMap.data(), step, tile.data(), tile.step, tile.size, zopInterCubic));
  return tile;
}

// How strong each frequency is, in the order in which a transform of real samples stores them: real parts and
// imaginary ones in turn. Low frequencies are on the left, above and below.
Image packedSpectrum(const Image& picture) {
  constexpr int kOrder = 8, kSide = 1 << kOrder, kStep = kSide * static_cast<int>(sizeof(Zop32f));
  const auto [width, height] = picture.size;
  const Image luma = newGrayImage(picture.size), square = newGrayImage({kSide, kSide});
  check(zopiRGBToGray_8u_C3C1R(picture.data(), picture.step, luma.data(), luma.step, luma.size));
  check(zopiResize_8u_C1R(luma.data(), luma.size, luma.step, {0, 0, width, height}, square.data(),
                          square.step, square.size, 1.0 * kSide / width, 1.0 * kSide / height,
                          zopInterLinear));
  std::vector<Zop32f> spectrum(kSide * kSide);
  Zop32f* const at = spectrum.data();
  ZopFFTSpec_R_32f* context = nullptr;
  check(zopiFFTInitAlloc_R_32f(&context, kOrder, kOrder, ZOP_FFT_DIV_FWD_BY_N, 0));
  check(zopiConvert_8u32f_C1R(square.data(), square.step, at, kStep, square.size));
  check(zopiFFTFwd_RToPack_32f_C1R(at, kStep, at, kStep, context, nullptr));
  check(zopiFFTFree_R_32f(context));
  check(zopiAbs_32f_C1IR(at, kStep, square.size));
  check(zopiAddC_32f_C1IR(0.002f, at, kStep, square.size));
  check(zopiLn_32f_C1IR(at, kStep, square.size));
  check(zopiScale_32f8u_C1R(at, kStep, square.data(), square.step, square.size, -6, 2));
  check(zopiResize_8u_C1R(square.data(), square.size, square.step, {0, 0, kSide, kSide}, luma.data(),
                          luma.step, luma.size, 1.0 * width / kSide, 1.0 * height / kSide, zopInterNearest));
  Image tile = newColourImage(picture.size);
  for (int c = 0; c < 3; ++c)
    check(zopiCopy_8u_C1C3R(luma.data(), luma.step, tile.data() + c, tile.step, tile.size));
  return tile;
}

// Smeared along a diagonal, as by a camera that moved.
Image smeared(const Image& picture) {
  constexpr int kSide = 25;
  std::vector<Zop8u> streak(kSide * kSide * 3);
  for (int i = 0; i < kSide; ++i) {
    for (int c = 0; c < 3; ++c) streak[(i * kSide + i) * 3 + c] = 1;
  }
  const ZopImageSize size = {picture.size.width + kSide - 1, picture.size.height + kSide - 1};
  const Image full = newColourImage(size);
  check(zopiConvFull_8u_C3R(picture.data(), picture.step, picture.size, streak.data(), kSide * 3,
                            {kSide, kSide}, full.data(), full.step, kSide));
  Image tile = newColourImage(picture.size);
  check(zopiCopy_8u_C3R(full.row(kSide / 2) + kSide / 2 * 3, full.step, tile.data(), tile.step, tile.size));
  return tile;
}

// How much each place looks like a small part of the picture, whatever its brightness, and a frame around the
// place that does most.
Image matchMap(const Image& picture) {
  const auto [width, height] = picture.size;
  const int side = height / 6;
  const ZopImageSize part = {side, side};
  const Image luma = newGrayImage(picture.size);
  std::vector<Zop32f> map(static_cast<std::size_t>(width) * height);
  const int mapStep = width * static_cast<int>(sizeof(Zop32f));
  check(zopiRGBToGray_8u_C3C1R(picture.data(), picture.step, luma.data(), luma.step, luma.size));
  check(zopiCrossCorrSame_NormLevel_8u32f_C1R(luma.data(), luma.step, luma.size,
                                              luma.row(height / 3) + width * 2 / 5, luma.step, part,
                                              map.data(), mapStep));
  Zop32f most;
  int x, y;
  check(zopiMaxIndx_32f_C1R(map.data(), mapStep, luma.size, &most, &x, &y));
  check(zopiScale_32f8u_C1R(map.data(), mapStep, luma.data(), luma.step, luma.size, 0, 1));
  Image tile = newColourImage(picture.size);
  for (int c = 0; c < 3; ++c)
    check(zopiCopy_8u_C1C3R(luma.data(), luma.step, tile.data() + c, tile.step, tile.size));
  const Zop8u colour[3] = {255, 160, 0};
  constexpr int kLine = 2;
  Zop8u* const corner = tile.row(y - side / 2) + (x - side / 2) * 3;
  const int down = (side - kLine) * tile.step, across = (side - kLine) * 3;
  check(zopiSet_8u_C3R(colour, corner, tile.step, {side, kLine}));
  check(zopiSet_8u_C3R(colour, corner + down, tile.step, {side, kLine}));
  check(zopiSet_8u_C3R(colour, corner, tile.step, {kLine, side}));
  check(zopiSet_8u_C3R(colour, corner + across, tile.step, {kLine, side}));
  return tile;
}

constexpr int kBytes = 256;
using Counts = std::array<std::array<Zop32s, kBytes>, 3>;

// How many samples of each channel have each value.
Counts countsOf(const Image& picture) {
  Counts counts;
  std::array<std::array<Zop32s, kBytes + 1>, 3> levels;
  Zop32s* const countsAt[3] = {counts[0].data(), counts[1].data(), counts[2].data()};
  Zop32s* const levelsAt[3] = {levels[0].data(), levels[1].data(), levels[2].data()};
  const int levelCounts[3] = {kBytes + 1, kBytes + 1, kBytes + 1}, lower[3] = {},
            upper[3] = {kBytes, kBytes, kBytes};
  check(zopiHistogramEven_8u_C3R(picture.data(), picture.step, picture.size, countsAt, levelsAt, levelCounts,
                                 lower, upper));
  return counts;
}

// The histograms of the channels, each as light of its colour, with the most frequent values cut off.
Image histogramPlot(const Image& picture) {
  const Counts counts = countsOf(picture);
  const auto [width, height] = picture.size;
  Image tile = newColourImage(picture.size);
  const Zop8u dark[3] = {24, 24, 24};
  check(zopiSet_8u_C3R(dark, tile.data(), tile.step, tile.size));
  const double top = 3.0 * width * height / kBytes;
  for (int x = 0; x < width; ++x) {
    for (int c = 0; c < 3; ++c) {
      const double share = std::min(counts[c][x * kBytes / width] / top, 1.0);
      const int bar = static_cast<int>(share * height);
      if (bar > 0) check(zopiSet_8u_C3CR(240, tile.row(height - bar) + 3 * x + c, tile.step, {1, bar}));
    }
  }
  return tile;
}

// Each channel by a curve that makes all of its values about as frequent.
Image equalised(const Image& picture) {
  const Counts counts = countsOf(picture);
  std::array<Zop32s, kBytes + 1> levels;
  std::array<std::array<Zop32s, kBytes + 1>, 3> values;
  for (int i = 0; i <= kBytes; ++i) levels[i] = i;
  for (int c = 0; c < 3; ++c) {
    std::int64_t below = 0;
    for (int i = 0; i < kBytes; ++i) {
      below += counts[c][i];
      values[c][i] =
          static_cast<Zop32s>(255 * below / (picture.size.width * std::int64_t{picture.size.height}));
    }
    values[c][kBytes] = 255;
  }
  const Zop32s* const levelsAt[3] = {levels.data(), levels.data(), levels.data()};
  const Zop32s* const valuesAt[3] = {values[0].data(), values[1].data(), values[2].data()};
  const int levelCounts[3] = {kBytes + 1, kBytes + 1, kBytes + 1};
  Image tile = newColourImage(picture.size);
  check(zopiLUT_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size, valuesAt, levelsAt,
                       levelCounts));
  return tile;
}

// A curve through five points: dark and light samples change places twice.
Image curved(const Image& picture) {
  const Zop32s levels[5] = {0, 64, 128, 192, 256}, values[5] = {20, 200, 60, 240, 120};
  const Zop32s *const levelsAt[3] = {levels, levels, levels}, *const valuesAt[3] = {values, values, values};
  const int levelCounts[3] = {5, 5, 5};
  Image tile = newColourImage(picture.size);
  check(zopiLUT_Cubic_8u_C3R(picture.data(), picture.step, tile.data(), tile.step, tile.size, valuesAt,
                             levelsAt, levelCounts));
  return tile;
}

// A cross at the centroid of the light, and about it the box whose sides are twice the deviations.
Image withCentroid(const Image& picture) {
  Image tile = copyOf(picture);
  const Image luma = newGrayImage(picture.size);
  check(zopiRGBToGray_8u_C3C1R(picture.data(), picture.step, luma.data(), luma.step, luma.size));
  ZopMomentState* state = nullptr;
  check(zopiMomentInitAlloc_64f(&state, 0));
  check(zopiMoments64f_8u_C1R(luma.data(), luma.step, luma.size, state));
  double m00, m10, m01, mu20, mu02;
  check(zopiGetSpatialMoment_64f(state, 0, 0, 0, {0, 0}, &m00));
  check(zopiGetSpatialMoment_64f(state, 1, 0, 0, {0, 0}, &m10));
  check(zopiGetSpatialMoment_64f(state, 0, 1, 0, {0, 0}, &m01));
  check(zopiGetCentralMoment_64f(state, 2, 0, 0, &mu20));
  check(zopiGetCentralMoment_64f(state, 0, 2, 0, &mu02));
  check(zopiMomentFree_64f(state));
  const int x = static_cast<int>(m10 / m00), y = static_cast<int>(m01 / m00);
  const int dx = static_cast<int>(std::sqrt(mu20 / m00)), dy = static_cast<int>(std::sqrt(mu02 / m00));
  const auto bar = [&tile](int left, int top, int right, int bottom) {
    const Zop8u yellow[3] = {255, 220, 0};
    left = std::clamp(left, 0, tile.size.width - 1), right = std::clamp(right, left + 1, tile.size.width);
    top = std::clamp(top, 0, tile.size.height - 1), bottom = std::clamp(bottom, top + 1, tile.size.height);
    check(zopiSet_8u_C3R(yellow, tile.row(top) + 3 * left, tile.step, {right - left, bottom - top}));
  };
  bar(x - 8, y - 1, x + 9, y + 2);
  bar(x - 1, y - 8, x + 2, y + 9);
  for (const int side : {-1, 1}) {
    bar(x + side * dx - 1, y - dy, x + side * dx + 1, y + dy);
    bar(x - dx, y + side * dy - 1, x + dx, y + side * dy + 1);
  }
  return tile;
}

// Sums and differences of neighbours, down and across: a quarter of the picture, and what it lacks around
// gray.
Image subbands(const Image& picture) {
  constexpr Zop32f kSum[] = {.5f, .5f}, kDifference[] = {.5f, -.5f};
  const ZopImageSize half = {picture.size.width / 2, picture.size.height / 2};
  const int samples = picture.size.width * 3, step = samples * static_cast<int>(sizeof(Zop32f));
  std::vector<Zop32f> numbers(static_cast<std::size_t>(samples) * picture.size.height), bands(numbers);
  check(zopiConvert_8u32f_C3R(picture.data(), picture.step, numbers.data(), step, picture.size));

  ZopWTFwdState_32f_C3R* context = nullptr;
  check(zopiWTFwdInitAlloc_32f_C3R(&context, kSum, 2, 1, kDifference, 2, 1));
  int bytes = 0;
  check(zopiWTFwdGetBufSize_C3R(context, &bytes));
  std::vector<Zop8u> buffer(bytes);
  Zop32f* const approx = bands.data();
  Zop32f* const detailY = approx + half.width * 3;
  Zop32f* const detailX = approx + static_cast<std::ptrdiff_t>(half.height) * samples;
  Zop32f* const detailXY = detailX + half.width * 3;
  check(zopiWTFwd_32f_C3R(numbers.data(), step, approx, step, detailX, step, detailY, step, detailXY, step,
                          half, context, buffer.data()));
  check(zopiWTFwdFree_32f_C3R(context));

  const Zop32f four[] = {4, 4, 4}, gray[] = {128, 128, 128};
  for (Zop32f* detail : {detailX, detailY, detailXY}) {
    check(zopiMulC_32f_C3IR(four, detail, step, half));
    check(zopiAddC_32f_C3IR(gray, detail, step, half));
  }
  Image tile = copyOf(picture);
  constexpr int kToNearest = 1;
  check(zopiConvert_32f8u_C3R(approx, step, tile.data(), tile.step, {2 * half.width, 2 * half.height},
                              kToNearest));
  return tile;
}

// Each block of 8x8 made of its six lowest cosines.
Image fewCosines(const Image& picture) {
  constexpr int kSide = 8;
  Image tile = copyOf(picture);
  Zop16s block[kSide * kSide];
  for (int c = 0; c < 3; ++c) {
    const Image plane = planeOf(picture, c);
    for (int y = 0; y + kSide <= plane.size.height; y += kSide) {
      for (int x = 0; x + kSide <= plane.size.width; x += kSide) {
        check(zopiDCT8x8FwdLS_8u16s_C1R(plane.row(y) + x, plane.step, block, -128));
        for (int v = 0; v < kSide; ++v) {
          for (int u = 0; u < kSide; ++u) {
            if (u + v > 2) block[v * kSide + u] = 0;
          }
        }
        check(zopiDCT8x8InvLSClip_16s8u_C1R(block, plane.row(y) + x, plane.step, 128, 0, 255));
      }
    }
    check(zopiCopy_8u_C1C3R(plane.data(), plane.step, tile.data() + c, tile.step, tile.size));
  }
  return tile;
}

// Two levels a channel: the left half by thresholds, the right half by diffused errors.
Image twoLevels(const Image& picture) {
  Image tile = newColourImage(picture.size);
  const int left = picture.size.width / 2;
  check(zopiReduceBits_8u_C3R(picture.data(), picture.step, tile.data(), tile.step,
                              {left, picture.size.height}, 0, zopDitherBayer, 2));
  check(zopiReduceBits_8u_C3R(picture.data() + left * 3, picture.step, tile.data() + left * 3, tile.step,
                              {picture.size.width - left, picture.size.height}, 0, zopDitherFS, 2));
  return tile;
}

Image withNoise(const Image& picture) {
  Image tile = copyOf(picture);
  unsigned seed = 1;
  check(zopiAddRandGauss_Direct_8u_C3IR(tile.data(), tile.step, tile.size, 0, 30, &seed));
  return tile;
}

Image chirp(const Image& picture) {
  Image tile = newColourImage(picture.size);
  check(zopiImageJaehne_8u_C3R(tile.data(), tile.step, tile.size));
  return tile;
}

constexpr Tile kTiles[] = {
    {"The picture", "zopiCopy_8u_C3R", copyOf},
    {"Red plane", "zopiCopy_8u_C3P3R, zopiCopy_8u_C1C3R", red},
    {"Green plane", "zopiCopy_8u_C3P3R, zopiCopy_8u_C1C3R", green},
    {"Blue plane", "zopiCopy_8u_C3P3R, zopiCopy_8u_C1C3R", blue},
    {"Brightened by 60", "zopiAddC_8u_C3RSfs", brightened},
    {"Halved", "zopiMulC_8u_C3RSfs, scale factor 1", halved},
    {"Multiplied with itself", "zopiMul_8u_C3RSfs, scale factor 8", squared},
    {"Tinted", "zopiMulC_8u_C3RSfs, scale factor 7", tinted},
    {"Four times the difference of neighbours", "zopiSub_8u_C3RSfs, zopiAdd_8u_C3IRSfs", difference},
    {"Averaged with its shifted copy", "zopiAdd_8u_C3RSfs, scale factor 1", averaged},
    {"Fill outside an ellipse", "zopiSet_8u_C3MR", filledOutsideEllipse},
    {"A colour where green is dark", "zopiMulC_8u_C1IRSfs, zopiCopy_8u_C3MR", replacedWhereDark},
    {"Shadows lifted by square roots", "zopiSqrt_8u_C3RSfs, scale factor -4", lifted},
    {"Logarithms", "zopiLn_8u_C3RSfs, zopiMulC_8u_C3IRSfs", logarithmic},
    {"Ratio to neighbours", "zopiDiv_8u_C3RSfs, scale factor -7", ratio},
    {"Eight colours", "zopiThreshold_LTVal_8u_C3R, _GTVal_8u_C3IR", inEightColours},
    {"Ink where neighbours differ", "zopiCompareC_8u_C3R, zopiSet_8u_C3MR", inkedWhereDifferent},
    {"Over a ramp, fading outwards", "zopiAlphaComp_8u_AP4R, zopiCopy_8u_P3C3R", composedOverRamp},
    {"Four levels a channel", "zopiAndC_8u_C3R, zopiOrC_8u_C3IR", posterised},
    {"Contrast stretched", "zopiScale_8u32f_C3R, zopiScale_32f8u_C3R", stretched},
    {"The middle, its edges repeated", "zopiCopyReplicateBorder_8u_C3R", inItsOwnBorder},
    {"Mirrored, channels in turn", "zopiMirror_8u_C3R, zopiSwapChannels_8u_C3IR", turnedOverInOtherColours},
    {"Luma alone, Y", "zopiRGBToYCbCr420_8u_C3P3R and back", lumaOnly},
    {"Chroma alone, Cb", "zopiRGBToYCbCr420_8u_C3P3R and back", blueChroma},
    {"Chroma alone, Cr", "zopiRGBToYCbCr420_8u_C3P3R and back", redChroma},
    {"Hues at their purest", "zopiRGBToHSV_8u_C3R, zopiHSVToRGB_8u_C3R", pureHues},
    {"Saturation times 2.5", "zopiRGBToHLS_8u_C3R, zopiHLSToRGB_8u_C3R", saturated},
    {"In linear light", "zopiGammaInv_8u_C3R", linearLight},
    {"Sepia", "zopiColorTwist32f_8u_C3R", sepia},
    {"Gray", "zopiRGBToGray_8u_C3C1R, zopiCopy_8u_C1C3R", gray},
    {"Means of 5x5", "zopiFilterBox_8u_C3R", averagedBy5x5},
    {"Smoothed", "zopiFilterGauss_8u_C3R, 5x5", smoothed},
    {"Sharpened", "zopiFilterSharpen_8u_C3R", sharpened},
    {"Details", "zopiFilterLaplace_8u_C3R, 5x5", details},
    {"Edges", "zopiFilterSobelHoriz_8u_C3R, _SobelVert_8u_C3R", edges},
    {"Salt and pepper", "zopiCopy_8u_C3R", salted},
    {"Medians of 3x3 of that", "zopiFilterMedian_8u_C3R", cleaned},
    {"The brightest of 5x5", "zopiFilterMax_8u_C3R", brightest},
    {"Opened by a disc", "zopiErode_8u_C3R, zopiDilate_8u_C3R", opened},
    {"Embossed", "zopiFilter_8u_C3R", embossed},
    {"Smeared along a diagonal", "zopiConvFull_8u_C3R", smeared},
    {"Where it looks like the framed part", "zopiCrossCorrSame_NormLevel_8u32f_C1R", matchMap},
    {"A thumbnail of means", "zopiResize_8u_C3R, 0.4", withThumbnail},
    {"Linear and cubic", "zopiResizeCenter_8u_C3R, 1.5", enlargedSmoothly},
    {"Nearest and linear", "zopiResizeCenter_8u_C3R, 6", enlargedByRepeating},
    {"Turned, with smooth edges", "zopiWarpAffine_8u_C3R", turned},
    {"In perspective", "zopiWarpPerspective_8u_C3R", inPerspective},
    {"From quad to quad", "zopiWarpBilinearQuad_8u_C3R", stretchedBetweenQuads},
    {"Swirled", "zopiRemap_8u_C3R, cubic", swirled},
    {"Histograms", "zopiHistogramEven_8u_C3R, zopiSet_8u_C3CR", histogramPlot},
    {"Equalised", "zopiHistogramEven_8u_C3R, zopiLUT_8u_C3R", equalised},
    {"A curve through five points", "zopiLUT_Cubic_8u_C3R", curved},
    {"Centre and spread of the light", "zopiMoments64f_8u_C1R, zopiGetCentralMoment_64f", withCentroid},
    {"Frequencies, packed", "zopiFFTFwd_RToPack_32f_C1R, zopiLn_32f_C1IR", packedSpectrum},
    {"Sums and differences", "zopiWTFwd_32f_C3R", subbands},
    {"Six cosines a block", "zopiDCT8x8FwdLS_8u16s_C1R, _InvLSClip", fewCosines},
    {"Two levels", "zopiReduceBits_8u_C3R", twoLevels},
    {"Gaussian noise", "zopiAddRandGauss_Direct_8u_C3IR", withNoise},
    {"A radial chirp", "zopiImageJaehne_8u_C3R", chirp},
};

}  // namespace

std::span<const Tile> tiles() { return kTiles; }
