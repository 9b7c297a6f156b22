// Products of integers as fractions of full scale: full scale times full scale is full scale.
#include "arith/mul_scale_rows.h"

#include "arith/mul_scale.exports.inc"
