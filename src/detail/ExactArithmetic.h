#ifndef KYRORVEL_DETAIL_EXACT_ARITHMETIC_H
#define KYRORVEL_DETAIL_EXACT_ARITHMETIC_H

// Included by every source that computes. The library promises the same bits everywhere, which
// holds only under strict IEEE arithmetic in the precision of the operands; contraction into fused
// multiply-adds is switched off by the build (see cmake/NumericTarget.cmake).

#include <cfloat>

#if defined(__FAST_MATH__)
#error "kyrOrvel must be built without -ffast-math: its results are promised to the bit"
#endif

static_assert(FLT_EVAL_METHOD == 0, "expressions must be evaluated in the precision of their type");

#endif
