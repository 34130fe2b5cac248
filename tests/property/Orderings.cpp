#include "support/Orderings.h"
#include "support/Systems.h"

#include <kyrOrvel/Reordering>

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <utility>

using kyrOrvel::Permutation;
using kyrOrvel::Reordering;
using kyrOrvel::ScratchPad;
using support::Random;
using support::Rows;
using support::Words;

namespace {

/// The repair of an ordering as it is described: positions from a map made once, blocks already
/// settled in a set. Counts the swaps that find their target by an outdated position.
Words plainModified(const Rows& rows, unsigned int firstTrailing, Words order, int& outdated)
{
    const Words positionAtEntry = support::inverseOf(order);
    std::set<unsigned int> settled;
    for (unsigned int k = 0; k < order.size(); ++k) {
        const unsigned int v = order[k];
        if (settled.count(v))
            continue;
        if (v >= firstTrailing) {
            Words couplings = rows[v];
            couplings.pop_back(); // the diagonal
            bool placed = false;
            for (const unsigned int c : couplings)
                placed = placed || settled.count(c) == 1;
            if (!placed && !couplings.empty()) {
                unsigned int nearest = couplings.front();
                for (const unsigned int c : couplings)
                    if (positionAtEntry[c] < positionAtEntry[nearest])
                        nearest = c;
                outdated += order[positionAtEntry[nearest]] != nearest;
                std::swap(order[k], order[positionAtEntry[nearest]]);
            }
        }
        settled.insert(v);
    }
    return order;
}

TEST(ModifyPermutation, EqualsThePlainRepair)
{
    int outdated = 0;
    int changed = 0;
    for (std::uint64_t seed = 1; seed <= 1000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 30);
        const Rows rows = support::randomRows(random, n, 0.4 * random.unit());
        const unsigned int firstTrailing = random.integer(0, n + 1);
        const Words order = support::randomOrder(random, n);
        const Words expected = plainModified(rows, firstTrailing, order, outdated);
        Permutation perm;
        support::setOrder(perm, order);

        Reordering::modifyPermutation(*support::makeSkeleton(rows), firstTrailing, perm);

        ASSERT_EQ(support::orderOf(perm), expected);
        ASSERT_EQ(support::words(perm.Pi, n), support::inverseOf(order));
        changed += expected != order;
    }
    // The problems are worth the comparison.
    EXPECT_GT(changed, 300);
    EXPECT_GT(outdated, 300);
}

TEST(ModifyPermutation, LayoutOfConstraintsEqualsThePlainRepair)
{
    // Ordinary blocks without couplings among themselves, trailing ones that join two of them.
    int outdated = 0;
    for (std::uint64_t seed = 2001; seed <= 2300; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int bodies = random.integer(2, 20);
        const unsigned int joints = random.integer(1, 30);
        Rows rows(bodies + joints);
        for (unsigned int r = 0; r < rows.size(); ++r) {
            if (r >= bodies) {
                const unsigned int a = random.integer(0, bodies - 2);
                rows[r] = {a, random.integer(a + 1, bodies - 1)};
            }
            rows[r].push_back(r);
        }
        const Words order = support::randomOrder(random, bodies + joints);
        const Words expected = plainModified(rows, bodies, order, outdated);
        Permutation perm;
        support::setOrder(perm, order);

        Reordering::modifyPermutation(*support::makeSkeleton(rows), bodies, perm);

        ASSERT_EQ(support::orderOf(perm), expected);
    }
    EXPECT_GT(outdated, 100);
}

TEST(SymamdPermutation, IsAPermutationAndTheSameWhenRepeated)
{
    ScratchPad used;
    Permutation kept;
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const unsigned int n = random.integer(1, 80);
        const Rows rows = support::randomRows(random, n, 0.4 * random.unit());
        const auto S = support::makeSkeleton(rows);
        Permutation fresh;
        ScratchPad unused;

        ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, fresh, unused));
        const Words order = support::orderOf(fresh);
        ASSERT_TRUE(support::isOrder(order, n));

        // Neither the arrays of earlier calls nor the last result matter.
        for (int i = 0; i < 2; ++i) {
            ASSERT_TRUE(Reordering::computeSymamdPermutation(*S, kept, used));
            ASSERT_EQ(support::orderOf(kept), order);
        }
    }
}

} // namespace
