/// @file
/// The status every function of zopim6 returns.
#ifndef ZOPI_STATUS_H_
#define ZOPI_STATUS_H_

#include <stdint.h>

/// 0 is success, a negative value an error (nothing useful was written), a positive one a warning (the call
/// finished and its result is the one its documentation describes).
typedef int32_t ZopStatus;

/// The values of ZopStatus.
enum {
  zopStatusOk = 0,                      ///< Success.
  zopStatusNoOperation = 1,             ///< Warning: source and region do not meet, nothing was written.
  zopStatusSqrtNegative = 3,            ///< Warning: a negative sample met a square root.
  zopStatusZeroDenominator = 6,         ///< Warning: a zero divisor in the data.
  zopStatusLnZero = 7,                  ///< Warning: a zero sample met a logarithm.
  zopStatusLnNegative = 8,              ///< Warning: a negative sample met a logarithm.
  zopStatusBadSize = -6,                ///< A size, length or order is below its minimum.
  zopStatusBadRange = -7,               ///< A lower bound is above its upper bound.
  zopStatusNullPointer = -8,            ///< A required pointer is null.
  zopStatusNoMemory = -9,               ///< A scratch buffer could not be allocated.
  zopStatusDivideByZero = -10,          ///< A constant divisor is zero.
  zopStatusBadScaleRange = -13,         ///< `vMin` is not below `vMax`.
  zopStatusBadStep = -14,               ///< A row step is below 1.
  zopStatusBadOrder = -15,              ///< A transform order is outside 0..30.
  zopStatusBadFlag = -16,               ///< A normalisation flag is not one of 1, 2, 4, 8.
  zopStatusBadContext = -17,            ///< A context record is not of the function's kind.
  zopStatusBadThresholds = -18,         ///< The lower threshold is above the upper one.
  zopStatusBadMoment00 = -20,           ///< A zero-order moment is too small to normalise by.
  zopStatusBadAxis = -21,               ///< Unknown flip code.
  zopStatusBadInterpolation = -22,      ///< Unknown interpolation code.
  zopStatusBadResizeFactor = -23,       ///< A resize factor is too small.
  zopStatusBadMaskSize = -33,           ///< A mask size outside its set.
  zopStatusBadAnchor = -34,             ///< An anchor outside its mask.
  zopStatusBadEpsilon = -36,            ///< A negative epsilon.
  zopStatusBadStride = -37,             ///< A row step is too small for the data.
  zopStatusBadMomentChannel = -47,      ///< A channel outside the moment state's channels.
  zopStatusBadGammaRange = -49,         ///< `vMax - vMin` is not above the smallest span.
  zopStatusBadAlphaType = -50,          ///< Unknown alpha operation.
  zopStatusZeroDivisor = -51,           ///< A kernel divisor is zero.
  zopStatusBadLevels = -54,             ///< A dither level count outside its limits.
  zopStatusBadNoise = -55,              ///< A noise percentage outside 0..100.
  zopStatusSingularCoefficients = -56,  ///< The determinant of a transform vanishes.
  zopStatusBadRect = -57,               ///< A rectangle below its minimum width or height.
  zopStatusBadQuad = -58,               ///< A quadrangle is degenerate or not convex.
  zopStatusZeroMask = -59,              ///< A morphology mask has no nonzero entry.
  zopStatusBadChannelOrder = -60,       ///< A channel order entry outside the channels.
  zopStatusTextFailed = -61,            ///< The platform could not draw the text.
  zopStatusBadLutLevels = -106,         ///< Fewer than 2 look-up levels.
  zopStatusBadHistogramLevels = -107,   ///< Fewer than 2 histogram levels.
  zopStatusUnsupportedMode = -9999      ///< A comparison the function does not serve.
};

#endif  // ZOPI_STATUS_H_
