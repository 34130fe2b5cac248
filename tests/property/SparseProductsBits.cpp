// The products with the symmetric block matrix against their definition, to the bit: every stored
// block in turn, and in it every element of y with its terms in ascending order.

#include "support/Bits.h"
#include "support/PlainKernels.h"
#include "support/Random.h"
#include "support/Scalars.h"

#include <kyrOrvel/SparseMatrix>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

using kyrOrvel::SparseMatrix;

namespace {

/// A matrix as the list of its blocks: block (p, q) of the lower triangle in listing order.
template <class T> struct Listing {
    struct Entry {
        unsigned int p, q;
        support::Block<T> values;
    };
    std::vector<unsigned int> sizes;
    std::vector<unsigned int> offsets; ///< of each block row, and the dimension
    std::vector<std::vector<Entry>> rows;
};

/// Values for block (p, q). Above the diagonal of a diagonal block nothing is to be read: NaN.
template <class T>
support::Block<T> drawValues(support::Random& random, int m, int n, bool diagonal)
{
    support::Block<T> block(m, n, n, std::numeric_limits<T>::quiet_NaN());
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < (diagonal ? i + 1 : n); ++j)
            block(i, j) = random.chance(0.1) ? random.nastyScalar<T>() : random.scalar<T>();
    return block;
}

enum class Order { lower, upper };

/// Random block sizes, 0 included and a few of them large, and couplings; every row has its
/// diagonal block. In upper order block 0 couples to block 1 at least: that is what tells upper
/// order from lower.
template <class T> Listing<T> drawListing(support::Random& random, Order order)
{
    Listing<T> listing;
    const unsigned int n = random.integer(order == Order::upper ? 2 : 1, 9);
    const double density = 0.8 * random.unit();
    listing.offsets.push_back(0);
    for (unsigned int r = 0; r < n; ++r) {
        listing.sizes.push_back(random.chance(0.01) ? random.integer(14, 60)
                                                    : random.integer(0, 13));
        listing.offsets.push_back(listing.offsets.back() + listing.sizes.back());
    }
    listing.rows.resize(n);
    for (unsigned int r = 0; r < n; ++r) {
        const unsigned int first = order == Order::lower ? 0 : r;
        const unsigned int last = order == Order::lower ? r : n - 1;
        for (unsigned int c = first; c <= last; ++c) {
            const bool needed = c == r || (order == Order::upper && r == 0 && c == 1);
            if (!needed && !random.chance(density))
                continue;
            const unsigned int p = order == Order::lower ? r : c;
            const unsigned int q = order == Order::lower ? c : r;
            listing.rows[r].push_back(
                {p, q,
                 drawValues<T>(random, int(listing.sizes[p]), int(listing.sizes[q]), c == r)});
        }
    }
    return listing;
}

template <class T> void fill(SparseMatrix<T>& matrix, const Listing<T>& listing, Order order)
{
    std::size_t numBlocks = 0;
    std::size_t numValues = 0;
    for (const auto& row : listing.rows)
        for (const auto& entry : row) {
            ++numBlocks;
            numValues += entry.values.storage.size();
        }
    matrix.clear();
    matrix.setSize(listing.rows.size(), 0, numBlocks, numValues);
    for (unsigned int r = 0; r < listing.rows.size(); ++r)
        for (const auto& entry : listing.rows[r]) {
            const unsigned int c = order == Order::lower ? entry.q : entry.p;
            T* const values = matrix.aquireBlock(r, c, listing.sizes[r], listing.sizes[c], 0);
            std::copy(entry.values.storage.begin(), entry.values.storage.end(), values);
        }
}

/// y += A·x, where a block element a counts as entry(a).
template <class T, class Entry>
void plainMultiplyAdd(const Listing<T>& listing, const std::vector<T>& x, std::vector<T>& y,
                      Entry entry)
{
    using support::plain::Sign;
    const auto part = [&](const std::vector<T>& v, unsigned int r) {
        const auto begin = v.begin() + std::ptrdiff_t(listing.offsets[r]);
        return std::vector<T>(begin, begin + std::ptrdiff_t(listing.sizes[r]));
    };
    const auto store = [&](const std::vector<T>& piece, unsigned int r) {
        std::copy(piece.begin(), piece.end(), y.begin() + std::ptrdiff_t(listing.offsets[r]));
    };
    for (const auto& row : listing.rows)
        for (const auto& [p, q, B] : row) {
            const int m = int(listing.sizes[p]);
            const int n = int(listing.sizes[q]);
            std::vector<T> yp = part(y, p);
            if (p == q) {
                support::plain::productSymmetric(B, part(x, p), yp, m, entry);
                store(yp, p);
                continue;
            }
            support::plain::productAx(Sign::plus, B, part(x, q), yp, m, n, entry);
            store(yp, p);
            std::vector<T> yq = part(y, q);
            support::plain::productAtx(Sign::plus, B, part(x, p), yq, m, n, entry);
            store(yq, q);
        }
}

/// Calls check(listing, matrix, random) for many matrices in either order, filled one after the
/// other into the same storage.
template <class T, class Check> void forManyMatrices(Check check)
{
    SparseMatrix<T> matrix;
    for (const Order order : {Order::lower, Order::upper})
        for (std::uint64_t seed = 1; seed <= 300; ++seed) {
            SCOPED_TRACE(testing::Message()
                         << "seed " << seed << (order == Order::upper ? ", upper" : ", lower"));
            support::Random random(seed);
            const Listing<T> listing = drawListing<T>(random, order);
            fill(matrix, listing, order);
            check(listing, matrix, random);
            if (testing::Test::HasFatalFailure())
                return;
        }
}

template <class T> class SparseProductsBits : public testing::Test {
};
TYPED_TEST_SUITE(SparseProductsBits, support::Scalars);

TYPED_TEST(SparseProductsBits, Multiply)
{
    using T = TypeParam;
    forManyMatrices<T>([](const Listing<T>& listing, SparseMatrix<T>& A, support::Random& random) {
        const std::size_t N = listing.offsets.back();
        const std::vector<T> x = random.scalars<T>(N);
        // What y held before does not matter.
        std::vector<T> y(N, std::numeric_limits<T>::quiet_NaN());
        std::vector<T> expected(N, T(0));
        plainMultiplyAdd(listing, x, expected, [](T a) { return a; });

        A.multiply(x.data(), y.data());

        ASSERT_TRUE(support::sameBits(y.data(), expected.data(), N));
    });
}

TYPED_TEST(SparseProductsBits, MultiplyAdd)
{
    using T = TypeParam;
    forManyMatrices<T>([](const Listing<T>& listing, SparseMatrix<T>& A, support::Random& random) {
        const std::size_t N = listing.offsets.back();
        const std::vector<T> x = random.nastyScalars<T>(N);
        std::vector<T> y = random.nastyScalars<T>(N);
        std::vector<T> expected = y;
        plainMultiplyAdd(listing, x, expected, [](T a) { return a; });

        A.multiplyAdd(x.data(), y.data());

        ASSERT_TRUE(support::sameBits(y.data(), expected.data(), N));
    });
}

TYPED_TEST(SparseProductsBits, ScaledMultiplyAdd)
{
    using T = TypeParam;
    forManyMatrices<T>([](const Listing<T>& listing, SparseMatrix<T>& A, support::Random& random) {
        const T epsilon = std::numeric_limits<T>::epsilon();
        const T betas[] = {
            T(0),        -T(0),           T(1),  1 + epsilon,        1 - epsilon / 2,
            1 - epsilon, 1 + 2 * epsilon, T(-1), random.scalar<T>(), random.nastyScalar<T>()};
        const std::size_t N = listing.offsets.back();
        const std::vector<T> x = random.nastyScalars<T>(N);
        const std::vector<T> start = random.nastyScalars<T>(N);
        const T alpha = random.chance(0.2) ? random.nastyScalar<T>() : random.scalar<T>();
        for (const T beta : betas) {
            SCOPED_TRACE(testing::Message() << std::hexfloat << "beta " << beta);
            std::vector<T> y = start;
            std::vector<T> expected = start;
            if (!(std::abs(beta - 1) < epsilon))
                for (T& v : expected)
                    v = v * beta;
            plainMultiplyAdd(listing, x, expected, [=](T a) { return alpha * a; });

            A.multiplyAdd(alpha, x.data(), beta, y.data());

            ASSERT_TRUE(support::sameBits(y.data(), expected.data(), N));
        }
    });
}

} // namespace
