#include <kyrOrvel/Permutation>

#include <gtest/gtest.h>

#include <type_traits>

using kyrOrvel::Permutation;

namespace {

TEST(Permutation, NewPermutationHoldsNothing)
{
    const Permutation perm;

    EXPECT_EQ(perm.size, 0u);
    EXPECT_EQ(perm.capacity, 0u);
    EXPECT_EQ(perm.P, nullptr);
    EXPECT_EQ(perm.Pi, nullptr);
}

TEST(Permutation, ArraysHandedOverAreItsOwn)
{
    // The leak check of the sanitizer is the judge of the destructor.
    Permutation perm;
    perm.P = new unsigned int[2]{1, 0};
    perm.Pi = new unsigned int[2]{1, 0};
    perm.size = perm.capacity = 1;

    EXPECT_EQ(perm.P[0], 1u);
}

TEST(Permutation, OneArrayAloneIsFreed)
{
    Permutation perm;
    perm.P = new unsigned int[1]{0};

    EXPECT_EQ(perm.Pi, nullptr);
}

TEST(Permutation, OwnersAreNotCopied)
{
    EXPECT_FALSE(std::is_copy_constructible<Permutation>::value);
    EXPECT_FALSE(std::is_copy_assignable<Permutation>::value);
}

} // namespace
