// Sums, differences and products of numbers, real and complex. No scale factor, no saturation: infinities and
// not-a-numbers follow from the arithmetic.
#include "arith/add_sub_mul_float_rows.h"

#include "arith/add_sub_mul_float.exports.inc"
