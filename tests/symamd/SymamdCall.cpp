// What the library asks of symamd, by asking it directly: one triangle of the pattern, and the
// default knobs.

#include "support/Orderings.h"
#include "support/Systems.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <suitesparse/colamd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// symamd's answer for the strictly lower triangle by columns, found entry by entry.
Words directOrder(const Rows& rows, double* knobs)
{
    const unsigned int n = static_cast<unsigned int>(rows.size());
    std::vector<int> start{0};
    std::vector<int> indices;
    for (unsigned int c = 0; c < n; ++c) {
        for (unsigned int r = c + 1; r < n; ++r)
            if (std::find(rows[r].begin(), rows[r].end(), c) != rows[r].end())
                indices.push_back(static_cast<int>(r));
        start.push_back(static_cast<int>(indices.size()));
    }
    indices.push_back(0); // never empty
    std::vector<int> order(n + 1);
    int stats[COLAMD_STATS];
    if (symamd(static_cast<int>(n), indices.data(), start.data(), order.data(), knobs, stats,
               &std::calloc, &std::free) != 1)
        return {};
    return Words(order.begin(), order.begin() + n);
}

TEST(SymamdCall, OrderIsThatOfADirectCall)
{
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 60);
        const Rows rows = support::randomRows(random, n, 0.3 * random.unit());
        Permutation perm;
        ScratchPad scratch;

        ASSERT_TRUE(
            Reordering::computeSymamdPermutation(*support::makeSkeleton(rows), perm, scratch));

        EXPECT_EQ(support::orderOf(perm), directOrder(rows, nullptr));
    }
}

TEST(SymamdCall, NoKnobIsTurned)
{
    // A chain of 600 blocks whose first couples to every second of the others: more than the 10
    // times the root of 600 from which symamd takes a row for dense, unless it is told not to.
    Rows rows(600);
    rows[0] = {0};
    for (unsigned int i = 1; i < 600; ++i) {
        if (i > 1 && i % 2 == 0)
            rows[i].push_back(0);
        rows[i].push_back(i - 1);
        rows[i].push_back(i);
    }
    double knobs[COLAMD_KNOBS];
    colamd_set_defaults(knobs);
    knobs[COLAMD_DENSE_ROW] = -1;
    ASSERT_NE(directOrder(rows, knobs), directOrder(rows, nullptr));
    Permutation perm;
    ScratchPad scratch;

    ASSERT_TRUE(Reordering::computeSymamdPermutation(*support::makeSkeleton(rows), perm, scratch));

    EXPECT_EQ(support::orderOf(perm), directOrder(rows, nullptr));
}

} // namespace
