#include "support/ScratchArrays.h"

#include <kyrOrvel/ScratchPad>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

using kyrOrvel::ScratchPad;

namespace {

template <class T> bool isAligned(const T* p)
{
    return reinterpret_cast<std::uintptr_t>(p) % 16 == 0;
}

template <class T> class ScratchPadArrays : public testing::Test {
protected:
    T* get(unsigned long id, unsigned long size)
    {
        return support::ScratchArrays<T>::get(pad, id, size);
    }
    auto& table() { return support::ScratchArrays<T>::table(pad); }

    ScratchPad pad;
};
TYPED_TEST_SUITE(ScratchPadArrays, support::ScratchTypes);

TYPED_TEST(ScratchPadArrays, FirstCallAllocatesAnAlignedArrayOfTheSize)
{
    for (unsigned long size = 0; size <= 40; ++size) {
        TypeParam* const array = this->get(size, size);

        ASSERT_NE(array, nullptr);
        EXPECT_TRUE(isAligned(array)) << "size " << size;
        std::fill_n(array, size, TypeParam(1)); // a sanitizer sees whether they fit
    }
}

TYPED_TEST(ScratchPadArrays, RecordHoldsWhatWasAskedFor)
{
    TypeParam* const array = this->get(7, 300);

    const auto* const record = this->table().find(7);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->data, array);
    EXPECT_EQ(record->size, 300u);
    EXPECT_EQ(record->id, 7u);
    EXPECT_LE(record->raw, array);
    EXPECT_LT(reinterpret_cast<std::uintptr_t>(array),
              reinterpret_cast<std::uintptr_t>(record->raw) + 16);
}

TYPED_TEST(ScratchPadArrays, SizeNoLargerReturnsTheArrayAsItWas)
{
    TypeParam* const array = this->get(7, 10);
    std::fill_n(array, 10, TypeParam(5));

    EXPECT_EQ(this->get(7, 10), array);
    EXPECT_EQ(this->get(7, 3), array);
    EXPECT_EQ(this->get(7, 0), array);
    EXPECT_EQ(std::count(array, array + 10, TypeParam(5)), 10);
}

TYPED_TEST(ScratchPadArrays, RecordKeepsItsLargerSize)
{
    this->get(7, 10);
    this->get(7, 3);

    EXPECT_EQ(this->table().find(7)->size, 10u);
    EXPECT_EQ(this->get(7, 10), this->table().find(7)->data);
}

TYPED_TEST(ScratchPadArrays, LargerSizeReplacesTheRecordUnderTheSameId)
{
    this->get(7, 10);

    TypeParam* const array = this->get(7, 11);

    const auto* const record = this->table().find(7);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->data, array);
    EXPECT_EQ(record->size, 11u); // exactly: no margin for growth
    EXPECT_EQ(this->table().count, 1u);
    std::fill_n(array, 11, TypeParam(1));
}

TYPED_TEST(ScratchPadArrays, SizeZeroReturnsAnAlignedArray)
{
    TypeParam* const array = this->get(0, 0);

    ASSERT_NE(array, nullptr);
    EXPECT_TRUE(isAligned(array));
    EXPECT_EQ(this->get(0, 0), array);
    EXPECT_EQ(this->table().find(0)->size, 0u);
}

TYPED_TEST(ScratchPadArrays, SizeThatWrapsWithItsPaddingIsRefusedAndTheArrayStays)
{
    TypeParam* const array = this->get(7, 10);

    for (const unsigned long less : {0ul, 3ul, 14ul})
        EXPECT_THROW(this->get(7, ~0ul - less), std::bad_alloc) << less;

    EXPECT_EQ(this->get(7, 10), array);
}

TYPED_TEST(ScratchPadArrays, IdsAreIndependent)
{
    const unsigned long largest = ~0ul;
    const std::vector<unsigned long> ids = {0, 1, 2, 3, 1000, 0xFFFFFFFFul, largest};
    std::vector<TypeParam*> arrays;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        arrays.push_back(this->get(ids[i], 5));
        std::fill_n(arrays[i], 5, static_cast<TypeParam>(i + 1));
    }

    for (std::size_t i = 0; i < ids.size(); ++i) {
        EXPECT_EQ(this->get(ids[i], 5), arrays[i]);
        EXPECT_EQ(std::count(arrays[i], arrays[i] + 5, static_cast<TypeParam>(i + 1)), 5);
    }
}

TYPED_TEST(ScratchPadArrays, ArraysStayInPlaceWhileTheTableGrows)
{
    std::vector<TypeParam*> arrays;
    for (unsigned long id = 0; id < 500; ++id)
        arrays.push_back(this->get(id, 1 + id % 7));

    for (unsigned long id = 0; id < 500; ++id)
        EXPECT_EQ(this->get(id, 1 + id % 7), arrays[id]);
    EXPECT_EQ(this->table().count, 500u);
}

TYPED_TEST(ScratchPadArrays, DeallocateForgetsEveryArray)
{
    for (unsigned long id = 0; id < 20; ++id)
        this->get(id, 5);

    this->pad.deallocate();

    EXPECT_EQ(this->table().count, 0u);
    for (unsigned long id = 0; id < 20; ++id)
        EXPECT_EQ(this->table().find(id), nullptr);
}

TYPED_TEST(ScratchPadArrays, PadIsUsableAfterDeallocate)
{
    this->get(3, 5);
    this->pad.deallocate();

    TypeParam* const array = this->get(3, 2);

    ASSERT_NE(array, nullptr);
    EXPECT_EQ(this->table().find(3)->size, 2u);
    std::fill_n(array, 2, TypeParam(1));
}

TYPED_TEST(ScratchPadArrays, DeallocateKeepsTheEntryArrayOfASteadyPad)
{
    for (unsigned long id = 0; id < 20; ++id)
        this->get(id, 5);
    const auto* const buckets = this->table().buckets;
    const unsigned int bucketCount = this->table().bucketCount;

    this->pad.deallocate();

    EXPECT_EQ(this->table().buckets, buckets);
    EXPECT_EQ(this->table().bucketCount, bucketCount);
}

TYPED_TEST(ScratchPadArrays, DeallocateShrinksTheEntryArrayOfAPadThatNeedsFewNow)
{
    for (unsigned long id = 0; id < 100; ++id)
        this->get(id, 5);
    const unsigned int bucketCount = this->table().bucketCount;

    for (int time = 0; time < 20; ++time) {
        this->get(0, 5);
        this->pad.deallocate();
    }

    EXPECT_LT(this->table().bucketCount, bucketCount / 4);
    EXPECT_NE(this->get(0, 5), nullptr);
}

TEST(ScratchPad, IsBuiltWithEmptyTables)
{
    const ScratchPad pad;

    EXPECT_EQ(pad.intArrays.buckets, nullptr);
    EXPECT_EQ(pad.ucharArrays.buckets, nullptr);
    EXPECT_EQ(pad.floatArrays.buckets, nullptr);
    EXPECT_EQ(pad.doubleArrays.buckets, nullptr);
    EXPECT_EQ(pad.intArrays.count, 0u);
    EXPECT_EQ(pad.ucharArrays.count, 0u);
    EXPECT_EQ(pad.floatArrays.count, 0u);
    EXPECT_EQ(pad.doubleArrays.count, 0u);
}

TEST(ScratchPad, SameIdUnderFourTypesIsFourArrays)
{
    ScratchPad pad;
    int* const ints = pad.getIntArray(3, 4);
    unsigned char* const bytes = pad.getUCharArray(3, 4);
    float* const floats = pad.getFloatArray(3, 4);
    double* const doubles = pad.getDoubleArray(3, 4);
    std::fill_n(ints, 4, 1);
    std::fill_n(bytes, 4, static_cast<unsigned char>(2));
    std::fill_n(floats, 4, 3.0f);
    std::fill_n(doubles, 4, 4.0);

    EXPECT_EQ(std::count(ints, ints + 4, 1), 4);
    EXPECT_EQ(std::count(bytes, bytes + 4, 2), 4);
    EXPECT_EQ(std::count(floats, floats + 4, 3.0f), 4);
    EXPECT_EQ(std::count(doubles, doubles + 4, 4.0), 4);
}

TEST(ScratchPad, GrowthUnderOneTypeLeavesTheOthers)
{
    ScratchPad pad;
    const int* const ints = pad.getIntArray(3, 4);

    pad.getDoubleArray(3, 4);
    pad.getDoubleArray(3, 400);

    EXPECT_EQ(pad.getIntArray(3, 4), ints);
}

TEST(ScratchPad, DeallocateOfAFreshPadIsHarmlessAndMayBeRepeated)
{
    ScratchPad pad;

    pad.deallocate();
    pad.deallocate();

    EXPECT_EQ(pad.intArrays.buckets, nullptr);
    pad.getIntArray(1, 1);
    pad.deallocate();
    pad.deallocate();
    EXPECT_EQ(pad.intArrays.count, 0u);
}

} // namespace
