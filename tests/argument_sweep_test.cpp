// Every function of the registry with every bad argument, and with every two, three and four of them at once:
// the status tells the order of the checks, and no byte is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "support/arguments.h"
#include "zopi.h"

namespace {

using registry::Argument;
using registry::Arguments;
using registry::Function;
using registry::Role;
using registry::Value;

constexpr ZopImageSize kSize = {5, 3};

// The kinds of argument that a check looks at, and what is wrong with those of a call.
using Badness = std::set<std::string>;

// A check of a family's own as it stands in the table, the argument that it looks at, what it returns, and
// values that it must catch.
struct OwnCheck {
  const char *text, *argument;
  ZopStatus status;
  std::vector<Value> (*caught)(const Argument& argument);
};
// Divisors of zero, and arrays in which one is.
std::vector<Value> zeroDivisors(const Argument& argument) {
  if (argument.role == Role::Sample) return {Value(std::int64_t{0})};
  static std::vector<std::unique_ptr<std::vector<unsigned char>>> arrays;
  std::vector<Value> result;
  for (int zero = 0; zero < argument.samples; ++zero) {
    arrays.push_back(
        std::make_unique<std::vector<unsigned char>>(argument.samples * argument.sampleBytes, 1));
    std::fill_n(arrays.back()->begin() + zero * argument.sampleBytes, argument.sampleBytes, 0);
    result.emplace_back(static_cast<void*>(arrays.back()->data()));
  }
  return result;
}

// A lower threshold above the upper one: the sample or, in an array, the last one alone.
std::vector<Value> tooHigh(const Argument& argument) {
  static const Value sample(0x7f7f7fff);  // above a good constant in its low 1, 2 and 4 bytes
  static unsigned char arrays[5][12];
  unsigned char* array = arrays[argument.sampleBytes];
  std::memset(array, registry::kGoodConstant, sizeof arrays[0]);
  std::memcpy(array + 2 * argument.sampleBytes, &sample, argument.sampleBytes);
  return {argument.role == Role::Constant ? Value(static_cast<void*>(array)) : sample};
}

std::vector<Value> noContext(const Argument&) {
  static Zop32s other[64];
  return {static_cast<void*>(other)};
}

std::vector<Value> unknownAlphaTypes(const Argument&) { return {12, -1, INT32_MAX, INT32_MIN}; }

// Orders of channels of which one entry is none.
std::vector<Value> unknownChannels(const Argument&) {
  static Zop32s orders[6][3];
  std::vector<Value> result;
  for (int i = 0; i < 6; ++i) {
    orders[i][i % 3] = i < 3 ? 3 : -1;
    result.emplace_back(static_cast<void*>(orders[i]));
  }
  return result;
}

// Steps of planes, one too short for the first, second or third plane of an image of kSize in 4:2:2.
std::vector<Value> shortSteps(const Argument&) {
  static int steps[3][3] = {{4, 9, 9}, {9, 1, 9}, {9, 9, 1}};
  return {static_cast<void*>(steps[0]), static_cast<void*>(steps[1]), static_cast<void*>(steps[2])};
}

std::vector<Value> shortStep(const Argument&) { return {2 * kSize.width - 1, 1}; }
std::vector<Value> tooShort(const Argument&) { return {1}; }
std::vector<Value> nothing(const Argument&) { return {static_cast<void*>(nullptr)}; }
std::vector<Value> onePixel(const Argument&) { return {ZopImageSize{1, 3}}; }

// Borders in whose destination an image of kSize has no place.
constexpr char kBorders[] = "checkBorders(srcRoiSize,dstRoiSize,topBorderHeight,leftBorderWidth)";
std::vector<Value> noPlace(const Argument& argument) {
  if (argument.role == Role::Value) return {-1, 1, INT32_MIN, INT32_MAX};
  if (std::strcmp(argument.name, "srcRoiSize") == 0) return {ZopImageSize{6, 3}, ZopImageSize{5, 4}};
  return {ZopImageSize{4, 3}, ZopImageSize{5, 2}};
}

std::vector<Value> badSizes(const Argument&) {
  return {ZopImageSize{0, 3}, ZopImageSize{5, 0}, ZopImageSize{-1, INT32_MIN}};
}
std::vector<Value> badRegions(const Argument&) {
  return {ZopImageRect{-1, 0, 5, 3}, ZopImageRect{0, -1, 5, 3}, ZopImageRect{0, 0, 0, 3},
          ZopImageRect{0, 0, 5, INT32_MIN}};
}
std::vector<Value> regionsBeyond(const Argument&) {
  return {ZopImageRect{5, 0, 5, 3}, ZopImageRect{0, 3, 5, 3}, ZopImageRect{INT32_MAX, 0, INT32_MAX, 1}};
}
std::vector<Value> notAboveZero(const Argument&) { return {0.0, -1.0, double{NAN}}; }

constexpr char kFactors[] = "checkFactors(xFactor,yFactor)", kDistances[] = "checkFactors(xFr,yFr)";
constexpr char kFactorsOrMeans[] = "checkFactors(xFactor,yFactor,interpolation)";
constexpr char kInterpolation[] = "checkInterpolation(interpolation)";
constexpr char kInterpolationOrMeans[] = "checkInterpolation(interpolation,xFactor,yFactor)";
std::vector<Value> unknownInterpolations(const Argument&) { return {0, 3, 5, 8, 16, INT32_MIN}; }
std::vector<Value> neverInterpolations(const Argument&) { return {0, 3, 5, 16, INT32_MIN}; }

std::vector<Value> flaggedInterpolations(const Argument&) {
  return {0, 3, 8, zopSmoothEdge | zopInterLinear};
}

std::vector<Value> thinRegions(const Argument&) {
  return {ZopImageRect{0, 0, 1, 3}, ZopImageRect{0, 0, 5, 1}};
}

// A bow-tie and a quad of which two corners meet.
std::vector<Value> badQuads(const Argument&) {
  static double bowTie[4][2] = {{0, 0}, {4, 2}, {4, 0}, {0, 2}},
                triangle[4][2] = {{0, 0}, {4, 0}, {4, 0}, {0, 2}};
  return {static_cast<void*>(bowTie), static_cast<void*>(triangle)};
}
std::vector<Value> trapezium(const Argument&) {
  static double quad[4][2] = {{0, 0}, {4, 0}, {3, 2}, {1, 2}};
  return {static_cast<void*>(quad)};
}

// Large enough for coefficients of every mapping.
std::vector<Value> singularMappings(const Argument&) {
  static double none[9], small[9] = {1e-4, 0, 0, 0, 1e-4};
  return {static_cast<void*>(none), static_cast<void*>(small)};
}
std::vector<Value> reciprocal(const Argument&) { return {2.0}; }

constexpr char kTurn[] = "checkTurn(angle,xShift,yShift,interpolation)";
constexpr char kTurnAround[] = "checkTurnAround(xCenter,yCenter,angle,interpolation)";

std::vector<Value> badOrders(const Argument&) { return {-1, 4, INT32_MAX, INT32_MIN}; }

// Arrays of levels for each channel, and their counts.
constexpr char kOuterOfRange[] = "checkPointers(pHist,pLevels,nLevels)";
constexpr char kOuterOfEven[] = "checkPointers(pHist,pLevels,nLevels,lowerLevel,upperLevel)";
constexpr char kOuterOfCurves[] = "checkPointers(pValues,pLevels,nLevels)";
std::vector<Value> oneLevelSomewhere(const Argument&) {
  static int counts[2][4] = {{1, 5, 5, 5}, {5, 5, INT32_MIN, 5}};
  return {static_cast<void*>(counts[0]), static_cast<void*>(counts[1])};
}
std::vector<Value> tooFewLevels(const Argument&) { return {1, 0, INT32_MIN}; }

const std::vector<OwnCheck> kOwnChecks = {
    {"checkRegion(dstRoi)", "dstRoi", zopStatusBadSize, badRegions},
    {"checkCode(interpolation)", "interpolation", zopStatusBadInterpolation, flaggedInterpolations},
    {kTurn, "interpolation", zopStatusBadInterpolation, unknownInterpolations},
    {kTurnAround, "interpolation", zopStatusBadInterpolation, unknownInterpolations},
    {"checkQuad(quad)", "quad", zopStatusBadQuad, badQuads},
    {"checkParallelogram(quad)", "quad", zopStatusBadQuad, trapezium},
    {"checkTwoByTwo(srcRoi)", "srcRoi", zopStatusBadRect, thinRegions},
    {"checkQuads(srcQuad,dstQuad)", "srcQuad", zopStatusBadQuad, badQuads},
    {"checkQuads(srcQuad,dstQuad)", "dstQuad", zopStatusBadQuad, badQuads},
    {"checkAffineQuads(srcQuad,dstQuad)", "dstQuad", zopStatusBadQuad, trapezium},
    {"checkAffine(affineOf(coeffs))", "coeffs", zopStatusSingularCoefficients, singularMappings},
    {"checkPerspective(perspectiveOf(coeffs))", "coeffs", zopStatusSingularCoefficients, singularMappings},
    {"checkBilinear(bilinearOf(coeffs))", "coeffs", zopStatusSingularCoefficients, singularMappings},
    {"checkAffine(shearing(xShear,yShear,xShift,yShift))", "xShear", zopStatusSingularCoefficients,
     reciprocal},
    {"checkSize(srcSize)", "srcSize", zopStatusBadSize, badSizes},
    {"checkRegion(srcRoi)", "srcRoi", zopStatusBadSize, badRegions},
    {"checkMeets(srcSize,srcRoi)", "srcRoi", zopStatusNoOperation, regionsBeyond},
    {kFactors, "xFactor", zopStatusBadResizeFactor, notAboveZero},
    {kFactors, "yFactor", zopStatusBadResizeFactor, notAboveZero},
    {kDistances, "xFr", zopStatusBadResizeFactor, notAboveZero},
    {kDistances, "yFr", zopStatusBadResizeFactor, notAboveZero},
    {kFactorsOrMeans, "xFactor", zopStatusBadResizeFactor, notAboveZero},
    {kFactorsOrMeans, "yFactor", zopStatusBadResizeFactor, notAboveZero},
    {kInterpolation, "interpolation", zopStatusBadInterpolation, unknownInterpolations},
    {kInterpolationOrMeans, "interpolation", zopStatusBadInterpolation, neverInterpolations},
    {kBorders, "srcRoiSize", zopStatusBadSize, noPlace},
    {kBorders, "dstRoiSize", zopStatusBadSize, noPlace},
    {kBorders, "topBorderHeight", zopStatusBadSize, noPlace},
    {kBorders, "leftBorderWidth", zopStatusBadSize, noPlace},
    {"checkChannelOrder(dstOrder)", "dstOrder", zopStatusBadChannelOrder, unknownChannels},
    {"checkDivisor(value)", "value", zopStatusDivideByZero, zeroDivisors},
    {"checkRange(lowerBound,upperBound)", "lowerBound", zopStatusBadRange, tooHigh},
    {"checkDivisors(value)", "value", zopStatusDivideByZero, zeroDivisors},
    {"checkFlip(flip)", "flip", zopStatusBadAxis,
     [](const Argument&) {
       return std::vector<Value>{-1, 3, INT32_MIN};
     }},
    {"checkPairs(roiSize)", "roiSize", zopStatusBadSize, onePixel},
    {"checkStrides(srcSteps,dstStep,roiSize)", "srcSteps", zopStatusBadStride, shortSteps},
    {"checkStrides(srcSteps,dstStep,roiSize)", "dstStep", zopStatusBadStride, shortStep},
    {"checkStrides(dstSteps,srcStep,roiSize)", "dstSteps", zopStatusBadStride, shortSteps},
    {"checkStrides(dstSteps,srcStep,roiSize)", "srcStep", zopStatusBadStride, shortStep},
    {"checkEpsilon(eps)", "eps", zopStatusBadEpsilon,
     [](const Argument&) {
       return std::vector<Value>{-1.0f, -1e-45f, -HUGE_VALF};
     }},
    {"checkMask(maskSize)", "maskSize", zopStatusBadMaskSize,
     [](const Argument&) {
       return std::vector<Value>{ZopImageSize{1, 5}, ZopImageSize{5, 1}, ZopImageSize{-4, -5}};
     }},
    {"checkPointers(pMask)", "pMask", zopStatusNullPointer, nothing},
    {"checkPointers(pKernel)", "pKernel", zopStatusNullPointer, nothing},
    {"checkMaskSize(maskSize)", "maskSize", zopStatusBadMaskSize,
     [](const Argument&) {
       return std::vector<Value>{ZopImageSize{0, 5}, ZopImageSize{4, 0}, ZopImageSize{-4, -5}};
     }},
    {"checkElement(pMask,maskSize)", "pMask", zopStatusZeroMask,
     [](const Argument&) {
       static Zop8u none[20];
       return std::vector<Value>{static_cast<void*>(none)};
     }},
    {"checkStrides<@L,@S>(srcStep,dstStep,roiSize,maskSize)", "srcStep", zopStatusBadStride, tooShort},
    {"checkStrides<@L,@S>(srcStep,dstStep,roiSize,maskSize)", "dstStep", zopStatusBadStride, tooShort},
    {"checkStride<@L,@S>(srcDstStep,roiSize,maskSize)", "srcDstStep", zopStatusBadStride, tooShort},
    {"checkStrides<@L,@S>(srcStep,dstStep,roiSize,k3x3)", "srcStep", zopStatusBadStride, tooShort},
    {"checkStrides<@L,@S>(srcStep,dstStep,roiSize,k3x3)", "dstStep", zopStatusBadStride, tooShort},
    {"checkStride<@L,@S>(srcDstStep,roiSize,k3x3)", "srcDstStep", zopStatusBadStride, tooShort},
    {"checkKernelSize(kernelSize)", "kernelSize", zopStatusBadSize,
     [](const Argument&) {
       return std::vector<Value>{ZopImageSize{0, 5}, ZopImageSize{-4, 5}};
     }},
    {"checkConvolutionDivisor(divisor)", "divisor", zopStatusZeroDivisor,
     [](const Argument&) { return std::vector<Value>{0}; }},
    {"checkSize(src2Size)", "src2Size", zopStatusBadSize, badSizes},
    {"checkTemplate(srcRoiSize,tplRoiSize)", "tplRoiSize", zopStatusBadSize,
     [](const Argument&) {
       return std::vector<Value>{ZopImageSize{0, 1}, ZopImageSize{1, INT32_MIN}, ZopImageSize{6, 1},
                                 ZopImageSize{1, 4}};
     }},
    {"checkKernelDivisor(divisor)", "divisor", zopStatusZeroDivisor,
     [](const Argument&) { return std::vector<Value>{0}; }},
    {"checkAnchor(maskSize,anchor)", "anchor", zopStatusBadAnchor,
     [](const Argument&) {
       return std::vector<Value>{ZopImagePoint{-1, 0}, ZopImagePoint{0, -1}, ZopImagePoint{4, 0},
                                 ZopImagePoint{0, 5}};
     }},
    {"checkMaskCode(maskCode)", "maskCode", zopStatusBadMaskSize,
     [](const Argument&) { return std::vector<Value>{34, 53, 0, -33, 15, INT32_MAX}; }},
    {"checkNoise(noise,ditherType)", "noise", zopStatusBadNoise,
     [](const Argument&) {
       return std::vector<Value>{-1, 101, INT32_MIN};
     }},
    {"checkLevels(levelCount,ditherType)", "levelCount", zopStatusBadLevels,
     [](const Argument&) {
       return std::vector<Value>{1, 257, INT32_MAX};
     }},
    {"checkRowCode(maskCode)", "maskCode", zopStatusBadMaskSize,
     [](const Argument&) { return std::vector<Value>{13, 33, 55, 30, 0, -31, INT32_MIN}; }},
    {"checkColumnCode(maskCode)", "maskCode", zopStatusBadMaskSize,
     [](const Argument&) { return std::vector<Value>{31, 33, 55, 14, 0, -13, INT32_MAX}; }},
    {"checkOddMask(maskSize)", "maskSize", zopStatusBadMaskSize,
     [](const Argument&) {
       return std::vector<Value>{ZopImageSize{4, 3}, ZopImageSize{3, 2}, ZopImageSize{0, 5},
                                 ZopImageSize{3, -5}, ZopImageSize{INT32_MIN, 3}};
     }},
    {"checkMode(cmpOp)", "cmpOp", zopStatusUnsupportedMode,
     [](const Argument&) { return std::vector<Value>{-1, 1, 2, 3, 5, INT32_MIN}; }},
    {"checkScaleRange(vMin,vMax)", "vMax", zopStatusBadScaleRange,
     [](const Argument&) {
       return std::vector<Value>{0.0f, -1e-45f, -HUGE_VALF, NAN};
     }},
    {"checkGammaRange(vMin,vMax)", "vMax", zopStatusBadGammaRange,
     [](const Argument&) {
       return std::vector<Value>{0.0f, -1e-45f, -HUGE_VALF};
     }},
    {"checkContext(pFFTSpec)", "pFFTSpec", zopStatusBadContext, noContext},
    {"checkPointers(pState)", "pState", zopStatusNullPointer, nothing},
    {"checkKind<Zop64f>(pState)", "pState", zopStatusBadContext, noContext},
    {"checkKind<Zop64s>(pState)", "pState", zopStatusBadContext, noContext},
    {"checkOrders(mOrd,nOrd)", "mOrd", zopStatusBadSize, badOrders},
    {"checkOrders(mOrd,nOrd)", "nOrd", zopStatusBadSize, badOrders},
    {"checkChannel(pState,channel)", "channel", zopStatusBadMomentChannel,
     [](const Argument&) {
       return std::vector<Value>{-1, 3, INT32_MAX};
     }},
    {"checkRow<@L,@S>(srcStep,roiSize)", "srcStep", zopStatusBadStride, tooShort},
    {"checkPointers(pHist,pLevels)", "pHist", zopStatusNullPointer, nothing},
    {"checkPointers(pHist,pLevels)", "pLevels", zopStatusNullPointer, nothing},
    {kOuterOfRange, "pHist", zopStatusNullPointer, nothing},
    {kOuterOfRange, "pLevels", zopStatusNullPointer, nothing},
    {kOuterOfRange, "nLevels", zopStatusNullPointer, nothing},
    {kOuterOfEven, "pHist", zopStatusNullPointer, nothing},
    {kOuterOfEven, "pLevels", zopStatusNullPointer, nothing},
    {kOuterOfEven, "nLevels", zopStatusNullPointer, nothing},
    {kOuterOfEven, "lowerLevel", zopStatusNullPointer, nothing},
    {kOuterOfEven, "upperLevel", zopStatusNullPointer, nothing},
    {"checkLevelCount(nLevels)", "nLevels", zopStatusBadHistogramLevels, tooFewLevels},
    {"checkBins<@L>(pHist,pLevels,nLevels)", "nLevels", zopStatusBadHistogramLevels, oneLevelSomewhere},
    {"checkPointCount(nLevels)", "nLevels", zopStatusBadLutLevels, tooFewLevels},
    {"checkPointers(pValues,pLevels)", "pValues", zopStatusNullPointer, nothing},
    {"checkPointers(pValues,pLevels)", "pLevels", zopStatusNullPointer, nothing},
    {kOuterOfCurves, "pValues", zopStatusNullPointer, nothing},
    {kOuterOfCurves, "pLevels", zopStatusNullPointer, nothing},
    {kOuterOfCurves, "nLevels", zopStatusNullPointer, nothing},
    {"checkCurves<@L>(pValues,pLevels,nLevels)", "nLevels", zopStatusBadLutLevels, oneLevelSomewhere},
    {"checkContext(pState)", "pState", zopStatusBadContext, noContext},
    {"checkThresholds(thresholdLT,thresholdGT)", "thresholdLT", zopStatusBadThresholds, tooHigh},
    {"checkAlphaType(alphaType)", "alphaType", zopStatusBadAlphaType, unknownAlphaTypes},
};

constexpr const char* kPointerChecks[] = {"pointer", "image",  "constant",   "outer",
                                          "planes",  "source", "destination"};

ZopStatus expected(const Function& function, const Badness& bad) {
  std::istringstream checks(function.checks);
  for (std::string check; checks >> check;) {
    const bool ofPointers =
        std::find(std::begin(kPointerChecks), std::end(kPointerChecks), check) != std::end(kPointerChecks);
    if (ofPointers && bad.contains(check)) return zopStatusNullPointer;
    if (check == "width" && bad.contains("width")) return zopStatusBadSize;
    if (check == "size" && (bad.contains("width") || bad.contains("height"))) return zopStatusBadSize;
    if (check == "step" && bad.contains("step")) return zopStatusBadStep;
    for (const OwnCheck& own : kOwnChecks) {
      if (check == own.text && bad.contains(check)) return own.status;
    }
  }
  return zopStatusOk;
}

// The ways to spoil one argument.
struct Spoiler {
  std::size_t argument;
  Badness badness;
  Value value;
  int plane = -1;  // the pointer to this plane instead, or its step
};

bool makes(const Function& function, const std::string& check) {
  return (std::string(" ") + function.checks + " ").find(" " + check + " ") != std::string::npos;
}

// The arithmetic of mappings takes its arrays as they are.
bool testsPointers(const Function& function) {
  return std::any_of(std::begin(kPointerChecks), std::end(kPointerChecks),
                     [&](const char* check) { return makes(function, check); });
}

std::vector<Spoiler> spoilers(const Function& function) {
  std::vector<Spoiler> result;
  for (std::size_t i = 0; i < function.arguments.size(); ++i) {
    const Argument& a = function.arguments[i];
    const Badness null = {"pointer", "outer", a.isImage() || a.role == Role::Steps ? "image" : "constant",
                          a.isWritten() ? "destination" : "source"};
    if (a.isPointer() && testsPointers(function))
      result.push_back({i, null, Value(static_cast<void*>(nullptr))});
    for (int p = 0; p < a.planes; ++p) {
      if (a.isImage()) result.push_back({i, {"pointer", "planes", "image"}, {}, p});
      if (a.role == Role::Steps) result.push_back({i, {"step"}, Value(-p), p});
    }
    if (a.role == Role::Step) {
      for (const int step : {0, -1, INT32_MIN}) result.push_back({i, {"step"}, Value(step)});
    }
    if (a.role == Role::Size) {
      for (const ZopImageSize size : {ZopImageSize{0, 3}, {-7, 3}, {5, 0}, {5, INT32_MIN}, {0, 0}}) {
        Badness badness;
        if (size.width < 1) badness.insert("width");
        if (size.height < 1) badness.insert("height");
        result.push_back({i, badness, Value(size)});
      }
    }
    for (const OwnCheck& own : kOwnChecks) {
      if (std::strcmp(a.name, own.argument) != 0 || !makes(function, own.text)) continue;
      for (const Value& value : own.caught(a)) result.push_back({i, {own.text}, value});
    }
  }
  return result;
}

void spoil(Arguments& arguments, const Spoiler& s, Badness& bad) {
  if (s.plane >= 0 && s.badness.contains("step"))
    arguments.steps(s.argument)[s.plane] = s.value.get<int>();
  else if (s.plane >= 0)
    arguments.planes(s.argument)[s.plane] = nullptr;
  else
    arguments.values[s.argument] = s.value;
  bad.insert(s.badness.begin(), s.badness.end());
}

TEST(ArgumentSweep, EveryFunctionChecksInItsOrder) {
  long calls = 0;
  for (const Function& function : registry::functions()) {
    if (function.makesOrReleasesContext()) continue;
    const std::vector<Spoiler> all = spoilers(function);
    const auto check = [&](std::initializer_list<const Spoiler*> chosen) {
      Arguments arguments(function, kSize);
      Badness bad;
      for (const Spoiler* s : chosen) spoil(arguments, *s, bad);
      ++calls;
      ASSERT_EQ(expected(function, bad), function.invoke(arguments.values.data()))
          << function.name << ": " << testing::PrintToString(bad);
      ASSERT_TRUE(arguments.untouched()) << function.name << " wrote after a failed check";
    };
    for (const Spoiler& first : all) {
      ASSERT_NO_FATAL_FAILURE(check({&first}));
      for (const Spoiler& second : all) {
        if (second.argument <= first.argument) continue;
        ASSERT_NO_FATAL_FAILURE(check({&first, &second}));
        if (!first.badness.contains("pointer")) continue;
        for (const Spoiler& third : all) {
          if (third.argument <= second.argument) continue;
          ASSERT_NO_FATAL_FAILURE(check({&first, &second, &third}));
        }
      }
    }
    Arguments good(function, kSize);
    EXPECT_GE(function.invoke(good.values.data()), zopStatusOk) << function.name;  // warnings are no failures
  }
  RecordProperty("calls", static_cast<int>(calls));
}

// The table is what the sweep believes; these are the orders a reader would look up.
TEST(ArgumentOrder, ByHand) {
  Zop8u image[48] = {};
  const ZopImageSize none = {0, 1}, flat = {1, 0};
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_8u_C1RSfs(nullptr, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusBadSize, zopiAdd_8u_C1RSfs(image, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusBadStep, zopiAdd_8u_C1RSfs(image, 0, image, 8, image, 8, {1, 1}, 0));
  EXPECT_EQ(zopStatusBadSize, zopiAdd_8u_C3RSfs(nullptr, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_8u_C3RSfs(nullptr, 0, image, 8, image, 8, flat, 0));
  EXPECT_EQ(zopStatusBadSize, zopiMul_16s_C4IRSfs(nullptr, 0, nullptr, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_8u_AC4RSfs(nullptr, 0, image, 8, image, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAdd_16sc_C3IRSfs(nullptr, 0, nullptr, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiAddC_8u_C3RSfs(image, 0, nullptr, image, 8, none, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiSet_8u_C3MR(nullptr, image, 0, none, image, 0));
  EXPECT_EQ(zopStatusBadSize, zopiCopy_8u_C1MR(image, 0, image, 0, flat, image, 0));
  EXPECT_EQ(zopStatusBadStep, zopiCopy_8u_C1MR(image, 8, image, 8, {1, 1}, image, 0));
  Zop8u* planes[3] = {image, nullptr, image};
  EXPECT_EQ(zopStatusNullPointer, zopiCopy_8u_C3P3R(image, 0, planes, 0, none));
  EXPECT_EQ(zopStatusNullPointer, zopiAbs_16s_C1R(nullptr, 0, nullptr, 0, none));
  EXPECT_EQ(zopStatusBadStep, zopiCompare_8u_C1R(image, 8, image, 8, image, 0, none, zopCmpEq));
  EXPECT_EQ(zopStatusUnsupportedMode, zopiThreshold_8u_C1IR(nullptr, 0, none, 1, zopCmpEq));
  EXPECT_EQ(zopStatusBadStep, zopiThreshold_GT_8u_C3IR(image, 0, {1, 1}, nullptr));
  EXPECT_EQ(zopStatusNullPointer, zopiThreshold_GTVal_8u_C4IR(image, 8, {1, 1}, image, nullptr));
  EXPECT_EQ(zopStatusBadThresholds, zopiThreshold_LTValGTVal_8u_C1IR(image, 8, {1, 1}, 2, 0, 1, 0));

  Zop32fc number = {}, zeros[3] = {{1, 0}, {0, 1}, {0, 0}};
  EXPECT_EQ(zopStatusNullPointer, zopiMulScale_8u_C1IR(nullptr, 0, nullptr, 8, none));
  EXPECT_EQ(zopStatusBadStep, zopiMulScale_8u_C3IR(image, 0, image, 8, none));
  EXPECT_EQ(zopStatusBadSize, zopiDivC_8u_C1RSfs(image, 8, 0, image, 8, none, 0));
  EXPECT_EQ(zopStatusDivideByZero, zopiDivC_32fc_C1R(nullptr, 0, {0, 0}, nullptr, 0, none));
  EXPECT_EQ(zopStatusNullPointer, zopiDivC_32fc_C1IR({0, 0}, nullptr, 0, none));
  EXPECT_EQ(zopStatusDivideByZero, zopiDivC_32fc_C3R(nullptr, 0, zeros, nullptr, 0, none));
  EXPECT_EQ(zopStatusNullPointer, zopiDivC_32fc_AC4IR(nullptr, &number, 0, none));
}

}  // namespace
