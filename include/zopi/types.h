/// @file
/// Sample types, geometry records and the version record of zopim6.
#ifndef ZOPI_TYPES_H_
#define ZOPI_TYPES_H_

#include <stdint.h>

#if defined(_WIN32)
#define ZOPI_API __declspec(dllimport)
#elif defined(__GNUC__)
#define ZOPI_API __attribute__((visibility("default")))
#else
#define ZOPI_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// @name Sample types
/// Little-endian, without padding. The token in a function's name tells its sample type: `8u`, `16s`, `32f` ...
/// @{
typedef uint8_t Zop8u;
typedef int8_t Zop8s;
typedef uint16_t Zop16u;
typedef int16_t Zop16s;
typedef int32_t Zop32s;
typedef float Zop32f;
typedef int64_t Zop64s;
typedef double Zop64f;
/// @}

/// @name Complex sample types
/// The real part comes first.
/// @{
typedef struct Zop16sc {
  Zop16s re;
  Zop16s im;
} Zop16sc;
typedef struct Zop32sc {
  Zop32s re;
  Zop32s im;
} Zop32sc;
typedef struct Zop32fc {
  Zop32f re;
  Zop32f im;
} Zop32fc;
/// @}

/// The size of a region of interest, in pixels.
typedef struct ZopImageSize {
  int width;
  int height;
} ZopImageSize;

/// A position in an image, in pixels.
typedef struct ZopImagePoint {
  int x;
  int y;
} ZopImagePoint;

/// A rectangle in an image, in pixels.
typedef struct ZopImageRect {
  int x;
  int y;
  int width;
  int height;
} ZopImageRect;

/// The comparisons of zopiCompare() and its kin. The thresholds serve the two strict ones.
enum {
  zopCmpLess = 0,       ///< The first operand is below the second.
  zopCmpLessEq = 1,     ///< The first operand is not above the second.
  zopCmpEq = 2,         ///< The operands are equal.
  zopCmpGreaterEq = 3,  ///< The first operand is not below the second.
  zopCmpGreater = 4     ///< The first operand is above the second.
};

/// How zopiAlphaComp() and zopiAlphaCompC() lay a first image, A, over a second one, B. The operations whose
/// names end in `Premul` take colours that have been multiplied by their alpha already.
enum {
  zopAlphaOver = 0,        ///< A before B.
  zopAlphaIn = 1,          ///< A where B is.
  zopAlphaOut = 2,         ///< A where B is not.
  zopAlphaATop = 3,        ///< A where B is, before B.
  zopAlphaXor = 4,         ///< A where B is not, and B where A is not.
  zopAlphaPlus = 5,        ///< The sum of both.
  zopAlphaOverPremul = 6,  ///< zopAlphaOver of premultiplied colours.
  zopAlphaInPremul = 7,    ///< zopAlphaIn of premultiplied colours.
  zopAlphaOutPremul = 8,   ///< zopAlphaOut of premultiplied colours.
  zopAlphaATopPremul = 9,  ///< zopAlphaATop of premultiplied colours.
  zopAlphaXorPremul = 10,  ///< zopAlphaXor of premultiplied colours.
  zopAlphaPlusPremul = 11  ///< zopAlphaPlus of premultiplied colours.
};

/// What zopiGetLibVersion() returns.
typedef struct ZopLibraryVersion {
  int major;
  int minor;
  int majorBuild;
  int build;
  char targetCode[4];
  const char* libraryName;
  const char* versionText;
  const char* buildDate;
} ZopLibraryVersion;

#ifdef __cplusplus
}
#endif

#endif  // ZOPI_TYPES_H_
