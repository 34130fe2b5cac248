#include "support/Scalars.h"

#include <kyrOrvel/Orvel>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

using kyrOrvel::AlignedArray;
using kyrOrvel::Orvel;
using kyrOrvel::OrvelData;

namespace {

/// Success when the members lie in memory in the order given.
testing::AssertionResult ascending(const std::vector<const void*>& members)
{
    for (std::size_t i = 1; i < members.size(); ++i)
        if (!(static_cast<const char*>(members[i - 1]) < static_cast<const char*>(members[i])))
            return testing::AssertionFailure() << "member " << i << " comes before the one above";
    return testing::AssertionSuccess();
}

template <class T> struct Types {
    using D = OrvelData<T>;
    using A = AlignedArray<T>;
    template <class M, class Expected>
    static constexpr bool same = std::is_same<M, Expected>::value;

    static_assert(same<decltype(D::columnPattern), kyrOrvel::SkeletonMatrix>);
    static_assert(same<decltype(D::eliminationTree), kyrOrvel::EliminationTree>);
    static_assert(same<decltype(D::factorRowStart), std::vector<unsigned int>>);
    static_assert(same<decltype(D::factorColumns), std::vector<unsigned int>>);
    static_assert(same<decltype(D::matrix), kyrOrvel::SparseMatrix<T>>);
    static_assert(same<decltype(D::factor), kyrOrvel::SparseMatrix<T>>);
    static_assert(same<decltype(D::scaledFactor), kyrOrvel::SparseMatrix<T>>);
    static_assert(same<decltype(D::pivots), AlignedArray<T>>);
    static_assert(same<decltype(D::multifront), kyrOrvel::MultifrontManager<T>>);
    static_assert(same<decltype(D::scratch), kyrOrvel::ScratchPad>);
    static_assert(same<decltype(D::useMultifrontal), unsigned int>);
    static_assert(same<decltype(D::numThreads), unsigned int>);
    static_assert(same<decltype(D::factored), unsigned char>);
    static_assert(!std::is_copy_constructible<D>::value);
    static_assert(!std::is_copy_assignable<D>::value);

    static_assert(std::is_standard_layout<A>::value);
    static_assert(same<decltype(A::size), unsigned int>);
    static_assert(same<decltype(A::capacity), unsigned int>);
    static_assert(same<decltype(A::data), T*>);
    static_assert(same<decltype(A::storage), T*>);
    static_assert(offsetof(A, size) == 0);
    static_assert(offsetof(A, capacity) == 4);
    static_assert(offsetof(A, data) == 8);
    static_assert(offsetof(A, storage) == 8 + sizeof(T*));
    static_assert(!std::is_copy_constructible<A>::value);
    static_assert(!std::is_copy_assignable<A>::value);

    using Data = OrvelData<T>&;
    static_assert(same<decltype(Orvel::solve(std::declval<Data>(), std::declval<T*>())), bool>);
    static_assert(
        same<decltype(Orvel::solve(std::declval<Data>(), std::declval<T*>(), std::declval<T*>())),
             bool>);
    static_assert(same<decltype(Orvel::factorSerial(std::declval<Data>())), void>);
    static_assert(same<decltype(Orvel::unitSolve(std::declval<Data>(), std::declval<T*>(), 0)),
                       unsigned long>);
    static_assert(
        same<decltype(Orvel::estimateWork(std::declval<Data>(), std::declval<unsigned int*>())),
             unsigned int>);
};
template struct Types<float>;
template struct Types<double>;

static_assert(std::is_same<decltype(&Orvel::iterativeRefinement),
                           void (*)(OrvelData<double>&, const double*, double*, int)>::value);
static_assert(std::is_empty<Orvel>::value);

template <class T> class OrvelDataLayout : public testing::Test {
};
TYPED_TEST_SUITE(OrvelDataLayout, support::Scalars);

TYPED_TEST(OrvelDataLayout, MembersAscendInTheirOrder)
{
    const OrvelData<TypeParam> d;

    EXPECT_TRUE(
        ascending({&d.columnPattern, &d.eliminationTree, &d.factorRowStart, &d.factorColumns,
                   &d.matrix, &d.factor, &d.scaledFactor, &d.pivots, &d.multifront, &d.scratch,
                   &d.useMultifrontal, &d.numThreads, &d.factored}));
}

TYPED_TEST(OrvelDataLayout, DefaultConstructionLeavesCountsZeroAndPointersNull)
{
    const OrvelData<TypeParam> d;

    EXPECT_TRUE(d.factorRowStart.empty());
    EXPECT_TRUE(d.factorColumns.empty());
    EXPECT_EQ(d.eliminationTree.parent, nullptr);
    EXPECT_EQ(d.matrix.numBlockRows, 0u);
    EXPECT_EQ(d.factor.values, nullptr);
    EXPECT_EQ(d.scaledFactor.blockTags, nullptr);
    EXPECT_EQ(d.pivots.size, 0u);
    EXPECT_EQ(d.pivots.capacity, 0u);
    EXPECT_EQ(d.pivots.data, nullptr);
    EXPECT_EQ(d.pivots.storage, nullptr);
    EXPECT_EQ(d.useMultifrontal, 0u);
    EXPECT_EQ(d.numThreads, 0u);
    EXPECT_EQ(d.factored, 0);
}

} // namespace
