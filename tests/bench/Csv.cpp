#include "Tables.h"

#include "compare/Csv.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// The only line behind the headings.
std::string lineOf(const bench::Row& row, double dgemm)
{
    const std::string csv = bench::csvOf({row}, dgemm);
    return csv.substr(csv.find('\n') + 1);
}

TEST(Csv, BeginsWithHeadings)
{
    EXPECT_EQ(bench::csvOf({}, 0),
              "input,solver,analyse ms,refactor ms,solve ms,nnz(L),multiply-subtracts,residual,"
              "scalars,GFLOP/s,share of dgemm\n");
}

TEST(Csv, HoldsTheFiguresOfAContender)
{
    EXPECT_EQ(lineOf({"rope 20", 180, {tables::solved("ours", 0.5)}}, 16),
              "rope 20,\"ours\",0.5,0.5,0.5,40,1e+06,1e-15,180,4,0.25\n");
}

TEST(Csv, SpeedIsEmptyWhereOperationsAreUnknown)
{
    bench::Result result = tables::solved("theirs", 0.5);
    result.operations = 0;

    EXPECT_EQ(lineOf({"rope 20", 180, {result}}, 16),
              "rope 20,\"theirs\",0.5,0.5,0.5,40,0,1e-15,180,,\n");
}

TEST(Csv, ShareIsEmptyWithoutDgemm)
{
    EXPECT_EQ(lineOf({"rope 20", 180, {tables::solved("ours", 0.5)}}, 0),
              "rope 20,\"ours\",0.5,0.5,0.5,40,1e+06,1e-15,180,4,\n");
}

TEST(Csv, ContenderThatSolvedBadlyHasItsResidualAlone)
{
    EXPECT_EQ(lineOf({"net 10", 900, {tables::unsolved("theirs", 0.5)}}, 16),
              "net 10,\"theirs\",,,,,,0.5,900,,\n");
}

TEST(Csv, ContenderThatGaveUpHasNoFigures)
{
    EXPECT_EQ(lineOf({"net 10", 900, {tables::unsolved("theirs", 0)}}, 16),
              "net 10,\"theirs\",,,,,,,900,,\n");
}

TEST(Csv, NameWithACommaIsQuoted)
{
    const std::string line = lineOf({"a,b.mtx", 1, {tables::unsolved("x", 0)}}, 0);

    EXPECT_EQ(line.substr(0, line.find(",\"x\"")), "\"a,b.mtx\"");
}

TEST(Csv, QuotesInANameAreDoubled)
{
    const std::string line = lineOf({"a\"b.mtx", 1, {tables::unsolved("x", 0)}}, 0);

    EXPECT_EQ(line.substr(0, line.find(",\"x\"")), "\"a\"\"b.mtx\"");
}

} // namespace
