/// @file
/// Records and constants of the transforms.
#ifndef ZOPI_TRANSFORM_TYPES_H_
#define ZOPI_TRANSFORM_TYPES_H_

#ifdef __cplusplus
extern "C" {
#endif

/// @name Contexts of Fourier transforms
/// What a transform of one size needs, computed once. A context never changes and may serve several threads
/// at once.
/// @{
typedef struct ZopFFTSpec_C_32fc ZopFFTSpec_C_32fc;
typedef struct ZopFFTSpec_R_32f ZopFFTSpec_R_32f;
typedef struct ZopFFTSpec_R_32s ZopFFTSpec_R_32s;
/// @}

/// Which of the two directions of a Fourier transform divides, along each axis of length N.
enum {
  ZOP_FFT_DIV_FWD_BY_N = 1,  ///< forward by N
  ZOP_FFT_DIV_INV_BY_N = 2,  ///< inverse by N
  ZOP_FFT_DIV_BY_SQRTN = 4,  ///< both by the square root of N
  ZOP_FFT_NODIV_BY_ANY = 8   ///< none: there and back multiplies by N
};

#ifdef __cplusplus
}
#endif

#endif  // ZOPI_TRANSFORM_TYPES_H_
