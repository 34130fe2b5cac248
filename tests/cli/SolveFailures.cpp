#include "cli/Orvel.h"

namespace cli {

namespace {

/// Matrix that cannot be solved: exit code 1, one line that begins and ends like this, and an --out
/// file that was there before is untouched.
void expectNumericalFailure(const std::string& matrixText, const std::string& begin,
                            const std::string& end)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", std::string(kHeader) + matrixText);
    const std::string out = folder.write("x.mtx", "untouched");
    const support::CommandResult result = orvel({"solve", matrix, "--out", out});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("orvel: " + matrix + ": " + begin), 0u) << result.err;
    const std::size_t place = result.err.find(end + "\n");
    ASSERT_NE(place, std::string::npos) << result.err;
    EXPECT_EQ(place + end.size() + 1, result.err.size()) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    EXPECT_EQ(support::contentOf(out), "untouched");
    EXPECT_EQ(folder.numFiles(), 2u);
}

} // namespace

// [1 1; 1 1]: after the first row nothing is left of the second.
TEST(SolveFailure, SingularMatrixNamesItsPivotAndRow)
{
    expectNumericalFailure("2 2 3\n1 1 1\n2 1 1\n2 2 1\n", "the pivot of row 1 of block 0 is 0: ",
                           "(row 2 of the matrix, counted from 1)");
}

// [0.1 0.3; 0.3 0.9] is singular in decimal; in binary a little rounding is left.
TEST(SolveFailure, PivotOfRoundingNoiseIsNamed)
{
    expectNumericalFailure("2 2 3\n1 1 0.1\n2 1 0.3\n2 2 0.9\n",
                           "the pivot of row 1 of block 0 is ",
                           "(row 2 of the matrix, counted from 1)");
}

// . . X    Rows 1 and 2 constrain row 3 twice in the same way. They are moved behind it: block 0 is
// . . X    row 3, block 1 rows 1 and 2.
// X X X
TEST(SolveFailure, RedundantConstraintIsNamedByItsRowInTheFile)
{
    expectNumericalFailure("3 3 3\n3 1 1\n3 2 1\n3 3 2\n", "the pivot of row 1 of block 1 is 0: ",
                           "(row 2 of the matrix, counted from 1)");
}

// X X .
// X X .
// . . .
TEST(SolveFailure, EmptyRowIsNamed)
{
    expectNumericalFailure("3 3 3\n1 1 4\n2 1 1\n2 2 3\n",
                           "trailing block 1 couples to no other block",
                           "(it begins at row 3 of the matrix, counted from 1)");
}

// . X    No row can go first. The two form one trailing block.
// X .
TEST(SolveFailure, ZeroDiagonalEverywhereNamesAPivot)
{
    expectNumericalFailure("2 2 1\n2 1 1\n", "the pivot of row 0 of block 0 is 0: ",
                           "(row 1 of the matrix, counted from 1)");
}

// [0 7e-8 1e9; 7e-8 3e9 0; 1e9 0 0]: the pivot of the first row is 49e-16/3e9, nearly 30 orders of
// magnitude below the 1e9 that it eliminates, which leaves no digit of the solution.
TEST(SolveFailure, InaccurateSolutionIsNotPassedOn)
{
    expectNumericalFailure("3 3 3\n2 1 7e-8\n2 2 3e9\n3 1 1e9\n",
                           "the solution is inaccurate, its backward error is ",
                           "scale the rows to comparable sizes or give the trailing blocks a "
                           "diagonal (a compliance)");
}

TEST(SolveFailure, OverflowingSolutionIsReported)
{
    const support::Folder folder;
    const std::string matrix = folder.write("m.mtx", std::string(kHeader) + "1 1 1\n1 1 1e-200\n");
    const std::string b = folder.write("b", "1e200");
    const support::CommandResult result = orvel({"solve", matrix, "--rhs", b});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "orvel: " + matrix +
                              ": the solution overflows in row 0 of block 0; scale the system "
                              "(row 1 of the matrix, counted from 1)\n");
}

} // namespace cli
