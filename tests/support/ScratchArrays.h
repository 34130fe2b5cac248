#ifndef KYRORVEL_TESTS_SUPPORT_SCRATCH_ARRAYS_H
#define KYRORVEL_TESTS_SUPPORT_SCRATCH_ARRAYS_H

#include <kyrOrvel/ScratchPad>

#include <gtest/gtest.h>

namespace support {

/// The element types of a scratch pad, for TYPED_TEST_SUITE.
using ScratchTypes = testing::Types<int, unsigned char, float, double>;

/// One name for the four accessors and the four tables of a scratch pad.
template <class T> struct ScratchArrays;

template <> struct ScratchArrays<int> {
    static int* get(kyrOrvel::ScratchPad& pad, unsigned long id, unsigned long size)
    {
        return pad.getIntArray(id, size);
    }
    static auto& table(kyrOrvel::ScratchPad& pad) { return pad.intArrays; }
};

template <> struct ScratchArrays<unsigned char> {
    static unsigned char* get(kyrOrvel::ScratchPad& pad, unsigned long id, unsigned long size)
    {
        return pad.getUCharArray(id, size);
    }
    static auto& table(kyrOrvel::ScratchPad& pad) { return pad.ucharArrays; }
};

template <> struct ScratchArrays<float> {
    static float* get(kyrOrvel::ScratchPad& pad, unsigned long id, unsigned long size)
    {
        return pad.getFloatArray(id, size);
    }
    static auto& table(kyrOrvel::ScratchPad& pad) { return pad.floatArrays; }
};

template <> struct ScratchArrays<double> {
    static double* get(kyrOrvel::ScratchPad& pad, unsigned long id, unsigned long size)
    {
        return pad.getDoubleArray(id, size);
    }
    static auto& table(kyrOrvel::ScratchPad& pad) { return pad.doubleArrays; }
};

} // namespace support

#endif
