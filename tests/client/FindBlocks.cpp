#include "support/BlockSystems.h"
#include "support/Orderings.h"
#include "support/Patterns.h"
#include "support/Random.h"

#include <kyrOrvelClient/MatrixFiles>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <set>
#include <vector>

using kyrOrvel::client::BlockMatrix;
using kyrOrvel::client::BlockPartition;
using kyrOrvel::client::findBlocks;
using kyrOrvel::client::ScalarMatrix;
using kyrOrvel::client::toBlockMatrix;
using support::Words;

namespace {

/// A scalar matrix with the drawn entries; entry (r, c) is 100·r + c + 1.
ScalarMatrix drawn(std::initializer_list<const char*> drawing)
{
    const support::Rows rows = support::drawnRows(drawing);
    ScalarMatrix matrix;
    matrix.dimension = static_cast<unsigned int>(rows.size());
    for (unsigned int r = 0; r < rows.size(); ++r)
        for (const unsigned int c : rows[r])
            matrix.entries.push_back({r, c, 100.0 * r + c + 1});
    return matrix;
}

TEST(FindBlocks, FullMatrixIsOneBlock)
{
    const BlockPartition found = findBlocks(drawn({"X", "X X", "X X X"}));

    EXPECT_EQ(found.sizes, Words{3});
    EXPECT_EQ(found.firstTrailing, 1u);
    EXPECT_EQ(found.rows, (Words{0, 1, 2}));
}

TEST(FindBlocks, UncoupledRowsStayApart)
{
    const BlockPartition found = findBlocks(drawn({"X", ". X", ". . X"}));

    EXPECT_EQ(found.sizes, (Words{1, 1, 1}));
    EXPECT_EQ(found.firstTrailing, 3u);
}

// X              Rows 0 and 1 are full among themselves, so are 2 and 3; the pairs are coupled
// whole. X X X X X X X X X . . X X X
TEST(FindBlocks, NeighboursWithTheSameCouplingsFormABlock)
{
    const BlockPartition found = findBlocks(drawn({"X", "X X", "X X X", "X X X X", ". . X X X"}));

    EXPECT_EQ(found.sizes, (Words{2, 2, 1}));
}

// X
// X X            Row 2 couples to row 1 alone, so rows 0 and 1 differ.
// . X X
TEST(FindBlocks, RowsWithOtherCouplingsStayApart)
{
    EXPECT_EQ(findBlocks(drawn({"X", "X X", ". X X"})).sizes, (Words{1, 1, 1}));
}

// X              Rows 1 and 3 have no diagonal and move to the end; the others close ranks.
// X .
// X . X
// . X X .
TEST(FindBlocks, RowsWithoutDiagonalBecomeTrailingAndMoveToTheEnd)
{
    const BlockPartition found = findBlocks(drawn({"X", "X .", "X . X", ". X X ."}));

    EXPECT_EQ(found.rows, (Words{0, 2, 1, 3}));
    EXPECT_EQ(found.sizes, (Words{1, 1, 1, 1}));
    EXPECT_EQ(found.firstTrailing, 2u);
}

// X              Rows 2 and 3 are constraints on the same block and not coupled to each other.
// X X
// X X .
// X X . .
TEST(FindBlocks, ConstraintsOnTheSameRowsFormABlock)
{
    const BlockPartition found = findBlocks(drawn({"X", "X X", "X X .", "X X . ."}));

    EXPECT_EQ(found.sizes, (Words{2, 2}));
    EXPECT_EQ(found.firstTrailing, 1u);
}

TEST(FindBlocks, ExplicitZeroOnTheDiagonalCountsAsNone)
{
    ScalarMatrix matrix = drawn({"X", "X X"});
    matrix.entries.back().value = 0;

    const BlockPartition found = findBlocks(matrix);

    EXPECT_EQ(found.sizes, (Words{1, 1}));
    EXPECT_EQ(found.firstTrailing, 1u);
}

// X              Rows 1 and 2 couple to nothing: no block of theirs could hold anything.
// . .
// . . .
TEST(FindBlocks, TrailingRowsWithoutCouplingsStayApart)
{
    const BlockPartition found = findBlocks(drawn({"X", ". .", ". . ."}));

    EXPECT_EQ(found.sizes, (Words{1, 1, 1}));
    EXPECT_EQ(found.firstTrailing, 1u);
}

TEST(FindBlocks, AllRowsWithoutDiagonalAreAllTrailing)
{
    const BlockPartition found = findBlocks(drawn({".", "X ."}));

    EXPECT_EQ(found.firstTrailing, 0u);
    EXPECT_EQ(found.rows, (Words{0, 1}));
}

TEST(FindBlocks, NothingHasNoBlocks)
{
    const BlockPartition found = findBlocks(ScalarMatrix());

    EXPECT_TRUE(found.sizes.empty());
    EXPECT_TRUE(found.rows.empty());
    EXPECT_EQ(found.firstTrailing, 0u);
}

TEST(FindBlocks, BlocksHaveAtMost64Rows)
{
    ScalarMatrix matrix;
    matrix.dimension = 150;
    for (unsigned int r = 0; r < 150; ++r)
        for (unsigned int c = 0; c <= r; ++c)
            matrix.entries.push_back({r, c, 1});

    EXPECT_EQ(findBlocks(matrix).sizes, (Words{64, 64, 22}));
}

/// Rows that each row couples to.
std::vector<std::set<unsigned int>> neighbours(const ScalarMatrix& matrix)
{
    std::vector<std::set<unsigned int>> result(matrix.dimension);
    for (const auto& e : matrix.entries)
        if (e.row != e.column) {
            result[e.row].insert(e.column);
            result[e.column].insert(e.row);
        }
    return result;
}

/// Whether two neighbouring rows belong together: they couple to the same rows, and the block that
/// they form is not empty.
bool belongTogether(const std::vector<std::set<unsigned int>>& couplings, unsigned int a,
                    unsigned int b, bool trailing)
{
    std::set<unsigned int> ofA = couplings[a];
    std::set<unsigned int> ofB = couplings[b];
    const bool coupled = ofA.count(b) != 0;
    const bool any = !ofB.empty();
    ofA.erase(b);
    ofB.erase(a);
    return ofA == ofB && (coupled || (trailing && any));
}

TEST(FindBlocks, OnAnyPatternBlocksAreAsLargeAsTheRuleAllows)
{
    unsigned int joined = 0;
    for (unsigned int seed = 1; seed <= 500; ++seed) {
        SCOPED_TRACE(seed);
        support::Random random(seed);
        // a coarse pattern, blown up, with a few entries left out
        const unsigned int coarse = random.integer(1, 6);
        const double density = random.unit();
        const double kept = random.chance(0.5) ? 1 : 0.95;
        Words blockOf;
        for (unsigned int b = 0; b < coarse; ++b)
            blockOf.insert(blockOf.end(), random.integer(1, 4), b);
        std::vector<std::vector<bool>> table(coarse, std::vector<bool>(coarse));
        for (auto& row : table)
            for (std::size_t c = 0; c < row.size(); ++c)
                row[c] = random.chance(density);
        ScalarMatrix matrix;
        matrix.dimension = static_cast<unsigned int>(blockOf.size());
        for (unsigned int r = 0; r < matrix.dimension; ++r)
            for (unsigned int c = 0; c <= r; ++c)
                if (table[blockOf[r]][blockOf[c]] && random.chance(kept))
                    matrix.entries.push_back({r, c, 1});

        const BlockPartition found = findBlocks(matrix);

        const auto couplings = neighbours(matrix);
        Words expectedRows;
        std::size_t numOrdinary = 0;
        for (const bool ordinary : {true, false}) {
            for (unsigned int r = 0; r < matrix.dimension; ++r) {
                const bool hasDiagonal =
                    std::any_of(matrix.entries.begin(), matrix.entries.end(),
                                [&](const auto& e) { return e.row == r && e.column == r; });
                if (hasDiagonal == ordinary)
                    expectedRows.push_back(r);
            }
            if (ordinary)
                numOrdinary = expectedRows.size();
        }
        ASSERT_EQ(found.rows, expectedRows);
        std::size_t begin = 0;
        for (std::size_t b = 0; b < found.sizes.size(); ++b) {
            const bool trailing = begin >= numOrdinary;
            ASSERT_EQ(b >= found.firstTrailing, trailing);
            const unsigned int head = found.rows[begin];
            for (std::size_t i = begin + 1; i < begin + found.sizes[b]; ++i, ++joined)
                ASSERT_TRUE(belongTogether(couplings, found.rows[i], head, trailing));
            begin += found.sizes[b];
            if (begin < found.rows.size() && begin != numOrdinary) {
                ASSERT_FALSE(belongTogether(couplings, found.rows[begin], head, trailing));
            }
        }
        ASSERT_EQ(begin, matrix.dimension);
    }
    EXPECT_GT(joined, 500u);
}

// toBlockMatrix

// 1
// 101 102
// 201 .   203
TEST(ToBlockMatrix, EntriesComeToTheirPlacesInTheBlocks)
{
    const BlockMatrix<double> A =
        toBlockMatrix(drawn({"X", "X X", "X . X"}), {{2, 1}, 2, {0, 1, 2}});

    EXPECT_EQ(A.numBlocks(), 3u);
    const double* const diagonal = A.find(0, 0);
    EXPECT_EQ(diagonal[0], 1);
    EXPECT_EQ(diagonal[2], 101);
    EXPECT_EQ(diagonal[3], 102);
    EXPECT_EQ(A.find(1, 0)[0], 201);
    EXPECT_EQ(A.find(1, 0)[1], 0);
    EXPECT_EQ(*A.find(1, 1), 203);
}

// Row 0 of the file is the last in block order: its couplings change their triangle.
TEST(ToBlockMatrix, PermutedRowsKeepTheMatrix)
{
    const ScalarMatrix matrix = drawn({"X", "X X", "X X X", ". X . X"});
    const Words rows = {2, 3, 1, 0};

    const support::Dense dense = support::denseOf(toBlockMatrix(matrix, {{2, 1, 1}, 3, rows}));

    for (unsigned int i = 0; i < 4; ++i)
        for (unsigned int j = 0; j < 4; ++j) {
            double expected = 0;
            for (const auto& e : matrix.entries)
                if (e.row == std::max(rows[i], rows[j]) && e.column == std::min(rows[i], rows[j]))
                    expected = e.value;
            EXPECT_EQ(static_cast<double>(dense[i][j]), expected) << i << ", " << j;
        }
}

TEST(ToBlockMatrix, BlocksWithoutEntriesAreNotStored)
{
    const BlockMatrix<double> A =
        toBlockMatrix(drawn({"X", ". X", ". X X", ". . . ."}), {{1, 2, 1}, 2, {0, 1, 2, 3}});

    EXPECT_EQ(support::rowsOf(A), (support::Rows{{0}, {1}, {}}));
    EXPECT_EQ(A.firstTrailing(), 2u);
}

TEST(ToBlockMatrix, ExplicitZerosOfATrailingDiagonalBlockAreNotStored)
{
    ScalarMatrix matrix = drawn({"X", "X X", "X X X"});
    for (auto& e : matrix.entries)
        if (e.row > 0)
            e.value = 0;

    const BlockMatrix<double> A = toBlockMatrix(matrix, {{1, 2}, 1, {0, 1, 2}});

    EXPECT_EQ(A.find(1, 1), nullptr);
    EXPECT_NE(A.find(1, 0), nullptr) << "off the diagonal an explicit zero makes a block";
    EXPECT_NE(toBlockMatrix(matrix, {{1, 2}, 2, {0, 1, 2}}).find(1, 1), nullptr)
        << "an ordinary block keeps it";
}

TEST(ToBlockMatrix, BlocksOfSizeZeroHoldNothing)
{
    const BlockMatrix<double> A = toBlockMatrix(drawn({"X", "X X"}), {{0, 1, 0, 1, 0}, 5, {0, 1}});

    EXPECT_EQ(support::rowsOf(A), (support::Rows{{}, {1}, {}, {1, 3}, {}}));
}

} // namespace
