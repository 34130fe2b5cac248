// J·A⁻¹·Jᵀ against dense arithmetic.

#include "support/Bits.h"
#include "support/BlockSystems.h"
#include "support/Mechanisms.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvelClient/BlockLDLT>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

using kyrOrvel::client::BlockLDLT;
using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::JacobianRow;
using kyrOrvel::client::StatusCode;
using support::Random;

namespace {

template <class T> using Jacobian = std::vector<JacobianRow<T>>;

/// A Jacobian and the values that its rows point to.
template <class T> struct Contacts {
    std::vector<std::vector<T>> values;
    Jacobian<T> rows;
};

/// Rows on one to three blocks; a block may be named twice.
template <class T>
Contacts<T> randomContacts(Random& random, const BlockMatrix<T>& A, std::size_t rows)
{
    Contacts<T> contacts;
    for (std::size_t j = 0; j < rows; ++j) {
        JacobianRow<T> row;
        for (unsigned int n = random.integer(1, 3); n > 0; --n) {
            const unsigned int block = random.integer(0, A.numBlockRows() - 1);
            contacts.values.push_back(random.scalars<T>(A.blockSize(block)));
            row.terms.push_back({block, contacts.values.back().data()});
        }
        contacts.rows.push_back(row);
    }
    return contacts;
}

/// J·A⁻¹·Jᵀ, and the largest |J|·|A⁻¹·Jᵀ| that its elements are made of.
template <class T>
support::Dense expected(const BlockMatrix<T>& A, const Jacobian<T>& J, long double& largest)
{
    const support::Dense dense = support::denseOf(A);
    std::vector<std::vector<long double>> rows;
    for (const auto& row : J) {
        std::vector<long double> v(A.dimension(), 0);
        for (const auto& term : row.terms)
            for (unsigned int i = 0; i < A.blockSize(term.block); ++i)
                v[A.blockOffset(term.block) + i] += static_cast<long double>(term.values[i]);
        rows.push_back(v);
    }
    largest = 0;
    support::Dense W(J.size(), std::vector<long double>(J.size(), 0));
    for (std::size_t j = 0; j < J.size(); ++j) {
        const std::vector<long double> x = support::denseSolve(dense, rows[j]);
        for (std::size_t i = 0; i < J.size(); ++i) {
            long double magnitude = 0;
            for (std::size_t k = 0; k < x.size(); ++k) {
                W[i][j] += rows[i][k] * x[k];
                magnitude += std::abs(rows[i][k] * x[k]);
            }
            largest = std::max(largest, magnitude);
        }
    }
    return W;
}

template <class T> class ConstraintSpace : public testing::Test {
protected:
    ConstraintSpace() { EXPECT_TRUE(solver.compute(small).ok()); }

    BlockMatrix<T> small = support::scalarMatrix<T>({{4}, {2, 5}});
    BlockLDLT<T> solver;
    const T one[1] = {1};
    T out[4] = {7, 7, 7, 7};
};
TYPED_TEST_SUITE(ConstraintSpace, support::Scalars);

TYPED_TEST(ConstraintSpace, EqualsTheDenseProduct)
{
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = support::randomSpd<TypeParam>(random, 10, 0.3, 0, 4);
        const std::size_t m = random.integer(1, 8);
        const Contacts<TypeParam> contacts = randomContacts(random, A, m);
        BlockLDLT<TypeParam> fresh;
        ASSERT_TRUE(fresh.compute(A).ok());
        std::vector<TypeParam> W(m * m + 1, TypeParam(99));

        ASSERT_TRUE(fresh.constraintSpace(contacts.rows, W.data()).ok()) << fresh.info().message;

        long double largest = 0;
        const support::Dense dense = expected(A, contacts.rows, largest);
        for (std::size_t i = 0; i < m; ++i)
            for (std::size_t j = 0; j < m; ++j)
                EXPECT_NEAR(double(W[i * m + j]), double(dense[i][j]),
                            64 * double(std::numeric_limits<TypeParam>::epsilon() * largest));
        EXPECT_EQ(W.back(), TypeParam(99)) << "written beyond the matrix";
    }
}

TYPED_TEST(ConstraintSpace, OfJointedBodiesIsExactlySymmetricAndPositive)
{
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const auto A = support::matrixOf<TypeParam>(support::randomMechanism(random, 0.05));
        std::vector<std::vector<TypeParam>> values;
        Jacobian<TypeParam> J;
        for (unsigned int body = 0; body < std::min(A.firstTrailing(), 6u); ++body) {
            values.push_back(random.scalars<TypeParam>(A.blockSize(body)));
            J.push_back({{{body, values.back().data()}}});
        }
        const std::size_t m = J.size();
        BlockLDLT<TypeParam> fresh;
        ASSERT_TRUE(fresh.compute(A).ok()) << fresh.info().message;
        std::vector<TypeParam> W(m * m);

        ASSERT_TRUE(fresh.constraintSpace(J, W.data()).ok());

        for (std::size_t i = 0; i < m; ++i) {
            // Rows on bodies see the inverse of a positive matrix on the motions left to them.
            EXPECT_GE(double(W[i * m + i]), -1e-3);
            for (std::size_t j = 0; j < i; ++j)
                EXPECT_TRUE(support::sameBits(W[i * m + j], W[j * m + i]));
        }
    }
}

TYPED_TEST(ConstraintSpace, BlockNamedTwiceCountsWithTheSum)
{
    const TypeParam two[] = {2};
    ASSERT_TRUE(
        this->solver.constraintSpace({{{{0, this->one}, {0, this->one}}}, {{{0, two}}}}, this->out)
            .ok());

    EXPECT_EQ(this->out[0], TypeParam(1.25)); // 4 · 5/16
    for (const TypeParam w : this->out)
        EXPECT_EQ(w, this->out[0]);
}

TYPED_TEST(ConstraintSpace, RowWithoutTermsIsZero)
{
    ASSERT_TRUE(this->solver.constraintSpace({{}, {{{1, this->one}}}}, this->out).ok());

    EXPECT_EQ(this->out[0], TypeParam(0));
    EXPECT_EQ(this->out[1], TypeParam(0));
    EXPECT_EQ(this->out[2], TypeParam(0));
    EXPECT_EQ(this->out[3], TypeParam(0.25)); // 4/16
}

TYPED_TEST(ConstraintSpace, OfNoRowsNeedsNoRoom)
{
    EXPECT_TRUE(this->solver.constraintSpace({}, nullptr).ok()) << this->solver.info().message;
}

TYPED_TEST(ConstraintSpace, MissingPointersAreRefusedAndNothingIsWritten)
{
    EXPECT_EQ(this->solver.constraintSpace({{{{0, this->one}}}}, nullptr).code,
              StatusCode::InvalidInput);

    EXPECT_EQ(this->solver.constraintSpace({{{{0, this->one}}}, {{{1, nullptr}}}}, this->out).code,
              StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.info().block, 1u);
    EXPECT_EQ(this->solver.info().message, "row 1 of the Jacobian is given no values");
    EXPECT_EQ(this->out[0], TypeParam(7));
}

TYPED_TEST(ConstraintSpace, RowsThatMakeNoSenseAreNamedAndNothingIsWritten)
{
    const TypeParam bad[] = {std::numeric_limits<TypeParam>::quiet_NaN()};

    EXPECT_EQ(this->solver.constraintSpace({{{{0, this->one}}}, {{{1, bad}}}}, this->out).code,
              StatusCode::NotFinite);
    EXPECT_EQ(this->solver.info().block, 1u);
    EXPECT_EQ(this->solver.info().row, 0u);
    EXPECT_EQ(this->solver.info().message, "row 1 of the Jacobian holds an infinity or NaN");

    EXPECT_EQ(this->solver.constraintSpace({{{{0, this->one}}}, {{{2, bad}}}}, this->out).code,
              StatusCode::InvalidInput);
    EXPECT_EQ(this->solver.info().message, "block 2 is not one of the 2 blocks");
    for (const TypeParam w : this->out)
        EXPECT_EQ(w, TypeParam(7));
}

} // namespace
